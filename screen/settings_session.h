// The capture session manager's accessors to the settings store: the file index it owns and its
// private readers of camera screen and stamp keys. ZephrinSessionManager forwards to these.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "foundation/Color.h"
#include "platform/settings/UserDefaults.h"

namespace orvane::screen {

class ZephrinSessionManagerStore {
  public:
    explicit ZephrinSessionManagerStore(platform::UserDefaults& defaults) : _d(defaults) {}

    // The file index 0..9999; an index outside it, as a user may type, is saved as 0.
    std::int64_t readFileNameIndex() const;
    void saveFileNameIndex(std::int64_t index);
    // Takes the stored index and saves `next` of it in one step that no other process comes
    // between, so two programs capturing at once never take one index; answers the index taken.
    std::int64_t takeFileNameIndex(const std::function<std::int64_t(std::int64_t)>& next);

    std::int64_t getCameraModeIndex() const;
    std::optional<std::string> getDefaultFont() const;
    std::int64_t getDefaultFontSizeLevel() const;
    foundation::Color getDefaultFontColor() const;
    std::int64_t getTimePosition() const;
    std::int64_t getTimeFormatIndex() const;
    std::int64_t readTextDistanceMode() const;

  private:
    platform::UserDefaults& _d;
};

}  // namespace orvane::screen
