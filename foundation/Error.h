// An error object that travels through delegate calls: domain, code and the two texts a
// person may be shown.
#pragma once

#include <cstdint>
#include <string>

namespace orvane::foundation {

struct Error {
    std::string domain;
    std::int64_t code = 0;
    std::string description;    // the localized description, shown as the alert's title
    std::string failureReason;  // why it failed; may be empty

    // One line for logs: "domain code: description (failure reason)".
    std::string message() const;
};

}  // namespace orvane::foundation
