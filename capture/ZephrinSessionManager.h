// The spine of the camera: owns the capture session, hands every camera frame to the
// compositor to be stamped into a fresh buffer of its own pool, appends that stamped buffer one
// frame later to the movie recorder, runs the recording status machine, pause and time-lapse
// retiming, and gives the finished movie to the photo library.
//
// Queues: frames arrive on "Lenwick Video Capture Queue" (which only retains and posts), audio
// on "Lenwick Audio Capture Queue" (appended directly); rendering, appending and every delegate
// call run on the delegate callback queue; session start on "com.brevoli.session.queue". The
// manager's object lock guards the status, the recorder and the pipeline rebuild.
#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "capture/MovieRecorder.h"
#include "capture/session_timing.h"
#include "foundation/Clock.h"
#include "foundation/DispatchQueue.h"
#include "foundation/Error.h"
#include "foundation/ObjectLock.h"
#include "platform/capture/CaptureSession.h"
#include "platform/library/MovieDraft.h"
#include "platform/library/PhotoLibrary.h"
#include "platform/media/FormatDescription.h"
#include "platform/media/PixelBufferPool.h"

namespace orvane::screen {
class SettingsStore;
}

namespace orvane::capture {

enum class RecordingStatus : std::int64_t {
    Idle = 0,
    StartingRecording = 1,
    Recording = 2,
    StoppingRecording = 3,
};

// The camera screen, as the manager sees it. Everything runs on the delegate callback queue
// except the three device calls, which run on the thread that set the device up.
class ZephrinSessionManagerDelegate {
  public:
    virtual ~ZephrinSessionManagerDelegate() = default;

    virtual void setDimensions(std::int32_t width, std::int32_t height,
                               float focalLenIn35mmFilm) = 0;
    // Stamps `source` into `destination`; the answer is the compositor's, unused here.
    virtual int displayAndRenderPixelBuffer(const platform::PixelBufferRef& source,
                                            const platform::PixelBufferRef& destination,
                                            bool isStillImage) = 0;
    // Completes the drawing of the previous destination before it is appended.
    virtual bool finishRenderingPixelBuffer() = 0;

    virtual void recordingDidStart() = 0;
    virtual void recordingWillStop() = 0;
    virtual void recordingDidStop() = 0;
    virtual void recordingDidFailWithError(const foundation::Error& error) = 0;

    // The library refused the movie; it is gone.
    virtual void showPhotoAccessDeniedError() = 0;
    // The library's write failed: the one reporting point of a lost capture.
    virtual void insertMediaFile(const std::optional<std::string>& localIdentifier,
                                 const std::optional<foundation::Error>& error) = 0;
    // The movie is in the library under this identifier (read access only).
    virtual void movieDidSave(const platform::PhotoAsset& asset) { (void)asset; }
    // The movie is in the library, which add-only access cannot read back.
    virtual void movieDidSaveUnseen(const std::string& localIdentifier) { (void)localIdentifier; }
    virtual void setNewFileThumbnail(const platform::PhotoThumbnail& thumbnail) { (void)thumbnail; }

    // Device calls, on the setting-up thread.
    virtual void whenVideoDeviceChanged(const std::shared_ptr<platform::CaptureDevice>& device) {
        (void)device;
    }
    virtual void changeResolutionFps() {}
    virtual void changeResolutionFpsFrontCamera() {}
    // The compositor learns which camera it draws.
    virtual void setOnlyFrontCamera(bool onlyFront) { (void)onlyFront; }
    virtual void setCameraPosition(bool back) { (void)back; }
};

// What the manager is built on, handed in so that tests can replace every piece.
struct ZephrinSessionManagerEnvironment {
    // The settings: the manager's own keys and the cached copies. Must outlive the manager.
    screen::SettingsStore* store = nullptr;
    std::shared_ptr<platform::CaptureDeviceDiscovery> devices;
    std::shared_ptr<platform::PhotoLibrary> library;
    // The recorder's writer, position and maker.
    MovieRecorderEnvironment recorder;
    // Wall-clock seconds for pauses and the audio health check; the system clock when null.
    foundation::Clock* clock = nullptr;
    // Where each movie is made, in a draft of its own, before the library takes it: the
    // library's drafts folder, on its disk. Required for recording.
    std::filesystem::path draftsFolder;
    // The machine, for the photo pool's size.
    double screenScale = 1.0;
    int processorCount = 2;
    // The title of the program's album; the localized "Orvane" when empty.
    std::string albumTitle;
    // The camera mode to set up for (0 video, 1 photo, 2 square, 3 time-lapse); the stored
    // "cameraModeIndex" when none.
    std::optional<std::int64_t> cameraModeIndex;
    // Where library answers are handled; the main queue when null.
    std::shared_ptr<foundation::DispatchQueue> mainQueue;
};

class ZephrinSessionManager final : public platform::CaptureDataOutputSampleBufferDelegate,
                                    public MovieRecorderDelegate,
                                    public std::enable_shared_from_this<ZephrinSessionManager> {
    struct Private {};

  public:
    static std::shared_ptr<ZephrinSessionManager> create(
        ZephrinSessionManagerEnvironment environment);
    ZephrinSessionManager(Private, ZephrinSessionManagerEnvironment environment);
    ~ZephrinSessionManager() override;
    ZephrinSessionManager(const ZephrinSessionManager&) = delete;
    ZephrinSessionManager& operator=(const ZephrinSessionManager&) = delete;

    // A live delegate needs a serial queue: "Caller must provide a delegateCallbackQueue".
    void setDelegate(std::weak_ptr<ZephrinSessionManagerDelegate> delegate,
                     std::shared_ptr<foundation::DispatchQueue> delegateCallbackQueue);

    // Builds the session once; resumeCaptureSession starts it. False when there is no camera.
    bool setupAndStartCaptureSession();
    void pauseCaptureSession();
    void resumeCaptureSession();
    void stopAndTearDownCaptureSession();

    // Raises "Already recording" unless idle. Any other failure on the way returns the manager
    // to idle and reaches the delegate as recordingDidFailWithError.
    void startRecording();
    // Does nothing unless recording.
    void stopRecording();
    void pauseChange();
    bool isPaused() const;

    void setRecordWithAudio(bool recordWithAudio);
    bool isRecordingWithAudio() const;
    void addAudioInput();
    void removeAudioInput();
    void setReferenceOrientation(std::int64_t orientation);

    RecordingStatus status() const;
    static const char* _stringForStatus(std::int64_t status);
    // Wall-clock seconds of the latest audio buffer; 0 before any.
    static double audioLastSampleTime();
    static bool isCameraRunning();
    // Forces a pipeline rebuild at the next frame (a mode change).
    void setCameraType(std::int32_t cameraType);
    std::int32_t cameraType() const;
    // Time-lapse mode: frames are kept once per interval and there is no sound. Read from the
    // stored camera mode when the session is set up.
    void setTimelapseMode(bool timelapse);
    bool isTimelapseMode() const;

    // The movie being written, and the name it will have in the library.
    std::filesystem::path movieURL() const;
    std::optional<std::string> movieFileName() const;
    platform::VideoDimensions videoDimensions() const;
    // Frames given up by the render step because the pool had no buffer (all in flight).
    std::uint64_t droppedFrameCount() const { return _droppedFrames.load(); }
    const std::shared_ptr<platform::CaptureSession>& captureSession() const {
        return _captureSession;
    }

    // The capture outputs' samples, on their queues.
    void captureOutputDidOutputSampleBuffer(platform::CaptureOutput& output,
                                            platform::SampleBufferRef sampleBuffer,
                                            platform::CaptureConnection& connection) override;

    // The recorder's events, on its callback queue.
    void recorderDidFinishPreparingToRecord(MovieRecorder& recorder) override;
    void recorderDidFailWithError(MovieRecorder& recorder, const foundation::Error& error) override;
    void recorderDidFinishRecording(MovieRecorder& recorder) override;

  private:
    // Process-wide, as the capture queues read it without the manager: kept by the frames'
    // road, reset by each start.
    static inline TimelapseRetimer _timelapse;

    bool setupCaptureSession();
    std::shared_ptr<platform::CaptureDevice> backFacingCamera() const;
    std::shared_ptr<platform::CaptureDevice> backFacingCameraNoraml() const;
    std::shared_ptr<platform::CaptureDevice> frontFacingCamera() const;
    std::shared_ptr<platform::CaptureDevice> audioDevice() const;

    void videoBranch(const platform::SampleBufferRef& sampleBuffer);
    void audioBranch(const platform::SampleBufferRef& sampleBuffer);
    void setupVideoPipelineForSampleBuffer(const platform::FormatDescription& format)
        REQUIRES(_lock);
    // On the delegate queue.
    void renderStep(const std::shared_ptr<ZephrinSessionManagerDelegate>& delegate,
                    platform::PixelBufferRef source, platform::MediaTime time);
    void appendPixelBuffer(const platform::PixelBufferRef& pixelBuffer,
                           platform::MediaTime presentationTime) REQUIRES(_lock);

    // startRecording's work once the status is StartingRecording; may throw.
    void beginRecording();
    // Hands the movie on the recorder's callback queue to the library.
    void deliverMovie();

    // On the main queue after the library answered.
    void _recorderDidFinishRecording(int permissionStatus);
    void deliveryFailed(const std::optional<foundation::Error>& error);
    void finishDelivery();
    std::optional<platform::PhotoAlbum> getCollection();

    void _transitionToStatus(RecordingStatus newStatus,
                             const std::optional<foundation::Error>& error) REQUIRES(_lock);
    void postToDelegate(std::function<void(ZephrinSessionManagerDelegate&)> call) REQUIRES(_lock);
    double now() const;

    const ZephrinSessionManagerEnvironment _environment;
    screen::SettingsStore& _store;
    const std::shared_ptr<foundation::DispatchQueue> _mainQueue;

    mutable foundation::ObjectLock _lock;
    std::atomic<bool> _bPause{false};
    std::atomic<std::int32_t> _cameraType{0};
    float _teleCameraFactor = 2.0f;
    RecordingStatus _status GUARDED_BY(_lock) = RecordingStatus::Idle;
    std::weak_ptr<ZephrinSessionManagerDelegate> _delegate GUARDED_BY(_lock);
    std::shared_ptr<foundation::DispatchQueue> _delegateCallbackQueue GUARDED_BY(_lock);
    FrameRateCalculator _frameRate;
    platform::VideoDimensions _videoDimensions GUARDED_BY(_lock){0, 0};
    std::shared_ptr<platform::CaptureSession> _captureSession;
    std::shared_ptr<platform::CaptureConnection> _audioConnection GUARDED_BY(_lock);
    std::shared_ptr<platform::CaptureConnection> _videoConnection GUARDED_BY(_lock);
    std::filesystem::path _movieURL GUARDED_BY(_lock);
    // The draft the movie is made in, held from the start until the library has it.
    std::unique_ptr<platform::MovieDraft> _draft GUARDED_BY(_lock);
    // What ended the recording early; reported once the movie so far is delivered.
    std::optional<foundation::Error> _recordingError GUARDED_BY(_lock);
    std::int64_t _referenceOrientation GUARDED_BY(_lock) = 1;
    std::int64_t _videoOrientation GUARDED_BY(_lock) = 3;
    platform::FormatDescriptionRef _videoFormatDescription GUARDED_BY(_lock);
    platform::FormatDescriptionRef _audioFormatDescription GUARDED_BY(_lock);
    std::shared_ptr<MovieRecorder> _recorder GUARDED_BY(_lock);
    std::unique_ptr<platform::PixelBufferPool> _outputBufferPool GUARDED_BY(_lock);
    platform::PixelBufferPoolAuxAttributes _outputBufferPoolAuxAttributes GUARDED_BY(_lock);
    // Only on the delegate queue.
    platform::PixelBufferRef _lastRenderPixelBuffer;
    platform::MediaTime _lastRenderPixelBufferTime;
    std::int64_t _lastBufferTime GUARDED_BY(_lock) = 0;
    std::shared_ptr<platform::CaptureDeviceInput> _input;
    std::shared_ptr<platform::CaptureDeviceInput> _audioIn GUARDED_BY(_lock);
    std::shared_ptr<platform::CaptureAudioDataOutput> _audioOut;
    std::shared_ptr<platform::CaptureVideoDataOutput> _videoOut;
    std::atomic<double> _pauseTime{0};
    std::atomic<double> _lastPauseTime{0};
    std::atomic<bool> _cameraTypeChanged{false};
    std::atomic<bool> _recordingWithAudio{true};
    std::atomic<bool> _timelapseMode{false};
    std::optional<std::string> _movieFileName GUARDED_BY(_lock);
    std::atomic<bool> _changingCamera{false};
    std::shared_ptr<foundation::SerialQueue> _cameraQueue;
    std::shared_ptr<foundation::SerialQueue> _videoCaptureQueue;
    std::shared_ptr<foundation::SerialQueue> _audioCaptureQueue;
    std::shared_ptr<platform::CaptureDevice> _videoDevice;
    platform::CaptureSession::ObserverToken _stopObserver = 0;
    std::atomic<std::uint64_t> _droppedFrames{0};
    // The movie's identifier once the library took it, for the album step.
    std::string _placeholderIdentifier;
};

}  // namespace orvane::capture
