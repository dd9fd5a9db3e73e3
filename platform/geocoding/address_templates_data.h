// The per-country address templates as generated data (address_templates_data.cpp).
#pragma once

namespace orvane::platform {

// Pieces of one JSON object, in order, ending with nullptr: country code (or "default", or
// "CC_lang") to {template, fallback, replace, postformat, use_country,
// add_component, state_codes}.
extern const char* const kAddressTemplateChunks[];

}  // namespace orvane::platform
