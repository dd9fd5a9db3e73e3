// Whole recordings: the session manager on the synthetic camera and microphone, with a
// pass-through renderer, FFmpeg's encoders and a library folder, for three seconds of each
// container and codec; the movie in the library is read back with libavformat.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "capture/ZephrinSessionManager.h"
#include "platform/linux/FfmpegAssetWriter.h"
#include "platform/linux/FolderPhotoLibrary.h"
#include "platform/sim/MemoryUserDefaults.h"
#include "platform/sim/SimCaptureDeviceDiscovery.h"
#include "recording_delegate.h"
#include "screen/settings_store.h"
#include "tests/platform/movie_probe.h"

namespace orvane::capture {
namespace {

using testing::RecordingDelegate;

constexpr int kFramesPerSecond = 30;
constexpr int kSeconds = 3;

struct Case {
    const char* name;
    std::int64_t extensionMode;  // 0 MOV, 1 MP4
    std::int64_t codec;          // 0 H.264, 1 HEVC
    bool sound;
};

class SessionRecordingTest : public ::testing::TestWithParam<Case> {
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

        ZephrinSessionManagerEnvironment environment;
        environment.store = &store;
        environment.devices = devices;
        environment.library = library;
        environment.recorder.writerFactory = std::make_shared<platform::FfmpegAssetWriterFactory>();
        environment.recorder.settings = &cache;
        environment.recorder.location = [] {
            return platform::Location({48.85837, 2.29448}, 35.0, 5.0, -1.0, 0.0);
        };
        environment.recorder.make = "Test Maker";
        environment.clock = &clock;
        environment.temporaryDirectory = directory;
        environment.albumTitle = "Orvane";
        environment.mainQueue = mainQueue;
        manager = ZephrinSessionManager::create(std::move(environment));
        manager->setDelegate(delegate, delegateQueue);
        manager->setRecordWithAudio(GetParam().sound);
        manager->setReferenceOrientation(3);
    }

    void TearDown() override {
        manager->stopAndTearDownCaptureSession();
        delegateQueue->sync([] {});
        mainQueue->sync([] {});
        manager.reset();
        library.reset();
        std::filesystem::remove_all(directory);
    }

    // Frames at the camera's pace in real time too, so the encoders see what a live recording
    // gives them.
    void frames(int count) {
        for (int i = 0; i < count; ++i) {
            const int before = delegate->events().rendered;
            clock.advance(1.0 / kFramesPerSecond + 1e-7);
            ASSERT_TRUE(delegate->waitUntil([&](const auto& e) { return e.rendered > before; }));
            std::this_thread::sleep_for(std::chrono::milliseconds(1000 / kFramesPerSecond));
        }
    }

    std::filesystem::path directory;
    foundation::ManualClock clock{1700000000.0};
    platform::MemoryUserDefaults defaults;
    screen::SettingsCache cache;
    screen::SettingsStore store{defaults, cache};
    std::shared_ptr<platform::SimCaptureDeviceDiscovery> devices =
        std::make_shared<platform::SimCaptureDeviceDiscovery>(clock);
    std::shared_ptr<platform::FolderPhotoLibrary> library;
    std::shared_ptr<foundation::SerialQueue> delegateQueue =
        foundation::SerialQueue::create("test delegate queue");
    std::shared_ptr<foundation::SerialQueue> mainQueue =
        foundation::SerialQueue::create("test main queue");
    std::shared_ptr<RecordingDelegate> delegate = std::make_shared<RecordingDelegate>();
    std::shared_ptr<ZephrinSessionManager> manager;
};

TEST_P(SessionRecordingTest, ThreeSecondsReachTheLibraryAsAPlayableMovie) {
    const Case& c = GetParam();
    ASSERT_TRUE(manager->setupAndStartCaptureSession());
    manager->resumeCaptureSession();
    // The camera paces itself from the clock once it runs.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!manager->captureSession()->isRunning()) {
        ASSERT_LT(std::chrono::steady_clock::now(), deadline) << "the session did not start";
        std::this_thread::yield();
    }
    frames(2);
    manager->startRecording();
    ASSERT_TRUE(delegate->waitForCall("recordingDidStart"));
    frames(kSeconds * kFramesPerSecond);
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
    // The encoder sheds frames rather than hold the camera back, so a loaded machine keeps
    // fewer; the movie still spans the whole recording from time zero.
    const std::size_t count = probed.video->pts.size();
    EXPECT_GE(count, static_cast<std::size_t>(kFramesPerSecond));
    EXPECT_LE(count, static_cast<std::size_t>(kSeconds * kFramesPerSecond));
    ASSERT_GT(count, 0u);
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
    EXPECT_NEAR(probed.video->endSeconds, kSeconds, 2.0 / kFramesPerSecond);

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
