#include "compositor/RippleModel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <set>

namespace orvane::compositor {
namespace {

TEST(RippleModelTest, EveryPointShowsThePictureWhereItStands) {
    const auto mesh = RippleModel::initWithScreenWidth(1280, 720, 40, 5, 1280, 720);
    ASSERT_TRUE(mesh);
    const std::size_t points = std::size_t{mesh->getPoolWidth()} * mesh->getPoolHeight();
    const auto v = mesh->getVertices();
    const auto tex = mesh->getTexCoords();
    const auto photo = mesh->getPhotoCoords();
    // The pool's rows run along x, its columns down y from the top: the first and last points
    // are opposite corners.
    EXPECT_EQ((std::array{v[0], v[1]}), (std::array{-0.5f, 0.5f}));
    EXPECT_EQ((std::array{v[points * 3 - 3], v[points * 3 - 2]}), (std::array{0.5f, -0.5f}));
    // Less the lift of t by one texture, each point's coordinate is its own place in the unit
    // square; photo and camera agree.
    for (std::size_t point = 0; point < points; ++point) {
        SCOPED_TRACE(point);
        EXPECT_EQ(v[point * 3 + 2], 0.0f);
        EXPECT_NEAR(tex[point * 2], v[point * 3] + 0.5f, 1e-6f);
        EXPECT_NEAR(tex[point * 2 + 1] - 1.0f, v[point * 3 + 1] + 0.5f, 1e-6f);
        EXPECT_NEAR(photo[point * 2 + 1], tex[point * 2 + 1], 1e-6f);
    }
}

TEST(RippleModelTest, SizesFollowThePool) {
    struct Case {
        std::uint32_t width, height, pw, ph;
    };
    for (const Case& c : {Case{1280, 720, 32, 18}, Case{119, 80, 2, 2}}) {
        const auto mesh = RippleModel::initWithScreenWidth(c.width, c.height, 40, 5, 0, 0);
        ASSERT_TRUE(mesh);
        EXPECT_EQ(mesh->getPoolWidth(), c.pw);
        EXPECT_EQ(mesh->getPoolHeight(), c.ph);
        EXPECT_EQ(mesh->getIndexCount(), (c.ph - 1) * (2 * c.pw + 2));
        EXPECT_EQ(mesh->getIndexSize(), mesh->getIndexCount() * 2);
        EXPECT_EQ(mesh->getVertexSize(), c.pw * c.ph * 12);
        EXPECT_EQ(mesh->getTexCoordsSize(), c.pw * c.ph * 8);
    }
    // No mesh without two points a side (a mesh factor of 0 among them) or past 16-bit indices.
    EXPECT_FALSE(RippleModel::initWithScreenWidth(1280, 720, 0, 5, 1280, 720));
    EXPECT_FALSE(RippleModel::initWithScreenWidth(79, 720, 40, 5, 79, 720));
    EXPECT_TRUE(RippleModel::initWithScreenWidth(10240, 10240, 40, 5, 0, 0));
    EXPECT_FALSE(RippleModel::initWithScreenWidth(10240, 10280, 40, 5, 0, 0));
}

// The strip covers every cell of the pool once, cut by one diagonal; its other triangles, through
// the doubled indices that join one pass to the next, have no area.
TEST(RippleModelTest, TheStripCoversEachCellOnceAndJoinsPassesWithoutArea) {
    using Triangle = std::array<std::uint16_t, 3>;
    const auto mesh = RippleModel::initWithScreenWidth(200, 160, 40, 5, 200, 160);
    ASSERT_TRUE(mesh);
    const std::size_t pw = mesh->getPoolWidth();
    const auto at = [pw](std::size_t row, std::size_t column) {
        return static_cast<std::uint16_t>(row * pw + column);
    };
    const auto sorted = [](Triangle t) {
        std::sort(t.begin(), t.end());
        return t;
    };
    std::multiset<Triangle> expected;
    for (std::size_t r = 0; r + 1 < mesh->getPoolHeight(); ++r) {
        for (std::size_t c = 0; c + 1 < pw; ++c) {
            expected.insert(sorted({at(r, c), at(r + 1, c), at(r, c + 1)}));
            expected.insert(sorted({at(r + 1, c), at(r, c + 1), at(r + 1, c + 1)}));
        }
    }
    const auto indices = mesh->getIndices();
    std::multiset<Triangle> drawn;
    for (std::size_t i = 0; i + 2 < indices.size(); ++i) {
        const Triangle t = sorted({indices[i], indices[i + 1], indices[i + 2]});
        if (t[0] != t[1] && t[1] != t[2]) {
            drawn.insert(t);
        }
    }
    EXPECT_EQ(drawn, expected);
}

}  // namespace
}  // namespace orvane::compositor
