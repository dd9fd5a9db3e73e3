#include "platform/map/web_mercator.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace orvane::platform::mercator {
namespace {

constexpr double kPi = std::numbers::pi;

bool finite(double value) {
    return std::isfinite(value);
}

}  // namespace

WorldPoint project(LocationCoordinate2D coordinate) {
    const double latitude = std::clamp(coordinate.latitude, -kMaxLatitude, kMaxLatitude);
    const double phi = latitude * kPi / 180.0;
    return {(coordinate.longitude + 180.0) / 360.0,
            0.5 - std::log(std::tan(kPi / 4.0 + phi / 2.0)) / (2.0 * kPi)};
}

LocationCoordinate2D unproject(WorldPoint point) {
    const double phi = 2.0 * std::atan(std::exp((0.5 - point.y) * 2.0 * kPi)) - kPi / 2.0;
    return {phi * 180.0 / kPi, point.x * 360.0 - 180.0};
}

std::optional<MercatorFrame> frameFor(const MapSnapshotOptions& options, std::string& problem) {
    const auto& region = options.region;
    const auto& span = region.span;
    if (!finite(region.center.latitude) || !finite(region.center.longitude) ||
        std::abs(region.center.latitude) > 90.0) {
        problem = "the map's centre is not a coordinate";
        return std::nullopt;
    }
    if (!finite(span.latitudeDelta) || !finite(span.longitudeDelta) || span.latitudeDelta <= 0 ||
        span.longitudeDelta <= 0 || span.latitudeDelta > 180 || span.longitudeDelta > 360) {
        problem = "the map's span must be above 0 and at most 180 by 360 degrees";
        return std::nullopt;
    }
    const double width = options.width * options.scale;
    const double height = options.height * options.scale;
    if (!finite(width) || !finite(height) || !(options.scale > 0) || width < 1 || height < 1 ||
        width > kMaxSidePixels || height > kMaxSidePixels) {
        problem =
            "the map's size must be 1 to " + std::to_string(kMaxSidePixels) + " pixels a side";
        return std::nullopt;
    }
    const WorldPoint centre = project(region.center);
    const WorldPoint north =
        project({region.center.latitude + span.latitudeDelta / 2, region.center.longitude});
    const WorldPoint south =
        project({region.center.latitude - span.latitudeDelta / 2, region.center.longitude});
    const double worldAcross = span.longitudeDelta / 360.0;
    // Near a pole the latitude span can shrink to nothing on the square; the longitudes decide.
    const double worldDown = std::max(south.y - north.y, 1e-12);
    MercatorFrame frame;
    frame.centreX = centre.x;
    frame.centreY = centre.y;
    frame.width = static_cast<int>(std::lround(width));
    frame.height = static_cast<int>(std::lround(height));
    frame.worldPixels = std::min(frame.width / worldAcross, frame.height / worldDown);
    return frame;
}

PixelPoint pixelFor(const MercatorFrame& frame, LocationCoordinate2D coordinate) {
    const WorldPoint point = project(coordinate);
    double dx = point.x - frame.centreX;
    dx -= std::round(dx);
    return {dx * frame.worldPixels + frame.width / 2.0,
            (point.y - frame.centreY) * frame.worldPixels + frame.height / 2.0};
}

LocationCoordinate2D coordinateAt(const MercatorFrame& frame, PixelPoint pixel) {
    WorldPoint point{frame.centreX + (pixel.x - frame.width / 2.0) / frame.worldPixels,
                     frame.centreY + (pixel.y - frame.height / 2.0) / frame.worldPixels};
    point.x -= std::floor(point.x);
    return unproject(point);
}

double metresPerPixel(const MercatorFrame& frame) {
    const double latitude = unproject({frame.centreX, frame.centreY}).latitude;
    return kEquatorMetres * std::cos(latitude * kPi / 180.0) / frame.worldPixels;
}

}  // namespace orvane::platform::mercator
