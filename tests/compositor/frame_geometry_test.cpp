#include "compositor/frame_geometry.h"

#include <gtest/gtest.h>

#include <cmath>

namespace orvane::compositor {
namespace {

void expectQuad(const Quad& actual, const Quad& expected) {
    for (std::size_t i = 0; i < actual.size(); ++i) {
        EXPECT_NEAR(actual[i], expected[i], 1e-6f) << "component " << i;
    }
}

TEST(AspectFill, SameShapeFillsExactly) {
    const FillSizes fill = aspectFillSizes(1920, 1080, 1920, 1080);
    EXPECT_FLOAT_EQ(fill.width, 1);
    EXPECT_FLOAT_EQ(fill.height, 1);
}

TEST(AspectFill, AxesFollowTheBufferNotTheView) {
    // A 16:9 buffer in a 4:3 view: the ratio of the widths lands on the first size, as the
    // buffer lies a quarter turn from the view.
    const FillSizes fit = aspectFitSizes(1440, 1080, 1920, 1080);
    EXPECT_FLOAT_EQ(fit.width, 0.75f);
    EXPECT_FLOAT_EQ(fit.height, 1);
    const FillSizes fill = aspectFillSizes(1440, 1080, 1920, 1080);
    EXPECT_FLOAT_EQ(fill.width, 1);
    EXPECT_FLOAT_EQ(fill.height, 1 / 0.75f);
}

TEST(AspectFill, NothingToFitGivesUnitSizes) {
    const FillSizes fill = aspectFillSizes(0, 1080, 1920, 1080);
    EXPECT_FLOAT_EQ(fill.width, 1);
    EXPECT_FLOAT_EQ(fill.height, 1);
}

TEST(CameraQuad, CornersByCamera) {
    const FillSizes fill{1.5f, 1.0f};
    struct Row {
        bool back;
        bool onlyFront;
        Quad vertices;
    };
    const Row rows[] = {
        {true, false, {-1, -1.5f, 1, -1.5f, -1, 1.5f, 1, 1.5f}},
        {false, true, {1, -1.5f, -1, -1.5f, 1, 1.5f, -1, 1.5f}},
        {false, false, {-1, 1.5f, 1, 1.5f, -1, -1.5f, 1, -1.5f}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << "back " << row.back << " only front " << row.onlyFront);
        expectQuad(cameraQuad(fill, row.back, row.onlyFront).vertices, row.vertices);
    }
}

TEST(CameraQuad, HeightOverflowIsCroppedInTheTexture) {
    // fh = 2: c = (1 - 1/2) / 2 = 0.25, so s runs from 0.25 to 0.75.
    const CameraQuad quad = cameraQuad({1.0f, 2.0f}, true, false);
    expectQuad(quad.texCoords, {0.25f, 0, 0.75f, 0, 0.25f, 1, 0.75f, 1});
}

TEST(CameraModel, MirrorsOnlyTheFrontCameraWithTheSettingOn) {
    struct Row {
        bool back;
        bool mirror;
        int orientation;
        float xx;
        float yy;
    };
    const Row rows[] = {
        {true, true, 3, 1, 1},   {false, false, 3, 1, 1}, {false, true, 3, -1, 1},
        {false, true, 4, -1, 1}, {false, true, 1, 1, -1}, {false, true, 2, 1, -1},
        {false, true, 0, 1, -1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << "orientation " << row.orientation);
        const Matrix4 m = cameraModelMatrix(row.back, row.mirror, row.orientation);
        EXPECT_EQ(m[0], row.xx);
        EXPECT_EQ(m[5], row.yy);
        EXPECT_EQ(m[10], 1);
        EXPECT_EQ(m[15], 1);
    }
}

TEST(CameraIdentity, OnlyTheUprightUncroppedUnmirroredBackCamera) {
    const CameraQuad back = cameraQuad({1, 1}, true, false);
    EXPECT_TRUE(isIdentityCamera(back, kIdentityTransform));
    EXPECT_FALSE(isIdentityCamera(back, cameraModelMatrix(false, true, 3)));
    EXPECT_FALSE(isIdentityCamera(cameraQuad({1, 1}, false, false), kIdentityTransform));
    EXPECT_FALSE(isIdentityCamera(cameraQuad({1.2f, 1}, true, false), kIdentityTransform));
    EXPECT_FALSE(isIdentityCamera(cameraQuad({1, 1.2f}, true, false), kIdentityTransform));
}

TEST(ImportedPhoto, ZoomBlendsFitAndFill) {
    // A 4:3 photo in a 16:9 view: fit (1, 0.75), fill (4/3, 1).
    expectQuad(importedPhotoQuad(1920, 1080, 1440, 1080, 0.0f),
               {-1, -0.75f, 1, -0.75f, -1, 0.75f, 1, 0.75f});
    const float a = 4.0f / 3.0f;
    expectQuad(importedPhotoQuad(1920, 1080, 1440, 1080, 1.0f), {-a, -1, a, -1, -a, 1, a, 1});
    const float halfA = (1 + a) / 2;
    const float halfB = 0.875f;
    expectQuad(importedPhotoQuad(1920, 1080, 1440, 1080, 0.5f),
               {-halfA, -halfB, halfA, -halfB, -halfA, halfB, halfA, halfB});
}

TEST(CompassRotation, TheTwoDisplayKindsTurnOppositeWays) {
    const float a = 0.5f;
    const Matrix4 dial = compassRotation(a, true);
    const Matrix4 needle = compassRotation(a, false);
    EXPECT_FLOAT_EQ(dial[0], std::cos(a));
    EXPECT_FLOAT_EQ(dial[1], -std::sin(a));
    EXPECT_FLOAT_EQ(dial[4], std::sin(a));
    EXPECT_FLOAT_EQ(needle[1], std::sin(a));
    EXPECT_FLOAT_EQ(needle[4], -std::sin(a));
    EXPECT_FLOAT_EQ(dial[10], 1);
    // A point on the x axis goes below it one way and above it the other.
    EXPECT_LT(dial[1] * 1.0f, 0);
    EXPECT_GT(needle[1] * 1.0f, 0);
}

}  // namespace
}  // namespace orvane::compositor
