#include "platform/linux/exiv2_image_metadata.h"

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

ImageProperties fullProperties() {
    using V = PropertyValue;
    ImageProperties p;
    p.values["Orientation"] = std::int64_t{6};
    p.dictionaries["{Exif}"] = {{"DateTimeOriginal", V("2026:03:15 05:10:05")},
                                {"DateTimeDigitized", V("2026:03:15 05:10:06")},
                                {"UserComment", V("Bridge 7")},
                                {"DigitalZoomRatio", 2.5f}};
    p.dictionaries["{TIFF}"] = {{"DateTime", V("2026:03:15 05:10:05")},
                                {"Software", V("Orvane")},
                                {"ImageDescription", V("Bridge 7")}};
    p.dictionaries["{GPS}"] = {{"TimeStamp", V("23:40:05.123456")},
                               {"LatitudeRef", V("S")},
                               {"Latitude", 33.8567844f},
                               {"LongitudeRef", V("W")},
                               {"Longitude", 151.2152967f},
                               {"DOP", 4.5f},
                               {"HPositioningError", 4.5f},
                               {"Altitude", 12.5f},
                               {"AltitudeRef", std::int64_t{1}},
                               {"SpeedRef", V("K")},
                               {"Speed", 36.0f},
                               {"ImgDirectionRef", V("T")},
                               {"ImgDirection", 270.25f},
                               {"DestBearingRef", V("T")},
                               {"DestBearing", 270.25f}};
    p.dictionaries["{IPTC}"] = {{"Keywords", StringArray{"crack", "wall", "桥梁"}}};
    return p;
}

TEST(Exiv2ImageMetadata, WritesEveryTagAndKeepsTheCamerasOwn) {
    const Bytes original = cameraJpeg();
    ASSERT_FALSE(original.empty());
    Exiv2ImageMetadataWriter writer;
    const Bytes written = writer.writeMetadataIntoImageData(original, fullProperties());
    ASSERT_FALSE(written.empty());

    auto image = opened(written);
    const Exiv2::ExifData& exif = image->exifData();
    EXPECT_EQ(text(exif, "Exif.Image.Orientation"), "6");
    EXPECT_EQ(text(exif, "Exif.Image.Software"), "Orvane");
    EXPECT_EQ(text(exif, "Exif.Image.ImageDescription"), "Bridge 7");
    EXPECT_EQ(text(exif, "Exif.Image.DateTime"), "2026:03:15 05:10:05");
    EXPECT_EQ(text(exif, "Exif.Photo.DateTimeOriginal"), "2026:03:15 05:10:05");
    EXPECT_EQ(text(exif, "Exif.Photo.DateTimeDigitized"), "2026:03:15 05:10:06");
    EXPECT_EQ(text(exif, "Exif.Photo.UserComment"), "charset=Ascii Bridge 7");
    EXPECT_DOUBLE_EQ(rational(exif, "Exif.Photo.DigitalZoomRatio"), 2.5);

    EXPECT_EQ(text(exif, "Exif.GPSInfo.GPSVersionID"), "2 3 0 0");
    EXPECT_EQ(text(exif, "Exif.GPSInfo.GPSLatitudeRef"), "S");
    EXPECT_NEAR(degrees(exif, "Exif.GPSInfo.GPSLatitude"), 33.8567844f, 1e-7);
    EXPECT_EQ(text(exif, "Exif.GPSInfo.GPSLongitudeRef"), "W");
    EXPECT_NEAR(degrees(exif, "Exif.GPSInfo.GPSLongitude"), 151.2152967f, 1e-7);
    EXPECT_EQ(rational(exif, "Exif.GPSInfo.GPSTimeStamp", 0), 23.0);
    EXPECT_EQ(rational(exif, "Exif.GPSInfo.GPSTimeStamp", 1), 40.0);
    EXPECT_DOUBLE_EQ(rational(exif, "Exif.GPSInfo.GPSTimeStamp", 2), 5.123456);
    EXPECT_DOUBLE_EQ(rational(exif, "Exif.GPSInfo.GPSDOP"), 4.5);
    EXPECT_DOUBLE_EQ(rational(exif, "Exif.GPSInfo.GPSHPositioningError"), 4.5);
    EXPECT_DOUBLE_EQ(rational(exif, "Exif.GPSInfo.GPSAltitude"), 12.5);
    EXPECT_EQ(text(exif, "Exif.GPSInfo.GPSAltitudeRef"), "1");
    EXPECT_EQ(text(exif, "Exif.GPSInfo.GPSSpeedRef"), "K");
    EXPECT_DOUBLE_EQ(rational(exif, "Exif.GPSInfo.GPSSpeed"), 36.0);
    EXPECT_EQ(text(exif, "Exif.GPSInfo.GPSImgDirectionRef"), "T");
    EXPECT_DOUBLE_EQ(rational(exif, "Exif.GPSInfo.GPSImgDirection"), 270.25);
    EXPECT_EQ(text(exif, "Exif.GPSInfo.GPSDestBearingRef"), "T");
    EXPECT_DOUBLE_EQ(rational(exif, "Exif.GPSInfo.GPSDestBearing"), 270.25);

    // The camera's tags stay where nothing replaced them.
    EXPECT_EQ(text(exif, "Exif.Image.Make"), "Webcam Co");
    EXPECT_DOUBLE_EQ(rational(exif, "Exif.Photo.ExposureTime"), 0.01);

    std::vector<std::string> keywords;
    for (const auto& datum : image->iptcData()) {
        if (datum.key() == "Iptc.Application2.Keywords")
            keywords.push_back(datum.toString());
    }
    EXPECT_EQ(keywords, (std::vector<std::string>{"crack", "wall", "桥梁"}));
    EXPECT_EQ(text(exif, "Exif.Image.Orientation"), "6");

    // The compressed picture is copied, not encoded again.
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
    const ImageProperties properties = fullProperties();
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
