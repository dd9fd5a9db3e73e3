#include "compositor/dance_swing.h"

namespace orvane::compositor {

void stepDance(DanceState& state) {
    state.t += state.direction ? -kDanceStep : kDanceStep;
    // Twenty steps land on an end only to within rounding, so half a step from it counts as
    // reaching it: the swing then turns on its twentieth frame, every time.
    if (state.t > 1 - kDanceStep / 2) {
        state.t = 1;
        state.direction = true;
    } else if (state.t < kDanceStep / 2) {
        state.t = 0;
        state.direction = false;
    }
}

DanceControlPoints danceControlPoints(float t) {
    DanceControlPoints k{};
    for (std::size_t i = 0; i < danceBezierPoseA.size(); ++i) {
        k[i * 3] = t * danceBezierPoseA[i].x + (1 - t) * danceBezierPoseB[i].x;
        k[i * 3 + 1] = t * danceBezierPoseA[i].y + (1 - t) * danceBezierPoseB[i].y;
    }
    return k;
}

}  // namespace orvane::compositor
