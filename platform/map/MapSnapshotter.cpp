#include "platform/map/MapSnapshotter.h"

#include "platform/map/web_mercator.h"

namespace orvane::platform {

PixelPoint MapSnapshot::pointForCoordinate(LocationCoordinate2D coordinate) const {
    return mercator::pixelFor(_frame, coordinate);
}

}  // namespace orvane::platform
