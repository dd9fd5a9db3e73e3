#include "platform/image/exiv2_image_metadata.h"

#include <gtest/gtest.h>
#include <turbojpeg.h>
#include <exiv2/exiv2.hpp>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "foundation/log.h"

namespace orvane::platform {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr int kWidth = 64;
constexpr int kHeight = 48;

Bytes encodedJpeg() {
    std::vector<std::uint8_t> pixels(kWidth * kHeight * 3);
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            std::uint8_t* p = &pixels[(y * kWidth + x) * 3];
            p[0] = static_cast<std::uint8_t>(x * 4);
            p[1] = static_cast<std::uint8_t>(y * 5);
            p[2] = static_cast<std::uint8_t>((x ^ y) * 8);
        }
    }
    tjhandle handle = tjInitCompress();
    unsigned char* out = nullptr;
    unsigned long size = 0;
    const int failed = tjCompress2(handle, pixels.data(), kWidth, 0, kHeight, TJPF_RGB, &out, &size,
                                   TJSAMP_420, 90, 0);
    Bytes jpeg;
    if (!failed)
        jpeg.assign(out, out + size);
    tjFree(out);
    tjDestroy(handle);
    return jpeg;
}

// The compressed picture: everything from the start-of-scan marker on.
Bytes scanBytes(const Bytes& jpeg) {
    static const std::uint8_t kStartOfScan[] = {0xFF, 0xDA};
    auto at =
        std::search(jpeg.begin(), jpeg.end(), std::begin(kStartOfScan), std::end(kStartOfScan));
    return Bytes(at, jpeg.end());
}

std::unique_ptr<Exiv2::Image> opened(const Bytes& jpeg) {
    std::unique_ptr<Exiv2::Image> image(
        Exiv2::ImageFactory::open(jpeg.data(), static_cast<long>(jpeg.size())).release());
    image->readMetadata();
    return image;
}

// A JPEG as a camera leaves it: make, exposure and its own software name already tagged.
Bytes cameraJpeg() {
    Bytes jpeg = encodedJpeg();
    auto image = opened(jpeg);
    image->exifData()["Exif.Image.Make"] = "Webcam Co";
    image->exifData()["Exif.Image.Software"] = "Firmware 1.0";
    image->exifData()["Exif.Photo.ExposureTime"] = Exiv2::URational(1, 100);
    image->writeMetadata();
    Exiv2::BasicIo& io = image->io();
    io.open();
    Exiv2::DataBuf data = io.read(static_cast<long>(io.size()));
    io.close();
    return Bytes(data.pData_, data.pData_ + data.size_);
}

// Collects the log lines written while it lives; the writer logs on the calling thread.
class LogLines {
  public:
    LogLines() {
        foundation::setLogSink([this](const std::string& line) { _lines.push_back(line); });
    }
    ~LogLines() { foundation::setLogSink({}); }
    bool startsWith(const std::string& start) const {
        return std::any_of(_lines.begin(), _lines.end(),
                           [&](const std::string& line) { return line.starts_with(start); });
    }

  private:
    std::vector<std::string> _lines;
};

std::string text(const Exiv2::ExifData& exif, const char* key) {
    auto it = exif.findKey(Exiv2::ExifKey(key));
    return it == exif.end() ? "<missing " + std::string(key) + ">" : it->toString();
}

double rational(const Exiv2::ExifData& exif, const char* key, long n = 0) {
    auto it = exif.findKey(Exiv2::ExifKey(key));
    if (it == exif.end() || it->count() <= n)
        return -1.0;
    const Exiv2::Rational r = it->toRational(n);
    return static_cast<double>(r.first) / r.second;
}

double degrees(const Exiv2::ExifData& exif, const char* key) {
    return rational(exif, key, 0) + rational(exif, key, 1) / 60.0 + rational(exif, key, 2) / 3600.0;
}

// A property, the tag it must become, and what the tag reads back as: a text, or else a number.
struct TagRow {
    const char* dictionary;
    const char* key;
    PropertyValue value;
    const char* tag;
    const char* text;
    double number = 0.0;
};

const std::vector<TagRow>& tagRows() {
    using V = PropertyValue;
    static const std::vector<TagRow> rows = {
        {"{TIFF}", "DateTime", V("2026:03:15 05:10:05"), "Image.DateTime", "2026:03:15 05:10:05"},
        {"{TIFF}", "Software", V("Orvane"), "Image.Software", "Orvane"},
        {"{TIFF}", "ImageDescription", V("Bridge 7"), "Image.ImageDescription", "Bridge 7"},
        {"{Exif}", "DateTimeOriginal", V("2026:03:15 05:10:05"), "Photo.DateTimeOriginal",
         "2026:03:15 05:10:05"},
        {"{Exif}", "DateTimeDigitized", V("2026:03:15 05:10:06"), "Photo.DateTimeDigitized",
         "2026:03:15 05:10:06"},
        {"{Exif}", "UserComment", V("Bridge 7"), "Photo.UserComment", "charset=Ascii Bridge 7"},
        {"{Exif}", "DigitalZoomRatio", 2.5f, "Photo.DigitalZoomRatio", nullptr, 2.5},
        {"{GPS}", "LatitudeRef", V("S"), "GPSInfo.GPSLatitudeRef", "S"},
        {"{GPS}", "LongitudeRef", V("W"), "GPSInfo.GPSLongitudeRef", "W"},
        {"{GPS}", "DOP", 4.5f, "GPSInfo.GPSDOP", nullptr, 4.5},
        {"{GPS}", "HPositioningError", 4.5f, "GPSInfo.GPSHPositioningError", nullptr, 4.5},
        {"{GPS}", "Altitude", 12.5f, "GPSInfo.GPSAltitude", nullptr, 12.5},
        {"{GPS}", "AltitudeRef", std::int64_t{1}, "GPSInfo.GPSAltitudeRef", "1"},
        {"{GPS}", "SpeedRef", V("K"), "GPSInfo.GPSSpeedRef", "K"},
        {"{GPS}", "Speed", 36.0f, "GPSInfo.GPSSpeed", nullptr, 36.0},
        {"{GPS}", "ImgDirectionRef", V("T"), "GPSInfo.GPSImgDirectionRef", "T"},
        {"{GPS}", "ImgDirection", 270.25f, "GPSInfo.GPSImgDirection", nullptr, 270.25},
        {"{GPS}", "DestBearingRef", V("T"), "GPSInfo.GPSDestBearingRef", "T"},
        {"{GPS}", "DestBearing", 270.25f, "GPSInfo.GPSDestBearing", nullptr, 270.25},
    };
    return rows;
}

TEST(Exiv2ImageMetadata, WritesEveryTagAndKeepsTheCamerasOwn) {
    ImageProperties properties;
    for (const auto& row : tagRows())
        properties.dictionaries[row.dictionary][row.key] = row.value;
    properties.values["Orientation"] = std::int64_t{6};
    auto& gps = properties.dictionaries["{GPS}"];
    gps["Latitude"] = 33.8567844f;
    gps["Longitude"] = 151.2152967f;
    gps["TimeStamp"] = std::string("23:40:05.123456");
    properties.dictionaries["{IPTC}"]["Keywords"] = StringArray{"crack", "wall", "桥梁"};

    const Bytes original = cameraJpeg();
    const Bytes written =
        Exiv2ImageMetadataWriter().writeMetadataIntoImageData(original, properties);
    ASSERT_FALSE(written.empty());
    auto image = opened(written);
    const Exiv2::ExifData& exif = image->exifData();
    for (const auto& row : tagRows()) {
        const std::string tag = std::string("Exif.") + row.tag;
        if (row.text) {
            EXPECT_EQ(text(exif, tag.c_str()), row.text) << tag;
        } else {
            EXPECT_DOUBLE_EQ(rational(exif, tag.c_str()), row.number) << tag;
        }
    }
    EXPECT_EQ(text(exif, "Exif.Image.Orientation"), "6");
    EXPECT_EQ(text(exif, "Exif.GPSInfo.GPSVersionID"), "2 3 0 0");
    EXPECT_NEAR(degrees(exif, "Exif.GPSInfo.GPSLatitude"), 33.8567844f, 1e-7);
    EXPECT_NEAR(degrees(exif, "Exif.GPSInfo.GPSLongitude"), 151.2152967f, 1e-7);
    EXPECT_EQ(rational(exif, "Exif.GPSInfo.GPSTimeStamp", 0), 23.0);
    EXPECT_EQ(rational(exif, "Exif.GPSInfo.GPSTimeStamp", 1), 40.0);
    EXPECT_DOUBLE_EQ(rational(exif, "Exif.GPSInfo.GPSTimeStamp", 2), 5.123456);
    std::vector<std::string> keywords;
    for (const auto& datum : image->iptcData()) {
        if (datum.key() == "Iptc.Application2.Keywords")
            keywords.push_back(datum.toString());
    }
    EXPECT_EQ(keywords, (std::vector<std::string>{"crack", "wall", "桥梁"}));

    // The camera's tags stay where nothing replaced them, and its picture is copied, not
    // encoded again.
    EXPECT_EQ(text(exif, "Exif.Image.Make"), "Webcam Co");
    EXPECT_DOUBLE_EQ(rational(exif, "Exif.Photo.ExposureTime"), 0.01);
    EXPECT_EQ(scanBytes(written), scanBytes(original));
}

TEST(Exiv2ImageMetadata, RewritingReplacesInsteadOfAdding) {
    Exiv2ImageMetadataWriter writer;
    ImageProperties first;
    first.dictionaries["{IPTC}"]["Keywords"] = StringArray{"a", "b"};
    first.dictionaries["{Exif}"]["UserComment"] = std::string("旅行 日记");
    const Bytes once = writer.writeMetadataIntoImageData(encodedJpeg(), first);
    ImageProperties second;
    second.dictionaries["{IPTC}"]["Keywords"] = StringArray{"c"};
    const Bytes twice = writer.writeMetadataIntoImageData(once, second);
    ASSERT_FALSE(twice.empty());

    auto image = opened(twice);
    std::vector<std::string> keywords;
    for (const auto& datum : image->iptcData()) {
        if (datum.key() == "Iptc.Application2.Keywords")
            keywords.push_back(datum.toString());
    }
    EXPECT_EQ(keywords, std::vector<std::string>{"c"});
    // A comment outside ASCII goes in as Unicode and reads back as the same text.
    auto comment = image->exifData().findKey(Exiv2::ExifKey("Exif.Photo.UserComment"));
    ASSERT_NE(comment, image->exifData().end());
    const auto& value = dynamic_cast<const Exiv2::CommentValue&>(comment->value());
    EXPECT_EQ(value.charsetId(), Exiv2::CommentValue::unicode);
    EXPECT_EQ(value.comment(), "旅行 日记");
}

TEST(Exiv2ImageMetadata, AnUnknownKeyIsLeftOutAndTheRestWritten) {
    LogLines log;
    ImageProperties properties;
    auto& exif = properties.dictionaries["{Exif}"];
    exif["NoSuchTag"] = std::string("x");
    exif["DigitalZoomRatio"] = std::string("not a number");
    properties.dictionaries["{TIFF}"]["Software"] = std::string("Orvane");
    const Bytes written =
        Exiv2ImageMetadataWriter().writeMetadataIntoImageData(encodedJpeg(), properties);
    ASSERT_FALSE(written.empty());
    auto image = opened(written);
    EXPECT_EQ(text(image->exifData(), "Exif.Image.Software"), "Orvane");
    EXPECT_EQ(image->exifData().findKey(Exiv2::ExifKey("Exif.Photo.DigitalZoomRatio")),
              image->exifData().end());
    EXPECT_TRUE(log.startsWith("Image metadata: Exif.Photo.NoSuchTag is not a known tag"));
    EXPECT_TRUE(log.startsWith(
        "Image metadata: Exif.Photo.DigitalZoomRatio has a value that does not fit it; left out"));
}

TEST(Exiv2ImageMetadata, BadDataGivesNothingAndSaysWhy) {
    Exiv2ImageMetadataWriter writer;
    ImageProperties properties;
    properties.dictionaries["{TIFF}"]["Software"] = std::string("Orvane");
    struct Row {
        const char* name;
        Bytes data;
        const char* line;
    };
    const Bytes jpeg = encodedJpeg();
    // A JPEG cut inside its first segment.
    Bytes cut(jpeg.begin(), jpeg.begin() + 10);
    Bytes png = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n', 0, 0, 0, 0};
    const Row rows[] = {
        {"empty", {}, "Error: Could not create image destination"},
        {"text", Bytes{'h', 'e', 'l', 'l', 'o'}, "Error: Could not create image destination"},
        {"png signature", png, "Error: Could not create image destination"},
        {"cut jpeg", cut, "Error: Could not create data from image destination"},
    };
    for (const auto& row : rows) {
        LogLines log;
        EXPECT_TRUE(writer.writeMetadataIntoImageData(row.data, properties).empty()) << row.name;
        EXPECT_TRUE(log.startsWith(row.line)) << row.name;
    }
}

}  // namespace
}  // namespace orvane::platform
