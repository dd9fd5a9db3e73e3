// Settings values as the command line reads and prints them.
#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "screen/settings_keys.h"

namespace orvane::app {

// The typed value, or why the words cannot be one (a phrase that follows the key's name).
struct ParsedValue {
    std::optional<screen::SettingValue> value;
    std::string problem;
};

// Reads `words` as a value of `key`: a boolean (true/false, yes/no, 1/0), an integer, a number,
// one string, any number of strings for a list, or a colour (0xAARRGGBB, #RRGGBB, #RRGGBBAA).
// Numbers must also be among the key's accepted values.
ParsedValue parseSettingValue(const screen::SettingKey& key, const std::vector<std::string>& words);

// The bare value, one line per item, for `settings get`: true/false, numbers in their shortest
// form, a string as it stands, a list one item per line, a colour as 0xAARRGGBB. Nil, and an
// empty list, print no line at all; an empty string prints an empty line.
std::string formatForGet(const screen::SettingKey& key, const screen::SettingValue& value);

// One-line form for `settings list`: strings quoted, lists in brackets, nil as "(nil)".
std::string formatForList(const screen::SettingKey& key, const screen::SettingValue& value);

}  // namespace orvane::app
