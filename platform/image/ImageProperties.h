// The image properties dictionary: what a photo's metadata holds before it is merged into the
// encoded file. The top level keeps the Exif, TIFF, GPS and IPTC sub-dictionaries and a few
// plain keys (the orientation); values are numbers, strings or lists of strings.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/settings/UserDefaults.h"

namespace orvane::platform {

// A number keeps the width it was stored with: a single-precision float stays one, so what the
// file receives is exactly what was stored.
using PropertyValue = std::variant<std::int64_t, float, double, std::string, StringArray>;
using PropertyDictionary = std::map<std::string, PropertyValue, std::less<>>;

struct ImageProperties {
    // The sub-dictionaries, under kCGImagePropertyExifDictionary and its kin.
    std::map<std::string, PropertyDictionary, std::less<>> dictionaries;
    // The plain top-level keys, such as kCGImagePropertyOrientation.
    PropertyDictionary values;

    // The sub-dictionary under `key`, or nullptr when there is none.
    const PropertyDictionary* dictionary(std::string_view key) const;

    bool operator==(const ImageProperties&) const = default;
};

// The value of `key` in `dictionary` as a number, when it is one.
std::optional<double> numberForKey(const PropertyDictionary& dictionary, std::string_view key);
// The value of `key` in `dictionary` as a string, when it is one.
const std::string* stringForKey(const PropertyDictionary& dictionary, std::string_view key);

// Top level.
inline constexpr std::string_view kCGImagePropertyExifDictionary = "{Exif}";
inline constexpr std::string_view kCGImagePropertyTIFFDictionary = "{TIFF}";
inline constexpr std::string_view kCGImagePropertyGPSDictionary = "{GPS}";
inline constexpr std::string_view kCGImagePropertyIPTCDictionary = "{IPTC}";
inline constexpr std::string_view kCGImagePropertyOrientation = "Orientation";

// Exif. The names are the tag names of the EXIF standard, which the file writer relies on.
inline constexpr std::string_view kCGImagePropertyExifDateTimeOriginal = "DateTimeOriginal";
inline constexpr std::string_view kCGImagePropertyExifDateTimeDigitized = "DateTimeDigitized";
inline constexpr std::string_view kCGImagePropertyExifUserComment = "UserComment";
inline constexpr std::string_view kCGImagePropertyExifDigitalZoomRatio = "DigitalZoomRatio";

// TIFF.
inline constexpr std::string_view kCGImagePropertyTIFFDateTime = "DateTime";
inline constexpr std::string_view kCGImagePropertyTIFFSoftware = "Software";
inline constexpr std::string_view kCGImagePropertyTIFFImageDescription = "ImageDescription";
inline constexpr std::string_view kCGImagePropertyTIFFMake = "Make";
inline constexpr std::string_view kCGImagePropertyTIFFModel = "Model";
inline constexpr std::string_view kCGImagePropertyTIFFOrientation = "Orientation";

// GPS. The standard's tag names without their "GPS" prefix.
inline constexpr std::string_view kCGImagePropertyGPSTimeStamp = "TimeStamp";
inline constexpr std::string_view kCGImagePropertyGPSLatitudeRef = "LatitudeRef";
inline constexpr std::string_view kCGImagePropertyGPSLatitude = "Latitude";
inline constexpr std::string_view kCGImagePropertyGPSLongitudeRef = "LongitudeRef";
inline constexpr std::string_view kCGImagePropertyGPSLongitude = "Longitude";
inline constexpr std::string_view kCGImagePropertyGPSDOP = "DOP";
inline constexpr std::string_view kCGImagePropertyGPSHPositioningError = "HPositioningError";
inline constexpr std::string_view kCGImagePropertyGPSAltitude = "Altitude";
inline constexpr std::string_view kCGImagePropertyGPSAltitudeRef = "AltitudeRef";
inline constexpr std::string_view kCGImagePropertyGPSSpeedRef = "SpeedRef";
inline constexpr std::string_view kCGImagePropertyGPSSpeed = "Speed";
inline constexpr std::string_view kCGImagePropertyGPSImgDirectionRef = "ImgDirectionRef";
inline constexpr std::string_view kCGImagePropertyGPSImgDirection = "ImgDirection";
inline constexpr std::string_view kCGImagePropertyGPSDestBearingRef = "DestBearingRef";
inline constexpr std::string_view kCGImagePropertyGPSDestBearing = "DestBearing";

// IPTC.
inline constexpr std::string_view kCGImagePropertyIPTCKeywords = "Keywords";

}  // namespace orvane::platform
