// The FFmpeg movie writer against the real libraries: short movies written to disk and read
// back with libavformat.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <chrono>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <map>
#include <thread>

#include "platform/capture/test_scene.h"
#include "platform/writer/FfmpegAssetWriter.h"
#include "tests/platform/writer/movie_probe.h"

#if defined(__SANITIZE_ADDRESS__)
// x265 leaks part of each encoder's frame filters when it closes; the library is built without
// the sanitizers and its frame is the only one a leak report can be matched by.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libx265.so\n";
}
#endif

namespace orvane::platform {
namespace {

constexpr std::int32_t kWidth = 320;
constexpr std::int32_t kHeight = 240;
constexpr int kFramesPerSecond = 30;

class TempDir {
  public:
    TempDir() {
        std::string pattern = (std::filesystem::temp_directory_path() / "orvane-movie-XXXXXX");
        _path = mkdtemp(pattern.data());
    }
    ~TempDir() { std::filesystem::remove_all(_path); }
    std::string file(const std::string& name) const { return (_path / name).string(); }

  private:
    std::filesystem::path _path;
};

enum class Sound { None, MonoS16, StereoFloat };

FormatDescriptionRef soundFormat(Sound sound) {
    if (sound == Sound::MonoS16) {
        return FormatDescription::createAudio(
            AudioStreamBasicDescription::interleavedLinearPCM(48000, 1, 16, false),
            AudioChannelLayout::mono());
    }
    return FormatDescription::createAudio(
        AudioStreamBasicDescription::interleavedLinearPCM(48000, 2, 32, true),
        AudioChannelLayout::stereo());
}

// 1024 frames of a 440 Hz tone starting at `firstFrame` (at 48 kHz).
SampleBufferRef toneBuffer(const FormatDescriptionRef& format, std::int64_t firstFrame,
                           MediaTime time) {
    constexpr int kFrames = 1024;
    const auto* stream = format->streamBasicDescription();
    std::vector<std::uint8_t> bytes(kFrames * stream->bytesPerFrame);
    for (int i = 0; i < kFrames; ++i) {
        const double value = 0.3 * std::sin(2 * M_PI * 440 * double(firstFrame + i) / 48000);
        for (std::uint32_t channel = 0; channel < stream->channelsPerFrame; ++channel) {
            std::uint8_t* at =
                bytes.data() + i * stream->bytesPerFrame + channel * (stream->bitsPerChannel / 8);
            if (stream->formatFlags & kAudioFormatFlagIsFloat) {
                const auto sample = static_cast<float>(value);
                std::memcpy(at, &sample, sizeof sample);
            } else {
                const auto sample = static_cast<std::int16_t>(value * 32767);
                std::memcpy(at, &sample, sizeof sample);
            }
        }
    }
    return SampleBuffer::createAudio(std::move(bytes), kFrames, format, time);
}

SampleBufferRef frameAt(MediaTime time) {
    PixelBufferRef buffer = PixelBuffer::create(kWidth, kHeight).buffer;
    drawTestScene(*buffer, time.seconds());
    return SampleBuffer::createForImageBuffer(buffer,
                                              FormatDescription::createForImageBuffer(*buffer),
                                              {MediaTime::invalid(), time, MediaTime::invalid()});
}

// Appends once the input is ready, as a recorder that does not want to drop would.
bool appendWhenReady(AssetWriterInput& input, const SampleBufferRef& sample) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!input.isReadyForMoreMediaData()) {
        if (std::chrono::steady_clock::now() > deadline) {
            ADD_FAILURE() << "the input never became ready";
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return input.appendSampleBuffer(sample);
}

struct Recording {
    AssetFileType type = AssetFileType::QuickTimeMovie;
    std::string codec = kVideoCodecTypeH264;
    Sound sound = Sound::None;
    bool video = true;
    int frames = 30;
    std::int32_t timescale = 600;
    AffineTransform transform;
    std::vector<MetadataItem> metadata;
};

// The source clock's time of the session start: far from zero, as a capture clock is.
MediaTime sourceStart(std::int32_t timescale) {
    return MediaTime::make(std::int64_t{5000} * timescale, timescale);
}

MediaTime frameTime(const Recording& recording, int index) {
    return sourceStart(recording.timescale) +
           MediaTime::make(std::int64_t{index} * recording.timescale / kFramesPerSecond,
                           recording.timescale);
}

struct Written {
    std::unique_ptr<AssetWriter> writer;
    AssetWriterInput* video = nullptr;
    AssetWriterInput* audio = nullptr;
};

Written startMovie(const std::string& path, const Recording& recording) {
    FfmpegAssetWriterFactory factory;
    std::optional<foundation::Error> error;
    Written written{factory.makeWriter(path, recording.type, error)};
    EXPECT_TRUE(written.writer != nullptr && !error);
    AssetWriter& writer = *written.writer;
    writer.setMetadata(recording.metadata);
    if (recording.video) {
        const VideoOutputSettings settings{recording.codec, kWidth, kHeight, 400000, 30};
        EXPECT_TRUE(writer.canApplyVideoOutputSettings(settings));
        auto input = writer.makeVideoInput(
            settings, FormatDescription::createVideo(kCVPixelFormatType_32BGRA, kWidth, kHeight));
        input->setExpectsMediaDataInRealTime(true);
        input->setTransform(recording.transform);
        EXPECT_TRUE(writer.canAddInput(*input));
        written.video = writer.addInput(std::move(input));
    }
    if (recording.sound != Sound::None) {
        auto input = writer.makeAudioInput(AudioOutputSettings{}, soundFormat(recording.sound));
        written.audio = writer.addInput(std::move(input));
    }
    EXPECT_TRUE(writer.startWriting());
    EXPECT_EQ(writer.status(), AssetWriterStatus::Writing);
    return written;
}

void finish(AssetWriter& writer) {
    bool completed = false;
    writer.finishWriting([&] { completed = true; });
    EXPECT_TRUE(completed);
}

// Frames every 1/30 s and sound over the same span, interleaved as a capture session
// delivers them. Answers the seconds of sound appended.
double record(const std::string& path, const Recording& recording) {
    Written written = startMovie(path, recording);
    AssetWriter& writer = *written.writer;
    writer.startSessionAtSourceTime(sourceStart(recording.timescale));
    const FormatDescriptionRef sound =
        recording.sound != Sound::None ? soundFormat(recording.sound) : nullptr;
    std::int64_t soundFrames = 0;
    for (int i = 0; i < recording.frames; ++i) {
        const MediaTime time = frameTime(recording, i);
        while (sound != nullptr && double(soundFrames) / 48000 < double(i + 1) / kFramesPerSecond) {
            const MediaTime soundTime =
                sourceStart(recording.timescale) + MediaTime::make(soundFrames, 48000);
            EXPECT_TRUE(appendWhenReady(*written.audio, toneBuffer(sound, soundFrames, soundTime)));
            soundFrames += 1024;
        }
        if (written.video != nullptr) {
            EXPECT_TRUE(appendWhenReady(*written.video, frameAt(time)));
        }
    }
    finish(writer);
    EXPECT_EQ(writer.status(), AssetWriterStatus::Completed)
        << (writer.error() ? writer.error()->message() : "");
    return double(soundFrames) / 48000;
}

std::vector<MetadataItem> programMetadata() {
    return {{kQuickTimeMetadataKeySoftware, "Orvane"},
            {kQuickTimeMetadataKeyMake, "Apple"},
            {kQuickTimeMetadataKeyComment, "Site 4, north gate"},
            {kQuickTimeMetadataKeyKeywords, "survey,gate"},
            {kQuickTimeMetadataKeyLocationISO6709, "+31.23040+121.47370+12CRSWGS_84"}};
}

struct Case {
    const char* name;
    AssetFileType type;
    const char* codec;
    Sound sound;
};

void PrintTo(const Case& c, std::ostream* os) {
    *os << c.name;
}

class MovieFiles : public testing::TestWithParam<Case> {
  protected:
    TempDir _dir;
};

TEST_P(MovieFiles, HoldWhatWasWritten) {
    const Case& c = GetParam();
    Recording recording;
    recording.type = c.type;
    recording.codec = c.codec;
    recording.sound = c.sound;
    recording.metadata = programMetadata();
    const std::string path = _dir.file(std::string("movie.") + assetFileTypeName(c.type));
    const double soundSeconds = record(path, recording);

    const ProbedMovie movie = probeMovie(path);
    EXPECT_EQ(movie.majorBrand, c.type == AssetFileType::MPEG4 ? "isom" : "qt  ");
    std::map<std::string, std::string> expected;
    for (const auto& item : programMetadata()) {
        expected[item.key] = item.value;
    }
    expected["creation_time"] =
        movie.metadata.count("creation_time") ? movie.metadata.at("creation_time") : "missing";
    EXPECT_EQ(movie.metadata, expected);

    ASSERT_TRUE(movie.video);
    const bool hevc = std::string(c.codec) == kVideoCodecTypeHEVC;
    EXPECT_EQ(movie.video->codec, hevc ? AV_CODEC_ID_HEVC : AV_CODEC_ID_H264);
    EXPECT_EQ(movie.video->tag, hevc ? "hvc1" : "avc1");
    EXPECT_EQ(movie.video->width, kWidth);
    EXPECT_EQ(movie.video->height, kHeight);
    ASSERT_EQ(movie.video->pts.size(), 30u);
    EXPECT_EQ(movie.video->pts.front(), 0);
    EXPECT_NEAR(movie.video->endSeconds, 1.0, 1e-6);
    EXPECT_FALSE(movie.video->rotation);

    if (c.sound == Sound::None) {
        EXPECT_FALSE(movie.audio);
    } else {
        ASSERT_TRUE(movie.audio);
        EXPECT_EQ(movie.audio->codec, AV_CODEC_ID_AAC);
        EXPECT_EQ(movie.audio->channels, c.sound == Sound::MonoS16 ? 1 : 2);
        EXPECT_EQ(movie.audio->sampleRate, 48000);
        // Within the millisecond of the movie's edit list.
        EXPECT_NEAR(movie.audio->endSeconds, soundSeconds, 0.001);
    }
}

INSTANTIATE_TEST_SUITE_P(
    FfmpegAssetWriter, MovieFiles,
    testing::Values(
        Case{"MovH264Mono", AssetFileType::QuickTimeMovie, kVideoCodecTypeH264, Sound::MonoS16},
        Case{"Mp4H264Silent", AssetFileType::MPEG4, kVideoCodecTypeH264, Sound::None},
        Case{"MovHevcSilent", AssetFileType::QuickTimeMovie, kVideoCodecTypeHEVC, Sound::None},
        Case{"Mp4HevcStereo", AssetFileType::MPEG4, kVideoCodecTypeHEVC, Sound::StereoFloat}),
    [](const testing::TestParamInfo<Case>& info) { return info.param.name; });

MediaTime seconds(double value, std::int32_t timescale = 600) {
    return MediaTime::make(std::llround(value * timescale), timescale);
}

class FfmpegAssetWriterTest : public testing::Test {
  protected:
    TempDir _dir;
};

// Packet times are the source's times less the session start, on a time base that holds them
// exactly, however fine the source clock.
TEST_F(FfmpegAssetWriterTest, PacketTimesKeepTheSourcePrecision) {
    for (const std::int32_t timescale : {600, 90000, 1000000000}) {
        SCOPED_TRACE(timescale);
        Recording recording;
        recording.timescale = timescale;
        recording.frames = 10;
        const std::string path = _dir.file("times" + std::to_string(timescale) + ".mov");
        record(path, recording);
        const ProbedMovie movie = probeMovie(path);
        ASSERT_TRUE(movie.video);
        ASSERT_EQ(movie.video->pts.size(), 10u);
        const AVRational base = movie.video->timeBase;
        ASSERT_EQ(base.num, 1);
        ASSERT_EQ(base.den % timescale, 0);
        for (int i = 0; i < 10; ++i) {
            const std::int64_t sourceTicks = std::int64_t{i} * timescale / kFramesPerSecond;
            EXPECT_EQ(movie.video->pts[i], sourceTicks * (base.den / timescale)) << i;
        }
    }
}

TEST_F(FfmpegAssetWriterTest, TheTrackTransformIsTheDisplayMatrix) {
    struct Row {
        double radians;
        std::optional<double> rotation;  // as players read it, counter-clockwise degrees
    };
    const Row rows[] = {{0, std::nullopt}, {M_PI / 2, -90}, {-M_PI / 2, 90}, {M_PI, 180}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.radians);
        Recording recording;
        recording.frames = 2;
        recording.transform = AffineTransform::rotation(row.radians);
        const std::string path = _dir.file("rotated.mp4");
        recording.type = AssetFileType::MPEG4;
        record(path, recording);
        const ProbedMovie movie = probeMovie(path);
        ASSERT_TRUE(movie.video);
        if (!row.rotation) {
            EXPECT_TRUE(!movie.video->rotation || std::abs(*movie.video->rotation) < 1e-9);
        } else {
            ASSERT_TRUE(movie.video->rotation);
            EXPECT_NEAR(std::abs(std::remainder(*movie.video->rotation - *row.rotation, 360)), 0,
                        1e-3);
        }
    }
}

TEST_F(FfmpegAssetWriterTest, LateEarlyAndRepeatedFramesAreDroppedNotWritten) {
    const std::string path = _dir.file("drops.mov");
    Written written = startMovie(path, Recording{});
    AssetWriter& writer = *written.writer;
    AssetWriterInput& video = *written.video;
    EXPECT_FALSE(video.isReadyForMoreMediaData());
    EXPECT_TRUE(video.appendSampleBuffer(frameAt(seconds(9.9))));  // before the session
    writer.startSessionAtSourceTime(seconds(10));
    EXPECT_TRUE(video.isReadyForMoreMediaData());
    const double times[] = {9.5, 10.0, 10.1, 10.1, 10.05, 10.2, 10.3};
    for (const double time : times) {
        EXPECT_TRUE(appendWhenReady(video, frameAt(seconds(time))));
    }
    finish(writer);
    EXPECT_EQ(writer.status(), AssetWriterStatus::Completed);
    // A finished writer takes nothing more, and a late frame is only dropped.
    EXPECT_FALSE(video.isReadyForMoreMediaData());
    EXPECT_TRUE(video.appendSampleBuffer(frameAt(seconds(10.4))));

    const ProbedMovie movie = probeMovie(path);
    ASSERT_TRUE(movie.video);
    std::vector<double> kept;
    for (const std::int64_t pts : movie.video->pts) {
        kept.push_back(std::round(double(pts) * av_q2d(movie.video->timeBase) * 100) / 100);
    }
    EXPECT_EQ(kept, (std::vector<double>{0.0, 0.1, 0.2, 0.3}));
}

TEST_F(FfmpegAssetWriterTest, SoundFirstStartsTheMovieAndThePictureFollows) {
    Recording recording;
    recording.sound = Sound::MonoS16;
    const std::string path = _dir.file("sound-first.mov");
    Written written = startMovie(path, recording);
    const FormatDescriptionRef sound = soundFormat(Sound::MonoS16);
    written.writer->startSessionAtSourceTime(seconds(20));
    for (int i = 0; i < 30; ++i) {  // 0.64 s of sound
        const MediaTime time = seconds(20) + MediaTime::make(i * 1024, 48000);
        EXPECT_TRUE(appendWhenReady(*written.audio, toneBuffer(sound, i * 1024, time)));
        if (i >= 24) {  // the picture from 0.512 s on
            EXPECT_TRUE(appendWhenReady(*written.video, frameAt(time)));
        }
    }
    finish(*written.writer);
    EXPECT_EQ(written.writer->status(), AssetWriterStatus::Completed);

    const ProbedMovie movie = probeMovie(path);
    ASSERT_TRUE(movie.video && movie.audio);
    ASSERT_EQ(movie.video->pts.size(), 6u);
    // The picture's delay is an edit of whole milliseconds, the movie's own timescale.
    EXPECT_NEAR(double(movie.video->pts.front()) * av_q2d(movie.video->timeBase), 0.512, 0.0011);
    EXPECT_NEAR(movie.audio->endSeconds, 30 * 1024 / 48000.0, 0.001);
}

TEST_F(FfmpegAssetWriterTest, AHoleInTheSoundIsSilenceSoLaterSoundKeepsItsTime) {
    Recording recording;
    recording.video = false;
    recording.sound = Sound::StereoFloat;
    const std::string path = _dir.file("hole.mp4");
    recording.type = AssetFileType::MPEG4;
    Written written = startMovie(path, recording);
    const FormatDescriptionRef sound = soundFormat(Sound::StereoFloat);
    written.writer->startSessionAtSourceTime(MediaTime::make(0, 48000));
    for (int i = 0; i < 60; ++i) {
        if (i >= 20 && i < 40) {
            continue;  // 0.43 s that never came
        }
        const MediaTime time = MediaTime::make(i * 1024, 48000);
        EXPECT_TRUE(appendWhenReady(*written.audio, toneBuffer(sound, i * 1024, time)));
    }
    finish(*written.writer);
    EXPECT_EQ(written.writer->status(), AssetWriterStatus::Completed);

    const ProbedMovie movie = probeMovie(path);
    EXPECT_FALSE(movie.video);
    ASSERT_TRUE(movie.audio);
    EXPECT_NEAR(movie.audio->endSeconds, 60 * 1024 / 48000.0, 0.001);
}

TEST_F(FfmpegAssetWriterTest, AMovieWithNothingAppendedIsEmptyButComplete) {
    const std::string path = _dir.file("empty.mov");
    Written written = startMovie(path, Recording{});
    finish(*written.writer);
    EXPECT_EQ(written.writer->status(), AssetWriterStatus::Completed);
    // A file the reader opens, with no frame in it.
    const ProbedMovie movie = probeMovie(path);
    EXPECT_TRUE(!movie.video || movie.video->pts.empty());
}

TEST_F(FfmpegAssetWriterTest, FailuresEndInFailedWithAnErrorThatSaysWhat) {
    struct Row {
        const char* name;
        std::string path;
        std::string codec;
        std::int32_t width;
        const char* words;  // in the description
    };
    const Row rows[] = {
        {"missing folder", _dir.file("no/such/folder/movie.mov"), kVideoCodecTypeH264, kWidth,
         "No such file or directory"},
        {"encoder refuses", _dir.file("tiny.mov"), kVideoCodecTypeHEVC, 2, "HEVC encoder"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        FfmpegAssetWriterFactory factory;
        std::optional<foundation::Error> error;
        auto writer = factory.makeWriter(row.path, AssetFileType::QuickTimeMovie, error);
        ASSERT_NE(writer, nullptr);
        const VideoOutputSettings settings{row.codec, row.width, row.width, 400000, 30};
        writer->addInput(writer->makeVideoInput(settings, nullptr));
        EXPECT_FALSE(writer->startWriting());
        EXPECT_EQ(writer->status(), AssetWriterStatus::Failed);
        ASSERT_TRUE(writer->error());
        EXPECT_EQ(writer->error()->domain, "FFmpeg");
        EXPECT_LT(writer->error()->code, 0);
        EXPECT_NE(writer->error()->description.find(row.words), std::string::npos)
            << writer->error()->description;
        finish(*writer);
        EXPECT_EQ(writer->status(), AssetWriterStatus::Failed);
    }
}

TEST_F(FfmpegAssetWriterTest, AFullDiskFailsTheWriterWithoutACrash) {
    Written written = startMovie("/dev/full", Recording{});
    AssetWriter& writer = *written.writer;
    writer.startSessionAtSourceTime(seconds(0));
    bool refused = false;
    for (int i = 0; i < 60 && !refused; ++i) {
        refused = !appendWhenReady(*written.video, frameAt(seconds(i / 30.0)));
    }
    finish(writer);
    EXPECT_EQ(writer.status(), AssetWriterStatus::Failed);
    ASSERT_TRUE(writer.error());
    EXPECT_EQ(writer.error()->code, AVERROR(ENOSPC));
    EXPECT_NE(writer.error()->description.find("No space left on device"), std::string::npos);
}

TEST_F(FfmpegAssetWriterTest, FinishingWhatNeverStartedFails) {
    std::optional<foundation::Error> error;
    auto writer = FfmpegAssetWriterFactory().makeWriter(_dir.file("never.mov"),
                                                        AssetFileType::QuickTimeMovie, error);
    finish(*writer);
    EXPECT_EQ(writer->status(), AssetWriterStatus::Failed);
    EXPECT_TRUE(writer->error());
}

TEST_F(FfmpegAssetWriterTest, OneInputOfEachKindFromThisWriterBeforeItStarts) {
    FfmpegAssetWriterFactory factory;
    std::optional<foundation::Error> error;
    auto writer = factory.makeWriter(_dir.file("inputs.mov"), AssetFileType::QuickTimeMovie, error);
    auto other = factory.makeWriter(_dir.file("other.mov"), AssetFileType::QuickTimeMovie, error);
    const VideoOutputSettings video{kVideoCodecTypeH264, kWidth, kHeight, 400000, 30};
    EXPECT_FALSE(writer->canAddInput(*other->makeVideoInput(video, nullptr)));
    EXPECT_NE(writer->addInput(writer->makeVideoInput(video, nullptr)), nullptr);
    EXPECT_EQ(writer->addInput(writer->makeVideoInput(video, nullptr)), nullptr);
    auto audio = writer->makeAudioInput(AudioOutputSettings{}, nullptr);
    EXPECT_TRUE(writer->canAddInput(*audio));
    ASSERT_TRUE(writer->startWriting());
    EXPECT_FALSE(writer->canAddInput(*audio));
    finish(*writer);
}

TEST(FfmpegAssetWriterSettings, WhatTheEncodersTake) {
    std::optional<foundation::Error> error;
    auto writer = FfmpegAssetWriterFactory().makeWriter("/tmp/unused.mov",
                                                        AssetFileType::QuickTimeMovie, error);
    struct VideoRow {
        VideoOutputSettings settings;
        bool takes;
    };
    const VideoRow videoRows[] = {
        {{kVideoCodecTypeH264, 1280, 720, 7096320, 30}, true},
        {{kVideoCodecTypeHEVC, 3840, 2160, 26121139, 30}, true},
        {{"vp09", 1280, 720, 7096320, 30}, false},
        {{kVideoCodecTypeH264, 1281, 720, 7096320, 30}, false},  // 4:2:0 needs even sides
        {{kVideoCodecTypeH264, 0, 720, 7096320, 30}, false},
        {{kVideoCodecTypeH264, 1280, 720, 0, 30}, false},
        {{kVideoCodecTypeH264, 1280, 720, 7096320, 0}, false},
        {{kVideoCodecTypeH264, 1280, 720, 7096320, 30, 0}, false},
    };
    for (const VideoRow& row : videoRows) {
        EXPECT_EQ(writer->canApplyVideoOutputSettings(row.settings), row.takes)
            << row.settings.codec << " " << row.settings.width << "x" << row.settings.height;
        EXPECT_EQ(writer->makeVideoInput(row.settings, nullptr) != nullptr, row.takes);
    }
    struct AudioRow {
        AudioOutputSettings settings;
        bool takes;
    };
    auto aac = [](std::optional<double> rate, std::optional<std::int32_t> bitRate,
                  std::optional<std::uint32_t> channels,
                  std::optional<AudioChannelLayoutTag> layout) {
        AudioOutputSettings settings;
        settings.sampleRate = rate;
        settings.encoderBitRatePerChannel = bitRate;
        settings.numberOfChannels = channels;
        settings.channelLayout = layout;
        return settings;
    };
    AudioOutputSettings pcm;
    pcm.formatID = kAudioFormatLinearPCM;
    const auto none = std::nullopt;
    const AudioRow audioRows[] = {
        {aac(none, none, none, none), true},
        {aac(44100.0, 64000, 2u, kAudioChannelLayoutTag_Stereo), true},
        {pcm, false},
        {aac(47999.0, none, none, none), false},
        {aac(none, 0, none, none), false},
        {aac(none, none, 0u, none), false},
        {aac(none, none, 9u, none), false},
        {aac(none, none, 1u, kAudioChannelLayoutTag_Stereo), false},
    };
    for (std::size_t i = 0; i < std::size(audioRows); ++i) {
        EXPECT_EQ(writer->canApplyAudioOutputSettings(audioRows[i].settings), audioRows[i].takes)
            << "row " << i;
    }
}

}  // namespace
}  // namespace orvane::platform
