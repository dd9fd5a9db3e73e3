// A point of a pen stroke: where the finger was, and how wide the line is there.
#pragma once

#include "engine/geometry.h"

namespace orvane::stamp {

struct LinePoint {
    engine::Point pos;
    float width = 0.0f;
    friend bool operator==(const LinePoint&, const LinePoint&) = default;
};

}  // namespace orvane::stamp
