// Owners for GL names (textures, framebuffers, buffers, programs, shaders), shader compilation,
// programs shared by every object of one kind, and what the current context can do.
//
// Every holder deletes its name when it goes, so the context that made it must be current then.
#pragma once

#include <GLES2/gl2.h>

#include <string>
#include <utility>

namespace orvane::platform {
class GLContext;
}

namespace orvane::engine {

namespace gl_detail {
void deleteTexture(GLuint name);
void deleteFramebuffer(GLuint name);
void deleteBuffer(GLuint name);
void deleteProgram(GLuint name);
void deleteShader(GLuint name);
}  // namespace gl_detail

// Owns one GL name; moves, never copies. An empty holder has name 0.
template <void (*Delete)(GLuint)>
class GLName {
  public:
    GLName() = default;
    explicit GLName(GLuint name) : _name(name) {}
    GLName(GLName&& other) noexcept : _name(std::exchange(other._name, 0)) {}
    GLName& operator=(GLName&& other) noexcept {
        if (this != &other) {
            reset(std::exchange(other._name, 0));
        }
        return *this;
    }
    GLName(const GLName&) = delete;
    GLName& operator=(const GLName&) = delete;
    ~GLName() { reset(); }

    GLuint get() const { return _name; }
    explicit operator bool() const { return _name != 0; }
    // Gives the name up without deleting it.
    GLuint release() { return std::exchange(_name, 0); }
    // Deletes the name held and holds `name` instead.
    void reset(GLuint name = 0) {
        if (_name != 0) {
            Delete(_name);
        }
        _name = name;
    }

  private:
    GLuint _name = 0;
};

using GLTexture = GLName<gl_detail::deleteTexture>;
using GLFramebuffer = GLName<gl_detail::deleteFramebuffer>;
using GLBuffer = GLName<gl_detail::deleteBuffer>;
using GLProgram = GLName<gl_detail::deleteProgram>;
using GLShader = GLName<gl_detail::deleteShader>;

// New names from the current context.
GLTexture makeTexture();
GLFramebuffer makeFramebuffer();
GLBuffer makeBuffer();

// Compiles one stage; an empty holder and the compiler's log on failure.
GLShader compileShader(GLenum stage, const char* source, std::string& log);

// Compiles and links a program whose attribute 0 is "position" and attribute 1
// "texturecoordinate". Sources are GLSL ES 1.00 and carry their own precision lines. On failure
// returns an empty holder with the compiler's or linker's log, naming the stage that failed.
GLProgram compileProgram(const char* vertex, const char* fragment, std::string& log);

// A program every object of a kind shares (all sprites, all particle systems): compiled on
// first use on the current context and kept for the process. GL names belong to one context,
// so only one context at a time draws with shared programs; an owner that lets its context go
// calls releaseAll first, with that context current, and the next context compiles its own.
// Instances are static objects of the kinds that use them. Used from the thread that holds the
// context.
class SharedProgram {
  public:
    SharedProgram(const char* name, const char* vertex, const char* fragment);
    SharedProgram(const SharedProgram&) = delete;
    SharedProgram& operator=(const SharedProgram&) = delete;
    ~SharedProgram();

    // The program on the current context, or 0 when it does not compile (logged once per
    // attempt; a later call tries again).
    GLuint get();
    // Counts the compilations, so that a caller keeping uniform locations knows when to look
    // them up again.
    unsigned generation() const { return _generation; }

    // Deletes every shared program of the process; the context that made them must be current.
    static void releaseAll();

  private:
    const char* _name;
    const char* _vertex;
    const char* _fragment;
    GLProgram _program;
    unsigned _generation = 0;
    SharedProgram* _next = nullptr;
};

// What the context offers for moving pixels, read once from the context. Tests turn features
// off to drive the fallback roads.
struct GLCapabilities {
    bool bgraTextures = false;        // GL_EXT_texture_format_BGRA8888: BGRA uploads
    bool bgraReadback = false;        // GL_EXT_read_format_bgra: BGRA glReadPixels
    bool unpackRowLength = false;     // ES 3 or GL_EXT_unpack_subimage: rectangles in one upload
    bool packRowLength = false;       // ES 3: rectangles read straight into a wider buffer
    bool pixelBufferObjects = false;  // ES 3: asynchronous readback

    static GLCapabilities of(const platform::GLContext& context);
};

}  // namespace orvane::engine
