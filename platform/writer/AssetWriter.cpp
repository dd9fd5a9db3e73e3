#include "platform/writer/AssetWriter.h"

#include <cmath>

namespace orvane::platform {

const char* assetFileTypeName(AssetFileType type) {
    return type == AssetFileType::MPEG4 ? "mp4" : "mov";
}

AffineTransform AffineTransform::rotation(double radians) {
    const double c = std::cos(radians);
    const double s = std::sin(radians);
    return {c, s, -s, c, 0, 0};
}

}  // namespace orvane::platform
