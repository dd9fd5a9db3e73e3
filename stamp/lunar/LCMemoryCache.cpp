#include "stamp/lunar/LCMemoryCache.h"

namespace orvane::stamp {

LCMemoryCache& LCMemoryCache::shared() {
    static LCMemoryCache instance;
    return instance;
}

std::shared_ptr<const LCMemoryCache::Value> LCMemoryCache::get(const std::string& key) const {
    std::lock_guard lock(_mutex);
    auto found = _storage.find(key);
    return found == _storage.end() ? nullptr : found->second;
}

void LCMemoryCache::setKey(const std::string& key, std::shared_ptr<const Value> value) {
    std::lock_guard lock(_mutex);
    _storage[key] = std::move(value);
}

void LCMemoryCache::clear() {
    std::lock_guard lock(_mutex);
    _storage.clear();
}

void LCMemoryCache::setCurrent(int current) {
    std::lock_guard lock(_mutex);
    if (current != _current) {
        _storage.clear();
        _current = current;
    }
}

int LCMemoryCache::current() const {
    std::lock_guard lock(_mutex);
    return _current;
}

}  // namespace orvane::stamp
