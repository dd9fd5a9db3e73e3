// The program's texts: gettext lookup with the English (or Chinese) literal as the key, so a
// missing catalogue falls back to the literal itself. A few keys ("meter", "ft", "STRNone") are
// names rather than texts; their English texts come from the English catalogue, which also
// serves the C locale, where gettext translates nothing.
#pragma once

#include <string>

namespace orvane::foundation {

// Takes the locale from the environment (LC_ALL = ""), then puts LC_NUMERIC back to "C", so
// printf-style number formats always write a decimal point whatever the user's language. Binds
// the "orvane" text domain to localeDirectory(localeDir) and reads the English catalogue found
// there once; a missing or corrupt English catalogue costs one log line and leaves the keys
// without English texts. Call at start, before other threads look texts up; lookups before it
// return the literal.
void initializeStrings(const std::string& localeDir = {});

// The translation of `literal` for the user's language; else its English text; else `literal`
// itself. Safe from any thread and allocates nothing. The text returned stays valid for the life
// of the process, even across a later initializeStrings.
const char* localized(const char* literal);

// Where the catalogues are looked for, first match wins: the ORVANE_LOCALEDIR environment
// variable; `localeDir`; share/locale beside the directory of the running program (the build
// tree and the installed tree have that layout) when it exists; the install prefix's
// share/locale.
std::string localeDirectory(const std::string& localeDir = {});

// The user's language as a two-letter code ("en", "zh"), from LANGUAGE, LC_ALL, LC_MESSAGES or
// LANG, in that order; "en" for the C locale or when none is set.
std::string preferredLanguageCode();

}  // namespace orvane::foundation
