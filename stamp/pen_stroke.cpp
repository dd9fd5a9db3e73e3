#include "stamp/pen_stroke.h"

#include <algorithm>
#include <cmath>

namespace orvane::stamp {

namespace {

constexpr float kTouchSize = 5.0f;
constexpr float kPointWidth = 10.0f;
// Points nearer than this to the last one add nothing to the line.
constexpr float kMinimumMove = 1.5f;
// The curve takes a point about every two units of its chord, within these bounds.
constexpr float kSegmentLength = 2.0f;
constexpr int kMinimumSegments = 8;
constexpr int kMaximumSegments = 128;

engine::Point midpoint(engine::Point a, engine::Point b) {
    return {(a.x + b.x) * 0.5f, (a.y + b.y) * 0.5f};
}

float distance(engine::Point a, engine::Point b) {
    return std::hypot(a.x - b.x, a.y - b.y);
}

}  // namespace

void PenStroke::touchbegin(engine::Point point) {
    _points.clear();
    startNewLineFrom(point, kTouchSize);
    addPoint(point, kTouchSize);
    addPoint(point, kTouchSize);
}

void PenStroke::touchmove(engine::Point point) {
    if (!_points.empty() && distance(_points.back().pos, point) < kMinimumMove) {
        return;
    }
    addPoint(point, kTouchSize);
}

void PenStroke::startNewLineFrom(engine::Point point, float size) {
    _connectingLine = false;
    _finishingLine = false;
    addPoint(point, size);
}

void PenStroke::addPoint(engine::Point point, float size) {
    (void)size;
    _points.push_back({point, kPointWidth});
}

void PenStroke::endLineAt(engine::Point point, float size) {
    addPoint(point, size);
    _finishingLine = true;
}

std::vector<LinePoint> PenStroke::calculateSmoothLinePoints() {
    std::vector<LinePoint> smoothed;
    if (_points.size() < 3) {
        return smoothed;
    }
    for (std::size_t i = 2; i < _points.size(); ++i) {
        const LinePoint& prev2 = _points[i - 2];
        const LinePoint& prev1 = _points[i - 1];
        const LinePoint& current = _points[i];
        const engine::Point mid1 = midpoint(prev1.pos, prev2.pos);
        const engine::Point mid2 = midpoint(current.pos, prev1.pos);
        const float width1 = (prev1.width + prev2.width) * 0.5f;
        const float width2 = (current.width + prev1.width) * 0.5f;
        const int segments = std::clamp(static_cast<int>(distance(mid1, mid2) / kSegmentLength),
                                        kMinimumSegments, kMaximumSegments);
        for (int s = 0; s < segments; ++s) {
            const float t = static_cast<float>(s) / static_cast<float>(segments);
            const float a = (1.0f - t) * (1.0f - t);
            const float b = 2.0f * (1.0f - t) * t;
            const float c = t * t;
            smoothed.push_back({{a * mid1.x + b * prev1.pos.x + c * mid2.x,
                                 a * mid1.y + b * prev1.pos.y + c * mid2.y},
                                a * width1 + b * prev1.width + c * width2});
        }
        smoothed.push_back({mid2, width2});
    }
    _points.erase(_points.begin(), _points.end() - 2);
    return smoothed;
}

void PenStroke::clear() {
    _points.clear();
}

}  // namespace orvane::stamp
