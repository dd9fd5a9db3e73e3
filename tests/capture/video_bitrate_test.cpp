#include "capture/video_bitrate.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

#include "platform/writer/AssetWriter.h"

namespace orvane::capture {
namespace {

using platform::kVideoCodecTypeH264;
using platform::kVideoCodecTypeHEVC;

constexpr std::int64_t kLow = kVideoBitrateModeLow;
constexpr std::int64_t kNormal = kVideoBitrateModeNormal;
constexpr std::int64_t kHigh = kVideoBitrateModeHigh;
constexpr std::int64_t kH264 = 0;
constexpr std::int64_t kHEVC = kVideoCodecSettingHEVC;

std::int32_t rate(std::int32_t width, std::int32_t height, std::int64_t mode, std::int64_t index,
                  std::int64_t codec) {
    return videoBitrateForDimensions(width, height, mode, index, codec).averageBitRate;
}

struct BitrateRow {
    const char* name;
    std::int32_t width, height;
    std::int64_t qualityIndex;  // one index of the row's frame rate
    std::int32_t lowH264, normalH264, highH264, normalHEVC;
    std::int32_t lowHEVC, highHEVC;  // worked out by the same rule
};

// The first four columns are the published figures for each row; the HEVC Low and High columns
// follow the same steps.
constexpr BitrateRow kRows[] = {
    {"960x540 30fps", 960, 540, 1, 1330560, 3991680, 7983360, 2275257, 758419, 4550515},
    {"1280x720 30fps", 1280, 720, 2, 2365440, 7096320, 14192640, 4044902, 1348300, 8089804},
    {"1280x720 60fps", 1280, 720, 3, 3548160, 10644480, 21288960, 6067353, 2022451, 12134707},
    {"1920x1080 30fps", 1920, 1080, 4, 5322240, 15966720, 31933440, 9101030, 3033676, 18202060},
    {"1920x1080 60fps", 1920, 1080, 5, 7983360, 23950080, 47900160, 13651545, 4550515, 27303091},
    {"3840x2160 30fps", 3840, 2160, 6, 15275520, 45826560, 91653120, 26121139, 8707046, 52242278},
    {"1280x720 120fps", 1280, 720, 7, 4730880, 14192640, 28385280, 8089804, 2696601, 16179609},
    {"1280x720 15fps", 1280, 720, 8, 1182720, 3548160, 7096320, 2022451, 674150, 4044902},
    {"3840x2160 60fps", 3840, 2160, 9, 22913280, 68739840, 137479680, 39181708, 13060569, 78363417},
    {"1280x720 25fps", 1280, 720, 10, 1963315, 5889945, 11779891, 3357268, 1119089, 6714537},
    {"1280x720 50fps", 1280, 720, 11, 3950284, 11850854, 23701708, 6754986, 2251661, 13509973},
};

TEST(VideoBitrate, EveryRowOfTheTableForEachModeAndCodec) {
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.name);
        const auto w = row.width;
        const auto h = row.height;
        const auto i = row.qualityIndex;
        EXPECT_EQ(rate(w, h, kLow, i, kH264), row.lowH264);
        EXPECT_EQ(rate(w, h, kNormal, i, kH264), row.normalH264);
        EXPECT_EQ(rate(w, h, kHigh, i, kH264), row.highH264);
        EXPECT_EQ(rate(w, h, kNormal, i, kHEVC), row.normalHEVC);
        EXPECT_EQ(rate(w, h, kLow, i, kHEVC), row.lowHEVC);
        EXPECT_EQ(rate(w, h, kHigh, i, kHEVC), row.highHEVC);
    }
}

TEST(VideoBitrate, CodecFollowsTheSettingAndOnlyOneMeansHEVC) {
    EXPECT_EQ(videoBitrateForDimensions(1280, 720, kNormal, 1, kHEVC).codec, kVideoCodecTypeHEVC);
    for (std::int64_t setting : {0, 2, -1, 100}) {
        SCOPED_TRACE(setting);
        const auto choice = videoBitrateForDimensions(1280, 720, kNormal, 1, setting);
        EXPECT_EQ(choice.codec, kVideoCodecTypeH264);
        EXPECT_EQ(choice.averageBitRate, 7096320);
    }
}

TEST(VideoBitrate, IndicesOfOneFrameRateAgreeAndUnknownIndicesAndModesChangeNothing) {
    const std::int32_t thirty = rate(1280, 720, kNormal, 1, kH264);
    for (std::int64_t index : {2, 4, 6, 0, 12, -1}) {
        SCOPED_TRACE(index);
        EXPECT_EQ(rate(1280, 720, kNormal, index, kH264), thirty);
    }
    for (std::int64_t index : {5, 9}) {
        SCOPED_TRACE(index);
        EXPECT_EQ(rate(1280, 720, kNormal, index, kH264), rate(1280, 720, kNormal, 3, kH264));
    }
    for (std::int64_t mode : {3, -1, 42}) {
        SCOPED_TRACE(mode);
        EXPECT_EQ(rate(1280, 720, mode, 1, kH264), thirty);
    }
}

TEST(VideoBitrate, FrameRateOfEachQualityIndex) {
    const std::pair<std::int64_t, double> rows[] = {
        {1, 30}, {2, 30}, {3, 60},  {4, 30},  {5, 60}, {6, 30},  {7, 120},
        {8, 15}, {9, 60}, {10, 25}, {11, 50}, {0, 30}, {12, 30},
    };
    for (const auto& [index, rate] : rows) {
        EXPECT_EQ(frameRateForQualityIndex(index), rate) << index;
    }
}

TEST(VideoBitrate, FewerBitsPerPixelFromSixMillionPixels) {
    // 5,998,000 pixels still take 7.7 bits each; 6,000,000 take 5.525.
    EXPECT_EQ(rate(2999, 2000, kNormal, 1, kH264), 46184600);
    EXPECT_EQ(rate(2999, 2000, kLow, 1, kH264), 15394866);
    EXPECT_EQ(rate(3000, 2000, kNormal, 1, kH264), 33150000);
    EXPECT_EQ(rate(3000, 2000, kLow, 1, kH264), 11050000);
    EXPECT_EQ(rate(3000, 2000, kHigh, 1, kH264), 66300000);
}

TEST(VideoBitrate, SquarePoolsGetTheRuleByTheirOwnPixelCount) {
    struct Square {
        std::int32_t side;
        std::int32_t normalH264, normalHEVC;
    };
    // The square of a 4K camera stays below six million pixels, so it keeps 7.7 bits per pixel.
    constexpr Square kSquares[] = {
        {540, 2245320, 1279832},
        {720, 3991680, 2275257},
        {1080, 8981280, 5119329},
        {2160, 35925120, 20477318},
    };
    for (const auto& square : kSquares) {
        SCOPED_TRACE(square.side);
        EXPECT_EQ(rate(square.side, square.side, kNormal, 1, kH264), square.normalH264);
        EXPECT_EQ(rate(square.side, square.side, kNormal, 1, kHEVC), square.normalHEVC);
    }
    EXPECT_EQ(rate(2160, 2160, kHigh, 7, kH264), 143700480);
}

TEST(VideoBitrate, RatesPastTheInt32RangeSaturate) {
    // 16384 squared at 11.05 bits per pixel, then doubled for 120 fps.
    EXPECT_EQ(rate(16384, 16384, kHigh, 7, kH264), std::numeric_limits<std::int32_t>::max());
}

TEST(VideoBitrateEstimate, FactorsByCodecAndModeTruncated) {
    struct Row {
        const char* codec;
        std::int64_t mode;
        std::int64_t expected;  // for 1920x1080 at 30 fps, 62,208,000 pixels per second
    };
    constexpr Row kRowsByCodec[] = {
        {kVideoCodecTypeH264, kNormal, 7464960},  // 0.12
        {kVideoCodecTypeH264, kLow, 3732480},     // 0.06, exactly the floor
        {kVideoCodecTypeH264, kHigh, 11197440},   // 0.18
        {kVideoCodecTypeH264, 7, 7464960},
        {kVideoCodecTypeHEVC, kNormal, 4354560},  // 0.07
        {kVideoCodecTypeHEVC, kLow, 2177280},     // 0.035
        {kVideoCodecTypeHEVC, kHigh, 6531840},    // 0.105
        {"", kNormal, 7464960},                   // any other name counts as H.264
        {"hev1", kNormal, 7464960},
    };
    for (const auto& row : kRowsByCodec) {
        SCOPED_TRACE(std::string(row.codec) + " mode " + std::to_string(row.mode));
        EXPECT_EQ(calculateVideoBitrateWithDimensions(1920, 1080, 30.0, row.codec, row.mode),
                  row.expected);
    }  // 27,648,000 * 0.12 = 3,314,442.24, truncated.
    EXPECT_EQ(calculateVideoBitrateWithDimensions(1280, 720, 29.97, kVideoCodecTypeH264, kNormal),
              3314442);
}

TEST(VideoBitrateEstimate, NonsenseBasesGiveZeroAndHugeOnesSaturate) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    for (double frameRate : {0.0, -30.0, nan, inf}) {
        SCOPED_TRACE(frameRate);
        EXPECT_EQ(
            calculateVideoBitrateWithDimensions(1280, 720, frameRate, kVideoCodecTypeH264, kNormal),
            0);
    }
    EXPECT_EQ(calculateVideoBitrateWithDimensions(0, 720, 30.0, kVideoCodecTypeH264, kNormal), 0);
    EXPECT_EQ(calculateVideoBitrateWithDimensions(16384, 16384, 1e12, kVideoCodecTypeH264, kHigh),
              std::numeric_limits<std::int64_t>::max());
}

}  // namespace
}  // namespace orvane::capture
