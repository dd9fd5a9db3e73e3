#include "platform/geocoding/places_ocean.h"

#include <array>
#include <string_view>

namespace orvane::platform::places {

namespace {

struct Box {
    double south, north, west, east;
    std::optional<Ocean> ocean;  // none: the table cannot tell
};

// Checked in order; the first box holding the point answers. The boundaries between basins
// follow the usual meridians (20 E from Africa, 147 E from Tasmania, Cape Horn's 67 W) and
// the isthmus of Central America; marginal seas go to the basin they open onto.
constexpr std::array kBoxes{
    // The Caspian, the Aral and the lakes of central Asia, of North America and of Africa.
    Box{36, 66, 45, 128, std::nullopt},
    Box{41, 50, -93, -75, std::nullopt},
    Box{-18, 4, 28, 36, std::nullopt},
    // The poles' oceans.
    Box{66, 90.0001, -180, 180.0001, Ocean::Arctic},
    Box{51, 66, -96, -64, Ocean::Arctic},  // Hudson Bay and Foxe Basin
    Box{-90.0001, -60, -180, 180.0001, Ocean::Southern},
    // The Pacific side of Mexico and Central America; the Gulf of Mexico and the Caribbean.
    Box{0, 32, -180, -100, Ocean::Pacific},
    Box{0, 17, -100, -92, Ocean::Pacific},
    Box{0, 15.5, -92, -83.5, Ocean::Pacific},
    Box{0, 8.5, -83.5, -77, Ocean::Pacific},
    Box{0, 66, -100, 20, Ocean::Atlantic},
    Box{32, 66, -180, -100, Ocean::Pacific},
    // The Mediterranean and Black Seas, the Red Sea and the Gulf.
    Box{30, 48, 20, 45, Ocean::Atlantic},
    Box{0, 36, 20, 100, Ocean::Indian},
    // East Asia's seas and the North Pacific.
    Box{0, 66, 100, 180.0001, Ocean::Pacific},
    // The southern hemisphere.
    Box{-60, 0, -180, -70, Ocean::Pacific},
    Box{-60, 0, -70, 20, Ocean::Atlantic},
    Box{-60, 0, 20, 100, Ocean::Indian},
    Box{-9, 0, 100, 147, Ocean::Pacific},  // the seas of the Indonesian archipelago
    Box{-60, -9, 100, 147, Ocean::Indian},
    Box{-60, 0, 147, 180.0001, Ocean::Pacific},
};

struct Names {
    std::string_view english, french, simplified, traditional;
};

constexpr std::array kNames{
    Names{"Pacific Ocean", "Océan Pacifique", "太平洋", "太平洋"},
    Names{"Atlantic Ocean", "Océan Atlantique", "大西洋", "大西洋"},
    Names{"Indian Ocean", "Océan Indien", "印度洋", "印度洋"},
    Names{"Arctic Ocean", "Océan Arctique", "北冰洋", "北冰洋"},
    Names{"Southern Ocean", "Océan Austral", "南大洋", "南大洋"},
};

bool isTraditionalChinese(std::string_view code) {
    for (std::string_view tag : {"Hant", "TW", "HK", "MO", "hant", "tw", "hk", "mo"}) {
        if (code.find(tag) != std::string_view::npos) {
            return true;
        }
    }
    return false;
}

}  // namespace

std::optional<Ocean> oceanAt(double latitude, double longitude) {
    for (const Box& box : kBoxes) {
        if (latitude >= box.south && latitude < box.north && longitude >= box.west &&
            longitude < box.east) {
            return box.ocean;
        }
    }
    return std::nullopt;
}

std::string oceanName(Ocean ocean, const std::string& languageCode) {
    const Names& names = kNames[static_cast<std::size_t>(ocean)];
    const std::string_view language = std::string_view(languageCode).substr(0, 2);
    if (language == "zh") {
        return std::string(isTraditionalChinese(languageCode) ? names.traditional
                                                              : names.simplified);
    }
    if (language == "fr") {
        return std::string(names.french);
    }
    return std::string(names.english);
}

}  // namespace orvane::platform::places
