// The stamp layer's pen: strokes drawn by hand over the stamp, under the draw lock.
#include "stamp/LineDrawer.h"

namespace orvane::stamp {

void LineDrawer::setColor(const foundation::Color& color) {
    std::lock_guard lock(_drawMutex);
    _pen.setColor(color);
}

void LineDrawer::touchbegin(engine::Point point) {
    std::lock_guard lock(_drawMutex);
    _pen.touchbegin(point);
}

void LineDrawer::touchmove(engine::Point point) {
    std::lock_guard lock(_drawMutex);
    _pen.touchmove(point);
}

void LineDrawer::touchup(engine::Point point) {
    std::lock_guard lock(_drawMutex);
    _pen.touchup(point);
}

void LineDrawer::startNewLineFrom(engine::Point point, float size) {
    std::lock_guard lock(_drawMutex);
    _pen.startNewLineFrom(point, size);
}

void LineDrawer::addPoint(engine::Point point, float size) {
    std::lock_guard lock(_drawMutex);
    _pen.addPoint(point, size);
}

void LineDrawer::endLineAt(engine::Point point, float size) {
    std::lock_guard lock(_drawMutex);
    _pen.endLineAt(point, size);
}

std::vector<LinePoint> LineDrawer::calculateSmoothLinePoints() {
    std::lock_guard lock(_drawMutex);
    return _pen.calculateSmoothLinePoints();
}

std::vector<LinePoint> LineDrawer::penPoints() const {
    std::lock_guard lock(_drawMutex);
    return _pen.points();
}

}  // namespace orvane::stamp
