#include "stamp/stamp_font.h"

#include <algorithm>
#include <cstddef>

namespace orvane::stamp {

float stampFontSize(std::int64_t cameraModeIndex, std::int64_t sizeLevel,
                    std::int64_t videoResolution) {
    static constexpr float kVideo[] = {45, 50, 70, 90, 110};
    static constexpr float kPhoto[] = {70, 80, 120, 160, 200};
    const auto level = static_cast<std::size_t>(std::clamp<std::int64_t>(sizeLevel, 0, 4));
    if (cameraModeIndex == 1) {
        return kPhoto[level];
    }
    if (cameraModeIndex != 0 && cameraModeIndex != 2 && cameraModeIndex != 3) {
        return 80;
    }
    float size = kVideo[level];
    // The stamp texture is drawn unscaled, so the font follows the frame's height.
    switch (videoResolution) {
        case 1:
            size = size * 540 / 720;
            break;
        case 4:
        case 5:
            size = size * 960 / 720;
            break;
        case 6:
        case 9:
            size = size * 1620 / 720;
            break;
        default:
            break;
    }
    return size;
}

int textDistanceForMode(std::int64_t marginsMode, float fontSize) {
    if (marginsMode == 1 || marginsMode == 2) {
        return static_cast<int>(fontSize * 0.5f);
    }
    if (marginsMode == 3) {
        return static_cast<int>(fontSize * 0.25f);
    }
    return 0;
}

}  // namespace orvane::stamp
