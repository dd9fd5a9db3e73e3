#include "screen/settings_cache.h"

#include <memory>

namespace orvane::screen {

std::optional<std::string> selectTagsString(const platform::StringArray& tags) {
    std::optional<std::string> text;
    for (const auto& tag : tags) {
        text = text ? *text + " #" + tag : "#" + tag;
    }
    return text;
}

SettingsCache& SettingsCache::shared() {
    static SettingsCache cache;
    return cache;
}

void SettingsCache::reset() {
    // Holders of atomics and mutexes cannot be assigned; build them afresh in place.
    std::destroy_at(&_v);
    std::construct_at(&_v);
}

void SettingsCache::setSelectTags(platform::StringArray tags) {
    auto text = selectTagsString(tags);
    _v.selectTags.store(Tags{std::move(tags), std::move(text)});
}

void SettingsCache::setInputString(const std::string& value) {
    if (!value.empty()) {
        _v.inputString.store(value);
    }
}

}  // namespace orvane::screen
