// Where a capture session's samples go: the data outputs that hand video frames and audio
// buffers to a delegate on a serial queue, and the connection that joins an input to an output.
//
// Samples arrive on the device's thread and are posted to the delegate's queue; the device
// thread never waits for the delegate. A video output that discards late frames keeps at most
// one frame waiting on the queue: a frame that arrives while another still waits is let go, so
// a slow delegate sees the newest frames instead of a growing backlog.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "foundation/DispatchQueue.h"
#include "platform/media/FormatDescription.h"
#include "platform/media/SampleBuffer.h"

namespace orvane::platform {

class CaptureDeviceInput;
class CaptureOutput;
class CaptureSession;

// The orientation of frames, with the platform's values: 1 portrait, 2 portrait upside down,
// 3 landscape right, 4 landscape left.
enum class CaptureVideoOrientation : std::int64_t {
    Portrait = 1,
    PortraitUpsideDown = 2,
    LandscapeRight = 3,
    LandscapeLeft = 4,
};

// Joins one input to one output of a session. Compared by identity: the object a delegate call
// names is the one connectionWithMediaType() returned.
class CaptureConnection {
  public:
    CMMediaType mediaType() const { return _mediaType; }
    const std::shared_ptr<CaptureDeviceInput>& input() const { return _input; }
    // The output is valid while the connection is active.
    CaptureOutput& output() const { return _output; }

    // A disabled connection carries no samples. Safe from any thread.
    bool isEnabled() const { return _enabled.load(); }
    void setEnabled(bool enabled) { _enabled.store(enabled); }
    // False once the session has taken the input or the output away; samples already queued
    // for the delegate are then dropped.
    bool isActive() const { return _active.load(); }

    // Frames come as the sensor gives them, never rotated: landscape right, where buffer and
    // viewer agree. The track transform turns them for display.
    bool isVideoOrientationSupported() const { return false; }
    CaptureVideoOrientation videoOrientation() const {
        return CaptureVideoOrientation::LandscapeRight;
    }
    // Throws InvalidArgumentException for any other orientation than the one frames have.
    void setVideoOrientation(CaptureVideoOrientation orientation);

    class Key {
        Key() = default;
        friend class CaptureSession;
    };
    CaptureConnection(Key, CMMediaType mediaType, std::shared_ptr<CaptureDeviceInput> input,
                      CaptureOutput& output);
    void deactivate(Key) { _active.store(false); }

  private:
    const CMMediaType _mediaType;
    const std::shared_ptr<CaptureDeviceInput> _input;
    CaptureOutput& _output;
    std::atomic<bool> _enabled{true};
    std::atomic<bool> _active{true};
};

class CaptureOutput : public std::enable_shared_from_this<CaptureOutput> {
  public:
    virtual ~CaptureOutput();
    CaptureOutput(const CaptureOutput&) = delete;
    CaptureOutput& operator=(const CaptureOutput&) = delete;

    // The media type of the inputs this output takes.
    virtual CMMediaType mediaType() const = 0;

    // The output's connections, as the session made them.
    std::vector<std::shared_ptr<CaptureConnection>> connections() const;
    // The first connection carrying `mediaType`, or none.
    std::shared_ptr<CaptureConnection> connectionWithMediaType(CMMediaType mediaType) const;

  protected:
    CaptureOutput() = default;

  private:
    friend class CaptureSession;
    // Takes one sample that came through `connection`. On the device's thread; never blocks.
    virtual void deliver(SampleBufferRef sample,
                         const std::shared_ptr<CaptureConnection>& connection) = 0;

    mutable std::mutex _mutex;  // guards _connections
    std::vector<std::shared_ptr<CaptureConnection>> _connections;
    // The session the output belongs to; set and cleared by that session.
    std::atomic<const CaptureSession*> _session{nullptr};
};

// Receives the samples of a data output, on the output's queue, one at a time.
class CaptureDataOutputSampleBufferDelegate {
  public:
    virtual ~CaptureDataOutputSampleBufferDelegate() = default;
    virtual void captureOutputDidOutputSampleBuffer(CaptureOutput& output,
                                                    SampleBufferRef sampleBuffer,
                                                    CaptureConnection& connection) = 0;
};

// What the video and audio data outputs share: the delegate, its queue, and the delivery.
class CaptureDataOutput : public CaptureOutput {
  public:
    // The delegate is held weakly: one that is gone receives nothing. A delegate needs a serial
    // queue: a missing or concurrent queue throws InvalidArgumentException. A null delegate
    // ends delivery (and forgets the queue).
    void setSampleBufferDelegate(std::weak_ptr<CaptureDataOutputSampleBufferDelegate> delegate,
                                 std::shared_ptr<foundation::DispatchQueue> queue);
    std::shared_ptr<CaptureDataOutputSampleBufferDelegate> sampleBufferDelegate() const;
    std::shared_ptr<foundation::DispatchQueue> sampleBufferCallbackQueue() const;

    // Samples let go because an earlier one still waited on the queue.
    std::uint64_t discardedSampleCount() const { return _discarded.load(); }

  protected:
    virtual bool discardsLateSamples() const = 0;

  private:
    void deliver(SampleBufferRef sample,
                 const std::shared_ptr<CaptureConnection>& connection) override;

    mutable std::mutex _delegateMutex;  // guards the two below
    std::weak_ptr<CaptureDataOutputSampleBufferDelegate> _delegate;
    std::shared_ptr<foundation::DispatchQueue> _queue;
    std::atomic<std::int32_t> _waiting{0};  // posted to the queue, not yet begun
    std::atomic<std::uint64_t> _discarded{0};
};

class CaptureVideoDataOutput final : public CaptureDataOutput {
  public:
    CMMediaType mediaType() const override { return kCMMediaType_Video; }

    // On by default: a slow delegate makes the output shed frames instead of queueing them.
    bool alwaysDiscardsLateVideoFrames() const { return _discardsLate.load(); }
    void setAlwaysDiscardsLateVideoFrames(bool discards) { _discardsLate.store(discards); }

    // Frames are 32BGRA; asking for another pixel format throws InvalidArgumentException.
    FourCharCode pixelFormatType() const { return kCVPixelFormatType_32BGRA; }
    void setPixelFormatType(FourCharCode pixelFormat);

  private:
    bool discardsLateSamples() const override { return _discardsLate.load(); }
    std::atomic<bool> _discardsLate{true};
};

// Every audio buffer is delivered: audio is never shed on the capture side.
class CaptureAudioDataOutput final : public CaptureDataOutput {
  public:
    CMMediaType mediaType() const override { return kCMMediaType_Audio; }

  private:
    bool discardsLateSamples() const override { return false; }
};

}  // namespace orvane::platform
