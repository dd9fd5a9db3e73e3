// An RGBA colour with components from 0 to 1: the stamp's font, plate and stroke colours, kept in
// the settings store as a small versioned blob and written on the command line as hexadecimal.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvane::foundation {

struct Color {
    double red = 0.0;
    double green = 0.0;
    double blue = 0.0;
    double alpha = 0.0;

    static constexpr Color whiteColor() { return {1.0, 1.0, 1.0, 1.0}; }
    static constexpr Color blackColor() { return {0.0, 0.0, 0.0, 1.0}; }
    static constexpr Color redColor() { return {1.0, 0.0, 0.0, 1.0}; }

    // Accepts "0xAARRGGBB" (as in "0xFF000000"), "#RRGGBB" (opaque) and "#RRGGBBAA", with hex
    // digits of either case; nothing for any other text.
    static std::optional<Color> fromHexString(std::string_view text);
    // "0xAARRGGBB" in capitals, each component rounded to the nearest of 256 steps.
    std::string hexString() const;

    // The blob the settings store keeps: a magic tag, a version byte and the four components.
    std::vector<std::uint8_t> archived() const;
    // The colour of a blob made by `archived`; nothing when the blob is not one (wrong tag,
    // unknown version, wrong length, a component outside 0..1), so the reader's default applies.
    static std::optional<Color> unarchived(const std::vector<std::uint8_t>& blob);

    friend bool operator==(const Color&, const Color&) = default;
};

}  // namespace orvane::foundation
