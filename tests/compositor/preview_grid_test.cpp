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
    // At 100 the grid is whole, whatever is selected: 212 pixel cells 1 pixel apart.
    // At 0 the selected cell fills the square and its neighbours lie 641 pixels off.
    for (const Row& row : {
             Row{100, 4, 0, {1, 1, 212, 212}},
             Row{100, 4, 4, {214, 214, 212, 212}},
             Row{100, 4, 5, {427, 214, 212, 212}},
             Row{100, 0, 8, {427, 427, 212, 212}},
             Row{100, 7, 2, {427, 1, 212, 212}},
             Row{0, 4, 4, {0, 0, 640, 640}},
             Row{0, 4, 0, {-641, -641, 640, 640}},
             Row{0, 4, 5, {641, 0, 640, 640}},
             Row{0, 7, 7, {0, 0, 640, 640}},
             Row{0, 7, 3, {-641, -641, 640, 640}},
             Row{0, 2, 2, {0, 0, 640, 640}},
             // Halfway to the bottom right cell; every value is cut toward zero.
             Row{50, 8, 8, {213, 213, 426, 426}},
             Row{50, 8, 0, {-640, -640, 426, 426}},
             Row{1, 4, 4, {2, 2, 635, 635}},
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
        std::int64_t list, effect, background, particle, selected;
    };
    for (const Row& row : {Row{0, 3, 5, 7, 3}, Row{1, 3, 5, 7, 5}, Row{2, 3, 5, 7, 7},
                           Row{3, 3, 5, 7, 4}, Row{-1, 3, 5, 7, 4}, Row{1, 3, -2, 7, 4}}) {
        SCOPED_TRACE(row.list);
        EXPECT_EQ(previewSelection(row.list, row.effect, row.background, row.particle),
                  row.selected);
    }
}

}  // namespace
}  // namespace orvane::compositor
