// Sets the process's time zone for one test and puts the old one back.
#pragma once

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

namespace orvane::capture {

class ScopedTimeZone {
  public:
    explicit ScopedTimeZone(const char* zone) {
        if (const char* old = std::getenv("TZ"))
            _old = old;
        setenv("TZ", zone, 1);
        tzset();
    }
    ~ScopedTimeZone() {
        _old ? setenv("TZ", _old->c_str(), 1) : unsetenv("TZ");
        tzset();
    }

  private:
    std::optional<std::string> _old;
};

}  // namespace orvane::capture
