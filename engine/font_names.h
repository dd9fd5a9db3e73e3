// How a font name from the settings becomes a request that fontconfig can answer.
//
// The settings hold PostScript names ("ArialMT", "Arial-BoldMT", "TimesNewRomanPSMT"), as fonts
// are named on phones, but may also hold a family with or without styles ("Liberation Sans",
// "Arial Bold Italic"). A face installed under exactly that PostScript name wins; otherwise the
// name is read by the PostScript convention (family stem, then "-" and the style) and the stem is
// turned into family names fontconfig knows, so that "ArialMT" reaches Arial or its
// metric-compatible stand-in rather than the default face.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orvane::engine {

struct FontRequest {
    std::string families;  // one family, or several separated by commas, most wanted first
    int weight = 400;      // OpenType scale: 400 regular, 700 bold
    bool italic = false;
    friend bool operator==(const FontRequest&, const FontRequest&) = default;
};

// The request read from the name alone, without asking fontconfig.
FontRequest fontRequestFromName(std::string_view name);

// The family and style of an installed face whose PostScript name is exactly `name`.
std::optional<FontRequest> installedPostScriptFace(const std::string& name);

// The installed face when there is one, else the request read from the name.
FontRequest fontRequestFor(const std::string& name);

}  // namespace orvane::engine
