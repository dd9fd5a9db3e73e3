// The settings file's text read into values and written back; the form is described in
// JsonFileUserDefaults.h.
#pragma once

#include <map>
#include <optional>
#include <string>

#include "platform/settings/UserDefaults.h"

namespace orvane::platform {

// A settings file's members split by form.
struct DefaultsDocument {
    std::map<std::string, DefaultsValue, std::less<>> values;
    std::map<std::string, std::string, std::less<>> unknown;  // compact JSON text
};

// Reads a settings file's text; text of nothing but white space is an empty document. Nothing,
// with `problem` saying what is wrong and where, for text that is not a JSON object or that
// nests deeper than kMaxJsonNesting.
std::optional<DefaultsDocument> decodeDefaultsDocument(const std::string& text,
                                                       std::string& problem);
// The file's text: pretty-printed, ending with a line feed. Text that is not UTF-8 is written
// with replacement characters.
std::string encodeDefaultsDocument(const DefaultsDocument& document);

}  // namespace orvane::platform
