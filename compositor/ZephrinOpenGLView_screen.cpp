// The screen pass: the last frame's output texture drawn onto the presenter's framebuffer.
#include "compositor/ZephrinOpenGLView.h"

#include "compositor/gl_programs.h"

namespace orvane::compositor {

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

}  // namespace orvane::compositor
