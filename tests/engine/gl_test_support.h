// A real GL ES context for tests: one per test program, made on first use and current on the
// test's thread for the length of each test. Tests derive from GLTest; on a machine where no
// context can be made they are skipped with EGL's own reason.
#pragma once

#include <gtest/gtest.h>

#include <GLES2/gl2.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "foundation/log.h"

#include "platform/gl/EglContext.h"
#include "platform/gl/GLContext.h"

namespace orvane::testing {

#if defined(__SANITIZE_THREAD__)
// llvmpipe rasterises on worker threads that synchronise through Mesa's own futex primitives,
// which ThreadSanitizer cannot see in the uninstrumented driver, so it reports races wholly
// inside Mesa. Without the workers, every thread in the program is one of ours and every report
// is about our own use of GL. Set before the first context; an explicit setting wins.
[[maybe_unused]] inline const bool llvmpipeWithoutWorkers = [] {
    return setenv("LP_NUM_THREADS", "0", 0) == 0;
}();
#endif

struct SharedGLContext {
    std::unique_ptr<platform::GLContext> context;
    std::string problem;
};

// The program's context, or null with the problem. Made once; it lives until the program exits.
inline SharedGLContext& sharedGLContext() {
    static SharedGLContext shared = [] {
        // Tests write no shader cache into the user's home, and Mesa starts no thread to write
        // one. An explicit setting wins.
        setenv("MESA_SHADER_CACHE_DISABLE", "true", 0);
        SharedGLContext made;
        made.context =
            platform::EglContext::create(platform::EglContext::Platform::automatic, made.problem);
        return made;
    }();
    return shared;
}

// The test program's context lent to an owner that wants one of its own (a view): the scene
// engine's shared programs and textures live on one context at a time.
class BorrowedGLContext : public platform::GLContext {
  public:
    explicit BorrowedGLContext(platform::GLContext& context) : _context(context) {}
    bool makeCurrent() override { return _context.makeCurrent(); }
    void doneCurrent() override {}
    int majorVersion() const override { return _context.majorVersion(); }
    const std::string& renderer() const override { return _context.renderer(); }
    bool hasExtension(const std::string& name) const override {
        return _context.hasExtension(name);
    }

  private:
    platform::GLContext& _context;
};

class GLTest : public ::testing::Test {
  protected:
    void SetUp() override {
        auto& shared = sharedGLContext();
        if (!shared.context) {
            GTEST_SKIP() << "no GL ES context on this machine: " << shared.problem;
        }
        ASSERT_TRUE(shared.context->makeCurrent());
        // Errors left by an earlier test must not be blamed on this one.
        while (glGetError() != GL_NO_ERROR) {
        }
    }

    void TearDown() override {
        auto& shared = sharedGLContext();
        if (shared.context) {
            EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR))
                << "GL error left by the test";
            shared.context->doneCurrent();
        }
    }

    platform::GLContext& context() { return *sharedGLContext().context; }
};

// One pixel's four components, for comparisons with a tolerance.
struct Rgba {
    int r = 0;
    int g = 0;
    int b = 0;
    int a = 0;
};

inline Rgba pixelAt(const std::vector<std::uint8_t>& rgba, int width, int x, int y) {
    const auto at = (static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                     static_cast<std::size_t>(x)) *
                    4;
    return {rgba[at], rgba[at + 1], rgba[at + 2], rgba[at + 3]};
}

// Whether every component is within `tolerance` of the expected one; rasterisers may differ
// by a step or two in blending and filtering.
inline ::testing::AssertionResult pixelNear(Rgba actual, Rgba expected, int tolerance = 2) {
    if (std::abs(actual.r - expected.r) <= tolerance &&
        std::abs(actual.g - expected.g) <= tolerance &&
        std::abs(actual.b - expected.b) <= tolerance &&
        std::abs(actual.a - expected.a) <= tolerance) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure()
           << "pixel (" << actual.r << ", " << actual.g << ", " << actual.b << ", " << actual.a
           << ") is not within " << tolerance << " of (" << expected.r << ", " << expected.g << ", "
           << expected.b << ", " << expected.a << ")";
}

// Collects the log lines written while it lives, from any thread.
class LogCapture {
  public:
    LogCapture() {
        foundation::setLogSink([this](const std::string& line) {
            std::lock_guard lock(_mutex);
            _lines.push_back(line);
        });
    }
    ~LogCapture() { foundation::setLogSink({}); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<std::string> lines() const {
        std::lock_guard lock(_mutex);
        return _lines;
    }
    void clear() {
        std::lock_guard lock(_mutex);
        _lines.clear();
    }

  private:
    mutable std::mutex _mutex;
    std::vector<std::string> _lines;
};

}  // namespace orvane::testing
