// The location updater's gates and completions: a scripted source and a geocoder answered by the
// test, on a run loop pumped by hand over a manual clock.
#include "stamp/location_updater.h"

#include <gtest/gtest.h>

#include "foundation/RunLoop.h"
#include "foundation/log.h"
#include "platform/settings/MemoryUserDefaults.h"

namespace orvane::stamp {
namespace {

using platform::Location;

constexpr double kStart = 1707537600.0;
constexpr double kMetresPerDegree = 111195.0;  // of latitude, near enough for the gates

class ScriptedLocationManager final : public platform::LocationManager {
  public:
    using LocationManager::LocationManager;
    std::optional<foundation::Error> startUpdatingLocation() override {
        ++starts;
        if (refuseStart) {
            return foundation::Error{"orvane.location", 1, "No receiver", ""};
        }
        return std::nullopt;
    }
    void stopUpdatingLocation() override { ++stops; }
    std::string description() const override { return "scripted"; }

    void push(const Location& location) { deliver(location); }
    void fail(const foundation::Error& error) { deliverFailure(error); }

    bool refuseStart = false;
    int starts = 0;
    int stops = 0;
};

// What the fake geocoder was asked, and the completions the test answers by hand.
struct GeocoderLog {
    std::vector<Location> requests;
    std::vector<platform::Geocoder::Completion> pending;
};

class FakeGeocoder final : public platform::Geocoder {
  public:
    explicit FakeGeocoder(std::shared_ptr<GeocoderLog> log) : _log(std::move(log)) {}
    void reverseGeocodeLocation(const Location& location, Completion completion) override {
        _log->requests.push_back(location);
        _log->pending.push_back(std::move(completion));
    }
    std::string description() const override { return "fake"; }

  private:
    std::shared_ptr<GeocoderLog> _log;
};

platform::Placemark placeNamed(const std::string& street) {
    platform::Placemark p;
    p.thoroughfare = street;
    p.locality = "Paris";
    p.administrativeArea = "Île-de-France";
    p.country = "France";
    return p;
}

class LocationUpdaterTest : public ::testing::Test {
  protected:
    LocationUpdaterTest() {
        drawer = std::make_unique<LineDrawer>(store, cache, startValues(), state,
                                              DateSettings{"en_US", "UTC"}, "en");
        updater = std::make_unique<LocationUpdater>(
            *drawer,
            [this] {
                ++managersMade;
                auto made = std::make_unique<ScriptedLocationManager>(loop.mainQueue());
                made->refuseStart = refuseStart;
                manager = made.get();
                return made;
            },
            [this] {
                ++geocodersMade;
                return std::make_unique<FakeGeocoder>(geocoder);
            },
            state);
    }
    ~LocationUpdaterTest() override {
        updater.reset();
        loop.runUntilIdle();
    }

    static screen::StampLayerStartValues startValues() {
        screen::StampLayerStartValues start;
        start.gpsType = "gps1";
        start.locationType = "thoroughfare";
        return start;
    }

    // A fix `north` metres north of the start, at the clock's now.
    Location fixAt(double north, std::optional<double> altitude = 35.0, double speed = 1.5) {
        return Location({48.858370 + north / kMetresPerDegree, 2.294481}, altitude, 5.0, speed,
                        clock.timeIntervalSince1970());
    }
    void push(const Location& location) {
        manager->push(location);
        loop.runUntilIdle();
    }
    // Moves the clock to `seconds` after the start.
    void at(double seconds) { clock.advance(kStart + seconds - clock.timeIntervalSince1970()); }
    void start() { ASSERT_FALSE(updater->getCurrentLocation().has_value()); }
    std::string gps1() const { return drawer->coordinateCatalogue().gps(); }
    void answerNext(std::vector<platform::Placemark> placemarks,
                    std::optional<foundation::Error> error = std::nullopt) {
        ASSERT_FALSE(geocoder->pending.empty());
        auto completion = std::move(geocoder->pending.front());
        geocoder->pending.erase(geocoder->pending.begin());
        completion(std::move(placemarks), std::move(error));
    }

    foundation::ManualClock clock{kStart};
    foundation::RunLoop loop{clock};
    platform::MemoryUserDefaults defaults;
    screen::SettingsCache cache;
    screen::SettingsStore store{defaults, cache};
    StampState state{clock};
    std::shared_ptr<GeocoderLog> geocoder = std::make_shared<GeocoderLog>();
    std::unique_ptr<LineDrawer> drawer;
    std::unique_ptr<LocationUpdater> updater;
    ScriptedLocationManager* manager = nullptr;
    bool refuseStart = false;
    int managersMade = 0;
    int geocodersMade = 0;
};

TEST_F(LocationUpdaterTest, StartMakesOneConfiguredManagerAndGeocoder) {
    start();
    start();
    EXPECT_EQ(managersMade, 1);
    EXPECT_EQ(geocodersMade, 1);
    EXPECT_EQ(manager->starts, 1);
    EXPECT_EQ(manager->desiredAccuracy(), platform::kLocationAccuracyBestForNavigation);
    push(fixAt(0));
    // The two-metre filter: a fix one metre on is not delivered at all, not even its altitude.
    at(5);
    push(fixAt(1, 80.0));
    EXPECT_EQ(state.altitude(), 35.0f);
    push(fixAt(3, 80.0));
    EXPECT_EQ(state.altitude(), 80.0f);
}

TEST_F(LocationUpdaterTest, ASourceThatCannotStartIsReportedAndTriedAgain) {
    refuseStart = true;
    const auto error = updater->getCurrentLocation();
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(error->description, "No receiver");
    EXPECT_EQ(geocodersMade, 0);
    manager->refuseStart = false;
    start();
    EXPECT_EQ(manager->starts, 2);
    EXPECT_EQ(managersMade, 1);
}

TEST_F(LocationUpdaterTest, AFixWithinASecondMovesAltitudeAndSpeedButNotTheText) {
    start();
    push(fixAt(0));
    const std::string first = gps1();
    EXPECT_EQ(first, "+48.858370,+2.294481");
    EXPECT_FLOAT_EQ(state.speed(), 1.5f * 3.6f);

    at(0.9);
    push(fixAt(50, 0.0, 4.0));
    EXPECT_EQ(state.altitude(), 0.0f);  // a real altitude, shown
    EXPECT_FLOAT_EQ(state.speed(), 14.4f);
    EXPECT_EQ(gps1(), first);

    at(1.9);
    push(fixAt(100, std::nullopt, -1.0));
    EXPECT_EQ(state.altitude(), kNoAltitude);
    EXPECT_FLOAT_EQ(state.speed(), -3.6f);
    EXPECT_NE(gps1(), first);
}

TEST_F(LocationUpdaterTest, TheFirstFixAfterAStartIsAlwaysFormatted) {
    start();
    push(fixAt(0));
    const std::string first = gps1();
    at(0.2);
    start();
    at(0.3);
    push(fixAt(50));
    EXPECT_NE(gps1(), first);
    // Only once: the next fix within the second waits again.
    const std::string second = gps1();
    at(0.5);
    push(fixAt(100));
    EXPECT_EQ(gps1(), second);
}

TEST_F(LocationUpdaterTest, AFirstFixAsksAtOnceAndTheAnswerFillsTheAddressRows) {
    start();
    push(fixAt(0));
    ASSERT_EQ(geocoder->requests.size(), 1u);
    EXPECT_TRUE(updater->isGeocodeBusy());
    ASSERT_TRUE(state.lastGeocodedLocation().has_value());
    EXPECT_EQ(state.lastGeocodedLocation()->coordinate().latitude, 48.858370);

    answerNext({placeNamed("Avenue Anatole France")});
    EXPECT_FALSE(updater->isGeocodeBusy());
    std::string line;
    drawer->addressCatalogue().addressLine(line);
    EXPECT_EQ(line, "Avenue Anatole France");
}

TEST_F(LocationUpdaterTest, StandingStillNeverAsksAgainThoughTheGateKeepsMoving) {
    start();
    push(fixAt(0));
    answerNext({placeNamed("A")});
    // Three metres of jitter either way: past the manager's filter, never twenty metres.
    for (int second = 1; second <= 30; ++second) {
        at(second);
        push(fixAt(second % 2 ? 3 : -3));
    }
    EXPECT_EQ(geocoder->requests.size(), 1u);
    // The gate was passed at 30 s: a real move a second later waits for 40 s.
    at(31);
    push(fixAt(40));
    EXPECT_EQ(geocoder->requests.size(), 1u);
    at(40);
    push(fixAt(45));
    EXPECT_EQ(geocoder->requests.size(), 2u);
}

TEST_F(LocationUpdaterTest, MovingFiveSecondsAfterARequestWaitsForTheTenthSecond) {
    start();
    push(fixAt(0));
    answerNext({placeNamed("A")});
    at(5);
    push(fixAt(25));
    at(9);
    push(fixAt(28));
    EXPECT_EQ(geocoder->requests.size(), 1u);
    at(10);
    push(fixAt(31));
    ASSERT_EQ(geocoder->requests.size(), 2u);
    EXPECT_NEAR(geocoder->requests[1].coordinate().latitude, 48.858370 + 31 / kMetresPerDegree,
                1e-9);
}

TEST_F(LocationUpdaterTest, APendingRequestLetsThePositionMoveOnWithoutASecondRequest) {
    start();
    push(fixAt(0));
    at(10);
    push(fixAt(100));
    at(20);
    push(fixAt(200));
    EXPECT_EQ(geocoder->requests.size(), 1u);
    EXPECT_NEAR(state.lastGeocodedLocation()->coordinate().latitude,
                48.858370 + 200 / kMetresPerDegree, 1e-9);

    // The retry asks for the stored position, once, and not while it is under way.
    answerNext({placeNamed("A")});
    updater->reGetAddressFromGPS();
    updater->reGetAddressFromGPS();
    ASSERT_EQ(geocoder->requests.size(), 2u);
    EXPECT_NEAR(geocoder->requests[1].coordinate().latitude, 48.858370 + 200 / kMetresPerDegree,
                1e-9);
}

TEST_F(LocationUpdaterTest, AFailedRequestKeepsTheRowsAndWaitsForTheNextGate) {
    start();
    push(fixAt(0));
    answerNext({placeNamed("A")});
    at(10);
    push(fixAt(30));
    const auto rows = drawer->getLocalList();
    std::vector<std::string> logged;
    foundation::setLogSink([&](const std::string& text) { logged.push_back(text); });
    answerNext({}, foundation::Error{"orvane.geocoder", 7, "Timed out", ""});
    foundation::setLogSink({});
    EXPECT_FALSE(updater->isGeocodeBusy());
    EXPECT_EQ(drawer->getLocalList(), rows);
    ASSERT_EQ(logged.size(), 1u);
    EXPECT_EQ(logged[0].rfind("Geocode failed with error: ", 0), 0u);
    // No timed retry: standing at the failed spot asks nothing more.
    at(25);
    push(fixAt(33));
    EXPECT_EQ(geocoder->requests.size(), 2u);
}

TEST_F(LocationUpdaterTest, NothingToAskAgainBeforeTheFirstPosition) {
    start();
    updater->reGetAddressFromGPS();
    EXPECT_TRUE(geocoder->requests.empty());
}

TEST_F(LocationUpdaterTest, AnAnswerAfterTheUpdaterIsGoneIsDropped) {
    start();
    push(fixAt(0));
    auto completion = std::move(geocoder->pending.front());
    geocoder->pending.clear();
    updater.reset();
    completion({placeNamed("A")}, std::nullopt);
    EXPECT_TRUE(drawer->getLocalList().empty());
}

TEST_F(LocationUpdaterTest, ObserverHearsFormatsAnswersAndFailures) {
    int formatted = 0;
    int answered = 0;
    std::string failure;
    updater->setObserver({[&](const Location&) { ++formatted; },
                          [&](const auto&, const auto&) { ++answered; },
                          [&](const foundation::Error& e) { failure = e.description; }});
    start();
    push(fixAt(0));
    at(0.5);
    push(fixAt(10));
    answerNext({placeNamed("A")});
    manager->fail({"orvane.location", 2, "Receiver unplugged", ""});
    loop.runUntilIdle();
    EXPECT_EQ(formatted, 1);
    EXPECT_EQ(answered, 1);
    EXPECT_EQ(failure, "Receiver unplugged");
}

}  // namespace
}  // namespace orvane::stamp
