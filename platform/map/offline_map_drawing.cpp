#include "platform/map/offline_map_drawing.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <numbers>
#include <vector>

#include "platform/image/cairo_handles.h"
#include "platform/map/web_mercator.h"

namespace orvane::platform {
namespace {

constexpr double kPi = std::numbers::pi;

struct Box {
    double left, top, right, bottom;

    bool overlaps(const Box& other) const {
        return left < other.right && other.left < right && top < other.bottom && other.top < bottom;
    }
    bool inside(double width, double height, double margin) const {
        return left >= margin && top >= margin && right <= width - margin &&
               bottom <= height - margin;
    }
};

void setSource(cairo_t* cr, const MapColour& colour) {
    cairo_set_source_rgba(cr, colour.red, colour.green, colour.blue, colour.alpha);
}

// The map's pixel x of a longitude given on the same turn of the world as the centre's.
double pixelX(const MercatorFrame& frame, double unwrappedLongitude) {
    return ((unwrappedLongitude + 180.0) / 360.0 - frame.centreX) * frame.worldPixels +
           frame.width / 2.0;
}

double pixelY(const MercatorFrame& frame, double latitude) {
    return mercator::pixelFor(frame, {latitude, 0}).y;
}

// A map wider than this many mask cells is coloured pixel by pixel, which costs the same however
// wide it is.
constexpr long kMostLandCells = 65536;

void setPixel(Bitmap& bitmap, int x, int y, const MapColour& colour) {
    const std::uint32_t word = 0xFF000000u |
                               static_cast<std::uint32_t>(std::lround(colour.red * 255)) << 16 |
                               static_cast<std::uint32_t>(std::lround(colour.green * 255)) << 8 |
                               static_cast<std::uint32_t>(std::lround(colour.blue * 255));
    std::memcpy(bitmap.pixels.data() + static_cast<std::size_t>(y) * bitmap.stride + x * 4, &word,
                sizeof word);
}

void paintLandByPixel(Bitmap& bitmap, const places::PlaceIndex& places, const MercatorFrame& frame,
                      const OfflineMapPalette& palette) {
    for (int y = 0; y < frame.height; ++y) {
        const double latitude = mercator::coordinateAt(frame, {0, y + 0.5}).latitude;
        for (int x = 0; x < frame.width; ++x) {
            const double longitude = mercator::coordinateAt(frame, {x + 0.5, y + 0.5}).longitude;
            if (places.isLand(latitude, longitude)) {
                setPixel(bitmap, x, y, palette.land);
            }
        }
    }
}

// One path of every land cell the map shows, filled once, so neighbouring cells join without a
// seam; a map of very many cells is coloured pixel by pixel instead.
void drawLand(cairo_t* cr, Bitmap& bitmap, const places::PlaceIndex& places,
              const MercatorFrame& frame, const OfflineMapPalette& palette) {
    const double cellLatitude = places.maskCellLatitudeDegrees();
    const double cellLongitude = places.maskCellLongitudeDegrees();
    const double north = mercator::coordinateAt(frame, {0, 0}).latitude;
    const double south = mercator::coordinateAt(frame, {0, double(frame.height)}).latitude;
    const double centreLongitude = frame.centreX * 360.0 - 180.0;
    const double halfWidthDegrees = frame.width / 2.0 / frame.worldPixels * 360.0;
    const double west = centreLongitude - halfWidthDegrees;
    const double east = centreLongitude + halfWidthDegrees;
    const long firstColumn = std::lround(std::floor((west + 180.0) / cellLongitude));
    const long lastColumn = std::lround(std::floor((east + 180.0) / cellLongitude));
    const long firstRow = std::lround(std::floor((90.0 - north) / cellLatitude));
    const long lastRow = std::lround(std::floor((90.0 - south) / cellLatitude));
    if ((lastColumn - firstColumn + 1) * (lastRow - firstRow + 1) > kMostLandCells) {
        cairo_surface_flush(cairo_get_target(cr));
        paintLandByPixel(bitmap, places, frame, palette);
        cairo_surface_mark_dirty(cairo_get_target(cr));
        return;
    }
    // Cells far larger than the map are cut to a little beyond its edges.
    const auto clampX = [&](double x) { return std::clamp(x, -4.0, frame.width + 4.0); };
    const auto clampY = [&](double y) { return std::clamp(y, -4.0, frame.height + 4.0); };
    for (long row = firstRow; row <= lastRow; ++row) {
        const double top = 90.0 - row * cellLatitude;
        const double bottom = top - cellLatitude;
        for (long column = firstColumn; column <= lastColumn; ++column) {
            const double left = column * cellLongitude - 180.0;
            const double middle = left + cellLongitude / 2;
            const double wrapped = middle - 360.0 * std::floor((middle + 180.0) / 360.0);
            if (!places.isLand(top - cellLatitude / 2, wrapped)) {
                continue;
            }
            const double x0 = clampX(pixelX(frame, left));
            const double x1 = clampX(pixelX(frame, left + cellLongitude));
            const double y0 = clampY(pixelY(frame, top));
            const double y1 = clampY(pixelY(frame, bottom));
            cairo_rectangle(cr, x0, y0, x1 - x0, y1 - y0);
        }
    }
    setSource(cr, palette.land);
    cairo_set_fill_rule(cr, CAIRO_FILL_RULE_WINDING);
    cairo_fill(cr);
}

// Liang and Barsky: the part of the segment inside the box, if any.
bool clipSegment(PixelPoint& a, PixelPoint& b, const Box& box) {
    double t0 = 0, t1 = 1;
    const double dx = b.x - a.x, dy = b.y - a.y;
    const double p[4] = {-dx, dx, -dy, dy};
    const double q[4] = {a.x - box.left, box.right - a.x, a.y - box.top, box.bottom - a.y};
    for (int i = 0; i < 4; ++i) {
        if (p[i] == 0) {
            if (q[i] < 0) {
                return false;
            }
            continue;
        }
        const double t = q[i] / p[i];
        if (p[i] < 0) {
            t0 = std::max(t0, t);
        } else {
            t1 = std::min(t1, t);
        }
        if (t0 > t1) {
            return false;
        }
    }
    const PixelPoint start = a;
    a = {start.x + t0 * dx, start.y + t0 * dy};
    b = {start.x + t1 * dx, start.y + t1 * dy};
    return true;
}

void drawTrack(cairo_t* cr, const MapSnapshotOptions& options, const MercatorFrame& frame,
               const OfflineMapPalette& palette) {
    if (options.track.size() < 2) {
        return;
    }
    const Box bounds{-16, -16, frame.width + 16.0, frame.height + 16.0};
    std::optional<PixelPoint> last;
    PixelPoint previous = mercator::pixelFor(frame, options.track.front());
    for (std::size_t i = 1; i < options.track.size(); ++i) {
        const PixelPoint next = mercator::pixelFor(frame, options.track[i]);
        PixelPoint a = previous, b = next;
        previous = next;
        if (!clipSegment(a, b, bounds)) {
            continue;
        }
        if (!last || std::hypot(last->x - a.x, last->y - a.y) > 0.01) {
            cairo_move_to(cr, a.x, a.y);
        }
        cairo_line_to(cr, b.x, b.y);
        last = b;
    }
    const double scale = options.scale;
    cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
    cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
    setSource(cr, palette.trackCasing);
    cairo_set_line_width(cr, 6 * scale);
    cairo_stroke_preserve(cr);
    setSource(cr, palette.track);
    cairo_set_line_width(cr, 3.5 * scale);
    cairo_stroke(cr);
}

void drawPlate(cairo_t* cr, const Box& box, double radius, const MapColour& colour) {
    cairo_new_sub_path(cr);
    cairo_arc(cr, box.right - radius, box.top + radius, radius, -kPi / 2, 0);
    cairo_arc(cr, box.right - radius, box.bottom - radius, radius, 0, kPi / 2);
    cairo_arc(cr, box.left + radius, box.bottom - radius, radius, kPi / 2, kPi);
    cairo_arc(cr, box.left + radius, box.top + radius, radius, kPi, 3 * kPi / 2);
    cairo_close_path(cr);
    setSource(cr, colour);
    cairo_fill(cr);
}

Box northArrowBox(const MercatorFrame& frame, double scale) {
    const double right = frame.width - 5 * scale;
    return {right - 20 * scale, 5 * scale, right, 5 * scale + 32 * scale};
}

void drawNorthArrow(cairo_t* cr, const MapLettering& lettering, const Box& box, double scale,
                    const OfflineMapPalette& palette) {
    drawPlate(cr, box, 4 * scale, palette.plate);
    const double centre = (box.left + box.right) / 2;
    MapLettering::Style style;
    style.pixels = 10 * scale;
    style.bold = true;
    style.fill = palette.furniture;
    const MapLettering::Text letter = lettering.layOut("N", style);
    lettering.draw(cr, letter, centre - letter.width() / 2, box.top + 1 * scale);
    const double tip = box.top + 1 * scale + letter.height() + 1 * scale;
    const double base = box.bottom - 3 * scale;
    cairo_move_to(cr, centre, tip);
    cairo_line_to(cr, centre + 5 * scale, base);
    cairo_line_to(cr, centre, base - 4 * scale);
    cairo_line_to(cr, centre - 5 * scale, base);
    cairo_close_path(cr);
    setSource(cr, palette.furniture);
    cairo_fill(cr);
}

struct ScaleBar {
    Box box;
    double barPixels = 0;
    MapLettering::Text label;
};

ScaleBar layOutScaleBar(const MapLettering& lettering, const MercatorFrame& frame, double scale,
                        const OfflineMapPalette& palette) {
    ScaleBar bar;
    const double metresPerPixel = mercator::metresPerPixel(frame);
    const double metres = roundScaleLength(frame.width * 0.3 * metresPerPixel);
    bar.barPixels = metres / metresPerPixel;
    MapLettering::Style style;
    style.pixels = 10 * scale;
    style.fill = palette.furniture;
    bar.label = lettering.layOut(scaleLengthText(metres), style);
    const double padding = 4 * scale;
    const double width = std::max(bar.barPixels, bar.label.width()) + 2 * padding;
    const double height = bar.label.height() + 6 * scale + padding;
    const double left = 5 * scale;
    const double bottom = frame.height - 5 * scale;
    bar.box = {left, bottom - height, left + width, bottom};
    return bar;
}

void drawScaleBar(cairo_t* cr, const MapLettering& lettering, const ScaleBar& bar, double scale,
                  const OfflineMapPalette& palette) {
    drawPlate(cr, bar.box, 4 * scale, palette.plate);
    const double padding = 4 * scale;
    const double left = bar.box.left + padding;
    lettering.draw(cr, bar.label, left, bar.box.top + padding / 2);
    const double y = bar.box.bottom - padding;
    cairo_move_to(cr, left, y - 4 * scale);
    cairo_line_to(cr, left, y);
    cairo_line_to(cr, left + bar.barPixels, y);
    cairo_line_to(cr, left + bar.barPixels, y - 4 * scale);
    setSource(cr, palette.furniture);
    cairo_set_line_width(cr, 1.5 * scale);
    cairo_set_line_cap(cr, CAIRO_LINE_CAP_SQUARE);
    cairo_stroke(cr);
}

// Names the places nearest the centre first, each beside its dot where it overlaps nothing drawn
// or kept free before it: the north arrow, the scale bar and the position mark at the centre. The
// place under the mark, the one the camera is in, is named beside the mark instead.
void drawPlaces(cairo_t* cr, const places::PlaceIndex& places, const MapLettering& lettering,
                const MapSnapshotOptions& options, const MercatorFrame& frame,
                std::vector<Box> taken, const Box& mark, const OfflineMapPalette& palette) {
    const double scale = options.scale;
    const LocationCoordinate2D centre =
        mercator::coordinateAt(frame, {frame.width / 2.0, frame.height / 2.0});
    double radius = 0;
    for (const PixelPoint corner :
         {PixelPoint{0, 0}, PixelPoint{double(frame.width), 0}, PixelPoint{0, double(frame.height)},
          PixelPoint{double(frame.width), double(frame.height)}}) {
        const LocationCoordinate2D c = mercator::coordinateAt(frame, corner);
        radius = std::max(radius, places::greatCircleMetres(centre.latitude, centre.longitude,
                                                            c.latitude, c.longitude));
    }
    MapLettering::Style style;
    style.pixels = kPlaceNamePoints * scale;
    style.fill = palette.placeName;
    style.halo = palette.halo;
    style.haloPixels = 1.5 * scale;
    const double dotRadius = 2.5 * scale;
    const double gap = 3 * scale;
    taken.push_back(mark);
    bool markNamed = false;
    int named = 0;
    for (const places::NearestPlace& nearby :
         places.within(centre.latitude, centre.longitude, radius)) {
        if (named == kMaxPlaceLabels) {
            break;
        }
        const places::Place place = places.place(nearby.index);
        const PixelPoint dot = mercator::pixelFor(frame, {place.latitude, place.longitude});
        const Box dotBox{dot.x - dotRadius, dot.y - dotRadius, dot.x + dotRadius,
                         dot.y + dotRadius};
        const bool underMark = dotBox.overlaps(mark);
        if (underMark && markNamed) {
            continue;
        }
        if (!underMark && (!dotBox.inside(frame.width, frame.height, 0) ||
                           std::any_of(taken.begin(), taken.end(),
                                       [&](const Box& box) { return box.overlaps(dotBox); }))) {
            continue;
        }
        const Box& anchor = underMark ? mark : dotBox;
        const double middleX = (anchor.left + anchor.right) / 2;
        const double middleY = (anchor.top + anchor.bottom) / 2;
        const MapLettering::Text name = lettering.layOut(std::string(place.name), style);
        const double w = name.width(), h = name.height();
        const Box candidates[] = {
            {anchor.right + gap, middleY - h / 2, anchor.right + gap + w, middleY + h / 2},
            {anchor.left - gap - w, middleY - h / 2, anchor.left - gap, middleY + h / 2},
            {middleX - w / 2, anchor.top - gap - h, middleX + w / 2, anchor.top - gap},
            {middleX - w / 2, anchor.bottom + gap, middleX + w / 2, anchor.bottom + gap + h},
        };
        for (const Box& box : candidates) {
            if (!box.inside(frame.width, frame.height, 2) ||
                std::any_of(taken.begin(), taken.end(),
                            [&](const Box& other) { return other.overlaps(box); })) {
                continue;
            }
            if (underMark) {
                markNamed = true;
            } else {
                cairo_new_path(cr);
                cairo_arc(cr, dot.x, dot.y, dotRadius, 0, 2 * kPi);
                setSource(cr, palette.halo);
                cairo_fill(cr);
                cairo_arc(cr, dot.x, dot.y, dotRadius - 0.75 * scale, 0, 2 * kPi);
                setSource(cr, palette.placeDot);
                cairo_fill(cr);
                taken.push_back(dotBox);
            }
            lettering.draw(cr, name, box.left, box.top);
            taken.push_back(box);
            ++named;
            break;
        }
    }
}

}  // namespace

const OfflineMapPalette& offlineMapPalette(MapAppearance appearance) {
    static const OfflineMapPalette light{
        {0.667, 0.827, 0.875}, {0.949, 0.937, 0.914}, {0.33, 0.33, 0.37},
        {0.18, 0.18, 0.22},    {1, 1, 1, 0.9},        {0.16, 0.47, 0.92},
        {1, 1, 1, 0.85},       {0.15, 0.15, 0.18},    {1, 1, 1, 0.75},
    };
    static const OfflineMapPalette dark{
        {0.106, 0.165, 0.231},    {0.196, 0.204, 0.216},   {0.78, 0.78, 0.82},
        {0.90, 0.90, 0.92},       {0.06, 0.07, 0.09, 0.9}, {0.35, 0.63, 1.0},
        {0.06, 0.07, 0.09, 0.85}, {0.92, 0.92, 0.94},      {0, 0, 0, 0.55},
    };
    return appearance == MapAppearance::Dark ? dark : light;
}

double roundScaleLength(double metres) {
    if (!(metres >= 1)) {
        return 1;
    }
    const double power = std::pow(10.0, std::floor(std::log10(metres)));
    for (const double step : {5.0, 2.0, 1.0}) {
        if (step * power <= metres * (1 + 1e-9)) {
            return step * power;
        }
    }
    return power;
}

std::string scaleLengthText(double metres) {
    char text[32];
    if (metres < 1000) {
        std::snprintf(text, sizeof text, "%.0f m", metres);
    } else {
        std::snprintf(text, sizeof text, "%g km", metres / 1000);
    }
    return text;
}

Bitmap drawOfflineMap(const places::PlaceIndex& places, const MapLettering& lettering,
                      const MapSnapshotOptions& options, const MercatorFrame& frame) {
    const OfflineMapPalette& palette = offlineMapPalette(options.appearance);
    Bitmap bitmap = Bitmap::transparent(frame.width, frame.height);
    CairoSurface surface = surfaceOver(bitmap);
    Cairo cr(cairo_create(surface.get()));
    setSource(cr.get(), palette.water);
    cairo_paint(cr.get());
    drawLand(cr.get(), bitmap, places, frame, palette);
    drawTrack(cr.get(), options, frame, palette);

    const double scale = options.scale;
    const Box arrow = northArrowBox(frame, scale);
    const ScaleBar bar = layOutScaleBar(lettering, frame, scale, palette);
    // The position mark is drawn over the centre later; names keep clear of it.
    const double mark = 18 * scale;
    const Box centre{frame.width / 2.0 - mark, frame.height / 2.0 - mark, frame.width / 2.0 + mark,
                     frame.height / 2.0 + mark};
    drawPlaces(cr.get(), places, lettering, options, frame, {arrow, bar.box}, centre, palette);
    drawNorthArrow(cr.get(), lettering, arrow, scale, palette);
    drawScaleBar(cr.get(), lettering, bar, scale, palette);
    cr.reset();
    cairo_surface_flush(surface.get());
    return bitmap;
}

}  // namespace orvane::platform
