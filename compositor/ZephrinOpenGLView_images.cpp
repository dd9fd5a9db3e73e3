// The frame compositor's images: film-filter ramps and particle sprites loaded on first use,
// the compass faces by the user's language, and the logo, map and imported photo handed in.
#include "compositor/ZephrinOpenGLView.h"

#include <algorithm>
#include <cstdlib>

#include "compositor/effects_catalogue.h"
#include "compositor/image_transform.h"
#include "engine/CCTextureCache.h"

namespace orvane::compositor {

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

}  // namespace orvane::compositor
