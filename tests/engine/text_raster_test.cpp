// Text rasterising on the CPU with the machine's real fonts, and the reading of font names.
#include "engine/text_raster.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "engine/font_names.h"

namespace orvane::engine {

// Readable failures of the name table.
void PrintTo(const FontRequest& request, std::ostream* out) {
    *out << '"' << request.families << "\" " << request.weight << (request.italic ? " italic" : "");
}

namespace {

struct Pixel {
    int r, g, b, a;
};

Pixel pixelAt(const TextBitmap& bitmap, int x, int y) {
    const std::uint8_t* p = &bitmap.rgba[(static_cast<std::size_t>(y) * bitmap.width + x) * 4];
    return {p[0], p[1], p[2], p[3]};
}

long alphaSum(const TextBitmap& bitmap) {
    long sum = 0;
    for (std::size_t i = 3; i < bitmap.rgba.size(); i += 4) {
        sum += bitmap.rgba[i];
    }
    return sum;
}

// The first and last columns with ink in rows [top, bottom); -1 for both when there is none.
std::pair<int, int> inkColumns(const TextBitmap& bitmap, int top, int bottom) {
    int first = -1;
    int last = -1;
    for (int y = top; y < bottom; ++y) {
        for (int x = 0; x < bitmap.width; ++x) {
            if (pixelAt(bitmap, x, y).a > 64) {
                first = first < 0 ? x : std::min(first, x);
                last = std::max(last, x);
            }
        }
    }
    return {first, last};
}

TextStyle arial(float size) {
    TextStyle style;
    style.fontName = "ArialMT";
    style.fontSize = size;
    return style;
}

TEST(TextRasterTest, BitmapGrowsWithTheTextAndTheFontSize) {
    const TextBitmap shortText = rasterizeText("12:34", arial(70));
    const TextBitmap longText = rasterizeText("12:34:56", arial(70));
    const TextBitmap larger = rasterizeText("12:34", arial(140));
    const TextBitmap twoLines = rasterizeText("12:34\n12:34", arial(70));

    ASSERT_GT(shortText.width, 0);
    EXPECT_GT(longText.width, shortText.width);
    EXPECT_EQ(longText.height, shortText.height);
    EXPECT_NEAR(larger.width, 2 * shortText.width, 4);
    EXPECT_NEAR(larger.height, 2 * shortText.height, 4);
    EXPECT_EQ(twoLines.width, shortText.width);
    EXPECT_NEAR(twoLines.height, 2 * shortText.height, 2);
    EXPECT_EQ(shortText.rgba.size(), static_cast<std::size_t>(shortText.width) *
                                         static_cast<std::size_t>(shortText.height) * 4);
}

TEST(TextRasterTest, NothingToDrawGivesAnEmptyBitmap) {
    for (const auto& [text, size] : std::vector<std::pair<std::string, float>>{
             {"", 70.0f}, {"12:34", 0.0f}, {"12:34", -5.0f}, {"12:34", NAN}}) {
        const TextBitmap bitmap = rasterizeText(text, arial(size));
        EXPECT_EQ(bitmap.width, 0) << text << " at " << size;
        EXPECT_EQ(bitmap.height, 0) << text << " at " << size;
        EXPECT_TRUE(bitmap.rgba.empty());
    }
}

TEST(TextRasterTest, PixelsArePremultipliedRgbaInThatOrder) {
    TextStyle style = arial(60);
    style.fill = {200, 100, 40};
    const TextBitmap bitmap = rasterizeText("Orvane 0123", style);
    int opaque = 0;
    int partial = 0;
    for (int y = 0; y < bitmap.height; ++y) {
        for (int x = 0; x < bitmap.width; ++x) {
            const Pixel p = pixelAt(bitmap, x, y);
            ASSERT_LE(p.r, p.a);
            ASSERT_LE(p.g, p.a);
            ASSERT_LE(p.b, p.a);
            if (p.a == 255) {
                ++opaque;
                EXPECT_EQ(p.r, 200);
                EXPECT_EQ(p.g, 100);
                EXPECT_EQ(p.b, 40);
            } else if (p.a > 0) {
                ++partial;
                EXPECT_NEAR(p.r, 200 * p.a / 255.0, 2);
            }
        }
    }
    EXPECT_GT(opaque, 0);
    EXPECT_GT(partial, 0) << "edges are antialiased";
}

TEST(TextRasterTest, InnerLinesFollowTheAlignment) {
    struct Row {
        int alignment;
        const char* name;
    };
    for (const Row row : {Row{0, "left"}, Row{1, "centre"}, Row{2, "right"}}) {
        TextStyle style = arial(60);
        style.alignment = row.alignment;
        const TextBitmap bitmap = rasterizeText("HHHHHHHHHH\nHH", style);
        const auto [first, last] = inkColumns(bitmap, bitmap.height / 2, bitmap.height);
        ASSERT_GE(first, 0) << row.name;
        const int slack = 8;  // side bearings
        switch (row.alignment) {
            case 0:
                EXPECT_LT(first, slack) << row.name;
                EXPECT_LT(last, bitmap.width / 2) << row.name;
                break;
            case 1:
                EXPECT_NEAR((first + last) / 2.0, bitmap.width / 2.0, 3) << row.name;
                break;
            case 2:
                EXPECT_GT(last, bitmap.width - slack) << row.name;
                EXPECT_GT(first, bitmap.width / 2) << row.name;
                break;
        }
    }
}

TEST(TextRasterTest, OverhangingInkIsNotCut) {
    // An italic "f" reaches past its advance; followed by a space it stands inside its box. Both
    // bitmaps must hold all of its ink.
    TextStyle style = arial(100);
    style.fontName = "Arial-ItalicMT";
    const long alone = alphaSum(rasterizeText("f", style));
    const long boxed = alphaSum(rasterizeText("f ", style));
    ASSERT_GT(boxed, 0);
    EXPECT_NEAR(static_cast<double>(alone), static_cast<double>(boxed), boxed * 0.002);
}

TEST(TextRasterTest, StrokeWidensTheBitmapAndOutlinesInItsColour) {
    TextStyle style = arial(100);
    style.fill = {255, 255, 255};
    const TextBitmap plain = rasterizeText("IH", style);
    style.stroke = true;
    style.strokeColor = {255, 0, 0};
    style.strokeSize = -3.0f;  // 3 px at 100 px
    const TextBitmap stroked = rasterizeText("IH", style);

    EXPECT_GE(stroked.width, plain.width + 3);
    EXPECT_LE(stroked.width, plain.width + 5);
    EXPECT_GE(stroked.height, plain.height + 3);

    // Across the middle row the first and last ink is the outline.
    const int y = stroked.height / 2;
    const auto [first, last] = inkColumns(stroked, y, y + 1);
    ASSERT_GE(first, 1) << "the outline stays inside the bitmap";
    ASSERT_LT(last, stroked.width - 1);
    for (const int x : {first, last}) {
        const Pixel p = pixelAt(stroked, x, y);
        EXPECT_GT(p.r, 2 * p.g) << "outline at x " << x;
    }

    // A positive size draws the outline alone: nothing of the white fill anywhere.
    style.strokeSize = 3.0f;
    const TextBitmap outline = rasterizeText("IH", style);
    EXPECT_EQ(outline.width, stroked.width);
    int fillPixels = 0;
    for (std::size_t i = 0; i < outline.rgba.size(); i += 4) {
        fillPixels += outline.rgba[i + 1] > 0 ? 1 : 0;
    }
    EXPECT_EQ(fillPixels, 0);
    EXPECT_LT(alphaSum(outline), alphaSum(stroked));
    EXPECT_GT(alphaSum(outline), 0);
}

TEST(TextRasterTest, ChineseDrawsWithoutMissingGlyphs) {
    const TextStyle style = arial(70);
    const TextBitmap bitmap = rasterizeText("农历正月初一", style);
    EXPECT_EQ(unknownGlyphCount("农历正月初一", style), 0);
    EXPECT_GT(bitmap.width, 5 * 60);
    EXPECT_GT(alphaSum(bitmap), 0);
}

TEST(TextRasterTest, NarrowNoBreakSpaceIsANarrowSpace) {
    // ICU puts U+202F before AM and PM: it must be a gap, not a box.
    const TextStyle style = arial(70);
    const std::string narrow = "10:30\u202FAM";
    EXPECT_EQ(unknownGlyphCount(narrow, style), 0);
    const int withNarrow = rasterizeText(narrow, style).width;
    EXPECT_GT(withNarrow, rasterizeText("10:30AM", style).width);
    EXPECT_LE(withNarrow, rasterizeText("10:30 AM", style).width);
    EXPECT_EQ(alphaSum(rasterizeText(narrow, style)), alphaSum(rasterizeText("10:30AM", style)));
}

TEST(TextRasterTest, WrapsOnlyBeyondTheWrapWidth) {
    TextStyle style = arial(70);
    const std::string sentence = "The quick brown fox jumps over the lazy dog again and again";
    const TextBitmap unwrapped = rasterizeText(sentence, style);
    style.wrapWidth = unwrapped.width + 1;
    const TextBitmap roomy = rasterizeText(sentence, style);
    EXPECT_EQ(roomy.width, unwrapped.width);
    EXPECT_EQ(roomy.height, unwrapped.height);

    style.wrapWidth = unwrapped.width / 3;
    const TextBitmap wrapped = rasterizeText(sentence, style);
    EXPECT_LE(wrapped.width, style.wrapWidth);
    EXPECT_GE(wrapped.height, 3 * unwrapped.height - 3);

    // A word wider than the width stays whole on its line and overflows the width instead.
    const std::string time = "12:34:56\u00A0PM";
    const TextBitmap whole = rasterizeText(time, arial(70));
    style.wrapWidth = whole.width / 2;
    const TextBitmap narrow = rasterizeText(time, style);
    EXPECT_EQ(narrow.height, whole.height);
    EXPECT_EQ(narrow.width, whole.width);
}

TEST(TextRasterTest, TallTextIsCutAfterTheLastWholeLine) {
    TextStyle style = arial(100);
    style.maxHeight = 1280;
    auto lines = [](int count) {
        std::string text = "Line 1";
        for (int i = 2; i <= count; ++i) {
            text += "\nLine " + std::to_string(i);
        }
        return text;
    };
    TextStyle uncut = style;
    uncut.maxHeight = 0;
    int fitting = 1;
    while (fitting < 30 && rasterizeText(lines(fitting + 1), uncut).height <= style.maxHeight) {
        ++fitting;
    }
    ASSERT_GT(fitting, 5);
    ASSERT_LT(fitting, 30);
    const TextBitmap whole = rasterizeText(lines(fitting), uncut);
    const TextBitmap cut = rasterizeText(lines(30), style);
    EXPECT_EQ(cut.height, whole.height);
    EXPECT_EQ(cut.rgba, whole.rgba);
}

TEST(TextRasterTest, ThreadsRasteriseAtOnceWithTheSamePixels) {
    const TextStyle style = arial(50);
    const TextBitmap expected = rasterizeText("2024-02-10 08:15:00", style);
    std::vector<TextBitmap> results(4);
    std::vector<std::thread> threads;
    for (TextBitmap& result : results) {
        threads.emplace_back([&result, &style] {
            for (int i = 0; i < 5; ++i) {
                result = rasterizeText("2024-02-10 08:15:00", style);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const TextBitmap& result : results) {
        EXPECT_EQ(result.width, expected.width);
        EXPECT_EQ(result.rgba, expected.rgba);
    }
}

TEST(FontNameTest, PostScriptNamesReachTheirMetricCompatibleFaces) {
    struct Row {
        const char* name;
        const char* family;
        int weight;
        bool italic;
    };
    const Row rows[] = {
        {"ArialMT", "Liberation Sans", 400, false},
        {"Arial-BoldMT", "Liberation Sans", 700, false},
        {"Arial-BoldItalicMT", "Liberation Sans", 700, true},
        {"Helvetica", "Liberation Sans", 400, false},
        {"HelveticaNeue-Bold", "Liberation Sans", 700, false},
        {"TimesNewRomanPSMT", "Liberation Serif", 400, false},
        {"CourierNewPSMT", "Liberation Mono", 400, false},
        {"Courier-Bold", "Liberation Mono", 700, false},
        {"LiberationSerif-Bold", "Liberation Serif", 700, false},  // installed under that name
        {"Liberation Sans Bold Italic", "Liberation Sans", 700, true},
    };
    for (const Row& row : rows) {
        const ResolvedFont font = resolveFont(row.name);
        EXPECT_EQ(font.family, row.family) << row.name;
        EXPECT_EQ(font.weight, row.weight) << row.name;
        EXPECT_EQ(font.italic, row.italic) << row.name;
    }
}

TEST(FontNameTest, NamesAreReadByThePostScriptConvention) {
    struct Row {
        const char* name;
        FontRequest request;
    };
    const Row rows[] = {
        {"ArialMT", {"Arial", 400, false}},
        {"Arial-BoldItalicMT", {"Arial", 700, true}},
        {"TimesNewRomanPS-BoldMT", {"Times New Roman", 700, false}},
        {"HelveticaNeue-Light", {"Helvetica Neue,Helvetica,Arial", 300, false}},
        {"GillSans-SemiBoldItalic", {"GillSans,Gill Sans", 600, true}},
        {"Futura-CondensedMedium", {"Futura", 400, false}},  // not a style this reads
        {"Times New Roman Bold", {"Times New Roman", 700, false}},
        {"  ", {"sans-serif", 400, false}},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(fontRequestFromName(row.name), row.request) << row.name;
    }
}

}  // namespace
}  // namespace orvane::engine
