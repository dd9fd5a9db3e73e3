#include "engine/CCLabelTTF.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <utility>

#include "engine/geometry.h"
#include "engine/text_raster.h"

namespace orvane::engine {
namespace {

// The stamp's square side in pixels; a label's bitmap may take up to the screen's scale of it.

std::atomic<float> screenScale{1.0f};

std::size_t hashOf(const std::string& text) {
    return std::hash<std::string>{}(text);
}

}  // namespace

CCLabelTTF::CCLabelTTF(std::string text, std::string fontName, float fontSize)
    : _text(std::move(text)),
      _textHash(hashOf(_text)),
      _fontName(std::move(fontName)),
      _fontSize(fontSize) {}

CCLabelTTF::~CCLabelTTF() = default;

std::unique_ptr<CCLabelTTF> CCLabelTTF::labelWithString(const std::string& text,
                                                        const std::string& fontName,
                                                        float fontSize) {
    std::unique_ptr<CCLabelTTF> label(new CCLabelTTF(text, fontName, fontSize));
    label->updateTexture();
    return label;
}

void CCLabelTTF::setString(const std::string& text) {
    const std::size_t hash = hashOf(text);
    if (hash == _textHash) {
        return;
    }
    _text = text;
    _textHash = hash;
    updateTexture();
}

void CCLabelTTF::setFontName(const std::string& fontName) {
    _fontName = fontName;
    updateTexture();
}

void CCLabelTTF::setFontSize(float fontSize) {
    _fontSize = fontSize;
    updateTexture();
}

void CCLabelTTF::setWrapWidth(int pixels) {
    pixels = std::max(pixels, 0);
    if (pixels != _wrapWidth) {
        _wrapWidth = pixels;
        updateTexture();
    }
}

void CCLabelTTF::setFontFillColor(Color3B color, bool updateImage) {
    _fill = color;
    if (updateImage) {
        updateTexture();
    }
}

void CCLabelTTF::enableStrokeWithColor(Color3B color, float size, bool updateImage) {
    _stroke = true;
    _strokeColor = color;
    _strokeSize = size;
    if (updateImage) {
        updateTexture();
    }
}

void CCLabelTTF::disableStrokeAndUpdateImage(bool updateImage) {
    _stroke = false;
    if (updateImage) {
        updateTexture();
    }
}

void CCLabelTTF::updateTexture() {
    float scale = screenScale.load(std::memory_order_relaxed);
    scale = scale > 1.0f ? std::min(scale, 2.0f) : 1.0f;  // NaN too reads as 1
    const int limit = static_cast<int>(scale * kTextureSide);
    TextStyle style;
    style.fontName = _fontName;
    style.fontSize = _fontSize;
    style.fill = _fill;
    style.stroke = _stroke;
    style.strokeColor = _strokeColor;
    style.strokeSize = _strokeSize;
    style.alignment = CCTexture2D::hAligment();
    style.wrapWidth = _wrapWidth > 0 ? std::min(_wrapWidth, limit) : limit;
    style.maxHeight = limit;
    const TextBitmap bitmap = rasterizeText(_text, style);
    ++_rasterizations;
    _cut = bitmap.cut;

    // The texture keeps its GL name from one text to the next.
    if (texture()) {
        texture()->update(bitmap.width, bitmap.height, bitmap.rgba.data());
        resetByOffsetPosition();
    } else {
        setTexture(CCTexture2D::fromPixels(bitmap.width, bitmap.height, bitmap.rgba.data()));
    }
}

void CCLabelTTF::setScreenScale(float scale) {
    screenScale.store(scale, std::memory_order_relaxed);
}

}  // namespace orvane::engine
