#include "foundation/strings.h"

#include <libintl.h>

#include <atomic>
#include <cctype>
#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string_view>
#include <system_error>
#include <vector>

#include "foundation/log.h"
#include "foundation/mo_catalogue.h"

namespace orvane::foundation {

namespace {

constexpr const char* kTextDomain = "orvane";
std::atomic<bool> gBound{false};
std::atomic<const MoCatalogue*> gEnglish{nullptr};

// Keeps every English catalogue ever read alive: localized() hands out pointers into them, and
// those must outlive a later initializeStrings and the static destructors at exit, where other
// threads may still be drawing text.
const MoCatalogue* keepForever(std::unique_ptr<const MoCatalogue> catalogue) {
    static std::mutex mutex;
    static auto* kept = new std::vector<std::unique_ptr<const MoCatalogue>>;
    std::lock_guard lock(mutex);
    kept->push_back(std::move(catalogue));
    return kept->back().get();
}

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

// <directory of the running program>/../share/locale, when there is one.
std::string besideExecutable() {
    std::error_code error;
    const auto executable = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error) {
        return {};
    }
    const auto dir = (executable.parent_path() / ".." / "share" / "locale").lexically_normal();
    return std::filesystem::is_directory(dir, error) ? dir.string() : std::string();
}

}  // namespace

std::string localeDirectory(const std::string& localeDir) {
    if (const char* fromEnvironment = std::getenv("ORVANE_LOCALEDIR");
        fromEnvironment && *fromEnvironment) {
        return fromEnvironment;
    }
    if (!localeDir.empty()) {
        return localeDir;
    }
    if (std::string dir = besideExecutable(); !dir.empty()) {
        return dir;
    }
    return ORVANE_LOCALEDIR;
}

void initializeStrings(const std::string& localeDir) {
    if (!std::setlocale(LC_ALL, "")) {
        log("The locale the environment asks for is not installed; texts stay in English");
    }
    std::setlocale(LC_NUMERIC, "C");

    const std::string dir = localeDirectory(localeDir);
    bindtextdomain(kTextDomain, dir.c_str());
    bind_textdomain_codeset(kTextDomain, "UTF-8");

    const std::string englishPath = dir + "/en/LC_MESSAGES/" + kTextDomain + ".mo";
    auto english = MoCatalogue::read(englishPath);
    if (!english->error().empty()) {
        log("No English texts: %s %s", englishPath.c_str(), english->error().c_str());
    }
    gEnglish.store(keepForever(std::move(english)), std::memory_order_release);
    gBound.store(true, std::memory_order_release);
}

const char* localized(const char* literal) {
    if (!gBound.load(std::memory_order_acquire)) {
        return literal;
    }
    // gettext hands back the key itself when the user's catalogue lacks it, and always in the
    // C locale.
    if (const char* translated = dgettext(kTextDomain, literal); translated != literal) {
        return translated;
    }
    if (const char* english = gEnglish.load(std::memory_order_acquire)->find(literal)) {
        return english;
    }
    return literal;
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
