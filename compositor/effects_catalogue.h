// The effects' vocabulary as data: film filters with their lookup images and colour matrices,
// particle images, the clear colours behind the picture, the pen colours, and the settings that
// pick among them. The lists, the frame pass and the tests all read these rows; nothing else
// spells a file name or a colour of an effect.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace orvane::compositor {

inline constexpr int kFilmFilterCount = 11;
inline constexpr int kParticleCount = 22;
inline constexpr int kClearColorCount = 9;
inline constexpr int kPenColorCount = 9;

// A 4x4 matrix applied to (r, g, b, 1) after the lookup, column-major as glUniformMatrix4fv
// takes it: element [column * 4 + row].
using ColorMatrix = std::array<float, 16>;

inline constexpr ColorMatrix kIdentityMatrix{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
// Each of red, green and blue becomes a third of their sum; alpha stays.
inline constexpr float kThird = 0.3333f;
inline constexpr ColorMatrix kGreyMatrix{kThird, kThird, kThird, 0, kThird, kThird, kThird, 0,
                                         kThird, kThird, kThird, 0, 0,      0,      0,      1};

struct FilmFilter {
    const char* label;             // English, the key of the localisation table
    std::string_view lookupImage;  // file name in the images directory
    std::string_view thumbnail;
    ColorMatrix colorMatrix;
};

// By effect index. Filter 0 is no bypass: it samples an identity ramp through the same shader.
inline constexpr std::array<FilmFilter, kFilmFilterCount> kFilmFilters{{
    {"None", "lomo4.png", "t_lomo_5", kIdentityMatrix},
    {"Instant", "lomo0.png", "t_lomo_1", kIdentityMatrix},
    {"Noise", "lomo1.png", "t_lomo_2", kIdentityMatrix},
    {"Cold", "lomo2.png", "t_lomo_3", kIdentityMatrix},
    {"Warm", "lomo3.png", "t_lomo_4", kIdentityMatrix},
    {"X-ray", "lomo5.png", "t_lomo_6", kIdentityMatrix},
    {"Classic", "lomo6.png", "t_lomo_7", kIdentityMatrix},
    {"Supper", "lomo7.png", "t_lomo_8", kIdentityMatrix},
    {"Mono", "lomo8.png", "t_lomo_9", kGreyMatrix},
    {"Mix I", "lomo9.png", "t_lomo_10", kIdentityMatrix},
    {"Mix II", "lomo10.png", "t_lomo_11", kIdentityMatrix},
}};

struct ParticleEffect {
    std::string_view image;  // empty for index 0, no effect
    std::string_view thumbnail;
};

// By particle index. No image carries the number 4, and the thumbnails of 5 to 8 do not follow
// the image numbers: the rows stand as the lists have always shown them.
inline constexpr std::array<ParticleEffect, kParticleCount> kParticleEffects{{
    {"", "t_particle_22"},
    {"particle_0.png", "t_particle_1"},
    {"particle_1.png", "t_particle_2"},
    {"particle_2.png", "t_particle_3"},
    {"particle_3.png", "t_particle_4"},
    {"particle_5.png", "t_particle_6"},
    {"particle_6.png", "t_particle_7"},
    {"particle_7.png", "t_particle_8"},
    {"particle_8.png", "t_particle_5"},
    {"particle_9.png", "t_particle_9"},
    {"particle_10.png", "t_particle_10"},
    {"particle_11.png", "t_particle_11"},
    {"particle_12.png", "t_particle_12"},
    {"particle_13.png", "t_particle_13"},
    {"particle_14.png", "t_particle_14"},
    {"particle_15.png", "t_particle_15"},
    {"particle_16.png", "t_particle_16"},
    {"particle_17.png", "t_particle_17"},
    {"particle_18.png", "t_particle_18"},
    {"particle_19.png", "t_particle_19"},
    {"particle_20.png", "t_particle_20"},
    {"particle_21.png", "t_particle_21"},
}};

// The particle emitter's own texture; what is drawn is the particle image the frame pass binds.
inline constexpr std::string_view kEmitterTexture = "stars-grayscale.png";

struct RGB {
    float r;
    float g;
    float b;
    bool operator==(const RGB&) const = default;
};

// By background index: the colour the frame is cleared to (alpha 1) before the picture.
inline constexpr std::array<RGB, kClearColorCount> kClearColors{{
    {0, 0, 0},
    {1, 0.5f, 0.5f},
    {0.5f, 1, 0.5f},
    {0.5f, 0.5f, 1},
    {1, 1, 1},
    {0.8f, 0.8f, 0.8f},
    {0, 0, 0},
    {0.4f, 0.4f, 0.4f},
    {0.6f, 0.6f, 0.6f},
}};

// By pen colour index: the stamp layer's pen, alpha 1.
inline constexpr std::array<RGB, kPenColorCount> kPenColors{{
    {1, 0, 0},
    {0, 1, 0},
    {0, 0, 1},
    {0, 0, 0},
    {1, 1, 1},
    {1, 1, 0},
    {1, 0, 1},
    {0, 1, 1},
    {0.5f, 0.5f, 0.5f},
}};

// A persisted selection: its key in the settings store, the value of the first run, the flag
// that marks that first run done, and how many rows it indexes (0: not an index of a table
// here).
struct EffectSetting {
    std::string_view key;
    std::int64_t firstValue;
    std::string_view firstRunFlag;
    int rows;
};

inline constexpr std::array<EffectSetting, 6> kEffectSettings{{
    {"effectIndex", 0, "haverun", kFilmFilterCount},
    {"particleIndex", 0, "haverun", kParticleCount},
    {"backgroundIndex", 0, "haverun", kClearColorCount},
    {"paperIndex", 2, "haverun", 0},
    {"penColor", 2, "haverun", kPenColorCount},
    {"worldCup", 0, "haverun2", 0},
}};

// The rows by index. An index outside its table - a hand-edited or damaged settings file - takes
// the first value of its setting, so the picture shows plainly instead of reading past a table.
const FilmFilter& filmFilter(std::int64_t effectIndex);
const ParticleEffect& particleEffect(std::int64_t particleIndex);
RGB clearColor(std::int64_t backgroundIndex);
RGB penColor(std::int64_t penColorIndex);

// The label of a film filter in the user's language.
const char* filmFilterLabel(std::int64_t effectIndex);

// How many items a list shows: 11 film filters, 22 particles, and nothing for any other list.
enum class EffectList { FilmFilters, Particles, Other };
int numberOfItems(EffectList list);

}  // namespace orvane::compositor
