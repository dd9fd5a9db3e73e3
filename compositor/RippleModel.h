// The regular mesh over the frame that dance mode bends: one point every `meshFactor` pixels,
// with positions, texture and photo coordinates, and one triangle strip through it.
//
// Only the flat mesh is built. Nothing in the program starts a ripple (no touch reaches the mesh
// and no effect resets it), so the ripple simulation, its height pools and its touch disc are
// left out and the vertices stay as made; so is the touch radius, which only sizes that disc.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace orvane::compositor {

class RippleModel {
  public:
    // A mesh of (screen / meshFactor) points on each axis, or nothing when that pool has fewer
    // than two points on a side (a meshFactor of 0 among them) or more points than 16-bit indices
    // reach. The texture factors are 1 and the offsets 0 whatever the texture's size: the mesh
    // always spans the whole texture.
    static std::unique_ptr<RippleModel> initWithScreenWidth(
        std::uint32_t screenWidth, std::uint32_t screenHeight, std::uint32_t meshFactor,
        std::uint32_t touchRadius, std::uint32_t textureWidth, std::uint32_t textureHeight);

    // Three floats a point: x and y in -0.5..0.5, z 0. Point (row y, column x) is number
    // y * poolWidth + x.
    std::span<const float> getVertices() const { return rippleVertices; }
    // Two floats a point, for the camera and for an imported photo.
    std::span<const float> getTexCoords() const { return rippleTexCoords; }
    std::span<const float> getPhotoCoords() const { return photoTexCoords; }
    std::span<const std::uint16_t> getIndices() const { return rippleIndicies; }

    // Sizes in bytes, as buffer uploads take them, and the strip's length in indices.
    std::size_t getVertexSize() const { return rippleVertices.size() * sizeof(float); }
    std::size_t getTexCoordsSize() const { return rippleTexCoords.size() * sizeof(float); }
    std::size_t getIndexSize() const { return rippleIndicies.size() * sizeof(std::uint16_t); }
    std::size_t getIndexCount() const { return rippleIndicies.size(); }

    std::uint32_t getScreenWidth() const { return screenWidth; }
    std::uint32_t getScreenHeight() const { return screenHeight; }
    std::uint32_t getMeshFactor() const { return meshFactor; }
    std::uint32_t getPoolWidth() const { return poolWidth; }
    std::uint32_t getPoolHeight() const { return poolHeight; }

  private:
    RippleModel() = default;
    void initMesh();

    std::uint32_t screenWidth = 0;
    std::uint32_t screenHeight = 0;
    std::uint32_t poolWidth = 0;
    std::uint32_t poolHeight = 0;
    std::uint32_t meshFactor = 0;

    std::vector<float> rippleVertices;
    std::vector<float> rippleTexCoords;
    std::vector<float> photoTexCoords;
    std::vector<std::uint16_t> rippleIndicies;
};

}  // namespace orvane::compositor
