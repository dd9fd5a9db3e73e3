// libcurl behind RAII handles: one easy handle per request, a header list freed with it, and a
// process-wide global init done once.
#include "platform/geocoding/http_client.h"

#include <curl/curl.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <memory>
#include <mutex>

namespace orvane::platform {
namespace {

struct EasyDeleter {
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
};
struct ListDeleter {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
using EasyHandle = std::unique_ptr<CURL, EasyDeleter>;
using HeaderList = std::unique_ptr<curl_slist, ListDeleter>;

// curl_global_init is not thread-safe with itself; it runs once, before the first handle.
void initialiseCurlOnce() {
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

struct Transfer {
    std::string body;
    bool tooLarge = false;
    const std::atomic<bool>* cancel = nullptr;
};

size_t appendBody(char* data, size_t size, size_t count, void* user) {
    auto* transfer = static_cast<Transfer*>(user);
    const size_t bytes = size * count;
    if (transfer->body.size() + bytes > kMaxBody) {
        transfer->tooLarge = true;
        return 0;  // curl stops with a write error
    }
    transfer->body.append(data, bytes);
    return bytes;
}

int checkCancel(void* user, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
    const auto* transfer = static_cast<const Transfer*>(user);
    return transfer->cancel != nullptr && transfer->cancel->load() ? 1 : 0;
}

}  // namespace

std::string urlEncoded(const std::string& text) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    std::string out;
    for (unsigned char c : text) {
        if (std::isalnum(c) || c == '-' || c == '_' || c == '.' || c == '~') {
            out += static_cast<char>(c);
        } else {
            out += '%';
            out += kHex[c >> 4];
            out += kHex[c & 15];
        }
    }
    return out;
}

HttpResponse httpGet(const HttpRequest& request) {
    initialiseCurlOnce();
    HttpResponse response;
    EasyHandle easy(curl_easy_init());
    if (!easy) {
        response.failure = "libcurl could not start a transfer";
        return response;
    }
    HeaderList headers;
    for (const auto& header : request.headers) {
        curl_slist* grown = curl_slist_append(headers.get(), header.c_str());
        if (grown == nullptr) {
            response.failure = "libcurl could not hold the request's headers";
            return response;
        }
        headers.release();
        headers.reset(grown);
    }
    Transfer transfer;
    transfer.cancel = request.cancel;
    char errorText[CURL_ERROR_SIZE] = {};
    const long timeoutMs = std::lround(std::max(request.timeoutSeconds, 0.001) * 1000.0);

    CURL* h = easy.get();
    curl_easy_setopt(h, CURLOPT_URL, request.url.c_str());
    curl_easy_setopt(h, CURLOPT_HTTPGET, 1L);
    curl_easy_setopt(h, CURLOPT_USERAGENT, request.userAgent.c_str());
    curl_easy_setopt(h, CURLOPT_HTTPHEADER, headers.get());
    curl_easy_setopt(h, CURLOPT_TIMEOUT_MS, timeoutMs);
    curl_easy_setopt(h, CURLOPT_CONNECTTIMEOUT_MS, timeoutMs);
    curl_easy_setopt(h, CURLOPT_NOSIGNAL, 1L);  // no SIGALRM from a worker thread
    curl_easy_setopt(h, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(h, CURLOPT_MAXREDIRS, 5L);
    curl_easy_setopt(h, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(h, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(h, CURLOPT_ACCEPT_ENCODING, "");  // whatever curl can decode
    curl_easy_setopt(h, CURLOPT_WRITEFUNCTION, appendBody);
    curl_easy_setopt(h, CURLOPT_WRITEDATA, &transfer);
    curl_easy_setopt(h, CURLOPT_XFERINFOFUNCTION, checkCancel);
    curl_easy_setopt(h, CURLOPT_XFERINFODATA, &transfer);
    curl_easy_setopt(h, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(h, CURLOPT_ERRORBUFFER, errorText);

    const CURLcode code = curl_easy_perform(h);
    curl_easy_getinfo(h, CURLINFO_RESPONSE_CODE, &response.status);
    if (code == CURLE_OK) {
        response.body = std::move(transfer.body);
        return response;
    }
    response.timedOut = code == CURLE_OPERATION_TIMEDOUT;
    response.cancelled = code == CURLE_ABORTED_BY_CALLBACK;
    if (transfer.tooLarge) {
        response.failure = "the answer is larger than " + std::to_string(kMaxBody / 1024) + " KiB";
    } else {
        response.failure = errorText[0] != '\0' ? errorText : curl_easy_strerror(code);
    }
    return response;
}

}  // namespace orvane::platform
