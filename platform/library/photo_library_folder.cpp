#include "platform/library/photo_library_folder.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <vector>

namespace orvane::platform {

namespace {

std::string homeDirectory(const EnvironmentLookup& environment) {
    if (auto home = environment("HOME"); home && !home->empty()) {
        return *home;
    }
    passwd entry{};
    passwd* found = nullptr;
    std::vector<char> buffer(16384);
    if (getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found &&
        found->pw_dir) {
        return found->pw_dir;
    }
    return "/";
}

std::optional<std::filesystem::path> absolute(const std::optional<std::string>& value) {
    if (!value || value->empty()) {
        return std::nullopt;
    }
    std::filesystem::path path(*value);
    if (!path.is_absolute()) {
        return std::nullopt;
    }
    return path;
}

std::string trim(const std::string& text) {
    const auto first = text.find_first_not_of(" \t\r");
    if (first == std::string::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

}  // namespace

std::optional<std::string> processEnvironment(const char* name) {
    if (const char* value = std::getenv(name)) {
        return std::string(value);
    }
    return std::nullopt;
}

std::optional<std::filesystem::path> picturesDirectoryFromUserDirs(const std::string& text,
                                                                   const std::string& home) {
    std::istringstream lines(text);
    std::string line;
    std::optional<std::filesystem::path> found;
    while (std::getline(lines, line)) {
        line = trim(line);
        constexpr std::string_view kName = "XDG_PICTURES_DIR";
        if (!line.starts_with(kName)) {
            continue;
        }
        auto rest = trim(line.substr(kName.size()));
        if (!rest.starts_with('=')) {
            continue;
        }
        rest = trim(rest.substr(1));
        if (rest.size() < 2 || rest.front() != '"' || rest.back() != '"') {
            continue;
        }
        std::string value = rest.substr(1, rest.size() - 2);
        // The file's own escapes: \" and \\ stand for the characters themselves.
        std::string unescaped;
        for (std::size_t i = 0; i < value.size(); ++i) {
            if (value[i] == '\\' && i + 1 < value.size()) {
                ++i;
            }
            unescaped += value[i];
        }
        if (unescaped == "$HOME") {
            unescaped = home;
        } else if (unescaped.starts_with("$HOME/")) {
            unescaped = home + unescaped.substr(5);
        }
        if (auto path = absolute(unescaped)) {
            found = path;  // the last line wins, as the shell that sources the file sees it
        }
    }
    return found;
}

PhotoLibraryLocation photoLibraryLocation(const EnvironmentLookup& environment) {
    if (auto chosen = environment("ORVANE_LIBRARY_DIR"); chosen && !chosen->empty()) {
        std::error_code error;
        auto path = std::filesystem::absolute(*chosen, error);
        return {error ? std::filesystem::path(*chosen) : path, true};
    }
    if (auto pictures = absolute(environment("XDG_PICTURES_DIR"))) {
        return {*pictures / "Orvane", false};
    }
    const std::string home = homeDirectory(environment);
    std::filesystem::path config = std::filesystem::path(home) / ".config";
    if (auto fromEnvironment = absolute(environment("XDG_CONFIG_HOME"))) {
        config = *fromEnvironment;
    }
    std::ifstream file(config / "user-dirs.dirs");
    if (file) {
        std::ostringstream text;
        text << file.rdbuf();
        if (auto pictures = picturesDirectoryFromUserDirs(text.str(), home)) {
            return {*pictures / "Orvane", false};
        }
    }
    return {std::filesystem::path(home) / "Pictures" / "Orvane", false};
}

}  // namespace orvane::platform
