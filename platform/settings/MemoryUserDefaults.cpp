#include "platform/settings/MemoryUserDefaults.h"

namespace orvane::platform {

std::optional<DefaultsValue> MemoryUserDefaults::objectForKey(std::string_view key) const {
    std::lock_guard lock(_mutex);
    auto it = _values.find(key);
    if (it == _values.end()) {
        return std::nullopt;
    }
    return it->second;
}

void MemoryUserDefaults::setObject(std::string_view key, std::optional<DefaultsValue> value) {
    std::lock_guard lock(_mutex);
    store(key, std::move(value));
}

std::optional<DefaultsValue> MemoryUserDefaults::updateObject(std::string_view key,
                                                              const ValueChange& change) {
    std::lock_guard lock(_mutex);
    std::optional<DefaultsValue> current;
    if (auto it = _values.find(key); it != _values.end()) {
        current = it->second;
    }
    store(key, change(current));
    return current;
}

void MemoryUserDefaults::store(std::string_view key, std::optional<DefaultsValue> value) {
    if (value) {
        _values.insert_or_assign(std::string(key), std::move(*value));
    } else if (auto it = _values.find(key); it != _values.end()) {
        _values.erase(it);
    }
}

std::vector<std::string> MemoryUserDefaults::allKeys() const {
    std::lock_guard lock(_mutex);
    std::vector<std::string> keys;
    keys.reserve(_values.size());
    for (const auto& entry : _values) {
        keys.push_back(entry.first);
    }
    return keys;
}

}  // namespace orvane::platform
