// The offline geocoder against the real place file of the build tree, and its answers to a
// missing or damaged file.
#include "platform/geocoding/OfflineGeocoder.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <future>
#include <random>

#include "platform/geocoding/places_file.h"
#include "platform/geocoding/places_ocean.h"

namespace orvane::platform {
namespace {

namespace fs = std::filesystem;

struct Answer {
    std::vector<Placemark> placemarks;
    std::optional<foundation::Error> error;
    bool onCallbackQueue = false;
};

class OfflineGeocoderTest : public ::testing::Test {
  protected:
    Answer ask(OfflineGeocoder& geocoder, double latitude, double longitude) {
        std::promise<Answer> promise;
        auto future = promise.get_future();
        geocoder.reverseGeocodeLocation(
            Location({latitude, longitude}, std::nullopt, 10, -1, 0),
            [&promise, queue = _callbackQueue](std::vector<Placemark> placemarks,
                                               std::optional<foundation::Error> error) {
                promise.set_value({std::move(placemarks), std::move(error), queue->isCurrent()});
            });
        EXPECT_EQ(future.wait_for(std::chrono::seconds(30)), std::future_status::ready);
        return future.get();
    }

    Placemark only(OfflineGeocoder& geocoder, double latitude, double longitude) {
        Answer answer = ask(geocoder, latitude, longitude);
        EXPECT_FALSE(answer.error) << answer.error->message();
        EXPECT_EQ(answer.placemarks.size(), 1u);
        return answer.placemarks.empty() ? Placemark{} : answer.placemarks.front();
    }

    fs::path scratchFile(const std::string& name) {
        const fs::path dir =
            fs::temp_directory_path() / ("orvane-places-" + std::to_string(::getpid()));
        fs::create_directories(dir);
        _scratch = dir;
        return dir / name;
    }

    void TearDown() override {
        if (!_scratch.empty()) {
            fs::remove_all(_scratch);
        }
    }

    std::shared_ptr<foundation::SerialQueue> _callbackQueue =
        foundation::SerialQueue::create("test.geocoder.callback");
    fs::path _scratch;
};

TEST_F(OfflineGeocoderTest, NamesKnownPlacesWithAreasAndCountry) {
    struct Row {
        const char* what;
        double latitude, longitude;
        const char* locality;
        const char* area;
        const char* country;
        const char* code;
    };
    const Row rows[] = {
        {"Paris", 48.8566, 2.3522, "Paris", "Île-de-France", "France", "FR"},
        {"Beijing", 39.9042, 116.4074, "Beijing", "Beijing", "China", "CN"},
        {"Sydney", -33.8688, 151.2093, "Sydney", "New South Wales", "Australia", "AU"},
        {"Reykjavik", 64.1466, -21.9426, "Reykjavík", "Capital Region", "Iceland", "IS"},
        // Anchorage is far from any other large city; its suburbs are near it too, so only
        // the country and state are fixed here.
        {"Anchorage", 61.2181, -149.9003, nullptr, "Alaska", "United States", "US"},
    };
    OfflineGeocoder geocoder(_callbackQueue, "en", ORVANE_PLACES_FILE);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        const Placemark placemark = only(geocoder, row.latitude, row.longitude);
        if (row.locality) {
            EXPECT_EQ(placemark.locality, row.locality);
        } else {
            EXPECT_TRUE(placemark.locality);
        }
        EXPECT_EQ(placemark.administrativeArea, row.area);
        EXPECT_EQ(placemark.country, row.country);
        EXPECT_EQ(placemark.ISOcountryCode, row.code);
        EXPECT_FALSE(placemark.ocean);
        ASSERT_TRUE(placemark.location);
        EXPECT_EQ(placemark.location->coordinate().latitude, row.latitude);
    }
}

TEST_F(OfflineGeocoderTest, ParisHasItsDepartmentAndPostalText) {
    OfflineGeocoder geocoder(_callbackQueue, "en", ORVANE_PLACES_FILE);
    const Placemark paris = only(geocoder, 48.8566, 2.3522);
    EXPECT_EQ(paris.subAdministrativeArea, "Paris");
    ASSERT_TRUE(paris.formattedAddress);
    EXPECT_NE(paris.formattedAddress->find("Paris"), std::string::npos);
    EXPECT_NE(paris.formattedAddress->find("France"), std::string::npos);
}

TEST_F(OfflineGeocoderTest, CountryNamesFollowTheLanguage) {
    struct Row {
        const char* language;
        double latitude, longitude;
        const char* country;
    };
    const Row rows[] = {
        {"fr", 48.8566, 2.3522, "France"},  {"fr", 39.9042, 116.4074, "Chine"},
        {"zh", 48.8566, 2.3522, "法国"},    {"zh", 39.9042, 116.4074, "中国"},
        {"zh-Hant", 52.52, 13.405, "德國"}, {"zh_CN", 52.52, 13.405, "德国"},
        {"", 52.52, 13.405, "Germany"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.language);
        OfflineGeocoder geocoder(_callbackQueue, row.language, ORVANE_PLACES_FILE);
        EXPECT_EQ(only(geocoder, row.latitude, row.longitude).country, row.country);
    }
}

TEST_F(OfflineGeocoderTest, AnswersAtSeaAndAtTheEndsOfTheEarth) {
    struct Row {
        const char* what;
        double latitude, longitude;
        const char* ocean;    // nullptr: no ocean
        const char* country;  // nullptr: no country
    };
    const Row rows[] = {
        {"mid Pacific", 0, -150, "Pacific Ocean", nullptr},
        {"North Atlantic", 40, -40, "Atlantic Ocean", nullptr},
        {"Indian Ocean", -20, 75, "Indian Ocean", nullptr},
        {"Southern Ocean", -62, 30, "Southern Ocean", nullptr},
        {"North Pole", 90, 0, "Arctic Ocean", nullptr},
        {"North Pole, other meridian", 90, -135, "Arctic Ocean", nullptr},
        {"South Pole", -90, 0, nullptr, "Antarctica"},
        {"Pacific on the antimeridian", 10, 180, "Pacific Ocean", nullptr},
        {"Pacific on the antimeridian, west side", 10, -180, "Pacific Ocean", nullptr},
    };
    OfflineGeocoder geocoder(_callbackQueue, "en", ORVANE_PLACES_FILE);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        const Placemark placemark = only(geocoder, row.latitude, row.longitude);
        EXPECT_FALSE(placemark.locality);
        EXPECT_EQ(placemark.ocean,
                  row.ocean ? std::optional<std::string>(row.ocean) : std::nullopt);
        EXPECT_EQ(placemark.country,
                  row.country ? std::optional<std::string>(row.country) : std::nullopt);
    }
}

TEST_F(OfflineGeocoderTest, TheAntimeridianDividesNothing) {
    OfflineGeocoder geocoder(_callbackQueue, "en", ORVANE_PLACES_FILE);
    // Fiji: the Lau group lies east of the 180th meridian, Vanua Levu west of it; the Koro Sea
    // between them is open water from both signs of longitude.
    EXPECT_EQ(only(geocoder, -18.15, -178.9).locality, "Tubou");
    EXPECT_EQ(only(geocoder, -18.15, -178.9).ISOcountryCode, "FJ");
    EXPECT_EQ(only(geocoder, -16.45, 179.4).locality, "Labasa");
    EXPECT_EQ(only(geocoder, -18.2, 179.999).ocean, "Pacific Ocean");
    EXPECT_EQ(only(geocoder, -18.2, -179.999).ocean, "Pacific Ocean");
    // Chukotka: the nearest town of a point just west of the meridian lies east of it.
    const Placemark chukotka = only(geocoder, 66.3, 179.95);
    EXPECT_EQ(chukotka.locality, "Egvekinot");
    EXPECT_EQ(chukotka.ISOcountryCode, "RU");
}

TEST_F(OfflineGeocoderTest, JustOffACoastNamesTheCoastalTown) {
    // About ten kilometres out to sea from Nice, and from the Breton coast at Brest.
    OfflineGeocoder geocoder(_callbackQueue, "en", ORVANE_PLACES_FILE);
    const Placemark nice = only(geocoder, 43.60, 7.30);
    EXPECT_EQ(nice.ISOcountryCode, "FR");
    EXPECT_EQ(nice.administrativeArea, "Provence-Alpes-Côte d'Azur");
    EXPECT_FALSE(nice.ocean);
    // Two hundred kilometres west of Brest is open sea.
    EXPECT_EQ(only(geocoder, 48.4, -7.2).ocean, "Atlantic Ocean");
}

TEST_F(OfflineGeocoderTest, CompletesOnTheCallbackQueueNotTheCaller) {
    OfflineGeocoder geocoder(_callbackQueue, "en", ORVANE_PLACES_FILE);
    EXPECT_TRUE(ask(geocoder, 48.8566, 2.3522).onCallbackQueue);
    EXPECT_TRUE(ask(geocoder, 0, -150).onCallbackQueue);
}

TEST_F(OfflineGeocoderTest, RejectsACoordinateOutsideTheGlobe) {
    OfflineGeocoder geocoder(_callbackQueue, "en", ORVANE_PLACES_FILE);
    for (auto [latitude, longitude] : {std::pair{91.0, 0.0}, {0.0, 180.5}, {NAN, 0.0}}) {
        const Answer answer = ask(geocoder, latitude, longitude);
        EXPECT_TRUE(answer.error);
        EXPECT_TRUE(answer.placemarks.empty());
    }
}

TEST_F(OfflineGeocoderTest, AMissingFileIsAnErrorNamingItAndIsReadOnceItAppears) {
    const fs::path path = scratchFile("places.bin");
    OfflineGeocoder geocoder(_callbackQueue, "en", path.string());
    const Answer missing = ask(geocoder, 48.8566, 2.3522);
    ASSERT_TRUE(missing.error);
    EXPECT_TRUE(missing.placemarks.empty());
    EXPECT_NE(missing.error->failureReason.find(path.string()), std::string::npos);
    EXPECT_TRUE(missing.onCallbackQueue);

    fs::copy_file(ORVANE_PLACES_FILE, path);
    EXPECT_EQ(only(geocoder, 48.8566, 2.3522).locality, "Paris");
}

TEST_F(OfflineGeocoderTest, ADamagedFileIsAnErrorNamingIt) {
    std::ifstream in(ORVANE_PLACES_FILE, std::ios::binary);
    const std::string good((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    ASSERT_GT(good.size(), 1000u);
    struct Row {
        const char* what;
        std::string bytes;
    };
    std::string flipped = good;
    flipped[good.size() / 2] ^= 0x10;
    std::string badMagic = good;
    badMagic[0] = 'X';
    std::string hugeCount = good;
    hugeCount[12] = '\xff';  // the place count no longer matches the size
    const Row rows[] = {
        {"empty", ""},
        {"truncated", good.substr(0, good.size() - 1)},
        {"header only", good.substr(0, 36)},
        {"one bit flipped", flipped},
        {"not a place file", badMagic},
        {"count beyond the size", hugeCount},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        const fs::path path = scratchFile(std::string("damaged-") + row.what);
        std::ofstream(path, std::ios::binary) << row.bytes;
        OfflineGeocoder geocoder(_callbackQueue, "en", path.string());
        const Answer answer = ask(geocoder, 48.8566, 2.3522);
        ASSERT_TRUE(answer.error);
        EXPECT_TRUE(answer.placemarks.empty());
        EXPECT_NE(answer.error->failureReason.find(path.string()), std::string::npos);
    }
}

TEST(PlaceIndexTest, TreeAgreesWithAFullScanEverywhere) {
    std::string problem;
    const auto index = places::PlaceIndex::load(ORVANE_PLACES_FILE, problem);
    ASSERT_TRUE(index) << problem;
    std::mt19937 random(4);
    std::uniform_real_distribution<double> latitude(-90, 90), longitude(-180, 180);
    std::vector<std::pair<double, double>> points = {
        {90, 0}, {-90, 0}, {0, 180}, {0, -180}, {-16.85, 179.999}, {-16.85, -179.999}};
    for (int i = 0; i < 300; ++i) {
        points.emplace_back(latitude(random), longitude(random));
    }
    for (auto [lat, lon] : points) {
        const auto tree = index->nearest(lat, lon);
        const auto scan = index->nearestByScan(lat, lon);
        ASSERT_TRUE(tree && scan);
        EXPECT_EQ(tree->index, scan->index) << lat << ", " << lon;
        const places::Place place = index->place(tree->index);
        EXPECT_NEAR(tree->metres,
                    places::greatCircleMetres(lat, lon, place.latitude, place.longitude), 1.0);
    }
}

TEST(PlaceIndexTest, PlacesWithinARadiusAreThoseAScanFindsNearestFirst) {
    std::string problem;
    const auto index = places::PlaceIndex::load(ORVANE_PLACES_FILE, problem);
    ASSERT_TRUE(index) << problem;
    std::mt19937 random(11);
    std::uniform_real_distribution<double> latitude(-60, 70), longitude(-180, 180);
    for (int i = 0; i < 12; ++i) {
        const double lat = latitude(random), lon = longitude(random);
        for (const double metres : {2'000.0, 30'000.0, 300'000.0}) {
            const auto found = index->within(lat, lon, metres);
            std::vector<std::size_t> scanned;
            for (std::size_t p = 0; p < index->size(); ++p) {
                const places::Place place = index->place(p);
                if (places::greatCircleMetres(lat, lon, place.latitude, place.longitude) <=
                    metres) {
                    scanned.push_back(p);
                }
            }
            std::vector<std::size_t> indices;
            for (std::size_t k = 0; k < found.size(); ++k) {
                indices.push_back(found[k].index);
                if (k > 0) {
                    EXPECT_LE(found[k - 1].metres, found[k].metres);
                }
            }
            std::sort(indices.begin(), indices.end());
            EXPECT_EQ(indices, scanned) << lat << ", " << lon << " within " << metres;
        }
    }
}

TEST(PlaceIndexTest, LandMaskKnowsContinentsFromOceans) {
    std::string problem;
    const auto index = places::PlaceIndex::load(ORVANE_PLACES_FILE, problem);
    ASSERT_TRUE(index) << problem;
    EXPECT_TRUE(index->isLand(23, 12));    // Sahara
    EXPECT_TRUE(index->isLand(-25, 133));  // central Australia
    EXPECT_TRUE(index->isLand(-89.9, 0));  // the South Pole
    EXPECT_TRUE(index->isLand(72, -40));   // Greenland's ice
    EXPECT_FALSE(index->isLand(0, -150));  // Pacific
    EXPECT_FALSE(index->isLand(89.9, 0));  // the North Pole
    EXPECT_FALSE(index->isLand(-40, 0));   // South Atlantic
}

TEST(OceanTableTest, BasinsOfMarginalSeasAndTheLakesItWillNotName) {
    using places::Ocean;
    struct Row {
        const char* what;
        double latitude, longitude;
        std::optional<Ocean> ocean;
    };
    const Row rows[] = {
        {"Caribbean", 15, -75, Ocean::Atlantic},
        {"Gulf of Mexico", 25, -90, Ocean::Atlantic},
        {"Pacific off Guatemala", 12, -92, Ocean::Pacific},
        {"Gulf of Panama", 7.5, -79.5, Ocean::Pacific},
        {"Mediterranean", 34, 25, Ocean::Atlantic},
        {"Red Sea", 20, 38.5, Ocean::Indian},
        {"Bay of Bengal", 15, 88, Ocean::Indian},
        {"South China Sea", 15, 115, Ocean::Pacific},
        {"Coral Sea", -18, 155, Ocean::Pacific},
        {"Great Australian Bight", -35, 130, Ocean::Indian},
        {"Hudson Bay", 60, -86, Ocean::Arctic},
        {"Caspian Sea", 42, 50.5, std::nullopt},
        {"Lake Superior", 47.5, -88, std::nullopt},
        {"Lake Victoria", -1, 33, std::nullopt},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(places::oceanAt(row.latitude, row.longitude), row.ocean);
    }
    EXPECT_EQ(places::oceanName(Ocean::Pacific, "zh"), "太平洋");
    EXPECT_EQ(places::oceanName(Ocean::Arctic, "fr_FR"), "Océan Arctique");
    EXPECT_EQ(places::oceanName(Ocean::Indian, "de"), "Indian Ocean");
}

}  // namespace
}  // namespace orvane::platform
