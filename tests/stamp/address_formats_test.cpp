// The address rows made from placemarks, and the row chosen after each answer, over a memory
// store.
#include "stamp/address_formats.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

#include "foundation/log.h"
#include "foundation/strings.h"
#include "platform/settings/MemoryUserDefaults.h"

namespace orvane::stamp {
namespace {

using platform::Placemark;

Placemark paris() {
    Placemark p;
    p.name = "Tour Eiffel";
    p.thoroughfare = "Avenue Anatole France";
    p.subLocality = "Gros-Caillou";
    p.locality = "Paris";
    p.subAdministrativeArea = "Paris";
    p.administrativeArea = "Île-de-France";
    p.postalCode = "75007";
    p.country = "France";
    p.formattedAddress = "Avenue Anatole France\n75007 Paris\nFrance";
    p.areasOfInterest = {"Eiffel Tower"};
    return p;
}

Placemark beijing() {
    Placemark p;
    p.thoroughfare = "建国路";
    p.subLocality = "朝阳区";
    p.locality = "北京市";
    p.administrativeArea = "北京市";
    p.country = "中国";
    p.formattedAddress = "中国北京市北京市朝阳区建国路";
    return p;
}

// The text of the form under `key`, or nothing when no form has that key.
std::optional<std::string> formText(const std::vector<AddressForm>& forms, std::string_view key) {
    const auto found = std::find_if(forms.begin(), forms.end(),
                                    [&](const AddressForm& form) { return form.key == key; });
    return found == forms.end() ? std::nullopt : std::optional(found->text);
}

class AddressCatalogueTest : public ::testing::Test {
  protected:
    AddressCatalogue& make(std::string type, std::string language = "en") {
        catalogue = std::make_unique<AddressCatalogue>(std::move(type), std::move(language));
        return *catalogue;
    }
    void answer(const std::vector<Placemark>& placemarks) {
        catalogue->processPlacement(placemarks, std::nullopt, store);
    }
    std::string line() const {
        std::string out = "stale";
        catalogue->addressLine(out);
        return out;
    }

    platform::MemoryUserDefaults defaults;
    screen::LineDrawerStore store{defaults};
    std::unique_ptr<AddressCatalogue> catalogue;
};

TEST(AddressFormsTest, EveryFormOfAWesternPlacemark) {
    const std::vector<std::pair<std::string_view, std::string>> expected = {
        {"country", "France"},
        {"administrativeArea", "Île-de-France"},
        {"subAdministrativeArea", "Paris"},
        {"locality", "Paris"},
        {"administrativeAreaAndCity", "Paris, Île-de-France"},
        {"subLocality", "Gros-Caillou"},
        {"cityAndName", "Tour Eiffel\nParis"},
        {"cityAndStreet", "Avenue Anatole France, Paris"},
        {"countryAndStreet", "Avenue Anatole France, France"},
        {"formatAddress", "Avenue Anatole France\n75007 Paris\nFrance"},
        {"formatAddress2", "Avenue Anatole France\n75007 Paris\nFrance\nTour Eiffel"},
        {"formatAddressWithoutCountry", "Avenue Anatole France\n75007 Paris"},
        {"formatAddress2WithoutCountry", "Avenue Anatole France\n75007 Paris\nTour Eiffel"},
        {"citystatezipcode", "Paris, Île-de-France 75007"},
        {"addresscitytosublocality", "Île-de-France,Paris,Gros-Caillou"},
        {"fulladdress", "Île-de-France,Paris,Gros-Caillou,Avenue Anatole France"},
        {"fulladdress2", "Île-de-France,Paris,Gros-Caillou,Avenue Anatole France\nTour Eiffel"},
        {"thoroughfare", "Avenue Anatole France"},
        {"name", "Tour Eiffel"},
        {"areasOfInterest", "Eiffel Tower"},
        {"addresscitytosublocalityandoneIns", "Île-de-France,Paris,Gros-Caillou\nEiffel Tower"},
        {"cityAndareasOfInterest", "Eiffel Tower\nParis"},
    };
    const auto forms = addressForms(paris(), fullAddressFormat("en"));
    ASSERT_EQ(forms.size(), expected.size());
    for (std::size_t i = 0; i < forms.size(); ++i) {
        EXPECT_EQ(forms[i].key, expected[i].first) << i;
        EXPECT_EQ(forms[i].text, expected[i].second) << expected[i].first;
    }
}

TEST(AddressFormsTest, ChineseJoinsWithoutSeparatorsAndRepairsTheDoubledCity) {
    const auto chinese = addressForms(beijing(), fullAddressFormat("zh"));
    EXPECT_EQ(formText(chinese, "addresscitytosublocality"), "北京市朝阳区");
    EXPECT_EQ(formText(chinese, "fulladdress"), "北京市朝阳区建国路");
    EXPECT_EQ(formText(chinese, "formatAddress"), "中国北京市朝阳区建国路");
    // No line feed beside the country: no rows without it.
    EXPECT_EQ(formText(chinese, "formatAddressWithoutCountry"), std::nullopt);
    EXPECT_EQ(formText(chinese, "administrativeAreaAndCity"), "北京市, 北京市");

    const auto western = addressForms(beijing(), fullAddressFormat("en"));
    EXPECT_EQ(formText(western, "fulladdress"), "北京市,朝阳区,建国路");
}

TEST(AddressFormsTest, CityStateKeepsTheCityTwiceOnlyWhereNotRepaired) {
    Placemark p;
    p.thoroughfare = "Marina Boulevard";
    p.locality = "Singapore";
    p.administrativeArea = "Singapore";
    p.postalCode = "018956";
    p.country = "Singapore";
    p.formattedAddress = "10 Marina Boulevard\nSingapore 018956\nSingapore";
    std::vector<std::pair<std::string_view, std::string>> got;
    for (auto& form : addressForms(p, fullAddressFormat("en"))) {
        got.emplace_back(form.key, form.text);
    }
    const std::vector<std::pair<std::string_view, std::string>> expected = {
        {"country", "Singapore"},
        {"administrativeArea", "Singapore"},
        {"locality", "Singapore"},
        {"administrativeAreaAndCity", "Singapore, Singapore"},
        {"cityAndName", "Marina Boulevard\nSingapore"},
        {"cityAndStreet", "Marina Boulevard, Singapore"},
        {"countryAndStreet", "Marina Boulevard, Singapore"},
        {"formatAddress", "10 Marina Boulevard\n 018956\nSingapore"},
        {"formatAddress2", "10 Marina Boulevard\n 018956\nSingapore"},
        {"formatAddressWithoutCountry", "10 Marina Boulevard\n 018956"},
        {"citystatezipcode", "Singapore 018956"},
        {"addresscitytosublocality", "Singapore"},
        {"fulladdress", "Singapore,Marina Boulevard"},
        {"fulladdress2", "Singapore,Marina Boulevard"},
        {"thoroughfare", "Marina Boulevard"},
    };
    EXPECT_EQ(got, expected);
}

TEST(AddressFormsTest, CountryLineAtTheStartIsRemovedAndTheNameAddedBack) {
    Placemark p;
    p.name = "Bahnhof";
    p.country = "Deutschland";
    p.formattedAddress = "Deutschland\nHauptstraße 1\n10115 Berlin";
    const auto forms = addressForms(p, fullAddressFormat("en"));
    EXPECT_EQ(formText(forms, "formatAddressWithoutCountry"), "Hauptstraße 1\n10115 Berlin");
    EXPECT_EQ(formText(forms, "formatAddress2WithoutCountry"),
              "Hauptstraße 1\n10115 Berlin\nBahnhof");
    // Neither base nor street: fulladdress is the empty row under no key.
    EXPECT_EQ(formText(forms, ""), "");
}

TEST(AddressFormsTest, SubLocalityInsideTheRegionIsNotRepeated) {
    Placemark p;
    p.administrativeArea = "Hong Kong";
    p.locality = "Kowloon";
    p.subLocality = "Kowloon City, Hong Kong";
    // The test is against the region alone, so the sub-locality is dropped though it adds a word.
    EXPECT_EQ(formText(addressForms(p, fullAddressFormat("en")), "addresscitytosublocality"),
              "Hong Kong,Kowloon");
}

TEST_F(AddressCatalogueTest, EqualFormsShareOneRowAndTheSavedFormIsChosen) {
    auto& c = make("formatAddress2");
    answer({paris()});
    const auto rows = c.getLocalList();
    ASSERT_FALSE(rows.empty());
    EXPECT_EQ(rows[0], foundation::localized("STRNone"));
    EXPECT_EQ(std::count(rows.begin(), rows.end(), "Paris"), 1);
    EXPECT_EQ(rows.size(), 22u);  // the none row and 22 forms, two of them "Paris"
    EXPECT_EQ(line(), "Avenue Anatole France\n75007 Paris\nFrance\nTour Eiffel");
    EXPECT_EQ(c.location(), line());
}

TEST_F(AddressCatalogueTest, SeaPlacemarkWithoutPostalTextTakesTheFirstRow) {
    auto& c = make("formatAddress2");
    Placemark sea;
    sea.ocean = "North Atlantic Ocean";
    sea.country = "Portugal";
    answer({sea});
    const std::vector<std::string> rows = {foundation::localized("STRNone"), "Portugal", "",
                                           "North Atlantic Ocean"};
    EXPECT_EQ(c.getLocalList(), rows);
    EXPECT_EQ(c.getLocationIndex(), 1);
    EXPECT_EQ(line(), "Portugal");
    EXPECT_FALSE(c.textForKey("formatAddress").has_value());
    // The type the user chose stays; it is not replaced by the fallback's key.
    EXPECT_EQ(c.locationType(), "formatAddress2");
}

TEST_F(AddressCatalogueTest, RowChoiceFollowsTheSixSteps) {
    struct Case {
        const char* what;
        std::optional<std::string> saved;
        std::string type;
        bool street;
        std::string expectedLine;
        std::string expectedType;
        std::optional<std::string> storedType;
    };
    const std::vector<Case> cases = {
        {"nothing saved, no form: none", std::nullopt, "", true, "", "", std::nullopt},
        {"none saved stays none whatever the form", "None", "formatAddress2", true, "",
         "formatAddress2", std::nullopt},
        {"saved text beats the form", "Paris", "formatAddress2", true, "Paris", "formatAddress2",
         std::nullopt},
        {"the form's text when the saved text is gone", "Lyon", "cityAndStreet", true,
         "Avenue Anatole France, Paris", "cityAndStreet", std::nullopt},
        {"the street, and its key is learnt", "Lyon", "", true, "Avenue Anatole France",
         "thoroughfare", "thoroughfare"},
        {"no street: row 1, and its key is learnt", "Lyon", "", false, "France", "country",
         "country"},
    };
    for (const auto& test : cases) {
        platform::MemoryUserDefaults memory;
        screen::LineDrawerStore caseStore{memory};
        if (test.saved) {
            caseStore.saveLocation(*test.saved);
        }
        AddressCatalogue c(test.type, "en");
        auto place = paris();
        if (!test.street) {
            place.thoroughfare.reset();
        }
        c.processPlacement({place}, std::nullopt, caseStore);
        std::string out;
        c.addressLine(out);
        EXPECT_EQ(out, test.expectedLine) << test.what;
        EXPECT_EQ(c.getLocationIndex() == 0, test.expectedLine.empty()) << test.what;
        EXPECT_EQ(c.locationType(), test.expectedType) << test.what;
        EXPECT_EQ(caseStore.getSavedLocationType(), test.storedType) << test.what;
    }
}

TEST_F(AddressCatalogueTest, TwoAreasOfInterestMakeSixRowsAndTheKeysHoldTheSecond) {
    auto& c = make("formatAddress2");
    auto place = paris();
    place.areasOfInterest = {"Eiffel Tower", "Champ de Mars"};
    answer({place});
    const auto rows = c.getLocalList();
    for (const char* row :
         {"Eiffel Tower", "Île-de-France,Paris,Gros-Caillou\nEiffel Tower", "Eiffel Tower\nParis",
          "Champ de Mars", "Île-de-France,Paris,Gros-Caillou\nChamp de Mars",
          "Champ de Mars\nParis"}) {
        EXPECT_EQ(std::count(rows.begin(), rows.end(), row), 1) << row;
    }
    EXPECT_EQ(c.textForKey("areasOfInterest"), "Champ de Mars");
    EXPECT_EQ(c.textForKey("cityAndareasOfInterest"), "Champ de Mars\nParis");
}

TEST_F(AddressCatalogueTest, AnErrorIsLoggedAndChangesNothing) {
    auto& c = make("formatAddress2");
    answer({paris()});
    const auto rows = c.getLocalList();
    std::vector<std::string> logged;
    foundation::setLogSink([&](const std::string& text) { logged.push_back(text); });
    c.processPlacement({}, foundation::Error{"kCLErrorDomain", 2, "The network is down", ""},
                       store);
    foundation::setLogSink({});
    ASSERT_EQ(logged.size(), 1u);
    EXPECT_EQ(logged[0].rfind("Geocode failed with error: ", 0), 0u) << logged[0];
    EXPECT_NE(logged[0].find("The network is down"), std::string::npos);
    EXPECT_EQ(c.getLocalList(), rows);
    EXPECT_EQ(line(), "Avenue Anatole France\n75007 Paris\nFrance\nTour Eiffel");
}

TEST_F(AddressCatalogueTest, TheDictionaryOnlyGrowsAndSeveralPlacemarksPileUp) {
    auto& c = make("country");
    answer({paris()});
    Placemark inland;
    inland.inlandWater = "Lac Léman";
    inland.country = "Suisse";
    answer({inland, beijing()});
    EXPECT_EQ(c.textForKey("thoroughfare"), "建国路");
    EXPECT_EQ(c.textForKey("inlandWater"), "Lac Léman");
    // The last placemark's country; the first one's still has its row.
    EXPECT_EQ(c.textForKey("country"), "中国");
    const auto rows = c.getLocalList();
    EXPECT_EQ(std::count(rows.begin(), rows.end(), "Suisse"), 1);
    EXPECT_EQ(line(), "中国");

    answer({inland});
    // A key of an earlier answer keeps its text but is not among the latest forms.
    EXPECT_EQ(c.textForKey("name"), "Tour Eiffel");
    const auto latest = c.latestForms();
    EXPECT_TRUE(std::none_of(latest.begin(), latest.end(),
                             [](const auto& form) { return form.first == "name"; }));
    EXPECT_EQ(latest.front(), (std::pair<std::string, std::string>("country", "Suisse")));
}

TEST_F(AddressCatalogueTest, SavingARowStoresItsTextAndFirstKeyAndRowZeroStoresNone) {
    auto& c = make("");
    store.saveLocation(std::string("Lyon"));
    answer({paris()});
    const auto rows = c.getLocalList();
    const auto paris = std::find(rows.begin(), rows.end(), "Paris");
    ASSERT_NE(paris, rows.end());
    c.setLocationIndex(static_cast<int>(paris - rows.begin()));
    EXPECT_FALSE(c.saveLocationIndex(store));
    EXPECT_EQ(store.getSavedLocation(), "Paris");
    // Two forms hold "Paris": the first in row order is remembered.
    EXPECT_EQ(store.getSavedLocationType(), "subAdministrativeArea");

    c.setLocationIndex(0);
    EXPECT_TRUE(c.saveLocationIndex(store));
    EXPECT_EQ(store.getSavedLocation(), "None");
    EXPECT_EQ(store.getSavedLocationType(), "");
    EXPECT_EQ(c.locationType(), "");
    EXPECT_EQ(line(), "");

    c.setLocationIndex(99);
    EXPECT_FALSE(c.saveLocationIndex(store));
    EXPECT_EQ(store.getSavedLocation(), "None");
}

TEST_F(AddressCatalogueTest, ResetChoosesTheLanguageDefault) {
    for (const auto& [language, key, text] : {std::tuple<std::string, std::string, std::string>{
                                                  "zh", "fulladdress", "北京市朝阳区建国路"},
                                              {"en", "formatAddress2", "中国北京市朝阳区建国路"}}) {
        platform::MemoryUserDefaults memory;
        screen::LineDrawerStore caseStore{memory};
        AddressCatalogue c("country", language);
        c.processPlacement({beijing()}, std::nullopt, caseStore);
        c.resetDefaultLocationFormatIndex(caseStore);
        EXPECT_EQ(caseStore.getSavedLocationType(), key);
        std::string out;
        c.addressLine(out);
        EXPECT_EQ(out, text) << language;
    }
}

TEST_F(AddressCatalogueTest, TheFrameThreadReadsWhileTheRowsAreRebuilt) {
    auto& c = make("fulladdress");
    std::atomic<bool> done{false};
    std::thread frame([&] {
        std::string out;
        while (!done.load()) {
            c.addressLine(out);
            EXPECT_TRUE(out.empty() || out.find("Île-de-France") == 0) << out;
        }
    });
    for (int i = 0; i < 200; ++i) {
        auto place = paris();
        place.thoroughfare = "Rue " + std::to_string(i);
        answer({place});
    }
    done.store(true);
    frame.join();
    EXPECT_EQ(line(), "Île-de-France,Paris,Gros-Caillou,Rue 199");
}

}  // namespace
}  // namespace orvane::stamp
