#include "foundation/strings.h"

#include <libintl.h>

#include <atomic>
#include <cctype>
#include <clocale>
#include <cstdlib>
#include <string_view>

namespace orvane::foundation {

namespace {

constexpr const char* kTextDomain = "orvane";
std::atomic<bool> gBound{false};

// "zh_CN.UTF-8" -> "zh"; "C", "POSIX" and empty -> "".
std::string languageOf(std::string_view locale) {
    const auto end = locale.find_first_of("_.@-");
    std::string_view language = locale.substr(0, end);
    if (language == "C" || language == "POSIX") {
        return {};
    }
    std::string code;
    for (char c : language) {
        code.push_back(static_cast<char>(std::tolower(static_cast<unsigned char>(c))));
    }
    return code;
}

}  // namespace

void initializeStrings(const std::string& localeDir) {
    std::setlocale(LC_ALL, "");
    std::string dir = localeDir.empty() ? std::string(ORVANE_LOCALEDIR) : localeDir;
    if (const char* fromEnvironment = std::getenv("ORVANE_LOCALEDIR");
        fromEnvironment && *fromEnvironment) {
        dir = fromEnvironment;
    }
    bindtextdomain(kTextDomain, dir.c_str());
    bind_textdomain_codeset(kTextDomain, "UTF-8");
    gBound.store(true, std::memory_order_release);
}

const char* localized(const char* literal) {
    if (!gBound.load(std::memory_order_acquire)) {
        return literal;
    }
    return dgettext(kTextDomain, literal);
}

std::string preferredLanguageCode() {
    // LANGUAGE is a colon-separated list of preferences; the first usable entry wins.
    if (const char* list = std::getenv("LANGUAGE"); list && *list) {
        std::string_view rest(list);
        while (!rest.empty()) {
            const auto colon = rest.find(':');
            std::string code = languageOf(rest.substr(0, colon));
            if (!code.empty()) {
                return code;
            }
            if (colon == std::string_view::npos) {
                break;
            }
            rest.remove_prefix(colon + 1);
        }
    }
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        if (const char* value = std::getenv(name); value && *value) {
            std::string code = languageOf(value);
            return code.empty() ? "en" : code;
        }
    }
    return "en";
}

}  // namespace orvane::foundation
