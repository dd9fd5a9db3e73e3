// The online geocoder: the request's URL and headers, and the worker thread that runs one
// request at a time.
#include "platform/geocoding/NominatimGeocoder.h"

#include <cstdio>

#include "platform/geocoding/http_client.h"
#include "platform/geocoding/nominatim_answer.h"

namespace orvane::platform {
namespace {

foundation::Error makeError(std::int64_t code, std::string description,
                            std::string failureReason = {}) {
    return {NominatimGeocoder::kErrorDomain, code, std::move(description),
            std::move(failureReason)};
}

}  // namespace

NominatimGeocoder::NominatimGeocoder(NominatimOptions options,
                                     std::shared_ptr<foundation::DispatchQueue> callbackQueue)
    : _options(std::move(options)), _callbackQueue(std::move(callbackQueue)) {
    _worker = std::thread([this] { run(); });
}

NominatimGeocoder::~NominatimGeocoder() {
    {
        std::lock_guard lock(_mutex);
        _stopping = true;
    }
    _wake.notify_all();
    _worker.join();
}

std::string NominatimGeocoder::description() const {
    return _options.baseUrl.empty() ? std::string("online geocoder (off)") : _options.baseUrl;
}

std::string NominatimGeocoder::userAgent() const {
    std::string agent = "Orvane/" ORVANE_VERSION;
    if (!_options.contact.empty())
        agent += " (" + _options.contact + ")";
    return agent;
}

std::string NominatimGeocoder::requestUrl(const Location& location) const {
    std::string base = _options.baseUrl;
    while (!base.empty() && base.back() == '/')
        base.pop_back();
    char coordinates[96];
    std::snprintf(coordinates, sizeof coordinates, "lat=%.7f&lon=%.7f",
                  location.coordinate().latitude, location.coordinate().longitude);
    std::string url = base + "/reverse?format=jsonv2&" + coordinates + "&addressdetails=1&zoom=18";
    if (!_options.languageCode.empty()) {
        url += "&accept-language=" + urlEncoded(_options.languageCode);
    }
    return url;
}

void NominatimGeocoder::reverseGeocodeLocation(const Location& location, Completion completion) {
    if (_options.baseUrl.empty()) {
        finish(std::move(completion), {},
               makeError(kNotConfigured, "The online geocoder is off",
                         "no base URL is set (GeocoderURL)"));
        return;
    }
    if (_busy.exchange(true)) {
        finish(std::move(completion), {},
               makeError(kBusy, "A geocoding request is already under way",
                         "one request at a time; try again when it has ended"));
        return;
    }
    {
        std::lock_guard lock(_mutex);
        _job = Job{location, std::move(completion)};
    }
    _wake.notify_all();
}

void NominatimGeocoder::finish(Completion completion, std::vector<Placemark> placemarks,
                               std::optional<foundation::Error> error) {
    _callbackQueue->async([completion = std::move(completion), placemarks = std::move(placemarks),
                           error = std::move(error)]() mutable {
        completion(std::move(placemarks), std::move(error));
    });
}

void NominatimGeocoder::run() {
    for (;;) {
        Job job;
        {
            std::unique_lock lock(_mutex);
            _wake.wait(lock, [this] { return _stopping.load() || _job.has_value(); });
            if (_stopping)
                return;
            job = std::move(*_job);
            _job.reset();
        }
        HttpRequest request;
        request.url = requestUrl(job.location);
        request.userAgent = userAgent();
        request.timeoutSeconds = _options.timeoutSeconds;
        request.cancel = &_stopping;
        request.headers.push_back("Accept: application/json");
        if (!_options.languageCode.empty()) {
            request.headers.push_back("Accept-Language: " + _options.languageCode);
        }
        const HttpResponse response = httpGet(request);
        if (response.cancelled)
            return;  // the geocoder is going away

        std::vector<Placemark> placemarks;
        std::optional<foundation::Error> error;
        if (response.timedOut) {
            char seconds[32];
            std::snprintf(seconds, sizeof seconds, "%g", _options.timeoutSeconds);
            error = makeError(
                kTimedOut,
                std::string("The geocoding service did not answer within ") + seconds + " seconds",
                _options.baseUrl);
        } else if (response.failure) {
            error = makeError(kTransferFailed, "The geocoding service could not be reached",
                              *response.failure);
        } else if (response.status != 200) {
            error =
                makeError(response.status,
                          "The geocoding service answered HTTP " + std::to_string(response.status),
                          nominatimExcerpt(response.body));
        } else {
            placemarks = placemarksFromNominatim(response.body, _options.languageCode, error);
        }
        // Free for the next request before the completion runs, so it may ask again.
        _busy = false;
        finish(std::move(job.completion), std::move(placemarks), std::move(error));
    }
}

}  // namespace orvane::platform
