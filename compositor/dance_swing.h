// Dance mode's swing: each bent layer keeps a position t that walks from 0 to 1 and back in
// steps of 0.05, once a frame, and the bending program's 16 control points are the blend
// t * pose A + (1 - t) * pose B, so the picture swings between two poses every 40 frames.
#pragma once

#include <array>

namespace orvane::compositor {

// One layer's swing: `direction` set while t walks back toward 0.
struct DanceState {
    bool direction = false;
    float t = 0;
};

inline constexpr float kDanceStep = 0.05f;

// Moves t one step; at 1 it turns back, at 0 forward again.
void stepDance(DanceState& state);

// A control point of the bicubic patch, in the patch's -0.5..0.5 square; z is always 0.
struct BezierPoint {
    float x;
    float y;
};

// The two poses, point j * 4 + i at column i and row j. The corners are the same in both, so the
// frame's corners stay put while its inside swings.
inline constexpr std::array<BezierPoint, 16> danceBezierPoseA{{
    {-0.5f, -0.5f},
    {-0.167f, -0.5f},
    {0.167f, -0.5f},
    {0.5f, -0.5f},
    {-0.5f, -0.167f},
    {0.643f, -0.164f},
    {-0.643f, -0.171f},
    {0.5f, -0.167f},
    {-0.5f, 0.167f},
    {-0.643f, 0.643f},
    {0.643f, 0.643f},
    {0.5f, 0.167f},
    {-0.5f, 0.5f},
    {-0.167f, 0.5f},
    {0.167f, 0.5f},
    {0.5f, 0.5f},
}};
inline constexpr std::array<BezierPoint, 16> danceBezierPoseB{{
    {-0.5f, -0.5f},
    {0.357f, -0.507f},
    {-0.357f, -0.5f},
    {0.5f, -0.5f},
    {-0.5f, -0.167f},
    {-0.636f, -0.164f},
    {0.643f, -0.171f},
    {0.5f, -0.167f},
    {-0.5f, 0.167f},
    {-0.157f, -0.157f},
    {0.129f, -0.164f},
    {0.5f, 0.167f},
    {-0.5f, 0.5f},
    {-0.15f, 0.643f},
    {0.171f, 0.643f},
    {0.5f, 0.5f},
}};

// The uniform `k`: 16 points of three floats for position t of the swing.
using DanceControlPoints = std::array<float, 48>;
DanceControlPoints danceControlPoints(float t);

}  // namespace orvane::compositor
