#include "platform/image/exiv2_image_metadata.h"

#include <exiv2/exiv2.hpp>

#include <cmath>
#include <cstdio>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "foundation/log.h"

namespace orvane::platform {

namespace {

using foundation::log;

// exiv2's own warnings and errors become our log lines instead of bare standard error.
void logFromExiv2(int /*level*/, const char* message) {
    std::string line(message);
    while (!line.empty() && line.back() == '\n')
        line.pop_back();
    log("exiv2: %s", line.c_str());
}

std::string numberText(double value) {
    char text[64];
    std::snprintf(text, sizeof text, "%.17g", value);
    return text;
}

std::string joined(const StringArray& values) {
    std::string text;
    for (const auto& value : values) {
        if (!text.empty())
            text += ' ';
        text += value;
    }
    return text;
}

// Rationals with a denominator fine enough for a float's digits and small enough for 32 bits;
// none for a value no rational of the kind holds.
std::optional<Exiv2::Rational> signedRational(double value) {
    const double magnitude = std::fabs(value);
    if (!(magnitude < 2.0e9))
        return std::nullopt;
    const std::int32_t denominator = magnitude < 2000.0 ? 1000000 : magnitude < 2.0e6 ? 1000 : 1;
    return Exiv2::Rational{static_cast<std::int32_t>(std::llround(value * denominator)),
                           denominator};
}

std::optional<Exiv2::URational> unsignedRational(double value) {
    if (!(value >= 0.0 && value < 4.0e9))
        return std::nullopt;
    const std::uint32_t denominator = value < 4000.0 ? 1000000 : value < 4.0e6 ? 1000 : 1;
    return Exiv2::URational{static_cast<std::uint32_t>(std::llround(value * denominator)),
                            denominator};
}

// Degrees, minutes and seconds; seconds to the ten-thousandth, carried when they round to 60.
Exiv2::URationalValue degreesMinutesSeconds(double degrees) {
    degrees = std::fabs(degrees);
    auto tenThousandths = static_cast<std::uint64_t>(std::llround(degrees * 3600.0 * 10000.0));
    const std::uint64_t whole = tenThousandths / (3600 * 10000);
    tenThousandths -= whole * 3600 * 10000;
    const std::uint64_t minutes = tenThousandths / (60 * 10000);
    tenThousandths -= minutes * 60 * 10000;
    Exiv2::URationalValue value;
    value.value_.push_back({static_cast<std::uint32_t>(whole), 1});
    value.value_.push_back({static_cast<std::uint32_t>(minutes), 1});
    value.value_.push_back({static_cast<std::uint32_t>(tenThousandths), 10000});
    return value;
}

// "HH:mm:ss.SSSSSS" as hours, minutes and seconds; none for a text of another shape.
std::unique_ptr<Exiv2::URationalValue> gpsTimeStamp(const std::string& text) {
    unsigned hours = 0, minutes = 0;
    double seconds = 0.0;
    if (std::sscanf(text.c_str(), "%u:%u:%lf", &hours, &minutes, &seconds) != 3 || hours > 24 ||
        minutes > 59 || !(seconds >= 0.0 && seconds < 61.0))
        return nullptr;
    auto value = std::make_unique<Exiv2::URationalValue>();
    value->value_.push_back({hours, 1});
    value->value_.push_back({minutes, 1});
    value->value_.push_back(
        {static_cast<std::uint32_t>(std::llround(seconds * 1000000.0)), 1000000});
    return value;
}

// The user comment with its character-set prefix: ASCII where it is, else Unicode.
std::string commentText(const std::string& text) {
    for (unsigned char c : text) {
        if (c >= 0x80)
            return "charset=Unicode " + text;
    }
    return "charset=Ascii " + text;
}

// A value of the tag's own type made from a property; none when the property does not fit it.
std::unique_ptr<Exiv2::Value> exifValue(Exiv2::TypeId type, const PropertyValue& property) {
    if (const auto* number = std::get_if<std::int64_t>(&property)) {
        return exifValue(type, PropertyValue(static_cast<double>(*number)));
    }
    if (const auto* number = std::get_if<float>(&property)) {
        return exifValue(type, PropertyValue(static_cast<double>(*number)));
    }
    std::unique_ptr<Exiv2::Value> value(Exiv2::Value::create(type).release());
    if (const auto* number = std::get_if<double>(&property)) {
        if (type == Exiv2::unsignedRational) {
            auto rational = unsignedRational(*number);
            if (!rational)
                return nullptr;
            static_cast<Exiv2::URationalValue&>(*value).value_.push_back(*rational);
            return value;
        }
        if (type == Exiv2::signedRational) {
            auto rational = signedRational(*number);
            if (!rational)
                return nullptr;
            static_cast<Exiv2::RationalValue&>(*value).value_.push_back(*rational);
            return value;
        }
        if (type == Exiv2::asciiString || type == Exiv2::comment) {
            return value->read(numberText(*number)) == 0 ? std::move(value) : nullptr;
        }
        return value->read(numberText(std::round(*number))) == 0 ? std::move(value) : nullptr;
    }
    std::string text;
    if (const auto* string = std::get_if<std::string>(&property))
        text = *string;
    if (const auto* strings = std::get_if<StringArray>(&property))
        text = joined(*strings);
    if (type == Exiv2::comment)
        text = commentText(text);
    return value->read(text) == 0 ? std::move(value) : nullptr;
}

void setExif(Exiv2::ExifData& exif, const std::string& keyName, const PropertyValue& property) {
    try {
        const Exiv2::ExifKey key(keyName);
        std::unique_ptr<Exiv2::Value> value;
        const bool gps = key.groupName() == "GPSInfo";
        const auto* text = std::get_if<std::string>(&property);
        if (gps &&
            (keyName.ends_with("GPSLatitude") || keyName.ends_with("GPSLongitude") ||
             keyName.ends_with("GPSDestLatitude") || keyName.ends_with("GPSDestLongitude"))) {
            std::visit(
                [&](const auto& v) {
                    if constexpr (std::is_arithmetic_v<std::decay_t<decltype(v)>>) {
                        if (std::fabs(static_cast<double>(v)) <= 360.0) {
                            value = std::make_unique<Exiv2::URationalValue>(
                                degreesMinutesSeconds(static_cast<double>(v)));
                        }
                    }
                },
                property);
        } else if (gps && text && keyName.ends_with("GPSTimeStamp")) {
            value = gpsTimeStamp(*text);
        } else {
            value = exifValue(key.defaultTypeId(), property);
        }
        if (!value) {
            log("Image metadata: %s has a value that does not fit it; left out", keyName.c_str());
            return;
        }
        exif[keyName].setValue(value.get());
    } catch (const Exiv2::AnyError& error) {
        log("Image metadata: %s is not a known tag (%s); left out", keyName.c_str(), error.what());
    }
}

void setIptc(Exiv2::IptcData& iptc, const std::string& keyName, const PropertyValue& property) {
    try {
        const Exiv2::IptcKey key(keyName);
        // A list becomes one record per entry, replacing the records that were there.
        StringArray entries;
        if (const auto* strings = std::get_if<StringArray>(&property)) {
            entries = *strings;
        } else if (const auto* text = std::get_if<std::string>(&property)) {
            entries.push_back(*text);
        } else {
            std::visit(
                [&](const auto& v) {
                    if constexpr (std::is_arithmetic_v<std::decay_t<decltype(v)>>) {
                        entries.push_back(numberText(static_cast<double>(v)));
                    }
                },
                property);
        }
        for (auto it = iptc.findKey(key); it != iptc.end(); it = iptc.findKey(key))
            iptc.erase(it);
        for (const auto& entry : entries) {
            Exiv2::StringValue value(entry);
            iptc.add(key, &value);
        }
    } catch (const Exiv2::AnyError& error) {
        log("Image metadata: %s is not a known record (%s); left out", keyName.c_str(),
            error.what());
    }
}

void applyProperties(Exiv2::Image& image, const ImageProperties& metadata) {
    Exiv2::ExifData& exif = image.exifData();
    struct Directory {
        std::string_view dictionary;
        const char* keyPrefix;
    };
    static constexpr Directory kDirectories[] = {
        {kCGImagePropertyTIFFDictionary, "Exif.Image."},
        {kCGImagePropertyExifDictionary, "Exif.Photo."},
        {kCGImagePropertyGPSDictionary, "Exif.GPSInfo.GPS"},
    };
    for (const auto& directory : kDirectories) {
        const PropertyDictionary* dictionary = metadata.dictionary(directory.dictionary);
        if (!dictionary)
            continue;
        for (const auto& [key, value] : *dictionary) {
            setExif(exif, directory.keyPrefix + key, value);
        }
    }
    if (const PropertyDictionary* gps = metadata.dictionary(kCGImagePropertyGPSDictionary);
        gps && !gps->empty() &&
        exif.findKey(Exiv2::ExifKey("Exif.GPSInfo.GPSVersionID")) == exif.end()) {
        // Readers look for the version before they trust the GPS directory.
        setExif(exif, "Exif.GPSInfo.GPSVersionID", std::string("2 3 0 0"));
    }
    if (auto it = metadata.values.find(kCGImagePropertyOrientation); it != metadata.values.end()) {
        setExif(exif, "Exif.Image.Orientation", it->second);
    }
    if (const PropertyDictionary* dictionary = metadata.dictionary(kCGImagePropertyIPTCDictionary);
        dictionary && !dictionary->empty()) {
        Exiv2::IptcData& iptc = image.iptcData();
        for (const auto& [key, value] : *dictionary) {
            setIptc(iptc, "Iptc.Application2." + key, value);
        }
        // Keywords may be in any script: declare UTF-8 ("ESC % G").
        setIptc(iptc, "Iptc.Envelope.CharacterSet", std::string("\x1b%G"));
    }
}

}  // namespace

Exiv2ImageMetadataWriter::Exiv2ImageMetadataWriter() {
    static std::once_flag once;
    std::call_once(once, [] {
        Exiv2::LogMsg::setHandler(logFromExiv2);
        // The XMP toolkit's set-up is not thread-safe; done once here, before any writer works.
        Exiv2::XmpParser::initialize();
    });
}

std::vector<std::uint8_t> Exiv2ImageMetadataWriter::writeMetadataIntoImageData(
    std::span<const std::uint8_t> imageData, const ImageProperties& metadata) {
    std::unique_ptr<Exiv2::Image> image;
    try {
        if (!imageData.empty()) {
            image.reset(
                Exiv2::ImageFactory::open(imageData.data(), static_cast<long>(imageData.size()))
                    .release());
        }
    } catch (const Exiv2::AnyError& error) {
        log("exiv2: %s", error.what());
    }
    if (!image || image->mimeType() != "image/jpeg") {
        log("Error: Could not create image destination");
        return {};
    }
    try {
        image->readMetadata();
        applyProperties(*image, metadata);
        image->writeMetadata();
        Exiv2::BasicIo& io = image->io();
        if (io.open() != 0)
            throw Exiv2::Error(Exiv2::kerDataSourceOpenFailed, "memory");
        io.seek(0, Exiv2::BasicIo::beg);
        Exiv2::DataBuf data = io.read(static_cast<long>(io.size()));
        io.close();
        return std::vector<std::uint8_t>(data.pData_, data.pData_ + data.size_);
    } catch (const Exiv2::AnyError& error) {
        log("exiv2: %s", error.what());
    }
    log("Error: Could not create data from image destination");
    return {};
}

}  // namespace orvane::platform
