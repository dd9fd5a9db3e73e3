#include "app/frame_command.h"

#include <cairo.h>

#include <charconv>
#include <cstring>
#include <memory>

#include "app/logo_command.h"
#include "app/map_overlay.h"
#include "compositor/ZephrinOpenGLView.h"
#include "engine/cairo_handles.h"
#include "foundation/Clock.h"
#include "foundation/RunLoop.h"
#include "foundation/Timer.h"
#include "platform/capture/test_scene.h"
#include "platform/gl/EglContext.h"
#include "platform/image/picture_file.h"
#include "stamp/LineDrawer.h"
#include "stamp/coordinate_formats.h"
#include "stamp/stamp_state.h"

namespace orvane::app {
namespace {

std::optional<std::pair<int, int>> parseSize(const std::string& text) {
    const auto x = text.find('x');
    if (x == std::string::npos) {
        return std::nullopt;
    }
    int width = 0;
    int height = 0;
    const char* end = text.data() + text.size();
    auto [p1, e1] = std::from_chars(text.data(), text.data() + x, width);
    auto [p2, e2] = std::from_chars(text.data() + x + 1, end, height);
    if (e1 != std::errc() || e2 != std::errc() || p1 != text.data() + x || p2 != end ||
        platform::PixelBuffer::validateSize(width, height) != platform::kCVReturnSuccess) {
        return std::nullopt;
    }
    return std::pair{width, height};
}

// Cairo's ARGB32 is premultiplied BGRA in memory on this byte order, as the frame is.
platform::PixelBufferRef readPng(const std::string& path, std::string& problem) {
    engine::CairoSurface png(cairo_image_surface_create_from_png(path.c_str()));
    if (cairo_surface_status(png.get()) != CAIRO_STATUS_SUCCESS) {
        problem = "cannot read \"" + path +
                  "\" as a PNG image: " + cairo_status_to_string(cairo_surface_status(png.get()));
        return nullptr;
    }
    const int width = cairo_image_surface_get_width(png.get());
    const int height = cairo_image_surface_get_height(png.get());
    auto made = platform::PixelBuffer::create(width, height);
    if (!made.buffer) {
        problem = "\"" + path + "\" is too large a picture";
        return nullptr;
    }
    engine::CairoSurface argb(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height));
    cairo_t* cr = cairo_create(argb.get());
    cairo_set_source_rgb(cr, 0, 0, 0);
    cairo_paint(cr);
    cairo_set_source_surface(cr, png.get(), 0, 0);
    cairo_paint(cr);
    cairo_destroy(cr);
    cairo_surface_flush(argb.get());
    platform::PixelBufferWriteLock lock(*made.buffer);
    const int stride = cairo_image_surface_get_stride(argb.get());
    for (int y = 0; y < height; ++y) {
        std::memcpy(lock.data() + y * made.buffer->bytesPerRow(),
                    cairo_image_surface_get_data(argb.get()) + y * stride,
                    static_cast<std::size_t>(width) * 4);
    }
    return made.buffer;
}

bool writePng(const platform::PixelBuffer& frame, const std::string& path, std::string& problem) {
    platform::PixelBufferReadLock lock(frame);
    // The frame is opaque; RGB24 writes it without an alpha channel.
    engine::CairoSurface surface(cairo_image_surface_create_for_data(
        const_cast<unsigned char*>(lock.data()), CAIRO_FORMAT_RGB24, frame.width(), frame.height(),
        static_cast<int>(frame.bytesPerRow())));
    const cairo_status_t status = cairo_surface_write_to_png(surface.get(), path.c_str());
    if (status != CAIRO_STATUS_SUCCESS) {
        problem = "cannot write \"" + path + "\": " + cairo_status_to_string(status);
        return false;
    }
    return true;
}

// How long one frame waits for its map: a tile server may be slow, never this slow.
constexpr double kMapWaitSeconds = 20.0;

// With "NeedDisplayMap" on, makes the map around the position and hands it to the view before
// the frame is drawn. False when the map could not be made, said on `err`.
bool drawMap(compositor::ZephrinOpenGLView& view, screen::SettingsStore& store, double latitude,
             double longitude, double instant, std::ostream& err) {
    foundation::RunLoop loop;
    bool drawn = false;
    std::string failure;
    const platform::Location fix({latitude, longitude}, std::nullopt, 5.0, -1.0, instant);
    auto updater = startMapOverlay(
        loop, store, view, [fix] { return fix; }, "orvane frame: ", err,
        [&] {
            drawn = true;
            loop.quit();
        },
        [&](const std::string& message) {
            failure = message;
            loop.quit();
        });
    if (!updater) {
        return !store.viewController.isNeedDisplayMap();
    }
    const auto timeout = foundation::Timer::scheduled(loop, kMapWaitSeconds, false, [&] {
        failure = "no map came within " + std::to_string(static_cast<int>(kMapWaitSeconds)) + " s";
        loop.quit();
    });
    loop.run();
    if (!drawn) {
        err << "orvane frame: " << failure << "\n";
    }
    return drawn;
}

}  // namespace

std::optional<std::string> checkFrameOptions(const FrameOptions& options) {
    if (options.out.empty()) {
        return "--out names the PNG file to write";
    }
    if (options.in.empty() && !parseSize(options.synthetic)) {
        return "--synthetic \"" + options.synthetic + "\" is not a size such as 1920x1080";
    }
    if (options.orientation && (*options.orientation < 1 || *options.orientation > 4)) {
        return "--orientation takes 1 to 4";
    }
    if (options.position && (*options.position < 0 || *options.position > 5)) {
        return "--position takes 0 to 5";
    }
    if (options.margin && (*options.margin < 0 || *options.margin > 3)) {
        return "--margin takes 0 to 3";
    }
    if (!platform::EglContext::platformFromName(options.gl)) {
        return "--gl takes auto, device or surfaceless";
    }
    return checkFormatsOptions(options.stamp);
}

int runFrame(const FrameOptions& options, screen::SettingsStore& store,
             screen::SettingsCache& cache, const screen::LaunchValues& launch, double now,
             std::ostream& out, std::ostream& err) {
    std::string problem;
    platform::PixelBufferRef source;
    if (!options.in.empty()) {
        source = readPng(options.in, problem);
    } else {
        const auto size = parseSize(options.synthetic);
        source = platform::PixelBuffer::create(size->first, size->second).buffer;
        if (source) {
            platform::drawTestScene(*source, 0.0);
        } else {
            problem = "no memory for a " + options.synthetic + " frame";
        }
    }
    if (!source) {
        err << "orvane frame: " << problem << "\n";
        return 1;
    }
    auto output = platform::PixelBuffer::create(source->width(), source->height()).buffer;

    const FormatsOptions& stamp = options.stamp;
    const double instant = stamp.time.empty() ? now : *parseIsoInstant(stamp.time);
    foundation::ManualClock clock(instant);
    stamp::StampState state(clock);
    if (stamp.altitude) {
        state.setAltitude(static_cast<float>(*stamp.altitude));
    }
    if (stamp.speed) {
        state.setSpeed(static_cast<float>(*stamp.speed * 3.6));
    }
    state.setCustomText(cache.inputString());
    if (options.margin) {
        cache.setMarginsMode(*options.margin);
    }

    std::optional<stamp::LineDrawer::LuoPanReading> heading;
    if (stamp.heading) {
        heading = stamp::LineDrawer::LuoPanReading{true, *stamp.heading * 0.017453292519943295};
    }
    auto makeLineDrawer = [&]() {
        auto drawer = std::make_unique<stamp::LineDrawer>(store, cache, launch.stampLayer, state);
        if (stamp.latitude) {
            drawer->coordinateCatalogue().rebuild(
                stamp::CoordinateFix{*stamp.latitude, *stamp.longitude, stamp.accuracy});
        }
        return drawer;
    };
    const auto glPlatform = *platform::EglContext::platformFromName(options.gl);
    auto makeContext = [glPlatform](std::string& contextProblem) {
        return platform::EglContext::create(glPlatform, contextProblem);
    };
    screen::GLViewStartValues start = launch.glView;
    if (options.position) {
        start.timePosition = *options.position;
    }
    compositor::ZephrinOpenGLView view(store, start, makeContext, makeLineDrawer);
    view.setDanceMode(options.dance);
    loadSavedLogo(view, cache, "orvane frame: ", err);
    if (heading) {
        view.setLuoPanSource([reading = *heading] { return reading; });
    }
    compositor::ZephrinOpenGLView::rotateWatermark(options.orientation.value_or(3));
    view.setDimensions(source->width(), source->height(), 0.0f);
    if (!view.isReady()) {
        err << "orvane frame: no GL context could be made (the log above says why)\n";
        return 1;
    }
    if (stamp.latitude && !drawMap(view, store, *stamp.latitude, *stamp.longitude, instant, err)) {
        return 1;
    }
    if (!options.photo.empty()) {
        platform::PictureRead photo = platform::readPicture(options.photo);
        if (!photo.picture) {
            err << "orvane frame: " << photo.problem << "\n";
            return 1;
        }
        // A picture on disk stands as it is shown: orientation 3 takes it as it is.
        view.setMainPhoto(compositor::Image{photo.picture->width, photo.picture->height,
                                            std::move(photo.picture->rgba), 3});
    }
    if (view.displayAndRenderPixelBuffer(source, output, true) != 0) {
        err << "orvane frame: the frame pass failed\n";
        return 1;
    }
    if (!writePng(*output, options.out, problem)) {
        err << "orvane frame: " << problem << "\n";
        return 1;
    }
    out << options.out << "\n";
    return 0;
}

}  // namespace orvane::app
