#include "compositor/RippleModel.h"

#include <limits>

namespace orvane::compositor {
namespace {

// The texture's scale and offset on each axis: the mesh spans the whole texture.
constexpr float kTexCoordFactorS = 1;
constexpr float kTexCoordOffsetS = 0;
constexpr float kTexCoordFactorT = 1;

}  // namespace

std::unique_ptr<RippleModel> RippleModel::initWithScreenWidth(std::uint32_t screenWidth,
                                                              std::uint32_t screenHeight,
                                                              std::uint32_t meshFactor,
                                                              std::uint32_t /*touchRadius*/,
                                                              std::uint32_t /*textureWidth*/,
                                                              std::uint32_t /*textureHeight*/) {
    if (meshFactor == 0) {
        return nullptr;
    }
    const std::uint32_t poolWidth = screenWidth / meshFactor;
    const std::uint32_t poolHeight = screenHeight / meshFactor;
    const std::uint64_t points = std::uint64_t{poolWidth} * poolHeight;
    if (poolWidth < 2 || poolHeight < 2 ||
        points > std::numeric_limits<std::uint16_t>::max() + 1u) {
        return nullptr;
    }
    std::unique_ptr<RippleModel> model(new RippleModel);
    model->screenWidth = screenWidth;
    model->screenHeight = screenHeight;
    model->meshFactor = meshFactor;
    model->poolWidth = poolWidth;
    model->poolHeight = poolHeight;
    model->initMesh();
    return model;
}

void RippleModel::initMesh() {
    const std::size_t pw = poolWidth;
    const std::size_t ph = poolHeight;
    rippleVertices.resize(pw * ph * 3);
    rippleTexCoords.resize(pw * ph * 2);
    photoTexCoords.resize(pw * ph * 2);
    // The pool's rows run along the picture's x and its columns down its y: the buffer lies a
    // quarter turn from the device.
    for (std::size_t y = 0; y < ph; ++y) {
        const float along = static_cast<float>(y) / static_cast<float>(ph - 1);
        for (std::size_t x = 0; x < pw; ++x) {
            const float across = static_cast<float>(x) / static_cast<float>(pw - 1);
            const std::size_t point = y * pw + x;
            rippleVertices[point * 3] = along - 0.5f;
            rippleVertices[point * 3 + 1] = 0.5f - across;
            rippleVertices[point * 3 + 2] = 0;
            // t takes the T factor where an offset would stand, which lifts it a whole texture:
            // 2 at the first column, 1 at the last. The bending program takes that lift off.
            rippleTexCoords[point * 2] = along * kTexCoordFactorS + kTexCoordOffsetS;
            rippleTexCoords[point * 2 + 1] = (1 - across) * kTexCoordFactorT + kTexCoordFactorT;
            photoTexCoords[point * 2] = along;
            photoTexCoords[point * 2 + 1] = 2 - across;
        }
    }

    // One strip through every pair of rows, back and forth: a pass runs along its pair taking
    // the pair's first row before its second at each column, the next runs back taking the
    // second row first, so that every cell is cut by the same diagonal. Each pass's first and last
    // index appear twice; the triangles through the doubled indices have no area and carry the
    // strip from one pass to the next.
    rippleIndicies.clear();
    rippleIndicies.reserve((ph - 1) * (2 * pw + 2));
    const auto index = [pw](std::size_t row, std::size_t column) {
        return static_cast<std::uint16_t>(row * pw + column);
    };
    for (std::size_t row = 0; row + 1 < ph; ++row) {
        const bool forward = row % 2 == 0;
        const std::size_t first = forward ? row : row + 1;
        const std::size_t second = forward ? row + 1 : row;
        const std::size_t startColumn = forward ? 0 : pw - 1;
        rippleIndicies.push_back(index(first, startColumn));
        for (std::size_t step = 0; step < pw; ++step) {
            const std::size_t column = forward ? step : pw - 1 - step;
            rippleIndicies.push_back(index(first, column));
            rippleIndicies.push_back(index(second, column));
        }
        rippleIndicies.push_back(rippleIndicies.back());
    }
}

}  // namespace orvane::compositor
