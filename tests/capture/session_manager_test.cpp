// The session manager on the synthetic camera and microphone, paced by a manual clock, with a
// pass-through renderer, a scripted movie writer and a photo library in memory.
#include "capture/ZephrinSessionManager.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <cstring>
#include <fstream>
#include <mutex>

#include "fake_asset_writer.h"
#include "foundation/exceptions.h"
#include "platform/library/MemoryPhotoLibrary.h"
#include "session_rig.h"

namespace orvane::capture {
namespace {

using platform::MediaTime;
using platform::PHAccessLevel;
using platform::PHAuthorizationStatus;
using testing::RecordingDelegate;
using testing::SessionRig;

class SessionManagerTest : public ::testing::Test, protected SessionRig {
  protected:
    void SetUp() override {
        _directory = std::filesystem::temp_directory_path() /
                     ("orvane-session-" + std::to_string(::getpid()) + "-" +
                      ::testing::UnitTest::GetInstance()->current_test_info()->name());
        std::filesystem::create_directories(_directory);
        // The fake writer writes no movie; a file stands in for it so the library has one to move.
        writers->script->duringMakeWriter = [this] {
            std::ofstream(writers->record->state().path) << "movie";
        };
        makeManager(library, writers, _directory);
    }

    void TearDown() override {
        tearDownManager();
        std::filesystem::remove_all(_directory);
    }

    void record(int framesWhileRecording) {
        manager->startRecording();
        ASSERT_TRUE(delegate->waitForCall("recordingDidStart"));
        frames(framesWhileRecording);
        manager->stopRecording();
    }

    std::vector<MediaTime> appendedVideoTimes() const {
        std::vector<MediaTime> times;
        for (const auto& [type, time] : writers->record->state().appended) {
            if (type == platform::kCMMediaType_Video) {
                times.push_back(time);
            }
        }
        return times;
    }

    std::shared_ptr<platform::MemoryPhotoLibrary> library =
        std::make_shared<platform::MemoryPhotoLibrary>();
    std::shared_ptr<testing::FakeAssetWriterFactory> writers =
        std::make_shared<testing::FakeAssetWriterFactory>();
    std::filesystem::path _directory;
};

TEST_F(SessionManagerTest, TheMovieRunsOneFrameBehindAndGoesToTheLibrary) {
    startSession();
    frames(5);
    EXPECT_EQ(delegate->events().count("setDimensions 1280x720"), 1);
    manager->startRecording();
    ASSERT_TRUE(delegate->waitForCall("recordingDidStart"));
    frames(10);
    // Appends reach the writer on its own queue; one still on its way when the recording
    // stops is let go, so the stop waits for the tenth.
    ASSERT_TRUE(writers->record->waitUntil([](const auto& s) {
        return std::count_if(s.appended.begin(), s.appended.end(), [](const auto& a) {
                   return a.first == platform::kCMMediaType_Video;
               }) == 10;
    }));
    manager->stopRecording();
    ASSERT_TRUE(delegate->waitForCall("recordingDidStop"));
    EXPECT_EQ(manager->status(), RecordingStatus::Idle);

    // The frame rendered before the recording began is its first; the last rendered is not
    // written. Times rise one frame apart.
    const std::vector<MediaTime> times = appendedVideoTimes();
    ASSERT_EQ(times.size(), 10u);
    for (std::size_t i = 1; i < times.size(); ++i) {
        EXPECT_NEAR((times[i] - times[i - 1]).seconds(), 1.0 / 30, 1e-6) << i;
    }
    const auto events = delegate->events();
    const std::vector<std::string> order{"recordingDidStart", "recordingWillStop",
                                         "recordingDidStop"};
    std::vector<std::string> statusCalls;
    for (const auto& call : events.calls) {
        if (call.rfind("recording", 0) == 0) {
            statusCalls.push_back(call);
        }
    }
    EXPECT_EQ(statusCalls, order);

    // The library holds the movie under its name; the temporary file is gone. The first capture
    // makes the album and is not in it.
    const auto stored = library->storedAssets();
    ASSERT_EQ(stored.size(), 1u);
    EXPECT_EQ(stored[0].asset.mediaType, platform::PHAssetMediaType::Video);
    ASSERT_TRUE(manager->movieFileName());
    EXPECT_EQ(stored[0].asset.originalFilename, *manager->movieFileName());
    EXPECT_EQ(stored[0].asset.originalFilename.substr(stored[0].asset.originalFilename.size() - 4),
              ".MOV");
    EXPECT_FALSE(std::filesystem::exists(manager->movieURL()));
    ASSERT_TRUE(events.saved);
    EXPECT_EQ(events.saved->localIdentifier, stored[0].asset.localIdentifier);
    ASSERT_TRUE(waitFor([&] { return library->albumWithTitle("Orvane").has_value(); }));
    EXPECT_TRUE(library->fetchAssetsInAlbum(library->albumWithTitle("Orvane")->localIdentifier)
                    .values.empty());
    // The index moved on, and the screen's copy with it.
    EXPECT_EQ(store.sessionManager.readFileNameIndex(), 1);
    EXPECT_EQ(cache.gGetFileNameIndex(), 1);
}

TEST_F(SessionManagerTest, SoundIsRecordedWhenItWasHeardBeforeTheStart) {
    startSession();
    frames(5);
    record(5);
    ASSERT_TRUE(delegate->waitForCall("recordingDidStop"));
    const auto state = writers->record->state();
    ASSERT_TRUE(state.audioSettings);
    EXPECT_TRUE(std::any_of(state.appended.begin(), state.appended.end(),
                            [](const auto& a) { return a.first == platform::kCMMediaType_Audio; }));
    EXPECT_GT(ZephrinSessionManager::audioLastSampleTime(), 0);

    // Without sound asked for, the next movie has no audio track.
    manager->setRecordWithAudio(false);
    writers->record->update([](auto& s) { s = {}; });
    record(3);
    ASSERT_TRUE(
        delegate->waitUntil([](const auto& e) { return e.count("recordingDidStop") == 2; }));
    EXPECT_FALSE(writers->record->state().audioSettings);
}

TEST_F(SessionManagerTest, APauseIsCutOutOfTheVideo) {
    startSession();
    frames(3);
    manager->startRecording();
    ASSERT_TRUE(delegate->waitForCall("recordingDidStart"));
    frames(5);
    manager->pauseChange();
    EXPECT_TRUE(manager->isPaused());
    frames(60);  // two seconds of preview that the movie leaves out
    manager->pauseChange();
    frames(5);
    manager->stopRecording();
    ASSERT_TRUE(delegate->waitForCall("recordingDidStop"));
    const std::vector<MediaTime> times = appendedVideoTimes();
    ASSERT_GE(times.size(), 8u);
    for (std::size_t i = 1; i < times.size(); ++i) {
        EXPECT_GT(times[i], times[i - 1]);
        EXPECT_LT((times[i] - times[i - 1]).seconds(), 0.1) << i;
    }
}

TEST_F(SessionManagerTest, StartingTwiceRaisesAndStoppingWhenIdleDoesNothing) {
    startSession();
    frames(2);
    manager->stopRecording();
    EXPECT_EQ(manager->status(), RecordingStatus::Idle);
    manager->startRecording();
    try {
        manager->startRecording();
        FAIL() << "no exception";
    } catch (const foundation::InternalInconsistencyException& e) {
        EXPECT_STREQ(e.what(), "Already recording");
    }
    ASSERT_TRUE(delegate->waitForCall("recordingDidStart"));
    frames(2);
    manager->stopRecording();
    manager->stopRecording();  // a second press is harmless
    ASSERT_TRUE(delegate->waitForCall("recordingDidStop"));
    EXPECT_EQ(delegate->events().count("recordingWillStop"), 1);
}

TEST_F(SessionManagerTest, LibraryAnswers) {
    struct Case {
        const char* what;
        PHAuthorizationStatus readWrite;
        PHAuthorizationStatus addOnly;
        bool failWrite;
        std::size_t stored;
        const char* reported;
        std::vector<PHAccessLevel> asked;
    };
    const Case cases[] = {
        {"denied",
         PHAuthorizationStatus::Denied,
         PHAuthorizationStatus::Denied,
         false,
         0,
         "showPhotoAccessDeniedError",
         {PHAccessLevel::ReadWrite, PHAccessLevel::AddOnly}},
        {"restricted",
         PHAuthorizationStatus::Restricted,
         PHAuthorizationStatus::Authorized,
         false,
         0,
         "showPhotoAccessDeniedError",
         {PHAccessLevel::ReadWrite}},
        {"add-only",
         PHAuthorizationStatus::Denied,
         PHAuthorizationStatus::Authorized,
         false,
         1,
         "movieDidSaveUnseen",
         {PHAccessLevel::ReadWrite, PHAccessLevel::AddOnly}},
        {"limited",
         PHAuthorizationStatus::Limited,
         PHAuthorizationStatus::Authorized,
         false,
         1,
         "movieDidSave",
         {PHAccessLevel::ReadWrite}},
        {"a failing write",
         PHAuthorizationStatus::Authorized,
         PHAuthorizationStatus::Authorized,
         true,
         0,
         "insertMediaFile",
         {PHAccessLevel::ReadWrite}},
    };
    startSession();
    frames(2);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        auto fresh = std::make_shared<platform::MemoryPhotoLibrary>();
        fresh->setAuthorizationStatus(PHAccessLevel::ReadWrite, c.readWrite);
        fresh->setAuthorizationStatus(PHAccessLevel::AddOnly, c.addOnly);
        if (c.failWrite) {
            fresh->setChangeError(foundation::Error{"Library", 3300, "The disk is full", ""});
        }
        // Each case on a manager of its own, over the same running camera.
        manager->stopAndTearDownCaptureSession();
        library = fresh;
        auto events = std::make_shared<RecordingDelegate>();
        delegate = events;
        SetUp();
        startSession();
        frames(2);
        record(3);
        ASSERT_TRUE(delegate->waitForCall("recordingDidStop"));
        EXPECT_EQ(fresh->storedAssets().size(), c.stored);
        EXPECT_EQ(fresh->authorizationRequests(), c.asked);
        if (c.reported) {
            EXPECT_TRUE(delegate->waitForCall(c.reported));
        }
        if (c.stored == 0) {
            EXPECT_FALSE(std::filesystem::exists(manager->movieURL()) && !c.failWrite);
        }
        // Add-only access reads nothing back: no album, no thumbnail.
        if (c.readWrite == PHAuthorizationStatus::Denied && c.stored == 1) {
            EXPECT_EQ(delegate->events().count("movieDidSave"), 0);
            EXPECT_FALSE(fresh->albumWithTitle("Orvane"));
        }
        if (c.failWrite) {
            ASSERT_TRUE(delegate->events().insertError);
            EXPECT_EQ(delegate->events().insertError->code, 3300);
        }
    }
}

TEST_F(SessionManagerTest, AWriterThatCannotStartEndsTheRecordingWithItsError) {
    writers->script->failStartWriting = true;
    startSession();
    frames(2);
    manager->startRecording();
    ASSERT_TRUE(delegate->waitForCall("recordingDidFailWithError"));
    EXPECT_TRUE(delegate->events().failure);
    EXPECT_EQ(delegate->events().count("recordingDidStart"), 0);
    ASSERT_TRUE(waitFor([&] { return manager->status() == RecordingStatus::Idle; }));
    // The manager can record again.
    writers->script->failStartWriting = false;
    record(2);
    ASSERT_TRUE(delegate->waitForCall("recordingDidStop"));
}

TEST_F(SessionManagerTest, DelegateWithoutQueueIsRefused) {
    try {
        manager->setDelegate(delegate, nullptr);
        FAIL() << "no exception";
    } catch (const foundation::InvalidArgumentException& e) {
        EXPECT_STREQ(e.what(), "Caller must provide a delegateCallbackQueue");
    }
}

TEST(SessionManagerStatus, Names) {
    EXPECT_STREQ(ZephrinSessionManager::_stringForStatus(0), "Idle");
    EXPECT_STREQ(ZephrinSessionManager::_stringForStatus(1), "StartingRecording");
    EXPECT_STREQ(ZephrinSessionManager::_stringForStatus(2), "Recording");
    EXPECT_STREQ(ZephrinSessionManager::_stringForStatus(3), "StoppingRecording");
    EXPECT_STREQ(ZephrinSessionManager::_stringForStatus(4), "Unknown");
}

}  // namespace
}  // namespace orvane::capture
