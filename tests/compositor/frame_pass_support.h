// The frame pass's test fixture on a real GL context: a view with or without a stamp layer on a
// manual clock, buffers of the test scene or one colour, and pixel comparisons.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <cstring>

#include "compositor/ZephrinOpenGLView.h"
#include "engine/gl_objects.h"
#include "foundation/Clock.h"
#include "platform/capture/test_scene.h"
#include "platform/settings/MemoryUserDefaults.h"
#include "screen/settings_first_run.h"
#include "screen/settings_loading.h"
#include "stamp/stamp_state.h"
#include "tests/engine/gl_test_support.h"

namespace orvane::compositor::frame_test {

// 2024-02-10 04:00:00.950 UTC.
constexpr double kInstant = 1707537600.95;

inline platform::PixelBufferRef makeBuffer(int width, int height) {
    auto made = platform::PixelBuffer::create(width, height);
    EXPECT_TRUE(made.buffer);
    return made.buffer;
}

inline platform::PixelBufferRef sceneBuffer(int width, int height) {
    auto buffer = makeBuffer(width, height);
    platform::drawTestScene(*buffer, 0.5);
    return buffer;
}

inline platform::PixelBufferRef solidBuffer(int width, int height, std::uint32_t bgra) {
    auto buffer = makeBuffer(width, height);
    platform::PixelBufferWriteLock lock(*buffer);
    for (std::size_t i = 0; i < buffer->dataSize() / 4; ++i) {
        std::memcpy(lock.data() + i * 4, &bgra, 4);
    }
    return buffer;
}

// Pixels that differ by more than `tolerance` in any channel.
inline std::size_t differingPixels(const platform::PixelBuffer& a, const platform::PixelBuffer& b,
                                   int tolerance) {
    platform::PixelBufferReadLock la(a);
    platform::PixelBufferReadLock lb(b);
    std::size_t count = 0;
    for (int y = 0; y < a.height(); ++y) {
        const std::uint8_t* pa = la.data() + y * a.bytesPerRow();
        const std::uint8_t* pb = lb.data() + y * b.bytesPerRow();
        for (int x = 0; x < a.width(); ++x) {
            for (int c = 0; c < 3; ++c) {
                if (std::abs(pa[x * 4 + c] - pb[x * 4 + c]) > tolerance) {
                    ++count;
                    break;
                }
            }
        }
    }
    return count;
}

inline std::array<int, 3> bgrAt(const platform::PixelBuffer& buffer, int x, int y) {
    platform::PixelBufferReadLock lock(buffer);
    const std::uint8_t* p = lock.data() + y * buffer.bytesPerRow() + x * 4;
    return {p[0], p[1], p[2]};
}

class FramePassTest : public orvane::testing::GLTest {
  protected:
    void SetUp() override {
        orvane::testing::GLTest::SetUp();
        if (IsSkipped()) {
            return;
        }
        ZephrinOpenGLView::setCameraPosition(true);
        ZephrinOpenGLView::setOnlyFrontCamera(false);
        ZephrinOpenGLView::rotateWatermark(3);
        // The cached copies as the camera screen loads them: text alpha, plate, font, sizes.
        screen::loadSettingsAtLaunch(store, screen::DeviceTraits{}, "en");
        cache.setMarginsMode(1);
    }

    void TearDown() override {
        view.reset();
        engine::SharedProgram::releaseAll();
        orvane::testing::GLTest::TearDown();
    }

    ZephrinOpenGLView& makeView(std::int64_t timeRow = 19, std::int64_t position = 0) {
        screen::GLViewStartValues start;
        start.timePosition = position;
        screen::StampLayerStartValues stampStart;
        stampStart.timeFormatIndex = timeRow;
        auto makeDrawer = [this, stampStart] {
            return std::make_unique<stamp::LineDrawer>(store, cache, stampStart, state,
                                                       stamp::DateSettings{"en_US", "UTC"});
        };
        view = std::make_unique<ZephrinOpenGLView>(store, start, contextFactory(), makeDrawer);
        return *view;
    }

    // A view without a stamp layer: the picture and its effects alone.
    ZephrinOpenGLView& makeBareView() {
        view = std::make_unique<ZephrinOpenGLView>(store, screen::GLViewStartValues{},
                                                   contextFactory(), nullptr);
        return *view;
    }

    ZephrinOpenGLView::ContextFactory contextFactory() {
        return [this](std::string&) -> std::unique_ptr<platform::GLContext> {
            return std::make_unique<orvane::testing::BorrowedGLContext>(context());
        };
    }

    platform::PixelBufferRef render(ZephrinOpenGLView& v, const platform::PixelBufferRef& source) {
        v.setDimensions(source->width(), source->height(), 0);
        auto output = makeBuffer(source->width(), source->height());
        EXPECT_EQ(v.displayAndRenderPixelBuffer(source, output, true), 0);
        return output;
    }

    platform::MemoryUserDefaults defaults;
    screen::SettingsCache cache;
    screen::SettingsStore store{defaults, cache};
    foundation::ManualClock clock{kInstant};
    stamp::StampState state{clock};
    std::unique_ptr<ZephrinOpenGLView> view;
};

}  // namespace orvane::compositor::frame_test
