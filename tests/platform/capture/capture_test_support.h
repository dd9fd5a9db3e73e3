// What the capture tests share: a recorder of samples that works as a device's sink and as an
// output's delegate, and waits for samples from real threads with a generous timeout.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <vector>

#include "platform/capture/CaptureOutput.h"
#include "platform/media/SampleBuffer.h"

namespace orvane::platform::testing {

class SampleRecorder final : public CaptureDataOutputSampleBufferDelegate {
  public:
    struct Entry {
        CMMediaType mediaType = 0;
        MediaTime time;
        VideoDimensions dimensions;
        SampleBufferRef sample;  // only when the recorder keeps samples
        const CaptureOutput* output = nullptr;
        const CaptureConnection* connection = nullptr;
    };

    // Keeping samples holds their buffers, so a camera's pool runs dry after a few; by default
    // the recorder notes what it needs and lets them go.
    explicit SampleRecorder(bool keepsSamples = false) : _keepsSamples(keepsSamples) {}

    // As a device's sink.
    void add(const SampleBufferRef& sample) { record(sample, nullptr, nullptr); }

    void captureOutputDidOutputSampleBuffer(CaptureOutput& output, SampleBufferRef sample,
                                            CaptureConnection& connection) override {
        record(sample, &output, &connection);
    }

    std::vector<Entry> entries() const {
        std::lock_guard lock(_mutex);
        return _entries;
    }
    std::size_t count() const {
        std::lock_guard lock(_mutex);
        return _entries.size();
    }
    bool waitFor(std::size_t count) {
        std::unique_lock lock(_mutex);
        return _changed.wait_for(lock, std::chrono::seconds(30),
                                 [&] { return _entries.size() >= count; });
    }

  private:
    void record(const SampleBufferRef& sample, const CaptureOutput* output,
                const CaptureConnection* connection) {
        Entry entry{sample->mediaType(),
                    sample->presentationTimeStamp(),
                    sample->formatDescription()->dimensions(),
                    _keepsSamples ? sample : nullptr,
                    output,
                    connection};
        std::lock_guard lock(_mutex);
        _entries.push_back(std::move(entry));
        _changed.notify_all();
    }

    const bool _keepsSamples;
    mutable std::mutex _mutex;
    std::condition_variable _changed;
    std::vector<Entry> _entries;
};

// Times of the entries, in order.
inline std::vector<MediaTime> timesOf(const std::vector<SampleRecorder::Entry>& entries) {
    std::vector<MediaTime> times;
    for (const auto& entry : entries) {
        times.push_back(entry.time);
    }
    return times;
}

}  // namespace orvane::platform::testing
