#include "compositor/frame_geometry.h"

#include <algorithm>
#include <cmath>

namespace orvane::compositor {
namespace {

// The fit sizes: the picture's extent on each axis relative to the view, one of them 1.
FillSizes fitRatios(float bw, float bh, float dw, float dh) {
    if (bw <= 0 || bh <= 0 || dw <= 0 || dh <= 0) {
        return {};
    }
    const float rw = bw / dw;
    const float rh = bh / dh;
    if (rh > rw) {
        return {bw / (rh * dw), 1.0f};
    }
    return {1.0f, bh / (rw * dh)};
}

}  // namespace

FillSizes aspectFitSizes(float boundsWidth, float boundsHeight, float imageWidth,
                         float imageHeight) {
    return fitRatios(boundsWidth, boundsHeight, imageWidth, imageHeight);
}

FillSizes aspectFillSizes(float boundsWidth, float boundsHeight, float imageWidth,
                          float imageHeight) {
    const FillSizes fit = fitRatios(boundsWidth, boundsHeight, imageWidth, imageHeight);
    const float smaller = std::min(fit.width, fit.height);
    return {fit.width / smaller, fit.height / smaller};
}

CameraQuad cameraQuad(FillSizes fill, bool backCamera, bool onlyFrontCamera) {
    CameraQuad quad;
    if (backCamera) {
        quad.vertices = {-1, -1, 1, -1, -1, 1, 1, 1};
    } else if (onlyFrontCamera) {
        quad.vertices = {1, -1, -1, -1, 1, 1, -1, 1};
    } else {
        quad.vertices = {-1, 1, 1, 1, -1, -1, 1, -1};
    }
    // The y extent follows the width's overflow: the buffer lies a quarter turn from the view.
    const float first = (backCamera || onlyFrontCamera) ? -fill.width : fill.width;
    quad.vertices[1] = first;
    quad.vertices[3] = first;
    quad.vertices[5] = -first;
    quad.vertices[7] = -first;

    const float c = (1.0f - 1.0f / fill.height) / 2.0f;
    quad.texCoords = {c, 0, 1 - c, 0, c, 1, 1 - c, 1};
    return quad;
}

Matrix4 cameraModelMatrix(bool backCamera, bool mirrorFrontCamera, int orientation) {
    Matrix4 model = kIdentityTransform;
    if (backCamera || !mirrorFrontCamera) {
        return model;
    }
    if (orientation == 3 || orientation == 4) {
        model[0] = -1;
    } else {
        model[5] = -1;
    }
    return model;
}

bool isIdentityCamera(const CameraQuad& quad, const Matrix4& model) {
    return quad.vertices == kUprightQuad && quad.texCoords == kUnitTexCoords &&
           model == kIdentityTransform;
}

Quad importedPhotoQuad(float boundsWidth, float boundsHeight, float photoWidth, float photoHeight,
                       float zoomScale) {
    const FillSizes fit = aspectFitSizes(boundsWidth, boundsHeight, photoWidth, photoHeight);
    const FillSizes fill = aspectFillSizes(boundsWidth, boundsHeight, photoWidth, photoHeight);
    const float a = fit.width * (1 - zoomScale) + fill.width * zoomScale;
    const float b = fit.height * (1 - zoomScale) + fill.height * zoomScale;
    return {-a, -b, a, -b, -a, b, a, b};
}

Matrix4 compassRotation(float radians, bool dialAfterNeedle) {
    const float c = std::cos(radians);
    const float s = std::sin(radians);
    Matrix4 m = kIdentityTransform;
    if (dialAfterNeedle) {
        // Columns (cos a, -sin a) and (sin a, cos a).
        m[0] = c;
        m[1] = -s;
        m[4] = s;
        m[5] = c;
    } else {
        m[0] = c;
        m[1] = s;
        m[4] = -s;
        m[5] = c;
    }
    return m;
}

std::array<int, 4> clipToFrame(double x, double y, double w, double h, int width, int height) {
    const int x0 = std::clamp(static_cast<int>(x), 0, width);
    const int y0 = std::clamp(static_cast<int>(y), 0, height);
    const int x1 = std::clamp(static_cast<int>(x) + static_cast<int>(w), 0, width);
    const int y1 = std::clamp(static_cast<int>(y) + static_cast<int>(h), 0, height);
    return {x0, y0, std::max(0, x1 - x0), std::max(0, y1 - y0)};
}

}  // namespace orvane::compositor
