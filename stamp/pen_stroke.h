// The stamp layer's finger drawing: the recorded points of a stroke and their smoothing into a
// curve. Nothing in the program sends touches to the layer; it keeps the facility so that a
// stroke can be recorded and smoothed, and clearPen can empty it.
#pragma once

#include <vector>

#include "foundation/Color.h"
#include "stamp/LinePoint.h"

namespace orvane::stamp {

class PenStroke {
  public:
    // A new stroke at the point: the old points go, the point is taken three times, so the
    // first smoothing has a run to work on.
    void touchbegin(engine::Point point);
    // Adds the point, unless it lies within 1.5 of the last one.
    void touchmove(engine::Point point);
    void touchup(engine::Point point) { (void)point; }

    void startNewLineFrom(engine::Point point, float size);
    // Appends the point at width 10, whatever the size asked for.
    void addPoint(engine::Point point, float size);
    void endLineAt(engine::Point point, float size);

    // Turns each run of three neighbouring points into a quadratic curve from the middle of the
    // first segment to the middle of the second, bent towards the middle point, with the widths
    // averaged the same way. The consumed points leave the list; the last two stay to join the
    // next run. Fewer than three points give nothing and change nothing.
    std::vector<LinePoint> calculateSmoothLinePoints();

    // Empties the points.
    void clear();

    const std::vector<LinePoint>& points() const { return _points; }
    bool isConnectingLine() const { return _connectingLine; }
    bool isFinishingLine() const { return _finishingLine; }
    float overdraw() const { return _overdraw; }

    void setColor(const foundation::Color& color) { _color = color; }
    const foundation::Color& color() const { return _color; }

  private:
    std::vector<LinePoint> _points;
    bool _connectingLine = false;
    bool _finishingLine = false;
    float _overdraw = 3.0f;
    foundation::Color _color = foundation::Color::blackColor();
};

}  // namespace orvane::stamp
