// `orvane record`, the main job, run as its own process: the synthetic camera and microphone,
// the simulated route and the offline geocoder, a real GL context, FFmpeg's encoders and a
// library folder of the test's own.
#include <filesystem>
#include <fstream>

#include "tests/app/command_test_support.h"

namespace orvane::app {
namespace {

namespace fs = std::filesystem;

using testing::Result;

class RecordCommandTest : public testing::CaptureCommandTest {
  protected:
    // The streams' codecs and the container's tags, one "key=value" a line, or nothing when
    // ffprobe is missing.
    std::optional<std::string> probe(const fs::path& movie) {
        if (std::system("command -v ffprobe >/dev/null 2>&1") != 0) {
            return std::nullopt;
        }
        return runShell(
                   "ffprobe -v error -show_entries stream=codec_name:format_tags -of "
                   "default=nw=1 '" +
                   movie.string() + "'")
            .out;
    }
};

TEST_F(RecordCommandTest, AStampedMovieWithSoundAndPlaceIsLeftInTheLibrary) {
    const Result result = run("record --duration 1");
    ASSERT_EQ(result.status, 0) << result.err;
    ASSERT_FALSE(result.out.empty()) << result.err;
    const fs::path movie = result.out.substr(0, result.out.find('\n'));
    EXPECT_EQ(movie.parent_path(), library);
    EXPECT_EQ(movie.extension(), ".MOV");
    ASSERT_TRUE(fs::exists(movie));
    EXPECT_GT(fs::file_size(movie), 1000u);
    EXPECT_TRUE(fs::is_empty(library / ".recording")) << "the draft goes once the library has it";
    // The first run leaves the stored mode at photo; the movie was stamped as a video, in the
    // mode it was made in, and that mode is now the camera's.
    EXPECT_EQ(run("settings get cameraModeIndex").out, "0\n");

    const Result listed = run("library list");
    ASSERT_EQ(listed.status, 0) << listed.err;
    EXPECT_NE(listed.out.find(movie.string()), std::string::npos) << listed.out;
    EXPECT_NE(listed.out.find("\tvideo\t"), std::string::npos) << listed.out;

    const auto tags = probe(movie);
    if (!tags) {
        GTEST_SKIP() << "ffprobe is not installed";
    }
    EXPECT_NE(tags->find("codec_name=h264"), std::string::npos) << *tags;
    EXPECT_NE(tags->find("codec_name=aac"), std::string::npos) << *tags;
    EXPECT_NE(tags->find("TAG:com.apple.quicktime.software=Orvane"), std::string::npos) << *tags;
    EXPECT_NE(tags->find("TAG:com.apple.quicktime.location.ISO6709=+"), std::string::npos) << *tags;
}

TEST_F(RecordCommandTest, ATimeLapseAsMP4HasNoSound) {
    ASSERT_EQ(run("settings set VideoExtensionMode 1").status, 0);
    const Result result = run("record --duration 1 --mode timelapse");
    ASSERT_EQ(result.status, 0) << result.err;
    const fs::path movie = result.out.substr(0, result.out.find('\n'));
    EXPECT_EQ(movie.extension(), ".MP4");
    ASSERT_TRUE(fs::exists(movie));
    const auto tags = probe(movie);
    if (!tags) {
        GTEST_SKIP() << "ffprobe is not installed";
    }
    EXPECT_NE(tags->find("codec_name=h264"), std::string::npos) << *tags;
    EXPECT_EQ(tags->find("codec_name=aac"), std::string::npos) << *tags;
}

// A library that cannot be written says why before anything is recorded: movies are made in it.
TEST_F(RecordCommandTest, ALibraryThatCannotBeWrittenIsReportedBeforeRecording) {
    library = folder / "a file" / "Library";
    std::ofstream(folder / "a file") << "not a folder";
    const Result result = run("record --duration 1");
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(result.out.empty()) << result.out;
    EXPECT_NE(result.err.find("Cannot write to the photo library"), std::string::npos)
        << result.err;
    EXPECT_EQ(result.err.find("orvane record: recording"), std::string::npos) << result.err;
}

// Add-only access takes the movie but cannot read it back, so there is no path to print.
TEST_F(RecordCommandTest, AddOnlyAccessSavesWithoutReadingBack) {
    ASSERT_EQ(run("settings set PhotoLibraryAccessLevel addOnly").status, 0);
    const Result result = run("record --duration 1");
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_TRUE(result.out.empty()) << result.out;
    EXPECT_NE(result.err.find("add-only access cannot read it back"), std::string::npos)
        << result.err;
    EXPECT_TRUE(fs::is_empty(library / ".recording"));

    ASSERT_EQ(run("settings set PhotoLibraryAccessLevel full").status, 0);
    const Result listed = run("library list");
    ASSERT_EQ(listed.status, 0) << listed.err;
    EXPECT_NE(listed.out.find("\tvideo\t"), std::string::npos) << listed.out;
}

TEST_F(RecordCommandTest, BadOptionsAreRefusedAndNothingIsRecorded) {
    for (const std::string arguments :
         {"record --duration -1", "record --mode slow", "record --camera /dev/video9",
          "record --geocoder nowhere", "record --gl vulkan", "record --location carrier-pigeon"}) {
        const Result result = run(arguments);
        EXPECT_EQ(result.status, 1) << arguments;
        EXPECT_NE(result.err, "") << arguments;
        EXPECT_FALSE(fs::exists(library) && !fs::is_empty(library)) << arguments;
    }
}

}  // namespace
}  // namespace orvane::app
