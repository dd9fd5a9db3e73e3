#include "app/interrupts.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace orvane::app {

namespace {

volatile int writeEnd = -1;

}  // namespace

InterruptWatcher::InterruptWatcher(std::function<void()> onInterrupt) {
    if (::pipe2(_pipe, O_CLOEXEC) != 0) {
        _pipe[0] = _pipe[1] = -1;
        return;
    }
    writeEnd = _pipe[1];
    struct sigaction action {};
    action.sa_handler = [](int) {
        const char byte = 's';
        [[maybe_unused]] auto written = ::write(writeEnd, &byte, 1);
    };
    sigemptyset(&action.sa_mask);
    ::sigaction(SIGINT, &action, &_oldInt);
    ::sigaction(SIGTERM, &action, &_oldTerm);
    _thread = std::thread([this, onInterrupt = std::move(onInterrupt)] {
        for (;;) {
            char byte = 0;
            const auto got = ::read(_pipe[0], &byte, 1);
            if (got < 0 && errno == EINTR) {
                continue;
            }
            if (got <= 0 || byte != 's') {
                return;
            }
            onInterrupt();
        }
    });
}

InterruptWatcher::~InterruptWatcher() {
    if (_pipe[0] < 0) {
        return;
    }
    ::sigaction(SIGINT, &_oldInt, nullptr);
    ::sigaction(SIGTERM, &_oldTerm, nullptr);
    const char byte = 'e';
    [[maybe_unused]] auto written = ::write(_pipe[1], &byte, 1);
    _thread.join();
    writeEnd = -1;
    ::close(_pipe[0]);
    ::close(_pipe[1]);
}

}  // namespace orvane::app
