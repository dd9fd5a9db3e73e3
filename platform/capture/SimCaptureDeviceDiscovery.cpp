#include "platform/capture/SimCaptureDeviceDiscovery.h"

namespace orvane::platform {

SimCaptureDeviceDiscovery::SimCaptureDeviceDiscovery(foundation::Clock& clock)
    : _back(std::make_shared<SyntheticCamera>("sim:camera:back", "Synthetic Back Camera",
                                              CaptureDevicePosition::Back, clock)),
      _front(std::make_shared<SyntheticCamera>("sim:camera:front", "Synthetic Front Camera",
                                               CaptureDevicePosition::Front, clock)),
      _microphone(
          std::make_shared<SyntheticMicrophone>("sim:microphone", "Synthetic Microphone", clock)) {}

std::vector<std::shared_ptr<CaptureDevice>> SimCaptureDeviceDiscovery::devicesWithMediaType(
    CMMediaType mediaType) const {
    if (mediaType == kCMMediaType_Video) {
        return {_back, _front};
    }
    if (mediaType == kCMMediaType_Audio) {
        return {_microphone};
    }
    return {};
}

}  // namespace orvane::platform
