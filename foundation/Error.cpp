#include "foundation/Error.h"

namespace orvane::foundation {

std::string Error::message() const {
    std::string text = domain + " " + std::to_string(code) + ": " + description;
    if (!failureReason.empty()) {
        text += " (" + failureReason + ")";
    }
    return text;
}

}  // namespace orvane::foundation
