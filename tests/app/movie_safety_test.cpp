// What a recording leaves when it does not end well: killed outright, run twice at once, or
// writing to a disk that fills up. Each must leave every movie playable in the library.
#include <sys/mount.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "tests/app/command_test_support.h"

namespace orvane::app {
namespace {

namespace fs = std::filesystem;

using testing::Result;

class MovieSafetyTest : public testing::CaptureCommandTest {
  protected:
    // Frames of the movie's video track and its duration, read to the end by ffprobe; none when
    // ffprobe is missing or cannot read the movie.
    struct Probed {
        long frames = 0;
        double seconds = 0;
    };
    std::optional<Probed> probe(const fs::path& movie) {
        const Result result = runShell(
            "ffprobe -v error -count_frames -select_streams v:0 -show_entries "
            "stream=nb_read_frames:format=duration -of default=nw=1:nk=1 '" +
            movie.string() + "'");
        long frames = 0;
        double seconds = 0;
        if (result.status != 0 ||
            std::sscanf(result.out.c_str(), "%ld %lf", &frames, &seconds) != 2) {
            return std::nullopt;
        }
        return Probed{frames, seconds};
    }

    std::vector<fs::path> movies() const {
        std::vector<fs::path> found;
        std::error_code error;
        for (const auto& entry : fs::directory_iterator(library, error)) {
            const auto extension = entry.path().extension();
            if (extension == ".MOV" || extension == ".MP4") {
                found.push_back(entry.path());
            }
        }
        return found;
    }
};

// A recording killed outright leaves its movie in the drafts folder, playable up to its last
// fragment; recovery delivers it under its name, once, and removes a draft with nothing in it.
// The three moments a kill can come: mid-fragment (a real kill), during the finish (what a join
// killed halfway leaves: half a joined file beside the whole fragmented movie) and before the
// first frame (an empty movie).
TEST_F(MovieSafetyTest, AKilledRecordingIsRecoveredPlayableAndOnlyOnce) {
    const Result killed = runShell("(" + command() +
                                   "record --duration 0 --gl surfaceless & pid=$!; sleep 6; "
                                   "kill -KILL $pid; wait $pid) 2>/dev/null");
    EXPECT_NE(killed.status, 0);
    ASSERT_TRUE(movies().empty());
    std::vector<fs::path> drafts;
    for (const auto& entry : fs::directory_iterator(library / ".recording")) {
        drafts.push_back(entry.path());
    }
    ASSERT_EQ(drafts.size(), 1u);
    const fs::path killedMovie = drafts.front() / "QK_00000.MOV";
    ASSERT_TRUE(fs::exists(killedMovie));
    {
        std::ifstream in(killedMovie, std::ios::binary);
        std::string half(fs::file_size(killedMovie) / 2, '\0');
        in.read(half.data(), static_cast<std::streamsize>(half.size()));
        std::ofstream(drafts.front() / ".QK_00000.MOV.joining-Ab12Cd", std::ios::binary) << half;
    }
    // A draft killed before its first frame: a movie file with nothing in it.
    fs::create_directories(library / ".recording" / "early0");
    std::ofstream(library / ".recording" / "early0" / "QK_09999.MOV") << "";

    const Result recovered = run("library recover");
    ASSERT_EQ(recovered.status, 0) << recovered.err;
    const auto delivered = movies();
    ASSERT_EQ(delivered.size(), 1u) << recovered.out;
    EXPECT_EQ(delivered.front().filename(), "QK_00000.MOV");
    EXPECT_NE(recovered.out.find("recovered " + delivered.front().string()), std::string::npos)
        << recovered.out;
    EXPECT_NE(recovered.out.find("removed QK_09999.MOV"), std::string::npos) << recovered.out;
    EXPECT_TRUE(fs::is_empty(library / ".recording"));
    const auto probed = probe(delivered.front());
    ASSERT_TRUE(probed) << "the recovered movie cannot be read";
    EXPECT_GT(probed->frames, 10);
    EXPECT_GT(probed->seconds, 0.5);

    const Result again = run("library recover");
    EXPECT_EQ(again.out, "nothing to recover\n");
    EXPECT_NE(run("library list").out.find(delivered.front().string()), std::string::npos);
}

// Two programs recording into one library at once each get a movie of their own.
TEST_F(MovieSafetyTest, TwoRecordingsAtOnceGiveTwoIntactMovies) {
    const Result both = runShell("(" + command() + "record --duration 2 --gl surfaceless & " +
                                 command() + "record --duration 2 --gl surfaceless & wait) 2>&1");
    const auto delivered = movies();
    ASSERT_EQ(delivered.size(), 2u) << both.out;
    EXPECT_EQ((std::set<std::string>{delivered[0].filename(), delivered[1].filename()}),
              (std::set<std::string>{"QK_00000.MOV", "QK_00001.MOV"}));
    for (const auto& movie : delivered) {
        const auto probed = probe(movie);
        ASSERT_TRUE(probed) << movie;
        EXPECT_GT(probed->frames, 10) << movie;
    }
}

// A disk that fills up ends the recording early with the system's words, and the movie so far
// is in the library.
TEST_F(MovieSafetyTest, AFullDiskKeepsTheMovieSoFar) {
    fs::create_directories(library);
    if (::mount("orvane-test", library.c_str(), "tmpfs", 0, "size=3m") != 0) {
        GTEST_SKIP() << "a small disk needs root to mount a tmpfs: " << std::strerror(errno);
    }
    const Result result = run("record --duration 30 --gl surfaceless");
    const auto delivered = movies();
    const auto probed = delivered.empty() ? std::nullopt : probe(delivered.front());
    ::umount2(library.c_str(), MNT_DETACH);
    EXPECT_EQ(result.status, 3) << result.err;
    EXPECT_NE(result.err.find("No space left on device"), std::string::npos) << result.err;
    ASSERT_EQ(delivered.size(), 1u) << result.err;
    ASSERT_TRUE(probed) << "the movie so far cannot be read";
    EXPECT_GT(probed->frames, 10);
}

}  // namespace
}  // namespace orvane::app
