// The EGL context against the machine's real EGL: made on each platform, drawn into, and used
// from two threads at once.
#include <gtest/gtest.h>

#include <GLES2/gl2.h>

#include <stdlib.h>

#include <array>
#include <cstdint>
#include <thread>

#include "platform/gl/EglContext.h"

namespace orvane::platform {
namespace {

#if defined(__SANITIZE_THREAD__)
// ThreadSanitizer cannot see how llvmpipe's workers synchronise inside the uninstrumented
// driver; without them, every thread is one of ours (see tests/engine/gl_test_support.h).
[[maybe_unused]] const bool llvmpipeWithoutWorkers = [] {
    return setenv("LP_NUM_THREADS", "0", 0) == 0;
}();
#endif

using Platform = EglContext::Platform;

// Clears a 4 x 4 texture framebuffer to the colour and reads one pixel back.
std::array<std::uint8_t, 4> clearAndRead(float r, float g, float b, float a) {
    GLuint texture = 0;
    GLuint framebuffer = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 4, 4, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
    glGenFramebuffers(1, &framebuffer);
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
    std::array<std::uint8_t, 4> pixel{};
    if (glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE) {
        glViewport(0, 0, 4, 4);
        glClearColor(r, g, b, a);
        glClear(GL_COLOR_BUFFER_BIT);
        glReadPixels(3, 2, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, pixel.data());
    }
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    glDeleteFramebuffers(1, &framebuffer);
    glDeleteTextures(1, &texture);
    return pixel;
}

std::unique_ptr<GLContext> makeOrSkip(Platform which, std::string& problem) {
    auto context = EglContext::create(which, problem);
    if (!context) {
        EXPECT_FALSE(problem.empty()) << "a failure must say why";
    }
    return context;
}

TEST(EglContextTest, NamesOfPlatforms) {
    EXPECT_EQ(EglContext::platformFromName("auto"), Platform::automatic);
    EXPECT_EQ(EglContext::platformFromName("device"), Platform::device);
    EXPECT_EQ(EglContext::platformFromName("surfaceless"), Platform::surfaceless);
    for (const char* bad : {"", "Auto", "gbm", "surfaceless ", "x11"}) {
        EXPECT_FALSE(EglContext::platformFromName(bad).has_value()) << bad;
    }
    for (const Platform which : {Platform::automatic, Platform::device, Platform::surfaceless}) {
        EXPECT_EQ(EglContext::platformFromName(EglContext::nameOf(which)), which);
    }
}

TEST(EglContextTest, EachPlatformDrawsOrSaysWhyNot) {
    int made = 0;
    for (const Platform which : {Platform::automatic, Platform::surfaceless, Platform::device}) {
        SCOPED_TRACE(EglContext::nameOf(which));
        std::string problem;
        auto context = makeOrSkip(which, problem);
        if (!context) {
            // Only the device platform may be missing: automatic falls back to surfaceless.
            EXPECT_EQ(which, Platform::device) << problem;
            continue;
        }
        ++made;
        EXPECT_TRUE(problem.empty()) << problem;
        EXPECT_FALSE(context->renderer().empty());
        EXPECT_TRUE(context->majorVersion() == 2 || context->majorVersion() == 3);
        EXPECT_FALSE(context->hasExtension("GL_NOT_AN_EXTENSION"));
        EXPECT_FALSE(static_cast<EglContext&>(*context).description().empty());

        const auto pixel = clearAndRead(1.0f, 0.5f, 0.0f, 1.0f);
        EXPECT_EQ(pixel[0], 255);
        EXPECT_NEAR(pixel[1], 128, 1);
        EXPECT_EQ(pixel[2], 0);
        EXPECT_EQ(pixel[3], 255);
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
        context->doneCurrent();
    }
    if (made == 0) {
        GTEST_SKIP() << "no EGL platform gives a context here";
    }
}

TEST(EglContextTest, ContextsLiveSideBySideAndOutliveEachOther) {
    std::string problem;
    auto first = makeOrSkip(Platform::automatic, problem);
    if (!first) {
        GTEST_SKIP() << problem;
    }
    auto second = makeOrSkip(Platform::automatic, problem);
    ASSERT_TRUE(second) << problem;
    // The first goes while the second still shares its display: the second must keep working.
    first.reset();
    ASSERT_TRUE(second->makeCurrent());
    EXPECT_EQ(clearAndRead(0.0f, 0.0f, 1.0f, 1.0f)[2], 255);
    second->doneCurrent();
    second.reset();
    // And a new one after the last has gone.
    auto third = makeOrSkip(Platform::automatic, problem);
    ASSERT_TRUE(third) << problem;
    EXPECT_EQ(clearAndRead(0.0f, 1.0f, 0.0f, 1.0f)[1], 255);
}

TEST(EglContextTest, TwoThreadsDrawAtOnceEachInItsOwnContext) {
    std::string problem;
    auto red = makeOrSkip(Platform::automatic, problem);
    if (!red) {
        GTEST_SKIP() << problem;
    }
    auto green = makeOrSkip(Platform::automatic, problem);
    ASSERT_TRUE(green) << problem;
    // A context current here could not be made current on the drawing threads.
    red->doneCurrent();

    // Each thread clears and reads back many times, so the two truly overlap.
    auto draw = [](GLContext& context, float r, float g, int& wrong, bool& current) {
        current = context.makeCurrent();
        if (!current) {
            return;
        }
        for (int round = 0; round < 50; ++round) {
            const auto pixel = clearAndRead(r, g, 0.0f, 1.0f);
            if (pixel[0] != static_cast<std::uint8_t>(r * 255) ||
                pixel[1] != static_cast<std::uint8_t>(g * 255)) {
                ++wrong;
            }
        }
        context.doneCurrent();
    };
    int redWrong = 0;
    int greenWrong = 0;
    bool redCurrent = false;
    bool greenCurrent = false;
    std::thread redThread(draw, std::ref(*red), 1.0f, 0.0f, std::ref(redWrong),
                          std::ref(redCurrent));
    std::thread greenThread(draw, std::ref(*green), 0.0f, 1.0f, std::ref(greenWrong),
                            std::ref(greenCurrent));
    redThread.join();
    greenThread.join();
    EXPECT_TRUE(redCurrent);
    EXPECT_TRUE(greenCurrent);
    EXPECT_EQ(redWrong, 0);
    EXPECT_EQ(greenWrong, 0);
}

}  // namespace
}  // namespace orvane::platform
