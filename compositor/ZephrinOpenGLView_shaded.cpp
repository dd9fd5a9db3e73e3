// The frame pass's shaded road: the imported photo, the camera through its film filter and the
// particles, drawn into the offscreen framebuffer in that order; in bending mode the photo and
// the camera swing on a mesh.
#include "compositor/ZephrinOpenGLView.h"

#include "compositor/effects_catalogue.h"
#include "compositor/gl_programs.h"
#include "engine/CCParticleSystemQuad.h"

namespace orvane::compositor {

namespace {

// The mesh has a point every 40 pixels of the first bent frame.
constexpr std::uint32_t kDanceMeshFactor = 40;
constexpr std::uint32_t kDanceTouchRadius = 5;

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
    if (_effectScale.load(std::memory_order_relaxed) != 0) {
        drawPreviewGrid(width, height, layers, camera);
    } else {
        glViewport(0, 0, width, height);
        const RGB clear = clearColor(_curBackground.load(std::memory_order_relaxed));
        glClearColor(clear.r, clear.g, clear.b, 1.0f);
        glClear(GL_COLOR_BUFFER_BIT);
        const bool dance = _bDanceMode.load() && prepareRipple(width, height, source);
        if (_importFileTexture) {
            if (dance) {
                drawDancingPhoto(width, height, layers.effect);
            } else {
                drawImportedPhoto(width, height, layers.effect);
            }
        }
        if (_bShowCam.load()) {
            if (dance) {
                glViewport(0, 0, width, height);
                drawDanceMesh(GL_TEXTURE0, _sourceTexture->name(), _texcoordVBO.get(),
                              backCamera.load() ? 1.0f : -1.0f, danceStateCamera, layers.effect);
            } else {
                drawCameraLayer(width, height, layers.effect, camera.quad, camera.model);
            }
        }
        if (layers.particlesOn) {
            drawParticles(width, height, layers.particle);
        }
    }
    // Every pixel was shaded, so the whole frame is read back.
    _overlayRects.clear();
    _overlayRects.push_back({0, 0, width, height});
    return true;
}

void ZephrinOpenGLView::drawCameraLayer(int width, int height, std::size_t effect,
                                        const CameraQuad& quad, const Matrix4& model) {
    glViewport(0, 0, width, height);
    shadeCamera(effect, quad, model);
}

void ZephrinOpenGLView::shadeCamera(std::size_t effect, const CameraQuad& quad,
                                    const Matrix4& model) {
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

bool ZephrinOpenGLView::prepareRipple(int width, int height, const platform::PixelBuffer& source) {
    if (_ripple) {
        return true;
    }
    if (!_programs.danceProgram) {
        return false;
    }
    // Made once, at the first bent frame's size: the mesh is in the frame's own units, so a
    // later size bends as well.
    _ripple = RippleModel::initWithScreenWidth(
        static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height), kDanceMeshFactor,
        kDanceTouchRadius, static_cast<std::uint32_t>(source.width()),
        static_cast<std::uint32_t>(source.height()));
    if (!_ripple) {
        return false;
    }
    const auto upload = [](engine::GLBuffer& buffer, GLenum target, std::size_t size,
                           const void* data, GLenum usage) {
        buffer = engine::makeBuffer();
        glBindBuffer(target, buffer.get());
        glBufferData(target, static_cast<GLsizeiptr>(size), data, usage);
        glBindBuffer(target, 0);
    };
    // The vertices are the buffer a ripple would rewrite; nothing starts one, so they are
    // written once, like the rest.
    upload(_positionVBO, GL_ARRAY_BUFFER, _ripple->getVertexSize(), _ripple->getVertices().data(),
           GL_DYNAMIC_DRAW);
    upload(_texcoordVBO, GL_ARRAY_BUFFER, _ripple->getTexCoordsSize(),
           _ripple->getTexCoords().data(), GL_STATIC_DRAW);
    upload(_photoCoordVBO, GL_ARRAY_BUFFER, _ripple->getTexCoordsSize(),
           _ripple->getPhotoCoords().data(), GL_STATIC_DRAW);
    upload(_indexVBO, GL_ELEMENT_ARRAY_BUFFER, _ripple->getIndexSize(),
           _ripple->getIndices().data(), GL_STATIC_DRAW);
    return true;
}

void ZephrinOpenGLView::drawDanceMesh(GLenum unit, GLuint picture, GLuint coordinates,
                                      float mulcamera, DanceState& state, std::size_t effect) {
    stepDance(state);
    const DanceControlPoints k = danceControlPoints(state.t);
    glUseProgram(_programs.danceProgram.get());
    bindTexture(unit, picture);
    glUniform1i(_programs.danceSamplerRGB, static_cast<GLint>(unit - GL_TEXTURE0));
    bindTexture(GL_TEXTURE2, nameOf(_filterTexture[effect]));
    glUniform1i(_programs.dancefilterRGB, 2);
    glUniformMatrix4fv(_programs.dancecolorMatrix, 1, GL_FALSE,
                       kFilmFilters[effect].colorMatrix.data());
    glUniform1f(_programs.dancemulcamera, mulcamera);
    glUniform3fv(_programs.dancek, 16, k.data());
    // ES 2 has no vertex array objects: the mesh's attributes are pointed at on every draw.
    glBindBuffer(GL_ARRAY_BUFFER, _positionVBO.get());
    glVertexAttribPointer(kPositionAttribute, 3, GL_FLOAT, GL_FALSE, 3 * sizeof(float), nullptr);
    glEnableVertexAttribArray(kPositionAttribute);
    glBindBuffer(GL_ARRAY_BUFFER, coordinates);
    glVertexAttribPointer(kTexCoordAttribute, 2, GL_FLOAT, GL_FALSE, 2 * sizeof(float), nullptr);
    glEnableVertexAttribArray(kTexCoordAttribute);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, _indexVBO.get());
    glDrawElements(GL_TRIANGLE_STRIP, static_cast<GLsizei>(_ripple->getIndexCount()),
                   GL_UNSIGNED_SHORT, nullptr);
    // The quads drawn after this point at memory of their own, not into a buffer.
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
}

void ZephrinOpenGLView::drawDancingPhoto(int width, int height, std::size_t effect) {
    // The mesh fills the photo's fit-or-fill rectangle, centred in the frame.
    const Quad quad = importedPhotoQuad(_bounds[0], _bounds[1], static_cast<float>(_importWidth),
                                        static_cast<float>(_importHeight), _zoomScale);
    const float w = quad[2] * static_cast<float>(width);
    const float h = quad[5] * static_cast<float>(height);
    glViewport(static_cast<GLint>((static_cast<float>(width) - w) / 2),
               static_cast<GLint>((static_cast<float>(height) - h) / 2), static_cast<GLsizei>(w),
               static_cast<GLsizei>(h));
    drawDanceMesh(GL_TEXTURE3, _importFileTexture->name(), _photoCoordVBO.get(), 1.0f,
                  danceStatePhoto, effect);
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
