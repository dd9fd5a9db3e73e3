// The recorder with the real movie writer: a short movie with sound, read back as bytes.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "capture/MovieRecorder.h"
#include "platform/writer/FfmpegAssetWriter.h"
#include "screen/settings_cache.h"
#include "tests/foundation/dispatch_test_support.h"

namespace orvane::capture {
namespace {

class Delegate final : public MovieRecorderDelegate {
  public:
    void recorderDidFinishPreparingToRecord(MovieRecorder&) override { prepared.add(); }
    void recorderDidFailWithError(MovieRecorder&, const foundation::Error& error) override {
        ADD_FAILURE() << error.message();
        ended.add();
    }
    void recorderDidFinishRecording(MovieRecorder&) override { ended.add(); }

    foundation::testing::EventCounter prepared, ended;
};

TEST(MovieRecorderWithFfmpeg, WritesAMovieWithItsMetadata) {
    std::string pattern = std::filesystem::temp_directory_path() / "orvane-movie-XXXXXX";
    ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
    const std::filesystem::path directory = pattern;

    for (std::int64_t extensionMode : {0, 1}) {
        SCOPED_TRACE(extensionMode);
        screen::SettingsCache settings;
        settings.setVideoExtensionMode(extensionMode);
        settings.setInputString("Site 4");
        const auto url = (directory / (extensionMode ? "Movie.MP4" : "Movie.MOV")).string();

        auto recorder = MovieRecorder::create(
            {std::make_shared<platform::FfmpegAssetWriterFactory>(), &settings,
             [] {
                 return platform::Location({51.5, -0.12}, 11.0, 5.0, -1.0, 0.0);
             },
             "Tester"});
        auto delegate = std::make_shared<Delegate>();
        recorder->setDelegate(delegate, foundation::SerialQueue::create("test callbacks"));

        auto frame = platform::PixelBuffer::create(320, 240).buffer;
        auto video = platform::FormatDescription::createForImageBuffer(*frame);
        auto audio = platform::FormatDescription::createAudio(
            platform::AudioStreamBasicDescription::interleavedLinearPCM(48000, 1, 16, false),
            platform::AudioChannelLayout::mono());
        recorder->addVideoTrackWithSourceFormatDescription(video, {});
        recorder->addAudioTrackWithSourceFormatDescription(audio);
        recorder->prepareToRecordToURL(url);
        ASSERT_TRUE(delegate->prepared.waitFor(1));

        for (std::int64_t i = 0; i < 15; ++i) {
            platform::SampleTimingInfo timing;
            timing.presentationTimeStamp = platform::MediaTime::make(i * 20, 600);
            recorder->appendVideoSampleBuffer(
                platform::SampleBuffer::createForImageBuffer(frame, video, timing));
            recorder->appendAudioSampleBuffer(
                platform::SampleBuffer::createAudio(std::vector<std::uint8_t>(3200), 1600, audio,
                                                    platform::MediaTime::make(i * 1600, 48000)));
        }
        recorder->finishRecording();
        ASSERT_TRUE(delegate->ended.waitFor(1));
        EXPECT_EQ(recorder->status(), MovieRecorderStatus::Finished);

        std::ifstream file(url, std::ios::binary);
        const std::string bytes((std::istreambuf_iterator<char>(file)), {});
        ASSERT_GT(bytes.size(), 8u);
        EXPECT_EQ(bytes.substr(4, 8), extensionMode ? "ftypisom" : "ftypqt  ");
        for (const char* text :
             {"com.apple.quicktime.location.ISO6709", "+51.50000-000.12000+11CRSWGS_84",
              "com.apple.quicktime.make", "Tester", "Site 4", "Orvane"}) {
            EXPECT_NE(bytes.find(text), std::string::npos) << text;
        }
    }
    std::filesystem::remove_all(directory);
}

}  // namespace
}  // namespace orvane::capture
