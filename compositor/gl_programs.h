// The compositor's five GL ES 2 programs and their uniform locations, and the two calls every
// draw of a quad makes: the film filter over the
// camera, the plain copy, the plain copy through a matrix, the film filter over an imported
// photo, and the bending mesh. Every program binds attribute 0 to "position" and 1 to
// "texturecoordinate".
#pragma once

#include <string>

#include <GLES2/gl2.h>

#include "engine/gl_objects.h"

namespace orvane::compositor {

inline constexpr GLuint kPositionAttribute = 0;
inline constexpr GLuint kTexCoordAttribute = 1;

struct CompositorPrograms {
    engine::GLProgram program;  // film filter over the camera
    GLint frame = -1;
    GLint filterRGB = -1;
    GLint colorMatrix = -1;
    GLint alphaframe = -1;
    GLint modelMatrix = -1;

    engine::GLProgram passthruProgram;
    GLint passthruFrame = -1;

    engine::GLProgram passthruRotateProgram;
    GLint passthruRotateFrame = -1;
    GLint MVPMatrix = -1;

    engine::GLProgram passthruFilterProgram;  // film filter over the imported photo
    GLint passthruFilterFrame = -1;
    GLint filterFilterRGB = -1;
    GLint colorMatrixFilter = -1;

    engine::GLProgram danceProgram;  // bending mesh
    GLint dancek = -1;
    GLint danceSamplerRGB = -1;
    GLint dancefilterRGB = -1;
    GLint dancecolorMatrix = -1;
    GLint dancemulcamera = -1;
};

// Compiles and links the five programs on the current context. False, with the log in
// `problem`, when one of the first four fails; a failing bending program only leaves its
// uniforms unset (and is logged).
bool compilePrograms(CompositorPrograms& programs, std::string& problem);

// Points the position and texture-coordinate attributes at four vertices of a strip.
void setQuadAttributes(const float* vertices, const float* texCoords);
// Binds `name` on texture `unit`, sampled linearly and clamped at its edges.
void bindTexture(GLenum unit, GLuint name);

}  // namespace orvane::compositor
