// The operations that fill a photo's properties dictionary: each sets its fields under the
// right keys, in the value forms and units the file writer expects, and the two readers that
// take a position and a heading back out.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/image/ImageProperties.h"
#include "platform/location/Location.h"

namespace orvane::capture {

using platform::ImageProperties;
using platform::PropertyDictionary;

// The sub-dictionary under `key` for writing, made empty and stored when there is none.
PropertyDictionary& dictionaryForKey(ImageProperties& properties, std::string_view key);

// Stores the EXIF orientation of an image orientation 0..7: up 1, down 3, left 8, right 6 and
// their mirrored kin; any other value stores 1.
void setImageOrientation(ImageProperties& properties, std::int64_t imageOrientation);

// The capture date into Exif DateTimeOriginal and TIFF DateTime.
void setDateOriginal(ImageProperties& properties, std::chrono::system_clock::time_point date);
void setDateDigitized(ImageProperties& properties, std::chrono::system_clock::time_point date);
void setUserComment(ImageProperties& properties, const std::string& comment);
void setDigitalZoom(ImageProperties& properties, float zoomRatio);
// Stores the software name alone: make and model in a picture come from the camera's own
// metadata, never from here.
void setMake(ImageProperties& properties, const std::string& make, const std::string& model,
             const std::string& software);
void setDescription(ImageProperties& properties, const std::string& description);
void setKeywords(ImageProperties& properties, const platform::StringArray& keywords);

// The position's fields into the GPS dictionary; entries it does not set stay. Coordinates pass
// through single precision; altitude only when it is a number, speed only when it is known.
void setLocation(ImageProperties& properties, const std::optional<platform::Location>& location);
// `trueHeading` is the heading's true heading in degrees; none (no heading) does nothing.
void setHeading(ImageProperties& properties, std::optional<double> trueHeading);
void setTrueHeading(ImageProperties& properties, double degrees);

// The coordinate stored in the GPS dictionary, none without one. Only the coordinate is read
// back: the fix has no altitude, an unknown speed (-1), accuracy 0 and timestamp 0.
std::optional<platform::Location> location(const ImageProperties& properties);
// The image direction in degrees; 0.0 without GPS.
double trueHeading(const ImageProperties& properties);

// "yyyy:MM:dd HH:mm:ss" in the system's time zone, Gregorian calendar: the name is historical,
// the value is local time, as EXIF wants it.
std::string getUTCFormattedDate(std::chrono::system_clock::time_point date);
// "HH:mm:ss.SSSSSS" in UTC, fraction truncated to the microsecond.
std::string getUTCFormattedTime(std::chrono::system_clock::time_point date);

}  // namespace orvane::capture
