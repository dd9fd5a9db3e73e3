#include "screen/settings_reset.h"

#include "screen/settings_first_run.h"

namespace orvane::screen {

void resetTextSettings(SettingsStore& store, std::string_view languageCode) {
    auto& vc = store.viewController;
    auto& cache = store.cache();
    platform::UserDefaults::ChangeBatch batch(store.defaults());

    store.glView.saveTimePosition(2);

    vc.setDefaultFont("ArialMT");
    vc.setDefaultFontSizeLevel(2);
    vc.setDefaultFontColor(foundation::Color::whiteColor());
    cache.setDefaultFontName("ArialMT");
    cache.setDefaultFontSizeLevel(2);
    cache.setDefaultFontColor(foundation::Color::whiteColor());

    store.lineDrawer.saveLocationType(defaultLocationType(languageCode));
    store.lineDrawer.saveTimeFormatIndex(1);
    store.lineDrawer.saveGps("None");
    store.lineDrawer.saveGpsType("");

    vc.SetShowAltitudeAndSpeed(false);
    cache.setShowAltitudeAndSpeed(false);
    vc.SetNeedDisplayMap(false);
    vc.SetNeedDisplayLuoPan(false);
    cache.setShowLuoPan(false);
    vc.SetShowLunar(false);
    cache.setShowLunar(false);

    vc.saveTextDistanceMode(1);
    cache.setMarginsMode(1);

    vc.saveBackgroundAlpha(0);
    cache.setBackgroundAlpha(0.0f);
    vc.saveTextAlpha(100);
    cache.setTextAlpha(1.0f);
    vc.setTextBackgroundColor(foundation::Color::blackColor());
    cache.setBackgroundColor(foundation::Color::blackColor());

    store.glView.saveEffectIndex(0);
    store.glView.saveParticleIndex(0);

    vc.saveTimeAboveMode(0);
    cache.setTimeInAbove(0);
}

}  // namespace orvane::screen
