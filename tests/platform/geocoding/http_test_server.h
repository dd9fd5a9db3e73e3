// A small HTTP server for tests: plain sockets on 127.0.0.1 with an ephemeral port, one thread
// per connection, answering each GET with what the test's handler returns and recording the
// requests. A reply may be held until the test releases it, to stand for a slow service.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace orvane::testing {

class HttpTestServer {
  public:
    struct Request {
        std::string method;
        std::string path;                            // without the query
        std::string query;                           // after "?", undecoded
        std::map<std::string, std::string> headers;  // lower-case names

        // A query parameter's raw value, or "" when absent.
        std::string parameter(const std::string& name) const {
            std::size_t start = 0;
            while (start <= query.size()) {
                std::size_t end = query.find('&', start);
                if (end == std::string::npos)
                    end = query.size();
                const std::string pair = query.substr(start, end - start);
                const auto equals = pair.find('=');
                if (pair.substr(0, equals) == name) {
                    return equals == std::string::npos ? "" : pair.substr(equals + 1);
                }
                start = end + 1;
            }
            return "";
        }
    };

    struct Reply {
        int status = 200;
        std::string body;
        bool holdUntilReleased = false;
    };

    using Handler = std::function<Reply(const Request&)>;

    explicit HttpTestServer(Handler handler) : _handler(std::move(handler)) {
        _listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = 0;
        socklen_t length = sizeof address;
        if (_listener < 0 ||
            ::bind(_listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
            ::listen(_listener, 8) != 0 ||
            ::getsockname(_listener, reinterpret_cast<sockaddr*>(&address), &length) != 0 ||
            ::pipe(_stopPipe) != 0) {
            throw std::runtime_error("test server: cannot listen on 127.0.0.1");
        }
        _port = ntohs(address.sin_port);
        _acceptor = std::thread([this] { acceptLoop(); });
    }

    ~HttpTestServer() {
        {
            std::lock_guard lock(_mutex);
            _stopping = true;
        }
        _changed.notify_all();
        const char byte = 0;
        [[maybe_unused]] auto written = ::write(_stopPipe[1], &byte, 1);
        _acceptor.join();
        for (auto& connection : _connections)
            connection.join();
        ::close(_listener);
        ::close(_stopPipe[0]);
        ::close(_stopPipe[1]);
    }

    HttpTestServer(const HttpTestServer&) = delete;
    HttpTestServer& operator=(const HttpTestServer&) = delete;

    std::string baseUrl() const { return "http://127.0.0.1:" + std::to_string(_port); }

    std::vector<Request> requests() const {
        std::lock_guard lock(_mutex);
        return _requests;
    }

    // Waits until `count` requests have arrived; false after `timeout`.
    bool waitForRequests(std::size_t count,
                         std::chrono::seconds timeout = std::chrono::seconds(10)) {
        std::unique_lock lock(_mutex);
        return _changed.wait_for(lock, timeout, [&] { return _requests.size() >= count; });
    }

    // Lets every held reply go out.
    void release() {
        {
            std::lock_guard lock(_mutex);
            _released = true;
        }
        _changed.notify_all();
    }

  private:
    void acceptLoop() {
        for (;;) {
            pollfd fds[2] = {{_listener, POLLIN, 0}, {_stopPipe[0], POLLIN, 0}};
            if (::poll(fds, 2, -1) < 0)
                continue;
            if (fds[1].revents != 0)
                return;
            const int connection = ::accept4(_listener, nullptr, nullptr, SOCK_CLOEXEC);
            if (connection < 0)
                continue;
            _connections.emplace_back([this, connection] { serve(connection); });
        }
    }

    void serve(int connection) {
        std::string received;
        char buffer[4096];
        while (received.find("\r\n\r\n") == std::string::npos) {
            const ssize_t n = ::read(connection, buffer, sizeof buffer);
            if (n <= 0)
                break;
            received.append(buffer, static_cast<std::size_t>(n));
        }
        const Request request = parse(received);
        const Reply reply = _handler(request);
        {
            std::unique_lock lock(_mutex);
            _requests.push_back(request);
            _changed.notify_all();
            if (reply.holdUntilReleased) {
                _changed.wait(lock, [this] { return _released || _stopping; });
            }
        }
        std::string answer = "HTTP/1.1 " + std::to_string(reply.status) +
                             " Test\r\nContent-Type: application/json\r\nContent-Length: " +
                             std::to_string(reply.body.size()) + "\r\nConnection: close\r\n\r\n" +
                             reply.body;
        std::size_t sent = 0;
        while (sent < answer.size()) {
            const ssize_t n =
                ::send(connection, answer.data() + sent, answer.size() - sent, MSG_NOSIGNAL);
            if (n <= 0)
                break;
            sent += static_cast<std::size_t>(n);
        }
        ::close(connection);
    }

    static Request parse(const std::string& text) {
        Request request;
        std::size_t lineEnd = text.find("\r\n");
        const std::string first = text.substr(0, lineEnd);
        const auto space1 = first.find(' ');
        const auto space2 = first.find(' ', space1 + 1);
        request.method = first.substr(0, space1);
        const std::string target = first.substr(space1 + 1, space2 - space1 - 1);
        const auto question = target.find('?');
        request.path = target.substr(0, question);
        if (question != std::string::npos)
            request.query = target.substr(question + 1);
        while (lineEnd != std::string::npos) {
            const std::size_t start = lineEnd + 2;
            lineEnd = text.find("\r\n", start);
            const std::string line = text.substr(start, lineEnd - start);
            const auto colon = line.find(':');
            if (line.empty() || colon == std::string::npos)
                continue;
            std::string name = line.substr(0, colon);
            std::transform(name.begin(), name.end(), name.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
            std::size_t valueStart = colon + 1;
            while (valueStart < line.size() && line[valueStart] == ' ')
                ++valueStart;
            request.headers[name] = line.substr(valueStart);
        }
        return request;
    }

    Handler _handler;
    int _listener = -1;
    int _stopPipe[2] = {-1, -1};
    unsigned short _port = 0;
    std::thread _acceptor;
    std::vector<std::thread> _connections;  // touched by the acceptor only, then the destructor
    mutable std::mutex _mutex;
    std::condition_variable _changed;
    std::vector<Request> _requests;
    bool _released = false;
    bool _stopping = false;
};

}  // namespace orvane::testing
