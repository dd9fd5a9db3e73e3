#include "platform/settings/UserDefaults.h"

#include <locale.h>

#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>

namespace orvane::platform {

namespace {

template <class... Ts>
struct Overloaded : Ts... {
    using Ts::operator()...;
};
// Clang before 17 deduces no aggregate's template arguments by itself.
template <class... Ts>
Overloaded(Ts...) -> Overloaded<Ts...>;

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) {
        return false;
    }
    for (size_t i = 0; i < a.size(); ++i) {
        if (std::tolower(static_cast<unsigned char>(a[i])) !=
            std::tolower(static_cast<unsigned char>(b[i]))) {
            return false;
        }
    }
    return true;
}

// The leading number of a string, as strtod reads it in the C locale; 0 when there is none.
// The user's locale must not matter: under a German one plain strtod stops "0.5" at the point.
double parseNumber(const std::string& text) {
    static const locale_t cLocale = newlocale(LC_ALL_MASK, "C", locale_t{});
    return cLocale ? strtod_l(text.c_str(), nullptr, cLocale) : std::strtod(text.c_str(), nullptr);
}

std::int64_t toInteger(double value) {
    if (std::isnan(value)) {
        return 0;
    }
    if (value >= 9.2233720368547758e18) {
        return std::numeric_limits<std::int64_t>::max();
    }
    if (value <= -9.2233720368547758e18) {
        return std::numeric_limits<std::int64_t>::min();
    }
    return static_cast<std::int64_t>(value);
}

}  // namespace

// A store without other writers needs nothing more than a read and a write.
std::optional<DefaultsValue> UserDefaults::updateObject(std::string_view key,
                                                        const ValueChange& change) {
    auto current = objectForKey(key);
    setObject(key, change(current));
    return current;
}

bool UserDefaults::boolForKey(std::string_view key) const {
    const auto value = objectForKey(key);
    if (!value) {
        return false;
    }
    return std::visit(Overloaded{
                          [](bool v) { return v; },
                          [](std::int64_t v) { return v != 0; },
                          [](double v) { return v != 0.0; },
                          [](const std::string& v) {
                              return equalsIgnoringCase(v, "yes") ||
                                     equalsIgnoringCase(v, "true") || parseNumber(v) != 0.0;
                          },
                          [](const StringArray&) { return false; },
                          [](const Blob&) { return false; },
                      },
                      *value);
}

std::int64_t UserDefaults::integerForKey(std::string_view key) const {
    return integerOf(objectForKey(key));
}

std::int64_t UserDefaults::integerOf(const std::optional<DefaultsValue>& value) {
    if (!value) {
        return 0;
    }
    return std::visit(Overloaded{
                          [](bool v) -> std::int64_t { return v ? 1 : 0; },
                          [](std::int64_t v) { return v; },
                          [](double v) { return toInteger(v); },
                          [](const std::string& v) { return toInteger(parseNumber(v)); },
                          [](const StringArray&) -> std::int64_t { return 0; },
                          [](const Blob&) -> std::int64_t { return 0; },
                      },
                      *value);
}

double UserDefaults::doubleForKey(std::string_view key) const {
    const auto value = objectForKey(key);
    if (!value) {
        return 0.0;
    }
    return std::visit(Overloaded{
                          [](bool v) { return v ? 1.0 : 0.0; },
                          [](std::int64_t v) { return static_cast<double>(v); },
                          [](double v) { return v; },
                          [](const std::string& v) { return parseNumber(v); },
                          [](const StringArray&) { return 0.0; },
                          [](const Blob&) { return 0.0; },
                      },
                      *value);
}

float UserDefaults::floatForKey(std::string_view key) const {
    return static_cast<float>(doubleForKey(key));
}

std::optional<std::string> UserDefaults::stringForKey(std::string_view key) const {
    const auto value = objectForKey(key);
    if (!value) {
        return std::nullopt;
    }
    return std::visit(
        Overloaded{
            [](bool v) -> std::optional<std::string> { return v ? "1" : "0"; },
            [](std::int64_t v) -> std::optional<std::string> { return std::to_string(v); },
            [](double v) -> std::optional<std::string> {
                char buffer[32];
                auto result = std::to_chars(buffer, buffer + sizeof buffer, v);
                return std::string(buffer, result.ptr);
            },
            [](const std::string& v) -> std::optional<std::string> { return v; },
            [](const StringArray&) -> std::optional<std::string> { return std::nullopt; },
            [](const Blob&) -> std::optional<std::string> { return std::nullopt; },
        },
        *value);
}

std::optional<StringArray> UserDefaults::stringArrayForKey(std::string_view key) const {
    auto value = objectForKey(key);
    if (value) {
        if (auto* array = std::get_if<StringArray>(&*value)) {
            return std::move(*array);
        }
    }
    return std::nullopt;
}

std::optional<Blob> UserDefaults::dataForKey(std::string_view key) const {
    auto value = objectForKey(key);
    if (value) {
        if (auto* blob = std::get_if<Blob>(&*value)) {
            return std::move(*blob);
        }
    }
    return std::nullopt;
}

void UserDefaults::setBool(std::string_view key, bool value) {
    setObject(key, value);
}

void UserDefaults::setInteger(std::string_view key, std::int64_t value) {
    setObject(key, value);
}

void UserDefaults::setFloat(std::string_view key, float value) {
    char buffer[32];
    auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    double widened = static_cast<double>(value);
    std::from_chars(buffer, result.ptr, widened);
    setObject(key, widened);
}

void UserDefaults::setDouble(std::string_view key, double value) {
    setObject(key, value);
}

void UserDefaults::setString(std::string_view key, std::optional<std::string> value) {
    if (value) {
        setObject(key, std::move(*value));
    } else {
        setObject(key, std::nullopt);
    }
}

void UserDefaults::setStringArray(std::string_view key, std::optional<StringArray> value) {
    if (value) {
        setObject(key, std::move(*value));
    } else {
        setObject(key, std::nullopt);
    }
}

void UserDefaults::setData(std::string_view key, std::optional<Blob> value) {
    if (value) {
        setObject(key, std::move(*value));
    } else {
        setObject(key, std::nullopt);
    }
}

}  // namespace orvane::platform
