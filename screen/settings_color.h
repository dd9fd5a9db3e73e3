// Colours in the settings store: a colour is kept as the blob of foundation::Color::archived.
#pragma once

#include <optional>
#include <string_view>

#include "foundation/Color.h"
#include "platform/settings/UserDefaults.h"

namespace orvane::screen {

// The colour under `key`, or nothing when the key is absent or holds no readable colour.
std::optional<foundation::Color> readColor(const platform::UserDefaults& defaults,
                                           std::string_view key);
void writeColor(platform::UserDefaults& defaults, std::string_view key,
                const foundation::Color& color);

}  // namespace orvane::screen
