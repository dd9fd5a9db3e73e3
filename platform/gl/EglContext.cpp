#include "platform/gl/EglContext.h"

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES2/gl2.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <mutex>
#include <set>
#include <sstream>
#include <vector>

namespace orvane::platform {
namespace {

std::string errorText(EGLint error) {
    static const std::map<EGLint, const char*> names = {
        {EGL_SUCCESS, "EGL_SUCCESS"},
        {EGL_NOT_INITIALIZED, "EGL_NOT_INITIALIZED"},
        {EGL_BAD_ACCESS, "EGL_BAD_ACCESS"},
        {EGL_BAD_ALLOC, "EGL_BAD_ALLOC"},
        {EGL_BAD_ATTRIBUTE, "EGL_BAD_ATTRIBUTE"},
        {EGL_BAD_CONFIG, "EGL_BAD_CONFIG"},
        {EGL_BAD_CONTEXT, "EGL_BAD_CONTEXT"},
        {EGL_BAD_CURRENT_SURFACE, "EGL_BAD_CURRENT_SURFACE"},
        {EGL_BAD_DISPLAY, "EGL_BAD_DISPLAY"},
        {EGL_BAD_MATCH, "EGL_BAD_MATCH"},
        {EGL_BAD_NATIVE_PIXMAP, "EGL_BAD_NATIVE_PIXMAP"},
        {EGL_BAD_NATIVE_WINDOW, "EGL_BAD_NATIVE_WINDOW"},
        {EGL_BAD_PARAMETER, "EGL_BAD_PARAMETER"},
        {EGL_BAD_SURFACE, "EGL_BAD_SURFACE"},
        {EGL_CONTEXT_LOST, "EGL_CONTEXT_LOST"},
        {EGL_BAD_DEVICE_EXT, "EGL_BAD_DEVICE_EXT"},
    };
    const auto found = names.find(error);
    char text[64];
    std::snprintf(text, sizeof text, "%s (0x%04X)",
                  found != names.end() ? found->second : "unknown EGL error",
                  static_cast<unsigned>(error));
    return text;
}

// "eglInitialize failed: EGL_NOT_INITIALIZED (0x3001)", with the error EGL holds now.
std::string failure(const char* call) {
    return std::string(call) + " failed: " + errorText(eglGetError());
}

bool hasWord(const char* list, std::string_view word) {
    if (list == nullptr) {
        return false;
    }
    std::istringstream words{std::string(list)};
    std::string each;
    while (words >> each) {
        if (each == word) {
            return true;
        }
    }
    return false;
}

// EGL keeps one initialisation per display, not one per user, and eglTerminate ends it for every
// context on the display at once. The displays are therefore never terminated: with Mesa,
// terminating unloads the DRI driver, whose own caches are then lost (a small leak per cycle that
// LeakSanitizer reports from the unloaded module), and the next context pays for loading the
// driver and starting llvmpipe's threads again. A process that draws keeps GL for its lifetime,
// so the display stays initialised until exit. Initialising an initialised display does nothing;
// the mutex only keeps two first contexts from initialising one display at once.
std::mutex displayMutex;

bool initializeDisplay(EGLDisplay display, std::string& problem) {
    std::lock_guard lock(displayMutex);
    EGLint major = 0;
    EGLint minor = 0;
    if (eglInitialize(display, &major, &minor) != EGL_TRUE) {
        problem = failure("eglInitialize");
        return false;
    }
    return true;
}

struct Display {
    EGLDisplay display = EGL_NO_DISPLAY;
    std::string description;
};

std::optional<Display> deviceDisplay(bool allowSoftware, std::string& problem) {
    const char* clientExtensions = eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS);
    if (!hasWord(clientExtensions, "EGL_EXT_platform_device") ||
        !(hasWord(clientExtensions, "EGL_EXT_device_enumeration") ||
          hasWord(clientExtensions, "EGL_EXT_device_base"))) {
        problem = "EGL offers no device platform (EGL_EXT_platform_device)";
        return std::nullopt;
    }
    const auto queryDevices =
        reinterpret_cast<PFNEGLQUERYDEVICESEXTPROC>(eglGetProcAddress("eglQueryDevicesEXT"));
    const auto queryDeviceString = reinterpret_cast<PFNEGLQUERYDEVICESTRINGEXTPROC>(
        eglGetProcAddress("eglQueryDeviceStringEXT"));
    if (queryDevices == nullptr || queryDeviceString == nullptr) {
        problem = "EGL lists the device platform but not eglQueryDevicesEXT";
        return std::nullopt;
    }
    EGLint count = 0;
    if (queryDevices(0, nullptr, &count) != EGL_TRUE) {
        problem = failure("eglQueryDevicesEXT");
        return std::nullopt;
    }
    std::vector<EGLDeviceEXT> devices(static_cast<std::size_t>(count));
    if (count > 0 && queryDevices(count, devices.data(), &count) != EGL_TRUE) {
        problem = failure("eglQueryDevicesEXT");
        return std::nullopt;
    }
    devices.resize(static_cast<std::size_t>(std::max(count, 0)));

    // A real GPU first; Mesa's software device only when asked for the device platform itself.
    EGLDeviceEXT chosen = nullptr;
    EGLDeviceEXT software = nullptr;
    for (EGLDeviceEXT device : devices) {
        const char* extensions = queryDeviceString(device, EGL_EXTENSIONS);
        if (hasWord(extensions, "EGL_MESA_device_software")) {
            software = software != nullptr ? software : device;
        } else if (chosen == nullptr) {
            chosen = device;
        }
    }
    std::string description;
    if (chosen != nullptr) {
        const char* extensions = queryDeviceString(chosen, EGL_EXTENSIONS);
        const char* file = hasWord(extensions, "EGL_EXT_device_drm")
                               ? queryDeviceString(chosen, EGL_DRM_DEVICE_FILE_EXT)
                               : nullptr;
        description = std::string("EGL device ") + (file != nullptr ? file : "(unnamed)");
    } else if (allowSoftware && software != nullptr) {
        chosen = software;
        description = "EGL device (software)";
    } else {
        problem = devices.empty() ? "EGL lists no device"
                                  : "EGL lists no device but the software renderer";
        return std::nullopt;
    }
    EGLDisplay display = eglGetPlatformDisplay(EGL_PLATFORM_DEVICE_EXT, chosen, nullptr);
    if (display == EGL_NO_DISPLAY) {
        problem = failure("eglGetPlatformDisplay");
        return std::nullopt;
    }
    return Display{display, description};
}

std::optional<Display> surfacelessDisplay(std::string& problem) {
    if (!hasWord(eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS), "EGL_MESA_platform_surfaceless")) {
        problem = "EGL offers no surfaceless platform (EGL_MESA_platform_surfaceless)";
        return std::nullopt;
    }
    EGLDisplay display =
        eglGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
    if (display == EGL_NO_DISPLAY) {
        problem = failure("eglGetPlatformDisplay");
        return std::nullopt;
    }
    return Display{display, "EGL surfaceless"};
}

}  // namespace

struct EglContext::State {
    EGLDisplay display = EGL_NO_DISPLAY;
    EGLContext context = EGL_NO_CONTEXT;
    std::string description;
    std::string renderer;
    int majorVersion = 2;
    std::set<std::string, std::less<>> extensions;

    State() = default;
    State(const State&) = delete;
    State& operator=(const State&) = delete;
    ~State() {
        if (context != EGL_NO_CONTEXT) {
            if (eglGetCurrentContext() == context) {
                eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
            }
            eglDestroyContext(display, context);
        }
    }
};

namespace {

// Makes the context on an initialised display: ES 3 if it is offered, else ES 2, without a
// config where EGL allows it.
bool makeContext(EglContext::State& state, std::string& problem) {
    if (eglBindAPI(EGL_OPENGL_ES_API) != EGL_TRUE) {
        problem = failure("eglBindAPI");
        return false;
    }
    const char* extensions = eglQueryString(state.display, EGL_EXTENSIONS);
    if (!hasWord(extensions, "EGL_KHR_surfaceless_context")) {
        problem = state.description +
                  " cannot make a context current without a surface "
                  "(EGL_KHR_surfaceless_context)";
        return false;
    }
    const bool noConfig = hasWord(extensions, "EGL_KHR_no_config_context");
    for (const EGLint version : {3, 2}) {
        EGLConfig config = EGL_NO_CONFIG_KHR;
        if (!noConfig) {
            const EGLint renderable = version == 3 ? EGL_OPENGL_ES3_BIT : EGL_OPENGL_ES2_BIT;
            const EGLint attributes[] = {EGL_RENDERABLE_TYPE,
                                         renderable,
                                         EGL_SURFACE_TYPE,
                                         0,
                                         EGL_RED_SIZE,
                                         8,
                                         EGL_GREEN_SIZE,
                                         8,
                                         EGL_BLUE_SIZE,
                                         8,
                                         EGL_ALPHA_SIZE,
                                         8,
                                         EGL_NONE};
            EGLint found = 0;
            if (eglChooseConfig(state.display, attributes, &config, 1, &found) != EGL_TRUE) {
                problem = failure("eglChooseConfig");
                continue;
            }
            if (found == 0) {
                problem =
                    "eglChooseConfig found no RGBA8 config for GL ES " + std::to_string(version);
                continue;
            }
        }
        const EGLint attributes[] = {EGL_CONTEXT_CLIENT_VERSION, version, EGL_NONE};
        state.context = eglCreateContext(state.display, config, EGL_NO_CONTEXT, attributes);
        if (state.context != EGL_NO_CONTEXT) {
            return true;
        }
        problem = failure("eglCreateContext");
    }
    return false;
}

}  // namespace

std::optional<EglContext::Platform> EglContext::platformFromName(std::string_view name) {
    if (name == "auto") {
        return Platform::automatic;
    }
    if (name == "device") {
        return Platform::device;
    }
    if (name == "surfaceless") {
        return Platform::surfaceless;
    }
    return std::nullopt;
}

const char* EglContext::nameOf(Platform which) {
    switch (which) {
        case Platform::automatic:
            return "auto";
        case Platform::device:
            return "device";
        case Platform::surfaceless:
            return "surfaceless";
    }
    return "auto";
}

std::unique_ptr<GLContext> EglContext::create(Platform which, std::string& problem) {
    problem.clear();
    std::optional<Display> display;
    std::string deviceProblem;
    if (which != Platform::surfaceless) {
        display = deviceDisplay(which == Platform::device, deviceProblem);
        if (!display && which == Platform::device) {
            problem = deviceProblem;
            return nullptr;
        }
    }
    if (!display) {
        display = surfacelessDisplay(problem);
        if (!display) {
            if (!deviceProblem.empty()) {
                problem = deviceProblem + "; " + problem;
            }
            return nullptr;
        }
    }

    auto state = std::make_unique<State>();
    if (!initializeDisplay(display->display, problem)) {
        return nullptr;
    }
    state->display = display->display;
    state->description = display->description;
    if (!makeContext(*state, problem)) {
        return nullptr;
    }
    if (eglMakeCurrent(state->display, EGL_NO_SURFACE, EGL_NO_SURFACE, state->context) !=
        EGL_TRUE) {
        problem = failure("eglMakeCurrent");
        return nullptr;
    }

    const auto* renderer = reinterpret_cast<const char*>(glGetString(GL_RENDERER));
    const auto* version = reinterpret_cast<const char*>(glGetString(GL_VERSION));
    const auto* extensions = reinterpret_cast<const char*>(glGetString(GL_EXTENSIONS));
    if (renderer == nullptr || version == nullptr) {
        problem = "glGetString answered nothing on a current " + state->description + " context";
        return nullptr;
    }
    state->renderer = renderer;
    int major = 0;
    if (std::sscanf(version, "OpenGL ES %d", &major) != 1 || major < 2) {
        problem = std::string("the context is not GL ES 2 or later: ") + version;
        return nullptr;
    }
    state->majorVersion = std::min(major, 3);
    if (extensions != nullptr) {
        std::istringstream words{std::string(extensions)};
        std::string each;
        while (words >> each) {
            state->extensions.insert(each);
        }
    }
    return std::unique_ptr<GLContext>(new EglContext(std::move(state)));
}

EglContext::EglContext(std::unique_ptr<State> state) : _state(std::move(state)) {}

EglContext::~EglContext() = default;

bool EglContext::makeCurrent() {
    // Making the current context current again is not free: drivers flush on every call. The
    // frame path asks several times a frame.
    if (eglGetCurrentContext() == _state->context && eglQueryAPI() == EGL_OPENGL_ES_API) {
        return true;
    }
    // The client API is per thread; ES is the default, but a thread may have bound another.
    eglBindAPI(EGL_OPENGL_ES_API);
    return eglMakeCurrent(_state->display, EGL_NO_SURFACE, EGL_NO_SURFACE, _state->context) ==
           EGL_TRUE;
}

void EglContext::doneCurrent() {
    EGLDisplay display = eglGetCurrentDisplay();
    if (display != EGL_NO_DISPLAY) {
        eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    }
}

int EglContext::majorVersion() const {
    return _state->majorVersion;
}

const std::string& EglContext::renderer() const {
    return _state->renderer;
}

bool EglContext::hasExtension(const std::string& name) const {
    return _state->extensions.find(name) != _state->extensions.end();
}

const std::string& EglContext::description() const {
    return _state->description;
}

}  // namespace orvane::platform
