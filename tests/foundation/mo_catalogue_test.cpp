#include "foundation/mo_catalogue.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace orvane::foundation {
namespace {

std::string catalogue(const std::string& language) {
    return std::string(ORVANE_CATALOGUE_DIR) + "/" + language + "/LC_MESSAGES/orvane.mo";
}

std::vector<char> bytesOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::uint32_t wordAt(const std::vector<char>& bytes, std::size_t offset) {
    std::uint32_t word;
    std::memcpy(&word, bytes.data() + offset, sizeof word);
    return word;
}

void setWord(std::vector<char>& bytes, std::size_t offset, std::uint32_t word) {
    std::memcpy(bytes.data() + offset, &word, sizeof word);
}

TEST(MoCatalogue, ReadsTheProgramsCataloguesInEitherByteOrder) {
    for (const std::string& path : {catalogue("en"), std::string(ORVANE_BIG_ENDIAN_CATALOGUE)}) {
        SCOPED_TRACE(path);
        const auto english = MoCatalogue::read(path);
        ASSERT_EQ(english->error(), "");
        EXPECT_EQ(english->size(), 4u);
        EXPECT_STREQ(english->find("meter"), "Altitude:%.1fm");
        EXPECT_STREQ(english->find("ft"), "Altitude:%.1fft");
        EXPECT_STREQ(english->find("STRNone"), "None");
        EXPECT_STREQ(english->find("STRcancel"), "Cancel");
        // Keys that are their own English text, and the header entry, give nothing.
        EXPECT_EQ(english->find("Speed"), nullptr);
        EXPECT_EQ(english->find(""), nullptr);
        EXPECT_EQ(english->find("mete"), nullptr);
    }
    const auto traditional = MoCatalogue::read(catalogue("zh_TW"));
    ASSERT_EQ(traditional->error(), "");
    EXPECT_STREQ(traditional->find("° NE"), "° 東北");
    EXPECT_STREQ(traditional->find("闰%@月"), "閏%@月");
}

// The number of printf conversions in `format`, and whether all of them are floating ones.
struct Conversions {
    int count = 0;
    bool allFloating = true;
};
Conversions conversionsIn(const char* format) {
    Conversions found;
    for (const char* c = format; *c; ++c) {
        if (*c != '%') {
            continue;
        }
        if (*++c == '%') {
            continue;
        }
        c += std::strspn(c, "-+ #0123456789.");
        ++found.count;
        found.allFloating = found.allFloating && *c && std::strchr("fFeEgG", *c);
        if (!*c) {
            break;
        }
    }
    return found;
}

// msgfmt cannot check these (their keys hold no conversions), yet the stamp formats with them.
TEST(MoCatalogue, AltitudeTextsAreFormatsWithOneFloatingConversion) {
    for (const char* language : {"en", "zh_CN", "zh_TW"}) {
        const auto texts = MoCatalogue::read(catalogue(language));
        ASSERT_EQ(texts->error(), "") << language;
        for (const char* key : {"meter", "ft"}) {
            const char* text = texts->find(key);
            ASSERT_NE(text, nullptr) << language << " " << key;
            const auto conversions = conversionsIn(text);
            EXPECT_EQ(conversions.count, 1) << language << " " << key << ": " << text;
            EXPECT_TRUE(conversions.allFloating) << language << " " << key << ": " << text;
        }
    }
}

TEST(MoCatalogue, RefusesDamagedFilesWhole) {
    const std::vector<char> good = bytesOf(catalogue("en"));
    ASSERT_GT(good.size(), 28u);
    const std::uint32_t count = wordAt(good, 8);
    const std::uint32_t originals = wordAt(good, 12);
    const std::uint32_t translations = wordAt(good, 16);
    ASSERT_EQ(count, 5u);  // the header entry and four texts

    struct Row {
        const char* damage;
        std::vector<char> bytes;
    };
    std::vector<Row> rows;
    auto damaged = [&](const char* damage, auto change) {
        std::vector<char> bytes = good;
        change(bytes);
        bytes.shrink_to_fit();  // so a read past the end is one past the allocation
        rows.push_back({damage, std::move(bytes)});
    };
    damaged("empty", [](auto& b) { b.clear(); });
    damaged("shorter than a header", [](auto& b) { b.resize(27); });
    damaged("wrong magic", [](auto& b) { b[0] ^= 0x01; });
    damaged("a later major revision", [](auto& b) { setWord(b, 4, 2u << 16); });
    damaged("cut before its last text", [](auto& b) { b.resize(b.size() - 4); });
    // The first three entries of the key table moved to the end of the file: the fourth lies
    // past it.
    damaged("key table running past the end", [&](auto& b) {
        b.insert(b.end(), good.begin() + originals, good.begin() + originals + 24);
        setWord(b, 12, static_cast<std::uint32_t>(good.size()));
    });
    damaged("text table past the end",
            [&](auto& b) { setWord(b, 16, static_cast<std::uint32_t>(good.size())); });
    damaged("count that overruns the tables", [](auto& b) { setWord(b, 8, 0xffffffffu); });
    damaged("text offset past the end",
            [&](auto& b) { setWord(b, translations + 8 * 2 + 4, 0xfffffff0u); });
    damaged("key length past the end",
            [&](auto& b) { setWord(b, originals + 8 * 3, 0xffffffffu); });
    damaged("text without its terminating NUL", [&](auto& b) {
        const std::uint32_t length = wordAt(b, translations + 8 * 1);
        setWord(b, translations + 8 * 1, length - 1);
    });

    for (auto& row : rows) {
        SCOPED_TRACE(row.damage);
        const auto texts = MoCatalogue::parse(std::move(row.bytes));
        EXPECT_NE(texts->error(), "");
        EXPECT_EQ(texts->size(), 0u);
        EXPECT_EQ(texts->find("meter"), nullptr);
        EXPECT_EQ(texts->find("STRNone"), nullptr);
    }
    // The untouched bytes parse, so each row above fails by its damage alone.
    EXPECT_EQ(MoCatalogue::parse(good)->size(), 4u);
}

TEST(MoCatalogue, AMissingFileOrADirectoryIsAnError) {
    const auto missing = MoCatalogue::read("/nonexistent/orvane/en.mo");
    EXPECT_NE(missing->error().find("No such file"), std::string::npos) << missing->error();
    EXPECT_EQ(missing->size(), 0u);
    const auto directory = MoCatalogue::read(ORVANE_CATALOGUE_DIR);
    EXPECT_EQ(directory->error(), "is not a regular file");
}

}  // namespace
}  // namespace orvane::foundation
