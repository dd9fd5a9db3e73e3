// One blocking HTTP GET through libcurl, for the platform's online services.
#pragma once

#include <atomic>
#include <optional>
#include <string>
#include <vector>

namespace orvane::platform {

struct HttpRequest {
    std::string url;
    std::vector<std::string> headers;  // "Name: value"
    std::string userAgent;
    double timeoutSeconds = 10;
    // Set from another thread to abandon the transfer early (the owner is going away).
    const std::atomic<bool>* cancel = nullptr;
};

struct HttpResponse {
    long status = 0;  // 0 when no answer came
    std::string body;
    // Set when the transfer failed: what went wrong, in a sentence.
    std::optional<std::string> failure;
    bool timedOut = false;
    bool cancelled = false;
};

// Runs on the calling thread until the answer, a failure, the timeout or a cancel. Answers of
// any status are answers; a body larger than `kMaxBody` is a failure.
HttpResponse httpGet(const HttpRequest& request);

// Percent-encodes a query parameter's value.
std::string urlEncoded(const std::string& text);

inline constexpr std::size_t kMaxBody = 4 * 1024 * 1024;

}  // namespace orvane::platform
