// The stamp layer: it turns the date, position, address, altitude, speed, compass reading,
// custom text, tags, file index and stopwatch into the stamp's texts on every frame, and keeps
// the time, coordinate and address rows the pickers show.
//
// Its facts that other parts need without holding the layer are class operations over the
// shared StampState. This file holds the layer's text side; the drawing of the texts into the
// stamp's texture builds on composeStrings.
#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "screen/settings_cache.h"
#include "screen/settings_first_run.h"
#include "screen/settings_store.h"
#include "stamp/address_formats.h"
#include "stamp/coordinate_formats.h"
#include "stamp/lunar.h"
#include "stamp/stamp_state.h"
#include "stamp/stamp_text.h"
#include "stamp/time_formats.h"

namespace orvane::stamp {

// The texts of one tick, for the layer's labels and glyph runs.
struct StampStrings {
    std::string time;      // label: the time row's text; fraction rows without their digits
    std::string fraction;  // the fraction digits of rows 46 to 55, else ""
    StampBlocks blocks;    // label_gps and label_static
    bool compassShown = false;
    int compassDegree = 0;
    std::string compassTail;  // label_compass; "" when hidden
    bool stopWatchShown = false;
    std::string stopWatch;
};

class LineDrawer {
  public:
    // The camera screen's compass: whether a reading exists, and its value in radians.
    struct LuoPanReading {
        bool isGetLuoPan = false;
        double degree = 0.0;
    };
    using LuoPanSource = std::function<LuoPanReading()>;

    // `start` is what the store's first run of the layer left (time row, address and coordinate
    // form keys). The stamp's time mode is taken from the cached settings. `languageCode` picks
    // the address joiner and default form; empty means the user's preferred language.
    LineDrawer(screen::SettingsStore& store, screen::SettingsCache& cache,
               const screen::StampLayerStartValues& start, StampState& state = StampState::shared(),
               DateSettings dateSettings = dateSettingsFromEnvironment(),
               std::string languageCode = {});
    LineDrawer(const LineDrawer&) = delete;
    LineDrawer& operator=(const LineDrawer&) = delete;

    // The tick's composition: the time and its fraction, the two blocks in the order of the time
    // mode, the compass and the stopwatch, at the clock's now. Stores the address line and the
    // coordinate block in the shared state. Safe to run on the frame thread while the main
    // thread changes rows; `out` keeps its storage between calls.
    void composeStrings(StampStrings& out);

    // The pickers' rows.
    const std::vector<std::string>& getTimeList() const { return _tl; }
    std::vector<std::string> getGpsList() const { return _gps.getGpsList(); }
    std::vector<std::string> getLocalList() const { return _addressRows.getLocalList(); }

    int getTimeFormatIndex() const { return _timeFormatIndex.load(std::memory_order_relaxed); }
    // The row the next tick shows; saveTimeFormatIndex stores it.
    void setTimeFormatIndex(int row) { _timeFormatIndex.store(row, std::memory_order_relaxed); }
    void saveTimeFormatIndex(int row);

    int getGpsIndex() const { return _gps.getGpsIndex(); }
    void setGpsIndex(int row) { _gps.setGpsIndex(row); }
    // Remembers the chosen coordinate form by its key; row 0 clears the stamp's coordinates.
    void saveGpsIndex(int row);

    // The coordinate rows, rebuilt by the location updater from each accepted position.
    CoordinateCatalogue& coordinateCatalogue() { return _gps; }

    int getLocationIndex() const { return _addressRows.getLocationIndex(); }
    void setLocationIndex(int row) { _addressRows.setLocationIndex(row); }
    // Remembers the chosen address by its text and form key; row 0 clears the stamp's address.
    void saveLocationIndex(int row);
    // The stamp settings' reset: the language's default address form.
    void resetDefaultLocationFormatIndex() {
        _addressRows.resetDefaultLocationFormatIndex(_store.lineDrawer);
    }
    // The address rows of a reverse geocoding answer; an error changes nothing. Main queue.
    void processPlacement(const std::vector<platform::Placemark>& placemarks,
                          const std::optional<foundation::Error>& error) {
        _addressRows.processPlacement(placemarks, error, _store.lineDrawer);
    }
    // Replaces the address rows as they are, without forms: for callers that hold rows already
    // made.
    void setLocalList(std::vector<std::string> rows) { _addressRows.setLocalList(std::move(rows)); }
    AddressCatalogue& addressCatalogue() { return _addressRows; }

    void setLuoPanSource(LuoPanSource source);
    // The lunar line of an instant; the text stays valid until the next call.
    const std::string& getFormattedLunar(double date) { return _lunar.getFormattedLunar(date); }
    static const char* getCompassTail(int degree) { return stamp::getCompassTail(degree); }
    static std::string convertTimeFromSeconds(double seconds) {
        return stamp::convertTimeFromSeconds(seconds);
    }

    // Class operations over the shared state.
    static void displayStopWatch(bool shown) { StampState::shared().displayStopWatch(shown); }
    static void startStopWatch() { StampState::shared().startStopWatch(); }
    static void stopStopWatch() { StampState::shared().stopStopWatch(); }
    static void resetStopWatch() { StampState::shared().resetStopWatch(); }
    // Empty and absent text both mean no custom text.
    static void setCustomText(const std::string& text) { StampState::shared().setCustomText(text); }
    static void setTimeInAbove(int value) { StampState::shared().setTimeBelow(value); }
    static int getTimeInAbove() { return StampState::shared().timeBelow(); }
    static std::string getLocation() { return StampState::shared().location(); }
    static std::string getGps() { return StampState::shared().gps(); }
    static float getAltitude() { return StampState::shared().altitude(); }
    static float getSpeed() { return StampState::shared().speed(); }
    // The position last sent to reverse geocoding, not the latest fix.
    static std::optional<platform::Location> getCLLocation() {
        return StampState::shared().lastGeocodedLocation();
    }
    static void SetNeedForceRefreshLocation() {
        StampState::shared().setNeedForceRefreshLocation();
    }

  private:
    screen::SettingsStore& _store;
    screen::SettingsCache& _cache;
    StampState& _state;

    std::atomic<int> _timeFormatIndex;
    std::vector<std::string> _tl;
    CoordinateCatalogue _gps;
    AddressCatalogue _addressRows;

    mutable std::mutex _mutex;  // guards the compass source
    LuoPanSource _luoPan;

    // Used by the frame thread only.
    LiveTimeFormatter _timeFormatter;
    LunarLine _lunar;
    LiveTime _liveTime;
    StampLines _lines;
    std::string _address;
    std::string _coordinates;
    std::string _customText;
    std::string _tags;
    std::string _lastStopWatchString{kStopWatchZero};
};

}  // namespace orvane::stamp
