#include "compositor/RippleModel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <set>

namespace orvane::compositor {
namespace {

TEST(RippleModelTest, CornersAndEveryPointMapThePictureUnmoved) {
    const auto mesh = RippleModel::initWithScreenWidth(1280, 720, 40, 5, 1280, 720);
    ASSERT_TRUE(mesh);
    const std::size_t pw = mesh->getPoolWidth();
    const std::size_t ph = mesh->getPoolHeight();
    ASSERT_EQ(pw, 32u);
    ASSERT_EQ(ph, 18u);
    const auto vertices = mesh->getVertices();
    const auto tex = mesh->getTexCoords();
    const auto photo = mesh->getPhotoCoords();
    ASSERT_EQ(vertices.size(), pw * ph * 3);
    ASSERT_EQ(tex.size(), pw * ph * 2);
    ASSERT_EQ(photo.size(), pw * ph * 2);

    // The pool's rows run along x, its columns down y from the top.
    struct Corner {
        std::size_t row, column;
        float x, y;
    };
    for (const Corner& c : {Corner{0, 0, -0.5f, 0.5f}, Corner{0, 31, -0.5f, -0.5f},
                            Corner{17, 0, 0.5f, 0.5f}, Corner{17, 31, 0.5f, -0.5f}}) {
        SCOPED_TRACE(::testing::Message() << "row " << c.row << " column " << c.column);
        const std::size_t point = c.row * pw + c.column;
        EXPECT_FLOAT_EQ(vertices[point * 3], c.x);
        EXPECT_FLOAT_EQ(vertices[point * 3 + 1], c.y);
    }
    // Every point's texture coordinate, less the one-texture lift of t, is its own place in
    // the unit square: a flat patch shows the picture where it stands. Photo and camera agree.
    for (std::size_t point = 0; point < pw * ph; ++point) {
        SCOPED_TRACE(point);
        EXPECT_EQ(vertices[point * 3 + 2], 0.0f);
        EXPECT_NEAR(tex[point * 2], vertices[point * 3] + 0.5f, 1e-6f);
        EXPECT_NEAR(tex[point * 2 + 1] - 1.0f, vertices[point * 3 + 1] + 0.5f, 1e-6f);
        EXPECT_EQ(photo[point * 2], tex[point * 2]);
        EXPECT_NEAR(photo[point * 2 + 1], tex[point * 2 + 1], 1e-6f);
    }
}

TEST(RippleModelTest, SizesFollowThePool) {
    struct Case {
        std::uint32_t width, height, factor, pw, ph;
    };
    for (const Case& c : {Case{1280, 720, 40, 32, 18}, Case{1920, 1080, 40, 48, 27},
                          Case{119, 80, 40, 2, 2}, Case{10240, 10240, 40, 256, 256}}) {
        SCOPED_TRACE(::testing::Message() << c.width << "x" << c.height);
        const auto mesh = RippleModel::initWithScreenWidth(c.width, c.height, c.factor, 5, 0, 0);
        ASSERT_TRUE(mesh);
        EXPECT_EQ(mesh->getPoolWidth(), c.pw);
        EXPECT_EQ(mesh->getPoolHeight(), c.ph);
        const std::size_t points = std::size_t{c.pw} * c.ph;
        EXPECT_EQ(mesh->getIndexCount(), (c.ph - 1) * (2 * c.pw + 2));
        EXPECT_EQ(mesh->getIndexSize(), mesh->getIndexCount() * 2);
        EXPECT_EQ(mesh->getVertexSize(), points * 12);
        EXPECT_EQ(mesh->getTexCoordsSize(), points * 8);
        const auto indices = mesh->getIndices();
        EXPECT_LT(*std::max_element(indices.begin(), indices.end()), points);
    }
}

TEST(RippleModelTest, NoMeshWithoutTwoPointsASideOrPastSixteenBitIndices) {
    EXPECT_FALSE(RippleModel::initWithScreenWidth(1280, 720, 0, 5, 1280, 720));
    EXPECT_FALSE(RippleModel::initWithScreenWidth(79, 720, 40, 5, 79, 720));
    EXPECT_FALSE(RippleModel::initWithScreenWidth(1280, 40, 40, 5, 1280, 40));
    EXPECT_FALSE(RippleModel::initWithScreenWidth(10240, 10280, 40, 5, 0, 0));
}

// The strip covers every cell of the pool once, cut by one diagonal, and its other triangles
// (through the doubled indices that join one pass to the next) have no area.
TEST(RippleModelTest, TheStripCoversEachCellOnceAndJoinsPassesWithoutArea) {
    for (const auto& [width, height] : {std::pair{1280u, 720u}, std::pair{200u, 160u}}) {
        SCOPED_TRACE(::testing::Message() << width << "x" << height);
        const auto mesh = RippleModel::initWithScreenWidth(width, height, 40, 5, width, height);
        ASSERT_TRUE(mesh);
        const std::size_t pw = mesh->getPoolWidth();
        const std::size_t ph = mesh->getPoolHeight();
        const auto at = [pw](std::size_t row, std::size_t column) {
            return static_cast<std::uint16_t>(row * pw + column);
        };
        std::multiset<std::array<std::uint16_t, 3>> expected;
        for (std::size_t r = 0; r + 1 < ph; ++r) {
            for (std::size_t c = 0; c + 1 < pw; ++c) {
                std::array<std::uint16_t, 3> a{at(r, c), at(r + 1, c), at(r, c + 1)};
                std::array<std::uint16_t, 3> b{at(r + 1, c), at(r, c + 1), at(r + 1, c + 1)};
                std::sort(a.begin(), a.end());
                std::sort(b.begin(), b.end());
                expected.insert(a);
                expected.insert(b);
            }
        }
        const auto indices = mesh->getIndices();
        std::multiset<std::array<std::uint16_t, 3>> drawn;
        for (std::size_t i = 0; i + 2 < indices.size(); ++i) {
            std::array<std::uint16_t, 3> t{indices[i], indices[i + 1], indices[i + 2]};
            if (t[0] == t[1] || t[1] == t[2] || t[0] == t[2]) {
                continue;
            }
            std::sort(t.begin(), t.end());
            drawn.insert(t);
        }
        EXPECT_EQ(drawn, expected);
        // The strip starts and ends on a doubled index.
        EXPECT_EQ(indices[0], indices[1]);
        EXPECT_EQ(indices[indices.size() - 1], indices[indices.size() - 2]);
    }
}

}  // namespace
}  // namespace orvane::compositor
