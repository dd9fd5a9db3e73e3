// The overlay settings screens' accessors to the settings store: logo, map, compass, altitude
// and speed. The screens and the camera screen's reload operations call these.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/settings/UserDefaults.h"

namespace orvane::screen {

// Overlay positions: 0 top left, 1 or 2 top right, 3 bottom left, 4 or 5 bottom right, 6 centre
// (logo only). A "NotAuto" flag that is false derives the corner from the text position.

class WatermarkSettingViewControllerStore {
  public:
    explicit WatermarkSettingViewControllerStore(platform::UserDefaults& defaults) : _d(defaults) {}

    bool isWaterPositionNotAuto() const;
    void SetWaterPositionNotAuto(bool value);
    std::int64_t readWatermarkPosition() const;
    void saveWatermarkPosition(std::int64_t position);
    float readWatermarkOpacity() const;
    void saveWatermarkOpacity(float opacity);
    // The size factor, 0.25..6.25; the screen's row does the slider transformation itself.
    float readWatermarkSize() const;
    void saveWatermarkSize(float size);
    float readWatermarkSize_public() const;
    void saveWatermarkSize_public(float size);
    std::int64_t readWatermarkEdge() const;
    void saveWatermarkEdge(std::int64_t edge);

  private:
    platform::UserDefaults& _d;
};

class MapSettingViewControllerStore {
  public:
    explicit MapSettingViewControllerStore(platform::UserDefaults& defaults) : _d(defaults) {}

    bool isMapPositionNotAuto() const;
    void SetMapPositionNotAuto(bool value);
    std::int64_t readMapPosition() const;
    void saveMapPosition(std::int64_t position);
    std::int64_t readMapType() const;
    void saveMapType(std::int64_t type);
    float readMapOpacity() const;
    void saveMapOpacity(float opacity);
    // The size and scale sliders, 0..1, as stored.
    float readMapSize() const;
    void saveMapSize(float size);
    float readMapScale() const;
    void saveMapScale(float scale);
    // The share factor of the map, 0.25..1.75: stored times 1.5 plus 0.25.
    double readMapSize_public() const;
    void saveMapSize_public(double size);
    // The map's span in degrees: the lower half of the slider spans 0.001..0.01 finely, the upper
    // half 0.01..0.1 coarsely; the two pieces meet at slider 0.5.
    double readMapScale_public() const;
    void saveMapScale_public(double scale);
    std::int64_t readMapAppearance() const;
    void saveMapAppearance(std::int64_t appearance);
    // Where the map comes from, when not from the bundled place data: a tile server's URL
    // template with {z}, {x} and {y} (a second one after a space serves "Satellite hybrid"), the
    // attribution its terms ask to show on the map, and an MBTiles file, which comes before the
    // server. Absent or empty: the offline map, and positions never leave the machine.
    std::optional<std::string> getMapTileURL() const;
    void saveMapTileURL(std::optional<std::string> url);
    std::optional<std::string> getMapAttribution() const;
    void saveMapAttribution(std::optional<std::string> attribution);
    std::optional<std::string> getMapTilesFile() const;
    void saveMapTilesFile(std::optional<std::string> path);

  private:
    platform::UserDefaults& _d;
};

class LuoPanSettingViewControllerStore {
  public:
    explicit LuoPanSettingViewControllerStore(platform::UserDefaults& defaults) : _d(defaults) {}

    bool isLuoPanPositionNotAuto() const;
    void SetLuoPanPositionNotAuto(bool value);
    std::int64_t readLuoPanPosition() const;
    void saveLuoPanPosition(std::int64_t position);
    // 0..4: rotating needle, rotating dial, degrees only, and the first two with degrees.
    std::int64_t readLuoPanStyle() const;
    void saveLuoPanStyle(std::int64_t style);
    // The slider minus 0.5, so -0.5..0.5.
    float readLuoPanSize() const;
    void saveLuoPanSize(float size);

  private:
    platform::UserDefaults& _d;
};

// The compass scale drawn: stored size v <= 0 gives v + 1, v > 0 gives 2v + 1.
float luoPanScale(float storedSize);

class AltAndSpeedSettingViewControllerStore {
  public:
    explicit AltAndSpeedSettingViewControllerStore(platform::UserDefaults& defaults)
        : _d(defaults) {}

    // 0 both, 1 altitude only, 2 speed only.
    std::int64_t readASDisplay() const;
    void saveASDisplay(std::int64_t display);
    // 0 metric, 1 feet and miles per hour.
    std::int64_t readASUnits() const;
    void saveASUnits(std::int64_t units);

  private:
    platform::UserDefaults& _d;
};

}  // namespace orvane::screen
