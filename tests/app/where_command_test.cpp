// `orvane where` through the real executable: the simulated route with the offline geocoder, a
// GPX track followed with --watch until SIGTERM, logs of a single fix, and the refusals.
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#include "tests/app/command_test_support.h"

namespace orvane::app {
namespace {

namespace fs = std::filesystem;

using testing::CommandTest;
using testing::Result;

// KEY<TAB>TEXT lines of one block.
std::map<std::string, std::string> rows(const std::string& block) {
    std::map<std::string, std::string> found;
    std::istringstream lines(block);
    for (std::string line; std::getline(lines, line);) {
        if (const auto tab = line.find('\t'); tab != std::string::npos) {
            found.emplace(line.substr(0, tab), line.substr(tab + 1));
        }
    }
    return found;
}

class WhereCommandTest : public CommandTest {
  protected:
    std::vector<std::string> argv(const std::string& arguments) const {
        std::vector<std::string> words{ORVANE_BINARY, "--config-dir", (folder / "config").string(),
                                       "where"};
        std::istringstream in(arguments);
        for (std::string word; in >> word;) {
            words.push_back(word);
        }
        return words;
    }

    Result run(const std::string& arguments) {
        std::string command;
        for (const auto& word : argv(arguments)) {
            command += "'" + word + "' ";
        }
        return runShell(command);
    }

    // A track heading north-east from the Eiffel Tower, one point a second.
    fs::path writeTrack() {
        const auto path = folder / "track.gpx";
        std::ofstream gpx(path);
        gpx << "<?xml version=\"1.0\"?>\n<gpx version=\"1.1\" creator=\"test\" "
               "xmlns=\"http://www.topografix.com/GPX/1/1\"><trk><trkseg>\n";
        for (int i = 0; i < 8; ++i) {
            gpx << "<trkpt lat=\"" << 48.858370 + i * 0.0002 << "\" lon=\"" << 2.294481 + i * 0.0002
                << "\"><ele>" << 35 + i << "</ele><time>2024-05-01T10:00:0" << i
                << "Z</time></trkpt>\n";
        }
        gpx << "</trkseg></trk></gpx>\n";
        return path;
    }
};

TEST_F(WhereCommandTest, SimulatedRoutePrintsCoordinatesAndAnAddressWithoutNetwork) {
    const auto result = run("--source sim --geocoder offline");
    ASSERT_EQ(result.status, 0) << result.err;
    const auto found = rows(result.out);
    for (const char* key : {"fix", "altitude", "speed", "accuracy", "gps1", "gpsUTM", "gpsMGRS",
                            "address.locality", "address.administrativeArea", "address.country"}) {
        ASSERT_TRUE(found.count(key)) << key << " missing in\n" << result.out;
        EXPECT_FALSE(found.at(key).empty()) << key;
    }
    EXPECT_NE(found.at("altitude"), "none");
    // The coordinate rows are made from the fix printed beside them.
    const auto fix = found.at("fix");
    const auto comma = fix.find(',');
    const auto signed_ = [](const std::string& number) {
        return number.front() == '-' ? number : "+" + number;
    };
    EXPECT_EQ(found.at("gps1"),
              signed_(fix.substr(0, comma)) + "," + signed_(fix.substr(comma + 1)));
}

TEST_F(WhereCommandTest, WatchFollowsAGpxTrackUntilTerminated) {
    const auto track = writeTrack();
    const auto words = argv("--source gpx:" + track.string() + " --watch");
    int output[2];
    ASSERT_EQ(::pipe(output), 0);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        ::dup2(output[1], STDOUT_FILENO);
        ::close(output[0]);
        std::vector<char*> args;
        for (const auto& word : words) {
            args.push_back(const_cast<char*>(word.c_str()));
        }
        args.push_back(nullptr);
        ::execv(args[0], args.data());
        ::_exit(127);
    }
    ::close(output[1]);

    // Reads until two blocks are out, or a generous minute passes.
    std::string text;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (text.find("\n\nfix\t") == std::string::npos || text.rfind('\n') != text.size() - 1 ||
           text.find("address.", text.find("\n\nfix\t")) == std::string::npos) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        pollfd ready{output[0], POLLIN, 0};
        if (left.count() <= 0 || ::poll(&ready, 1, static_cast<int>(left.count())) <= 0) {
            break;
        }
        char buffer[4096];
        const auto got = ::read(output[0], buffer, sizeof buffer);
        if (got <= 0) {
            break;
        }
        text.append(buffer, static_cast<std::size_t>(got));
    }
    ::kill(child, SIGTERM);
    int raw = 0;
    ::waitpid(child, &raw, 0);
    ::close(output[0]);

    ASSERT_TRUE(WIFEXITED(raw)) << "ended by a signal; output:\n" << text;
    EXPECT_EQ(WEXITSTATUS(raw), 0);
    const auto split = text.find("\n\n");
    ASSERT_NE(split, std::string::npos) << text;
    const auto first = rows(text.substr(0, split));
    const auto second = rows(text.substr(split + 2));
    ASSERT_TRUE(first.count("fix") && second.count("fix")) << text;
    EXPECT_NE(first.at("fix"), second.at("fix"));
    // Each block's altitude is that of its own track point: elevation rises by a metre a point.
    EXPECT_NE(first.at("altitude"), second.at("altitude"));
    EXPECT_EQ(first.at("fix").rfind("48.85", 0), 0u);
    EXPECT_TRUE(second.count("address.country")) << text;
}

// A log or a track of a single fix: the fix is printed with its address and the command ends
// well, saying nothing of the end of the log that follows the fix at once.
TEST_F(WhereCommandTest, ALogOfOneFixPrintsItAndEnds) {
    const auto track = folder / "one.gpx";
    std::ofstream(track) << "<?xml version=\"1.0\"?>\n<gpx version=\"1.1\" creator=\"test\" "
                            "xmlns=\"http://www.topografix.com/GPX/1/1\"><trk><trkseg>"
                            "<trkpt lat=\"48.85837\" lon=\"2.294481\"><ele>35</ele>"
                            "<time>2024-05-01T10:00:00Z</time></trkpt></trkseg></trk></gpx>\n";
    // One fix at 12:35:19 over Munich, from a GGA and an RMC sentence of that second.
    const auto log = folder / "one.nmea";
    std::ofstream(log)
        << "$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*47\r\n"
           "$GPRMC,123519,A,4807.038,N,01131.000,E,022.4,084.4,230394,003.1,W*6A\r\n";
    const struct {
        std::string source;
        const char* fix;
    } cases[] = {
        {"gpx:" + track.string(), "48.858370,2.294481"},
        {"nmea-file:" + log.string(), "48.117300,11.516667"},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.source);
        const auto result = run("--source " + test.source + " --geocoder offline");
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.err, "");
        const auto found = rows(result.out);
        ASSERT_TRUE(found.count("fix")) << result.out;
        EXPECT_EQ(found.at("fix"), test.fix);
        EXPECT_TRUE(found.count("address.country")) << result.out;
        // One block: the fix is printed once.
        EXPECT_EQ(result.out.find("\n\n"), std::string::npos) << result.out;
    }
}

TEST_F(WhereCommandTest, RefusalsSayWhatIsWrongAndExitOne) {
    const struct {
        const char* arguments;
        const char* message;
    } cases[] = {
        {"--source bogus:thing", "bogus:thing"},
        {"--source gpx:/nonexistent/track.gpx", "/nonexistent/track.gpx"},
        {"--geocoder ftp://example.org", "ftp://example.org"},
    };
    for (const auto& test : cases) {
        const auto result = run(test.arguments);
        EXPECT_EQ(result.status, 1) << test.arguments;
        EXPECT_NE(result.err.find(test.message), std::string::npos)
            << test.arguments << ": " << result.err;
        EXPECT_EQ(result.out, "") << test.arguments;
    }
}

}  // namespace
}  // namespace orvane::app
