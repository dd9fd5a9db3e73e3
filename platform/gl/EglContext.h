// The GL context on Linux: an EGL context with no surface, on the EGL device platform where a
// real GPU is present, else on Mesa's surfaceless platform (llvmpipe on a machine without one).
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/gl/GLContext.h"

namespace orvane::platform {

class EglContext final : public GLContext {
  public:
    enum class Platform {
        automatic,    // a hardware device if one is found, else surfaceless
        device,       // EGL_EXT_platform_device: a hardware device, else the software one
        surfaceless,  // EGL_MESA_platform_surfaceless
    };

    // "auto", "device" or "surfaceless"; anything else has no platform.
    static std::optional<Platform> platformFromName(std::string_view name);
    // The name platformFromName reads back.
    static const char* nameOf(Platform which);

    // A GL ES context (3 where offered, else 2), current on the calling thread when this returns.
    // On failure returns null and sets `problem` to a sentence naming the EGL call and its error.
    static std::unique_ptr<GLContext> create(Platform which, std::string& problem);

    // Releases the context from the calling thread if it is current there; the context must not
    // be current on any other thread.
    ~EglContext() override;
    EglContext(const EglContext&) = delete;
    EglContext& operator=(const EglContext&) = delete;

    // Safe from any thread; a context is current on at most one thread at a time.
    bool makeCurrent() override;
    void doneCurrent() override;

    int majorVersion() const override;
    const std::string& renderer() const override;
    bool hasExtension(const std::string& name) const override;

    // Which platform the context runs on, and the device's name where there is one: for logs.
    const std::string& description() const;

    struct State;

  private:
    explicit EglContext(std::unique_ptr<State> state);

    std::unique_ptr<State> _state;
};

}  // namespace orvane::platform
