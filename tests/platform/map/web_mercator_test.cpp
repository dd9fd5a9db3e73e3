// The snapshot's frame: the region fits the image, coordinates find their pixel and back, across
// the date line too, and requests out of range are refused with a reason.
#include "platform/map/web_mercator.h"

#include <gtest/gtest.h>

#include <cmath>

#include "platform/map/tile_stitching.h"

namespace orvane::platform {
namespace {

MapSnapshotOptions around(double latitude, double longitude, double span, double scale = 1) {
    MapSnapshotOptions options;
    options.region = {{latitude, longitude}, {span, span}};
    options.scale = scale;
    return options;
}

TEST(WebMercatorTest, TheRegionFitsTheImageAlongItsTallerSide) {
    // Away from the equator a degree of latitude is taller than a degree of longitude is wide on
    // the square, so the latitude span fills the height and more longitude shows.
    for (const double latitude : {0.0, 51.38, -33.92, 70.0}) {
        SCOPED_TRACE(latitude);
        std::string problem;
        const auto frame = mercator::frameFor(around(latitude, -2.36, 0.01, 2), problem);
        ASSERT_TRUE(frame) << problem;
        EXPECT_EQ(frame->width, 512);
        EXPECT_EQ(frame->height, 512);
        const PixelPoint north = mercator::pixelFor(*frame, {latitude + 0.005, -2.36});
        const PixelPoint south = mercator::pixelFor(*frame, {latitude - 0.005, -2.36});
        const PixelPoint west = mercator::pixelFor(*frame, {latitude, -2.365});
        const PixelPoint east = mercator::pixelFor(*frame, {latitude, -2.355});
        EXPECT_NEAR(south.y - north.y, 512, 0.5);
        EXPECT_LE(east.x - west.x, 512 + 1e-6);
        EXPECT_GE(west.x, -1e-6);
    }
}

TEST(WebMercatorTest, CoordinatesFindTheirPixelAndBack) {
    struct Row {
        const char* name;
        double latitude, longitude;
    };
    const Row rows[] = {{"Bath", 51.38, -2.36},
                        {"Cape Town", -33.92, 18.42},
                        {"east of the date line", -17.7, 179.999},
                        {"west of the date line", 65.0, -179.998}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        std::string problem;
        const auto frame = mercator::frameFor(around(row.latitude, row.longitude, 0.01), problem);
        ASSERT_TRUE(frame) << problem;
        const MapSnapshot snapshot(Bitmap::transparent(frame->width, frame->height), *frame);
        const PixelPoint centre = snapshot.pointForCoordinate({row.latitude, row.longitude});
        EXPECT_NEAR(centre.x, 128, 1e-6);
        EXPECT_NEAR(centre.y, 128, 1e-6);
        for (const PixelPoint pixel :
             {PixelPoint{0, 0}, PixelPoint{17.5, 230.25}, PixelPoint{255, 3}}) {
            const LocationCoordinate2D coordinate = mercator::coordinateAt(*frame, pixel);
            const PixelPoint back = snapshot.pointForCoordinate(coordinate);
            EXPECT_NEAR(back.x, pixel.x, 1e-6);
            EXPECT_NEAR(back.y, pixel.y, 1e-6);
        }
    }
}

TEST(WebMercatorTest, AMapAcrossTheDateLineKeepsBothSides) {
    std::string problem;
    const auto frame = mercator::frameFor(around(-17.7, 180.0, 0.1), problem);
    ASSERT_TRUE(frame) << problem;
    EXPECT_LT(mercator::pixelFor(*frame, {-17.7, 179.98}).x, 128);
    EXPECT_GT(mercator::pixelFor(*frame, {-17.7, -179.98}).x, 128);
}

TEST(WebMercatorTest, MetresPerPixelFollowTheLatitude) {
    std::string problem;
    const auto equator = mercator::frameFor(around(0, 0, 0.01), problem);
    const auto sixty = mercator::frameFor(around(60, 0, 0.01), problem);
    ASSERT_TRUE(equator && sixty);
    // 0.01 degrees of longitude at the equator is 1113 m over 256 pixels.
    EXPECT_NEAR(mercator::metresPerPixel(*equator), 1113.19 / 256, 0.01);
    // At 60 degrees the latitude span fills the height: 0.01 degrees of latitude there is
    // 0.01 / cos(60) degrees on the square, a ground length of 1113 m.
    EXPECT_NEAR(mercator::metresPerPixel(*sixty), 1113.19 / 256, 0.05);
}

TEST(WebMercatorTest, RequestsOutOfRangeAreRefused) {
    struct Row {
        const char* name;
        MapSnapshotOptions options;
    };
    auto withSize = [](double width, double scale) {
        MapSnapshotOptions options = around(10, 10, 0.01, scale);
        options.width = width;
        return options;
    };
    const Row rows[] = {
        {"no span", around(10, 10, 0)},
        {"negative span", around(10, 10, -0.01)},
        {"span past the globe", around(10, 10, 200)},
        {"latitude past the pole", around(91, 10, 0.01)},
        {"NaN centre", around(std::nan(""), 10, 0.01)},
        {"no width", withSize(0, 1)},
        {"no scale", withSize(256, 0)},
        {"too many pixels", withSize(256, 17)},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        std::string problem;
        EXPECT_FALSE(mercator::frameFor(row.options, problem));
        EXPECT_FALSE(problem.empty());
    }
}

TEST(WebMercatorTest, TilesAreFetchedAtTheZoomThatDrawsThemNearTheirSize) {
    constexpr double kZoom12 = 256 * 4096;
    const struct {
        double worldPixels;
        int minimum, maximum, zoom;
    } rows[] = {
        {kZoom12, 0, 19, 12},        {kZoom12 * 1.1, 0, 19, 12},  // drawn 1.1 times larger
        {kZoom12 * 1.25, 0, 19, 13},  // would be 1.25 times larger: the next zoom, at 0.63
        {kZoom12 * 0.6, 0, 19, 12},   // drawn at 0.6 of their size
        {kZoom12 * 0.55, 0, 19, 11},  // the zoom below, 1.1 times larger
        {kZoom12, 0, 10, 10},         // the source stops at 10: enlarged after all
        {kZoom12, 14, 16, 14},        // the source starts at 14
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.worldPixels / kZoom12);
        EXPECT_EQ(tileZoomFor(row.worldPixels, 256, row.minimum, row.maximum), row.zoom);
    }
}

}  // namespace
}  // namespace orvane::platform
