// The devices of a machine without any: a synthetic back camera, a synthetic front camera and
// a synthetic microphone, all paced by one clock.
#pragma once

#include <memory>
#include <vector>

#include "foundation/Clock.h"
#include "platform/capture/CaptureDevice.h"
#include "platform/capture/SyntheticCamera.h"
#include "platform/capture/SyntheticMicrophone.h"

namespace orvane::platform {

class SimCaptureDeviceDiscovery final : public CaptureDeviceDiscovery {
  public:
    explicit SimCaptureDeviceDiscovery(foundation::Clock& clock);

    // Cameras back then front; the microphone.
    std::vector<std::shared_ptr<CaptureDevice>> devicesWithMediaType(
        CMMediaType mediaType) const override;

    const std::shared_ptr<SyntheticCamera>& backCamera() const { return _back; }
    const std::shared_ptr<SyntheticCamera>& frontCamera() const { return _front; }
    const std::shared_ptr<SyntheticMicrophone>& microphone() const { return _microphone; }

  private:
    const std::shared_ptr<SyntheticCamera> _back;
    const std::shared_ptr<SyntheticCamera> _front;
    const std::shared_ptr<SyntheticMicrophone> _microphone;
};

}  // namespace orvane::platform
