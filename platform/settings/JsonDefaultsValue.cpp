#include "platform/settings/JsonDefaultsValue.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace orvane::platform {

using Json = nlohmann::json;

namespace {

constexpr char kBase64Alphabet[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

}  // namespace

std::string toBase64(const Blob& bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (size_t i = 0; i < bytes.size(); i += 3) {
        const size_t count = std::min<size_t>(3, bytes.size() - i);
        std::uint32_t group = std::uint32_t{bytes[i]} << 16;
        if (count > 1) {
            group |= std::uint32_t{bytes[i + 1]} << 8;
        }
        if (count > 2) {
            group |= bytes[i + 2];
        }
        for (size_t j = 0; j < 4; ++j) {
            text.push_back(j <= count ? kBase64Alphabet[(group >> (18 - 6 * j)) & 0x3F] : '=');
        }
    }
    return text;
}

std::optional<Blob> fromBase64(std::string_view text) {
    size_t padding = 0;
    while (padding < text.size() && text[text.size() - 1 - padding] == '=') {
        ++padding;
    }
    if (padding > 0 && (padding > 2 || text.size() % 4 != 0)) {
        return std::nullopt;
    }
    text.remove_suffix(padding);
    if (text.size() % 4 == 1) {
        return std::nullopt;
    }
    Blob bytes;
    bytes.reserve(text.size() * 3 / 4);
    std::uint32_t group = 0;
    int bits = 0;
    for (char c : text) {
        const char* found = c ? std::char_traits<char>::find(kBase64Alphabet, 64, c) : nullptr;
        if (!found) {
            return std::nullopt;
        }
        group = (group << 6) | static_cast<std::uint32_t>(found - kBase64Alphabet);
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            bytes.push_back(static_cast<std::uint8_t>(group >> bits));
            group &= (1u << bits) - 1;
        }
    }
    if (group != 0) {
        return std::nullopt;  // stray bits past the last byte: not what an encoder writes
    }
    return bytes;
}

Json encodeDefaultsValue(const DefaultsValue& value) {
    struct Encoder {
        Json operator()(bool v) const { return v; }
        Json operator()(std::int64_t v) const { return v; }
        Json operator()(double v) const {
            if (std::isfinite(v)) {
                return v;
            }
            return std::isnan(v) ? "nan" : (v > 0 ? "inf" : "-inf");
        }
        Json operator()(const std::string& v) const { return v; }
        Json operator()(const StringArray& v) const { return v; }
        Json operator()(const Blob& v) const { return Json{{"data", toBase64(v)}}; }
    };
    return std::visit(Encoder{}, value);
}

std::optional<DefaultsValue> decodeDefaultsValue(const Json& json) {
    switch (json.type()) {
        case Json::value_t::boolean:
            return json.get<bool>();
        case Json::value_t::number_integer:
            return json.get<std::int64_t>();
        case Json::value_t::number_unsigned: {
            const auto value = json.get<std::uint64_t>();
            if (value > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
                return std::nullopt;
            }
            return static_cast<std::int64_t>(value);
        }
        case Json::value_t::number_float:
            return json.get<double>();
        case Json::value_t::string:
            return json.get<std::string>();
        case Json::value_t::array: {
            StringArray strings;
            for (const auto& element : json) {
                if (!element.is_string()) {
                    return std::nullopt;
                }
                strings.push_back(element.get<std::string>());
            }
            return strings;
        }
        case Json::value_t::object: {
            const auto data = json.find("data");
            if (json.size() != 1 || data == json.end() || !data->is_string()) {
                return std::nullopt;
            }
            auto bytes = fromBase64(data->get_ref<const std::string&>());
            if (!bytes) {
                return std::nullopt;
            }
            return std::move(*bytes);
        }
        default:
            return std::nullopt;
    }
}

}  // namespace orvane::platform
