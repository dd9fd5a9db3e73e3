// The preview grid's arithmetic: a 3 by 3 grid of live previews in a 640 pixel square at the
// frame's origin. At a zoom of 100 the cells are 212 pixels with 1 pixel gaps; as it falls to 0
// the selected cell grows until it fills the square, which is how a choice zooms into the
// picture.
#pragma once

#include <array>
#include <cstdint>

namespace orvane::compositor {

inline constexpr int kPreviewGridSide = 640;
inline constexpr int kPreviewGridCells = 9;

// The list the grid shows.
enum PreviewList : std::int64_t {
    kPreviewFilters = 0,
    kPreviewBackgrounds = 1,
    kPreviewParticles = 2
};

// The selected item of the list shown: the film filter, background or particle in use; any
// other list, or an index below 0, selects the middle cell.
std::int64_t previewSelection(std::int64_t previewEffect, std::int64_t effect,
                              std::int64_t background, std::int64_t particle);

// Viewports (x, y, width, height) of the cells, cell (row, column) at row * 3 + column, for a
// zoom `effectScale` of 0 to 100 and the selected index (column index mod 3, row index / 3).
using GridViewport = std::array<int, 4>;
std::array<GridViewport, kPreviewGridCells> previewGridCells(int effectScale,
                                                             std::int64_t selected);

}  // namespace orvane::compositor
