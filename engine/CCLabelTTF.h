// A text label: its string rasterised with Pango and Cairo into a texture, drawn as a sprite.
//
// Rasterising is the dear part of the stamp, so a label rasterises only when something it shows
// changed: setString compares the text's hash with the last one and otherwise does nothing at
// all. Fonts are found by name through fontconfig; PostScript names such as "ArialMT" resolve
// to their family and from there to a metric-compatible face.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "engine/CCSprite.h"

namespace orvane::engine {

class CCLabelTTF : public CCSprite {
  public:
    // A label of `fontSize` pixels, rasterised at once. Needs a current context.
    static std::unique_ptr<CCLabelTTF> labelWithString(const std::string& text,
                                                       const std::string& fontName, float fontSize);
    ~CCLabelTTF() override;

    // Rasterises only when the new text's hash differs from the old text's.
    void setString(const std::string& text);
    const std::string& string() const { return _text; }

    void setFontName(const std::string& fontName);  // rasterises
    void setFontSize(float fontSize);               // rasterises
    const std::string& fontName() const { return _fontName; }
    float fontSize() const { return _fontSize; }

    // The fill colour baked into the bitmap; rasterises only when told.
    void setFontFillColor(Color3B color, bool updateImage);
    // An outline baked into the bitmap. A negative size draws fill and outline, a positive one
    // the outline alone; the outline's width is |size| percent of the font size.
    void enableStrokeWithColor(Color3B color, float size, bool updateImage);
    void disableStrokeAndUpdateImage(bool updateImage);

    // Lines wrap at `pixels` (never beyond the bitmap's limit below); 0 wraps at that limit.
    // Rasterises when the width changes.
    void setWrapWidth(int pixels);
    int wrapWidth() const { return _wrapWidth; }
    // Whether the last rasterisation left lines out, the text being taller than the bitmap's
    // limit.
    bool isCut() const { return _cut; }

    // Rasterises now.
    void updateTexture();
    // How many times the label has been rasterised, for the redraw tests and benchmarks.
    std::uint64_t rasterizations() const { return _rasterizations; }

    // Bitmaps wrap only beyond min(scale, 2) x 1280 pixels; headless the scale is 1.
    static void setScreenScale(float scale);

  private:
    CCLabelTTF(std::string text, std::string fontName, float fontSize);

    std::string _text;
    std::size_t _textHash = 0;
    std::string _fontName;
    float _fontSize = 0.0f;
    Color3B _fill;
    bool _stroke = false;
    Color3B _strokeColor{0, 0, 0};
    float _strokeSize = 0.0f;
    int _wrapWidth = 0;
    bool _cut = false;
    std::uint64_t _rasterizations = 0;
};

}  // namespace orvane::engine
