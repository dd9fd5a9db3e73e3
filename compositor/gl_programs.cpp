#include "compositor/gl_programs.h"

#include "foundation/log.h"

namespace orvane::compositor {
namespace {

// Each channel of the picture looks itself up in the middle half of a vertical ramp, at the
// fragment's own s, so a filter may vary across the frame; then the colour matrix.
#define ORVANE_FILM_FILTER(SOURCE, LUT, MATRIX)         \
    "    mediump vec3 source = texture2D(" SOURCE       \
    ", coordinate).rgb;\n"                              \
    "    mediump float r = texture2D(" LUT              \
    ", vec2(coordinate.x, 0.75 - source.r * 0.5)).r;\n" \
    "    mediump float g = texture2D(" LUT              \
    ", vec2(coordinate.x, 0.75 - source.g * 0.5)).g;\n" \
    "    mediump float b = texture2D(" LUT              \
    ", vec2(coordinate.x, 0.75 - source.b * 0.5)).b;\n" \
    "    gl_FragColor = " MATRIX " * vec4(r, g, b, 1.0);\n"

constexpr const char* kFilterVertex = R"(
attribute vec4 position;
attribute vec4 texturecoordinate;
uniform mat4 amodelview;
varying mediump vec2 coordinate;
void main() {
    gl_Position = amodelview * position;
    coordinate = texturecoordinate.xy;
}
)";

constexpr const char* kFilterFragment =
    "varying mediump vec2 coordinate;\n"
    "uniform sampler2D videoframe;\n"
    "uniform sampler2D filterRGB;\n"
    "uniform sampler2D alphaframe0;\n"
    "uniform mediump mat4 colorMatrix;\n"
    "void main() {\n" ORVANE_FILM_FILTER("videoframe", "filterRGB", "colorMatrix") "}\n";

constexpr const char* kPassthruVertex = R"(
attribute vec4 position;
attribute vec4 texturecoordinate;
varying mediump vec2 coordinate;
void main() {
    gl_Position = position;
    coordinate = texturecoordinate.xy;
}
)";

constexpr const char* kPassthruFragment = R"(
varying mediump vec2 coordinate;
uniform sampler2D videoframe;
void main() {
    gl_FragColor = texture2D(videoframe, coordinate);
}
)";

constexpr const char* kRotateVertex = R"(
attribute vec4 position;
attribute vec4 texturecoordinate;
uniform mat4 MVPMatrix;
varying mediump vec2 coordinate;
void main() {
    gl_Position = MVPMatrix * position;
    coordinate = texturecoordinate.xy;
}
)";

constexpr const char* kPhotoFilterVertex = R"(
attribute vec4 position;
attribute vec4 texturecoordinate;
varying highp vec2 coordinate;
void main() {
    gl_Position = position;
    coordinate = texturecoordinate.xy;
}
)";

constexpr const char* kPhotoFilterFragment =
    "varying highp vec2 coordinate;\n"
    "uniform sampler2D videoframefilter;\n"
    "uniform sampler2D filterRGBfilter;\n"
    "uniform mediump mat4 colorMatrixfilter;\n"
    "void main() {\n" ORVANE_FILM_FILTER("videoframefilter", "filterRGBfilter",
                                         "colorMatrixfilter") "}\n";

// The picture on a bicubic Bezier patch of 16 control points; the small biases keep pow away
// from zero, and the last matrix scales -0.5..0.5 to clip space with w leaning on depth. The
// mesh's t lies a whole texture above the picture (1 to 2) and textures are clamped at their
// edges, so the stage takes that texture off.
constexpr const char* kDanceVertex = R"(
attribute vec4 position;
attribute vec4 texturecoordinate;
uniform vec3 k[16];
uniform float mulcamera;
varying highp vec2 coordinate;
float factorial(int n) {
    if (n == 2) return 2.0;
    if (n == 3) return 6.0;
    return 1.0;
}
float bernstein(int i, float u) {
    float coefficient = factorial(3) / (factorial(i) * factorial(3 - i));
    return coefficient * pow(u + 0.000001, float(i)) * pow(1.0 - u + 0.00001, float(3 - i));
}
void main() {
    float u = 0.5 + position.x;
    float v = position.y * mulcamera + 0.5;
    vec3 point = vec3(0.0);
    for (int j = 0; j < 4; j++) {
        for (int i = 0; i < 4; i++) {
            point += bernstein(i, u) * bernstein(j, v) * k[j * 4 + i];
        }
    }
    point.z += position.z;
    mat4 toClip = mat4(2.0, 0.0, 0.0, 0.0,
                       0.0, 2.0, 0.0, 0.0,
                       0.0, 0.0, 0.0, -0.001,
                       0.0, 0.0, 0.0, 1.0);
    gl_Position = toClip * vec4(point, 1.0);
    coordinate = vec2(texturecoordinate.x, texturecoordinate.y - 1.0);
}
)";

constexpr const char* kDanceFragment =
    "varying highp vec2 coordinate;\n"
    "uniform sampler2D SamplerRGB;\n"
    "uniform sampler2D filterRGB;\n"
    "uniform mediump mat4 colorMatrix;\n"
    "void main() {\n" ORVANE_FILM_FILTER("SamplerRGB", "filterRGB", "colorMatrix") "}\n";

#undef ORVANE_FILM_FILTER

bool build(engine::GLProgram& program, const char* name, const char* vertex, const char* fragment,
           std::string& problem) {
    std::string log;
    program = engine::compileProgram(vertex, fragment, log);
    if (!program) {
        problem = std::string("The ") + name + " program does not build: " + log;
        return false;
    }
    return true;
}

}  // namespace

bool compilePrograms(CompositorPrograms& p, std::string& problem) {
    if (!build(p.program, "film filter", kFilterVertex, kFilterFragment, problem)) {
        return false;
    }
    const GLuint filter = p.program.get();
    p.frame = glGetUniformLocation(filter, "videoframe");
    p.filterRGB = glGetUniformLocation(filter, "filterRGB");
    p.colorMatrix = glGetUniformLocation(filter, "colorMatrix");
    p.alphaframe = glGetUniformLocation(filter, "alphaframe0");
    p.modelMatrix = glGetUniformLocation(filter, "amodelview");

    if (!build(p.passthruProgram, "copy", kPassthruVertex, kPassthruFragment, problem)) {
        return false;
    }
    p.passthruFrame = glGetUniformLocation(p.passthruProgram.get(), "videoframe");

    if (!build(p.passthruRotateProgram, "turning copy", kRotateVertex, kPassthruFragment,
               problem)) {
        return false;
    }
    p.passthruRotateFrame = glGetUniformLocation(p.passthruRotateProgram.get(), "videoframe");
    p.MVPMatrix = glGetUniformLocation(p.passthruRotateProgram.get(), "MVPMatrix");

    if (!build(p.passthruFilterProgram, "photo filter", kPhotoFilterVertex, kPhotoFilterFragment,
               problem)) {
        return false;
    }
    const GLuint photo = p.passthruFilterProgram.get();
    p.passthruFilterFrame = glGetUniformLocation(photo, "videoframefilter");
    p.filterFilterRGB = glGetUniformLocation(photo, "filterRGBfilter");
    p.colorMatrixFilter = glGetUniformLocation(photo, "colorMatrixfilter");

    std::string danceProblem;
    if (build(p.danceProgram, "bending mesh", kDanceVertex, kDanceFragment, danceProblem)) {
        const GLuint dance = p.danceProgram.get();
        p.dancek = glGetUniformLocation(dance, "k");
        p.danceSamplerRGB = glGetUniformLocation(dance, "SamplerRGB");
        p.dancefilterRGB = glGetUniformLocation(dance, "filterRGB");
        p.dancecolorMatrix = glGetUniformLocation(dance, "colorMatrix");
        p.dancemulcamera = glGetUniformLocation(dance, "mulcamera");
    } else {
        foundation::log("%s", danceProblem.c_str());
    }
    return true;
}

void setQuadAttributes(const float* vertices, const float* texCoords) {
    glVertexAttribPointer(kPositionAttribute, 2, GL_FLOAT, GL_FALSE, 0, vertices);
    glEnableVertexAttribArray(kPositionAttribute);
    glVertexAttribPointer(kTexCoordAttribute, 2, GL_FLOAT, GL_FALSE, 0, texCoords);
    glEnableVertexAttribArray(kTexCoordAttribute);
}

void bindTexture(GLenum unit, GLuint name) {
    glActiveTexture(unit);
    glBindTexture(GL_TEXTURE_2D, name);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
}

}  // namespace orvane::compositor
