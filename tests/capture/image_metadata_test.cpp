#include "capture/ImageMetadataCategory.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <limits>
#include <optional>
#include <string>

#include "tests/capture/scoped_time_zone.h"

namespace orvane::capture {
namespace {

using namespace platform;
using std::chrono::system_clock;

const system_clock::time_point k234005Z{std::chrono::seconds(1773531605)};

// The value under `key` in the sub-dictionary `dictionary`; none when either is missing.
std::optional<PropertyValue> at(const ImageProperties& properties, std::string_view dictionary,
                                std::string_view key) {
    const PropertyDictionary* found = properties.dictionary(dictionary);
    if (!found || !found->contains(key))
        return std::nullopt;
    return found->find(key)->second;
}

std::optional<PropertyValue> gps(const ImageProperties& properties, std::string_view key) {
    return at(properties, kCGImagePropertyGPSDictionary, key);
}

PropertyValue text(const char* value) {
    return std::string(value);
}

Location fix(double latitude, double longitude, std::optional<double> altitude, double speed) {
    return Location({latitude, longitude}, altitude, 4.5, speed, 1773531605.5);
}

TEST(ImageMetadata, OrientationTable) {
    const std::int64_t exif[] = {1, 1, 3, 8, 6, 2, 4, 5, 7, 1};  // image orientations -1..8
    for (std::int64_t image = -1; image <= 8; ++image) {
        ImageProperties properties;
        setImageOrientation(properties, image);
        EXPECT_EQ(properties.values.at("Orientation"), PropertyValue(exif[image + 1])) << image;
    }
}

TEST(ImageMetadata, DatesAreLocalAndGpsTimeIsUtc) {
    ScopedTimeZone zone("IST-5:30");
    ImageProperties properties;
    setDateOriginal(properties, k234005Z + std::chrono::milliseconds(900));
    setDateDigitized(properties, k234005Z + std::chrono::seconds(1));
    EXPECT_EQ(at(properties, kCGImagePropertyExifDictionary, kCGImagePropertyExifDateTimeOriginal),
              text("2026:03:15 05:10:05"));
    EXPECT_EQ(at(properties, kCGImagePropertyTIFFDictionary, kCGImagePropertyTIFFDateTime),
              text("2026:03:15 05:10:05"));
    EXPECT_EQ(at(properties, kCGImagePropertyExifDictionary, kCGImagePropertyExifDateTimeDigitized),
              text("2026:03:15 05:10:06"));
    EXPECT_EQ(getUTCFormattedTime(k234005Z + std::chrono::microseconds(123456)), "23:40:05.123456");
    // Before 1970 the fraction still counts forward from the whole second.
    EXPECT_EQ(getUTCFormattedTime(system_clock::time_point{} - std::chrono::microseconds(750000)),
              "23:59:59.250000");
}

TEST(ImageMetadata, WritersSetTheirKeysAndKeepTheCamerasOwn) {
    ImageProperties properties;
    properties.dictionaries["{TIFF}"]["Make"] = text("Webcam Co");
    setUserComment(properties, "Bridge");
    setDigitalZoom(properties, 2.5f);
    setMake(properties, "Apple", "", "Orvane");
    setDescription(properties, "Bridge");
    setKeywords(properties, {"crack", "wall"});
    EXPECT_EQ(at(properties, "{Exif}", kCGImagePropertyExifUserComment), text("Bridge"));
    EXPECT_EQ(at(properties, "{Exif}", kCGImagePropertyExifDigitalZoomRatio), PropertyValue(2.5f));
    EXPECT_EQ(at(properties, "{TIFF}", kCGImagePropertyTIFFSoftware), text("Orvane"));
    EXPECT_EQ(at(properties, "{TIFF}", kCGImagePropertyTIFFMake), text("Webcam Co"));
    EXPECT_EQ(at(properties, "{TIFF}", kCGImagePropertyTIFFModel), std::nullopt);
    EXPECT_EQ(at(properties, "{TIFF}", kCGImagePropertyTIFFImageDescription), text("Bridge"));
    EXPECT_EQ(at(properties, "{IPTC}", kCGImagePropertyIPTCKeywords),
              PropertyValue(StringArray{"crack", "wall"}));
}

TEST(ImageMetadata, LocationWritesEveryFieldInSinglePrecision) {
    ImageProperties properties;
    setLocation(properties, fix(-33.8567844, -151.2152967, 58.25, 10.0));
    EXPECT_EQ(gps(properties, kCGImagePropertyGPSTimeStamp), text("23:40:05.500000"));
    EXPECT_EQ(gps(properties, kCGImagePropertyGPSLatitudeRef), text("S"));
    EXPECT_EQ(gps(properties, kCGImagePropertyGPSLatitude), PropertyValue(33.8567844f));
    EXPECT_EQ(gps(properties, kCGImagePropertyGPSLongitudeRef), text("W"));
    EXPECT_EQ(gps(properties, kCGImagePropertyGPSLongitude), PropertyValue(151.2152967f));
    EXPECT_EQ(gps(properties, kCGImagePropertyGPSDOP), PropertyValue(4.5f));
    EXPECT_EQ(gps(properties, kCGImagePropertyGPSHPositioningError), PropertyValue(4.5f));
    EXPECT_EQ(gps(properties, kCGImagePropertyGPSAltitude), PropertyValue(58.25f));
    EXPECT_EQ(gps(properties, kCGImagePropertyGPSAltitudeRef), PropertyValue(std::int64_t{0}));
    EXPECT_EQ(gps(properties, kCGImagePropertyGPSSpeedRef), text("K"));
    EXPECT_EQ(gps(properties, kCGImagePropertyGPSSpeed), PropertyValue(36.0f));
}

TEST(ImageMetadata, LocationReferencesAndConditions) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    ImageProperties properties;
    setLocation(properties, fix(-0.0, -0.0, -12.5, 0.0));  // -0.0 is not below 0
    EXPECT_EQ(gps(properties, kCGImagePropertyGPSLatitudeRef), text("N"));
    EXPECT_EQ(gps(properties, kCGImagePropertyGPSLongitudeRef), text("E"));
    EXPECT_EQ(gps(properties, kCGImagePropertyGPSAltitude), PropertyValue(12.5f));
    EXPECT_EQ(gps(properties, kCGImagePropertyGPSAltitudeRef), PropertyValue(std::int64_t{1}));
    EXPECT_EQ(gps(properties, kCGImagePropertyGPSSpeed), PropertyValue(0.0f));

    for (std::optional<double> altitude : {std::optional<double>(nan), std::optional<double>()}) {
        ImageProperties fresh;
        setLocation(fresh, fix(1, 2, altitude, -1.0));  // speed -1: no reading
        for (auto key : {kCGImagePropertyGPSAltitude, kCGImagePropertyGPSAltitudeRef,
                         kCGImagePropertyGPSSpeed, kCGImagePropertyGPSSpeedRef}) {
            EXPECT_EQ(gps(fresh, key), std::nullopt) << key;
        }
    }
    ImageProperties untouched;
    setLocation(untouched, std::nullopt);
    EXPECT_EQ(untouched, ImageProperties{});
}

TEST(ImageMetadata, GpsOperationsKeepOldEntriesTheyDoNotSet) {
    ImageProperties properties;
    properties.dictionaries["{GPS}"] = {
        {"MapDatum", text("WGS-84")}, {"Speed", PropertyValue(99.0f)}, {"LatitudeRef", text("S")}};
    setHeading(properties, std::nullopt);
    setHeading(properties, 270.5);
    setLocation(properties, fix(48.85, 2.35, 10.0, -1.0));
    EXPECT_EQ(gps(properties, "MapDatum"), text("WGS-84"));
    EXPECT_EQ(gps(properties, kCGImagePropertyGPSSpeed), PropertyValue(99.0f));
    EXPECT_EQ(gps(properties, kCGImagePropertyGPSLatitudeRef), text("N"));
    for (auto ref : {kCGImagePropertyGPSImgDirectionRef, kCGImagePropertyGPSDestBearingRef}) {
        EXPECT_EQ(gps(properties, ref), text("T"));
    }
    EXPECT_EQ(gps(properties, kCGImagePropertyGPSDestBearing), PropertyValue(270.5f));
    EXPECT_EQ(trueHeading(properties), 270.5);
}

TEST(ImageMetadata, ReadersTakeBackPositionAndHeading) {
    EXPECT_EQ(location(ImageProperties{}), std::nullopt);
    EXPECT_EQ(trueHeading(ImageProperties{}), 0.0);

    ImageProperties properties;
    setLocation(properties, fix(-33.8567844, 151.2152967, std::nullopt, -1.0));
    std::optional<Location> back = location(properties);
    ASSERT_TRUE(back);
    EXPECT_EQ(back->coordinate().latitude, static_cast<double>(-33.8567844f));
    EXPECT_EQ(back->coordinate().longitude, static_cast<double>(151.2152967f));
}

}  // namespace
}  // namespace orvane::capture
