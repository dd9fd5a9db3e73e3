// The postal text: countries whose layouts differ, the territory rule, the fallback layout,
// the cleanup of missing parts, and placemarks with almost nothing.
#include "platform/geocoding/address_templates.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace orvane::platform {
namespace {

struct Row {
    const char* what;
    const char* language;
    Placemark placemark;
    const char* expected;
};

Placemark place(const char* code, const char* country, const char* state, const char* city,
                const char* postcode, const char* road, const char* number,
                const char* suburb = nullptr, const char* county = nullptr) {
    Placemark p;
    const auto set = [](std::optional<std::string>& field, const char* value) {
        if (value != nullptr)
            field = value;
    };
    set(p.ISOcountryCode, code);
    set(p.country, country);
    set(p.administrativeArea, state);
    set(p.locality, city);
    set(p.postalCode, postcode);
    set(p.thoroughfare, road);
    set(p.subThoroughfare, number);
    set(p.subLocality, suburb);
    set(p.subAdministrativeArea, county);
    return p;
}

TEST(AddressTemplatesTest, LaysOutEachCountryByItsConventions) {
    const std::vector<Row> rows = {
        {"US: number before street, state code and zip on the city line", "en",
         place("US", "United States", "California", "Mountain View", "94043",
               "Amphitheatre Parkway", "1600"),
         "1600 Amphitheatre Parkway\nMountain View, CA 94043\nUnited States"},
        {"FR: postcode before town", "fr",
         place("FR", "France", "Île-de-France", "Paris", "75007", "Avenue Anatole France", "5"),
         "5 Avenue Anatole France\n75007 Paris\nFrance"},
        {"DE: number after street", "de",
         place("DE", "Deutschland", "Berlin", "Berlin", "10117", "Pariser Platz", "1"),
         "Pariser Platz 1\n10117 Berlin\nDeutschland"},
        {"GB: postcode on its own line", "en",
         place("GB", "United Kingdom", "England", "London", "SW1A 2AA", "Downing Street", "10"),
         "10 Downing Street\nLondon\nSW1A 2AA\nUnited Kingdom"},
        {"JP in English: postcode with its hyphen, small to large", "en",
         place("jp", "Japan", "Tokyo", "Chiyoda", "1000001", "Chiyoda", "1-1"),
         "1-1 Chiyoda\nChiyoda, Tokyo 100-0001\nJapan"},
        {"JP in Japanese: large to small, country first", "ja",
         place("JP", "日本", "東京都", "千代田区", "100-0001", "千代田", "1-1"),
         "日本\n100-0001\n東京都\n千代田区\n千代田\n1-1"},
        {"CN: postcode and country first, then province down to the street", "zh",
         place("CN", "中国", "北京市", "东城区", "100006", "东长安街", "1", "东华门街道"),
         "100006 中国\n北京市\n东城区\n东华门街道\n东长安街 1"},
        {"BR: city - state code, postcode with its hyphen", "pt",
         place("BR", "Brasil", "São Paulo", "São Paulo", "01310200", "Avenida Paulista", "1578",
               "Bela Vista"),
         "Avenida Paulista 1578\nBela Vista\nSão Paulo - SP\n01310-200\nBrasil"},
        {"a territory borrows its country's layout and names itself as the state", "en",
         place("PR", "Puerto Rico", nullptr, "San Juan", "00901", "Calle Fortaleza", "52"),
         "52 Calle Fortaleza\nSan Juan, PR 00901\nPuerto Rico"},
        {"a component rule of the country applies", "de",
         place("DE", "Deutschland", "Bayern", nullptr, nullptr, nullptr, nullptr, nullptr,
               "Landkreis Starnberg"),
         "Starnberg\nBayern\nDeutschland"},
        {"no street: the country's fallback layout spells out the levels", "en",
         place("US", "United States", "Colorado", "Aspen", nullptr, nullptr, nullptr, nullptr,
               "Pitkin County"),
         "Aspen, Colorado\nUnited States"},
        {"a country without a layout gets the general one", "en",
         place("XZ", "Nowhere", "North", "Town", "123", "Main Road", "7"),
         "Main Road 7\n123 Town\nNowhere"},
        {"no country code at all", "en",
         place(nullptr, "Atlantis", "Deep", "Poseidonia", nullptr, nullptr, nullptr),
         "Poseidonia\nDeep\nAtlantis"},
        {"missing parts leave no dangling comma or blank", "en",
         place("US", "United States", "Texas", nullptr, nullptr, "Elm Street", nullptr),
         "Elm Street\nTX\nUnited States"},
        {"only a country", "en", place("FR", "France", nullptr, nullptr, nullptr, nullptr, nullptr),
         "France"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(formatPostalAddress(row.placemark, row.language), std::string(row.expected));
    }
}

TEST(AddressTemplatesTest, NothingWhenThePlacemarkHoldsNoAddress) {
    EXPECT_EQ(formatPostalAddress(Placemark{}, "en"), std::nullopt);
    Placemark codeOnly;
    codeOnly.ISOcountryCode = "FR";
    codeOnly.name = "Somewhere";  // a name is not a part of the postal address
    EXPECT_EQ(formatPostalAddress(codeOnly, "en"), std::nullopt);
    Placemark blanks = place("FR", "  ", "", nullptr, nullptr, " ", nullptr);
    EXPECT_EQ(formatPostalAddress(blanks, "en"), std::nullopt);
}

TEST(AddressTemplatesTest, APartTooLongForAnAddressIsLeftOut) {
    // Cape Verde's rules match the postcode line with a regular expression that recurses once a
    // character: a town of a hundred thousand letters used to overflow the stack.
    const std::string longest(kMaxPostalPartBytes, 'P');
    EXPECT_EQ(formatPostalAddress(place("CV", "Cabo Verde", nullptr, longest.c_str(), "7600",
                                        "Rua Serpa Pinto", "5"),
                                  "pt"),
              "Rua Serpa Pinto 5\n7600-" + longest + "\nCabo Verde");
    const std::string tooLong(100000, 'P');
    EXPECT_EQ(formatPostalAddress(place("CV", "Cabo Verde", nullptr, tooLong.c_str(), "7600",
                                        "Rua Serpa Pinto", "5"),
                                  "pt"),
              "Rua Serpa Pinto 5\n7600\nCabo Verde");
}

TEST(AddressTemplatesTest, TheCountryLineIsThePlacemarksOwnCountry) {
    // The catalogue removes the country line by the placemark's country, so no layout may
    // rename it ("United States of America", "Guadeloupe, France").
    for (const auto& [code, country] : std::vector<std::pair<const char*, const char*>>{
             {"US", "United States"}, {"GP", "France"}, {"NL", "Koninkrijk der Nederlanden"}}) {
        SCOPED_TRACE(code);
        const auto text =
            formatPostalAddress(place(code, country, nullptr, "Town", "1234", "Road", "1"), "en");
        ASSERT_TRUE(text.has_value());
        EXPECT_TRUE(text->ends_with(std::string("\n") + country)) << *text;
    }
}

TEST(AddressTemplatesTest, FirstUseFromSeveralThreadsAgrees) {
    const Placemark paris =
        place("FR", "France", "Île-de-France", "Paris", "75001", "Rue de Rivoli", "1");
    std::vector<std::optional<std::string>> results(4);
    std::vector<std::thread> threads;
    for (auto& result : results) {
        threads.emplace_back([&result, &paris] { result = formatPostalAddress(paris, "fr"); });
    }
    for (auto& thread : threads)
        thread.join();
    for (const auto& result : results)
        EXPECT_EQ(result, "1 Rue de Rivoli\n75001 Paris\nFrance");
}

}  // namespace
}  // namespace orvane::platform
