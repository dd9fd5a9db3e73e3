#include "capture/media_naming.h"

#include <cstdio>
#include <ctime>
#include <string_view>

#include "foundation/local_time.h"
#include "screen/settings_cache.h"
#include "screen/settings_session.h"

namespace orvane::capture {

namespace {

bool isWhitespaceOrNewline(char32_t c) {
    return (c >= 0x09 && c <= 0x0D) || c == 0x20 || c == 0x85 || c == 0xA0 || c == 0x1680 ||
           (c >= 0x2000 && c <= 0x200A) || c == 0x2028 || c == 0x2029 || c == 0x202F ||
           c == 0x205F || c == 0x3000;
}

// The code point starting at `text[at]` and its length in bytes; a broken sequence reads as one
// byte that is not white space, so it is kept as it is.
std::pair<char32_t, std::size_t> decodeAt(std::string_view text, std::size_t at) {
    const auto lead = static_cast<unsigned char>(text[at]);
    std::size_t length = lead < 0x80           ? 1
                         : (lead >> 5) == 0x6  ? 2
                         : (lead >> 4) == 0xE  ? 3
                         : (lead >> 3) == 0x1E ? 4
                                               : 0;
    if (length == 0 || at + length > text.size())
        return {0xFFFD, 1};
    char32_t c = length == 1 ? lead : lead & (0x7F >> length);
    for (std::size_t i = 1; i < length; ++i) {
        const auto next = static_cast<unsigned char>(text[at + i]);
        if ((next & 0xC0) != 0x80)
            return {0xFFFD, 1};
        c = (c << 6) | (next & 0x3F);
    }
    return {c, length};
}

std::string_view trimmed(std::string_view text) {
    std::size_t begin = 0;
    while (begin < text.size()) {
        auto [c, length] = decodeAt(text, begin);
        if (!isWhitespaceOrNewline(c))
            break;
        begin += length;
    }
    // Walk forward from the first kept character, remembering where the last kept one ends.
    std::size_t end = begin;
    for (std::size_t at = begin; at < text.size();) {
        auto [c, length] = decodeAt(text, at);
        at += length;
        if (!isWhitespaceOrNewline(c))
            end = at;
    }
    return text.substr(begin, end - begin);
}

std::string index5(std::int64_t index) {
    char text[32];
    std::snprintf(text, sizeof text, "%05lld", static_cast<long long>(index));
    return text;
}

std::string joinedTags(const platform::StringArray& tags) {
    std::string joined;
    for (std::size_t i = 0; i < tags.size(); ++i) {
        if (i > 0)
            joined += '-';
        joined += tags[i];
    }
    return joined;
}

std::string extension(const MediaNameInputs& inputs) {
    if (!inputs.movie)
        return ".JPG";
    return inputs.videoExtensionMode != 0 ? ".MP4" : ".MOV";
}

std::string stampText(std::chrono::system_clock::time_point now, const char* format) {
    return foundation::formatLocalTime(now, format);
}

std::optional<std::string> nameForIndex(const screen::SettingsCache& cache, std::int64_t index,
                                        std::chrono::system_clock::time_point now, bool movie) {
    FileNameStamps stamps = fileNameStamps(now);
    MediaNameInputs inputs{.format = cache.getFileNameFormat(),
                           .prefix = cache.gGetFileNamePrefix(),
                           .nameWithCustomText = cache.GetIsNameWithCustomText(),
                           .customText = cache.inputString(),
                           .tags = cache.getSelectTags(),
                           .index = index,
                           .timeStamp = std::move(stamps.timeStamp),
                           .dateStamp = std::move(stamps.dateStamp),
                           .movie = movie,
                           .videoExtensionMode = cache.getVideoExtensionMode()};
    return mediaFileName(inputs);
}

}  // namespace

FileNameStamps fileNameStamps(std::chrono::system_clock::time_point now) {
    FileNameStamps stamps{stampText(now, "%Y%m%d_%H%M%S"), {}};
    stamps.dateStamp = stamps.timeStamp.substr(0, stamps.timeStamp.find('_'));
    return stamps;
}

std::int64_t nextFileNameIndex(std::int64_t index) {
    return index > kMaxFileNameIndex - 1 ? 0 : index + 1;
}

std::string cleanedCustomText(const std::string& text) {
    std::string cleaned;
    for (char c : trimmed(text)) {
        if (c == '\n' || c == ' ') {
            cleaned += '-';
        } else if (std::string_view("*/\\!|:?<>").find(c) == std::string_view::npos) {
            cleaned += c;
        }
    }
    return cleaned;
}

std::optional<std::string> mediaFileName(const MediaNameInputs& in) {
    const bool hasText = !in.customText.empty();
    // Formats whose point is the text use it whenever there is one; the others also need the
    // switch "End file name with custom text".
    const bool textBySwitch = hasText && in.nameWithCustomText;
    const std::string x = hasText ? cleanedCustomText(in.customText) : std::string();
    const std::string& t = in.timeStamp;
    const std::string& d = in.dateStamp;
    const std::string n = index5(in.index);
    const std::string e = extension(in);
    const bool hasPrefix = in.prefix && !in.prefix->empty();
    const bool hasTags = !in.tags.empty();

    std::string name;
    switch (in.format) {
        case 0:
            if (!in.movie) {
                if (in.nameWithCustomText) {
                    if (!hasText)
                        return std::nullopt;
                    name = t + "_" + x + e;
                } else {
                    if (!hasPrefix)
                        return std::nullopt;
                    name = t + e;
                }
                break;
            }
            [[fallthrough]];
        case 2:
            name = textBySwitch ? t + "_" + x + e : t + e;
            break;
        case 1: {
            // The prefix takes the place of "QK" here, so there is no prefix step.
            const std::string q = hasPrefix ? *in.prefix : "QK";
            return textBySwitch ? q + "_" + n + "_" + x + e : q + "_" + n + e;
        }
        case 3:
            name = hasText ? x + "_" + t + "_" + n + e : t + "_" + n + e;
            break;
        case 4:
        case 5:
            name = textBySwitch ? t + "_" + n + "_" + x + e : t + "_" + n + e;
            break;
        case 6:
            name = hasText ? x + "_" + d + "_" + n + e : d + "_" + n + e;
            break;
        case 7:
        case 8:
            name = textBySwitch ? d + "_" + n + "_" + x + e : d + "_" + n + e;
            break;
        case 9:
            name = hasText ? x + "_" + t + e : t + e;
            break;
        case 10:
            name = hasText ? t + "_" + x : t;
            // The tags go behind the name here, before the extension.
            if (hasTags)
                name += "_" + joinedTags(in.tags);
            name += e;
            break;
        default:
            return std::nullopt;
    }
    // Formats 4 and 7 put the tags in front of the finished name.
    if ((in.format == 4 || in.format == 7) && hasTags)
        name = joinedTags(in.tags) + "_" + name;
    if (hasPrefix)
        name = *in.prefix + "_" + name;
    return name;
}

std::optional<std::string> movieFileName(const screen::SettingsCache& cache,
                                         screen::ZephrinSessionManagerStore& store,
                                         std::chrono::system_clock::time_point now) {
    const std::int64_t index = store.takeFileNameIndex(nextFileNameIndex);
    return nameForIndex(cache, index, now, true);
}

std::optional<std::string> photoFileName(screen::SettingsCache& cache,
                                         screen::ZephrinSessionManagerStore& store,
                                         std::chrono::system_clock::time_point now) {
    const std::int64_t index = cache.gGetFileNameIndex();
    const std::int64_t next = nextFileNameIndex(index);
    store.saveFileNameIndex(next);
    cache.gSetFileNameIndex(next);
    return nameForIndex(cache, index, now, false);
}

}  // namespace orvane::capture
