#include "compositor/ZephrinOpenGLView.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "compositor/effects_catalogue.h"
#include "compositor/image_transform.h"
#include "compositor/stamp_blend.h"
#include "engine/CCParticleFlower.h"
#include "engine/CCParticleSystemQuad.h"
#include "engine/CCTextureCache.h"
#include "engine/geometry.h"
#include "foundation/log.h"
#include "foundation/strings.h"

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

namespace {

constexpr float kParticleStep = 1.0f / 30.0f;

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

GLuint nameOf(const std::shared_ptr<engine::CCTexture2D>& texture) {
    return texture ? texture->name() : 0;
}

// A rectangle cut to the frame; empty when nothing of it lies inside.
std::array<int, 4> clipToFrame(double x, double y, double w, double h, int width, int height) {
    const int x0 = std::clamp(static_cast<int>(x), 0, width);
    const int y0 = std::clamp(static_cast<int>(y), 0, height);
    const int x1 = std::clamp(static_cast<int>(x) + static_cast<int>(w), 0, width);
    const int y1 = std::clamp(static_cast<int>(y) + static_cast<int>(h), 0, height);
    return {x0, y0, std::max(0, x1 - x0), std::max(0, y1 - y0)};
}

}  // namespace

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
    const Margins margins =
        onlyFront ? Margins{}
                  : marginsFor(textDistance.load(), _cache.getMarginsMode(), width, height);
    textRect[2].store(engine::kTextureSide);
    textRect[3].store(engine::kTextureSide);
    if (const auto origin = textRectOrigin(orientation, position, margins, onlyFront, width, height,
                                           size.width, size.height)) {
        textRect[0].store(static_cast<float>(origin->x));
        textRect[1].store(static_cast<float>(origin->y));
    }
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

bool ZephrinOpenGLView::loadFilter(std::int64_t index) {
    // Lookup images are opaque, so the cache's premultiplied loading leaves every ramp exact.
    auto texture = engine::CCTextureCache::sharedTextureCache().addImage(
        std::string(kFilmFilters[static_cast<std::size_t>(index)].lookupImage));
    _filterTexture[static_cast<std::size_t>(index)] = texture;
    return texture != nullptr;
}

bool ZephrinOpenGLView::loadParticle(std::int64_t index) {
    const std::string name(kParticleEffects[static_cast<std::size_t>(index)].image);
    if (name.empty()) {
        return false;
    }
    auto texture = engine::CCTextureCache::sharedTextureCache().addImage(name);
    _particleTexture[static_cast<std::size_t>(index)] = texture;
    return texture != nullptr;
}

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
    if (_cache.isShowLuoPan() && luoPanReading().isGetLuoPan &&
        _cache.getCompassDisplayType() != 2) {
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

stamp::LineDrawer::LuoPanReading ZephrinOpenGLView::luoPanReading() const {
    return _luoPan ? _luoPan() : stamp::LineDrawer::LuoPanReading{};
}

void ZephrinOpenGLView::setLuoPanSource(stamp::LineDrawer::LuoPanSource source) {
    _luoPan = source;
    if (_lineDrawer) {
        _lineDrawer->setLuoPanSource(std::move(source));
    }
}

std::int32_t ZephrinOpenGLView::displayAndRenderPixelBuffer(const platform::PixelBufferRef& source,
                                                            const platform::PixelBufferRef& output,
                                                            bool isStillImage) {
    if (!_ready || !_oglContext->makeCurrent()) {
        return kFramePassParameterError;
    }
    if (_pendingOutput) {
        finishRenderingPixelBuffer();
    }
    _stats = {};
    if (_lineDrawer) {
        resetTimePositon();
    }
    const auto effect = static_cast<std::size_t>(std::clamp<std::int64_t>(
        _curEffect.load(std::memory_order_relaxed), 0, kFilmFilterCount - 1));
    if (!_filterTexture[effect]) {
        loadFilter(static_cast<std::int64_t>(effect));
    }
    const std::int64_t particleIndex = _curParticle.load(std::memory_order_relaxed);
    const bool particleKnown = particleIndex >= 1 && particleIndex < kParticleCount;
    const auto particle = static_cast<std::size_t>(particleKnown ? particleIndex : 0);
    if (particleKnown && !_particleTexture[particle]) {
        loadParticle(particleIndex);
    }
    if (!output || !source) {
        return kFramePassParameterError;
    }
    const int width = output->width();
    const int height = output->height();
    engine::CCParticleSystemQuad::setCameraSize(static_cast<float>(width),
                                                static_cast<float>(height));
    const bool particlesOn = particleKnown && _particleTexture[particle] != nullptr;
    if (particlesOn && _emitter) {
        _emitter->update(kParticleStep);
    }
    if (_lineDrawer) {
        _lineDrawer->updateTime();
    }

    const FillSizes fill =
        aspectFillSizes(_bounds[0], _bounds[1], static_cast<float>(_offscreenDimensions[0]),
                        static_cast<float>(_offscreenDimensions[1]));
    const bool back = backCamera.load();
    const CameraQuad quad = cameraQuad(fill, back, onlyFrontCamera.load());

    if (width != frameWidth.load() || height != frameHeight.load()) {
        frameWidth.store(width);
        frameHeight.store(height);
        rotateWatermark(stampOrientation.load());
        if (_emitter) {
            _emitter->setPosVar({static_cast<float>(width), static_cast<float>(height)});
        }
    }
    const Matrix4 model =
        cameraModelMatrix(back, _cache.getIsMirrorFrontCamera(), stampOrientation.load());
    const bool copyCamera = _copyShortcut && effect == 0 && !_bDanceMode.load() &&
                            !_importFileTexture && _bShowCam.load() && !particlesOn &&
                            source->width() == width && source->height() == height &&
                            isIdentityCamera(quad, model);

    glBindFramebuffer(GL_FRAMEBUFFER, _offscreenBufferHandle.get());
    if (!_outputTexture->resize(width, height)) {
        glBindFramebuffer(GL_FRAMEBUFFER, 0);
        return kFramePassParameterError;
    }
    bindTexture(GL_TEXTURE1, _outputTexture->name());
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D,
                           _outputTexture->name(), 0);

    const OverlayPlan plan = planOverlays(width, height);
    // With the camera copied and the text block the only overlay, the block is blended here on
    // the CPU from a copy of the stamp read back only when the stamp changes.
    const bool textOnly = copyCamera && !plan.drawMap && !plan.drawCompass && !plan.drawWatermark &&
                          _presenter == nullptr;
    if (textOnly) {
        const bool blended = copyAndBlendTextBlock(plan, *source, *output, width, height);
        glBindFramebuffer(GL_FRAMEBUFFER, 0);
        _stats.copiedCamera = true;
        return blended ? 0 : kFramePassParameterError;
    }
    if (copyCamera) {
        copyPixels(*source, *output);
        collectOverlayRects(plan, width, height);
        if (_presenter != nullptr) {
            _outputTexture->upload(*source);
        } else {
            for (const auto& r : _overlayRects) {
                _outputTexture->uploadRegion(*source, r[0], r[1], r[2], r[3]);
            }
        }
        _stats.copiedCamera = true;
    } else {
        if (!_sourceTexture->upload(*source)) {
            glBindFramebuffer(GL_FRAMEBUFFER, 0);
            return kFramePassParameterError;
        }
        bindTexture(GL_TEXTURE0, _sourceTexture->name());
        glViewport(0, 0, width, height);
        const RGB clear = clearColor(_curBackground.load(std::memory_order_relaxed));
        glClearColor(clear.r, clear.g, clear.b, 1.0f);
        glClear(GL_COLOR_BUFFER_BIT);
        if (_importFileTexture) {
            drawImportedPhoto(width, height, effect);
        }
        if (_bShowCam.load()) {
            drawCameraLayer(width, height, effect, quad, model);
        }
        if (particlesOn) {
            drawParticles(width, height, particle);
        }
        _overlayRects.clear();
        _overlayRects.push_back({0, 0, width, height});
    }
    drawOverlays(plan);
    glActiveTexture(GL_TEXTURE0);
    glBindTexture(GL_TEXTURE_2D, 0);

    for (const auto& r : _overlayRects) {
        _stats.readPixels += static_cast<std::int64_t>(r[2]) * r[3];
    }
    _stats.shadedRects = static_cast<int>(_overlayRects.size());
    bool read = true;
    if (isStillImage || !_asyncReadback) {
        for (const auto& r : _overlayRects) {
            read = _readback->read(*output, r[0], r[1], r[2], r[3]) && read;
        }
    } else {
        for (const auto& r : _overlayRects) {
            read = _readback->begin(r[0], r[1], r[2], r[3]) && read;
        }
        _pendingOutput = output;
    }
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    if (!read) {
        _pendingOutput.reset();
        return kFramePassParameterError;
    }
    if (!isStillImage && _presenter != nullptr) {
        {
            std::lock_guard lock(_previewMutex);
            _previewPending = true;
        }
        _presenter->frameReady();
    }
    return 0;
}

bool ZephrinOpenGLView::copyAndBlendTextBlock(const OverlayPlan& plan,
                                              const platform::PixelBuffer& source,
                                              platform::PixelBuffer& output, int width,
                                              int height) {
    const auto copyOnly = [&](bool result) {
        copyPixels(source, output);
        return result;
    };
    if (!_lineDrawer) {
        return copyOnly(true);
    }
    const auto map =
        texelMapForQuad(getStampQuadVertices(), {plan.text[0], plan.text[1]}, engine::kTextureSide);
    if (!map) {
        return copyOnly(true);
    }
    // The pixels the block may touch: the scissor, or the whole square without one.
    std::array<int, 4> clip;
    if (plan.scissor) {
        clip = clipToFrame(plan.scissor->x, plan.scissor->y, plan.scissor->width,
                           plan.scissor->height, width, height);
    } else {
        clip = clipToFrame(plan.text[0], plan.text[1], plan.text[2], plan.text[3], width, height);
    }
    // The texels those pixels need, from two opposite corners, kept inside the square.
    const auto texelOf = [&](int x, int y) {
        const int dx = x - map->origin.x;
        const int dy = y - map->origin.y;
        return PointI{dx * map->uStep.x + dy * map->uStep.y, dx * map->vStep.x + dy * map->vStep.y};
    };
    if (clip[2] <= 0 || clip[3] <= 0) {
        return copyOnly(true);
    }
    const PointI a = texelOf(clip[0], clip[1]);
    const PointI b = texelOf(clip[0] + clip[2] - 1, clip[1] + clip[3] - 1);
    const std::array<int, 4> texels{std::min(a.x, b.x), std::min(a.y, b.y), std::abs(a.x - b.x) + 1,
                                    std::abs(a.y - b.y) + 1};
    if (texels[0] < 0 || texels[1] < 0 || texels[0] + texels[2] > engine::kTextureSide ||
        texels[1] + texels[3] > engine::kTextureSide) {
        return copyOnly(true);
    }
    const std::uint64_t draws = _lineDrawer->drawCount();
    if (draws != _stampDraws || texels != _stampTexelRect) {
        // After one draw over the same rectangle only what that draw renewed is read again.
        std::array<int, 4> read = texels;
        if (draws == _stampDraws + 1 && texels == _stampTexelRect) {
            const stamp::PixelRect renewed = _lineDrawer->lastDrawRect();
            const int x0 = std::max(renewed.x, texels[0]);
            const int y0 = std::max(renewed.y, texels[1]);
            const int x1 = std::min(renewed.x + renewed.width, texels[0] + texels[2]);
            const int y1 = std::min(renewed.y + renewed.height, texels[1] + texels[3]);
            read = {x0, y0, std::max(0, x1 - x0), std::max(0, y1 - y0)};
        }
        if (!readStampTexels(texels, read)) {
            _stampDraws = ~std::uint64_t{0};
            return copyOnly(false);
        }
        _stampDraws = draws;
        _stampTexelRect = texels;
        _stats.readPixels = static_cast<std::int64_t>(read[2]) * read[3];
    }
    // The blend reads texel (u, v) at (v - top) * stride + (u - left).
    const std::uint8_t* base =
        _stampTexels.data() - (static_cast<std::ptrdiff_t>(texels[1]) * texels[2] + texels[0]) * 4;
    copyAndBlendStamp(source, output, base, texels[2], *map, clip);
    _stats.shadedRects = 1;
    return true;
}

bool ZephrinOpenGLView::readStampTexels(const std::array<int, 4>& texels,
                                        const std::array<int, 4>& read) {
    const std::size_t bytes = static_cast<std::size_t>(texels[2]) * texels[3] * 4;
    if (_stampTexels.size() < bytes) {
        _stampTexels.resize(bytes);
    }
    if (read[2] <= 0 || read[3] <= 0) {
        return true;
    }
    const std::size_t readBytes = static_cast<std::size_t>(read[2]) * read[3] * 4;
    if (_stampScratch.size() < readBytes) {
        _stampScratch.resize(readBytes);
    }
    // The stamp's texture goes on the offscreen framebuffer for the read, then the output
    // texture comes back.
    glBindFramebuffer(GL_FRAMEBUFFER, _offscreenBufferHandle.get());
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D,
                           _lineDrawer->textureName(), 0);
    glPixelStorei(GL_PACK_ALIGNMENT, 4);
    glReadPixels(read[0], read[1], read[2], read[3], GL_RGBA, GL_UNSIGNED_BYTE,
                 _stampScratch.data());
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D,
                           _outputTexture->name(), 0);
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    if (glGetError() != GL_NO_ERROR) {
        foundation::log("The stamp could not be read back.");
        return false;
    }
    const std::size_t row = static_cast<std::size_t>(read[2]) * 4;
    for (int y = 0; y < read[3]; ++y) {
        const std::size_t at = (static_cast<std::size_t>(read[1] - texels[1] + y) * texels[2] +
                                static_cast<std::size_t>(read[0] - texels[0])) *
                               4;
        std::memcpy(_stampTexels.data() + at, _stampScratch.data() + y * row, row);
    }
    return true;
}

bool ZephrinOpenGLView::finishRenderingPixelBuffer() {
    if (!_pendingOutput) {
        return true;
    }
    platform::PixelBufferRef output = std::move(_pendingOutput);
    _pendingOutput.reset();
    if (!_oglContext->makeCurrent()) {
        return false;
    }
    return _readback->finish(*output);
}

void ZephrinOpenGLView::drawCameraLayer(int width, int height, std::size_t effect,
                                        const CameraQuad& quad, const Matrix4& model) {
    glViewport(0, 0, width, height);
    glUseProgram(_programs.program.get());
    bindTexture(GL_TEXTURE0, _sourceTexture->name());
    glUniform1i(_programs.frame, 0);
    bindTexture(GL_TEXTURE2, nameOf(_filterTexture[effect]));
    glUniform1i(_programs.filterRGB, 2);
    glUniformMatrix4fv(_programs.colorMatrix, 1, GL_FALSE, kFilmFilters[effect].colorMatrix.data());
    glUniformMatrix4fv(_programs.modelMatrix, 1, GL_FALSE, model.data());
    setQuadAttributes(quad.vertices.data(), quad.texCoords.data());
    glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
}

void ZephrinOpenGLView::drawImportedPhoto(int width, int height, std::size_t effect) {
    const Quad vertices =
        importedPhotoQuad(_bounds[0], _bounds[1], static_cast<float>(_importWidth),
                          static_cast<float>(_importHeight), _zoomScale);
    glViewport(0, 0, width, height);
    glUseProgram(_programs.passthruFilterProgram.get());
    bindTexture(GL_TEXTURE3, _importFileTexture->name());
    glUniform1i(_programs.passthruFilterFrame, 3);
    bindTexture(GL_TEXTURE6, nameOf(_filterTexture[effect]));
    glUniform1i(_programs.filterFilterRGB, 6);
    glUniformMatrix4fv(_programs.colorMatrixFilter, 1, GL_FALSE,
                       kFilmFilters[effect].colorMatrix.data());
    setQuadAttributes(vertices.data(), kUnitTexCoords.data());
    glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
}

void ZephrinOpenGLView::drawParticles(int width, int height, std::size_t particle) {
    if (!_emitter) {
        return;
    }
    glViewport(0, 0, width, height);
    glEnable(GL_BLEND);
    bindTexture(GL_TEXTURE5, _particleTexture[particle]->name());
    _emitter->draw();
    glActiveTexture(GL_TEXTURE5);
    glBindTexture(GL_TEXTURE_2D, 0);
    glDisable(GL_BLEND);
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
    if (plan.drawCompass) {
        if (!_compassNeedle) {
            loadLuoPanImage();
        }
        if (_compassNeedle && _compassDial) {
            drawCompass(plan, quad);
        }
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

const char* ZephrinOpenGLView::compassDialName(std::string_view locale) {
    std::string name(locale);
    std::replace(name.begin(), name.end(), '-', '_');
    if (name.rfind("zh", 0) != 0) {
        return "luopandi";
    }
    // Traditional lettering for the Hant script and the regions that write it.
    for (const char* traditional : {"zh_Hant", "zh_TW", "zh_HK", "zh_MO"}) {
        if (name.rfind(traditional, 0) == 0) {
            return "luopanditw";
        }
    }
    return "luopandicn";
}

void ZephrinOpenGLView::loadLuoPanImage() {
    auto& cache = engine::CCTextureCache::sharedTextureCache();
    _compassNeedle = cache.addImage("luopanzhen");
    // The first preferred language decides, as for the string tables.
    std::string locale;
    if (const char* list = std::getenv("LANGUAGE"); list != nullptr && *list != 0) {
        locale = std::string(list).substr(0, std::string(list).find(':'));
    } else {
        for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
            if (const char* value = std::getenv(variable); value != nullptr && *value != 0) {
                locale = value;
                break;
            }
        }
    }
    _compassDial = cache.addImage(compassDialName(locale));
}

std::shared_ptr<engine::CCTexture2D> ZephrinOpenGLView::uploadImage(const Image& image) {
    if (image.width <= 0 || image.height <= 0 ||
        image.rgba.size() < static_cast<std::size_t>(image.width) * image.height * 4) {
        return nullptr;
    }
    return engine::CCTexture2D::fromPixels(image.width, image.height, image.rgba.data());
}

void ZephrinOpenGLView::setWatermark(const std::optional<Image>& logo) {
    if (!_oglContext) {
        _pendingWatermark = logo;
        return;
    }
    if (!_oglContext->makeCurrent()) {
        return;
    }
    if (!logo) {
        _watermark.reset();
        return;
    }
    // A logo is never drawn larger than 1024 pixels on its long side.
    _watermark = uploadImage(fitWithin(*logo, 1024));
}

void ZephrinOpenGLView::setMap(const std::optional<Image>& map) {
    if (!_oglContext || !_oglContext->makeCurrent()) {
        return;
    }
    if (!map) {
        _map.reset();
        return;
    }
    // Upload first, then swap: a frame in flight always has a texture.
    auto texture = uploadImage(*map);
    _map = std::move(texture);
}

void ZephrinOpenGLView::setMainPhoto(const std::optional<Image>& photo) {
    if (!_oglContext || !_oglContext->makeCurrent()) {
        return;
    }
    _importFileTexture.reset();
    if (!photo) {
        return;
    }
    std::optional<Image> upright = uprightLandscapePhoto(*photo);
    if (!upright) {
        return;
    }
    _importFileTexture = uploadImage(*upright);
    if (_importFileTexture) {
        _importWidth = upright->width;
        _importHeight = upright->height;
        _bShowCam.store(false);
    }
}

void ZephrinOpenGLView::showCurrentFrame() {
    if (_presenter == nullptr || !_oglContext || !_oglContext->makeCurrent()) {
        return;
    }
    {
        std::lock_guard lock(_previewMutex);
        if (!_previewPending) {
            return;
        }
        _previewPending = false;
    }
    static constexpr Quad kScreenQuad = {-1, 1, 1, 1, -1, -1, 1, -1};
    const SizeI size = _presenter->framebufferSize();
    glBindFramebuffer(GL_FRAMEBUFFER, _presenter->framebuffer());
    glViewport(0, 0, size.width, size.height);
    glUseProgram(_programs.passthruProgram.get());
    bindTexture(GL_TEXTURE1, _outputTexture->name());
    glUniform1i(_programs.passthruFrame, 1);
    setQuadAttributes(kScreenQuad.data(), kUnitTexCoords.data());
    glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
    if (!frameIn.exchange(true)) {
        _presenter->firstFrameShown();
    }
    _presenter->present();
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
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
