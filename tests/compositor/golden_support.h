// Golden pictures of the frame pass: kept in the source tree, redrawn by ORVANE_UPDATE_GOLDEN=1,
// compared with a tolerance, since rasterisers may differ by a few steps along an edge while a
// misplaced layer changes thousands of pixels.
#pragma once

#include <cairo.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

#include "engine/cairo_handles.h"
#include "platform/media/PixelBuffer.h"

namespace orvane::testing {

struct GoldenComparison {
    bool updated = false;  // the golden was redrawn: nothing to compare
    int differing = 0;     // pixels off by more than the tolerance in a channel
    int inked = 0;         // pixels of the golden other than the background
};

// Compares `frame` with the golden `name`.png of ORVANE_GOLDEN_DIR, or redraws it; nothing, with
// a failure, when the golden is missing or of another size.
inline std::optional<GoldenComparison> compareWithGolden(const platform::PixelBuffer& frame,
                                                         const std::string& name, int tolerance,
                                                         int background = -1) {
    const auto path = std::filesystem::path(ORVANE_GOLDEN_DIR) / (name + ".png");
    platform::PixelBufferReadLock lock(frame);
    if (std::getenv("ORVANE_UPDATE_GOLDEN") != nullptr) {
        engine::CairoSurface out(cairo_image_surface_create_for_data(
            const_cast<unsigned char*>(lock.data()), CAIRO_FORMAT_RGB24, frame.width(),
            frame.height(), static_cast<int>(frame.bytesPerRow())));
        EXPECT_EQ(cairo_surface_write_to_png(out.get(), path.c_str()), CAIRO_STATUS_SUCCESS);
        return GoldenComparison{true};
    }
    engine::CairoSurface expected(cairo_image_surface_create_from_png(path.c_str()));
    if (cairo_surface_status(expected.get()) != CAIRO_STATUS_SUCCESS ||
        cairo_image_surface_get_width(expected.get()) != frame.width() ||
        cairo_image_surface_get_height(expected.get()) != frame.height()) {
        ADD_FAILURE() << path << " is missing or of another size: run with "
                      << "ORVANE_UPDATE_GOLDEN=1 to draw it";
        return std::nullopt;
    }
    const unsigned char* want = cairo_image_surface_get_data(expected.get());
    const int stride = cairo_image_surface_get_stride(expected.get());
    GoldenComparison result;
    for (int y = 0; y < frame.height(); ++y) {
        const unsigned char* got = lock.data() + y * frame.bytesPerRow();
        const unsigned char* exp = want + y * stride;
        for (int x = 0; x < frame.width() * 4; x += 4) {
            bool differs = false;
            bool ink = false;
            for (int ch = 0; ch < 3; ++ch) {
                differs = differs || std::abs(got[x + ch] - exp[x + ch]) > tolerance;
                ink = ink || exp[x + ch] != background;
            }
            result.differing += differs ? 1 : 0;
            result.inked += ink ? 1 : 0;
        }
    }
    return result;
}

}  // namespace orvane::testing
