#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "foundation/exceptions.h"
#include "platform/capture/SimCaptureDeviceDiscovery.h"
#include "platform/capture/test_scene.h"
#include "tests/platform/capture/capture_test_support.h"

namespace orvane::platform {
namespace {

using testing::SampleRecorder;

// Every frame's time is one frame duration after the one before.
void expectSpacedBy(const std::vector<SampleRecorder::Entry>& entries, MediaTime spacing) {
    for (std::size_t i = 1; i < entries.size(); ++i) {
        ASSERT_EQ(entries[i].time - entries[i - 1].time, spacing) << "frame " << i;
    }
}

void configure(CaptureDevice& device, const CaptureDeviceFormat& format, MediaTime duration) {
    ASSERT_FALSE(device.lockForConfiguration().has_value());
    device.setActiveFormat(format);
    device.setActiveVideoMinFrameDuration(duration);
    device.setActiveVideoMaxFrameDuration(duration);
    device.unlockForConfiguration();
}

class SyntheticSources : public ::testing::Test {
  protected:
    foundation::ManualClock clock;
    SimCaptureDeviceDiscovery devices{clock};
    SampleRecorder recorder;
    CaptureDevice::SampleSink sink = [this](SampleBufferRef sample) { recorder.add(sample); };
};

TEST_F(SyntheticSources, DiscoveryOffersBackAndFrontCamerasAndAMicrophone) {
    const auto cameras = devices.devicesWithMediaType(kCMMediaType_Video);
    ASSERT_EQ(cameras.size(), 2u);
    EXPECT_NE(cameras[0]->uniqueID(), cameras[1]->uniqueID());
    EXPECT_EQ(devices.defaultDeviceWithDeviceType(CaptureDeviceType::BuiltInWideAngleCamera,
                                                  kCMMediaType_Video, CaptureDevicePosition::Front),
              devices.frontCamera());
    EXPECT_EQ(devices.defaultDeviceWithDeviceType(CaptureDeviceType::BuiltInWideAngleCamera,
                                                  kCMMediaType_Video, CaptureDevicePosition::Back),
              devices.backCamera());
    EXPECT_EQ(
        devices.defaultDeviceWithDeviceType(CaptureDeviceType::BuiltInTripleCamera,
                                            kCMMediaType_Video, CaptureDevicePosition::Unspecified),
        nullptr);
    EXPECT_EQ(devices.defaultDeviceWithMediaType(kCMMediaType_Audio), devices.microphone());
    EXPECT_TRUE(devices.devicesWithMediaType(fourCharCode("text")).empty());
    EXPECT_FALSE(devices.backCamera()->isLowLightBoostSupported());
}

TEST_F(SyntheticSources, CameraFramesAreTheSceneAtTheActiveSizeAndRate) {
    auto& camera = *devices.backCamera();
    const auto vga = camera.formats()[0];
    configure(camera, vga, MediaTime::make(1, 30));
    clock.advance(2.0);  // times are on the clock's line, not counted from the start
    SampleBufferRef lastFrame;
    camera.start([&](SampleBufferRef sample) {
        recorder.add(sample);
        lastFrame = sample;
    });
    clock.advance(0.5);
    camera.stop();

    const auto entries = recorder.entries();
    ASSERT_EQ(entries.size(), 15u);
    EXPECT_EQ(entries.front().time, MediaTime::make(61, 30));
    expectSpacedBy(entries, MediaTime::make(1, 30));
    for (const auto& entry : entries) {
        ASSERT_EQ(entry.dimensions, (VideoDimensions{640, 480}));
    }
    const auto& last = *lastFrame->imageBuffer();
    EXPECT_EQ(last.pixelFormatType(), kCVPixelFormatType_32BGRA);
    auto expected = PixelBuffer::create(640, 480).buffer;
    drawTestScene(*expected, entries.back().time.seconds());
    EXPECT_EQ(std::memcmp(last.baseAddress(), expected->baseAddress(), last.dataSize()), 0);
}

TEST_F(SyntheticSources, CameraRatesFollowTheFrameDuration) {
    auto& camera = *devices.backCamera();
    const auto formats = camera.formats();
    struct Row {
        CaptureDeviceFormat format;
        MediaTime duration;
        std::size_t framesInHalfASecond;
    };
    // 25 frames a second runs on a format whose top rate is 30.
    for (const Row& row :
         {Row{formats[5], MediaTime::make(1, 60), 30}, Row{formats[4], MediaTime::make(1, 25), 12},
          Row{formats[7], MediaTime::make(1, 30), 15}}) {
        SampleRecorder rows;
        configure(camera, row.format, row.duration);
        camera.start([&](SampleBufferRef sample) { rows.add(sample); });
        clock.advance(0.5);
        camera.stop();
        const auto entries = rows.entries();
        ASSERT_EQ(entries.size(), row.framesInHalfASecond);
        expectSpacedBy(entries, row.duration);
        EXPECT_EQ(entries.front().dimensions, row.format.dimensions());
    }
}

TEST_F(SyntheticSources, AChangeOfFormatWhileRunningTakesEffectAtTheNextFrame) {
    auto& camera = *devices.backCamera();
    camera.start(sink);
    clock.advance(0.2);
    configure(camera, camera.formats()[7], MediaTime::make(1, 30));
    clock.advance(0.2);
    camera.stop();

    const auto entries = recorder.entries();
    ASSERT_EQ(entries.size(), 12u);
    EXPECT_EQ(entries[5].dimensions, (VideoDimensions{1280, 720}));
    EXPECT_EQ(entries[6].dimensions, (VideoDimensions{1920, 1080}));
    for (std::size_t i = 1; i < entries.size(); ++i) {
        EXPECT_GT(entries[i].time, entries[i - 1].time);
    }
}

TEST_F(SyntheticSources, StopEndsFramesAndARestartKeepsTimesRising) {
    auto& camera = *devices.backCamera();
    camera.start(sink);
    clock.advance(0.1);
    camera.stop();
    clock.advance(1.0);
    EXPECT_EQ(recorder.count(), 3u);
    camera.start(sink);
    clock.advance(0.1);
    camera.stop();
    const auto entries = recorder.entries();
    ASSERT_EQ(entries.size(), 6u);
    EXPECT_EQ(entries[3].time, MediaTime::make(1100, 1000) + MediaTime::make(1, 30));
}

TEST_F(SyntheticSources, CameraReusesItsBuffersAndDropsWhenAllAreHeld) {
    auto& camera = *devices.backCamera();
    SampleRecorder releasing;  // lets each frame go at once
    camera.start([&](SampleBufferRef sample) { releasing.add(sample); });
    clock.advance(2.0);
    EXPECT_EQ(releasing.count(), 60u);
    EXPECT_EQ(camera.bufferAllocationCount(), 1u);
    camera.stop();

    SampleRecorder keeping(true);
    camera.start([&](SampleBufferRef sample) { keeping.add(sample); });
    clock.advance(0.5);
    camera.stop();
    EXPECT_EQ(keeping.count(), static_cast<std::size_t>(SyntheticCamera::kBufferCount));
    EXPECT_EQ(camera.droppedFrameCount(), 15u - SyntheticCamera::kBufferCount);
}

TEST_F(SyntheticSources, MicrophoneHearsA440HzToneAtMinus12dBFS) {
    auto& microphone = *devices.microphone();
    SampleRecorder keeping(true);
    microphone.start([&](SampleBufferRef sample) { keeping.add(sample); });
    clock.advance(1.0);
    microphone.stop();

    const auto entries = keeping.entries();
    ASSERT_EQ(entries.size(), 46u);  // 46 full buffers of 1024 frames in one second
    expectSpacedBy(entries, MediaTime::make(1024, 48000));
    EXPECT_EQ(entries.front().time, MediaTime::zero());

    const auto* stream = entries.front().sample->formatDescription()->streamBasicDescription();
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(*stream, AudioStreamBasicDescription::interleavedLinearPCM(48000, 1, 16, false));

    std::vector<std::int16_t> pcm;
    for (const auto& entry : entries) {
        ASSERT_EQ(entry.sample->numSamples(), 1024);
        const auto bytes = entry.sample->audioData();
        const auto* values = reinterpret_cast<const std::int16_t*>(bytes.data());
        pcm.insert(pcm.end(), values, values + bytes.size() / 2);
    }
    int peak = 0;
    int risingCrossings = 0;
    int largestStep = 0;
    for (std::size_t i = 1; i < pcm.size(); ++i) {
        peak = std::max(peak, std::abs(static_cast<int>(pcm[i])));
        risingCrossings += pcm[i - 1] < 0 && pcm[i] >= 0;
        largestStep = std::max(largestStep, std::abs(pcm[i] - pcm[i - 1]));
    }
    const double peakDBFS = 20.0 * std::log10(peak / 32767.0);
    EXPECT_NEAR(peakDBFS, -12.0, 0.01);
    // 440 periods a second over the 47104 frames heard.
    EXPECT_NEAR(risingCrossings, 440.0 * pcm.size() / 48000, 1.0);
    // A sine's steepest step at this rate and level: no jump where two buffers meet.
    EXPECT_LE(largestStep, static_cast<int>(std::ceil(peak * 2 * M_PI * 440 / 48000)) + 1);
}

TEST_F(SyntheticSources, DeviceConfigurationNeedsTheLockAndTheDevicesOwnValues) {
    auto& camera = *devices.backCamera();
    const auto first = camera.formats()[0];
    EXPECT_THROW(camera.setActiveFormat(first), foundation::InternalInconsistencyException);
    ASSERT_FALSE(camera.lockForConfiguration().has_value());
    EXPECT_THROW(camera.setActiveFormat(CaptureDeviceFormat::video(320, 240, {})),
                 foundation::InvalidArgumentException);
    camera.setActiveFormat(first);
    EXPECT_THROW(camera.setActiveVideoMinFrameDuration(MediaTime::make(1, 60)),
                 foundation::InvalidArgumentException);
    camera.setActiveVideoMaxFrameDuration(MediaTime::make(1, 10));
    // A shortest duration past the longest moves the longest with it.
    camera.setActiveVideoMinFrameDuration(MediaTime::make(1, 5));
    EXPECT_EQ(camera.activeVideoMaxFrameDuration(), MediaTime::make(1, 5));
    camera.setActiveVideoMinFrameDuration(MediaTime::invalid());
    EXPECT_EQ(camera.activeVideoMinFrameDuration(), MediaTime::make(1, 30));
    camera.unlockForConfiguration();
    EXPECT_FALSE(camera.isLockedForConfiguration());
    EXPECT_EQ(camera.activeFormat(), first);
}

TEST(SyntheticSourcesOnTheSystemClock, CameraAndMicrophoneDeliverInRealTime) {
    foundation::SystemClock clock;
    SimCaptureDeviceDiscovery devices(clock);
    SampleRecorder frames;
    SampleRecorder sound;
    const auto before = clock.now();
    devices.backCamera()->start([&](SampleBufferRef sample) { frames.add(sample); });
    devices.microphone()->start([&](SampleBufferRef sample) { sound.add(sample); });
    EXPECT_TRUE(frames.waitFor(5));
    EXPECT_TRUE(sound.waitFor(5));
    devices.backCamera()->stop();
    devices.microphone()->stop();
    const double start = std::chrono::duration<double>(before.time_since_epoch()).count();
    EXPECT_GT(frames.entries().front().time.seconds(), start);
    EXPECT_GE(sound.entries().front().time.seconds(), start - 1.0 / 48000);
}

}  // namespace
}  // namespace orvane::platform
