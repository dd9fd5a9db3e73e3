#include "app/settings_values.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdint>

namespace orvane::app {

namespace {

using screen::KeyType;
using screen::SettingValue;

ParsedValue valueOf(SettingValue value) {
    return {std::move(value), {}};
}

ParsedValue problem(std::string text) {
    return {std::nullopt, std::move(text)};
}

std::string lowercase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

std::string shortestNumber(double value, KeyType type) {
    char buffer[64];
    const auto result =
        type == KeyType::Float
            ? std::to_chars(buffer, buffer + sizeof buffer, static_cast<float>(value))
            : std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, result.ptr);
}

std::optional<std::int64_t> parseInteger(const std::string& word) {
    std::int64_t value = 0;
    const char* end = word.data() + word.size();
    const auto result = std::from_chars(word.data(), end, value);
    if (word.empty() || result.ec != std::errc() || result.ptr != end) {
        return std::nullopt;
    }
    return value;
}

std::optional<double> parseNumber(const std::string& word) {
    double value = 0;
    const char* end = word.data() + word.size();
    const auto result = std::from_chars(word.data(), end, value);
    if (word.empty() || result.ec != std::errc() || result.ptr != end || !std::isfinite(value)) {
        return std::nullopt;
    }
    return value;
}

// "an integer from 0 to 4", "one of 0, 3, 5, 10".
std::string describeAccepted(const screen::SettingKey& key) {
    const auto& accepted = key.accepted;
    const std::string kind = key.type == KeyType::Integer ? "an integer" : "a number";
    if (!accepted.choices.empty()) {
        std::string text = "one of ";
        for (size_t i = 0; i < accepted.choices.size(); ++i) {
            text += (i ? ", " : "") + shortestNumber(accepted.choices[i], KeyType::Double);
        }
        return text;
    }
    return kind + " from " + shortestNumber(accepted.minimum, KeyType::Double) + " to " +
           shortestNumber(accepted.maximum, KeyType::Double);
}

std::string quoted(const std::string& text) {
    std::string result = "\"";
    for (char c : text) {
        switch (c) {
            case '"':
                result += "\\\"";
                break;
            case '\\':
                result += "\\\\";
                break;
            case '\n':
                result += "\\n";
                break;
            case '\t':
                result += "\\t";
                break;
            default:
                result += c;
        }
    }
    return result + "\"";
}

ParsedValue parseOne(const screen::SettingKey& key, const std::string& word) {
    switch (key.type) {
        case KeyType::Bool: {
            const auto text = lowercase(word);
            if (text == "true" || text == "yes" || text == "1") {
                return valueOf(SettingValue(true));
            }
            if (text == "false" || text == "no" || text == "0") {
                return valueOf(SettingValue(false));
            }
            return problem("takes a boolean (true or false), not \"" + word + "\"");
        }
        case KeyType::Integer: {
            const auto value = parseInteger(word);
            if (!value) {
                return problem("takes an integer, not \"" + word + "\"");
            }
            if (!key.accepted.accepts(static_cast<double>(*value))) {
                return problem("takes " + describeAccepted(key) + ", not " + word);
            }
            return valueOf(SettingValue(*value));
        }
        case KeyType::Float:
        case KeyType::Double: {
            const auto value = parseNumber(word);
            if (!value) {
                return problem("takes a number, not \"" + word + "\"");
            }
            if (!key.accepted.accepts(*value)) {
                return problem("takes " + describeAccepted(key) + ", not " + word);
            }
            return valueOf(SettingValue(*value));
        }
        case KeyType::String: {
            const auto& words = key.accepted.words;
            if (!key.accepted.acceptsWord(word)) {
                std::string text = "takes one of ";
                for (size_t i = 0; i < words.size(); ++i) {
                    text += (i ? ", " : "") + std::string(words[i]);
                }
                return problem(text + ", not \"" + word + "\"");
            }
            return valueOf(SettingValue(word));
        }
        case KeyType::Color: {
            const auto color = foundation::Color::fromHexString(word);
            if (!color) {
                return problem("takes a colour written 0xAARRGGBB, #RRGGBB or #RRGGBBAA, not \"" +
                               word + "\"");
            }
            return valueOf(SettingValue(*color));
        }
        case KeyType::StringArray:
            break;
    }
    return problem("cannot be set");
}

}  // namespace

ParsedValue parseSettingValue(const screen::SettingKey& key,
                              const std::vector<std::string>& words) {
    if (key.type == KeyType::StringArray) {
        return valueOf(SettingValue(platform::StringArray(words.begin(), words.end())));
    }
    if (words.size() != 1) {
        return problem("takes one value, not " + std::to_string(words.size()));
    }
    return parseOne(key, words.front());
}

std::string formatForGet(const screen::SettingKey& key, const SettingValue& value) {
    return std::visit(
        [&key](const auto& v) -> std::string {
            using T = std::decay_t<decltype(v)>;
            if constexpr (std::is_same_v<T, std::monostate>) {
                return "";
            } else if constexpr (std::is_same_v<T, bool>) {
                return v ? "true\n" : "false\n";
            } else if constexpr (std::is_same_v<T, std::int64_t>) {
                return std::to_string(v) + "\n";
            } else if constexpr (std::is_same_v<T, double>) {
                return shortestNumber(v, key.type) + "\n";
            } else if constexpr (std::is_same_v<T, std::string>) {
                return v + "\n";
            } else if constexpr (std::is_same_v<T, platform::StringArray>) {
                std::string lines;
                for (const auto& item : v) {
                    lines += item + "\n";
                }
                return lines;
            } else {
                return v.hexString() + "\n";
            }
        },
        value);
}

std::string formatForList(const screen::SettingKey& key, const SettingValue& value) {
    if (std::holds_alternative<std::monostate>(value)) {
        return "(nil)";
    }
    if (const auto* text = std::get_if<std::string>(&value)) {
        return quoted(*text);
    }
    if (const auto* items = std::get_if<platform::StringArray>(&value)) {
        std::string line = "[";
        for (size_t i = 0; i < items->size(); ++i) {
            line += (i ? ", " : "") + quoted((*items)[i]);
        }
        return line + "]";
    }
    auto line = formatForGet(key, value);
    line.pop_back();  // the newline
    return line;
}

}  // namespace orvane::app
