#include "screen/settings_markup.h"

#include "screen/settings_color.h"

namespace orvane::screen {

foundation::Color ImageDrawingControllerStore::getDefaultLineColor() const {
    return readColor(_d, "defaultLineColor").value_or(foundation::Color::redColor());
}

void ImageDrawingControllerStore::setDefaultLineColor(const foundation::Color& color) {
    writeColor(_d, "defaultLineColor", color);
}

}  // namespace orvane::screen
