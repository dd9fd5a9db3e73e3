// The arithmetic of the frame pass that is not overlay placement: the camera's aspect-fill quad
// and its mirroring, the imported photo's fit-or-fill quad, the compass needle's turn. Pure
// functions, so the frame pass's geometry is tested without GL.
#pragma once

#include <array>

namespace orvane::compositor {

// Four corners as x, y pairs in the order of the texture coordinates (0,0), (1,0), (0,1), (1,1).
using Quad = std::array<float, 8>;
// A 4x4 matrix in GL's column order.
using Matrix4 = std::array<float, 16>;

inline constexpr Quad kUnitTexCoords = {0, 0, 1, 0, 0, 1, 1, 1};
inline constexpr Quad kUprightQuad = {-1, -1, 1, -1, -1, 1, 1, 1};
inline constexpr Matrix4 kIdentityTransform = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

// Aspect-fill (and fit) sizes of a picture of (dw, dh) in a view of (bw, bh): each side's
// overflow as a factor, one of them 1.
struct FillSizes {
    float width = 1;
    float height = 1;
};
FillSizes aspectFillSizes(float boundsWidth, float boundsHeight, float imageWidth,
                          float imageHeight);
FillSizes aspectFitSizes(float boundsWidth, float boundsHeight, float imageWidth,
                         float imageHeight);

// The camera layer's corners and texture coordinates for the camera in use: the overflow along
// one axis runs past the viewport, along the other it is cropped in the texture.
struct CameraQuad {
    Quad vertices{};
    Quad texCoords{};
};
CameraQuad cameraQuad(FillSizes fill, bool backCamera, bool onlyFrontCamera);

// The camera layer's model matrix: the identity, or a mirror for the front camera with the
// mirror setting on (across x in landscape orientations 3 and 4, across y otherwise).
Matrix4 cameraModelMatrix(bool backCamera, bool mirrorFrontCamera, int orientation);

// Whether the camera layer would put every source pixel unchanged in the same place: then the
// frame pass copies memory instead of shading the frame.
bool isIdentityCamera(const CameraQuad& quad, const Matrix4& model);

// The imported photo's corners, blending the fit and fill sizes by the zoom (0 fit, 1 fill).
Quad importedPhotoQuad(float boundsWidth, float boundsHeight, float photoWidth, float photoHeight,
                       float zoomScale);

// The compass matrix: a turn by `radians` in the upper-left block, one way for display types 1
// and 4 (dial turns after the needle), the other for types 0 and 3.
Matrix4 compassRotation(float radians, bool dialAfterNeedle);

// The rectangle (x, y, w, h) cut to a frame of `width` x `height`, as {x, y, w, h}; empty when
// nothing of it lies inside.
std::array<int, 4> clipToFrame(double x, double y, double w, double h, int width, int height);

}  // namespace orvane::compositor
