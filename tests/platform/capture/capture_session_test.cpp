#include <gtest/gtest.h>

#include <atomic>

#include "foundation/exceptions.h"
#include "platform/capture/CaptureSession.h"
#include "platform/capture/SimCaptureDeviceDiscovery.h"
#include "platform/capture/SyntheticCamera.h"
#include "tests/foundation/dispatch_test_support.h"
#include "tests/platform/capture/capture_test_support.h"

namespace orvane::platform {
namespace {

using testing::SampleRecorder;

std::shared_ptr<CaptureDeviceInput> inputFor(std::shared_ptr<CaptureDevice> device) {
    auto made = CaptureDeviceInput::deviceInputWithDevice(std::move(device));
    EXPECT_FALSE(made.error.has_value());
    return made.input;
}

// A frame and a hair more on the manual clock, so rounding never leaves the frame not yet due.
constexpr double kOneFrame = 1.0 / 30 + 1e-6;

// Waits until every block posted to the queue so far has run.
void drain(foundation::DispatchQueue& queue) {
    queue.sync([] {});
}

// A camera with the formats a test needs; it never runs.
class FormatsOnlyCamera final : public CaptureDevice {
  public:
    explicit FormatsOnlyCamera(std::vector<CaptureDeviceFormat> formats)
        : CaptureDevice(Description{"formats", "Formats", CaptureDevicePosition::Back,
                                    CaptureDeviceType::External, kCMMediaType_Video,
                                    std::move(formats), 0}) {}
    void start(SampleSink) override {}
    void stop() override {}
};

class CaptureSessionTest : public ::testing::Test {
  protected:
    // Camera and microphone, joined to a video and an audio output, each with its recorder.
    void buildFullSession() {
        session.beginConfiguration();
        session.addInput(cameraInput);
        session.addInput(microphoneInput);
        session.addOutput(videoOut);
        session.addOutput(audioOut);
        session.commitConfiguration();
    }

    foundation::ManualClock clock;
    SimCaptureDeviceDiscovery devices{clock};
    CaptureSession session;
    std::shared_ptr<CaptureDeviceInput> cameraInput = inputFor(devices.backCamera());
    std::shared_ptr<CaptureDeviceInput> microphoneInput = inputFor(devices.microphone());
    std::shared_ptr<CaptureVideoDataOutput> videoOut = std::make_shared<CaptureVideoDataOutput>();
    std::shared_ptr<CaptureAudioDataOutput> audioOut = std::make_shared<CaptureAudioDataOutput>();
    std::shared_ptr<SampleRecorder> videoRecorder = std::make_shared<SampleRecorder>();
    std::shared_ptr<SampleRecorder> audioRecorder = std::make_shared<SampleRecorder>();
    std::shared_ptr<foundation::SerialQueue> videoQueue =
        foundation::SerialQueue::create("video capture test queue");
    std::shared_ptr<foundation::SerialQueue> audioQueue =
        foundation::SerialQueue::create("audio capture test queue");

    void SetUp() override {
        videoOut->setSampleBufferDelegate(videoRecorder, videoQueue);
        audioOut->setSampleBufferDelegate(audioRecorder, audioQueue);
    }
};

TEST_F(CaptureSessionTest, PresetsPickTheMatchingFormatAndFramesComeAtItsSize) {
    struct Row {
        CaptureSessionPreset preset;
        VideoDimensions size;
    };
    buildFullSession();
    for (const Row& row : {Row{CaptureSessionPreset::Preset640x480, {640, 480}},
                           Row{CaptureSessionPreset::iFrame960x540, {960, 540}},
                           Row{CaptureSessionPreset::Preset1280x720, {1280, 720}},
                           Row{CaptureSessionPreset::Preset1920x1080, {1920, 1080}},
                           Row{CaptureSessionPreset::Photo, {1280, 960}}}) {
        SCOPED_TRACE(captureSessionPresetName(row.preset));
        ASSERT_TRUE(session.canSetSessionPreset(row.preset));
        session.setSessionPreset(row.preset);
        const auto format = devices.backCamera()->activeFormat();
        EXPECT_EQ(format.dimensions(), row.size);
        EXPECT_EQ(devices.backCamera()->activeVideoMinFrameDuration(), MediaTime::make(1, 30));

        auto recorder = std::make_shared<SampleRecorder>();
        videoOut->setSampleBufferDelegate(recorder, videoQueue);
        session.startRunning();
        // Frame by frame, so the queue is never behind and no frame is discarded.
        for (int i = 0; i < 6; ++i) {
            clock.advance(kOneFrame);
            ASSERT_TRUE(recorder->waitFor(static_cast<std::size_t>(i) + 1));
        }
        session.stopRunning();
        const auto entries = recorder->entries();
        for (std::size_t i = 0; i < entries.size(); ++i) {
            EXPECT_EQ(entries[i].dimensions, row.size);
            if (i > 0) {
                EXPECT_EQ(entries[i].time - entries[i - 1].time, MediaTime::make(1, 30));
            }
        }
    }
    EXPECT_FALSE(session.canSetSessionPreset(CaptureSessionPreset::Preset3840x2160));
    EXPECT_THROW(session.setSessionPreset(CaptureSessionPreset::Preset3840x2160),
                 foundation::InvalidArgumentException);
    EXPECT_EQ(session.sessionPreset(), CaptureSessionPreset::Photo);
}

TEST(CaptureSessionPresets, ChooseAmongTheCamerasOwnFormats) {
    const auto up30 = std::vector{FrameRateRange::make(1, 30)};
    const auto only60 = std::vector{FrameRateRange::make(60, 60)};
    FormatsOnlyCamera camera(
        {CaptureDeviceFormat::video(1280, 720, only60), CaptureDeviceFormat::video(1280, 720, up30),
         CaptureDeviceFormat::video(1920, 1080, up30), CaptureDeviceFormat::video(1600, 1200, up30),
         CaptureDeviceFormat::video(3840, 2160, up30)});
    const auto chosen = [&](CaptureSessionPreset preset) {
        return CaptureSession::formatForPreset(camera, preset);
    };
    // The 30-frame format of the size wins over an earlier one that cannot run at 30.
    EXPECT_EQ(chosen(CaptureSessionPreset::Preset1280x720), camera.formats()[1]);
    // A photo takes the largest 4:3 picture even where a 16:9 one is larger.
    EXPECT_EQ(chosen(CaptureSessionPreset::Photo), camera.formats()[3]);
    EXPECT_EQ(chosen(CaptureSessionPreset::Preset3840x2160), camera.formats()[4]);
    EXPECT_FALSE(chosen(CaptureSessionPreset::Preset640x480).has_value());
    EXPECT_EQ(chosen(CaptureSessionPreset::InputPriority), camera.activeFormat());

    FormatsOnlyCamera wideOnly({CaptureDeviceFormat::video(1280, 720, up30),
                                CaptureDeviceFormat::video(1920, 1080, up30)});
    EXPECT_EQ(CaptureSession::formatForPreset(wideOnly, CaptureSessionPreset::Photo),
              wideOnly.formats()[1]);
    FormatsOnlyCamera sixtyOnly({CaptureDeviceFormat::video(1280, 720, only60)});
    EXPECT_EQ(CaptureSession::formatForPreset(sixtyOnly, CaptureSessionPreset::Preset1280x720),
              sixtyOnly.formats()[0]);
}

TEST_F(CaptureSessionTest, EachOutputGetsOnlyItsMediaTypeUntilTheSessionStops) {
    buildFullSession();
    const auto videoConnection = videoOut->connectionWithMediaType(kCMMediaType_Video);
    const auto audioConnection = audioOut->connectionWithMediaType(kCMMediaType_Audio);
    ASSERT_NE(videoConnection, nullptr);
    ASSERT_NE(audioConnection, nullptr);
    EXPECT_EQ(videoOut->connectionWithMediaType(kCMMediaType_Audio), nullptr);
    EXPECT_EQ(videoConnection->input(), cameraInput);
    int stops = 0;
    const auto token = session.addDidStopRunningObserver([&] { ++stops; });

    session.startRunning();
    EXPECT_TRUE(session.isRunning());
    for (int i = 0; i < 15; ++i) {
        clock.advance(kOneFrame);
        ASSERT_TRUE(videoRecorder->waitFor(static_cast<std::size_t>(i) + 1));
    }
    ASSERT_TRUE(audioRecorder->waitFor(23));  // 1024-frame buffers over half a second
    session.stopRunning();
    session.stopRunning();
    EXPECT_FALSE(session.isRunning());
    EXPECT_EQ(stops, 1);
    // Nothing comes after the stop, however long the clock runs on.
    clock.advance(1.0);
    drain(*videoQueue);
    drain(*audioQueue);

    EXPECT_EQ(videoRecorder->count(), 15u);
    for (const auto& entry : videoRecorder->entries()) {
        EXPECT_EQ(entry.mediaType, kCMMediaType_Video);
        EXPECT_EQ(entry.output, videoOut.get());
        EXPECT_EQ(entry.connection, videoConnection.get());
    }
    EXPECT_EQ(audioRecorder->count(), 23u);
    for (const auto& entry : audioRecorder->entries()) {
        EXPECT_EQ(entry.mediaType, kCMMediaType_Audio);
        EXPECT_EQ(entry.output, audioOut.get());
        EXPECT_EQ(entry.connection, audioConnection.get());
    }

    session.removeDidStopRunningObserver(token);
    session.startRunning();
    session.stopRunning();
    EXPECT_EQ(stops, 1);
}

TEST_F(CaptureSessionTest, RemovingTheAudioInputStopsAudioAndLeavesVideo) {
    buildFullSession();
    session.startRunning();
    clock.advance(0.5);
    ASSERT_TRUE(audioRecorder->waitFor(23));

    const auto audioConnection = audioOut->connectionWithMediaType(kCMMediaType_Audio);
    session.beginConfiguration();
    session.removeInput(microphoneInput);
    session.commitConfiguration();
    EXPECT_FALSE(audioConnection->isActive());
    EXPECT_TRUE(audioOut->connections().empty());
    drain(*audioQueue);
    drain(*videoQueue);
    const auto audioBefore = audioRecorder->count();
    const auto videoBefore = videoRecorder->count();
    const auto heardBefore = devices.microphone()->deliveredBufferCount();

    clock.advance(kOneFrame);
    ASSERT_TRUE(videoRecorder->waitFor(videoBefore + 1));
    clock.advance(1.0);
    drain(*audioQueue);
    EXPECT_EQ(audioRecorder->count(), audioBefore);
    EXPECT_EQ(devices.microphone()->deliveredBufferCount(), heardBefore);

    // Put back, the microphone is heard again through a new connection.
    session.addInput(microphoneInput);
    clock.advance(0.1);
    EXPECT_TRUE(audioRecorder->waitFor(audioBefore + 4));
    EXPECT_NE(audioOut->connectionWithMediaType(kCMMediaType_Audio), audioConnection);
}

TEST_F(CaptureSessionTest, ALateVideoFrameIsDiscardedNotQueued) {
    // A delegate that holds the queue with its first frame until the test lets it go.
    class BlockingRecorder final : public CaptureDataOutputSampleBufferDelegate {
      public:
        void captureOutputDidOutputSampleBuffer(CaptureOutput&, SampleBufferRef,
                                                CaptureConnection&) override {
            if (calls.fetch_add(1) == 0) {
                entered.add();
                release.waitFor(1);
            }
        }
        std::atomic<int> calls{0};
        foundation::testing::EventCounter entered;
        foundation::testing::EventCounter release;
    };
    struct Row {
        bool discards;
        int delivered;
        std::uint64_t discarded;
    };
    // As many frames after the first, held one, as the camera has other buffers: a queue that
    // keeps them all still makes the camera itself drop none.
    constexpr int kMore = SyntheticCamera::kBufferCount - 1;
    session.addInput(cameraInput);
    session.addOutput(videoOut);
    for (const Row& row : {Row{true, 2, kMore - 1}, Row{false, 1 + kMore, 0}}) {
        SCOPED_TRACE(row.discards);
        auto blocking = std::make_shared<BlockingRecorder>();
        videoOut->setAlwaysDiscardsLateVideoFrames(row.discards);
        videoOut->setSampleBufferDelegate(blocking, videoQueue);
        const auto discardedBefore = videoOut->discardedSampleCount();
        session.startRunning();
        clock.advance(kOneFrame);
        ASSERT_TRUE(blocking->entered.waitFor(1));
        clock.advance(kMore / 30.0 + 0.001);
        session.stopRunning();
        blocking->release.add();
        drain(*videoQueue);
        EXPECT_EQ(blocking->calls.load(), row.delivered);
        EXPECT_EQ(videoOut->discardedSampleCount() - discardedBefore, row.discarded);
    }
}

TEST_F(CaptureSessionTest, ChangesInsideAConfigurationApplyAtTheCommit) {
    session.addInput(cameraInput);
    session.addOutput(videoOut);
    session.startRunning();
    session.beginConfiguration();
    session.addInput(microphoneInput);
    session.addOutput(audioOut);
    clock.advance(0.1);
    EXPECT_EQ(devices.microphone()->deliveredBufferCount(), 0u);
    session.commitConfiguration();
    clock.advance(0.1);
    EXPECT_TRUE(audioRecorder->waitFor(4));
}

TEST_F(CaptureSessionTest, InputsAndOutputsAreTakenOncePerKind) {
    EXPECT_TRUE(session.canAddInput(cameraInput));
    session.addInput(cameraInput);
    EXPECT_FALSE(session.canAddInput(cameraInput));
    EXPECT_FALSE(session.canAddInput(inputFor(devices.backCamera())));   // same device
    EXPECT_FALSE(session.canAddInput(inputFor(devices.frontCamera())));  // a second camera
    EXPECT_THROW(session.addInput(inputFor(devices.frontCamera())),
                 foundation::InvalidArgumentException);
    EXPECT_TRUE(session.canAddInput(microphoneInput));

    CaptureSession other;
    EXPECT_FALSE(other.canAddInput(cameraInput));  // belongs to the first session
    session.removeInput(cameraInput);
    EXPECT_TRUE(other.canAddInput(cameraInput));

    session.addOutput(videoOut);
    EXPECT_FALSE(session.canAddOutput(videoOut));
    EXPECT_FALSE(session.canAddOutput(std::make_shared<CaptureVideoDataOutput>()));
    EXPECT_TRUE(session.canAddOutput(audioOut));
    EXPECT_FALSE(other.canAddOutput(videoOut));

    // A camera that cannot give the session's preset is refused.
    session.setSessionPreset(CaptureSessionPreset::Preset640x480);
    auto hd = std::make_shared<FormatsOnlyCamera>(
        std::vector{CaptureDeviceFormat::video(1280, 720, {FrameRateRange::make(1, 30)})});
    EXPECT_FALSE(session.canAddInput(inputFor(hd)));

    const auto missing = CaptureDeviceInput::deviceInputWithDevice(nullptr);
    EXPECT_EQ(missing.input, nullptr);
    ASSERT_TRUE(missing.error.has_value());
    EXPECT_EQ(missing.error->domain, kCaptureErrorDomain);
}

TEST(CaptureDataOutputs, ADelegateNeedsASerialQueue) {
    auto output = std::make_shared<CaptureVideoDataOutput>();
    auto recorder = std::make_shared<SampleRecorder>();
    EXPECT_THROW(output->setSampleBufferDelegate(recorder, nullptr),
                 foundation::InvalidArgumentException);
    EXPECT_THROW(output->setSampleBufferDelegate(
                     recorder, foundation::globalQueue(foundation::QueuePriority::Default)),
                 foundation::InvalidArgumentException);
    EXPECT_THROW(output->setPixelFormatType(fourCharCode("420v")),
                 foundation::InvalidArgumentException);
    EXPECT_TRUE(output->alwaysDiscardsLateVideoFrames());
}

}  // namespace
}  // namespace orvane::platform
