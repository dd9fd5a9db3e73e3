#include "capture/ImageMetadataCategory.h"

#include <cmath>
#include <cstdio>
#include <ctime>

#include "foundation/local_time.h"

namespace orvane::capture {

namespace {

using namespace platform;

// The GPS operations write into a copy of the old entries and store the copy, so a caller
// holding the old dictionary never sees it change under it.
PropertyDictionary gpsCopy(const ImageProperties& properties) {
    const PropertyDictionary* old = properties.dictionary(kCGImagePropertyGPSDictionary);
    return old ? *old : PropertyDictionary{};
}

void storeGps(ImageProperties& properties, PropertyDictionary gps) {
    properties.dictionaries.insert_or_assign(std::string(kCGImagePropertyGPSDictionary),
                                             std::move(gps));
}

void set(PropertyDictionary& dictionary, std::string_view key, PropertyValue value) {
    dictionary.insert_or_assign(std::string(key), std::move(value));
}

}  // namespace

PropertyDictionary& dictionaryForKey(ImageProperties& properties, std::string_view key) {
    auto it = properties.dictionaries.find(key);
    if (it != properties.dictionaries.end())
        return it->second;
    return properties.dictionaries.emplace(std::string(key), PropertyDictionary{}).first->second;
}

void setImageOrientation(ImageProperties& properties, std::int64_t imageOrientation) {
    // Image orientations up, down, left, right and their mirrored forms, in EXIF's numbering.
    static constexpr std::int64_t kExifOrientation[] = {1, 3, 8, 6, 2, 4, 5, 7};
    std::int64_t exif = 1;
    if (imageOrientation >= 1 && imageOrientation <= 7)
        exif = kExifOrientation[imageOrientation];
    set(properties.values, kCGImagePropertyOrientation, exif);
}

void setDateOriginal(ImageProperties& properties, std::chrono::system_clock::time_point date) {
    std::string text = getUTCFormattedDate(date);
    set(dictionaryForKey(properties, kCGImagePropertyExifDictionary),
        kCGImagePropertyExifDateTimeOriginal, text);
    set(dictionaryForKey(properties, kCGImagePropertyTIFFDictionary), kCGImagePropertyTIFFDateTime,
        text);
}

void setDateDigitized(ImageProperties& properties, std::chrono::system_clock::time_point date) {
    set(dictionaryForKey(properties, kCGImagePropertyExifDictionary),
        kCGImagePropertyExifDateTimeDigitized, getUTCFormattedDate(date));
}

void setUserComment(ImageProperties& properties, const std::string& comment) {
    set(dictionaryForKey(properties, kCGImagePropertyExifDictionary),
        kCGImagePropertyExifUserComment, comment);
}

void setDigitalZoom(ImageProperties& properties, float zoomRatio) {
    set(dictionaryForKey(properties, kCGImagePropertyExifDictionary),
        kCGImagePropertyExifDigitalZoomRatio, zoomRatio);
}

void setMake(ImageProperties& properties, const std::string& /*make*/, const std::string& /*model*/,
             const std::string& software) {
    set(dictionaryForKey(properties, kCGImagePropertyTIFFDictionary), kCGImagePropertyTIFFSoftware,
        software);
}

void setDescription(ImageProperties& properties, const std::string& description) {
    set(dictionaryForKey(properties, kCGImagePropertyTIFFDictionary),
        kCGImagePropertyTIFFImageDescription, description);
}

void setKeywords(ImageProperties& properties, const StringArray& keywords) {
    set(dictionaryForKey(properties, kCGImagePropertyIPTCDictionary), kCGImagePropertyIPTCKeywords,
        keywords);
}

void setLocation(ImageProperties& properties, const std::optional<Location>& location) {
    if (!location)
        return;
    PropertyDictionary gps = gpsCopy(properties);
    const double latitude = location->coordinate().latitude;
    const double longitude = location->coordinate().longitude;
    // A timestamp out of any clock's range reads as the epoch rather than overflowing.
    const double seconds = std::fabs(location->timestamp()) < 1e11 ? location->timestamp() : 0.0;
    const auto timestamp = std::chrono::system_clock::time_point(
        std::chrono::duration_cast<std::chrono::system_clock::duration>(
            std::chrono::duration<double>(seconds)));
    set(gps, kCGImagePropertyGPSTimeStamp, getUTCFormattedTime(timestamp));
    // -0.0 is not below 0, so it stays north or east.
    set(gps, kCGImagePropertyGPSLatitudeRef, std::string(latitude < 0 ? "S" : "N"));
    set(gps, kCGImagePropertyGPSLatitude, static_cast<float>(std::fabs(latitude)));
    set(gps, kCGImagePropertyGPSLongitudeRef, std::string(longitude < 0 ? "W" : "E"));
    set(gps, kCGImagePropertyGPSLongitude, static_cast<float>(std::fabs(longitude)));
    // The dilution of precision field carries the accuracy in metres, on purpose.
    const auto accuracy = static_cast<float>(location->horizontalAccuracy());
    set(gps, kCGImagePropertyGPSDOP, accuracy);
    set(gps, kCGImagePropertyGPSHPositioningError, accuracy);
    if (auto altitude = location->altitude(); altitude && !std::isnan(*altitude)) {
        set(gps, kCGImagePropertyGPSAltitude, static_cast<float>(std::fabs(*altitude)));
        set(gps, kCGImagePropertyGPSAltitudeRef, std::int64_t{*altitude < 0 ? 1 : 0});
    }
    // A negative speed means no reading; NaN is no reading either.
    if (const double speed = location->speed(); speed >= 0) {
        set(gps, kCGImagePropertyGPSSpeedRef, std::string("K"));
        set(gps, kCGImagePropertyGPSSpeed, static_cast<float>(speed * 3.6));
    }
    storeGps(properties, std::move(gps));
}

void setHeading(ImageProperties& properties, std::optional<double> trueHeading) {
    if (trueHeading)
        setTrueHeading(properties, *trueHeading);
}

void setTrueHeading(ImageProperties& properties, double degrees) {
    PropertyDictionary gps = gpsCopy(properties);
    set(gps, kCGImagePropertyGPSImgDirectionRef, std::string("T"));
    set(gps, kCGImagePropertyGPSDestBearingRef, std::string("T"));
    set(gps, kCGImagePropertyGPSImgDirection, static_cast<float>(degrees));
    set(gps, kCGImagePropertyGPSDestBearing, static_cast<float>(degrees));
    storeGps(properties, std::move(gps));
}

std::optional<Location> location(const ImageProperties& properties) {
    const PropertyDictionary* gps = properties.dictionary(kCGImagePropertyGPSDictionary);
    if (!gps)
        return std::nullopt;
    auto coordinate = [&](std::string_view key, std::string_view refKey,
                          std::string_view negative) {
        auto value = static_cast<float>(numberForKey(*gps, key).value_or(0.0));
        const std::string* ref = stringForKey(*gps, refKey);
        return static_cast<double>(ref && *ref == negative ? -value : value);
    };
    LocationCoordinate2D where{
        coordinate(kCGImagePropertyGPSLatitude, kCGImagePropertyGPSLatitudeRef, "S"),
        coordinate(kCGImagePropertyGPSLongitude, kCGImagePropertyGPSLongitudeRef, "W")};
    return Location(where, std::nullopt, 0.0, -1.0, 0.0);
}

double trueHeading(const ImageProperties& properties) {
    const PropertyDictionary* gps = properties.dictionary(kCGImagePropertyGPSDictionary);
    if (!gps)
        return 0.0;
    return numberForKey(*gps, kCGImagePropertyGPSImgDirection).value_or(0.0);
}

std::string getUTCFormattedDate(std::chrono::system_clock::time_point date) {
    return foundation::formatLocalTime(date, "%Y:%m:%d %H:%M:%S");
}

std::string getUTCFormattedTime(std::chrono::system_clock::time_point date) {
    const auto whole = std::chrono::floor<std::chrono::seconds>(date);
    const auto micros = std::chrono::duration_cast<std::chrono::microseconds>(date - whole).count();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(whole);
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    char text[32];
    std::snprintf(text, sizeof text, "%02d:%02d:%02d.%06lld", utc.tm_hour, utc.tm_min, utc.tm_sec,
                  static_cast<long long>(micros));
    return text;
}

}  // namespace orvane::capture
