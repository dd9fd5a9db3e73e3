// How one settings value is written as JSON and read back; the form is described in
// JsonFileUserDefaults.h.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "platform/settings/UserDefaults.h"

namespace orvane::platform {

nlohmann::json encodeDefaultsValue(const DefaultsValue& value);
// The value a member stands for, or nothing when it has a form the store does not read.
std::optional<DefaultsValue> decodeDefaultsValue(const nlohmann::json& json);

// Standard base64 with padding.
std::string toBase64(const Blob& bytes);
// Standard base64, padding optional; nothing for any other text, including stray bits after
// the last byte that no encoder writes.
std::optional<Blob> fromBase64(std::string_view text);

}  // namespace orvane::platform
