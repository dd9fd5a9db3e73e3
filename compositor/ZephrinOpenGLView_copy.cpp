// The frame pass's copy road: the camera copied as it is, with the text block blended over it on
// the CPU from a copy of the stamp read back only when the stamp changes.
#include "compositor/ZephrinOpenGLView.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "compositor/stamp_blend.h"
#include "engine/geometry.h"
#include "foundation/log.h"

namespace orvane::compositor {

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
    // The pixels the block may touch: the scissor within the stamp's square, within the frame.
    std::array<int, 4> clip = plan.text;
    if (plan.scissor) {
        const int x0 = std::max(plan.text[0], static_cast<int>(plan.scissor->x));
        const int y0 = std::max(plan.text[1], static_cast<int>(plan.scissor->y));
        const int x1 = std::min(plan.text[0] + plan.text[2],
                                static_cast<int>(plan.scissor->x + plan.scissor->width));
        const int y1 = std::min(plan.text[1] + plan.text[3],
                                static_cast<int>(plan.scissor->y + plan.scissor->height));
        clip = {x0, y0, x1 - x0, y1 - y0};
    }
    clip = clipToFrame(clip[0], clip[1], clip[2], clip[3], width, height);
    if (clip[2] <= 0 || clip[3] <= 0) {
        return copyOnly(true);
    }
    // The texels those pixels need, from two opposite corners: inside the square, as the
    // pixels are.
    const auto texelOf = [&](int x, int y) {
        const int dx = x - map->origin.x;
        const int dy = y - map->origin.y;
        return PointI{dx * map->uStep.x + dy * map->uStep.y, dx * map->vStep.x + dy * map->vStep.y};
    };
    const PointI a = texelOf(clip[0], clip[1]);
    const PointI b = texelOf(clip[0] + clip[2] - 1, clip[1] + clip[3] - 1);
    const std::array<int, 4> texels{std::min(a.x, b.x), std::min(a.y, b.y), std::abs(a.x - b.x) + 1,
                                    std::abs(a.y - b.y) + 1};
    if (texels[0] < 0 || texels[1] < 0 || texels[0] + texels[2] > engine::kTextureSide ||
        texels[1] + texels[3] > engine::kTextureSide) {
        foundation::log("The stamp's quad does not cover its square; the stamp is left out");
        return copyOnly(false);
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

void ZephrinOpenGLView::copyCameraUnderOverlays(const OverlayPlan& plan,
                                                const platform::PixelBuffer& source,
                                                platform::PixelBuffer& output, int width,
                                                int height) {
    copyPixels(source, output);
    collectOverlayRects(plan, width, height);
    // The screen pass shows the whole output texture; otherwise only what the overlays touch is
    // shaded and read back.
    if (_presenter != nullptr) {
        _outputTexture->upload(source);
    } else {
        for (const auto& r : _overlayRects) {
            _outputTexture->uploadRegion(source, r[0], r[1], r[2], r[3]);
        }
    }
    _stats.copiedCamera = true;
}

}  // namespace orvane::compositor
