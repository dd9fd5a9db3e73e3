#include "platform/settings/defaults_document.h"

#include <nlohmann/json.hpp>

#include "platform/json_nesting.h"
#include "platform/settings/JsonDefaultsValue.h"

namespace orvane::platform {
namespace {

using Json = nlohmann::json;

// Where a byte offset falls, for a person looking at the file in an editor.
std::string lineAndColumn(const std::string& text, size_t offset) {
    size_t line = 1;
    size_t column = 1;
    for (size_t i = 0; i < offset && i < text.size(); ++i) {
        if (text[i] == '\n') {
            ++line;
            column = 1;
        } else {
            ++column;
        }
    }
    return "line " + std::to_string(line) + ", column " + std::to_string(column);
}

}  // namespace

std::optional<DefaultsDocument> decodeDefaultsDocument(const std::string& text,
                                                       std::string& problem) {
    if (text.find_first_not_of(" \t\r\n") == std::string::npos) {
        return DefaultsDocument{};
    }
    // Members kept verbatim are written back indented, a level at a time: a few kilobytes of
    // brackets would become gigabytes.
    if (jsonNestsDeeperThan(text, kMaxJsonNesting)) {
        problem = "arrays or objects nested more than " + std::to_string(kMaxJsonNesting) +
                  " levels deep";
        return std::nullopt;
    }
    Json json;
    try {
        json = Json::parse(text);
    } catch (const Json::parse_error& e) {
        problem = "not valid JSON or not UTF-8 text at " + lineAndColumn(text, e.byte - 1);
        return std::nullopt;
    } catch (const Json::exception&) {
        problem = "it holds a number out of range";
        return std::nullopt;
    }
    if (!json.is_object()) {
        problem = std::string("its top level is a JSON ") + json.type_name() + ", not an object";
        return std::nullopt;
    }
    DefaultsDocument document;
    for (const auto& [key, member] : json.items()) {
        if (auto value = decodeDefaultsValue(member)) {
            document.values.emplace(key, std::move(*value));
        } else {
            document.unknown.emplace(key, member.dump());
        }
    }
    return document;
}

std::string encodeDefaultsDocument(const DefaultsDocument& document) {
    Json json = Json::object();
    for (const auto& [key, value] : document.values) {
        json[key] = encodeDefaultsValue(value);
    }
    for (const auto& [key, text] : document.unknown) {
        json[key] = Json::parse(text);
    }
    return json.dump(4, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace orvane::platform
