// The postal text: the per-country templates are parsed once into small trees of text,
// components and first-of choices, and each placemark is rendered through its country's tree
// and cleaned of the gaps its missing parts leave.
// GCC 12 at -O2 warns of an uninitialised std::function deep inside std::regex's compiler, a
// known false positive of the library's own code.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

#include "platform/geocoding/address_templates.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <regex>
#include <vector>

#include "foundation/log.h"
#include "foundation/strings.h"
#include "platform/geocoding/address_templates_data.h"

namespace orvane::platform {
namespace {

using Components = std::map<std::string, std::string, std::less<>>;

// One piece of a template: literal text, a component ({{{road}}}), or a {{#first}} choice
// whose alternatives are separated by "||".
struct Node {
    enum class Kind { Text, Component, First } kind = Kind::Text;
    std::string text;                             // the literal, or the component's name
    std::vector<std::vector<Node>> alternatives;  // First only
};

using Template = std::vector<Node>;

struct Replacement {
    std::string component;  // empty: every component
    std::regex pattern;
    std::string with;
};

struct Layout {
    std::optional<Template> main;
    std::optional<Template> fallback;
    std::vector<Replacement> replacements;  // on the components, before rendering
    std::vector<std::pair<std::regex, std::string>> postformat;  // on the finished text
    std::string useCountry;
    std::pair<std::string, std::string> addComponent;
    std::map<std::string, std::string> stateCodes;  // lower-case state name to code
};

// Parses the mustache subset of the templates: {{{name}}} and {{#first}} a || b {{/first}}.
// `end` stops at a closing tag; alternatives split on "||" only inside a choice.
Template parseTemplate(std::string_view source, std::size_t& at, bool inChoice,
                       std::vector<Template>* alternatives) {
    Template current;
    std::string text;
    auto flushText = [&] {
        if (!text.empty())
            current.push_back({Node::Kind::Text, std::move(text), {}});
        text.clear();
    };
    while (at < source.size()) {
        if (source.compare(at, 3, "{{{") == 0) {
            const auto close = source.find("}}}", at);
            if (close == std::string_view::npos)
                break;
            flushText();
            current.push_back(
                {Node::Kind::Component, std::string(source.substr(at + 3, close - at - 3)), {}});
            at = close + 3;
        } else if (source.compare(at, 10, "{{#first}}") == 0) {
            flushText();
            at += 10;
            Node choice{Node::Kind::First, {}, {}};
            Template last = parseTemplate(source, at, true, &choice.alternatives);
            choice.alternatives.push_back(std::move(last));
            current.push_back(std::move(choice));
        } else if (inChoice && source.compare(at, 10, "{{/first}}") == 0) {
            at += 10;
            break;
        } else if (inChoice && source.compare(at, 2, "||") == 0) {
            flushText();
            alternatives->push_back(std::move(current));
            current.clear();
            at += 2;
        } else {
            text += source[at++];
        }
    }
    flushText();
    return current;
}

Template parseTemplate(std::string_view source) {
    std::size_t at = 0;
    return parseTemplate(source, at, false, nullptr);
}

std::string trimmed(std::string_view s) {
    const auto isSpace = [](char c) { return c == ' ' || c == '\t'; };
    while (!s.empty() && isSpace(s.front()))
        s.remove_prefix(1);
    while (!s.empty() && isSpace(s.back()))
        s.remove_suffix(1);
    return std::string(s);
}

// Renders nodes; `filled` tells whether any component in them had a value, which is what
// makes an alternative of a choice count ("{{#first}}, {{{quarter}}}{{/first}}" with no
// quarter is nothing, not ",").
std::string render(const Template& nodes, const Components& components, bool& filled) {
    std::string out;
    for (const Node& node : nodes) {
        switch (node.kind) {
            case Node::Kind::Text:
                out += node.text;
                break;
            case Node::Kind::Component:
                if (const auto it = components.find(node.text); it != components.end()) {
                    out += it->second;
                    filled = true;
                }
                break;
            case Node::Kind::First:
                for (const Template& alternative : node.alternatives) {
                    bool alternativeFilled = false;
                    std::string text = trimmed(render(alternative, components, alternativeFilled));
                    if (alternativeFilled && !text.empty()) {
                        out += text;
                        filled = true;
                        break;
                    }
                }
                break;
        }
    }
    return out;
}

// One line without the gaps of missing parts: runs of blanks made one, no blank before a
// comma, no doubled commas, no comma, dash or blank at either end.
std::string cleanLine(std::string_view line) {
    std::string out;
    for (char c : line) {
        if (c == '\t' || c == '\r')
            c = ' ';
        if (c == ' ' && (out.empty() || out.back() == ' '))
            continue;
        if (c == ',' && !out.empty() && out.back() == ' ')
            out.pop_back();
        if (c == ',' && !out.empty() && out.back() == ',')
            continue;
        out += c;
    }
    const auto isEdge = [](char c) { return c == ' ' || c == ',' || c == '-'; };
    std::size_t first = 0;
    while (first < out.size() && isEdge(out[first]))
        ++first;
    std::size_t last = out.size();
    while (last > first && isEdge(out[last - 1]))
        --last;
    return out.substr(first, last - first);
}

// The lines of the text cleaned, empty ones and a line equal to the one above dropped; each
// line ends with a line feed, as the rules on the finished text expect.
std::string cleanText(std::string_view text) {
    std::string out;
    std::string previous;
    std::size_t start = 0;
    while (start <= text.size()) {
        auto end = text.find('\n', start);
        if (end == std::string_view::npos)
            end = text.size();
        std::string line = cleanLine(text.substr(start, end - start));
        if (!line.empty() && line != previous) {
            out += line;
            out += '\n';
            previous = std::move(line);
        }
        start = end + 1;
    }
    return out;
}

std::optional<Template> optionalTemplate(const nlohmann::json& entry, const char* key) {
    if (!entry.contains(key))
        return std::nullopt;
    return parseTemplate(entry.at(key).get<std::string>());
}

Layout parseLayout(const nlohmann::json& entry) {
    Layout layout;
    layout.main = optionalTemplate(entry, "template");
    layout.fallback = optionalTemplate(entry, "fallback");
    for (const auto& rule : entry.value("replace", nlohmann::json::array())) {
        std::string pattern = rule.at(0).get<std::string>();
        std::string component;
        if (const auto equals = pattern.find('=');
            equals != std::string::npos &&
            std::all_of(pattern.begin(), pattern.begin() + equals,
                        [](char c) { return std::islower(c) || c == '_'; })) {
            component = pattern.substr(0, equals);
            pattern = pattern.substr(equals + 1);
        }
        layout.replacements.push_back(
            {std::move(component), std::regex(pattern), rule.at(1).get<std::string>()});
    }
    for (const auto& rule : entry.value("postformat", nlohmann::json::array())) {
        layout.postformat.emplace_back(std::regex(rule.at(0).get<std::string>()),
                                       rule.at(1).get<std::string>());
    }
    layout.useCountry = entry.value("use_country", "");
    if (entry.contains("add_component")) {
        layout.addComponent = {entry["add_component"].at(0).get<std::string>(),
                               entry["add_component"].at(1).get<std::string>()};
    }
    layout.stateCodes = entry.value("state_codes", std::map<std::string, std::string>{});
    return layout;
}

// A layout that writes whatever there is, small to large, when the data cannot be read.
constexpr const char* kLastResortTemplate =
    "{{{house_number}}} {{{road}}}\n{{{suburb}}}\n{{{postcode}}} {{{city}}}\n{{{county}}}\n"
    "{{{state}}}\n{{{country}}}\n";

class Catalogue {
  public:
    Catalogue() {
        std::string text;
        for (const char* const* chunk = kAddressTemplateChunks; *chunk != nullptr; ++chunk) {
            text += *chunk;
        }
        try {
            const auto json = nlohmann::json::parse(text);
            for (const auto& [code, entry] : json.items())
                _layouts.emplace(code, parseLayout(entry));
        } catch (const std::exception& e) {
            // Generated data that does not read is a build defect; the postal text still
            // comes out, in the plain layout.
            foundation::log("Address templates unreadable, using a plain layout: %s", e.what());
            _layouts.clear();
        }
        if (!_layouts.contains("default")) {
            Layout plain;
            plain.main = parseTemplate(kLastResortTemplate);
            plain.fallback = plain.main;
            _layouts.emplace("default", std::move(plain));
        }
    }

    // The layout for a country code and language: "JP_ja", else "JP", else the general one.
    const Layout& layout(const std::string& code, std::string_view language) const {
        if (!code.empty()) {
            if (const auto it = _layouts.find(code + "_" + std::string(language));
                !language.empty() && it != _layouts.end()) {
                return it->second;
            }
            if (const auto it = _layouts.find(code); it != _layouts.end())
                return it->second;
        }
        return _layouts.at("default");
    }

  private:
    std::map<std::string, Layout> _layouts;
};

const Catalogue& catalogue() {
    static const Catalogue instance;
    return instance;
}

std::string lowerCase(std::string s) {
    std::transform(s.begin(), s.end(), s.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return s;
}

std::string upperCase(std::string s) {
    std::transform(s.begin(), s.end(), s.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return s;
}

Components componentsOf(const Placemark& placemark) {
    Components components;
    const auto put = [&](const char* name, const std::optional<std::string>& value) {
        if (!value)
            return;
        std::string part = trimmed(*value);
        if (!part.empty() && part.size() <= kMaxPostalPartBytes)
            components.emplace(name, std::move(part));
    };
    put("road", placemark.thoroughfare);
    put("house_number", placemark.subThoroughfare);
    put("suburb", placemark.subLocality);
    put("city", placemark.locality);
    put("county", placemark.subAdministrativeArea);
    put("state", placemark.administrativeArea);
    put("postcode", placemark.postalCode);
    put("country", placemark.country);
    if (placemark.ISOcountryCode)
        put("country_code", lowerCase(*placemark.ISOcountryCode));
    return components;
}

// Component names come from the rule; the country stays the geocoder's own name.
void applyReplacements(const Layout& layout, Components& components) {
    for (auto& [name, value] : components) {
        if (name == "country" || name == "country_code")
            continue;
        for (const Replacement& rule : layout.replacements) {
            if (!rule.component.empty() && rule.component != name)
                continue;
            value = trimmed(std::regex_replace(value, rule.pattern, rule.with));
        }
    }
    std::erase_if(components, [](const auto& entry) { return entry.second.empty(); });
}

}  // namespace

std::optional<std::string> formatPostalAddress(const Placemark& placemark) {
    return formatPostalAddress(placemark, foundation::preferredLanguageCode());
}

std::optional<std::string> formatPostalAddress(const Placemark& placemark,
                                               std::string_view languageCode) {
    Components components = componentsOf(placemark);
    if (components.empty() || (components.size() == 1 && components.contains("country_code"))) {
        return std::nullopt;
    }
    const std::string code = placemark.ISOcountryCode ? upperCase(*placemark.ISOcountryCode) : "";
    const std::string language = lowerCase(std::string(languageCode));
    const Catalogue& all = catalogue();
    const Layout* layout = &all.layout(code, language);
    // A territory written as another country's address (Puerto Rico as the United States)
    // names itself as that country's state.
    if (!layout->useCountry.empty()) {
        const auto& [name, text] = layout->addComponent;
        if (!name.empty())
            components.emplace(name, text);
        layout = &all.layout(layout->useCountry, language);
    }
    applyReplacements(*layout, components);
    if (const auto state = components.find("state"); state != components.end()) {
        if (const auto it = layout->stateCodes.find(lowerCase(state->second));
            it != layout->stateCodes.end()) {
            components.emplace("state_code", it->second);
        }
    }

    // Without a street or a postal code a country's fallback layout, where it has one, spells
    // out the administrative levels its main layout leaves out; a country without one keeps
    // its own order.
    const bool streetLevel = components.contains("road") || components.contains("postcode");
    const Layout& general = all.layout("", language);
    const Template* chosen = nullptr;
    if (streetLevel || !layout->fallback)
        chosen = layout->main ? &*layout->main : nullptr;
    if (!streetLevel && layout->fallback)
        chosen = &*layout->fallback;
    if (chosen == nullptr)
        chosen = streetLevel ? &*general.main : &*general.fallback;

    bool filled = false;
    std::string text = cleanText(render(*chosen, components, filled));
    for (const auto& [pattern, with] : layout->postformat) {
        text = std::regex_replace(text, pattern, with);
    }
    text = cleanText(text);
    if (!text.empty())
        text.pop_back();  // the last line feed
    if (text.empty())
        return std::nullopt;
    return text;
}

}  // namespace orvane::platform
