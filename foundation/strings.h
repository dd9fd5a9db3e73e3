// The program's texts: gettext lookup with the English (or Chinese) literal as the key, so a
// missing catalogue falls back to the literal itself.
#pragma once

#include <string>

namespace orvane::foundation {

// Binds the "orvane" text domain to `localeDir` (the build's install prefix when empty; the
// ORVANE_LOCALEDIR environment variable wins over both) and takes the locale from the
// environment. Call once at start; lookups before it return the literal.
void initializeStrings(const std::string& localeDir = {});

// The translation of `literal` for the user's language, or `literal` itself.
const char* localized(const char* literal);

// The user's language as a two-letter code ("en", "zh"), from LANGUAGE, LC_ALL, LC_MESSAGES or
// LANG, in that order; "en" for the C locale or when none is set.
std::string preferredLanguageCode();

}  // namespace orvane::foundation
