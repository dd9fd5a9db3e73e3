// The words on a map: place names, the scale bar's length, the attribution, laid out with Pango
// and drawn with Cairo, each with a halo in the map's colours so that it reads on any ground.
//
// Threads: Pango's font maps are not shared between threads, so each drawing thread keeps its own
// lettering.
#pragma once

#include <memory>
#include <string>

// Pango's and Cairo's types, as their headers declare them, so that users of the lettering need
// neither library's headers.
typedef struct _cairo cairo_t;
typedef struct _PangoContext PangoContext;
typedef struct _PangoFontMap PangoFontMap;
typedef struct _PangoLayout PangoLayout;

namespace orvane::platform {

struct MapColour {
    double red = 0;
    double green = 0;
    double blue = 0;
    double alpha = 1;
};

class MapLettering {
  public:
    struct Style {
        double pixels = 12;  // the font's size
        bool bold = false;
        MapColour fill;
        MapColour halo;
        double haloPixels = 0;  // the halo's width around the glyphs; 0 none
        double maxWidth = 0;    // a longer text ends in an ellipsis; 0 never
    };

    struct GObjectUnref {
        void operator()(void* object) const;
    };

    // A text laid out once, to be measured and then drawn.
    class Text {
      public:
        double width() const { return _width; }
        double height() const { return _height; }

      private:
        friend class MapLettering;
        std::unique_ptr<PangoLayout, GObjectUnref> _layout;
        Style _style;
        double _width = 0;
        double _height = 0;
    };

    MapLettering();

    // One line in Liberation Sans, or the face fontconfig finds for scripts it lacks (WenQuanYi
    // for Chinese).
    Text layOut(const std::string& utf8, const Style& style) const;
    // Draws the text with its logical box's top left corner at (x, y).
    void draw(cairo_t* cr, const Text& text, double x, double y) const;

  private:
    std::unique_ptr<PangoFontMap, GObjectUnref> _fontMap;
    std::unique_ptr<PangoContext, GObjectUnref> _context;
};

}  // namespace orvane::platform
