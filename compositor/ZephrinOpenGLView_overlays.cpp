// The frame compositor's overlays: where the map, compass, text block and logo go in this frame,
// the rectangles they touch, and their drawing over the camera layer.
#include "compositor/ZephrinOpenGLView.h"

#include "compositor/gl_programs.h"
#include "engine/geometry.h"

namespace orvane::compositor {

ZephrinOpenGLView::OverlayPlan ZephrinOpenGLView::planOverlays(int width, int height) const {
    OverlayPlan plan;
    const int orientation = stampOrientation.load();
    const std::int64_t position = _timePosition.load(std::memory_order_relaxed);
    const auto automatic = automaticOverlayPositions(position);

    if (_map) {
        const SizeI size = overlaySize(0.3 * _cache.readMapSize(), width, height,
                                       _map->pixelsWide(), _map->pixelsHigh(), orientation);
        const std::int64_t code =
            _cache.isMapPositionNotAuto() || !automatic ? _cache.readMapPosition() : automatic->map;
        plan.map = viewportAt(overlayOrigin(orientation, code, width, height, size, 0), size);
        plan.drawMap = true;
    }
    if (compassShown()) {
        plan.drawCompass = true;
        if (_compassNeedle) {
            const SizeI size = overlaySize(0.2 * _cache.readLuoPanSize(), width, height,
                                           _compassNeedle->pixelsWide(),
                                           _compassNeedle->pixelsHigh(), orientation);
            const std::int64_t code = _cache.isLuoPanPositionNotAuto() || !automatic
                                          ? _cache.readLuoPanPosition()
                                          : automatic->compass;
            plan.compass =
                viewportAt(overlayOrigin(orientation, code, width, height, size, 0), size);
        }
    }
    const RectF text = getTextRect();
    plan.text = {static_cast<int>(text.x), static_cast<int>(text.y), engine::kTextureSide,
                 engine::kTextureSide};
    const engine::Size textSize = _lineDrawer ? _lineDrawer->textSize() : engine::Size{};
    plan.scissor =
        textScissor(orientation, PointF{text.x, text.y}, textSize.width, textSize.height);
    if (_watermark) {
        const SizeI size =
            overlaySize(0.16 * _cache.readWatermarkSize(), width, height, _watermark->pixelsWide(),
                        _watermark->pixelsHigh(), orientation);
        const std::int64_t code = _cache.isWaterPositionNotAuto() || !automatic
                                      ? _cache.readWatermarkPosition()
                                      : automatic->logo;
        plan.watermark = viewportAt(overlayOrigin(orientation, code, width, height, size,
                                                  logoMargin(_cache.readWatermarkEdge(), width)),
                                    size);
        plan.drawWatermark = true;
    }
    return plan;
}

std::optional<std::array<int, 4>> ZephrinOpenGLView::viewportAt(std::optional<PointI> origin,
                                                                SizeI size) {
    if (!origin) {
        return std::nullopt;
    }
    return std::array<int, 4>{origin->x, origin->y, size.width, size.height};
}

void ZephrinOpenGLView::collectOverlayRects(const OverlayPlan& plan, int width, int height) {
    _overlayRects.clear();
    // An overlay without a place of its own lands in the previous layer's viewport, which may be
    // the whole frame: then the whole frame is one rectangle.
    const bool unplaced = (plan.drawMap && !plan.map) || (plan.drawCompass && !plan.compass) ||
                          (plan.drawWatermark && !plan.watermark);
    if (unplaced) {
        _overlayRects.push_back({0, 0, width, height});
        return;
    }
    const auto add = [&](const std::array<int, 4>& r) {
        const auto clipped = clipToFrame(r[0], r[1], r[2], r[3], width, height);
        if (clipped[2] > 0 && clipped[3] > 0) {
            _overlayRects.push_back(clipped);
        }
    };
    if (plan.drawMap) {
        add(*plan.map);
    }
    if (plan.drawCompass && _compassNeedle) {
        add(*plan.compass);
    }
    if (plan.scissor) {
        if (plan.scissor->width > 0 && plan.scissor->height > 0) {
            add({static_cast<int>(plan.scissor->x), static_cast<int>(plan.scissor->y),
                 static_cast<int>(plan.scissor->width), static_cast<int>(plan.scissor->height)});
        }
    } else {
        add(plan.text);
    }
    if (plan.drawWatermark) {
        add(*plan.watermark);
    }
}

bool ZephrinOpenGLView::compassShown() const {
    return _cache.isShowLuoPan() && luoPanReading().isGetLuoPan &&
           _cache.getCompassDisplayType() != 2;
}

stamp::LineDrawer::LuoPanReading ZephrinOpenGLView::luoPanReading() const {
    return _luoPan ? _luoPan() : stamp::LineDrawer::LuoPanReading{};
}

void ZephrinOpenGLView::setLuoPanSource(stamp::LineDrawer::LuoPanSource source) {
    _luoPan = source;
    if (_lineDrawer) {
        _lineDrawer->setLuoPanSource(std::move(source));
    }
}

void ZephrinOpenGLView::drawOverlay(GLuint texture, const std::array<float, 8>& quad) {
    glUseProgram(_programs.passthruProgram.get());
    bindTexture(GL_TEXTURE4, texture);
    glUniform1i(_programs.passthruFrame, 4);
    setQuadAttributes(quad.data(), kUnitTexCoords.data());
    glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
}

void ZephrinOpenGLView::drawOverlays(const OverlayPlan& plan) {
    const std::array<float, 8> quad = getStampQuadVertices();
    const auto viewport = [](const std::optional<std::array<int, 4>>& v) {
        if (v) {
            glViewport((*v)[0], (*v)[1], (*v)[2], (*v)[3]);
        }
    };
    // Every overlay texture holds premultiplied pixels.
    if (plan.drawMap) {
        glEnable(GL_BLEND);
        glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
        viewport(plan.map);
        drawOverlay(_map->name(), quad);
        glDisable(GL_BLEND);
    }
    if (plan.drawCompass && _compassNeedle && _compassDial) {
        drawCompass(plan, quad);
    }
    glEnable(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
    glViewport(plan.text[0], plan.text[1], plan.text[2], plan.text[3]);
    if (plan.scissor) {
        glEnable(GL_SCISSOR_TEST);
        glScissor(static_cast<int>(plan.scissor->x), static_cast<int>(plan.scissor->y),
                  static_cast<int>(plan.scissor->width), static_cast<int>(plan.scissor->height));
    }
    glUseProgram(_programs.passthruProgram.get());
    bindTexture(GL_TEXTURE3, _lineDrawer ? _lineDrawer->textureName() : 0);
    // The stamp lies texel for pixel: nearest sampling gives the same pixels, for less work.
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    glUniform1i(_programs.passthruFrame, 3);
    setQuadAttributes(quad.data(), kUnitTexCoords.data());
    glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
    glDisable(GL_SCISSOR_TEST);
    glDisable(GL_BLEND);

    if (plan.drawWatermark) {
        glEnable(GL_BLEND);
        glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
        viewport(plan.watermark);
        drawOverlay(_watermark->name(), quad);
        glDisable(GL_BLEND);
    }
}

void ZephrinOpenGLView::drawCompass(const OverlayPlan& plan, const std::array<float, 8>& quad) {
    glEnable(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
    if (plan.compass) {
        glViewport((*plan.compass)[0], (*plan.compass)[1], (*plan.compass)[2], (*plan.compass)[3]);
    }
    const auto angle = static_cast<float>(luoPanReading().degree);
    const std::int64_t type = _cache.getCompassDisplayType();
    const bool dialTurns = type == 1 || type == 4;
    const Matrix4 turn = compassRotation(angle, dialTurns);
    const auto turned = [&](GLuint texture) {
        glUseProgram(_programs.passthruRotateProgram.get());
        bindTexture(GL_TEXTURE4, texture);
        glUniform1i(_programs.passthruRotateFrame, 4);
        glUniformMatrix4fv(_programs.MVPMatrix, 1, GL_FALSE, turn.data());
        setQuadAttributes(quad.data(), kUnitTexCoords.data());
        glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
    };
    if (dialTurns) {
        drawOverlay(_compassNeedle->name(), quad);
        turned(_compassDial->name());
    } else {
        drawOverlay(_compassDial->name(), quad);
        turned(_compassNeedle->name());
    }
    glDisable(GL_BLEND);
}

}  // namespace orvane::compositor
