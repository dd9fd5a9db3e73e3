// The stamp layer: it turns the date, position, address, altitude, speed, compass reading,
// custom text, tags, file index and stopwatch into the stamp's texts on every frame, and keeps
// the time, coordinate and address rows the pickers show.
//
// Its facts that other parts need without holding the layer are class operations over the
// shared StampState. Given a GL context, the layer draws the texts into a 1280-pixel square
// texture that the frame compositor places on every frame (LineDrawer_draw.cpp); without one it
// composes the texts only.
#pragma once

#include <GLES2/gl2.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "engine/geometry.h"
#include "foundation/Color.h"
#include "foundation/thread_annotations.h"
#include "platform/gl/GLContext.h"

#include "screen/settings_cache.h"
#include "screen/settings_first_run.h"
#include "screen/settings_store.h"
#include "stamp/address_formats.h"
#include "stamp/coordinate_formats.h"
#include "stamp/lunar/lunar.h"
#include "stamp/pen_stroke.h"
#include "stamp/stamp_damage.h"
#include "stamp/stamp_layout.h"
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
    // Releases the GL objects with the context current.
    ~LineDrawer();
    LineDrawer(const LineDrawer&) = delete;
    LineDrawer& operator=(const LineDrawer&) = delete;

    // Makes `context` current and builds, once, the stamp texture and every label: the font from
    // the settings, its size by camera mode, size level and video resolution. The context is
    // borrowed and must outlive the layer. Without a call the layer composes texts only.
    void setGLContext(platform::GLContext* context);

    // The tick, once per frame the compositor renders and once per setter below: composes the
    // texts, lays the labels and glyphs out, and draws the texture only when something visible
    // changed. Does nothing while the application is inactive. Runs on whichever thread renders;
    // the context must not be current on another thread meanwhile.
    void updateTime();
    // Recomposes the texture: the background plate, then each block's shadow and text. Nothing
    // while the application is inactive.
    void draw();

    // The stamp texture's GL name; 0 without a context.
    GLuint textureName() const;
    // The text block's size in texture pixels as the last tick laid it out.
    engine::Size textSize() const;
    // The font size in pixels the labels use: set from the settings with the context, and by
    // setFont. 0 before setGLContext.
    float fontSize() const { return _fontSize.load(std::memory_order_relaxed); }
    // The text distance the layer asks of the compositor at creation, for its setTextDistance:
    // from the margin mode ("TextDistanceMode") and the font size above.
    int textDistance() const { return _textDistance.load(std::memory_order_relaxed); }

    // No font or colour leaves that alone, and so does a size of 0 or less; the others apply to
    // every label (a colour to the texts, never the shadows). Then a tick and a draw.
    //
    // These setters and clearPen take effect at once where the context can be made current on
    // the calling thread; where it is current on the thread rendering frames, or the application
    // is inactive, the next tick applies them. No GL is touched while inactive.
    void setFont(const std::optional<std::string>& font,
                 const std::optional<foundation::Color>& color, float size);
    // Outlines the texts and glyphs (never the shadows) in `color`, or takes the outline off.
    // Then a tick and a draw.
    void setStroke(bool enabled, const foundation::Color& color);
    // Rasterises the text labels again (after a change of alignment), then a tick and a draw.
    void resetText();
    // The room the block may take in the picture as the viewer sees it, in texture pixels (at
    // most the texture's side). Lines wrap at its width, and a block that is still wider or
    // taller is drawn at a smaller font size until it fits, so the stamp is never cut. The
    // compositor gives it before each tick; a new room takes effect at the next tick.
    void setTextRoom(engine::Size room);
    // The font size the labels are drawn at: fontSize(), or less where the room made it so.
    float fittedFontSize() const;

    // For tests and benchmarks: how often the texture was drawn, the rasterisations of every
    // label so far, and the layout of the last tick.
    std::uint64_t drawCount() const { return _drawCount.load(std::memory_order_relaxed); }
    // The part of the texture the last draw renewed, in texture pixels (row 0 the top).
    PixelRect lastDrawRect() const;
    std::uint64_t rasterizations() const;
    StampLayout layout() const;

    // The pen: a stroke's points (nothing sends touches to the layer; see PenStroke).
    void setColor(const foundation::Color& color);
    // Empties the stroke and clears the texture to transparent: the stamp blanks until the next
    // draw.
    void clearPen();
    void touchbegin(engine::Point point);
    void touchmove(engine::Point point);
    void touchup(engine::Point point);
    void startNewLineFrom(engine::Point point, float size);
    void addPoint(engine::Point point, float size);
    void endLineAt(engine::Point point, float size);
    std::vector<LinePoint> calculateSmoothLinePoints();
    std::vector<LinePoint> penPoints() const;

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
    struct Surface;
    // Defined beside Surface, so that this header needs no engine type.
    struct SurfaceDeleter {
        void operator()(Surface* surface) const;
    };

    // What the setters asked of the labels, applied by the next tick that has the context.
    struct LabelChanges {
        std::optional<std::string> fontName;
        std::optional<engine::Color3B> fill;
        float fontSize = 0.0f;
        bool strokeChanged = false;
        std::optional<engine::Color3B> stroke;  // none: no outline
        bool rasterizeTexts = false;
        bool clearTexture = false;
        std::optional<engine::Size> room;

        bool any() const {
            return fontName || fill || fontSize > 0 || strokeChanged || rasterizeTexts ||
                   clearTexture || room;
        }
    };

    void updateTimeLocked() REQUIRES(_drawMutex);
    // The tick with the context current (or no surface at all).
    void updateTimeCurrent() REQUIRES(_drawMutex);
    void applyLabelChanges() REQUIRES(_drawMutex);
    // Draws the damaged part of the stamp texture again; counts the draw even when nothing of it
    // needs renewing.
    void drawLocked(const PixelRect& damage) REQUIRES(_drawMutex);
    // The setters' tail: a tick that applies the changes and draws, now when the context can be
    // made current here, else at the next frame's tick.
    void refreshLocked() REQUIRES(_drawMutex);
    // Whether the context is current now; logs the first failure of a run of them.
    bool makeContextCurrent() REQUIRES(_drawMutex);
    // Labels, layout, redraw test: the GL side of a tick, after the texts are composed.
    void placeLabels() REQUIRES(_drawMutex);
    // Measures the labels and lays the block out.
    void layoutLabels(const StampLayoutInput& input) REQUIRES(_drawMutex);
    // Draws the labels smaller while the laid-out block is larger than the room; returns
    // whether the font size changed.
    bool fitToRoom(const StampLayoutInput& input) REQUIRES(_drawMutex);
    float fittedFontSizeLocked() const REQUIRES(_drawMutex);
    // Gives every label the font size times the fit scale.
    void applyFittedFontSize() REQUIRES(_drawMutex);

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

    // The GL side. Ticks, draws and setters may arrive from the main queue and the photo queue.
    mutable std::mutex _drawMutex;
    platform::GLContext* _context GUARDED_BY(_drawMutex) = nullptr;
    std::unique_ptr<Surface, SurfaceDeleter> _surface GUARDED_BY(_drawMutex);
    StampStrings _strings GUARDED_BY(_drawMutex);
    StampMeasures _measures GUARDED_BY(_drawMutex);
    StampLayout _layout GUARDED_BY(_drawMutex);
    StampRedrawTest _redraw GUARDED_BY(_drawMutex);
    // What the texture shows: the layout and look of the last draw, and the part it renewed.
    StampLayout _drawnLayout GUARDED_BY(_drawMutex);
    StampLook _drawnLook GUARDED_BY(_drawMutex);
    bool _drawnOnce GUARDED_BY(_drawMutex) = false;
    PixelRect _lastDrawRect GUARDED_BY(_drawMutex);
    LabelChanges _changes GUARDED_BY(_drawMutex);
    // A draw the tick owes: the labels changed in ways the redraw test does not see, or a draw
    // was asked for while the application was inactive.
    bool _drawPending GUARDED_BY(_drawMutex) = false;
    bool _contextFailureLogged GUARDED_BY(_drawMutex) = false;
    PenStroke _pen GUARDED_BY(_drawMutex);
    // The room the block may take (zero: no limit but the texture) and the share of the font
    // size the labels are drawn at to fit it. The share only falls until the room or the font
    // changes, so a block that grew does not swing back and forth between two sizes.
    engine::Size _room GUARDED_BY(_drawMutex);
    float _fitScale GUARDED_BY(_drawMutex) = 1.0f;
    std::atomic<float> _fontSize{0.0f};
    std::atomic<int> _textDistance{0};
    std::atomic<std::uint64_t> _drawCount{0};
};

}  // namespace orvane::stamp
