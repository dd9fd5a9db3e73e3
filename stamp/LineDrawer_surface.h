// The stamp layer's labels: each text and glyph drawn as a white-tinted label over its shadow,
// and the surface that holds them with the stamp's render texture. Private to the stamp layer.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "engine/CCLabelTTF.h"
#include "engine/CCRenderTexture.h"
#include "engine/geometry.h"
#include "stamp/LineDrawer.h"
#include "stamp/stamp_layout.h"

namespace orvane::stamp {

inline constexpr engine::Color3B kWhite{255, 255, 255};
inline constexpr engine::Color3B kBlack{0, 0, 0};

using Label = std::unique_ptr<engine::CCLabelTTF>;

// A text and its shadow: the text tinted white over its fill colour, the shadow tinted black.
struct LabelPair {
    Label text;
    Label shadow;

    LabelPair(const std::string& string, const std::string& fontName, float fontSize,
              engine::Color3B fill)
        : text(engine::CCLabelTTF::labelWithString(string, fontName, fontSize)),
          shadow(engine::CCLabelTTF::labelWithString(string, fontName, fontSize)) {
        text->setColor(kWhite);
        text->setFontFillColor(fill, true);
        text->setFlipY(true);
        text->setOffsetPosition({kStampOrigin, kStampOrigin});
        shadow->setColor(kBlack);
        shadow->setFlipY(true);
        shadow->setOffsetPosition({kStampOrigin + kShadowOffset, kStampOrigin + kShadowOffset});
    }

    // Returns whether the text differs from the one before.
    bool setString(const std::string& string) {
        const bool changed = text->string() != string;
        text->setString(string);
        shadow->setString(string);
        return changed;
    }

    // A label with no text takes no room, whatever its bitmap's line height.
    engine::Size measure() const {
        return text->string().empty() ? engine::Size{} : text->contentSize();
    }

    void place(engine::Point offset) {
        text->setOffsetPosition(offset);
        text->resetByOffsetPosition();
        shadow->setOffsetPosition({offset.x + kShadowOffset, offset.y + kShadowOffset});
        shadow->resetByOffsetPosition();
    }

    void draw(std::uint8_t opacity, std::uint8_t shadowOpacity) {
        if (text->string().empty()) {
            return;
        }
        shadow->setOpacity(shadowOpacity);
        shadow->visit();
        text->setOpacity(opacity);
        text->visit();
    }

    // A glyph stands at many places: each use moves its quad there.
    void drawAt(engine::Point offset, std::uint8_t opacity, std::uint8_t shadowOpacity) {
        shadow->setOpacity(shadowOpacity);
        shadow->setOffsetPosition({offset.x + kShadowOffset, offset.y + kShadowOffset});
        shadow->resetByOffsetPosition();
        shadow->visit();
        text->setOpacity(opacity);
        text->setOffsetPosition(offset);
        text->resetByOffsetPosition();
        text->visit();
    }
};

struct LineDrawer::Surface {
    engine::CCRenderTexture renderTexture{engine::kTextureSide, engine::kTextureSide};
    LabelPair time;
    LabelPair staticBlock;
    LabelPair coordinates;
    LabelPair compassTail;
    std::vector<LabelPair> glyphs;  // "0" to "9", then ":"

    Surface(const std::string& fontName, float fontSize, engine::Color3B fill)
        : time("", fontName, fontSize, fill),
          staticBlock("", fontName, fontSize, fill),
          coordinates("", fontName, fontSize, fill),
          compassTail("", fontName, fontSize, fill) {
        // RGB (1,1,1) at alpha 0 premultiplies to all zeros: a transparent texture.
        renderTexture.clear(0.0f, 0.0f, 0.0f, 0.0f);
        glyphs.reserve(kGlyphCount);
        for (std::size_t i = 0; i < kGlyphCount; ++i) {
            const std::string glyph = i < 10 ? std::string(1, static_cast<char>('0' + i)) : ":";
            glyphs.emplace_back(glyph, fontName, fontSize, fill);
        }
    }

    template <typename F>
    void forEachTextLabel(F&& f) {
        for (LabelPair* pair : {&time, &staticBlock, &coordinates, &compassTail}) {
            f(*pair);
        }
    }

    // The texts and glyphs, the labels that carry colour and outline.
    template <typename F>
    void forEachInkLabel(F&& f) {
        forEachTextLabel([&](LabelPair& pair) { f(*pair.text); });
        for (LabelPair& glyph : glyphs) {
            f(*glyph.text);
        }
    }

    template <typename F>
    void forEachLabel(F&& f) {
        forEachTextLabel([&](LabelPair& pair) {
            f(*pair.text);
            f(*pair.shadow);
        });
        for (LabelPair& glyph : glyphs) {
            f(*glyph.text);
            f(*glyph.shadow);
        }
    }
};

}  // namespace orvane::stamp
