// A small cache of string-keyed dictionaries that holds the data of one year at a time.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "foundation/thread_annotations.h"

namespace orvane::stamp {

class LCMemoryCache {
  public:
    using Value = std::map<std::string, std::string>;

    // The one instance the lunar lookup shares.
    static LCMemoryCache& shared();

    // The value stored under `key`, or null.
    std::shared_ptr<const Value> get(const std::string& key) const;
    void setKey(const std::string& key, std::shared_ptr<const Value> value);
    void clear();
    // A value other than the current one empties the cache first, so it never mixes years.
    void setCurrent(int current);
    int current() const;

  private:
    mutable std::mutex _mutex;
    std::map<std::string, std::shared_ptr<const Value>> _storage GUARDED_BY(_mutex);
    int _current GUARDED_BY(_mutex) = 0;
};

}  // namespace orvane::stamp
