#include "platform/settings/JsonDefaultsValue.h"

#include <gtest/gtest.h>

namespace orvane::platform {
namespace {

TEST(Base64, ReadsStandardTextWithOrWithoutPadding) {
    const std::pair<std::string_view, Blob> rows[] = {
        {"", {}},
        {"AA==", {0x00}},
        {"AA", {0x00}},
        {"/+8=", {0xFF, 0xEF}},
        {"/+8", {0xFF, 0xEF}},
        {"AQID", {1, 2, 3}},
        {"AQIDBA==", {1, 2, 3, 4}},
    };
    for (const auto& [text, bytes] : rows) {
        EXPECT_EQ(fromBase64(text), bytes) << text;
        if (text.size() % 4 == 0) {
            EXPECT_EQ(toBase64(bytes), text);
        }
    }
}

TEST(Base64, RejectsWhatNoEncoderWrites) {
    using namespace std::string_view_literals;
    for (std::string_view text : {"A"sv, "AAAAA"sv, "A==="sv, "AA="sv, "AAAA===="sv, "=AAA"sv,
                                  "AB=="sv, "AA A"sv, "-_8="sv, "AA\n="sv, "AA\0A"sv}) {
        EXPECT_FALSE(fromBase64(text)) << text;
    }
}

}  // namespace
}  // namespace orvane::platform
