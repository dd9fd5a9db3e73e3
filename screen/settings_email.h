// The e-mail screen's accessors to the settings store: whether a photo is mailed after capture,
// and the message's target, subject and body.
#pragma once

#include <optional>
#include <string>

#include "platform/settings/UserDefaults.h"

namespace orvane::screen {

class EmailPhotoViewControllerStore {
  public:
    explicit EmailPhotoViewControllerStore(platform::UserDefaults& defaults) : _d(defaults) {}

    bool isEmailAfterPhotoTaken() const;
    void SetEmailAfterPhotoTaken(bool value);
    bool isPutAddressInSubject() const;
    void SetPutAddressInSubject(bool value);
    std::optional<std::string> getEmailTarget() const;
    void setEmailTarget(std::optional<std::string> target);
    std::optional<std::string> getEmailSubject() const;
    void setEmailSubject(std::optional<std::string> subject);
    std::optional<std::string> getEmailContent() const;
    void setEmailContent(std::optional<std::string> content);

  private:
    platform::UserDefaults& _d;
};

}  // namespace orvane::screen
