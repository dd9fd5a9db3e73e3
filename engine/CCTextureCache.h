// The images of the program's data directory as textures, each loaded once and shared.
//
// Textures belong to the context current when they were loaded: the owner of that context calls
// removeAllTextures before the context goes. Used from the thread that holds the context (the
// main queue or the frame thread), never from two at once.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "engine/CCTexture2D.h"

namespace orvane::engine {

class CCTextureCache {
  public:
    static CCTextureCache& sharedTextureCache();

    // The image `name` (with or without ".png") of imagesDirectory(), loaded on the first call
    // and the same texture afterwards. A missing or broken file gives null and one log line
    // naming it; nothing is cached, so a later call tries again. Needs a current context.
    std::shared_ptr<CCTexture2D> addImage(const std::string& name);
    // A PNG file by its path, not cached: for tests and tools.
    static std::shared_ptr<CCTexture2D> addImageFromFile(const std::string& path);

    // Forgets every texture; the context that loaded them must be current.
    void removeAllTextures();
    std::size_t count() const { return _textures.size(); }

    // $ORVANE_DATADIR/images, else share/orvane/images beside the program's bin/, else the
    // install prefix's.
    static std::string imagesDirectory();

  private:
    CCTextureCache() = default;

    std::map<std::string, std::shared_ptr<CCTexture2D>, std::less<>> _textures;
};

}  // namespace orvane::engine
