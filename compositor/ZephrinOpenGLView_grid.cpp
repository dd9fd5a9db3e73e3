// The frame pass's preview grid: nine live previews of the camera, one for each film filter or
// particle of a list, drawn in place of the picture while a choice zooms in or out.
#include "compositor/ZephrinOpenGLView.h"

#include "compositor/effects_catalogue.h"
#include "compositor/gl_programs.h"
#include "compositor/preview_grid.h"

namespace orvane::compositor {

void ZephrinOpenGLView::drawPreviewGrid(int width, int height, const FrameLayers& layers,
                                        const CameraPlacement& camera) {
    // Black behind the cells and their gaps, and over the rest of the frame too, rather than
    // whatever the output buffer last held.
    glViewport(0, 0, width, height);
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT);
    const std::int64_t list = _previewEffect.load(std::memory_order_relaxed);
    const std::int64_t selected = previewSelection(list, static_cast<std::int64_t>(layers.effect),
                                                   _curBackground.load(std::memory_order_relaxed),
                                                   _curParticle.load(std::memory_order_relaxed));
    const auto cells = previewGridCells(_effectScale.load(std::memory_order_relaxed), selected);
    // Shape frames would lie over each cell here; no list offers one, so there is no layer.
    for (std::size_t cell = 0; cell < cells.size(); ++cell) {
        const GridViewport& viewport = cells[cell];
        // Only the selected filter is loaded by the pass: a filter not loaded is an empty cell.
        const std::size_t filter = list == kPreviewFilters ? cell : layers.effect;
        if (_filterTexture[filter]) {
            glViewport(viewport[0], viewport[1], viewport[2], viewport[3]);
            shadeCamera(filter, camera.quad, camera.model);
        }
        if (list == kPreviewParticles && _particleTexture[cell]) {
            glEnable(GL_SCISSOR_TEST);
            glScissor(viewport[0], viewport[1], viewport[2], viewport[3]);
            drawParticles(kPreviewGridSide, kPreviewGridSide, cell);
            glDisable(GL_SCISSOR_TEST);
        }
    }
    if (list < kPreviewParticles && layers.particlesOn) {
        drawParticles(kPreviewGridSide, kPreviewGridSide, layers.particle);
    }
}

}  // namespace orvane::compositor
