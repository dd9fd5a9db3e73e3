// The frame pass: one camera frame in, the stamped frame out, as a sequence of named steps. The
// pass takes one of three roads: the text block blended on the CPU over a copied camera, the
// overlays shaded over a copied camera, or every layer shaded.
#include "compositor/ZephrinOpenGLView.h"

#include <algorithm>

#include "compositor/effects_catalogue.h"
#include "compositor/gl_programs.h"
#include "engine/CCParticleSystemQuad.h"

namespace orvane::compositor {

namespace {

constexpr float kParticleStep = 1.0f / 30.0f;

}  // namespace

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
    if (!output || !source) {
        return kFramePassParameterError;
    }
    const int width = output->width();
    const int height = output->height();
    const CameraPlacement camera = placeCamera(width, height);
    const FrameLayers layers = chooseLayers();
    if (_lineDrawer) {
        _lineDrawer->setTextRoom(textRoomFor(width, height));
    }
    advanceAnimations(width, height, layers);
    // The block is placed by this tick's size, so that it stands whole from the first frame and
    // whenever it grows.
    if (_lineDrawer) {
        resetTimePositon();
    }
    if (!attachOutputTexture(width, height)) {
        return kFramePassParameterError;
    }
    const OverlayPlan plan = planOverlays(width, height);
    switch (chooseRoad(*source, width, height, layers, camera, plan)) {
        case Road::BlendTextOnCopy: {
            const bool blended = copyAndBlendTextBlock(plan, *source, *output, width, height);
            glBindFramebuffer(GL_FRAMEBUFFER, 0);
            _stats.copiedCamera = true;
            return blended ? 0 : kFramePassParameterError;
        }
        case Road::ShadeOverlaysOnCopy:
            copyCameraUnderOverlays(plan, *source, *output, width, height);
            break;
        case Road::ShadeEveryLayer:
            if (!drawCameraLayers(*source, width, height, layers, camera)) {
                glBindFramebuffer(GL_FRAMEBUFFER, 0);
                return kFramePassParameterError;
            }
            break;
    }
    drawOverlays(plan);
    glActiveTexture(GL_TEXTURE0);
    glBindTexture(GL_TEXTURE_2D, 0);
    return readBackOverlays(output, isStillImage);
}

ZephrinOpenGLView::FrameLayers ZephrinOpenGLView::chooseLayers() {
    FrameLayers layers;
    layers.effect = static_cast<std::size_t>(std::clamp<std::int64_t>(
        _curEffect.load(std::memory_order_relaxed), 0, kFilmFilterCount - 1));
    if (!_filterTexture[layers.effect]) {
        loadFilter(static_cast<std::int64_t>(layers.effect));
    }
    const std::int64_t particleIndex = _curParticle.load(std::memory_order_relaxed);
    const bool particleKnown = particleIndex >= 1 && particleIndex < kParticleCount;
    layers.particle = static_cast<std::size_t>(particleKnown ? particleIndex : 0);
    if (particleKnown && !_particleTexture[layers.particle]) {
        loadParticle(particleIndex);
    }
    layers.particlesOn = particleKnown && _particleTexture[layers.particle] != nullptr;
    // The compass's images decide its viewport, so they are there before the overlays are placed.
    if (compassShown() && !_compassNeedle) {
        loadLuoPanImage();
    }
    return layers;
}

void ZephrinOpenGLView::advanceAnimations(int width, int height, const FrameLayers& layers) {
    engine::CCParticleSystemQuad::setCameraSize(static_cast<float>(width),
                                                static_cast<float>(height));
    if (layers.particlesOn && _emitter) {
        _emitter->update(kParticleStep);
    }
    if (_lineDrawer) {
        _lineDrawer->updateTime();
    }
}

ZephrinOpenGLView::CameraPlacement ZephrinOpenGLView::placeCamera(int width, int height) {
    const FillSizes fill =
        aspectFillSizes(_bounds[0], _bounds[1], static_cast<float>(_offscreenDimensions[0]),
                        static_cast<float>(_offscreenDimensions[1]));
    const bool back = backCamera.load();
    const CameraQuad quad = cameraQuad(fill, back, onlyFrontCamera.load());
    // A new frame size moves the stamp and spreads the particles over the new frame.
    if (width != frameWidth.load() || height != frameHeight.load()) {
        frameWidth.store(width);
        frameHeight.store(height);
        rotateWatermark(stampOrientation.load());
        if (_emitter) {
            _emitter->setPosVar({static_cast<float>(width), static_cast<float>(height)});
        }
    }
    return {quad,
            cameraModelMatrix(back, _cache.getIsMirrorFrontCamera(), stampOrientation.load())};
}

engine::Size ZephrinOpenGLView::textRoomFor(int width, int height) const {
    const SizeI room = textRoom(stampOrientation.load(), textMargins(width, height), width, height);
    return {static_cast<float>(room.width), static_cast<float>(room.height)};
}

bool ZephrinOpenGLView::attachOutputTexture(int width, int height) {
    glBindFramebuffer(GL_FRAMEBUFFER, _offscreenBufferHandle.get());
    if (!_outputTexture->resize(width, height)) {
        glBindFramebuffer(GL_FRAMEBUFFER, 0);
        return false;
    }
    bindTexture(GL_TEXTURE1, _outputTexture->name());
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D,
                           _outputTexture->name(), 0);
    return true;
}

ZephrinOpenGLView::Road ZephrinOpenGLView::chooseRoad(const platform::PixelBuffer& source,
                                                      int width, int height,
                                                      const FrameLayers& layers,
                                                      const CameraPlacement& camera,
                                                      const OverlayPlan& plan) const {
    const bool copyCamera = _copyShortcut && layers.effect == 0 && !_bDanceMode.load() &&
                            _effectScale.load(std::memory_order_relaxed) == 0 &&
                            !_importFileTexture && _bShowCam.load() && !layers.particlesOn &&
                            source.width() == width && source.height() == height &&
                            isIdentityCamera(camera.quad, camera.model);
    if (!copyCamera) {
        return Road::ShadeEveryLayer;
    }
    // With the camera copied and the text block the only overlay, the block is blended on the
    // CPU from a copy of the stamp read back only when the stamp changes.
    const bool textOnly =
        !plan.drawMap && !plan.drawCompass && !plan.drawWatermark && _presenter == nullptr;
    return textOnly ? Road::BlendTextOnCopy : Road::ShadeOverlaysOnCopy;
}

std::int32_t ZephrinOpenGLView::readBackOverlays(const platform::PixelBufferRef& output,
                                                 bool isStillImage) {
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

}  // namespace orvane::compositor
