// The gpsd source against a real gpsd, fed a receiver log by gpsfake on a loopback port.
#include <gtest/gtest.h>

#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "foundation/Clock.h"
#include "foundation/DispatchQueue.h"
#include "location_test_support.h"
#include "platform/location/location_sources.h"

namespace orvane::platform {
namespace {

using testing::nmeaLine;
using testing::RecordingDelegate;
using testing::TemporaryFile;

// A port that is free now, below the kernel's ephemeral range: a port the kernel handed out
// could be handed again to another test's connection running alongside before gpsd binds it.
int freePort() {
    const int start = 20000 + static_cast<int>(::getpid() % 10000);
    for (int offset = 0; offset < 10000; ++offset) {
        const int port = 20000 + (start - 20000 + offset) % 10000;
        const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        const bool bound = ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
        ::close(fd);
        if (bound) {
            return port;
        }
    }
    return -1;
}

// Ends gpsfake and its gpsd: politely, then for sure, so a stuck child cannot hang the test.
void endProcessGroup(pid_t child) {
    ::kill(-child, SIGTERM);
    for (int waited = 0; waited < 50; ++waited) {
        if (::waitpid(child, nullptr, WNOHANG) == child) {
            return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    ::kill(-child, SIGKILL);
    ::waitpid(child, nullptr, 0);
}

TEST(GpsdSource, FixesFromGpsfake) {
    if (std::system("command -v gpsfake > /dev/null 2>&1") != 0) {
        GTEST_SKIP() << "gpsfake (Debian's gpsd-clients) is not installed";
    }
    std::string log;
    for (int second = 0; second < 10; ++second) {
        char time[24];  // room for any int, as the compiler checks
        std::snprintf(time, sizeof time, "1015%02d.00", second);
        const std::string minutes = std::to_string(22.852 + 0.001 * second).substr(0, 6);
        log += nmeaLine(std::string("GPRMC,") + time + ",A,51" + minutes +
                        ",N,00221.5200,W,10.0,0.0,010524,,,A");
        log += nmeaLine(std::string("GPGGA,") + time + ",51" + minutes +
                        ",N,00221.5200,W,1,09,1.2,23.4,M,48.0,M,,");
        log += nmeaLine("GPGSA,A,3,01,02,03,04,05,06,07,08,09,,,,1.8,1.2,1.4");
    }
    TemporaryFile file(".nmea", log);
    const int port = freePort();
    ASSERT_GT(port, 0);

    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        ::setpgid(0, 0);  // gpsfake and its gpsd, to be ended together
        const std::string portText = std::to_string(port);
        ::execlp("gpsfake", "gpsfake", "-q", "-c", "0.2", "-P", portText.c_str(),
                 file.path().c_str(), static_cast<char*>(nullptr));
        ::_exit(127);
    }
    ::setpgid(child, child);

    RecordingDelegate delegate;
    auto queue = foundation::SerialQueue::create("gpsd test");
    std::string problem;
    auto manager = makeLocationManager("gpsd://127.0.0.1:" + std::to_string(port), queue,
                                       foundation::systemClock(), problem);
    ASSERT_TRUE(manager) << problem;
    manager->setDelegate(&delegate);
    // gpsfake starts its gpsd in its own time: try to connect until it listens.
    std::optional<foundation::Error> error;
    const auto giveUp = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while ((error = manager->startUpdatingLocation()) &&
           std::chrono::steady_clock::now() < giveUp) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    EXPECT_FALSE(error) << error->message();
    const bool arrived = !error && delegate.waitForFixes(3);
    manager->stopUpdatingLocation();
    queue->sync([] {});
    endProcessGroup(child);

    ASSERT_TRUE(arrived) << "no fixes from gpsd";
    // gpsd's first report of a session may come before it has seen a speed.
    const auto fix = delegate.fixes().back();
    EXPECT_NEAR(fix.coordinate().latitude, 51.38, 0.01);
    EXPECT_NEAR(fix.coordinate().longitude, -(2 + 21.52 / 60), 1e-6);
    EXPECT_NEAR(fix.speed(), 10.0 * 1852 / 3600, 0.01);
    ASSERT_TRUE(fix.altitude());
    EXPECT_NEAR(*fix.altitude(), 23.4, 0.01);
}

TEST(GpsdSource, AnUnreachableGpsdFailsToStart) {
    RecordingDelegate delegate;
    auto queue = foundation::SerialQueue::create("gpsd test");
    const int port = freePort();
    std::string problem;
    auto manager = makeLocationManager("gpsd://127.0.0.1:" + std::to_string(port), queue,
                                       foundation::systemClock(), problem);
    ASSERT_TRUE(manager) << problem;
    const auto error = manager->startUpdatingLocation();
    ASSERT_TRUE(error);
    EXPECT_EQ(error->description,
              "gpsd at 127.0.0.1:" + std::to_string(port) + " cannot be reached");
}

}  // namespace
}  // namespace orvane::platform
