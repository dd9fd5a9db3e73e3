// SIGINT and SIGTERM handed to the program's own code: the handler only writes to a pipe, and a
// thread that reads it calls the action, since nothing else is safe inside a handler. The old
// handlers come back when the watcher goes.
#pragma once

#include <csignal>
#include <functional>
#include <thread>

namespace orvane::app {

class InterruptWatcher {
  public:
    // `onInterrupt` runs on the watcher's thread, once per signal.
    explicit InterruptWatcher(std::function<void()> onInterrupt);
    ~InterruptWatcher();
    InterruptWatcher(const InterruptWatcher&) = delete;
    InterruptWatcher& operator=(const InterruptWatcher&) = delete;

  private:
    int _pipe[2] = {-1, -1};
    struct sigaction _oldInt {};
    struct sigaction _oldTerm {};
    std::thread _thread;
};

}  // namespace orvane::app
