#include "screen/settings_email.h"

namespace orvane::screen {

bool EmailPhotoViewControllerStore::isEmailAfterPhotoTaken() const {
    return _d.boolForKey("EmailAfterPhotoTaken");
}

void EmailPhotoViewControllerStore::SetEmailAfterPhotoTaken(bool value) {
    _d.setBool("EmailAfterPhotoTaken", value);
}

bool EmailPhotoViewControllerStore::isPutAddressInSubject() const {
    return _d.boolForKey("PutAddressInSubject");
}

void EmailPhotoViewControllerStore::SetPutAddressInSubject(bool value) {
    _d.setBool("PutAddressInSubject", value);
}

std::optional<std::string> EmailPhotoViewControllerStore::getEmailTarget() const {
    return _d.stringForKey("EmailTarget");
}

void EmailPhotoViewControllerStore::setEmailTarget(std::optional<std::string> target) {
    _d.setString("EmailTarget", std::move(target));
}

std::optional<std::string> EmailPhotoViewControllerStore::getEmailSubject() const {
    return _d.stringForKey("EmailSubject");
}

void EmailPhotoViewControllerStore::setEmailSubject(std::optional<std::string> subject) {
    _d.setString("EmailSubject", std::move(subject));
}

std::optional<std::string> EmailPhotoViewControllerStore::getEmailContent() const {
    return _d.stringForKey("EmailContent");
}

void EmailPhotoViewControllerStore::setEmailContent(std::optional<std::string> content) {
    _d.setString("EmailContent", std::move(content));
}

}  // namespace orvane::screen
