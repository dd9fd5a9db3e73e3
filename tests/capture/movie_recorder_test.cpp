#include "capture/MovieRecorder.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <chrono>
#include <cmath>
#include <condition_variable>
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

#include "capture/movie_metadata.h"
#include "foundation/DispatchQueue.h"
#include "foundation/exceptions.h"
#include "foundation/log.h"
#include "platform/PixelBuffer.h"
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
using testing::FakeWriterRecord;

// Expects `call` to raise `Exception` with exactly `text`.
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
            std::lock_guard lock(_mutex);
            _lines.push_back(line);
            _changed.notify_all();
        });
    }
    ~LogCapture() { foundation::setLogSink({}); }

    bool waitForLine(const std::string& line) {
        std::unique_lock lock(_mutex);
        return _changed.wait_for(lock, std::chrono::seconds(20), [&] { return has(line); });
    }
    bool contains(const std::string& line) {
        std::lock_guard lock(_mutex);
        return has(line);
    }

  private:
    bool has(const std::string& line) const {
        for (const auto& each : _lines) {
            if (each.find(line) != std::string::npos) {
                return true;
            }
        }
        return false;
    }

    std::mutex _mutex;
    std::condition_variable _changed;
    std::vector<std::string> _lines;
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
    std::vector<std::string> waitForEvents(int count) {
        EXPECT_TRUE(_counter.waitFor(count)) << "delegate calls did not come";
        std::lock_guard lock(_mutex);
        return _events;
    }
    std::optional<foundation::Error> error() {
        std::lock_guard lock(_mutex);
        return _error;
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
            if (error) {
                _error = error;
            }
            _allOnQueue = _allOnQueue && _queue->isCurrent();
        }
        _counter.add();
    }

    const std::shared_ptr<foundation::DispatchQueue> _queue;
    std::mutex _mutex;
    std::vector<std::string> _events;
    std::optional<foundation::Error> _error;
    bool _allOnQueue = true;
    EventCounter _counter;
};

std::shared_ptr<const platform::FormatDescription> audioFormat() {
    return platform::FormatDescription::createAudio(
        platform::AudioStreamBasicDescription::interleavedLinearPCM(48000, 1, 16, false),
        platform::AudioChannelLayout::mono());
}

class MovieRecorderTest : public ::testing::Test {
  protected:
    void SetUp() override {
        auto created = platform::PixelBuffer::create(320, 240);
        ASSERT_TRUE(created.buffer);
        _frame = created.buffer;
        videoFormat = platform::FormatDescription::createForImageBuffer(*_frame);
        std::string pattern = std::filesystem::temp_directory_path() / "orvane-recorder-XXXXXX";
        ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
        directory = pattern;
        url = (directory / "Movie.MOV").string();
    }
    void TearDown() override { std::filesystem::remove_all(directory); }

    std::shared_ptr<MovieRecorder> makeRecorder() {
        MovieRecorderEnvironment environment;
        environment.writerFactory = factory;
        environment.settings = &settings;
        environment.location = [this] {
            if (locationThrows) {
                throw std::runtime_error("no position service");
            }
            return location;
        };
        environment.make = "Test Vendor";
        auto recorder = MovieRecorder::create(std::move(environment));
        recorder->setDelegate(delegate, callbackQueue);
        return recorder;
    }

    // A recorder with a video track (and an audio track) that has finished preparing.
    std::shared_ptr<MovieRecorder> startRecording(bool withAudio = true) {
        auto recorder = makeRecorder();
        recorder->addVideoTrackWithSourceFormatDescription(videoFormat, transform);
        if (withAudio) {
            recorder->addAudioTrackWithSourceFormatDescription(audioFormat());
        }
        recorder->prepareToRecordToURL(url);
        EXPECT_EQ(delegate->waitForEvents(1), std::vector<std::string>{"prepared"});
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

    FakeWriterRecord& record() { return *factory->record; }
    // Samples posted after finishRecording are let go, so tests let their appends land first.
    bool waitForAppended(std::size_t count) {
        return record().waitUntil(
            [count](const FakeWriterRecord& r) { return r.appended.size() >= count; });
    }
    bool waitForWriterDestroyed() {
        return record().waitUntil([](const FakeWriterRecord& r) { return r.writerDestroyed; });
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

TEST(MovieRecorderNames, StatusTextsForLogs) {
    const std::pair<std::int64_t, const char*> rows[] = {
        {0, "Idle"},      {1, "PreparingToRecord"},
        {2, "Recording"}, {3, "FinishingRecording"},
        {4, "Finished"},  {5, "Failed"},
        {6, "Unknown"},   {-1, "Unknown"},
    };
    for (const auto& [status, text] : rows) {
        EXPECT_STREQ(MovieRecorder::_stringForStatus(status), text) << status;
    }
}

TEST(MovieRecorderNames, InputErrorIsZephrinCodeZeroWithBothTexts) {
    const foundation::Error error = MovieRecorder::_cannotSetupInputError();
    EXPECT_EQ(error.domain, "Zephrin");
    EXPECT_EQ(error.code, 0);
    EXPECT_EQ(error.description, "Recording cannot be started");
    EXPECT_EQ(error.failureReason, "Cannot setup asset writer input.");
}

TEST_F(MovieRecorderTest, TracksAreAddedOnceEachAndOnlyWhileIdle) {
    auto recorder = makeRecorder();
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

    recorder->prepareToRecordToURL(url);
    expectRaises<InternalInconsistencyException>(
        [&] { recorder->addVideoTrackWithSourceFormatDescription(videoFormat, transform); },
        "Cannot add tracks while not idle");
    expectRaises<InternalInconsistencyException>(
        [&] { recorder->addAudioTrackWithSourceFormatDescription(audioFormat()); },
        "Cannot add tracks while not idle");
    expectRaises<InternalInconsistencyException>([&] { recorder->prepareToRecordToURL(url); },
                                                 "Already prepared, cannot prepare again");
    delegate->waitForEvents(1);
}

TEST_F(MovieRecorderTest, ALiveDelegateNeedsACallbackQueue) {
    auto recorder = makeRecorder();
    expectRaises<InvalidArgumentException>([&] { recorder->setDelegate(delegate, nullptr); },
                                           "Caller must provide a delegateCallbackQueue");
    recorder->setDelegate({}, nullptr);
}

TEST_F(MovieRecorderTest, AppendsAndFinishBeforeRecordingRaise) {
    auto recorder = makeRecorder();
    recorder->addVideoTrackWithSourceFormatDescription(videoFormat, transform);
    recorder->appendVideoSampleBuffer(nullptr);  // ignored, whatever the status
    expectRaises<InternalInconsistencyException>(
        [&] { recorder->appendVideoSampleBuffer(videoSample(0)); }, "Not ready to record yet");
    expectRaises<InternalInconsistencyException>([&] { recorder->finishRecording(); },
                                                 "Not yet recording");

    // Hold the preparation inside the factory to see PreparingToRecord.
    EventCounter entered;
    EventCounter gate;
    factory->script->duringMakeWriter = [&] {
        entered.add();
        gate.waitFor(1);
    };
    recorder->prepareToRecordToURL(url);
    ASSERT_TRUE(entered.waitFor(1));
    EXPECT_EQ(recorder->status(), MovieRecorderStatus::PreparingToRecord);
    expectRaises<InternalInconsistencyException>(
        [&] { recorder->appendAudioSampleBuffer(audioSample(0)); }, "Not ready to record yet");
    expectRaises<InternalInconsistencyException>([&] { recorder->finishRecording(); },
                                                 "Not yet recording");
    gate.add();
    EXPECT_EQ(delegate->waitForEvents(1), std::vector<std::string>{"prepared"});
    EXPECT_EQ(recorder->status(), MovieRecorderStatus::Recording);
}

TEST_F(MovieRecorderTest, RecordsFromPreparationToFinishedAndReleasesTheWriterLast) {
    { std::ofstream(url) << "left over from a crash"; }
    auto recorder = startRecording();
    EXPECT_FALSE(std::filesystem::exists(url));
    EXPECT_EQ(recorder->status(), MovieRecorderStatus::Recording);

    recorder->appendVideoSampleBuffer(videoSample(600));
    recorder->appendAudioSampleBuffer(audioSample(48000));
    recorder->appendVideoSampleBuffer(videoSample(620));
    ASSERT_TRUE(waitForAppended(3));
    recorder->finishRecording();
    EXPECT_EQ(delegate->waitForEvents(2), (std::vector<std::string>{"prepared", "finished"}));
    EXPECT_EQ(recorder->status(), MovieRecorderStatus::Finished);
    EXPECT_TRUE(delegate->allOnQueue());
    ASSERT_TRUE(waitForWriterDestroyed());

    EXPECT_EQ(record().calls(),
              (std::vector<std::string>{"makeWriter", "setMetadata", "addInput video",
                                        "addInput audio", "startWriting", "finishWriting",
                                        "finishWriting returns", "destroyed"}));
    record().read([&](const FakeWriterRecord& r) {
        EXPECT_EQ(r.path, url);
        EXPECT_EQ(r.fileType, platform::AssetFileType::QuickTimeMovie);
        EXPECT_EQ(r.sessionStart, MediaTime::make(1, 1));
        ASSERT_EQ(r.appended.size(), 3u);
        EXPECT_EQ(r.appended[0].mediaType, platform::kCMMediaType_Video);
        EXPECT_EQ(r.appended[1].mediaType, platform::kCMMediaType_Audio);
        EXPECT_EQ(r.appended[2].time, MediaTime::make(620, 600));
        // Both inputs in real time, the video turned as the track asks, the sources as hints.
        EXPECT_TRUE(r.videoRealTime);
        EXPECT_TRUE(r.audioRealTime);
        EXPECT_EQ(r.videoTransform, transform);
        EXPECT_EQ(r.videoHint, videoFormat);
        ASSERT_TRUE(r.audioHint);
        EXPECT_EQ(*r.audioHint, *audioFormat());
        // AAC, the rest taken from the hint.
        ASSERT_TRUE(r.audioSettings);
        EXPECT_EQ(r.audioSettings->formatID, platform::kAudioFormatMPEG4AAC);
        EXPECT_FALSE(r.audioSettings->sampleRate || r.audioSettings->numberOfChannels ||
                     r.audioSettings->encoderBitRatePerChannel || r.audioSettings->channelLayout);
    });

    expectRaises<InternalInconsistencyException>([&] { recorder->finishRecording(); },
                                                 "Already finishing or finished recording");
}

TEST_F(MovieRecorderTest, WithoutAnAudioTrackAudioSamplesAreIgnoredWithALogLine) {
    LogCapture log;
    auto recorder = startRecording(false);
    recorder->appendAudioSampleBuffer(audioSample(0));
    ASSERT_TRUE(log.waitForLine("no input of type soun, ignoring"));
    recorder->appendVideoSampleBuffer(videoSample(10));
    ASSERT_TRUE(waitForAppended(1));
    recorder->finishRecording();
    delegate->waitForEvents(2);
    EXPECT_FALSE(record().called("addInput audio"));
    record().read([](const FakeWriterRecord& r) {
        ASSERT_EQ(r.appended.size(), 1u);
        EXPECT_EQ(r.appended[0].mediaType, platform::kCMMediaType_Video);
        // The ignored audio sample still began the session.
        EXPECT_EQ(r.sessionStart, MediaTime::make(0, 48000));
    });
}

TEST_F(MovieRecorderTest, FileTypeFollowsTheExtensionSetting) {
    const std::pair<std::int64_t, platform::AssetFileType> rows[] = {
        {0, platform::AssetFileType::QuickTimeMovie},
        {1, platform::AssetFileType::MPEG4},
        {2, platform::AssetFileType::MPEG4},
    };
    int events = 0;
    for (const auto& [mode, type] : rows) {
        settings.setVideoExtensionMode(mode);
        auto recorder = makeRecorder();
        recorder->addVideoTrackWithSourceFormatDescription(videoFormat, transform);
        recorder->prepareToRecordToURL(url);
        delegate->waitForEvents(++events);
        record().read([&](const FakeWriterRecord& r) { EXPECT_EQ(r.fileType, type) << mode; });
    }
}

TEST_F(MovieRecorderTest, VideoSettingsComeFromTheBitrateRuleForTheSourceSize) {
    settings.setVideoBitrateMode(2);
    settings.setCurrentVideoResolution(3);
    settings.setVideoCodec(1);
    videoFormat =
        platform::FormatDescription::createVideo(platform::kCVPixelFormatType_32BGRA, 1280, 720);
    startRecording(false);
    record().read([](const FakeWriterRecord& r) {
        ASSERT_TRUE(r.videoSettings);
        EXPECT_EQ(r.videoSettings->codec, platform::kVideoCodecTypeHEVC);
        EXPECT_EQ(r.videoSettings->width, 1280);
        EXPECT_EQ(r.videoSettings->height, 720);
        EXPECT_EQ(r.videoSettings->averageBitRate, 12134707);
        EXPECT_EQ(r.videoSettings->maxKeyFrameInterval, 30);
    });
}

TEST_F(MovieRecorderTest, AFirstAudioSampleStartsTheMovieAndVideoBeginsLater) {
    auto recorder = startRecording();
    recorder->appendAudioSampleBuffer(audioSample(240000));  // 5 s
    recorder->appendVideoSampleBuffer(videoSample(3060));    // 5.1 s
    ASSERT_TRUE(waitForAppended(2));
    recorder->finishRecording();
    delegate->waitForEvents(2);
    record().read([](const FakeWriterRecord& r) {
        EXPECT_EQ(r.sessionStart, MediaTime::make(5, 1));
        ASSERT_EQ(r.appended.size(), 2u);
        EXPECT_EQ(r.appended[1].time, MediaTime::make(51, 10));
    });
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
    EXPECT_EQ(delegate->waitForEvents(2), (std::vector<std::string>{"prepared", "finished"}));
    record().read([](const FakeWriterRecord& r) {
        ASSERT_EQ(r.appended.size(), 1u);
        EXPECT_EQ(r.appended[0].time, MediaTime::make(20, 600));
    });
}

TEST_F(MovieRecorderTest, SamplesArrivingWhileFinishingAreLetGoUnwritten) {
    auto recorder = startRecording();
    // The first append holds the writing queue until the recorder is finishing.
    EventCounter entered;
    EventCounter gate;
    factory->script->duringAppend = [&] {
        entered.add();
        gate.waitFor(1);
    };
    recorder->appendVideoSampleBuffer(videoSample(0));
    ASSERT_TRUE(entered.waitFor(1));

    std::vector<std::weak_ptr<const platform::SampleBuffer>> late;
    for (std::int64_t value : {20, 40}) {
        auto sample = videoSample(value);
        late.push_back(sample);
        recorder->appendVideoSampleBuffer(std::move(sample));
    }
    recorder->finishRecording();
    EXPECT_EQ(recorder->status(), MovieRecorderStatus::FinishingRecording);
    expectRaises<InternalInconsistencyException>([&] { recorder->finishRecording(); },
                                                 "Already finishing or finished recording");
    // Appending while finishing is allowed; the sample is let go too.
    auto after = audioSample(2000);
    late.push_back(after);
    recorder->appendAudioSampleBuffer(std::move(after));

    gate.add();
    EXPECT_EQ(delegate->waitForEvents(2), (std::vector<std::string>{"prepared", "finished"}));
    record().read([](const FakeWriterRecord& r) {
        ASSERT_EQ(r.appended.size(), 1u);
        EXPECT_EQ(r.appended[0].time, MediaTime::make(0, 600));
    });
    // The teardown runs on the writing queue after every block posted before it.
    ASSERT_TRUE(waitForWriterDestroyed());
    for (const auto& sample : late) {
        EXPECT_TRUE(sample.expired());
    }
}

struct PreparationFailure {
    const char* name;
    std::function<void(testing::FakeWriterScript&)> script;
    foundation::Error expected;
};

TEST_F(MovieRecorderTest, PreparationFailuresEndInFailedWithTheError) {
    const foundation::Error inputError = MovieRecorder::_cannotSetupInputError();
    const PreparationFailure rows[] = {
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

        auto recorder = makeRecorder();
        recorder->addVideoTrackWithSourceFormatDescription(videoFormat, transform);
        recorder->addAudioTrackWithSourceFormatDescription(audioFormat());
        recorder->prepareToRecordToURL(url);
        EXPECT_EQ(delegate->waitForEvents(1), std::vector<std::string>{"failed"});
        EXPECT_TRUE(delegate->allOnQueue());
        EXPECT_EQ(recorder->status(), MovieRecorderStatus::Failed);
        const auto error = delegate->error();
        ASSERT_TRUE(error);
        EXPECT_EQ(error->domain, row.expected.domain);
        EXPECT_EQ(error->code, row.expected.code);
        EXPECT_EQ(error->description, row.expected.description);
        // Nothing starts after an earlier step failed.
        EXPECT_EQ(record().called("startWriting"), factory->script->failStartWriting);

        // After a failure, appends are let go and finishing only says so.
        recorder->appendVideoSampleBuffer(videoSample(0));
        recorder->finishRecording();
        EXPECT_TRUE(log.contains("Alread failed, nothing to do"));
        if (!factory->script->makeWriterError) {
            EXPECT_TRUE(waitForWriterDestroyed());
        }
        EXPECT_TRUE(record().read([](const FakeWriterRecord& r) { return r.appended.empty(); }));
    }
}

TEST_F(MovieRecorderTest, AFailedAppendEndsTheRecordingWithTheWritersError) {
    auto recorder = startRecording();
    factory->script->failAppends = true;
    recorder->appendVideoSampleBuffer(videoSample(0));
    EXPECT_EQ(delegate->waitForEvents(2), (std::vector<std::string>{"prepared", "failed"}));
    EXPECT_EQ(recorder->status(), MovieRecorderStatus::Failed);
    EXPECT_EQ(delegate->error()->description, "encoder failed");
    EXPECT_TRUE(waitForWriterDestroyed());
    EXPECT_FALSE(record().called("finishWriting"));
}

TEST_F(MovieRecorderTest, AWriterThatFailsToFinishEndsInFailed) {
    factory->script->failFinish = true;
    auto recorder = startRecording();
    recorder->appendVideoSampleBuffer(videoSample(0));
    ASSERT_TRUE(waitForAppended(1));
    recorder->finishRecording();
    EXPECT_EQ(delegate->waitForEvents(2), (std::vector<std::string>{"prepared", "failed"}));
    EXPECT_EQ(recorder->status(), MovieRecorderStatus::Failed);
    EXPECT_EQ(delegate->error()->description, "disk full");
    EXPECT_TRUE(waitForWriterDestroyed());
}

struct MetadataRow {
    const char* name;
    std::string text;
    platform::StringArray tags;
    std::optional<platform::Location> location;
    bool locationThrows;
    std::vector<platform::MetadataItem> expected;
};

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
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const MetadataRow rows[] = {
        {"nothing to add", "", {}, std::nullopt, false, {software, make}},
        {"text and tags",
         "Bridge inspection",
         {"north", "pier 3"},
         std::nullopt,
         false,
         {software,
          make,
          {platform::kQuickTimeMetadataKeyComment, "Bridge inspection"},
          {platform::kQuickTimeMetadataKeyDescription, "Bridge inspection"},
          {platform::kQuickTimeMetadataKeyKeywords, "north,pier 3"}}},
        {"west and below sea level",
         "",
         {"one"},
         at(48.85837, -2.29448, -12.4),
         false,
         {software,
          make,
          {platform::kQuickTimeMetadataKeyKeywords, "one"},
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
         {software,
          make,
          {platform::kQuickTimeMetadataKeyComment, "x"},
          {platform::kQuickTimeMetadataKeyDescription, "x"}}},
    };
    int events = 0;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        settings.reset();
        settings.setInputString(row.text);
        settings.setSelectTags(row.tags);
        location = row.location;
        locationThrows = row.locationThrows;
        auto recorder = makeRecorder();
        recorder->addVideoTrackWithSourceFormatDescription(videoFormat, transform);
        recorder->prepareToRecordToURL(url);
        delegate->waitForEvents(++events);
        EXPECT_EQ(recorder->status(), MovieRecorderStatus::Recording);
        record().read([&](const FakeWriterRecord& r) { EXPECT_EQ(r.metadata, row.expected); });
    }
}

}  // namespace
}  // namespace orvane::capture
