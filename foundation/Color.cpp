#include "foundation/Color.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdio>

namespace orvane::foundation {

namespace {

constexpr std::array<std::uint8_t, 4> kMagic = {'O', 'C', 'O', 'L'};
constexpr std::uint8_t kVersion = 1;
constexpr std::size_t kArchiveSize = kMagic.size() + 1 + 4 * sizeof(std::uint64_t);

int hexDigit(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    return -1;
}

// The bytes of a run of hex digit pairs, or nothing if any character is not a hex digit.
std::optional<std::vector<int>> hexBytes(std::string_view digits) {
    if (digits.size() % 2 != 0) {
        return std::nullopt;
    }
    std::vector<int> bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        const int high = hexDigit(digits[i]);
        const int low = hexDigit(digits[i + 1]);
        if (high < 0 || low < 0) {
            return std::nullopt;
        }
        bytes.push_back(high * 16 + low);
    }
    return bytes;
}

int toByte(double component) {
    const double clamped = std::fmin(std::fmax(component, 0.0), 1.0);
    return static_cast<int>(std::lround(clamped * 255.0));
}

}  // namespace

std::optional<Color> Color::fromHexString(std::string_view text) {
    if (text.starts_with("0x") || text.starts_with("0X")) {
        auto bytes = hexBytes(text.substr(2));
        if (!bytes || bytes->size() != 4) {
            return std::nullopt;
        }
        const auto& b = *bytes;
        return Color{b[1] / 255.0, b[2] / 255.0, b[3] / 255.0, b[0] / 255.0};
    }
    if (text.starts_with("#")) {
        auto bytes = hexBytes(text.substr(1));
        if (!bytes || (bytes->size() != 3 && bytes->size() != 4)) {
            return std::nullopt;
        }
        const auto& b = *bytes;
        const double alpha = b.size() == 4 ? b[3] / 255.0 : 1.0;
        return Color{b[0] / 255.0, b[1] / 255.0, b[2] / 255.0, alpha};
    }
    return std::nullopt;
}

std::string Color::hexString() const {
    char buffer[16];
    std::snprintf(buffer, sizeof buffer, "0x%02X%02X%02X%02X", toByte(alpha), toByte(red),
                  toByte(green), toByte(blue));
    return buffer;
}

std::vector<std::uint8_t> Color::archived() const {
    std::vector<std::uint8_t> blob(kMagic.begin(), kMagic.end());
    blob.push_back(kVersion);
    for (double component : {red, green, blue, alpha}) {
        const auto bits = std::bit_cast<std::uint64_t>(component);
        for (int shift = 56; shift >= 0; shift -= 8) {
            blob.push_back(static_cast<std::uint8_t>(bits >> shift));
        }
    }
    return blob;
}

std::optional<Color> Color::unarchived(const std::vector<std::uint8_t>& blob) {
    if (blob.size() != kArchiveSize || !std::equal(kMagic.begin(), kMagic.end(), blob.begin()) ||
        blob[kMagic.size()] != kVersion) {
        return std::nullopt;
    }
    std::array<double, 4> components{};
    std::size_t at = kMagic.size() + 1;
    for (double& component : components) {
        std::uint64_t bits = 0;
        for (int i = 0; i < 8; ++i) {
            bits = (bits << 8) | blob[at++];
        }
        component = std::bit_cast<double>(bits);
        // Also rejects NaN, for which both comparisons are false.
        if (!(component >= 0.0 && component <= 1.0)) {
            return std::nullopt;
        }
    }
    return Color{components[0], components[1], components[2], components[3]};
}

}  // namespace orvane::foundation
