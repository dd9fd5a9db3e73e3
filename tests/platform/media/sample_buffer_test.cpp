#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "platform/media/FormatDescription.h"
#include "platform/media/PixelBufferPool.h"
#include "platform/media/SampleBuffer.h"

namespace orvane::platform {
namespace {

PixelBufferRef makeBuffer(std::int32_t width, std::int32_t height) {
    return PixelBuffer::create(width, height).buffer;
}

FormatDescriptionRef stereo48k() {
    return FormatDescription::createAudio(
        AudioStreamBasicDescription::interleavedLinearPCM(48000, 2, 16, false),
        AudioChannelLayout::stereo());
}

SampleTimingInfo imageTiming(MediaTime presentation) {
    return {MediaTime::invalid(), presentation, MediaTime::invalid()};
}

TEST(FormatDescription, VideoFromAPixelBuffer) {
    const PixelBufferRef buffer = makeBuffer(1280, 720);
    const FormatDescriptionRef format = FormatDescription::createForImageBuffer(*buffer);
    ASSERT_NE(format, nullptr);
    EXPECT_EQ(format->mediaType(), kCMMediaType_Video);
    EXPECT_EQ(format->mediaSubType(), kCVPixelFormatType_32BGRA);
    EXPECT_EQ(format->dimensions(), (VideoDimensions{1280, 720}));
    EXPECT_TRUE(format->matchesImageBuffer(*buffer));
    EXPECT_FALSE(format->matchesImageBuffer(*makeBuffer(720, 1280)));

    EXPECT_EQ(*format, *FormatDescription::createVideo(kCVPixelFormatType_32BGRA, 1280, 720));
    EXPECT_EQ(FormatDescription::createVideo(kCVPixelFormatType_32BGRA, 0, 720), nullptr);
}

TEST(FormatDescription, AudioCarriesItsStreamAndLayout) {
    const FormatDescriptionRef format = stereo48k();
    ASSERT_NE(format, nullptr);
    EXPECT_EQ(format->mediaType(), fourCharCode("soun"));
    EXPECT_EQ(format->mediaSubType(), kAudioFormatLinearPCM);
    EXPECT_EQ(format->dimensions(), VideoDimensions{});
    const AudioStreamBasicDescription* stream = format->streamBasicDescription();
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(stream->bytesPerFrame, 4u);
    EXPECT_EQ(format->channelLayoutBytes(),
              (std::vector<std::uint8_t>{0x00, 0x65, 0x00, 0x02, 0, 0, 0, 0, 0, 0, 0, 0}));

    const AudioChannelLayout described{kAudioChannelLayoutTag_UseChannelDescriptions,
                                       0,
                                       {kAudioChannelLabel_Left, kAudioChannelLabel_Right}};
    const std::vector<std::uint8_t> bytes =
        FormatDescription::createAudio(*stream, described)->channelLayoutBytes();
    ASSERT_EQ(bytes.size(), 12u + 2 * 20);  // one 20-byte entry per channel
    EXPECT_EQ(bytes[11], 2);
    EXPECT_EQ(bytes[15], kAudioChannelLabel_Left);
    EXPECT_EQ(bytes[35], kAudioChannelLabel_Right);

    const FormatDescriptionRef bare = FormatDescription::createAudio(*stream);
    ASSERT_NE(bare, nullptr);
    EXPECT_EQ(bare->channelLayout(), nullptr);
    EXPECT_TRUE(bare->channelLayoutBytes().empty());
}

TEST(FormatDescription, AudioThatDescribesNoStreamIsRefused) {
    const auto good = AudioStreamBasicDescription::interleavedLinearPCM(48000, 2, 16, false);
    auto nanRate = good;
    nanRate.sampleRate = std::numeric_limits<double>::quiet_NaN();
    auto zeroRate = good;
    zeroRate.sampleRate = 0;
    auto noChannels = good;
    noChannels.channelsPerFrame = 0;
    EXPECT_EQ(FormatDescription::createAudio(nanRate), nullptr);
    EXPECT_EQ(FormatDescription::createAudio(zeroRate), nullptr);
    EXPECT_EQ(FormatDescription::createAudio(noChannels), nullptr);
    // A layout of one channel on a stereo stream.
    EXPECT_EQ(FormatDescription::createAudio(good, AudioChannelLayout::mono()), nullptr);
}

TEST(SampleBuffer, ImageSampleNeedsAFittingFormatAndATime) {
    const PixelBufferRef buffer = makeBuffer(64, 48);
    const FormatDescriptionRef fits = FormatDescription::createForImageBuffer(*buffer);
    const MediaTime now = MediaTime::make(1, 30);
    const struct {
        const char* name;
        PixelBufferRef buffer;
        FormatDescriptionRef format;
        MediaTime presentation;
    } rows[] = {
        {"no buffer", nullptr, fits, now},
        {"no format", buffer, nullptr, now},
        {"audio format", buffer, stereo48k(), now},
        {"other size", buffer, FormatDescription::createVideo(kCVPixelFormatType_32BGRA, 64, 49),
         now},
        {"invalid time", buffer, fits, MediaTime::invalid()},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(SampleBuffer::createForImageBuffer(row.buffer, row.format,
                                                     imageTiming(row.presentation)),
                  nullptr)
            << row.name;
    }
}

TEST(SampleBuffer, KeepsItsPixelBufferOutOfThePoolUntilItDies) {
    auto [status, pool] = PixelBufferPool::create({.width = 64, .height = 48});
    ASSERT_EQ(status, kCVReturnSuccess);
    const PixelBufferPoolAuxAttributes onlyOne{.allocationThreshold = 1};
    PixelBufferRef buffer = pool->createPixelBuffer(onlyOne).buffer;
    ASSERT_NE(buffer, nullptr);
    const PixelBuffer* address = buffer.get();
    SampleBufferRef sample = SampleBuffer::createForImageBuffer(
        buffer, FormatDescription::createForImageBuffer(*buffer), imageTiming(MediaTime::zero()));
    ASSERT_NE(sample, nullptr);
    EXPECT_EQ(sample->mediaType(), kCMMediaType_Video);
    EXPECT_EQ(sample->imageBuffer(), buffer);
    EXPECT_EQ(sample->presentationTimeStamp(), MediaTime::zero());
    EXPECT_FALSE(sample->duration().isValid());
    buffer.reset();

    EXPECT_EQ(pool->createPixelBuffer(onlyOne).status, kCVReturnWouldExceedAllocationThreshold);
    sample.reset();
    auto [again, reused] = pool->createPixelBuffer(onlyOne);
    EXPECT_EQ(again, kCVReturnSuccess);
    EXPECT_EQ(reused.get(), address);
    EXPECT_EQ(pool->allocationCount(), 1u);
}

TEST(SampleBuffer, AudioSampleOfInterleavedPCM) {
    std::vector<std::uint8_t> pcm(480 * 4);
    const std::uint8_t* bytes = pcm.data();
    const SampleBufferRef sample =
        SampleBuffer::createAudio(std::move(pcm), 480, stereo48k(), MediaTime::make(4800, 48000));
    ASSERT_NE(sample, nullptr);
    EXPECT_EQ(sample->mediaType(), kCMMediaType_Audio);
    EXPECT_EQ(sample->audioData().data(), bytes);  // moved in, not copied
    EXPECT_EQ(sample->duration(), MediaTime::make(1, 100));
}

TEST(SampleBuffer, AudioSampleMustMatchItsFormat) {
    auto withFlags = [](std::uint32_t flags, FourCharCode format) {
        auto stream = AudioStreamBasicDescription::interleavedLinearPCM(48000, 2, 16, false);
        stream.formatFlags |= flags;
        stream.formatID = format;
        return FormatDescription::createAudio(stream);
    };
    const MediaTime now = MediaTime::make(0, 48000);
    const struct {
        const char* name;
        std::size_t bytes;
        std::int64_t samples;
        FormatDescriptionRef format;
        MediaTime presentation;
    } rows[] = {
        {"short by a byte", 1919, 480, stereo48k(), now},
        {"no samples", 0, 0, stereo48k(), now},
        {"video format", 1920, 480, FormatDescription::createVideo(kCVPixelFormatType_32BGRA, 8, 8),
         now},
        {"compressed", 1920, 480, withFlags(0, kAudioFormatMPEG4AAC), now},
        {"planar", 1920, 480, withFlags(kAudioFormatFlagIsNonInterleaved, kAudioFormatLinearPCM),
         now},
        {"invalid time", 1920, 480, stereo48k(), MediaTime::invalid()},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(SampleBuffer::createAudio(std::vector<std::uint8_t>(row.bytes), row.samples,
                                            row.format, row.presentation),
                  nullptr)
            << row.name;
    }
}

}  // namespace
}  // namespace orvane::platform
