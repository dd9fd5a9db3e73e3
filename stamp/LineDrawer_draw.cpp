// The stamp layer's GL side: the stamp texture and its labels, the tick's layout and redraw
// test, and the drawing.
#include <GLES2/gl2.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "engine/CCLabelTTF.h"
#include "engine/CCRenderTexture.h"
#include "engine/CCTexture2D.h"
#include "foundation/application_state.h"
#include "foundation/log.h"
#include "stamp/LineDrawer.h"
#include "stamp/LineDrawer_surface.h"
#include "stamp/stamp_font.h"

namespace orvane::stamp {

namespace {

// Negative: fill and outline, the outline 3% of the font size.
constexpr float kStrokeSize = -3.0f;
constexpr const char* kFallbackFontName = "ArialMT";
// Fitting the block to its room: at most this many smaller sizes a tick, each this much below
// the share the block is over by, and never below a size that can still be read.
constexpr int kFitSteps = 4;
constexpr float kFitMargin = 0.98f;
constexpr float kSmallestFontSize = 6.0f;

std::uint8_t component(double value) {
    return static_cast<std::uint8_t>(std::clamp(static_cast<int>(value * 255), 0, 255));
}

engine::Color3B color3B(const foundation::Color& color) {
    return {component(color.red), component(color.green), component(color.blue)};
}

float unitClamped(float value) {
    return std::clamp(value, 0.0f, 1.0f);
}

}  // namespace

void LineDrawer::SurfaceDeleter::operator()(Surface* surface) const {
    delete surface;
}

LineDrawer::~LineDrawer() {
    std::lock_guard lock(_drawMutex);
    if (_surface && _context) {
        // GL names go with the context that made them.
        _context->makeCurrent();
    }
    _surface.reset();
}

void LineDrawer::setGLContext(platform::GLContext* context) {
    std::lock_guard lock(_drawMutex);
    if (_surface || context == nullptr) {
        return;
    }
    _context = context;
    if (!makeContextCurrent()) {
        _context = nullptr;
        return;
    }
    const auto& settings = _store.lineDrawer;
    const std::string fontName = settings.getDefaultFont().value_or(kFallbackFontName);
    const float size =
        stampFontSize(settings.getCameraModeIndex(), settings.getDefaultFontSizeLevel(),
                      _cache.getCurrentVideoResolution());
    _fontSize.store(size, std::memory_order_relaxed);
    _textDistance.store(textDistanceForMode(settings.readTextDistanceMode(), size),
                        std::memory_order_relaxed);
    _surface.reset(new Surface(fontName, size, color3B(settings.getDefaultFontColor())));
    if (_cache.isUseTextStroke()) {
        const engine::Color3B stroke = color3B(_cache.getStrokeColor());
        _surface->forEachInkLabel([&](engine::CCLabelTTF& label) {
            label.enableStrokeWithColor(stroke, kStrokeSize, true);
        });
    }
}

bool LineDrawer::makeContextCurrent() {
    if (_context->makeCurrent()) {
        _contextFailureLogged = false;
        return true;
    }
    if (!_contextFailureLogged) {
        foundation::log("The stamp's GL context cannot be made current; the stamp stays as it was");
        _contextFailureLogged = true;
    }
    return false;
}

void LineDrawer::updateTime() {
    if (!foundation::isAppActive()) {
        return;
    }
    std::lock_guard lock(_drawMutex);
    updateTimeLocked();
}

void LineDrawer::updateTimeLocked() {
    if (_surface && !makeContextCurrent()) {
        return;
    }
    updateTimeCurrent();
}

void LineDrawer::updateTimeCurrent() {
    composeStrings(_strings);
    if (_surface) {
        applyLabelChanges();
        placeLabels();
    }
}

void LineDrawer::placeLabels() {
    Surface& s = *_surface;
    bool textsChanged = s.time.setString(_strings.time);
    textsChanged |= s.coordinates.setString(_strings.blocks.coordinateBlock);
    const bool tailChanged = s.compassTail.setString(_strings.compassTail);
    textsChanged |= s.staticBlock.setString(_strings.blocks.staticBlock);

    StampLayoutInput input;
    input.fraction = _strings.fraction;
    input.compassShown = _strings.compassShown;
    input.compassDegree = _strings.compassDegree;
    input.stopWatchShown = _strings.stopWatchShown;
    input.stopWatch = _strings.stopWatch;
    input.hAlignment = engine::CCTexture2D::hAligment();
    input.timeBelow = _state.timeBelow();
    layoutLabels(input);
    const bool refitted = fitToRoom(input);

    s.time.place(_layout.time);
    s.coordinates.place(_layout.coordinates);
    s.compassTail.place(_layout.compassTail);
    s.staticBlock.place(_layout.staticBlock);

    StampLook look;
    look.fraction = _strings.fraction;
    look.compassDegree = _strings.compassShown ? _strings.compassDegree : -1;
    look.stopWatchShown = _strings.stopWatchShown;
    look.hAlignment = input.hAlignment;
    look.timeBelow = input.timeBelow;
    look.backgroundAlpha = _cache.getBackgroundAlpha();
    look.textAlpha = _cache.getTextAlpha();
    look.backgroundColor = _cache.getBackgroundColor();
    // The compass tail's text is a label too, though the redraw test reads its degree.
    const bool labelsChanged =
        textsChanged || tailChanged || refitted ||
        !(look.hAlignment == _drawnLook.hAlignment && look.timeBelow == _drawnLook.timeBelow &&
          look.backgroundAlpha == _drawnLook.backgroundAlpha &&
          look.textAlpha == _drawnLook.textAlpha &&
          look.backgroundColor == _drawnLook.backgroundColor);
    if (_redraw.needsDraw(textsChanged, look) || _drawPending) {
        const bool whole = _drawPending || !_drawnOnce;
        _drawnLook = look;
        _drawnLook.fraction = {};  // the view would outlive this tick's text
        drawLocked(whole ? wholeStamp()
                         : stampDamage(_drawnLayout, _layout, _measures, labelsChanged));
    }
}

void LineDrawer::layoutLabels(const StampLayoutInput& input) {
    Surface& s = *_surface;
    _measures.time = s.time.measure();
    _measures.coordinates = s.coordinates.measure();
    _measures.compassTail = s.compassTail.measure();
    _measures.staticBlock = s.staticBlock.measure();
    for (std::size_t i = 0; i < kGlyphCount; ++i) {
        _measures.glyphs[i] = s.glyphs[i].text->contentSize();
    }
    layoutStamp(input, _measures, _layout);
}

bool LineDrawer::fitToRoom(const StampLayoutInput& input) {
    if (_room.width <= 0 || _room.height <= 0) {
        return false;
    }
    bool refitted = false;
    // Smaller text wraps differently, so one step may not be enough; each takes the share by
    // which the block is over, and a little more for the rounding of glyph sizes.
    for (int step = 0; step < kFitSteps; ++step) {
        engine::Size size = _layout.textSize();
        bool cut = false;
        _surface->forEachTextLabel([&](LabelPair& pair) { cut = cut || pair.text->isCut(); });
        if (size.width <= _room.width && size.height <= _room.height && !cut) {
            break;
        }
        // A label cut at the texture's side is at least a line taller than it shows.
        if (cut) {
            size.height = std::max(size.height, _room.height) + fittedFontSizeLocked();
        }
        const float share = std::min(_room.width / size.width, _room.height / size.height);
        const float scale = _fitScale * share * kFitMargin;
        if (_fontSize.load(std::memory_order_relaxed) * scale < kSmallestFontSize) {
            break;
        }
        _fitScale = scale;
        applyFittedFontSize();
        layoutLabels(input);
        refitted = true;
    }
    _drawPending = _drawPending || refitted;
    return refitted;
}

float LineDrawer::fittedFontSizeLocked() const {
    return _fontSize.load(std::memory_order_relaxed) * _fitScale;
}

void LineDrawer::applyFittedFontSize() {
    const float size = fittedFontSizeLocked();
    _surface->forEachLabel([&](engine::CCLabelTTF& label) { label.setFontSize(size); });
}

float LineDrawer::fittedFontSize() const {
    std::lock_guard lock(_drawMutex);
    return fittedFontSizeLocked();
}

void LineDrawer::setTextRoom(engine::Size room) {
    std::lock_guard lock(_drawMutex);
    if (room != _changes.room.value_or(_room)) {
        _changes.room = room;
    }
}

void LineDrawer::draw() {
    std::lock_guard lock(_drawMutex);
    if (!_surface) {
        return;
    }
    if (!foundation::isAppActive()) {
        _drawPending = true;
        return;
    }
    if (makeContextCurrent()) {
        drawLocked(wholeStamp());
    }
}

void LineDrawer::drawLocked(const PixelRect& damage) {
    Surface& s = *_surface;
    _drawPending = false;
    _drawCount.fetch_add(1, std::memory_order_relaxed);
    _drawnLayout = _layout;
    _drawnOnce = true;
    _lastDrawRect = damage;
    if (damage.empty()) {
        return;
    }
    // Only the damaged part is cleared and drawn again; every label is drawn, clipped to it, so
    // whatever overlaps the changed glyphs comes back as it was.
    s.renderTexture.begin();
    glEnable(GL_SCISSOR_TEST);
    glScissor(damage.x, damage.y, damage.width, damage.height);
    // The plate: the background colour at its alpha, premultiplied as the texture holds it.
    const foundation::Color plate = _cache.getBackgroundColor();
    const float plateAlpha = unitClamped(_cache.getBackgroundAlpha());
    glClearColor(static_cast<float>(plate.red) * plateAlpha,
                 static_cast<float>(plate.green) * plateAlpha,
                 static_cast<float>(plate.blue) * plateAlpha, plateAlpha);
    glClear(GL_COLOR_BUFFER_BIT);
    const int alpha = static_cast<int>(unitClamped(_cache.getTextAlpha()) * 255);
    const auto opacity = static_cast<std::uint8_t>(alpha);
    const auto shadowOpacity = static_cast<std::uint8_t>(alpha / 2);
    glEnable(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);

    // What lies wholly outside the damage would be clipped away: it is not drawn at all, which
    // spares the rasteriser a draw's setting up.
    const auto drawLabel = [&](LabelPair& pair, engine::Point offset, engine::Size size) {
        if (intersects(stampItemPixels(offset, size), damage)) {
            pair.draw(opacity, shadowOpacity);
        }
    };
    const auto drawRun = [&](const auto& run) {
        for (int i = 0; i < run.length; ++i) {
            const auto at = static_cast<std::size_t>(i);
            const auto glyph = static_cast<std::size_t>(run.index[at]);
            if (intersects(stampItemPixels(run.offset[at], _measures.glyphs[glyph]), damage)) {
                s.glyphs[glyph].drawAt(run.offset[at], opacity, shadowOpacity);
            }
        }
    };
    drawLabel(s.time, _layout.time, _measures.time);
    drawRun(_layout.fraction);
    drawLabel(s.coordinates, _layout.coordinates, _measures.coordinates);
    drawRun(_layout.compass);
    drawLabel(s.compassTail, _layout.compassTail, _measures.compassTail);
    drawRun(_layout.stopWatch);
    drawLabel(s.staticBlock, _layout.staticBlock, _measures.staticBlock);

    glDisable(GL_BLEND);
    glDisable(GL_SCISSOR_TEST);
    s.renderTexture.end();
}

PixelRect LineDrawer::lastDrawRect() const {
    std::lock_guard lock(_drawMutex);
    return _lastDrawRect;
}

GLuint LineDrawer::textureName() const {
    std::lock_guard lock(_drawMutex);
    return _surface ? _surface->renderTexture.textureName() : 0;
}

engine::Size LineDrawer::textSize() const {
    std::lock_guard lock(_drawMutex);
    return _layout.textSize();
}

StampLayout LineDrawer::layout() const {
    std::lock_guard lock(_drawMutex);
    return _layout;
}

std::uint64_t LineDrawer::rasterizations() const {
    std::lock_guard lock(_drawMutex);
    std::uint64_t total = 0;
    if (_surface) {
        _surface->forEachLabel(
            [&](const engine::CCLabelTTF& label) { total += label.rasterizations(); });
    }
    return total;
}

void LineDrawer::setFont(const std::optional<std::string>& font,
                         const std::optional<foundation::Color>& color, float size) {
    std::lock_guard lock(_drawMutex);
    if (font) {
        _changes.fontName = *font;
    }
    if (color) {
        _changes.fill = color3B(*color);
    }
    if (size > 0) {
        _changes.fontSize = size;
        _fontSize.store(size, std::memory_order_relaxed);
    }
    refreshLocked();
}

void LineDrawer::setStroke(bool enabled, const foundation::Color& color) {
    std::lock_guard lock(_drawMutex);
    _changes.stroke = enabled ? std::optional<engine::Color3B>(color3B(color)) : std::nullopt;
    _changes.strokeChanged = true;
    refreshLocked();
}

void LineDrawer::resetText() {
    std::lock_guard lock(_drawMutex);
    _changes.rasterizeTexts = true;
    refreshLocked();
}

void LineDrawer::refreshLocked() {
    // A tick applies the changes and draws; without the context at hand (inactive, or current on
    // the thread that renders frames) the next frame's tick does.
    if (foundation::isAppActive() && (!_surface || _context->makeCurrent())) {
        updateTimeCurrent();
    }
}

void LineDrawer::applyLabelChanges() {
    LabelChanges& c = _changes;
    if (!c.any()) {
        return;
    }
    Surface& s = *_surface;
    if (c.fontName) {
        s.forEachLabel([&](engine::CCLabelTTF& label) { label.setFontName(*c.fontName); });
    }
    if (c.fill) {
        s.forEachInkLabel(
            [&](engine::CCLabelTTF& label) { label.setFontFillColor(*c.fill, true); });
    }
    if (c.fontSize > 0) {
        _fitScale = 1.0f;
        s.forEachLabel([&](engine::CCLabelTTF& label) { label.setFontSize(c.fontSize); });
    }
    if (c.room && *c.room != _room) {
        _room = *c.room;
        const int wrap = std::max(1, static_cast<int>(_room.width));
        s.forEachTextLabel([&](LabelPair& pair) {
            pair.text->setWrapWidth(wrap);
            pair.shadow->setWrapWidth(wrap);
        });
        // A new room may give back what an old one took.
        if (_fitScale != 1.0f) {
            _fitScale = 1.0f;
            applyFittedFontSize();
        }
        _drawPending = true;
    }
    if (c.strokeChanged) {
        s.forEachInkLabel([&](engine::CCLabelTTF& label) {
            if (c.stroke) {
                label.enableStrokeWithColor(*c.stroke, kStrokeSize, true);
            } else {
                label.disableStrokeAndUpdateImage(true);
            }
        });
    }
    if (c.rasterizeTexts) {
        // The glyphs are single characters: alignment does not touch them.
        s.forEachTextLabel([](LabelPair& pair) {
            pair.text->updateTexture();
            pair.shadow->updateTexture();
        });
    }
    if (c.clearTexture) {
        s.renderTexture.clear(0.0f, 0.0f, 0.0f, 0.0f);
        // Nothing of the last draw is left: the next one renews the whole texture.
        _drawnOnce = false;
    }
    // Font, colour and outline are beyond the redraw test's sight: draw whatever it says. A clear
    // alone waits for the next draw, as the pen wants.
    _drawPending = _drawPending || c.fontName || c.fill || c.fontSize > 0 || c.strokeChanged ||
                   c.rasterizeTexts;
    c = {};
}

void LineDrawer::clearPen() {
    std::lock_guard lock(_drawMutex);
    _pen.clear();
    if (!_surface) {
        return;
    }
    _changes.clearTexture = true;
    if (foundation::isAppActive() && _context->makeCurrent()) {
        applyLabelChanges();
    }
}

}  // namespace orvane::stamp
