// The frame compositor's life and settings: the GL context and programs it sets up, the stamp's
// placement as the frame size, orientation and text position change, and the touch that moves
// the particles.
#include "compositor/ZephrinOpenGLView.h"

#include <algorithm>

#include "compositor/effects_catalogue.h"
#include "compositor/gl_programs.h"
#include "engine/CCParticleFlower.h"
#include "engine/CCTextureCache.h"
#include "engine/geometry.h"
#include "foundation/log.h"

namespace orvane::compositor {

std::atomic<int> ZephrinOpenGLView::frameWidth{0};
std::atomic<int> ZephrinOpenGLView::frameHeight{0};
std::atomic<int> ZephrinOpenGLView::stampOrientation{kOrientationLandscapeRight};
std::atomic<int> ZephrinOpenGLView::textDistance{0};
std::array<std::atomic<float>, 4> ZephrinOpenGLView::textRect{};
std::array<std::atomic<float>, 8> ZephrinOpenGLView::stampQuadVertices{};
std::atomic<bool> ZephrinOpenGLView::backCamera{true};
std::atomic<bool> ZephrinOpenGLView::onlyFrontCamera{false};
std::atomic<bool> ZephrinOpenGLView::frameIn{false};

ZephrinOpenGLView::ZephrinOpenGLView(screen::SettingsStore& store,
                                     const screen::GLViewStartValues& start,
                                     ContextFactory makeContext, LineDrawerFactory makeLineDrawer)
    : _store(store),
      _cache(store.cache()),
      _makeContext(std::move(makeContext)),
      _makeLineDrawer(std::move(makeLineDrawer)),
      _curEffect(start.effectIndex),
      _curBackground(start.backgroundIndex),
      _curParticle(start.particleIndex),
      _timePosition(start.timePosition) {
    _overlayRects.reserve(8);
    engine::CCTexture2D::sethAlignment(alignmentForPosition(start.timePosition));
}

ZephrinOpenGLView::~ZephrinOpenGLView() {
    if (_oglContext && _oglContext->makeCurrent()) {
        // GL names go while their context is current.
        _lineDrawer.reset();
        _emitter.reset();
        _filterTexture = {};
        _particleTexture = {};
        _importFileTexture.reset();
        _watermark.reset();
        _map.reset();
        _compassNeedle.reset();
        _compassDial.reset();
        engine::CCTextureCache::sharedTextureCache().removeAllTextures();
        engine::SharedProgram::releaseAll();
        _ripple.reset();
        _positionVBO = engine::GLBuffer{};
        _texcoordVBO = engine::GLBuffer{};
        _photoCoordVBO = engine::GLBuffer{};
        _indexVBO = engine::GLBuffer{};
        _programs = CompositorPrograms{};
        _offscreenBufferHandle = engine::GLFramebuffer{};
        _sourceTexture.reset();
        _outputTexture.reset();
        _readback.reset();
        _oglContext->doneCurrent();
    }
}

void ZephrinOpenGLView::setDimensions(std::int32_t width, std::int32_t height,
                                      float focalLenIn35mmFilm) {
    _offscreenDimensions[0] = width;
    _offscreenDimensions[1] = height;
    _focalLenIn35mmFilm = focalLenIn35mmFilm;
    if (_bounds[0] <= 0 || _bounds[1] <= 0) {
        _bounds[0] = static_cast<float>(width);
        _bounds[1] = static_cast<float>(height);
    }
    if (!_oglContext) {
        _ready = setupGLES();
        if (!_ready) {
            foundation::log("Problem with OpenGL context.");
        }
    }
}

void ZephrinOpenGLView::setBounds(float width, float height) {
    _bounds[0] = width;
    _bounds[1] = height;
}

bool ZephrinOpenGLView::setupGLES() {
    std::string problem;
    _oglContext = _makeContext ? _makeContext(problem) : nullptr;
    if (!_oglContext) {
        foundation::log("%s", problem.empty() ? "No GL context could be made." : problem.c_str());
        return false;
    }
    if (!_oglContext->makeCurrent()) {
        foundation::log("The GL context cannot be made current.");
        return false;
    }
    glDisable(GL_DEPTH_TEST);
    _zoomScale = 1.0f;
    _offscreenBufferHandle = engine::makeFramebuffer();
    if (!compilePrograms(_programs, problem)) {
        foundation::log("%s", problem.c_str());
        return false;
    }
    const auto capabilities = engine::GLCapabilities::of(*_oglContext);
    _asyncReadback = capabilities.pixelBufferObjects;
    _sourceTexture = std::make_unique<engine::PixelBufferTexture>(capabilities);
    _outputTexture = std::make_unique<engine::PixelBufferTexture>(capabilities);
    _readback = std::make_unique<engine::PixelBufferReadback>(capabilities);
    if (_pendingWatermark) {
        setWatermark(_pendingWatermark);
        _pendingWatermark.reset();
    }
    _emitter = engine::CCParticleFlower::node();
    _emitter->setTexture(
        engine::CCTextureCache::sharedTextureCache().addImage(std::string(kEmitterTexture)));
    if (_makeLineDrawer) {
        _lineDrawer = _makeLineDrawer();
    }
    if (_lineDrawer) {
        _lineDrawer->setGLContext(_oglContext.get());
        if (_luoPan) {
            _lineDrawer->setLuoPanSource(_luoPan);
        }
        const RGB pen = penColor(_store.glView.getPenColorIndex());
        _lineDrawer->setColor({pen.r, pen.g, pen.b, 1.0});
        setTextDistance(_lineDrawer->textDistance());
    }
    return true;
}

void ZephrinOpenGLView::rotateWatermark(int orientation) {
    stampOrientation.store(orientation);
    const bool onlyFront = onlyFrontCamera.load();
    if (const auto quad = stampQuad(orientation, onlyFront)) {
        for (std::size_t i = 0; i < quad->size(); ++i) {
            stampQuadVertices[i].store((*quad)[i]);
        }
    }
    textRect[2].store(engine::kTextureSide);
    textRect[3].store(engine::kTextureSide);
    if (const auto origin =
            provisionalTextOrigin(orientation, onlyFront, frameWidth.load(), frameHeight.load())) {
        textRect[0].store(static_cast<float>(origin->x));
        textRect[1].store(static_cast<float>(origin->y));
    }
}

RectF ZephrinOpenGLView::getTextRect() {
    return {textRect[0].load(), textRect[1].load(), textRect[2].load(), textRect[3].load()};
}

std::array<float, 8> ZephrinOpenGLView::getStampQuadVertices() {
    std::array<float, 8> quad{};
    for (std::size_t i = 0; i < quad.size(); ++i) {
        quad[i] = stampQuadVertices[i].load();
    }
    return quad;
}

void ZephrinOpenGLView::resetTimePositon() {
    const std::int64_t position = _timePosition.load(std::memory_order_relaxed);
    engine::CCTexture2D::sethAlignment(alignmentForPosition(position));
    const int orientation = stampOrientation.load();
    const bool onlyFront = onlyFrontCamera.load();
    if (const auto quad = stampQuad(orientation, onlyFront)) {
        for (std::size_t i = 0; i < quad->size(); ++i) {
            stampQuadVertices[i].store((*quad)[i]);
        }
    }
    const int width = frameWidth.load();
    const int height = frameHeight.load();
    const engine::Size size = _lineDrawer ? _lineDrawer->textSize() : engine::Size{};
    const Margins margins = textMargins(width, height);
    textRect[2].store(engine::kTextureSide);
    textRect[3].store(engine::kTextureSide);
    if (const auto origin = textRectOrigin(orientation, position, margins, onlyFront, width, height,
                                           size.width, size.height)) {
        textRect[0].store(static_cast<float>(origin->x));
        textRect[1].store(static_cast<float>(origin->y));
    }
}

Margins ZephrinOpenGLView::textMargins(int width, int height) const {
    return onlyFrontCamera.load()
               ? Margins{}
               : marginsFor(textDistance.load(), _cache.getMarginsMode(), width, height);
}

void ZephrinOpenGLView::setTPosition(std::int64_t position) {
    _timePosition.store(position, std::memory_order_relaxed);
    engine::CCTexture2D::sethAlignment(alignmentForPosition(position));
    if (_lineDrawer && _oglContext) {
        _lineDrawer->resetText();
    }
    _store.glView.saveTimePosition(position);
}

void ZephrinOpenGLView::setFont(const std::optional<std::string>& font,
                                const std::optional<foundation::Color>& color, float size) {
    if (_lineDrawer) {
        _lineDrawer->setFont(font, color, size);
    }
    if (size > 0) {
        setTextDistance(textDistanceForMode(_cache.getMarginsMode(), size));
    }
}

void ZephrinOpenGLView::setStroke(bool on, const foundation::Color& color) {
    if (_lineDrawer) {
        _lineDrawer->setStroke(on, color);
    }
}

void ZephrinOpenGLView::saveEffectIndex(std::int64_t index) {
    _curEffect.store(index, std::memory_order_relaxed);
    _store.glView.saveEffectIndex(index);
}

void ZephrinOpenGLView::saveParticleIndex(std::int64_t index) {
    _curParticle.store(index, std::memory_order_relaxed);
    _store.glView.saveParticleIndex(index);
}

void ZephrinOpenGLView::saveBackgroundIndex(std::int64_t index) {
    _curBackground.store(index, std::memory_order_relaxed);
    _store.glView.saveBackgroundIndex(index);
}

void ZephrinOpenGLView::setEffectScale(int scale) {
    _effectScale.store(std::clamp(scale, 0, 100), std::memory_order_relaxed);
}

void ZephrinOpenGLView::touchAt(float x, float y, float viewWidth, float viewHeight) {
    if (!_emitter || viewWidth <= 0 || viewHeight <= 0) {
        return;
    }
    const float halfWidth = viewWidth * 0.5f;
    const float halfHeight = viewHeight * 0.5f;
    _emitter->setSourcePosition({(x - halfWidth) * engine::kTextureSide / halfWidth,
                                 (y - halfHeight) * engine::kTextureSide / halfHeight});
    _emitter->setPosVar({0, 0});
}

void ZephrinOpenGLView::touchEnded() {
    if (!_emitter) {
        return;
    }
    _emitter->setSourcePosition({0, 0});
    _emitter->setPosVar({engine::kTextureSide, engine::kTextureSide});
}

}  // namespace orvane::compositor
