#include "compositor/preview_grid.h"

namespace orvane::compositor {
namespace {

// A cell's side and origin at full zoom: 212 pixels, 213 apart, 1 in from the square's edge.
constexpr double kCellSide = 212;
constexpr double kCellPitch = 213;

}  // namespace

std::int64_t previewSelection(std::int64_t previewEffect, std::int64_t effect,
                              std::int64_t background, std::int64_t particle) {
    std::int64_t selected = kPreviewGridCells / 2;
    switch (previewEffect) {
        case kPreviewFilters:
            selected = effect;
            break;
        case kPreviewBackgrounds:
            selected = background;
            break;
        case kPreviewParticles:
            selected = particle;
            break;
        default:
            break;
    }
    // An index below 0 (a damaged settings file) has no cell: the middle one stands for it.
    return selected < 0 ? kPreviewGridCells / 2 : selected;
}

std::array<GridViewport, kPreviewGridCells> previewGridCells(int effectScale,
                                                             std::int64_t selected) {
    const double p = effectScale;
    const double column = static_cast<double>(selected % 3);
    const double row = static_cast<double>(selected / 3);
    const double side = ((100 - p) * kPreviewGridSide + p * kCellSide) / 100;
    const double step = side + 1;
    // The selected cell's origin moves from its place in the grid to the square's origin.
    const double ox = (column * kCellPitch + 1) * p / 100 - column * step;
    const double oy = (row * kCellPitch + 1) * p / 100 - row * step;
    std::array<GridViewport, kPreviewGridCells> cells{};
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c) {
            cells[static_cast<std::size_t>(r * 3 + c)] = {
                static_cast<int>(c * step + ox), static_cast<int>(r * step + oy),
                static_cast<int>(side), static_cast<int>(side)};
        }
    }
    return cells;
}

}  // namespace orvane::compositor
