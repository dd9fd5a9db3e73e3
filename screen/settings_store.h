// The settings store: every key of the program's flat key/value store, reached through accessor
// groups named after the classes that own the keys. Each group borrows the store and holds no
// state of its own; a setter writes at once.
#pragma once

#include "platform/settings/UserDefaults.h"
#include "screen/settings_cache.h"
#include "screen/settings_email.h"
#include "screen/settings_gl_view.h"
#include "screen/settings_markup.h"
#include "screen/settings_overlays.h"
#include "screen/settings_session.h"
#include "screen/settings_stamp_layer.h"
#include "screen/settings_view_controller.h"

namespace orvane::screen {

class SettingsStore {
  public:
    // Borrows both; they must outlive the store. `cache` is where load, reload, reset and
    // setDefaultResolution put the cached copies.
    explicit SettingsStore(platform::UserDefaults& defaults,
                           SettingsCache& cache = SettingsCache::shared())
        : viewController(defaults, cache),
          glView(defaults),
          lineDrawer(defaults),
          sessionManager(defaults),
          watermark(defaults),
          map(defaults),
          luoPan(defaults),
          altAndSpeed(defaults),
          email(defaults),
          imageDrawing(defaults),
          _defaults(defaults),
          _cache(cache) {}

    platform::UserDefaults& defaults() const { return _defaults; }
    SettingsCache& cache() const { return _cache; }

    ZephrinViewControllerStore viewController;
    ZephrinOpenGLViewStore glView;
    LineDrawerStore lineDrawer;
    ZephrinSessionManagerStore sessionManager;
    WatermarkSettingViewControllerStore watermark;
    MapSettingViewControllerStore map;
    LuoPanSettingViewControllerStore luoPan;
    AltAndSpeedSettingViewControllerStore altAndSpeed;
    EmailPhotoViewControllerStore email;
    ImageDrawingControllerStore imageDrawing;

  private:
    platform::UserDefaults& _defaults;
    SettingsCache& _cache;
};

}  // namespace orvane::screen
