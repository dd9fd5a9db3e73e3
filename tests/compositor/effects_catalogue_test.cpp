// The effects' tables, their agreement with the settings store, and the lookup images the build
// draws for them.
#include "compositor/effects_catalogue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>
#include <string>

#include "platform/settings/MemoryUserDefaults.h"
#include "screen/settings_first_run.h"
#include "screen/settings_keys.h"
#include "screen/settings_store.h"
#include "tests/assets/png_test_support.h"

namespace orvane::compositor {
namespace {

using orvane::testing::PngImage;
using orvane::testing::readImage;

TEST(EffectsCatalogueTest, FilmFilterRowsKeepTheirOddNumbering) {
    struct Row {
        int index;
        std::string_view label, image, thumbnail;
    };
    for (const Row& row :
         {Row{0, "None", "lomo4.png", "t_lomo_5"}, Row{1, "Instant", "lomo0.png", "t_lomo_1"},
          Row{4, "Warm", "lomo3.png", "t_lomo_4"}, Row{5, "X-ray", "lomo5.png", "t_lomo_6"},
          Row{8, "Mono", "lomo8.png", "t_lomo_9"}, Row{10, "Mix II", "lomo10.png", "t_lomo_11"}}) {
        SCOPED_TRACE(row.index);
        const FilmFilter& filter = kFilmFilters[row.index];
        EXPECT_EQ(filter.label, row.label);
        EXPECT_EQ(filter.lookupImage, row.image);
        EXPECT_EQ(filter.thumbnail, row.thumbnail);
    }
}

// out = M (r, g, b, 1) with M column-major.
std::array<float, 4> apply(const ColorMatrix& m, std::array<float, 4> v) {
    std::array<float, 4> out{};
    for (int row = 0; row < 4; ++row) {
        for (int column = 0; column < 4; ++column) {
            out[row] += m[column * 4 + row] * v[column];
        }
    }
    return out;
}

TEST(EffectsCatalogueTest, OnlyMonoChangesColourAfterTheLookup) {
    const std::array<float, 4> orange{0.9f, 0.3f, 0.0f, 1.0f};
    for (int i = 0; i < kFilmFilterCount; ++i) {
        SCOPED_TRACE(kFilmFilters[i].label);
        const auto out = apply(kFilmFilters[i].colorMatrix, orange);
        const std::array<float, 4> expected =
            i == 8 ? std::array<float, 4>{0.39996f, 0.39996f, 0.39996f, 1.0f} : orange;
        for (int c = 0; c < 4; ++c) {
            EXPECT_NEAR(out[c], expected[c], 1e-5) << "component " << c;
        }
    }
}

TEST(EffectsCatalogueTest, ParticleRowsSkipFourAndSwapThumbnailsAtFiveToEight) {
    struct Row {
        int index;
        std::string_view image, thumbnail;
    };
    for (const Row& row :
         {Row{0, "", "t_particle_22"}, Row{1, "particle_0.png", "t_particle_1"},
          Row{4, "particle_3.png", "t_particle_4"}, Row{5, "particle_5.png", "t_particle_6"},
          Row{7, "particle_7.png", "t_particle_8"}, Row{8, "particle_8.png", "t_particle_5"},
          Row{9, "particle_9.png", "t_particle_9"}, Row{21, "particle_21.png", "t_particle_21"}}) {
        SCOPED_TRACE(row.index);
        EXPECT_EQ(kParticleEffects[row.index].image, row.image);
        EXPECT_EQ(kParticleEffects[row.index].thumbnail, row.thumbnail);
    }
    EXPECT_TRUE(std::none_of(kParticleEffects.begin(), kParticleEffects.end(),
                             [](const ParticleEffect& p) { return p.image == "particle_4.png"; }));
}

TEST(EffectsCatalogueTest, ColourRows) {
    EXPECT_EQ(kClearColors[0], (RGB{0, 0, 0}));
    EXPECT_EQ(kClearColors[1], (RGB{1, 0.5f, 0.5f}));
    EXPECT_EQ(kClearColors[6], (RGB{0, 0, 0}));
    EXPECT_EQ(kClearColors[8], (RGB{0.6f, 0.6f, 0.6f}));
    EXPECT_EQ(kPenColors[2], (RGB{0, 0, 1}));
    EXPECT_EQ(kPenColors[6], (RGB{1, 0, 1}));
    EXPECT_EQ(kPenColors[8], (RGB{0.5f, 0.5f, 0.5f}));
}

TEST(EffectsCatalogueTest, AnIndexOutsideItsTableTakesTheFirstValue) {
    for (std::int64_t bad : {std::int64_t{-1}, std::int64_t{22}, std::int64_t{99},
                             std::numeric_limits<std::int64_t>::max()}) {
        SCOPED_TRACE(bad);
        EXPECT_EQ(filmFilter(bad).lookupImage, "lomo4.png");
        EXPECT_EQ(particleEffect(bad).image, "");
        EXPECT_EQ(clearColor(bad), (RGB{0, 0, 0}));
        EXPECT_EQ(penColor(bad), (RGB{0, 0, 1}));
    }
    EXPECT_EQ(filmFilter(10).lookupImage, "lomo10.png");
    EXPECT_EQ(particleEffect(21).image, "particle_21.png");
    EXPECT_EQ(clearColor(7), (RGB{0.4f, 0.4f, 0.4f}));
    EXPECT_EQ(penColor(0), (RGB{1, 0, 0}));
    EXPECT_STREQ(filmFilterLabel(7), "Supper");  // no catalogue bound: the English key
}

TEST(EffectsCatalogueTest, ListsCountTheirTables) {
    EXPECT_EQ(numberOfItems(EffectList::FilmFilters), 11);
    EXPECT_EQ(numberOfItems(EffectList::Particles), 22);
    EXPECT_EQ(numberOfItems(EffectList::Other), 0);
}

// The settings rows here and the settings store's own keys and first run must not drift apart.
TEST(EffectsCatalogueTest, SettingsAgreeWithTheStore) {
    platform::MemoryUserDefaults defaults;
    screen::SettingsCache cache;
    screen::SettingsStore store(defaults, cache);
    screen::runGLViewFirstRun(store);
    for (const EffectSetting& setting : kEffectSettings) {
        SCOPED_TRACE(setting.key);
        const screen::SettingKey* key = screen::findSettingKey(setting.key);
        ASSERT_NE(key, nullptr);
        EXPECT_EQ(key->group, screen::KeyGroup::Effect);
        EXPECT_EQ(key->type, screen::KeyType::Integer);
        if (setting.rows > 0) {
            EXPECT_EQ(key->accepted.maximum, setting.rows - 1);
        }
        EXPECT_EQ(defaults.integerForKey(setting.key), setting.firstValue);
        EXPECT_TRUE(defaults.boolForKey(setting.firstRunFlag));
    }
}

TEST(EffectsCatalogueTest, EveryNamedImageIsBuilt) {
    std::vector<std::string_view> names{kEmitterTexture};
    for (const FilmFilter& filter : kFilmFilters) {
        names.push_back(filter.lookupImage);
    }
    for (const ParticleEffect& particle : kParticleEffects) {
        if (!particle.image.empty()) {
            names.push_back(particle.image);
        }
    }
    for (std::string_view name : names) {
        EXPECT_TRUE(readImage(std::string(name)).has_value()) << name << " is missing";
    }
}

// What a linear-filtered sampler clamped to the edge returns for column `x` at coordinate t.
double sample(const PngImage& image, int x, int channel, double t) {
    const double position = t * image.height - 0.5;
    const int below = static_cast<int>(std::floor(position));
    const double f = position - below;
    const int r0 = std::clamp(below, 0, image.height - 1);
    const int r1 = std::clamp(below + 1, 0, image.height - 1);
    return (1 - f) * image.channel(x, r0, channel) + f * image.channel(x, r1, channel);
}

TEST(EffectsCatalogueTest, NoneIsAnExactIdentityUnderTheFilterSampling) {
    const auto image = readImage("lomo4.png");
    ASSERT_TRUE(image);
    ASSERT_EQ(image->height, 510);
    for (int x = 0; x < image->width; ++x) {
        for (int c = 0; c < 3; ++c) {
            for (int k = 0; k <= 255; ++k) {
                const double t = 0.75 - (k / 255.0) * 0.5;
                ASSERT_EQ(std::lround(sample(*image, x, c, t)), k)
                    << "column " << x << " channel " << c;
            }
        }
    }
}

TEST(EffectsCatalogueTest, LookupImagesAreOpaqueMonotonicRampsWithClampedEnds) {
    for (int i = 0; i < kFilmFilterCount; ++i) {
        const std::string name(kFilmFilters[i].lookupImage);
        SCOPED_TRACE(name);
        const auto image = readImage(name);
        ASSERT_TRUE(image);
        ASSERT_EQ(image->height, 510);
        EXPECT_TRUE(image->width == 4 || image->width == 256) << image->width;
        // X-ray inverts; every other look keeps the order of tones.
        const int direction = kFilmFilters[i].label == std::string_view("X-ray") ? -1 : 1;
        int differsFromIdentity = 0;
        for (int x = 0; x < image->width; ++x) {
            for (int y = 0; y < image->height; ++y) {
                ASSERT_EQ(image->alpha(x, y), 255) << x << "," << y;
            }
            for (int c = 0; c < 3; ++c) {
                for (int y = 0; y < 127; ++y) {
                    ASSERT_EQ(image->channel(x, y, c), image->channel(x, 127, c));
                }
                for (int y = 383; y < 510; ++y) {
                    ASSERT_EQ(image->channel(x, y, c), image->channel(x, 382, c));
                }
                // Row 382 is input 0, row 127 input 1.
                for (int y = 382; y > 127; --y) {
                    const int step = image->channel(x, y - 1, c) - image->channel(x, y, c);
                    ASSERT_GE(step * direction, 0) << "column " << x << " channel " << c
                                                   << " between rows " << y << " and " << y - 1;
                }
                for (int y = 127; y <= 382; ++y) {
                    differsFromIdentity += std::abs(image->channel(x, y, c) - (382 - y)) > 2;
                }
            }
        }
        if (i != 0) {
            EXPECT_GT(differsFromIdentity, 0) << "a look that does nothing";
        }
    }
}

}  // namespace
}  // namespace orvane::compositor
