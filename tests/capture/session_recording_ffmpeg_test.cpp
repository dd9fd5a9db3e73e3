// Whole recordings: the session manager on the synthetic camera and microphone, with a
// pass-through renderer, FFmpeg's encoders and a library folder, for three seconds of each
// container and codec; the movie in the library is read back with libavformat.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <thread>

#include "capture/ZephrinSessionManager.h"
#include "platform/library/FolderPhotoLibrary.h"
#include "platform/writer/FfmpegAssetWriter.h"
#include "session_rig.h"
#include "tests/platform/writer/movie_probe.h"

namespace orvane::capture {
namespace {

using testing::SessionRig;

constexpr int kFramesPerSecond = 30;
constexpr int kSeconds = 3;
constexpr int kFrames = kSeconds * kFramesPerSecond;

// FFmpeg's writer with inputs that wait for the encoder rather than shed a frame, so that a
// loaded machine still writes every frame the test makes; the video appends are counted.
class PatientInput final : public platform::AssetWriterInput {
  public:
    PatientInput(platform::AssetWriterInput& input, std::atomic<int>& appended)
        : _input(input), _appended(appended) {}

    platform::CMMediaType mediaType() const override { return _input.mediaType(); }
    void setExpectsMediaDataInRealTime(bool realTime) override {
        _input.setExpectsMediaDataInRealTime(realTime);
    }
    void setTransform(const platform::AffineTransform& transform) override {
        _input.setTransform(transform);
    }
    bool isReadyForMoreMediaData() const override { return true; }
    bool appendSampleBuffer(const platform::SampleBufferRef& sample) override {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!_input.isReadyForMoreMediaData() && std::chrono::steady_clock::now() < deadline) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        const bool appended = _input.appendSampleBuffer(sample);
        if (_input.mediaType() == platform::kCMMediaType_Video) {
            _appended.fetch_add(1);
        }
        return appended;
    }

  private:
    platform::AssetWriterInput& _input;
    std::atomic<int>& _appended;
};

class PatientWriter final : public platform::AssetWriter {
  public:
    PatientWriter(std::unique_ptr<platform::AssetWriter> writer, std::atomic<int>& appended)
        : _writer(std::move(writer)), _appended(appended) {}

    platform::AssetFileType fileType() const override { return _writer->fileType(); }
    void setMetadata(std::vector<platform::MetadataItem> items) override {
        _writer->setMetadata(std::move(items));
    }
    bool canApplyVideoOutputSettings(const platform::VideoOutputSettings& settings) const override {
        return _writer->canApplyVideoOutputSettings(settings);
    }
    bool canApplyAudioOutputSettings(const platform::AudioOutputSettings& settings) const override {
        return _writer->canApplyAudioOutputSettings(settings);
    }
    std::unique_ptr<platform::AssetWriterInput> makeVideoInput(
        const platform::VideoOutputSettings& settings,
        platform::FormatDescriptionRef hint) override {
        return _writer->makeVideoInput(settings, std::move(hint));
    }
    std::unique_ptr<platform::AssetWriterInput> makeAudioInput(
        const platform::AudioOutputSettings& settings,
        platform::FormatDescriptionRef hint) override {
        return _writer->makeAudioInput(settings, std::move(hint));
    }
    bool canAddInput(const platform::AssetWriterInput& input) const override {
        return _writer->canAddInput(input);
    }
    platform::AssetWriterInput* addInput(
        std::unique_ptr<platform::AssetWriterInput> input) override {
        platform::AssetWriterInput* added = _writer->addInput(std::move(input));
        if (added == nullptr) {
            return nullptr;
        }
        _inputs.push_back(std::make_unique<PatientInput>(*added, _appended));
        return _inputs.back().get();
    }
    bool startWriting() override { return _writer->startWriting(); }
    void startSessionAtSourceTime(platform::MediaTime time) override {
        _writer->startSessionAtSourceTime(time);
    }
    void finishWriting(std::function<void()> completion) override {
        _writer->finishWriting(std::move(completion));
    }
    platform::AssetWriterStatus status() const override { return _writer->status(); }
    std::optional<foundation::Error> error() const override { return _writer->error(); }

  private:
    std::unique_ptr<platform::AssetWriter> _writer;
    std::atomic<int>& _appended;
    std::vector<std::unique_ptr<PatientInput>> _inputs;
};

class PatientWriterFactory final : public platform::AssetWriterFactory {
  public:
    std::unique_ptr<platform::AssetWriter> makeWriter(
        const std::string& path, platform::AssetFileType type,
        std::optional<foundation::Error>& error) override {
        auto writer = _factory.makeWriter(path, type, error);
        if (!writer) {
            return nullptr;
        }
        return std::make_unique<PatientWriter>(std::move(writer), appendedVideo);
    }
    platform::InterruptedMovie closeInterruptedMovie(const std::string& path,
                                                     platform::AssetFileType type) override {
        return _factory.closeInterruptedMovie(path, type);
    }

    std::atomic<int> appendedVideo{0};

  private:
    platform::FfmpegAssetWriterFactory _factory;
};

struct Case {
    const char* name;
    std::int64_t extensionMode;  // 0 MOV, 1 MP4
    std::int64_t codec;          // 0 H.264, 1 HEVC
    bool sound;
};

class SessionRecordingTest : public ::testing::TestWithParam<Case>, protected SessionRig {
  protected:
    void SetUp() override {
        std::string pattern = std::filesystem::temp_directory_path() / "orvane-recording-XXXXXX";
        ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
        directory = pattern;

        cache.setVideoExtensionMode(GetParam().extensionMode);
        cache.setVideoCodec(GetParam().codec);
        cache.setInputString("North gate");
        cache.setSelectTags({"site", "gate"});

        platform::FolderPhotoLibraryOptions options;
        options.location = {directory / "Library", true};
        options.thumbnailCache = directory / "thumbnails";
        library = std::make_shared<platform::FolderPhotoLibrary>(options, defaults, clock);

        makeManager(library, writers, directory, [] {
            return platform::Location({48.85837, 2.29448}, 35.0, 5.0, -1.0, 0.0);
        });
        manager->setRecordWithAudio(GetParam().sound);
        manager->setReferenceOrientation(3);
    }

    void TearDown() override {
        tearDownManager();
        manager.reset();
        library.reset();
        std::filesystem::remove_all(directory);
    }

    std::filesystem::path directory;
    std::shared_ptr<platform::FolderPhotoLibrary> library;
    std::shared_ptr<PatientWriterFactory> writers = std::make_shared<PatientWriterFactory>();
};

TEST_P(SessionRecordingTest, ThreeSecondsReachTheLibraryAsAPlayableMovie) {
    const Case& c = GetParam();
    startSession();
    frames(2);
    manager->startRecording();
    ASSERT_TRUE(delegate->waitForCall("recordingDidStart"));
    // Each frame waits for the one before it to reach the writer (the movie runs one frame
    // behind), so neither the camera's buffers nor the encoder's queue ever run out.
    for (int frame = 1; frame <= kFrames; ++frame) {
        frames(1);
        ASSERT_TRUE(waitFor([&] { return writers->appendedVideo.load() >= frame; })) << frame;
    }
    manager->stopRecording();
    ASSERT_TRUE(delegate->waitForCall("recordingDidStop"));
    const auto events = delegate->events();
    ASSERT_FALSE(events.failure) << events.failure->message();
    ASSERT_TRUE(events.saved) << "the library did not report the movie";

    const std::filesystem::path movie = events.saved->path;
    EXPECT_EQ(movie.extension(), c.extensionMode ? ".MP4" : ".MOV");
    EXPECT_EQ(movie.parent_path(), directory / "Library");
    const platform::ProbedMovie probed = platform::probeMovie(movie.string());
    EXPECT_EQ(probed.majorBrand, c.extensionMode ? "isom" : "qt  ");

    ASSERT_TRUE(probed.video);
    EXPECT_EQ(probed.video->codec, c.codec ? AV_CODEC_ID_HEVC : AV_CODEC_ID_H264);
    EXPECT_EQ(probed.video->width, 1280);
    EXPECT_EQ(probed.video->height, 720);
    ASSERT_EQ(probed.video->pts.size(), static_cast<std::size_t>(kFrames));
    EXPECT_NEAR(probed.video->endSeconds, kSeconds, 1.0 / kFramesPerSecond);
    // The first sample of either kind is the movie's zero: sound that comes first leaves the
    // picture starting within a frame.
    const auto firstSeconds = [](const platform::ProbedTrack& track) {
        return static_cast<double>(*std::min_element(track.pts.begin(), track.pts.end())) *
               av_q2d(track.timeBase);
    };
    const double videoStart = firstSeconds(*probed.video);
    EXPECT_GE(videoStart, 0.0);
    EXPECT_LT(videoStart, 1.0 / kFramesPerSecond);
    if (!c.sound) {
        EXPECT_EQ(videoStart, 0.0);
    }

    if (c.sound) {
        ASSERT_TRUE(probed.audio);
        EXPECT_EQ(probed.audio->codec, AV_CODEC_ID_AAC);
        EXPECT_EQ(probed.audio->sampleRate, 48000);
        EXPECT_EQ(probed.audio->channels, 1);
        EXPECT_NEAR(probed.audio->endSeconds, kSeconds, 0.2);
        // AAC's first packet is the encoder's priming, one frame of 1024 samples that the
        // edit list hides; the sound is heard from the packet after it.
        ASSERT_FALSE(probed.audio->pts.empty());
        const double audioStart = firstSeconds(*probed.audio) + 1024.0 / 48000;
        EXPECT_NEAR(std::min(videoStart, audioStart), 0.0, 1e-9);
    } else {
        EXPECT_FALSE(probed.audio);
    }

    const auto& tags = probed.metadata;
    const auto tag = [&](const char* key) {
        const auto found = tags.find(key);
        return found == tags.end() ? std::string("(missing)") : found->second;
    };
    EXPECT_EQ(tag(platform::kQuickTimeMetadataKeySoftware), "Orvane");
    EXPECT_EQ(tag(platform::kQuickTimeMetadataKeyMake), "Test Maker");
    EXPECT_EQ(tag(platform::kQuickTimeMetadataKeyComment), "North gate");
    EXPECT_EQ(tag(platform::kQuickTimeMetadataKeyDescription), "North gate");
    EXPECT_EQ(tag(platform::kQuickTimeMetadataKeyKeywords), "site,gate");
    EXPECT_EQ(tag(platform::kQuickTimeMetadataKeyLocationISO6709),
              "+48.85837+002.29448+35CRSWGS_84");
}

INSTANTIATE_TEST_SUITE_P(FfmpegWriter, SessionRecordingTest,
                         ::testing::Values(Case{"MovH264Sound", 0, 0, true},
                                           Case{"Mp4H264Silent", 1, 0, false},
                                           Case{"MovHevcSilent", 0, 1, false},
                                           Case{"Mp4HevcSound", 1, 1, true}),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace orvane::capture
