// The online geocoder: a Nominatim-compatible service's reverse geocoding over HTTP, off until
// the user gives its base URL.
#pragma once

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "foundation/DispatchQueue.h"
#include "foundation/thread_annotations.h"
#include "platform/geocoding/Geocoder.h"

namespace orvane::platform {

struct NominatimOptions {
    std::string baseUrl;  // "https://nominatim.example" or with a path; empty: off
    std::string contact;  // an e-mail address or URL for the User-Agent
    std::string languageCode;
    double timeoutSeconds = 10;
};

// Placemarks from the service's jsonv2 answer, mapped field by field; errors for an HTTP
// status other than 200, a failed transfer or timeout, an answer that is not JSON and the
// service's own {"error": ...}. One request at a time: a request while one is under way is
// answered at once with an error, not queued. Requests run on the geocoder's own thread;
// completions on `callbackQueue`. Destroying the geocoder abandons a request under way, whose
// completion then never runs.
class NominatimGeocoder final : public Geocoder {
  public:
    static constexpr const char* kErrorDomain = "Orvane.Geocoder";
    enum ErrorCode : std::int64_t {
        kNotConfigured = 1,
        kBusy = 2,
        kTransferFailed = 3,
        kTimedOut = 4,
        kBadAnswer = 5,
        kServiceError = 6,
        // An HTTP status other than 200 is its own code (404, 500...).
    };

    NominatimGeocoder(NominatimOptions options,
                      std::shared_ptr<foundation::DispatchQueue> callbackQueue);
    ~NominatimGeocoder() override;
    NominatimGeocoder(const NominatimGeocoder&) = delete;
    NominatimGeocoder& operator=(const NominatimGeocoder&) = delete;

    void reverseGeocodeLocation(const Location& location, Completion completion) override;
    std::string description() const override;

    // The request's URL for a position (exposed for the command line's messages and tests).
    std::string requestUrl(const Location& location) const;
    std::string userAgent() const;

  private:
    struct Job {
        Location location;
        Completion completion;
    };

    void run();  // the worker thread
    void finish(Completion completion, std::vector<Placemark> placemarks,
                std::optional<foundation::Error> error);

    const NominatimOptions _options;
    const std::shared_ptr<foundation::DispatchQueue> _callbackQueue;
    std::atomic<bool> _busy{false};
    std::atomic<bool> _stopping{false};
    std::mutex _mutex;
    std::condition_variable _wake;
    std::optional<Job> _job GUARDED_BY(_mutex);
    std::thread _worker;
};

}  // namespace orvane::platform
