#include "engine/gl_objects.h"

#include <mutex>
#include <vector>

#include "foundation/log.h"
#include "platform/gl/GLContext.h"

namespace orvane::engine {
namespace gl_detail {

void deleteTexture(GLuint name) {
    glDeleteTextures(1, &name);
}
void deleteFramebuffer(GLuint name) {
    glDeleteFramebuffers(1, &name);
}
void deleteBuffer(GLuint name) {
    glDeleteBuffers(1, &name);
}
void deleteProgram(GLuint name) {
    glDeleteProgram(name);
}
void deleteShader(GLuint name) {
    glDeleteShader(name);
}

}  // namespace gl_detail

namespace {

template <typename Getiv, typename GetLog>
std::string infoLog(GLuint object, Getiv getiv, GetLog getLog) {
    GLint length = 0;
    getiv(object, GL_INFO_LOG_LENGTH, &length);
    if (length <= 1) {
        return {};
    }
    std::vector<char> text(static_cast<std::size_t>(length));
    GLsizei written = 0;
    getLog(object, length, &written, text.data());
    return std::string(text.data(), static_cast<std::size_t>(written));
}

std::mutex registryMutex;
SharedProgram* registry = nullptr;

}  // namespace

GLTexture makeTexture() {
    GLuint name = 0;
    glGenTextures(1, &name);
    return GLTexture(name);
}

GLFramebuffer makeFramebuffer() {
    GLuint name = 0;
    glGenFramebuffers(1, &name);
    return GLFramebuffer(name);
}

GLBuffer makeBuffer() {
    GLuint name = 0;
    glGenBuffers(1, &name);
    return GLBuffer(name);
}

GLShader compileShader(GLenum stage, const char* source, std::string& log) {
    GLShader shader(glCreateShader(stage));
    if (!shader) {
        log = "glCreateShader failed";
        return {};
    }
    glShaderSource(shader.get(), 1, &source, nullptr);
    glCompileShader(shader.get());
    GLint compiled = GL_FALSE;
    glGetShaderiv(shader.get(), GL_COMPILE_STATUS, &compiled);
    if (compiled != GL_TRUE) {
        log = std::string(stage == GL_VERTEX_SHADER ? "vertex" : "fragment") +
              " shader: " + infoLog(shader.get(), glGetShaderiv, glGetShaderInfoLog);
        return {};
    }
    return shader;
}

GLProgram compileProgram(const char* vertex, const char* fragment, std::string& log) {
    log.clear();
    const GLShader vertexShader = compileShader(GL_VERTEX_SHADER, vertex, log);
    if (!vertexShader) {
        return {};
    }
    const GLShader fragmentShader = compileShader(GL_FRAGMENT_SHADER, fragment, log);
    if (!fragmentShader) {
        return {};
    }
    GLProgram program(glCreateProgram());
    if (!program) {
        log = "glCreateProgram failed";
        return {};
    }
    glAttachShader(program.get(), vertexShader.get());
    glAttachShader(program.get(), fragmentShader.get());
    glBindAttribLocation(program.get(), 0, "position");
    glBindAttribLocation(program.get(), 1, "texturecoordinate");
    glLinkProgram(program.get());
    GLint linked = GL_FALSE;
    glGetProgramiv(program.get(), GL_LINK_STATUS, &linked);
    if (linked != GL_TRUE) {
        log = "link: " + infoLog(program.get(), glGetProgramiv, glGetProgramInfoLog);
        return {};
    }
    // The program keeps what it needs; the shaders go with their holders.
    glDetachShader(program.get(), vertexShader.get());
    glDetachShader(program.get(), fragmentShader.get());
    return program;
}

SharedProgram::SharedProgram(const char* name, const char* vertex, const char* fragment)
    : _name(name), _vertex(vertex), _fragment(fragment) {
    std::lock_guard lock(registryMutex);
    _next = registry;
    registry = this;
}

SharedProgram::~SharedProgram() {
    std::lock_guard lock(registryMutex);
    for (SharedProgram** link = &registry; *link != nullptr; link = &(*link)->_next) {
        if (*link == this) {
            *link = _next;
            break;
        }
    }
    // At exit no context is current any more: the name goes with the context, not here.
    (void)_program.release();
}

GLuint SharedProgram::get() {
    if (!_program) {
        std::string log;
        _program = compileProgram(_vertex, _fragment, log);
        if (!_program) {
            foundation::log("The %s program does not build: %s", _name, log.c_str());
            return 0;
        }
        ++_generation;
    }
    return _program.get();
}

void SharedProgram::releaseAll() {
    std::lock_guard lock(registryMutex);
    for (SharedProgram* each = registry; each != nullptr; each = each->_next) {
        each->_program.reset();
    }
}

GLCapabilities GLCapabilities::of(const platform::GLContext& context) {
    const bool es3 = context.majorVersion() >= 3;
    GLCapabilities capabilities;
    capabilities.bgraTextures = context.hasExtension("GL_EXT_texture_format_BGRA8888");
    capabilities.bgraReadback = context.hasExtension("GL_EXT_read_format_bgra");
    capabilities.unpackRowLength = es3 || context.hasExtension("GL_EXT_unpack_subimage");
    capabilities.packRowLength = es3 || context.hasExtension("GL_NV_pack_subimage");
    capabilities.pixelBufferObjects = es3;
    return capabilities;
}

}  // namespace orvane::engine
