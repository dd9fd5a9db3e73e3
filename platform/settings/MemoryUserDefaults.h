// A settings store held in memory: for tests, and for runs that must not touch the disk.
#pragma once

#include <map>
#include <mutex>

#include "platform/settings/UserDefaults.h"

namespace orvane::platform {

class MemoryUserDefaults final : public UserDefaults {
  public:
    std::optional<DefaultsValue> objectForKey(std::string_view key) const override;
    void setObject(std::string_view key, std::optional<DefaultsValue> value) override;
    std::vector<std::string> allKeys() const override;
    std::optional<DefaultsValue> updateObject(std::string_view key,
                                              const ValueChange& change) override;

  private:
    void store(std::string_view key, std::optional<DefaultsValue> value);

    mutable std::mutex _mutex;
    std::map<std::string, DefaultsValue, std::less<>> _values;
};

}  // namespace orvane::platform
