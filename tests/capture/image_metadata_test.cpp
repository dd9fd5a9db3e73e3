#include "capture/ImageMetadataCategory.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>

namespace orvane::capture {
namespace {

using namespace platform;
using std::chrono::system_clock;

system_clock::time_point utc(std::int64_t secondsSince1970) {
    return system_clock::time_point(std::chrono::seconds(secondsSince1970));
}

class ScopedTimeZone {
  public:
    explicit ScopedTimeZone(const char* zone) {
        if (const char* old = std::getenv("TZ"))
            _old = old;
        setenv("TZ", zone, 1);
        tzset();
    }
    ~ScopedTimeZone() {
        if (_old) {
            setenv("TZ", _old->c_str(), 1);
        } else {
            unsetenv("TZ");
        }
        tzset();
    }

  private:
    std::optional<std::string> _old;
};

const PropertyValue& valueAt(const ImageProperties& properties, std::string_view dictionary,
                             std::string_view key) {
    const PropertyDictionary* found = properties.dictionary(dictionary);
    if (!found)
        throw std::runtime_error("no dictionary " + std::string(dictionary));
    auto it = found->find(key);
    if (it == found->end())
        throw std::runtime_error("no key " + std::string(key));
    return it->second;
}

bool has(const ImageProperties& properties, std::string_view dictionary, std::string_view key) {
    const PropertyDictionary* found = properties.dictionary(dictionary);
    return found && found->contains(key);
}

std::string gpsString(const ImageProperties& properties, std::string_view key) {
    return std::get<std::string>(valueAt(properties, kCGImagePropertyGPSDictionary, key));
}

float gpsFloat(const ImageProperties& properties, std::string_view key) {
    return std::get<float>(valueAt(properties, kCGImagePropertyGPSDictionary, key));
}

Location fix(double latitude, double longitude, std::optional<double> altitude = 10.0,
             double speed = 2.0) {
    return Location({latitude, longitude}, altitude, 5.0, speed, 1773531605.25);
}

TEST(ImageMetadataOrientation, MapsImageOrientationsOntoExif) {
    const std::int64_t exif[] = {1, 3, 8, 6, 2, 4, 5, 7};
    for (std::int64_t image = 0; image < 8; ++image) {
        ImageProperties properties;
        setImageOrientation(properties, image);
        EXPECT_EQ(properties.values.at(std::string(kCGImagePropertyOrientation)),
                  PropertyValue(exif[image]))
            << image;
    }
    for (std::int64_t image : {-1, 8, 100}) {
        ImageProperties properties;
        setImageOrientation(properties, image);
        EXPECT_EQ(properties.values.at(std::string(kCGImagePropertyOrientation)),
                  PropertyValue(std::int64_t{1}))
            << image;
    }
}

TEST(ImageMetadataDates, AreLocalTimeInExifForm) {
    ScopedTimeZone zone("IST-5:30");
    ImageProperties properties;
    setDateOriginal(properties, utc(1773531605) + std::chrono::milliseconds(900));
    setDateDigitized(properties, utc(1773531606));
    const std::string original = "2026:03:15 05:10:05";
    EXPECT_EQ(std::get<std::string>(valueAt(properties, kCGImagePropertyExifDictionary,
                                            kCGImagePropertyExifDateTimeOriginal)),
              original);
    EXPECT_EQ(std::get<std::string>(valueAt(properties, kCGImagePropertyTIFFDictionary,
                                            kCGImagePropertyTIFFDateTime)),
              original);
    EXPECT_EQ(std::get<std::string>(valueAt(properties, kCGImagePropertyExifDictionary,
                                            kCGImagePropertyExifDateTimeDigitized)),
              "2026:03:15 05:10:06");
}

TEST(ImageMetadataDates, GpsTimeIsUtcToTheMicrosecond) {
    ScopedTimeZone zone("IST-5:30");
    EXPECT_EQ(getUTCFormattedTime(utc(1773531605) + std::chrono::microseconds(123456)),
              "23:40:05.123456");
    EXPECT_EQ(getUTCFormattedTime(utc(0)), "00:00:00.000000");
    // Before 1970 the fraction still counts forward from the whole second.
    EXPECT_EQ(getUTCFormattedTime(utc(-1) + std::chrono::microseconds(250000)), "23:59:59.250000");
}

TEST(ImageMetadataWriters, SetTheirKeysAndKeepTheRest) {
    ImageProperties properties;
    // A camera's own fields, which the writers must not disturb.
    properties.dictionaries[std::string(kCGImagePropertyExifDictionary)]["ExposureTime"] = 0.01;
    properties.dictionaries[std::string(kCGImagePropertyTIFFDictionary)]["Make"] =
        std::string("Webcam Co");

    setUserComment(properties, "Bridge inspection");
    setDigitalZoom(properties, 2.5f);
    setMake(properties, "Apple", "", "Orvane");
    setDescription(properties, "Bridge inspection");
    setKeywords(properties, {"crack", "wall"});

    const PropertyDictionary& exif = *properties.dictionary(kCGImagePropertyExifDictionary);
    EXPECT_EQ(exif.at("ExposureTime"), PropertyValue(0.01));
    EXPECT_EQ(exif.at(std::string(kCGImagePropertyExifUserComment)),
              PropertyValue(std::string("Bridge inspection")));
    EXPECT_EQ(exif.at(std::string(kCGImagePropertyExifDigitalZoomRatio)), PropertyValue(2.5f));

    const PropertyDictionary& tiff = *properties.dictionary(kCGImagePropertyTIFFDictionary);
    EXPECT_EQ(tiff.at(std::string(kCGImagePropertyTIFFSoftware)),
              PropertyValue(std::string("Orvane")));
    // Make and model come only from the camera.
    EXPECT_EQ(tiff.at(std::string(kCGImagePropertyTIFFMake)),
              PropertyValue(std::string("Webcam Co")));
    EXPECT_FALSE(tiff.contains(kCGImagePropertyTIFFModel));
    EXPECT_EQ(tiff.at(std::string(kCGImagePropertyTIFFImageDescription)),
              PropertyValue(std::string("Bridge inspection")));

    EXPECT_EQ(valueAt(properties, kCGImagePropertyIPTCDictionary, kCGImagePropertyIPTCKeywords),
              PropertyValue(StringArray{"crack", "wall"}));
}

TEST(ImageMetadataWriters, DictionaryForKeyReturnsTheStoredOne) {
    ImageProperties properties;
    PropertyDictionary& gps = dictionaryForKey(properties, kCGImagePropertyGPSDictionary);
    gps["Custom"] = std::int64_t{3};
    EXPECT_EQ(&dictionaryForKey(properties, kCGImagePropertyGPSDictionary), &gps);
    EXPECT_EQ(numberForKey(*properties.dictionary(kCGImagePropertyGPSDictionary), "Custom"), 3.0);
}

TEST(ImageMetadataLocation, WritesEveryField) {
    ScopedTimeZone zone("IST-5:30");
    ImageProperties properties;
    setLocation(properties, Location({-33.8567844, -151.2152967}, 58.25, 4.5, 10.0, 1773531605.5));
    EXPECT_EQ(gpsString(properties, kCGImagePropertyGPSTimeStamp), "23:40:05.500000");
    EXPECT_EQ(gpsString(properties, kCGImagePropertyGPSLatitudeRef), "S");
    EXPECT_EQ(gpsFloat(properties, kCGImagePropertyGPSLatitude), 33.8567844f);
    EXPECT_EQ(gpsString(properties, kCGImagePropertyGPSLongitudeRef), "W");
    EXPECT_EQ(gpsFloat(properties, kCGImagePropertyGPSLongitude), 151.2152967f);
    EXPECT_EQ(gpsFloat(properties, kCGImagePropertyGPSDOP), 4.5f);
    EXPECT_EQ(gpsFloat(properties, kCGImagePropertyGPSHPositioningError), 4.5f);
    EXPECT_EQ(gpsFloat(properties, kCGImagePropertyGPSAltitude), 58.25f);
    EXPECT_EQ(valueAt(properties, kCGImagePropertyGPSDictionary, kCGImagePropertyGPSAltitudeRef),
              PropertyValue(std::int64_t{0}));
    EXPECT_EQ(gpsString(properties, kCGImagePropertyGPSSpeedRef), "K");
    EXPECT_EQ(gpsFloat(properties, kCGImagePropertyGPSSpeed), 36.0f);
}

TEST(ImageMetadataLocation, ReferencesAndConditions) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    {
        // -0.0 is not below 0.
        ImageProperties properties;
        setLocation(properties, fix(-0.0, -0.0));
        EXPECT_EQ(gpsString(properties, kCGImagePropertyGPSLatitudeRef), "N");
        EXPECT_EQ(gpsString(properties, kCGImagePropertyGPSLongitudeRef), "E");
        EXPECT_FALSE(std::signbit(gpsFloat(properties, kCGImagePropertyGPSLatitude)));
    }
    {
        // Speed -1 is no reading; 0 is a reading.
        ImageProperties properties;
        setLocation(properties, fix(1, 2, 10.0, -1.0));
        EXPECT_FALSE(has(properties, kCGImagePropertyGPSDictionary, kCGImagePropertyGPSSpeed));
        EXPECT_FALSE(has(properties, kCGImagePropertyGPSDictionary, kCGImagePropertyGPSSpeedRef));
        setLocation(properties, fix(1, 2, 10.0, 0.0));
        EXPECT_EQ(gpsFloat(properties, kCGImagePropertyGPSSpeed), 0.0f);
    }
    for (std::optional<double> altitude : {std::optional<double>(nan), std::optional<double>()}) {
        ImageProperties properties;
        setLocation(properties, fix(1, 2, altitude));
        EXPECT_FALSE(has(properties, kCGImagePropertyGPSDictionary, kCGImagePropertyGPSAltitude));
        EXPECT_FALSE(
            has(properties, kCGImagePropertyGPSDictionary, kCGImagePropertyGPSAltitudeRef));
    }
    {
        ImageProperties properties;
        setLocation(properties, fix(1, 2, -12.5));
        EXPECT_EQ(gpsFloat(properties, kCGImagePropertyGPSAltitude), 12.5f);
        EXPECT_EQ(
            valueAt(properties, kCGImagePropertyGPSDictionary, kCGImagePropertyGPSAltitudeRef),
            PropertyValue(std::int64_t{1}));
    }
    {
        ImageProperties properties;
        setLocation(properties, std::nullopt);
        EXPECT_EQ(properties, ImageProperties{});
    }
}

TEST(ImageMetadataLocation, KeepsOldGpsEntriesItDoesNotSet) {
    ImageProperties properties;
    PropertyDictionary& old = properties.dictionaries[std::string(kCGImagePropertyGPSDictionary)];
    old["MapDatum"] = std::string("WGS-84");
    old[std::string(kCGImagePropertyGPSSpeed)] = 99.0f;
    old[std::string(kCGImagePropertyGPSLatitudeRef)] = std::string("S");
    setTrueHeading(properties, 270.5);
    setLocation(properties, fix(48.85, 2.35, 10.0, -1.0));
    EXPECT_EQ(gpsString(properties, "MapDatum"), "WGS-84");
    EXPECT_EQ(gpsFloat(properties, kCGImagePropertyGPSSpeed), 99.0f);
    EXPECT_EQ(gpsString(properties, kCGImagePropertyGPSLatitudeRef), "N");
    EXPECT_EQ(gpsFloat(properties, kCGImagePropertyGPSImgDirection), 270.5f);
}

TEST(ImageMetadataHeading, WritesDirectionAndBearing) {
    ImageProperties properties;
    setHeading(properties, std::nullopt);
    EXPECT_EQ(properties.dictionary(kCGImagePropertyGPSDictionary), nullptr);
    EXPECT_EQ(trueHeading(properties), 0.0);

    setHeading(properties, 123.25);
    EXPECT_EQ(gpsString(properties, kCGImagePropertyGPSImgDirectionRef), "T");
    EXPECT_EQ(gpsString(properties, kCGImagePropertyGPSDestBearingRef), "T");
    EXPECT_EQ(gpsFloat(properties, kCGImagePropertyGPSImgDirection), 123.25f);
    EXPECT_EQ(gpsFloat(properties, kCGImagePropertyGPSDestBearing), 123.25f);
    EXPECT_EQ(trueHeading(properties), 123.25);
}

TEST(ImageMetadataReaders, LocationComesBackSignedAndSinglePrecision) {
    EXPECT_EQ(location(ImageProperties{}), std::nullopt);

    ImageProperties properties;
    setLocation(properties, fix(-33.8567844, 151.2152967));
    std::optional<Location> back = location(properties);
    ASSERT_TRUE(back);
    EXPECT_EQ(back->coordinate().latitude, static_cast<double>(-33.8567844f));
    EXPECT_EQ(back->coordinate().longitude, static_cast<double>(151.2152967f));
    EXPECT_EQ(back->altitude(), std::nullopt);
    EXPECT_EQ(back->speed(), -1.0);

    // A GPS dictionary without coordinates reads as 0, 0, not as no location.
    ImageProperties bare;
    setTrueHeading(bare, 10.0);
    back = location(bare);
    ASSERT_TRUE(back);
    EXPECT_EQ(back->coordinate().latitude, 0.0);
    EXPECT_EQ(back->coordinate().longitude, 0.0);
}

}  // namespace
}  // namespace orvane::capture
