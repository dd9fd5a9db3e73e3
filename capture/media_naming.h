// File names of captured photos and movies: the eleven formats, the file index that every
// capture advances, and the cleaning of the user's text for use in a name.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "platform/settings/UserDefaults.h"

namespace orvane::screen {
class SettingsCache;
class ZephrinSessionManagerStore;
}  // namespace orvane::screen

namespace orvane::capture {

// The largest index; the one after it is 0.
inline constexpr std::int64_t kMaxFileNameIndex = 9999;

// What a name is built from. The stamps are texts in the system's time zone, made once per
// capture by fileNameStamps, so a name never mixes two seconds.
struct MediaNameInputs {
    std::int64_t format = 0;            // getFileNameFormat
    std::optional<std::string> prefix;  // gGetFileNamePrefix
    bool nameWithCustomText = false;    // GetIsNameWithCustomText
    std::string customText;             // inputString, as the user typed it
    platform::StringArray tags;         // getSelectTags
    std::int64_t index = 0;             // the index before this capture's increment
    std::string timeStamp;              // "yyyyMMdd_HHmmss"
    std::string dateStamp;              // "yyyyMMdd"
    bool movie = false;
    std::int64_t videoExtensionMode = 0;  // non-zero for MP4
};

struct FileNameStamps {
    std::string timeStamp;  // "yyyyMMdd_HHmmss"
    std::string dateStamp;  // "yyyyMMdd"
};

// The stamps of `now` in the system's time zone.
FileNameStamps fileNameStamps(std::chrono::system_clock::time_point now);

// The index after `index`: 0 past 9998, else one more.
std::int64_t nextFileNameIndex(std::int64_t index);

// The custom text made fit for a file name: trimmed of white space, line breaks and spaces
// turned into "-", and the characters * / \ ! | : ? < > removed. May come out empty.
std::string cleanedCustomText(const std::string& text);

// The name with its extension in capitals, or none: format 0 for photos without a usable
// prefix or text, and any format outside 0..10.
std::optional<std::string> mediaFileName(const MediaNameInputs& inputs);

// A movie's name at the start of a recording: takes the index from the store and saves the next
// one there in one step, so two programs recording at once never share a name (the cached copy
// follows when the recording stops).
std::optional<std::string> movieFileName(const screen::SettingsCache& cache,
                                         screen::ZephrinSessionManagerStore& store,
                                         std::chrono::system_clock::time_point now);

// A photo's name at the moment it is written: reads the cached index, then saves the next one
// into both the store and the cache.
std::optional<std::string> photoFileName(screen::SettingsCache& cache,
                                         screen::ZephrinSessionManagerStore& store,
                                         std::chrono::system_clock::time_point now);

}  // namespace orvane::capture
