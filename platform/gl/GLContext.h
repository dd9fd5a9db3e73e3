// A GL ES context that renders off screen: no window, one per view, made current by whichever
// thread draws next. The frame compositor and the scene engine issue their own GL ES calls; this
// interface only stands for the context and its platform.
#pragma once

#include <memory>
#include <string>

namespace orvane::platform {

class GLContext {
  public:
    virtual ~GLContext() = default;

    // Binds the context to the calling thread with no surface; false when the platform refuses.
    virtual bool makeCurrent() = 0;
    // Unbinds whatever context the calling thread holds.
    virtual void doneCurrent() = 0;

    // The ES major version in force: 2, or 3 where the platform offers it (asynchronous
    // readback through pixel buffer objects).
    virtual int majorVersion() const = 0;
    // GL_RENDERER, for logs and benchmark reports ("llvmpipe (LLVM 15.0.6, 256 bits)").
    virtual const std::string& renderer() const = 0;
    // Whether the context offers a GL extension, by its exact name.
    virtual bool hasExtension(const std::string& name) const = 0;
};

}  // namespace orvane::platform
