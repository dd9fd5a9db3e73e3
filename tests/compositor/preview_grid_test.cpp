#include "compositor/preview_grid.h"

#include <gtest/gtest.h>

namespace orvane::compositor {
namespace {

TEST(PreviewGridTest, CellsByZoomAndSelection) {
    struct Row {
        int zoom;
        std::int64_t selected;
        std::size_t cell;
        GridViewport viewport;
    };
    for (const Row& row : {
             // At 100 the grid is whole whatever is selected: 212 pixel cells 1 pixel apart.
             Row{100, 4, 0, {1, 1, 212, 212}},
             Row{100, 4, 5, {427, 214, 212, 212}},
             Row{100, 0, 8, {427, 427, 212, 212}},
             // At 0 the selected cell fills the square and its neighbours lie 641 pixels off.
             Row{0, 4, 4, {0, 0, 640, 640}},
             Row{0, 4, 0, {-641, -641, 640, 640}},
             Row{0, 7, 3, {-641, -641, 640, 640}},
             // Halfway to the last cell; every value is cut toward zero.
             Row{50, 8, 8, {213, 213, 426, 426}},
             Row{50, 8, 0, {-640, -640, 426, 426}},
             // A particle past the grid's nine zooms to where a fourth row would stand.
             Row{0, 10, 7, {0, -641, 640, 640}},
         }) {
        SCOPED_TRACE(::testing::Message() << "zoom " << row.zoom << " selected " << row.selected
                                          << " cell " << row.cell);
        EXPECT_EQ(previewGridCells(row.zoom, row.selected)[row.cell], row.viewport);
    }
}

TEST(PreviewGridTest, TheListDecidesWhichSelectionZooms) {
    struct Row {
        std::int64_t list, background, selected;
    };
    // Filter 3, particle 7; another list, or a damaged index, takes the middle cell.
    for (const Row& row : {Row{0, 5, 3}, Row{1, 5, 5}, Row{2, 5, 7}, Row{3, 5, 4}, Row{1, -2, 4}}) {
        SCOPED_TRACE(row.list);
        EXPECT_EQ(previewSelection(row.list, 3, row.background, 7), row.selected);
    }
}

}  // namespace
}  // namespace orvane::compositor
