// The coordinate forms of one position, and the picker's rows made from them: collapse of equal
// texts, the choice kept by form key, and what a choice stores.
#include <gtest/gtest.h>

#include <atomic>
#include <clocale>
#include <cmath>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "foundation/log.h"
#include "foundation/strings.h"
#include "platform/settings/MemoryUserDefaults.h"
#include "screen/settings_store.h"
#include "stamp/coordinate_formats.h"

namespace orvane::stamp {
namespace {

std::map<std::string, std::string> formsOf(double latitude, double longitude,
                                           double accuracy = 5.0) {
    std::setlocale(LC_NUMERIC, "C");
    std::map<std::string, std::string> forms;
    for (const CoordinateForm& form : coordinateForms({latitude, longitude, accuracy})) {
        forms.emplace(form.key, form.text);
    }
    return forms;
}

// Every form of one point, in row order. The projected texts are GeoConvert's (-p 3: 31n
// 448250.577 5411951.588, 31UDQ4825057611951588) truncated to whole metres.
TEST(CoordinateForms, EveryFormOfOnePointInRowOrder) {
    std::setlocale(LC_NUMERIC, "C");
    const auto forms = coordinateForms({48.85837, 2.294481, 5.0});
    // clang-format off
    const char* expected[] = {
        "+48.858370,+2.294481", "+48.858370,+2.294481 ±5.00m",
        "N 48° 51' 30\", E 2° 17' 40\"", "48° 51' 30\" N, 2° 17' 40\" E",
        "N 48° 51' 30.132\", E 2° 17' 40.132\"", "48° 51' 30.132\" N, 2° 17' 40.132\" E",
        "N 48.858370°, E 2.294481°", "N 48.858370°, E 2.294481° ±5.00m",
        "48.858370° N, 2.294481° E", "48.858370° N, 2.294481° E ±5.00m",
        "+48.8584,+2.2945", "48.8584° N, 2.2945° E",
        "N 48.8584°, E 2.2945°", "31U 448250 5411951",
        "31U 448250 5411951 ±5.00m", "31UDQ4825011951",
        "31UDQ4825011951 ±5.00m", "E 448250  N 5411951",
        "N 5411951  E 448250"};
    // clang-format on
    ASSERT_EQ(forms.size(), kCoordinateFormKeys.size());
    for (size_t i = 0; i < forms.size(); ++i) {
        EXPECT_EQ(forms[i].key, kCoordinateFormKeys[i]);
        EXPECT_EQ(forms[i].text, expected[i]) << forms[i].key;
    }
    // South of the equator the band letter stands for the hemisphere (GeoConvert: 56s 334368.634
    // 6250948.345); the accuracy has two decimals.
    EXPECT_EQ(formsOf(-33.8688, 151.2093, 12.345)["gpsUTMWithAccuracy"],
              "56H 334368 6250948 ±12.35m");
}

struct DecimalRow {
    double latitude, longitude;
    const char *gps1, *gps3, *gps8, *gps10;
};

TEST(CoordinateForms, DecimalFormsChooseTheirColumnByStrictSigns) {
    const DecimalRow rows[] = {
        {40.7484, -73.9857, "+40.748400,-73.985700", "40.748400° N, 73.985700° W",
         "+40.7484,-73.9857", "N 40.7484°, W 73.9857°"},
        {-33.8688, 151.2093, "-33.868800,+151.209300", "33.868800° S, 151.209300° E",
         "-33.8688,+151.2093", "S 33.8688°, E 151.2093°"},
        // Exactly 0 on either axis falls into the last column: south and west, no plus signs.
        {0, 10, "0.000000,10.000000", "0.000000° S, 10.000000° W", "0.0000,10.0000",
         "S 0.0000°, W 10.0000°"},
        {0, 0, "0.000000,0.000000", "0.000000° S, 0.000000° W", "0.0000,0.0000",
         "S 0.0000°, W 0.0000°"},
        {48.5, 0, "48.500000,0.000000", "48.500000° S, 0.000000° W", "48.5000,0.0000",
         "S 48.5000°, W 0.0000°"},
    };
    for (const DecimalRow& row : rows) {
        SCOPED_TRACE(testing::Message() << row.latitude << ", " << row.longitude);
        auto forms = formsOf(row.latitude, row.longitude);
        EXPECT_EQ(forms["gps1"], row.gps1);
        EXPECT_EQ(forms["gps3"], row.gps3);
        EXPECT_EQ(forms["gps8"], row.gps8);
        EXPECT_EQ(forms["gps10"], row.gps10);
    }
}

struct SexagesimalRow {
    double latitude, longitude;
    const char *gps2, *gps6, *gps5, *gps7;
};

TEST(CoordinateForms, SexagesimalFormsRoundTheTotalOnceOrTruncateEachPart) {
    const SexagesimalRow rows[] = {
        // Here 0 counts as north and east.
        {0, 10, "N 0° 0' 0\", E 10° 0' 0\"", "0° 0' 0\" N, 10° 0' 0\" E",
         "N 0° 0' 0.000\", E 10° 0' 0.000\"", "0° 0' 0.000\" N, 10° 0' 0.000\" E"},
        // Seconds that round up carry into minutes and degrees; truncation never carries. The
        // longitude is exactly 2.5 seconds: the tie goes away from zero.
        {59.99999, 2.5 / 3600, "N 60° 0' 0\", E 0° 0' 3\"", "60° 0' 0\" N, 0° 0' 3\" E",
         "N 59° 59' 59.964\", E 0° 0' 2.500\"", "59° 59' 59.964\" N, 0° 0' 2.500\" E"},
        // 59.9996 seconds carry in the whole forms and show as 60.000 in the truncated ones.
        {-1800.5 / 3600, -(1 - 0.0004 / 3600), "S 0° 30' 1\", W 1° 0' 0\"",
         "0° 30' 1\" S, 1° 0' 0\" W", "S 0° 30' 0.500\", W 0° 59' 60.000\"",
         "0° 30' 0.500\" S, 0° 59' 60.000\" W"},
    };
    for (const SexagesimalRow& row : rows) {
        SCOPED_TRACE(testing::Message() << row.latitude << ", " << row.longitude);
        auto forms = formsOf(row.latitude, row.longitude);
        EXPECT_EQ(forms["gps2"], row.gps2);
        EXPECT_EQ(forms["gps6"], row.gps6);
        EXPECT_EQ(forms["gps5"], row.gps5);
        EXPECT_EQ(forms["gps7"], row.gps7);
    }
    EXPECT_EQ(nicePosition2(-22.9519, 2.294481), "-22°57'7\", +2°17'40\"");
}

// A longitude on a zone's western edge belongs to that zone. 30, 60 and 120 degrees are the edges
// whose radians, turned back into degrees, fall a hair short. Texts from GeoConvert (-u -p 3,
// -m -p 0), truncated to whole metres.
TEST(CoordinateForms, ZoneEdgesBelongToTheZoneToTheirEast) {
    struct Row {
        double latitude, longitude;
        const char *utm, *mgrs;
    };
    const Row rows[] = {
        {10, -180, "1P 171071 1106908", "01PAM7107106908"},
        {10, -6, "30P 171071 1106908", "30PSS7107106908"},
        {10, 0, "31P 171071 1106908", "31PAM7107106908"},
        {10, 6, "32P 171071 1106908", "32PJS7107106908"},
        {10, 30, "36P 171071 1106908", "36PSS7107106908"},
        {10, 60, "41P 171071 1106908", "41PJM7107106908"},
        {10, 120, "51P 171071 1106908", "51PSM7107106908"},
        {10, 179.999, "60P 828818 1106907", "60PZS2881806907"},
        {-33.5, 30, "36H 221293 6289251", "36HTH2129389251"},
        {-33.5, 120, "51H 221293 6289251", "51HTC2129389251"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << row.latitude << ", " << row.longitude);
        auto forms = formsOf(row.latitude, row.longitude);
        EXPECT_EQ(forms["gpsUTM"], row.utm);
        EXPECT_EQ(forms["gpsMGRS"], row.mgrs);
    }
}

TEST(CoordinateForms, FormsThatCannotBeMadeAreAbsent) {
    // Beyond the UTM grid only the MGRS rows of the projected remain. GeoConvert: ZAB9645452981;
    // a polar text has blanks where the zone would be.
    const auto forms = formsOf(85, 10);
    EXPECT_EQ(forms.size(), 15u);
    EXPECT_EQ(forms.count("gpsUTM") + forms.count("gpsUTM2") + forms.count("gpsUTM3"), 0u);
    EXPECT_EQ(forms.at("gpsMGRSWithAccuracy"), "  ZAB9645452981 ±5.00m");

    EXPECT_TRUE(coordinateForms({-180, -180, 5}).empty());  // the "no position" sentinel
    EXPECT_TRUE(coordinateForms({std::nan(""), 10, 5}).empty());
    EXPECT_EQ(nicePosition3(0, 180.5), "");
}

struct Store {
    platform::MemoryUserDefaults defaults;
    screen::SettingsCache cache;
    screen::SettingsStore settings{defaults, cache};
    screen::LineDrawerStore& lineDrawer = settings.lineDrawer;
};

TEST(CoordinateCatalogue, EqualTextsShareOneRowAndTheFirstKeyIsSaved) {
    CoordinateCatalogue catalogue;
    catalogue.rebuildWithForms(
        {{"gps1", "A"}, {"gps1WithAccuracy", "B"}, {"gps2", "A"}, {"gps6", ""}});
    EXPECT_EQ(catalogue.getGpsList(),
              (std::vector<std::string>{foundation::localized("STRNone"), "A", "B"}));
    EXPECT_EQ(catalogue.textForKey("gps2"), "A");

    Store store;
    catalogue.setGpsIndex(1);
    EXPECT_FALSE(catalogue.saveGpsIndex(store.lineDrawer));
    EXPECT_EQ(store.lineDrawer.getSavedGps(), "A");
    EXPECT_EQ(store.lineDrawer.getSavedGpsType(), "gps1");
    EXPECT_EQ(catalogue.gpsType(), "gps1");
}

// The MGRS choice follows its key up two rows when the UTM rows go; the UTM choice, gone, keeps
// its row number, so the line shows whatever row has it now.
TEST(CoordinateCatalogue, TheChoiceFollowsItsKeyWhenRowsShift) {
    CoordinateCatalogue mgrs("gpsMGRS");
    CoordinateCatalogue utm("gpsUTM");
    std::string line = "stale";
    mgrs.setGpsIndex(3);
    mgrs.coordinateLine(line);
    EXPECT_EQ(line, "");  // no position yet, so no rows

    mgrs.rebuild({48.85837, 2.294481, 5.0});
    utm.rebuild({48.85837, 2.294481, 5.0});
    EXPECT_EQ(mgrs.getGpsIndex(), 16);
    EXPECT_EQ(utm.getGpsIndex(), 14);
    utm.coordinateLine(line);
    EXPECT_EQ(line, "31U 448250 5411951");

    mgrs.rebuild({85, 10, 5.0});
    utm.rebuild({85, 10, 5.0});
    EXPECT_EQ(mgrs.getGpsIndex(), 14);
    EXPECT_EQ(mgrs.gps(), "  ZAB9645452981");
    EXPECT_EQ(utm.getGpsIndex(), 14);
    EXPECT_EQ(utm.gps(), "");
    utm.coordinateLine(line);
    EXPECT_EQ(line, "  ZAB9645452981");

    const auto rows = mgrs.getGpsList();
    mgrs.rebuild({-180, -180, 5});
    EXPECT_EQ(mgrs.getGpsList(), rows);
}

TEST(CoordinateCatalogue, SavingRowZeroChoosesNoneAndAMissingRowStoresNothing) {
    Store store;
    CoordinateCatalogue catalogue("gps8");
    catalogue.rebuild({48.85837, 2.294481, 5.0});
    catalogue.setGpsIndex(0);
    EXPECT_TRUE(catalogue.saveGpsIndex(store.lineDrawer));
    EXPECT_EQ(store.lineDrawer.getSavedGps(), "None");
    EXPECT_EQ(store.lineDrawer.getSavedGpsType(), "");
    EXPECT_EQ(catalogue.gpsType(), "");

    std::vector<std::string> logged;
    foundation::setLogSink([&](const std::string& line) { logged.push_back(line); });
    catalogue.setGpsIndex(20);
    EXPECT_FALSE(catalogue.saveGpsIndex(store.lineDrawer));
    foundation::setLogSink({});
    EXPECT_EQ(logged, std::vector<std::string>{"No coordinate row 20 among 20 to save"});
    EXPECT_EQ(store.lineDrawer.getSavedGps(), "None");
}

TEST(CoordinateCatalogue, TheFrameThreadReadsTheLineWhileRowsAreRebuilt) {
    const CoordinateFix route[] = {{48.85837, 2.294481, 5}, {85, 10, 3}, {-33.8688, 151.2093, 8}};
    std::set<std::string> expected;
    for (const CoordinateFix& fix : route) {
        expected.insert(coordinateForms(fix)[0].text);
    }
    CoordinateCatalogue catalogue("gps1");
    catalogue.rebuild(route[0]);
    std::atomic<bool> done{false};
    std::vector<std::string> unexpected;
    std::thread frames([&] {
        std::string line;
        while (!done.load()) {
            catalogue.coordinateLine(line);
            if (expected.count(line) == 0) {
                unexpected.push_back(line);
            }
        }
    });
    for (int i = 0; i < 300; ++i) {
        catalogue.rebuild(route[i % 3]);
    }
    done.store(true);
    frames.join();
    EXPECT_TRUE(unexpected.empty()) << unexpected.front();
}

}  // namespace
}  // namespace orvane::stamp
