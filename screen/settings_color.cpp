#include "screen/settings_color.h"

namespace orvane::screen {

std::optional<foundation::Color> readColor(const platform::UserDefaults& defaults,
                                           std::string_view key) {
    const auto blob = defaults.dataForKey(key);
    if (!blob) {
        return std::nullopt;
    }
    return foundation::Color::unarchived(*blob);
}

void writeColor(platform::UserDefaults& defaults, std::string_view key,
                const foundation::Color& color) {
    defaults.setData(key, color.archived());
}

}  // namespace orvane::screen
