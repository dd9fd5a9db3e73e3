#include "engine/font_names.h"

#include <fontconfig/fontconfig.h>

#include <array>
#include <cctype>
#include <memory>
#include <vector>

namespace orvane::engine {
namespace {

struct Style {
    int weight = 400;
    bool italic = false;
};

struct StyleWord {
    std::string_view word;
    int weight;  // 0: leaves the weight alone
    bool italic;
};

// Compounds come before their parts, so "semibold" is not read as "bold".
constexpr std::array<StyleWord, 20> kStyleWords{{
    {"extrabold", 800, false},  {"ultrabold", 800, false}, {"semibold", 600, false},
    {"demibold", 600, false},   {"demi", 600, false},      {"bold", 700, false},
    {"black", 900, false},      {"heavy", 900, false},     {"extralight", 200, false},
    {"ultralight", 200, false}, {"light", 300, false},     {"thin", 100, false},
    {"hairline", 100, false},   {"medium", 500, false},    {"regular", 400, false},
    {"roman", 400, false},      {"book", 400, false},      {"normal", 400, false},
    {"italic", 0, true},        {"oblique", 0, true},
}};

// Family stems of common PostScript names, without spaces and in lower case, and the families
// that stand for them. Helvetica falls back to Arial: fontconfig's metric aliases know Arial's
// stand-in but not Helvetica's, and the two share their metrics.
struct StemFamilies {
    std::string_view stem;
    std::string_view families;
};
constexpr std::array<StemFamilies, 14> kStems{{
    {"arial", "Arial"},
    {"helvetica", "Helvetica,Arial"},
    {"helveticaneue", "Helvetica Neue,Helvetica,Arial"},
    {"courier", "Courier,Courier New"},
    {"couriernew", "Courier New"},
    {"timesnewroman", "Times New Roman"},
    {"times", "Times,Times New Roman"},
    {"georgia", "Georgia"},
    {"verdana", "Verdana"},
    {"trebuchetms", "Trebuchet MS"},
    {"menlo", "Menlo,DejaVu Sans Mono"},
    {"pingfangsc", "PingFang SC,WenQuanYi Micro Hei"},
    {"pingfangtc", "PingFang TC,WenQuanYi Micro Hei"},
    {"pingfanghk", "PingFang HK,WenQuanYi Micro Hei"},
}};

std::string lowered(std::string_view text) {
    std::string out(text);
    for (char& c : out) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return out;
}

bool endsWithAfterLowercase(std::string_view text, std::string_view suffix) {
    if (text.size() <= suffix.size() || !text.ends_with(suffix)) {
        return false;
    }
    return std::islower(static_cast<unsigned char>(text[text.size() - suffix.size() - 1])) != 0;
}

// "ArialMT", "TimesNewRomanPSMT" and "TimesNewRomanPS" carry the foundry's marks after the family.
std::string_view withoutFoundryMarks(std::string_view stem) {
    for (std::string_view mark : {"PSMT", "MT", "PS"}) {
        if (endsWithAfterLowercase(stem, mark)) {
            return stem.substr(0, stem.size() - mark.size());
        }
    }
    return stem;
}

// Reads a style such as "Bold", "BoldItalic", "LightOblique" or "BoldMT"; nothing when the
// token holds anything else.
std::optional<Style> parseStyle(std::string_view token) {
    std::string rest = lowered(token);
    if (rest.ends_with("mt") && rest.size() > 2) {
        rest.resize(rest.size() - 2);
    }
    if (rest.empty()) {
        return std::nullopt;
    }
    Style style;
    std::string_view left = rest;
    while (!left.empty()) {
        bool matched = false;
        for (const StyleWord& word : kStyleWords) {
            if (left.starts_with(word.word)) {
                if (word.weight != 0) {
                    style.weight = word.weight;
                }
                style.italic = style.italic || word.italic;
                left.remove_prefix(word.word.size());
                matched = true;
                break;
            }
        }
        if (!matched) {
            return std::nullopt;
        }
    }
    return style;
}

// "GillSans" becomes "GillSans,Gill Sans": the name as it stands, then split at its humps.
std::string familiesForStem(std::string_view stem) {
    std::string key;
    for (char c : stem) {
        if (c != ' ') {
            key += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        }
    }
    for (const StemFamilies& entry : kStems) {
        if (entry.stem == key) {
            return std::string(entry.families);
        }
    }
    std::string split;
    for (std::size_t i = 0; i < stem.size(); ++i) {
        const auto c = static_cast<unsigned char>(stem[i]);
        if (i > 0 && std::isupper(c) && std::islower(static_cast<unsigned char>(stem[i - 1]))) {
            split += ' ';
        }
        split += stem[i];
    }
    std::string families(stem);
    if (split != stem) {
        families += ',' + split;
    }
    return families;
}

// "Arial Bold Italic": trailing style words leave the family.
FontRequest requestFromSpacedName(std::string_view name) {
    std::vector<std::string_view> words;
    std::size_t start = 0;
    while (start < name.size()) {
        std::size_t end = name.find(' ', start);
        if (end == std::string_view::npos) {
            end = name.size();
        }
        if (end > start) {
            words.push_back(name.substr(start, end - start));
        }
        start = end + 1;
    }
    Style style;
    std::size_t familyWords = words.size();
    while (familyWords > 1) {
        // "Roman" ends "Times New Roman": as a word of its own it belongs to the family.
        if (lowered(words[familyWords - 1]) == "roman") {
            break;
        }
        const std::optional<Style> word = parseStyle(words[familyWords - 1]);
        if (!word) {
            break;
        }
        if (word->weight != 400) {
            style.weight = word->weight;
        }
        style.italic = style.italic || word->italic;
        --familyWords;
    }
    std::string family;
    for (std::size_t i = 0; i < familyWords; ++i) {
        family += (i == 0 ? "" : " ");
        family += words[i];
    }
    return {familiesForStem(family), style.weight, style.italic};
}

struct PatternDeleter {
    void operator()(FcPattern* pattern) const { FcPatternDestroy(pattern); }
};
struct ObjectSetDeleter {
    void operator()(FcObjectSet* set) const { FcObjectSetDestroy(set); }
};
struct FontSetDeleter {
    void operator()(FcFontSet* set) const { FcFontSetDestroy(set); }
};

}  // namespace

FontRequest fontRequestFromName(std::string_view name) {
    while (!name.empty() && name.front() == ' ') {
        name.remove_prefix(1);
    }
    while (!name.empty() && name.back() == ' ') {
        name.remove_suffix(1);
    }
    if (name.empty()) {
        return {"sans-serif", 400, false};
    }
    if (name.find(' ') != std::string_view::npos) {
        return requestFromSpacedName(name);
    }
    const std::size_t dash = name.find('-');
    const std::string_view stem = withoutFoundryMarks(name.substr(0, dash));
    Style style;
    if (dash != std::string_view::npos) {
        style = parseStyle(name.substr(dash + 1)).value_or(Style{});
    }
    return {familiesForStem(stem.empty() ? name : stem), style.weight, style.italic};
}

std::optional<FontRequest> installedPostScriptFace(const std::string& name) {
    if (name.empty()) {
        return std::nullopt;
    }
    std::unique_ptr<FcPattern, PatternDeleter> pattern(FcPatternCreate());
    FcPatternAddString(pattern.get(), FC_POSTSCRIPT_NAME,
                       reinterpret_cast<const FcChar8*>(name.c_str()));
    std::unique_ptr<FcObjectSet, ObjectSetDeleter> objects(
        FcObjectSetBuild(FC_FAMILY, FC_WEIGHT, FC_SLANT, nullptr));
    std::unique_ptr<FcFontSet, FontSetDeleter> fonts(
        FcFontList(nullptr, pattern.get(), objects.get()));
    if (!fonts || fonts->nfont == 0) {
        return std::nullopt;
    }
    const FcPattern* face = fonts->fonts[0];
    FcChar8* family = nullptr;
    if (FcPatternGetString(face, FC_FAMILY, 0, &family) != FcResultMatch || family == nullptr) {
        return std::nullopt;
    }
    FontRequest request{reinterpret_cast<const char*>(family), 400, false};
    int weight = 0;
    if (FcPatternGetInteger(face, FC_WEIGHT, 0, &weight) == FcResultMatch) {
        request.weight = FcWeightToOpenType(weight);
    }
    int slant = 0;
    if (FcPatternGetInteger(face, FC_SLANT, 0, &slant) == FcResultMatch) {
        request.italic = slant != FC_SLANT_ROMAN;
    }
    return request;
}

FontRequest fontRequestFor(const std::string& name) {
    if (std::optional<FontRequest> installed = installedPostScriptFace(name)) {
        return *installed;
    }
    return fontRequestFromName(name);
}

}  // namespace orvane::engine
