// The factory's source strings, the simulated route, NMEA logs on a manual clock, and an NMEA
// receiver on a real pseudo-terminal.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include "foundation/Clock.h"
#include "foundation/DispatchQueue.h"
#include "foundation/RunLoop.h"
#include "location_test_support.h"
#include "platform/location/NmeaLocationManager.h"
#include "platform/location/SimulatedLocationManager.h"
#include "platform/location/location_sources.h"

namespace orvane::platform {
namespace {

using testing::nmeaLine;
using testing::RecordingDelegate;
using testing::TemporaryFile;

TEST(LocationSources, EachFormOfTheSourceString) {
    foundation::ManualClock clock;
    foundation::RunLoop loop{clock};
    struct Case {
        const char* source;
        const char* description;  // empty when the string is refused
        const char* problem;      // a part of the message
    };
    const Case cases[] = {
        {"", "the simulated route", ""},
        {"sim", "the simulated route", ""},
        {"gpsd", "gpsd at localhost:2947", ""},
        {"gpsd://gps.local", "gpsd at gps.local:2947", ""},
        {"gpsd://10.0.0.2:3000", "gpsd at 10.0.0.2:3000", ""},
        {"gpsd://[::1]:2948", "gpsd at ::1:2948", ""},
        {"nmea:/dev/ttyUSB0", "NMEA receiver at /dev/ttyUSB0 (4800 baud)", ""},
        {"nmea:/dev/ttyACM0@115200", "NMEA receiver at /dev/ttyACM0 (115200 baud)", ""},
        {"nmea-file:/tmp/drive.nmea", "NMEA log /tmp/drive.nmea", ""},
        {"gpx:/tmp/walk.gpx", "GPX track /tmp/walk.gpx", ""},
        {"gpsd://host:0", "", "the port must be a number from 1 to 65535"},
        {"gpsd://host:http", "", "the port must be a number from 1 to 65535"},
        {"gpsd://:2947", "", "no host name"},
        {"gpsd://[::1", "", "no closing ]"},
        {"nmea:/dev/ttyUSB0@1234", "", "\"1234\" is not a serial speed"},
        {"nmea:/dev/ttyUSB0@", "", "\"\" is not a serial speed"},
        {"nmea:", "", "no device"},
        {"gpx:", "", "no file named"},
        {"nmea-file:", "", "no file named"},
        {"GPX:/tmp/walk.gpx", "", "Unknown position source \"GPX:/tmp/walk.gpx\": expected sim"},
        {"simulated", "", "Unknown position source"},
    };
    for (const auto& c : cases) {
        std::string problem;
        auto manager = makeLocationManager(c.source, loop.mainQueue(), clock, problem);
        if (*c.description) {
            ASSERT_TRUE(manager) << c.source << ": " << problem;
            EXPECT_EQ(manager->description(), c.description) << c.source;
        } else {
            EXPECT_FALSE(manager) << c.source;
            EXPECT_NE(problem.find(c.problem), std::string::npos) << c.source << ": " << problem;
        }
    }
}

TEST(SimulatedRoute, OneFixASecondRoundTheLoop) {
    foundation::ManualClock clock{1'700'000'000.0};
    foundation::RunLoop loop{clock};
    RecordingDelegate delegate;
    SimulatedLocationManager manager(loop.mainQueue(), clock);
    manager.setDelegate(&delegate);
    ASSERT_FALSE(manager.startUpdatingLocation());
    const std::size_t length = SimulatedLocationManager::routeLength();
    ASSERT_GT(length, 300u);
    for (std::size_t second = 0; second < length + 2; ++second) {
        loop.runUntilIdle();
        clock.advance(1.0);
    }
    loop.runUntilIdle();
    const auto fixes = delegate.fixes();
    ASSERT_EQ(fixes.size(), length + 3);
    // No step is longer than its speed says (shorter only where it cuts a corner, so the whole
    // loop is nearly the sum of the speeds), the loop closes on itself, and after it the route
    // begins again.
    double longest = 0, travelled = 0, planned = 0;
    for (std::size_t i = 1; i < length; ++i) {
        const double step = fixes[i].distanceFromLocation(fixes[i - 1]);
        EXPECT_LT(step, fixes[i - 1].speed() + 0.5) << i;
        travelled += step;
        planned += fixes[i - 1].speed();
        longest = std::max(longest, step);
        EXPECT_DOUBLE_EQ(fixes[i].timestamp() - fixes[i - 1].timestamp(), 1.0);
    }
    EXPECT_GT(travelled, planned * 0.98);
    EXPECT_LT(fixes[length].distanceFromLocation(fixes[length - 1]), longest + 0.5);
    EXPECT_DOUBLE_EQ(fixes[length].coordinate().latitude, fixes[0].coordinate().latitude);
    EXPECT_DOUBLE_EQ(fixes[length + 1].coordinate().longitude, fixes[1].coordinate().longitude);
    double lowest = 1e9, highest = -1e9;
    for (const auto& fix : fixes) {
        ASSERT_TRUE(fix.altitude());
        lowest = std::min(lowest, *fix.altitude());
        highest = std::max(highest, *fix.altitude());
    }
    EXPECT_GT(highest - lowest, 50.0);
    manager.stopUpdatingLocation();
    clock.advance(10);
    loop.runUntilIdle();
    EXPECT_EQ(delegate.fixes().size(), length + 3);
}

// A receiver's log of three seconds, with a noisy line and a gap of two seconds.
std::string receiverLog() {
    return nmeaLine("GPRMC,235958.00,A,5122.8520,N,00221.5200,W,5.0,90.0,010524,,,A") +
           nmeaLine("GPGGA,235958.00,5122.8520,N,00221.5200,W,1,09,1.2,23.4,M,48.0,M,,") +
           "$GPGGA,235959.00,5122.85$GPRMC,235959.00*11\r\n" +
           nmeaLine("GPRMC,000000.00,A,5122.8530,N,00221.5100,W,5.0,90.0,020524,,,A") +
           nmeaLine("GPGGA,000000.00,5122.8530,N,00221.5100,W,1,09,1.2,23.9,M,48.0,M,,") +
           nmeaLine("GPRMC,000001.00,A,5122.8540,N,00221.5000,W,5.0,90.0,020524,,,A") +
           nmeaLine("GPGGA,000001.00,5122.8540,N,00221.5000,W,1,09,1.2,24.1,M,48.0,M,,");
}

TEST(NmeaLog, ReplayedAtTheSentencesOwnPace) {
    foundation::ManualClock clock;
    foundation::RunLoop loop{clock};
    RecordingDelegate delegate;
    TemporaryFile log(".nmea", receiverLog());
    std::string problem;
    auto manager = makeLocationManager("nmea-file:" + log.path(), loop.mainQueue(), clock, problem);
    ASSERT_TRUE(manager) << problem;
    manager->setDelegate(&delegate);
    ASSERT_FALSE(manager->startUpdatingLocation());
    loop.runUntilIdle();
    EXPECT_EQ(delegate.fixes().size(), 1u);
    clock.advance(1.5);
    loop.runUntilIdle();
    EXPECT_EQ(delegate.fixes().size(), 1u);  // the next fix is two seconds on
    clock.advance(0.5);
    loop.runUntilIdle();
    ASSERT_EQ(delegate.fixes().size(), 2u);
    EXPECT_DOUBLE_EQ(delegate.fixes()[1].timestamp(), 1714608000.0);  // 2024-05-02 00:00 UTC
    clock.advance(1);
    loop.runUntilIdle();
    EXPECT_EQ(delegate.fixes().size(), 3u);
    // The end is told right after the last fix, as the end of the source.
    ASSERT_EQ(delegate.errors().size(), 1u);
    EXPECT_TRUE(isEndOfSource(delegate.errors()[0])) << delegate.errors()[0].message();
    EXPECT_EQ(static_cast<NmeaLocationManager&>(*manager).failedLines(), 1u);
}

TEST(NmeaLog, AnUnreadableOrEmptyLogFailsToStart) {
    foundation::ManualClock clock;
    foundation::RunLoop loop{clock};
    auto missing = NmeaLocationManager::file("/nonexistent.nmea", loop.mainQueue(), clock);
    auto error = missing->startUpdatingLocation();
    ASSERT_TRUE(error);
    EXPECT_EQ(error->description, "NMEA log /nonexistent.nmea: cannot be read");
    TemporaryFile noise(".nmea", "hello\r\n$GPGGA,1*00\r\n");
    auto empty = NmeaLocationManager::file(noise.path(), loop.mainQueue(), clock);
    error = empty->startUpdatingLocation();
    ASSERT_TRUE(error);
    EXPECT_NE(error->description.find("holds no position fix (2 unreadable lines)"),
              std::string::npos);
}

// The serial path through termios, on a pseudo-terminal that stands for the receiver.
TEST(NmeaDevice, ReadsFixesFromATerminal) {
    const int master = ::posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_GE(master, 0);
    ASSERT_EQ(::grantpt(master), 0);
    ASSERT_EQ(::unlockpt(master), 0);
    const std::string slave = ::ptsname(master);
    RecordingDelegate delegate;
    {
        auto queue = foundation::SerialQueue::create("nmea test");
        std::string problem;
        auto manager = makeLocationManager("nmea:" + slave + "@9600", queue,
                                           foundation::systemClock(), problem);
        ASSERT_TRUE(manager) << problem;
        manager->setDelegate(&delegate);
        ASSERT_FALSE(manager->startUpdatingLocation());
        const std::string log = receiverLog();
        ASSERT_EQ(::write(master, log.data(), log.size()), static_cast<ssize_t>(log.size()));
        // The third epoch is known complete from the set the second taught.
        EXPECT_TRUE(delegate.waitForFixes(3));
        manager->stopUpdatingLocation();
        queue->sync([] {});
    }
    ::close(master);
    const auto fixes = delegate.fixes();
    ASSERT_EQ(fixes.size(), 3u);
    EXPECT_DOUBLE_EQ(*fixes[2].altitude(), 24.1);
}

TEST(NmeaDevice, AMissingDeviceFailsToStart) {
    foundation::ManualClock clock;
    foundation::RunLoop loop{clock};
    auto manager =
        NmeaLocationManager::device("/dev/nonexistent-gps", 4800, loop.mainQueue(), clock);
    const auto error = manager->startUpdatingLocation();
    ASSERT_TRUE(error);
    EXPECT_EQ(error->description,
              "NMEA receiver at /dev/nonexistent-gps (4800 baud): cannot be opened");
    TemporaryFile notATerminal(".txt", "x");
    auto file = NmeaLocationManager::device(notATerminal.path(), 4800, loop.mainQueue(), clock);
    const auto fileError = file->startUpdatingLocation();
    ASSERT_TRUE(fileError);
    EXPECT_NE(fileError->description.find("is not a serial device"), std::string::npos);
}

}  // namespace
}  // namespace orvane::platform
