// The frame pass's shaded road: the imported photo, the camera through its film filter and the
// particles, drawn into the offscreen framebuffer in that order.
#include "compositor/ZephrinOpenGLView.h"

#include "compositor/effects_catalogue.h"
#include "compositor/gl_programs.h"
#include "engine/CCParticleSystemQuad.h"

namespace orvane::compositor {

namespace {

GLuint nameOf(const std::shared_ptr<engine::CCTexture2D>& texture) {
    return texture ? texture->name() : 0;
}

}  // namespace

bool ZephrinOpenGLView::drawCameraLayers(const platform::PixelBuffer& source, int width, int height,
                                         const FrameLayers& layers, const CameraPlacement& camera) {
    if (!_sourceTexture->upload(source)) {
        return false;
    }
    bindTexture(GL_TEXTURE0, _sourceTexture->name());
    glViewport(0, 0, width, height);
    const RGB clear = clearColor(_curBackground.load(std::memory_order_relaxed));
    glClearColor(clear.r, clear.g, clear.b, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT);
    if (_importFileTexture) {
        drawImportedPhoto(width, height, layers.effect);
    }
    if (_bShowCam.load()) {
        drawCameraLayer(width, height, layers.effect, camera.quad, camera.model);
    }
    if (layers.particlesOn) {
        drawParticles(width, height, layers.particle);
    }
    // Every pixel was shaded, so the whole frame is read back.
    _overlayRects.clear();
    _overlayRects.push_back({0, 0, width, height});
    return true;
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

}  // namespace orvane::compositor
