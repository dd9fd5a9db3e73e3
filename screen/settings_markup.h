// The photo markup screens' accessor to the settings store: the colour of the drawn line.
#pragma once

#include "foundation/Color.h"
#include "platform/settings/UserDefaults.h"

namespace orvane::screen {

class ImageDrawingControllerStore {
  public:
    explicit ImageDrawingControllerStore(platform::UserDefaults& defaults) : _d(defaults) {}

    // Red when absent or unreadable; the red is not written back.
    foundation::Color getDefaultLineColor() const;
    void setDefaultLineColor(const foundation::Color& color);

  private:
    platform::UserDefaults& _d;
};

}  // namespace orvane::screen
