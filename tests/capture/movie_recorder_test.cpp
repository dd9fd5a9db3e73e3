#include "capture/MovieRecorder.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <memory>
#include <mutex>
#include <numbers>
#include <stdexcept>
#include <string>
#include <vector>

#include "foundation/exceptions.h"
#include "foundation/log.h"
#include "screen/settings_cache.h"
#include "tests/capture/fake_asset_writer.h"
#include "tests/foundation/dispatch_test_support.h"

namespace orvane::capture {
namespace {

using foundation::InternalInconsistencyException;
using foundation::InvalidArgumentException;
using foundation::testing::EventCounter;
using platform::MediaTime;
using testing::FakeAssetWriterFactory;
using Events = std::vector<std::string>;
using WriterState = testing::FakeWriterRecord::State;

template <typename Exception>
void expectRaises(const std::function<void()>& call, const std::string& text) {
    try {
        call();
        ADD_FAILURE() << "nothing raised; expected \"" << text << "\"";
    } catch (const Exception& exception) {
        EXPECT_EQ(std::string(exception.what()), text);
    }
}

// Collects log lines; a test waits for one to appear.
class LogCapture {
  public:
    LogCapture() {
        foundation::setLogSink([this](const std::string& line) {
            _lines.update([&](auto& s) { s.calls.push_back(line); });
        });
    }
    ~LogCapture() { foundation::setLogSink({}); }
    bool waitForLine(const std::string& line) {
        return _lines.waitUntil([&](const WriterState& s) { return s.called(line); });
    }
    bool contains(const std::string& line) const { return _lines.state().called(line); }

  private:
    testing::FakeWriterRecord _lines;  // its list of calls holds the lines
};

// Notes each delegate call and whether it came on the callback queue.
class RecordingDelegate final : public MovieRecorderDelegate {
  public:
    explicit RecordingDelegate(std::shared_ptr<foundation::DispatchQueue> queue)
        : _queue(std::move(queue)) {}

    void recorderDidFinishPreparingToRecord(MovieRecorder&) override { note("prepared", {}); }
    void recorderDidFailWithError(MovieRecorder&, const foundation::Error& error) override {
        note("failed", error);
    }
    void recorderDidFinishRecording(MovieRecorder&) override { note("finished", {}); }

    // The calls so far, once there are `count` of them.
    Events waitForEvents(int count) {
        EXPECT_TRUE(_counter.waitFor(count)) << "delegate calls did not come";
        std::lock_guard lock(_mutex);
        return _events;
    }
    foundation::Error error() {
        std::lock_guard lock(_mutex);
        return _error.value_or(foundation::Error{});
    }
    bool allOnQueue() {
        std::lock_guard lock(_mutex);
        return _allOnQueue;
    }

  private:
    void note(const std::string& event, const std::optional<foundation::Error>& error) {
        {
            std::lock_guard lock(_mutex);
            _events.push_back(event);
            _error = error ? error : _error;
            _allOnQueue = _allOnQueue && _queue->isCurrent();
        }
        _counter.add();
    }

    const std::shared_ptr<foundation::DispatchQueue> _queue;
    std::mutex _mutex;
    Events _events;
    std::optional<foundation::Error> _error;
    bool _allOnQueue = true;
    EventCounter _counter;
};

platform::FormatDescriptionRef audioFormat() {
    return platform::FormatDescription::createAudio(
        platform::AudioStreamBasicDescription::interleavedLinearPCM(48000, 1, 16, false),
        platform::AudioChannelLayout::mono());
}

class MovieRecorderTest : public ::testing::Test {
  protected:
    void SetUp() override {
        _frame = platform::PixelBuffer::create(320, 240).buffer;
        ASSERT_TRUE(_frame);
        videoFormat = platform::FormatDescription::createForImageBuffer(*_frame);
        std::string pattern = std::filesystem::temp_directory_path() / "orvane-recorder-XXXXXX";
        ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
        directory = pattern;
        url = (directory / "Movie.MOV").string();
    }
    void TearDown() override { std::filesystem::remove_all(directory); }

    std::shared_ptr<MovieRecorder> makeRecorder() {
        MovieRecorderEnvironment environment{factory, &settings,
                                             [this] {
                                                 if (locationThrows) {
                                                     throw std::runtime_error("no position");
                                                 }
                                                 return location;
                                             },
                                             "Test Vendor"};
        auto recorder = MovieRecorder::create(std::move(environment));
        recorder->setDelegate(delegate, callbackQueue);
        return recorder;
    }
    // Tracks added and preparation asked for, without waiting for it.
    std::shared_ptr<MovieRecorder> prepareRecorder(bool withAudio) {
        auto recorder = makeRecorder();
        recorder->addVideoTrackWithSourceFormatDescription(videoFormat, transform);
        if (withAudio) {
            recorder->addAudioTrackWithSourceFormatDescription(audioFormat());
        }
        recorder->prepareToRecordToURL(url);
        return recorder;
    }
    std::shared_ptr<MovieRecorder> startRecording(bool withAudio = true) {
        auto recorder = prepareRecorder(withAudio);
        EXPECT_EQ(delegate->waitForEvents(1), Events{"prepared"});
        return recorder;
    }

    platform::SampleBufferRef videoSample(std::int64_t value) const {
        platform::SampleTimingInfo timing;
        timing.presentationTimeStamp = MediaTime::make(value, 600);
        return platform::SampleBuffer::createForImageBuffer(_frame, videoFormat, timing);
    }
    static platform::SampleBufferRef audioSample(std::int64_t value) {
        return platform::SampleBuffer::createAudio(std::vector<std::uint8_t>(2048), 1024,
                                                   audioFormat(), MediaTime::make(value, 48000));
    }

    WriterState writer() const { return factory->record->state(); }
    // Samples posted after finishRecording are let go, so tests let their appends land first.
    bool waitForAppended(std::size_t count) {
        return factory->record->waitUntil(
            [count](const WriterState& s) { return s.appended.size() >= count; });
    }
    bool waitForWriterDestroyed() {
        return factory->record->waitUntil([](const WriterState& s) { return s.writerDestroyed; });
    }

    std::shared_ptr<FakeAssetWriterFactory> factory = std::make_shared<FakeAssetWriterFactory>();
    screen::SettingsCache settings;
    std::optional<platform::Location> location;
    bool locationThrows = false;
    std::shared_ptr<foundation::SerialQueue> callbackQueue =
        foundation::SerialQueue::create("test recorder callbacks");
    std::shared_ptr<RecordingDelegate> delegate =
        std::make_shared<RecordingDelegate>(callbackQueue);
    platform::FormatDescriptionRef videoFormat;
    platform::AffineTransform transform = platform::AffineTransform::rotation(std::numbers::pi / 2);
    std::filesystem::path directory;
    std::string url;

  private:
    platform::PixelBufferRef _frame;
};

TEST(MovieRecorderNames, StatusTextsAndTheInputError) {
    const char* names[] = {
        "Idle",   "PreparingToRecord", "Recording", "FinishingRecording", "Finished", "Failed",
        "Unknown"};
    for (std::int64_t status = 0; status <= 6; ++status) {
        EXPECT_STREQ(MovieRecorder::_stringForStatus(status), names[status]);
    }
    EXPECT_STREQ(MovieRecorder::_stringForStatus(-1), "Unknown");

    const foundation::Error error = MovieRecorder::_cannotSetupInputError();
    EXPECT_EQ(error.domain, "Zephrin");
    EXPECT_EQ(error.code, 0);
    EXPECT_EQ(error.description, "Recording cannot be started");
    EXPECT_EQ(error.failureReason, "Cannot setup asset writer input.");
}

TEST_F(MovieRecorderTest, CallsOutOfOrderRaiseWithTheirTexts) {
    auto recorder = makeRecorder();
    expectRaises<InvalidArgumentException>([&] { recorder->setDelegate(delegate, nullptr); },
                                           "Caller must provide a delegateCallbackQueue");
    recorder->setDelegate({}, nullptr);  // no delegate needs no queue
    recorder->setDelegate(delegate, callbackQueue);
    expectRaises<InvalidArgumentException>(
        [&] { recorder->addVideoTrackWithSourceFormatDescription(nullptr, transform); },
        "NULL format description");
    // A session that has not heard audio yet has no description: no track, no complaint.
    recorder->addAudioTrackWithSourceFormatDescription(nullptr);
    recorder->addAudioTrackWithSourceFormatDescription(nullptr);
    recorder->addVideoTrackWithSourceFormatDescription(videoFormat, transform);
    expectRaises<InternalInconsistencyException>(
        [&] { recorder->addVideoTrackWithSourceFormatDescription(videoFormat, transform); },
        "Cannot add more than one video track");
    recorder->addAudioTrackWithSourceFormatDescription(audioFormat());
    expectRaises<InternalInconsistencyException>(
        [&] { recorder->addAudioTrackWithSourceFormatDescription(audioFormat()); },
        "Cannot add more than one audio track");

    recorder->appendVideoSampleBuffer(nullptr);  // ignored, whatever the status
    expectRaises<InternalInconsistencyException>(
        [&] { recorder->appendVideoSampleBuffer(videoSample(0)); }, "Not ready to record yet");
    expectRaises<InternalInconsistencyException>([&] { recorder->finishRecording(); },
                                                 "Not yet recording");

    // Hold the preparation inside the factory to see PreparingToRecord.
    EventCounter entered, gate;
    factory->script->duringMakeWriter = [&] {
        entered.add();
        gate.waitFor(1);
    };
    recorder->prepareToRecordToURL(url);
    ASSERT_TRUE(entered.waitFor(1));
    EXPECT_EQ(recorder->status(), MovieRecorderStatus::PreparingToRecord);
    expectRaises<InternalInconsistencyException>([&] { recorder->prepareToRecordToURL(url); },
                                                 "Already prepared, cannot prepare again");
    expectRaises<InternalInconsistencyException>(
        [&] { recorder->addVideoTrackWithSourceFormatDescription(videoFormat, transform); },
        "Cannot add tracks while not idle");
    expectRaises<InternalInconsistencyException>(
        [&] { recorder->addAudioTrackWithSourceFormatDescription(audioFormat()); },
        "Cannot add tracks while not idle");
    expectRaises<InternalInconsistencyException>(
        [&] { recorder->appendAudioSampleBuffer(audioSample(0)); }, "Not ready to record yet");
    expectRaises<InternalInconsistencyException>([&] { recorder->finishRecording(); },
                                                 "Not yet recording");
    gate.add();
    EXPECT_EQ(delegate->waitForEvents(1), Events{"prepared"});
    EXPECT_EQ(recorder->status(), MovieRecorderStatus::Recording);
}

TEST_F(MovieRecorderTest, RecordsFromPreparationToFinishedAndReleasesTheWriterLast) {
    std::ofstream(url) << "left over from a crash";
    auto recorder = startRecording();
    EXPECT_FALSE(std::filesystem::exists(url));
    EXPECT_EQ(recorder->status(), MovieRecorderStatus::Recording);

    recorder->appendVideoSampleBuffer(videoSample(600));
    recorder->appendAudioSampleBuffer(audioSample(48000));
    recorder->appendVideoSampleBuffer(videoSample(620));
    ASSERT_TRUE(waitForAppended(3));
    recorder->finishRecording();
    EXPECT_EQ(delegate->waitForEvents(2), (Events{"prepared", "finished"}));
    EXPECT_EQ(recorder->status(), MovieRecorderStatus::Finished);
    EXPECT_TRUE(delegate->allOnQueue());
    ASSERT_TRUE(waitForWriterDestroyed());
    expectRaises<InternalInconsistencyException>([&] { recorder->finishRecording(); },
                                                 "Already finishing or finished recording");

    const WriterState s = writer();
    EXPECT_EQ(s.calls,
              (Events{"makeWriter", "setMetadata", "addInput video", "addInput audio",
                      "startWriting", "finishWriting", "finishWriting returns", "destroyed"}));
    EXPECT_EQ(s.path, url);
    EXPECT_EQ(s.fileType, platform::AssetFileType::QuickTimeMovie);
    EXPECT_EQ(s.sessionStart, MediaTime::make(1, 1));
    ASSERT_EQ(s.appended.size(), 3u);
    EXPECT_EQ(s.appended[1].first, platform::kCMMediaType_Audio);
    EXPECT_EQ(s.appended[2].second, MediaTime::make(620, 600));
    // Both inputs in real time, the video turned as the track asks, the sources as hints.
    EXPECT_TRUE(s.videoRealTime && s.audioRealTime);
    EXPECT_EQ(s.videoTransform, transform);
    EXPECT_EQ(s.videoHint, videoFormat);
    ASSERT_TRUE(s.audioHint);
    EXPECT_EQ(*s.audioHint, *audioFormat());
    // AAC, everything else taken from the hint.
    ASSERT_TRUE(s.audioSettings);
    EXPECT_EQ(s.audioSettings->formatID, platform::kAudioFormatMPEG4AAC);
    EXPECT_FALSE(s.audioSettings->sampleRate || s.audioSettings->numberOfChannels ||
                 s.audioSettings->encoderBitRatePerChannel || s.audioSettings->channelLayout);
}

TEST_F(MovieRecorderTest, SettingsChooseTheContainerAndTheVideoSettings) {
    settings.setVideoBitrateMode(2);
    settings.setCurrentVideoResolution(3);
    settings.setVideoCodec(1);
    videoFormat =
        platform::FormatDescription::createVideo(platform::kCVPixelFormatType_32BGRA, 1280, 720);
    const std::pair<std::int64_t, platform::AssetFileType> rows[] = {
        {0, platform::AssetFileType::QuickTimeMovie},
        {1, platform::AssetFileType::MPEG4},
        {2, platform::AssetFileType::MPEG4},
    };
    int events = 0;
    for (const auto& [mode, type] : rows) {
        settings.setVideoExtensionMode(mode);
        auto recorder = prepareRecorder(false);
        delegate->waitForEvents(++events);
        const WriterState s = writer();
        EXPECT_EQ(s.fileType, type) << mode;
        ASSERT_TRUE(s.videoSettings);
        EXPECT_EQ(s.videoSettings->codec, platform::kVideoCodecTypeHEVC);
        EXPECT_EQ(s.videoSettings->width, 1280);
        EXPECT_EQ(s.videoSettings->height, 720);
        EXPECT_EQ(s.videoSettings->averageBitRate, 12134707);
        EXPECT_EQ(s.videoSettings->maxKeyFrameInterval, 30);
        EXPECT_EQ(s.videoSettings->expectedSourceFrameRate, 60.0);
    }
}

TEST_F(MovieRecorderTest, TheFirstSampleOfEitherKindStartsTheMovie) {
    LogCapture log;
    auto recorder = startRecording();
    recorder->appendAudioSampleBuffer(audioSample(240000));  // 5 s
    recorder->appendVideoSampleBuffer(videoSample(3060));    // 5.1 s
    ASSERT_TRUE(waitForAppended(2));
    EXPECT_EQ(writer().sessionStart, MediaTime::make(5, 1));

    // Without an audio track, an audio sample is only logged, yet it still starts the movie.
    delegate = std::make_shared<RecordingDelegate>(callbackQueue);
    factory = std::make_shared<FakeAssetWriterFactory>();
    recorder = startRecording(false);
    recorder->appendAudioSampleBuffer(audioSample(100));
    ASSERT_TRUE(log.waitForLine("no input of type soun, ignoring"));
    EXPECT_EQ(writer().sessionStart, MediaTime::make(100, 48000));
    EXPECT_FALSE(writer().called("addInput audio"));
    EXPECT_TRUE(writer().appended.empty());
}

TEST_F(MovieRecorderTest, AnInputThatIsNotReadyDropsTheSampleWithoutWaiting) {
    LogCapture log;
    auto recorder = startRecording();
    factory->script->inputsReady = false;
    recorder->appendVideoSampleBuffer(videoSample(0));
    ASSERT_TRUE(log.waitForLine("vide input not ready for more media data, dropping buffer"));
    recorder->appendAudioSampleBuffer(audioSample(100));
    ASSERT_TRUE(log.waitForLine("soun input not ready for more media data, dropping buffer"));
    factory->script->inputsReady = true;
    recorder->appendVideoSampleBuffer(videoSample(20));
    ASSERT_TRUE(waitForAppended(1));
    recorder->finishRecording();
    EXPECT_EQ(delegate->waitForEvents(2), (Events{"prepared", "finished"}));
    ASSERT_EQ(writer().appended.size(), 1u);
    EXPECT_EQ(writer().appended[0].second, MediaTime::make(20, 600));
}

TEST_F(MovieRecorderTest, SamplesArrivingWhileFinishingAreLetGoUnwritten) {
    auto recorder = startRecording();
    // The first append holds the writing queue until the recorder is finishing.
    EventCounter entered, gate;
    factory->script->duringAppend = [&] {
        entered.add();
        gate.waitFor(1);
    };
    recorder->appendVideoSampleBuffer(videoSample(0));
    ASSERT_TRUE(entered.waitFor(1));

    std::vector<std::weak_ptr<const platform::SampleBuffer>> late;
    const auto append = [&](platform::SampleBufferRef sample, bool video) {
        late.push_back(sample);
        video ? recorder->appendVideoSampleBuffer(std::move(sample))
              : recorder->appendAudioSampleBuffer(std::move(sample));
    };
    append(videoSample(20), true);
    append(videoSample(40), true);
    recorder->finishRecording();
    EXPECT_EQ(recorder->status(), MovieRecorderStatus::FinishingRecording);
    expectRaises<InternalInconsistencyException>([&] { recorder->finishRecording(); },
                                                 "Already finishing or finished recording");
    append(audioSample(2000), false);  // allowed while finishing, and let go too

    gate.add();
    EXPECT_EQ(delegate->waitForEvents(2), (Events{"prepared", "finished"}));
    // The teardown runs on the writing queue after every block posted before it.
    ASSERT_TRUE(waitForWriterDestroyed());
    ASSERT_EQ(writer().appended.size(), 1u);
    EXPECT_EQ(writer().appended[0].second, MediaTime::make(0, 600));
    for (const auto& sample : late) {
        EXPECT_TRUE(sample.expired());
    }
}

TEST_F(MovieRecorderTest, PreparationFailuresEndInFailedWithTheError) {
    const foundation::Error inputError = MovieRecorder::_cannotSetupInputError();
    const struct {
        const char* name;
        std::function<void(testing::FakeWriterScript&)> script;
        foundation::Error expected;
    } rows[] = {
        {"no writer",
         [](auto& s) { s.makeWriterError = testing::fakeWriterError("path not writable"); },
         testing::fakeWriterError("path not writable")},
        {"video settings refused", [](auto& s) { s.refuseVideoSettings = true; }, inputError},
        {"audio settings refused", [](auto& s) { s.refuseAudioSettings = true; }, inputError},
        {"input not added", [](auto& s) { s.refuseAddInput = true; }, inputError},
        {"writer does not start", [](auto& s) { s.failStartWriting = true; },
         testing::fakeWriterError("cannot open the file")},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        factory = std::make_shared<FakeAssetWriterFactory>();
        row.script(*factory->script);
        delegate = std::make_shared<RecordingDelegate>(callbackQueue);
        LogCapture log;

        auto recorder = prepareRecorder(true);
        EXPECT_EQ(delegate->waitForEvents(1), Events{"failed"});
        EXPECT_TRUE(delegate->allOnQueue());
        EXPECT_EQ(recorder->status(), MovieRecorderStatus::Failed);
        EXPECT_EQ(delegate->error().message(), row.expected.message());
        // Nothing starts after an earlier step failed.
        EXPECT_EQ(writer().called("startWriting"), factory->script->failStartWriting);

        // After a failure, appends are let go and finishing only says so.
        recorder->appendVideoSampleBuffer(videoSample(0));
        recorder->finishRecording();
        EXPECT_TRUE(log.contains("Alread failed, nothing to do"));
        if (!factory->script->makeWriterError) {
            EXPECT_TRUE(waitForWriterDestroyed());
        }
        EXPECT_TRUE(writer().appended.empty());
    }
}

TEST_F(MovieRecorderTest, WriterFailuresWhileRecordingEndInFailedWithTheWritersError) {
    // An append the writer refuses, and a finish that fails.
    for (const bool append : {true, false}) {
        SCOPED_TRACE(append ? "append" : "finish");
        factory = std::make_shared<FakeAssetWriterFactory>();
        factory->script->failAppends = append;
        factory->script->failFinish = !append;
        delegate = std::make_shared<RecordingDelegate>(callbackQueue);
        auto recorder = startRecording();
        append ? recorder->appendVideoSampleBuffer(videoSample(0)) : recorder->finishRecording();
        EXPECT_EQ(delegate->waitForEvents(2), (Events{"prepared", "failed"}));
        EXPECT_EQ(recorder->status(), MovieRecorderStatus::Failed);
        EXPECT_EQ(delegate->error().description, append ? "encoder failed" : "disk full");
        EXPECT_TRUE(waitForWriterDestroyed());
        // Either way the file is closed as far as it was written, before the delegate hears.
        EXPECT_TRUE(writer().called("finishWriting"));
    }
}

platform::Location at(double latitude, double longitude, std::optional<double> altitude) {
    return platform::Location({latitude, longitude}, altitude, 5.0, -1.0, 0.0);
}

TEST_F(MovieRecorderTest, MetadataDescribesTheStartOfTheRecording) {
    using platform::MetadataItem;
    const MetadataItem software{platform::kQuickTimeMetadataKeySoftware, "Orvane"};
    const MetadataItem make{platform::kQuickTimeMetadataKeyMake, "Test Vendor"};
    const auto place = [](const char* text) {
        return MetadataItem{platform::kQuickTimeMetadataKeyLocationISO6709, text};
    };
    const auto text = [](const char* key, const char* value) { return MetadataItem{key, value}; };
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const struct {
        const char* name;
        std::string text;
        platform::StringArray tags;
        std::optional<platform::Location> location;
        bool locationThrows;
        std::vector<MetadataItem> expected;
    } rows[] = {
        {"nothing to add", "", {}, std::nullopt, false, {software, make}},
        {"text and tags",
         "Bridge inspection",
         {"north", "pier 3"},
         std::nullopt,
         false,
         {software, make, text(platform::kQuickTimeMetadataKeyComment, "Bridge inspection"),
          text(platform::kQuickTimeMetadataKeyDescription, "Bridge inspection"),
          text(platform::kQuickTimeMetadataKeyKeywords, "north,pier 3")}},
        {"west and below sea level",
         "",
         {"one"},
         at(48.85837, -2.29448, -12.4),
         false,
         {software, make, text(platform::kQuickTimeMetadataKeyKeywords, "one"),
          place("+48.85837-002.29448-12CRSWGS_84")}},
        {"south, east, no altitude",
         "",
         {},
         at(-33.8568, 151.21529, std::nullopt),
         false,
         {software, make, place("-33.85680+151.21529+0CRSWGS_84")}},
        {"near the origin",
         "",
         {},
         at(-0.5, -0.25, 0.4),
         false,
         {software, make, place("-00.50000-000.25000+0CRSWGS_84")}},
        {"a position that cannot be written", "", {}, at(nan, 10.0, 1.0), false, {software, make}},
        {"position service throws",
         "x",
         {},
         std::nullopt,
         true,
         {software, make, text(platform::kQuickTimeMetadataKeyComment, "x"),
          text(platform::kQuickTimeMetadataKeyDescription, "x")}},
    };
    int events = 0;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        settings.reset();
        settings.setInputString(row.text);
        settings.setSelectTags(row.tags);
        location = row.location;
        locationThrows = row.locationThrows;
        auto recorder = prepareRecorder(false);
        delegate->waitForEvents(++events);
        EXPECT_EQ(recorder->status(), MovieRecorderStatus::Recording);
        EXPECT_EQ(writer().metadata, row.expected);
    }
}

}  // namespace
}  // namespace orvane::capture
