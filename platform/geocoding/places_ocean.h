// The ocean basin of a point at sea, from a coarse hand-made table of latitude and longitude
// ranges, and the basins' names in the languages the program speaks.
#pragma once

#include <optional>
#include <string>

namespace orvane::platform::places {

enum class Ocean { Pacific, Atlantic, Indian, Arctic, Southern };

// The basin of a point known to be at sea; none where the table cannot tell (the large lakes
// and inland seas, and waters it does not cover).
std::optional<Ocean> oceanAt(double latitude, double longitude);

// "Pacific Ocean", "太平洋"... for a language code ("en", "fr", "zh", "zh-Hant", "zh_TW").
std::string oceanName(Ocean ocean, const std::string& languageCode);

}  // namespace orvane::platform::places
