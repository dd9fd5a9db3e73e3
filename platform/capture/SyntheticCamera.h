// The synthetic camera: a video device that films the moving test scene, for machines without
// a camera and for tests.
//
// It offers 640x480, 960x540, 1280x720 (each at up to 30 and, as a second format, up to 60
// frames a second), 1280x960 and 1920x1080 at up to 30, and starts at 1280x720 at 30. Frames
// are 32BGRA at the active format's size, paced by the clock at the shortest active frame
// duration: frame k after start comes k frame durations later, stamped with that time on the
// clock's monotonic line (timescale 90000). A change of format or rate while running takes
// effect from the next frame.
//
// Frames come from the camera's own pool, which never holds more than a camera's handful of
// buffers: when every one is still held downstream, the frame is dropped and counted, as a
// real camera drops when its queue is full.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "foundation/Clock.h"
#include "platform/capture/CaptureDevice.h"
#include "platform/media/PixelBufferPool.h"
#include "platform/replay_pacer.h"

namespace orvane::platform {

class SyntheticCamera final : public CaptureDevice {
  public:
    // Buffers a camera has in flight at most, as a V4L2 driver's usual four: one being drawn,
    // one waiting for the capture queue, one waiting for the frame pass, one being uploaded.
    // When the frame pass falls further behind, the camera drops the new frame instead of
    // queueing stale ones: a deeper pool only adds latency to the preview and 8 MB a buffer at
    // 1080p.
    static constexpr std::int32_t kBufferCount = 4;
    // Units per second of the frames' presentation times: whole for every common frame rate.
    static constexpr std::int32_t kTimescale = 90000;

    SyntheticCamera(std::string uniqueID, std::string localizedName, CaptureDevicePosition position,
                    foundation::Clock& clock);
    ~SyntheticCamera() override;

    // The formats every synthetic camera lists, in order.
    static std::vector<CaptureDeviceFormat> standardFormats();

    void start(SampleSink sink) override;
    void stop() override;

    // Frames produced into the sink, and frames dropped because no buffer was free.
    std::uint64_t deliveredFrameCount() const { return _delivered.load(); }
    std::uint64_t droppedFrameCount() const { return _dropped.load(); }
    // Buffers made by the pools so far: stays at the number in flight once warm.
    std::uint64_t bufferAllocationCount() const;

  protected:
    void activeConfigurationDidChange() override;

  private:
    // Produces frame `index` of the running replay. On the clock's thread.
    void produceFrame(std::size_t index);
    // Starts pacing from now at the active configuration. Without _mutex held.
    void startPacing();

    foundation::Clock& _clock;
    // Held while pacing stops and starts again, so two restarts never interleave.
    std::mutex _pacingMutex;
    ReplayPacer _pacer;
    mutable std::mutex _mutex;  // guards the members below up to the counters
    std::shared_ptr<const SampleSink> _sink;
    bool _running = false;
    std::shared_ptr<PixelBufferPool> _pool;
    FormatDescriptionRef _poolFormat;
    std::uint64_t _retiredAllocations = 0;  // made by pools since replaced
    std::int64_t _startValue = 0;           // presentation time of the pacing start
    std::int64_t _frameUnits = 0;           // one frame duration in kTimescale units
    std::atomic<std::uint64_t> _delivered{0};
    std::atomic<std::uint64_t> _dropped{0};
};

}  // namespace orvane::platform
