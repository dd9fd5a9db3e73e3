// The texture cache against real PNG files in a data directory of the test's own.
#include <gtest/gtest.h>

#include <cairo/cairo.h>
#include <stdlib.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "engine/CCTextureCache.h"
#include "engine/gl_objects.h"
#include "tests/engine/gl_test_support.h"

namespace orvane::engine {
namespace {

using testing::Rgba;

// Writes a PNG of premultiplied 0xAARRGGBB words, row 0 first.
void writePng(const std::filesystem::path& path, int width, int height,
              const std::vector<std::uint32_t>& argb) {
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height);
    auto* data = cairo_image_surface_get_data(surface);
    const int stride = cairo_image_surface_get_stride(surface);
    for (int y = 0; y < height; ++y) {
        auto* row = reinterpret_cast<std::uint32_t*>(data + y * stride);
        for (int x = 0; x < width; ++x) {
            row[x] = argb[static_cast<std::size_t>(y * width + x)];
        }
    }
    cairo_surface_mark_dirty(surface);
    ASSERT_EQ(cairo_surface_write_to_png(surface, path.c_str()), CAIRO_STATUS_SUCCESS);
    cairo_surface_destroy(surface);
}

std::vector<std::uint8_t> texturePixels(const CCTexture2D& texture) {
    GLFramebuffer framebuffer = makeFramebuffer();
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer.get());
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture.name(), 0);
    std::vector<std::uint8_t> pixels(
        static_cast<std::size_t>(texture.pixelsWide() * texture.pixelsHigh() * 4));
    glReadPixels(0, 0, texture.pixelsWide(), texture.pixelsHigh(), GL_RGBA, GL_UNSIGNED_BYTE,
                 pixels.data());
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    return pixels;
}

class TextureCacheTest : public testing::GLTest {
  protected:
    void SetUp() override {
        testing::GLTest::SetUp();
        if (IsSkipped()) {
            return;
        }
        std::string pattern = (std::filesystem::temp_directory_path() / "orvane-cache-XXXXXX");
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        _root = pattern;
        std::filesystem::create_directories(_root / "images");
        if (const char* previous = std::getenv("ORVANE_DATADIR")) {
            _previous = previous;
        }
        setenv("ORVANE_DATADIR", _root.c_str(), 1);
        _log = std::make_unique<testing::LogCapture>();
    }

    void TearDown() override {
        if (!_root.empty()) {
            CCTextureCache::sharedTextureCache().removeAllTextures();
            _log.reset();
            if (_previous) {
                setenv("ORVANE_DATADIR", _previous->c_str(), 1);
            } else {
                unsetenv("ORVANE_DATADIR");
            }
            std::filesystem::remove_all(_root);
        }
        testing::GLTest::TearDown();
    }

    std::filesystem::path images() const { return _root / "images"; }

    std::filesystem::path _root;
    std::optional<std::string> _previous;
    std::unique_ptr<testing::LogCapture> _log;
};

TEST_F(TextureCacheTest, LoadsOnceWithOrWithoutTheSuffixAsPremultipliedRgbaRows) {
    // Row 0: opaque red, half-transparent green; row 1: transparent, opaque blue.
    writePng(images() / "dot.png", 2, 2, {0xFFFF0000, 0x80008000, 0x00000000, 0xFF0000FF});
    auto& cache = CCTextureCache::sharedTextureCache();
    const auto first = cache.addImage("dot");
    ASSERT_TRUE(first);
    EXPECT_EQ(first->pixelsWide(), 2);
    EXPECT_EQ(first->pixelsHigh(), 2);
    EXPECT_EQ(cache.addImage("dot.png"), first);
    EXPECT_EQ(cache.addImage("dot"), first);
    EXPECT_EQ(cache.count(), 1u);

    const auto pixels = texturePixels(*first);
    const std::vector<std::uint8_t> expected = {255, 0, 0, 255, 0, 128, 0,   128,
                                                0,   0, 0, 0,   0, 0,   255, 255};
    EXPECT_EQ(pixels, expected);

    // Once cached, the file is no longer read.
    std::filesystem::remove(images() / "dot.png");
    EXPECT_EQ(cache.addImage("dot"), first);
}

TEST_F(TextureCacheTest, MissingOrBrokenFilesAreLoggedAndTriedAgain) {
    std::ofstream(images() / "broken.png") << "not a png at all";
    auto& cache = CCTextureCache::sharedTextureCache();
    for (const char* name : {"absent", "broken"}) {
        SCOPED_TRACE(name);
        _log->clear();
        EXPECT_EQ(cache.addImage(name), nullptr);
        const auto lines = _log->lines();
        ASSERT_EQ(lines.size(), 1u);
        EXPECT_NE(lines[0].find((images() / (std::string(name) + ".png")).string()),
                  std::string::npos)
            << lines[0];
    }
    EXPECT_EQ(cache.count(), 0u);

    writePng(images() / "absent.png", 1, 1, {0xFFFFFFFF});
    EXPECT_NE(cache.addImage("absent"), nullptr);
    EXPECT_EQ(cache.count(), 1u);
}

TEST_F(TextureCacheTest, RemoveAllTexturesForgetsThem) {
    writePng(images() / "one.png", 1, 1, {0xFF000000});
    auto& cache = CCTextureCache::sharedTextureCache();
    std::weak_ptr<CCTexture2D> held = cache.addImage("one");
    ASSERT_FALSE(held.expired());
    cache.removeAllTextures();
    EXPECT_EQ(cache.count(), 0u);
    EXPECT_TRUE(held.expired());
    const auto again = cache.addImage("one");
    ASSERT_TRUE(again);
    EXPECT_EQ(texturePixels(*again), (std::vector<std::uint8_t>{0, 0, 0, 255}));
}

TEST_F(TextureCacheTest, OpaqueImagesReadOpaque) {
    // A PNG without alpha: Cairo reads it as xRGB, whose unused byte must not become alpha.
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, 1, 1);
    *reinterpret_cast<std::uint32_t*>(cairo_image_surface_get_data(surface)) = 0x00336699;
    cairo_surface_mark_dirty(surface);
    const auto path = images() / "opaque.png";
    ASSERT_EQ(cairo_surface_write_to_png(surface, path.c_str()), CAIRO_STATUS_SUCCESS);
    cairo_surface_destroy(surface);
    const auto texture = CCTextureCache::addImageFromFile(path.string());
    ASSERT_TRUE(texture);
    EXPECT_EQ(texturePixels(*texture), (std::vector<std::uint8_t>{0x33, 0x66, 0x99, 255}));
}

}  // namespace
}  // namespace orvane::engine
