// The capture session: joins device inputs to data outputs, chooses the camera's format by
// preset, and runs the devices while it runs.
//
// A session takes one input per media type (one camera, one microphone) and one output of each
// kind. Connections are made between an input and an output of the same media type, so each
// output sees only its own media. Changes between beginConfiguration() and
// commitConfiguration() take effect together at the commit: a running session starts the
// devices that gained a connection and stops those that lost theirs.
//
// Every operation is safe from any thread; samples reach the outputs' delegates on the outputs'
// queues.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <vector>

#include "foundation/Error.h"
#include "platform/capture/CaptureDevice.h"
#include "platform/capture/CaptureOutput.h"

namespace orvane::platform {

// An input made from a device.
class CaptureDeviceInput {
  public:
    struct Result {
        std::shared_ptr<CaptureDeviceInput> input;  // null when error is set
        std::optional<foundation::Error> error;
    };
    // Fails when there is no device or it is not connected.
    static Result deviceInputWithDevice(std::shared_ptr<CaptureDevice> device);

    const std::shared_ptr<CaptureDevice>& device() const { return _device; }
    CMMediaType mediaType() const { return _device->mediaType(); }

  private:
    friend class CaptureSession;
    explicit CaptureDeviceInput(std::shared_ptr<CaptureDevice> device);

    const std::shared_ptr<CaptureDevice> _device;
    std::atomic<const CaptureSession*> _session{nullptr};
};

// The picture size a session asks of its camera. InputPriority leaves the camera's active format
// as it is.
enum class CaptureSessionPreset {
    InputPriority,
    Photo,  // the largest 4:3 format, else the largest
    Preset640x480,
    iFrame960x540,
    Preset1280x720,
    Preset1920x1080,
    Preset3840x2160,
};

// The preset's name, for logs.
const char* captureSessionPresetName(CaptureSessionPreset preset);

class CaptureSession {
  public:
    using Observer = std::function<void()>;
    using ObserverToken = std::uint64_t;

    CaptureSession();
    // Stops the devices it runs; no notification follows.
    ~CaptureSession();
    CaptureSession(const CaptureSession&) = delete;
    CaptureSession& operator=(const CaptureSession&) = delete;

    // Nested pairs count; only the outermost commit applies the changes. A commit without a
    // begin is logged and ignored.
    void beginConfiguration();
    void commitConfiguration();

    // False for no input, an input already in a session, a device that already has an input
    // here, a second input of a media type, or a camera that cannot give the session's preset.
    bool canAddInput(const std::shared_ptr<CaptureDeviceInput>& input) const;
    // Throws InvalidArgumentException where canAddInput() says no. A camera added takes the
    // session's preset.
    void addInput(const std::shared_ptr<CaptureDeviceInput>& input);
    // Takes the input and its connections away; an input not in the session is ignored.
    void removeInput(const std::shared_ptr<CaptureDeviceInput>& input);
    std::vector<std::shared_ptr<CaptureDeviceInput>> inputs() const;

    // False for no output, an output already in a session, or a second output of its kind.
    bool canAddOutput(const std::shared_ptr<CaptureOutput>& output) const;
    // Throws InvalidArgumentException where canAddOutput() says no.
    void addOutput(const std::shared_ptr<CaptureOutput>& output);
    void removeOutput(const std::shared_ptr<CaptureOutput>& output);
    std::vector<std::shared_ptr<CaptureOutput>> outputs() const;

    // Whether the session's camera (if any) has a format for the preset.
    bool canSetSessionPreset(CaptureSessionPreset preset) const;
    // Makes the camera's format the preset's, at its default frame rate. Throws
    // InvalidArgumentException where canSetSessionPreset() says no.
    void setSessionPreset(CaptureSessionPreset preset);
    CaptureSessionPreset sessionPreset() const;
    // The device format a preset chooses, or none.
    static std::optional<CaptureDeviceFormat> formatForPreset(const CaptureDevice& device,
                                                              CaptureSessionPreset preset);

    // Both return when the devices have started or stopped. Once stopRunning() returns no new
    // sample is produced; samples already queued still reach the delegates.
    void startRunning();
    void stopRunning();
    bool isRunning() const;

    // Called after the session stops running, on the thread that stopped it.
    ObserverToken addDidStopRunningObserver(Observer observer);
    void removeDidStopRunningObserver(ObserverToken token);

  private:
    struct Route {
        const CaptureDevice* device;
        std::shared_ptr<CaptureConnection> connection;
        std::shared_ptr<CaptureOutput> output;
    };
    // What the devices' threads read to send a sample on: replaced whole on every change.
    struct Router {
        std::mutex mutex;  // guards routes
        std::shared_ptr<const std::vector<Route>> routes;
        std::shared_ptr<const std::vector<Route>> current();
    };

    bool canAddInputLocked(const std::shared_ptr<CaptureDeviceInput>& input) const;
    bool canAddOutputLocked(const std::shared_ptr<CaptureOutput>& output) const;
    std::shared_ptr<CaptureDevice> cameraLocked() const;
    void applyPresetLocked(CaptureDevice& camera);
    void connectLocked(const std::shared_ptr<CaptureDeviceInput>& input,
                       const std::shared_ptr<CaptureOutput>& output);
    void disconnectLocked(const std::function<bool(const CaptureConnection&)>& which);
    // Applies the configuration now unless a configuration is open.
    void changedLocked();
    // Publishes the routes and starts or stops the devices to match.
    void applyLocked();
    CaptureDevice::SampleSink sinkFor(const CaptureDevice* device) const;

    mutable std::mutex _mutex;  // guards everything below
    int _configurationDepth = 0;
    bool _running = false;
    CaptureSessionPreset _preset = CaptureSessionPreset::InputPriority;
    std::vector<std::shared_ptr<CaptureDeviceInput>> _inputs;
    std::vector<std::shared_ptr<CaptureOutput>> _outputs;
    std::vector<std::shared_ptr<CaptureConnection>> _connections;
    std::set<std::shared_ptr<CaptureDevice>> _startedDevices;
    std::map<ObserverToken, Observer> _observers;
    ObserverToken _nextToken = 1;
    const std::shared_ptr<Router> _router;
};

}  // namespace orvane::platform
