#include "screen/settings_session.h"

#include "screen/settings_view_controller.h"

namespace orvane::screen {

std::int64_t ZephrinSessionManagerStore::readFileNameIndex() const {
    return _d.integerForKey("FileNameIndex");
}

namespace {

std::int64_t validFileNameIndex(std::int64_t index) {
    return index >= 0 && index <= 9999 ? index : 0;
}

}  // namespace

void ZephrinSessionManagerStore::saveFileNameIndex(std::int64_t index) {
    _d.setInteger("FileNameIndex", validFileNameIndex(index));
}

std::int64_t ZephrinSessionManagerStore::takeFileNameIndex(
    const std::function<std::int64_t(std::int64_t)>& next) {
    std::int64_t taken = 0;
    _d.updateObject("FileNameIndex", [&](const std::optional<platform::DefaultsValue>& stored) {
        taken = platform::UserDefaults::integerOf(stored);
        return platform::DefaultsValue{validFileNameIndex(next(taken))};
    });
    return taken;
}

std::int64_t ZephrinSessionManagerStore::getCameraModeIndex() const {
    return _d.integerForKey("cameraModeIndex");
}

std::optional<std::string> ZephrinSessionManagerStore::getDefaultFont() const {
    return _d.stringForKey("defaultFontName");
}

std::int64_t ZephrinSessionManagerStore::getDefaultFontSizeLevel() const {
    return _d.integerForKey("defaultFontSizeLevel");
}

foundation::Color ZephrinSessionManagerStore::getDefaultFontColor() const {
    return readDefaultFontColor(_d);
}

std::int64_t ZephrinSessionManagerStore::getTimePosition() const {
    return _d.integerForKey("timePosition");
}

std::int64_t ZephrinSessionManagerStore::getTimeFormatIndex() const {
    return _d.integerForKey("TimeFormatIndex");
}

std::int64_t ZephrinSessionManagerStore::readTextDistanceMode() const {
    return _d.integerForKey("TextDistanceMode");
}

}  // namespace orvane::screen
