#include "platform/image/ImageProperties.h"

namespace orvane::platform {

const PropertyDictionary* ImageProperties::dictionary(std::string_view key) const {
    auto it = dictionaries.find(key);
    return it == dictionaries.end() ? nullptr : &it->second;
}

std::optional<double> numberForKey(const PropertyDictionary& dictionary, std::string_view key) {
    auto it = dictionary.find(key);
    if (it == dictionary.end())
        return std::nullopt;
    return std::visit(
        [](const auto& value) -> std::optional<double> {
            using T = std::decay_t<decltype(value)>;
            if constexpr (std::is_arithmetic_v<T>) {
                return static_cast<double>(value);
            } else {
                return std::nullopt;
            }
        },
        it->second);
}

const std::string* stringForKey(const PropertyDictionary& dictionary, std::string_view key) {
    auto it = dictionary.find(key);
    return it == dictionary.end() ? nullptr : std::get_if<std::string>(&it->second);
}

}  // namespace orvane::platform
