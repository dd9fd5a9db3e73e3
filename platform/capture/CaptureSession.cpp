#include "platform/capture/CaptureSession.h"

#include <algorithm>
#include <typeinfo>

#include "foundation/exceptions.h"
#include "foundation/log.h"

namespace orvane::platform {
namespace {

std::int64_t area(const CaptureDeviceFormat& format) {
    const auto size = format.dimensions();
    return static_cast<std::int64_t>(size.width) * size.height;
}

bool isFourByThree(const CaptureDeviceFormat& format) {
    const auto size = format.dimensions();
    return static_cast<std::int64_t>(size.width) * 3 == static_cast<std::int64_t>(size.height) * 4;
}

std::optional<VideoDimensions> presetDimensions(CaptureSessionPreset preset) {
    switch (preset) {
        case CaptureSessionPreset::Preset640x480:
            return VideoDimensions{640, 480};
        case CaptureSessionPreset::iFrame960x540:
            return VideoDimensions{960, 540};
        case CaptureSessionPreset::Preset1280x720:
            return VideoDimensions{1280, 720};
        case CaptureSessionPreset::Preset1920x1080:
            return VideoDimensions{1920, 1080};
        case CaptureSessionPreset::Preset3840x2160:
            return VideoDimensions{3840, 2160};
        case CaptureSessionPreset::InputPriority:
        case CaptureSessionPreset::Photo:
            break;
    }
    return std::nullopt;
}

}  // namespace

const char* captureSessionPresetName(CaptureSessionPreset preset) {
    switch (preset) {
        case CaptureSessionPreset::InputPriority:
            return "InputPriority";
        case CaptureSessionPreset::Photo:
            return "Photo";
        case CaptureSessionPreset::Preset640x480:
            return "640x480";
        case CaptureSessionPreset::iFrame960x540:
            return "iFrame960x540";
        case CaptureSessionPreset::Preset1280x720:
            return "1280x720";
        case CaptureSessionPreset::Preset1920x1080:
            return "1920x1080";
        case CaptureSessionPreset::Preset3840x2160:
            return "3840x2160";
    }
    return "Unknown";
}

CaptureDeviceInput::CaptureDeviceInput(std::shared_ptr<CaptureDevice> device)
    : _device(std::move(device)) {}

CaptureDeviceInput::Result CaptureDeviceInput::deviceInputWithDevice(
    std::shared_ptr<CaptureDevice> device) {
    if (!device) {
        return {nullptr, foundation::Error{kCaptureErrorDomain, kCaptureErrorDeviceNotConnected,
                                           "Cannot use the device", "There is no such device."}};
    }
    if (!device->isConnected()) {
        return {nullptr, foundation::Error{kCaptureErrorDomain, kCaptureErrorDeviceNotConnected,
                                           "Cannot use " + device->localizedName(),
                                           "The device is not connected."}};
    }
    return {std::shared_ptr<CaptureDeviceInput>(new CaptureDeviceInput(std::move(device))),
            std::nullopt};
}

std::shared_ptr<const std::vector<CaptureSession::Route>> CaptureSession::Router::current() {
    std::lock_guard lock(mutex);
    return routes;
}

CaptureSession::CaptureSession() : _router(std::make_shared<Router>()) {}

CaptureSession::~CaptureSession() {
    std::lock_guard lock(_mutex);
    for (const auto& device : _startedDevices) {
        device->stop();
    }
    disconnectLocked([](const CaptureConnection&) { return true; });
    for (const auto& input : _inputs) {
        input->_session.store(nullptr);
    }
    for (const auto& output : _outputs) {
        output->_session.store(nullptr);
    }
}

void CaptureSession::beginConfiguration() {
    std::lock_guard lock(_mutex);
    ++_configurationDepth;
}

void CaptureSession::commitConfiguration() {
    std::lock_guard lock(_mutex);
    if (_configurationDepth == 0) {
        foundation::log("commitConfiguration without beginConfiguration");
        return;
    }
    --_configurationDepth;
    changedLocked();
}

bool CaptureSession::canAddInput(const std::shared_ptr<CaptureDeviceInput>& input) const {
    std::lock_guard lock(_mutex);
    return canAddInputLocked(input);
}

bool CaptureSession::canAddInputLocked(const std::shared_ptr<CaptureDeviceInput>& input) const {
    if (!input || input->_session.load() != nullptr) {
        return false;
    }
    for (const auto& present : _inputs) {
        if (present->device() == input->device() || present->mediaType() == input->mediaType()) {
            return false;
        }
    }
    if (input->mediaType() == kCMMediaType_Video &&
        !formatForPreset(*input->device(), _preset).has_value()) {
        return false;
    }
    return true;
}

void CaptureSession::addInput(const std::shared_ptr<CaptureDeviceInput>& input) {
    std::lock_guard lock(_mutex);
    if (!canAddInputLocked(input)) {
        throw foundation::InvalidArgumentException("The session cannot take this input");
    }
    input->_session.store(this);
    _inputs.push_back(input);
    if (input->mediaType() == kCMMediaType_Video) {
        applyPresetLocked(*input->device());
    }
    for (const auto& output : _outputs) {
        connectLocked(input, output);
    }
    changedLocked();
}

void CaptureSession::removeInput(const std::shared_ptr<CaptureDeviceInput>& input) {
    std::lock_guard lock(_mutex);
    const auto found = std::find(_inputs.begin(), _inputs.end(), input);
    if (found == _inputs.end()) {
        return;
    }
    disconnectLocked(
        [&](const CaptureConnection& connection) { return connection.input() == input; });
    _inputs.erase(found);
    input->_session.store(nullptr);
    changedLocked();
}

std::vector<std::shared_ptr<CaptureDeviceInput>> CaptureSession::inputs() const {
    std::lock_guard lock(_mutex);
    return _inputs;
}

bool CaptureSession::canAddOutput(const std::shared_ptr<CaptureOutput>& output) const {
    std::lock_guard lock(_mutex);
    return canAddOutputLocked(output);
}

bool CaptureSession::canAddOutputLocked(const std::shared_ptr<CaptureOutput>& output) const {
    if (!output || output->_session.load() != nullptr) {
        return false;
    }
    const CaptureOutput& adding = *output;  // typeid of a call would evaluate it unseen
    const auto& kind = typeid(adding);
    return std::none_of(_outputs.begin(), _outputs.end(),
                        [&](const auto& present) { return typeid(*present) == kind; });
}

void CaptureSession::addOutput(const std::shared_ptr<CaptureOutput>& output) {
    std::lock_guard lock(_mutex);
    if (!canAddOutputLocked(output)) {
        throw foundation::InvalidArgumentException("The session cannot take this output");
    }
    output->_session.store(this);
    _outputs.push_back(output);
    for (const auto& input : _inputs) {
        connectLocked(input, output);
    }
    changedLocked();
}

void CaptureSession::removeOutput(const std::shared_ptr<CaptureOutput>& output) {
    std::lock_guard lock(_mutex);
    const auto found = std::find(_outputs.begin(), _outputs.end(), output);
    if (found == _outputs.end()) {
        return;
    }
    disconnectLocked(
        [&](const CaptureConnection& connection) { return &connection.output() == output.get(); });
    _outputs.erase(found);
    output->_session.store(nullptr);
    changedLocked();
}

std::vector<std::shared_ptr<CaptureOutput>> CaptureSession::outputs() const {
    std::lock_guard lock(_mutex);
    return _outputs;
}

std::optional<CaptureDeviceFormat> CaptureSession::formatForPreset(const CaptureDevice& device,
                                                                   CaptureSessionPreset preset) {
    if (!device.hasMediaType(kCMMediaType_Video)) {
        return std::nullopt;
    }
    const auto& formats = device.formats();
    if (preset == CaptureSessionPreset::InputPriority) {
        return device.activeFormat();
    }
    if (preset == CaptureSessionPreset::Photo) {
        const CaptureDeviceFormat* best = nullptr;
        for (const auto& format : formats) {
            if (best == nullptr || (isFourByThree(format) && !isFourByThree(*best)) ||
                (isFourByThree(format) == isFourByThree(*best) && area(format) > area(*best))) {
                best = &format;
            }
        }
        return *best;
    }
    // Of the formats of the preset's size, the first that runs at 30 frames a second, since
    // that is the rate a preset starts at.
    const auto size = *presetDimensions(preset);
    const CaptureDeviceFormat* ofSize = nullptr;
    for (const auto& format : formats) {
        if (format.dimensions() != size) {
            continue;
        }
        if (format.defaultFrameDuration() == MediaTime::make(1, 30)) {
            return format;
        }
        if (ofSize == nullptr) {
            ofSize = &format;
        }
    }
    return ofSize != nullptr ? std::optional(*ofSize) : std::nullopt;
}

bool CaptureSession::canSetSessionPreset(CaptureSessionPreset preset) const {
    std::lock_guard lock(_mutex);
    const auto camera = cameraLocked();
    return !camera || formatForPreset(*camera, preset).has_value();
}

void CaptureSession::setSessionPreset(CaptureSessionPreset preset) {
    std::lock_guard lock(_mutex);
    const auto camera = cameraLocked();
    if (camera && !formatForPreset(*camera, preset)) {
        throw foundation::InvalidArgumentException(std::string("The camera has no format for ") +
                                                   captureSessionPresetName(preset));
    }
    _preset = preset;
    if (camera) {
        applyPresetLocked(*camera);
    }
}

CaptureSessionPreset CaptureSession::sessionPreset() const {
    std::lock_guard lock(_mutex);
    return _preset;
}

std::shared_ptr<CaptureDevice> CaptureSession::cameraLocked() const {
    for (const auto& input : _inputs) {
        if (input->mediaType() == kCMMediaType_Video) {
            return input->device();
        }
    }
    return nullptr;
}

void CaptureSession::applyPresetLocked(CaptureDevice& camera) {
    if (_preset == CaptureSessionPreset::InputPriority) {
        return;
    }
    const auto format = formatForPreset(camera, _preset);
    if (!format) {
        return;
    }
    if (const auto error = camera.lockForConfiguration()) {
        foundation::log("preset %s not applied: %s", captureSessionPresetName(_preset),
                        error->message().c_str());
        return;
    }
    camera.setActiveFormat(*format);
    camera.unlockForConfiguration();
}

void CaptureSession::connectLocked(const std::shared_ptr<CaptureDeviceInput>& input,
                                   const std::shared_ptr<CaptureOutput>& output) {
    if (input->mediaType() != output->mediaType()) {
        return;
    }
    auto connection = std::make_shared<CaptureConnection>(CaptureConnection::Key{},
                                                          input->mediaType(), input, *output);
    {
        std::lock_guard lock(output->_mutex);
        output->_connections.push_back(connection);
    }
    _connections.push_back(std::move(connection));
}

void CaptureSession::disconnectLocked(const std::function<bool(const CaptureConnection&)>& which) {
    std::erase_if(_connections, [&](const std::shared_ptr<CaptureConnection>& connection) {
        if (!which(*connection)) {
            return false;
        }
        connection->deactivate(CaptureConnection::Key{});
        auto& output = connection->output();
        std::lock_guard lock(output._mutex);
        std::erase(output._connections, connection);
        return true;
    });
}

void CaptureSession::changedLocked() {
    if (_configurationDepth == 0) {
        applyLocked();
    }
}

void CaptureSession::applyLocked() {
    auto routes = std::make_shared<std::vector<Route>>();
    std::set<std::shared_ptr<CaptureDevice>> wanted;
    for (const auto& connection : _connections) {
        const auto& device = connection->input()->device();
        routes->push_back({device.get(), connection, connection->output().shared_from_this()});
        if (_running) {
            wanted.insert(device);
        }
    }
    {
        std::lock_guard lock(_router->mutex);
        _router->routes = std::move(routes);
    }
    for (auto it = _startedDevices.begin(); it != _startedDevices.end();) {
        if (wanted.contains(*it)) {
            ++it;
        } else {
            (*it)->stop();
            it = _startedDevices.erase(it);
        }
    }
    for (const auto& device : wanted) {
        if (_startedDevices.insert(device).second) {
            device->start(sinkFor(device.get()));
        }
    }
}

CaptureDevice::SampleSink CaptureSession::sinkFor(const CaptureDevice* device) const {
    return [router = _router, device](SampleBufferRef sample) {
        const auto routes = router->current();
        if (!routes) {
            return;
        }
        for (const auto& route : *routes) {
            if (route.device == device && route.connection->isEnabled()) {
                route.output->deliver(sample, route.connection);
            }
        }
    };
}

void CaptureSession::startRunning() {
    std::lock_guard lock(_mutex);
    if (_running) {
        return;
    }
    _running = true;
    changedLocked();
}

void CaptureSession::stopRunning() {
    std::vector<Observer> observers;
    {
        std::lock_guard lock(_mutex);
        if (!_running) {
            return;
        }
        _running = false;
        for (const auto& device : _startedDevices) {
            device->stop();
        }
        _startedDevices.clear();
        for (const auto& [token, observer] : _observers) {
            observers.push_back(observer);
        }
    }
    for (const auto& observer : observers) {
        observer();
    }
}

bool CaptureSession::isRunning() const {
    std::lock_guard lock(_mutex);
    return _running;
}

CaptureSession::ObserverToken CaptureSession::addDidStopRunningObserver(Observer observer) {
    std::lock_guard lock(_mutex);
    const auto token = _nextToken++;
    _observers.emplace(token, std::move(observer));
    return token;
}

void CaptureSession::removeDidStopRunningObserver(ObserverToken token) {
    std::lock_guard lock(_mutex);
    _observers.erase(token);
}

}  // namespace orvane::platform
