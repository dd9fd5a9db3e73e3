// One input's encoding thread: jobs arrive through a small bounded queue, so the thread that
// posts never waits for the encoder; a full queue is the input's "not ready".
#pragma once

#include <pthread.h>

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

namespace orvane::platform::ffmpeg {

template <typename Job>
class EncoderWorker {
  public:
    using Handler = std::function<void(Job&)>;

    // Starts the thread; `handler` runs each job on it, in posting order.
    EncoderWorker(std::string name, std::size_t capacity, Handler handler)
        : _capacity(capacity), _handler(std::move(handler)) {
        _thread = std::thread([this, name = std::move(name)] {
            pthread_setname_np(pthread_self(), name.substr(0, 15).c_str());
            run();
        });
    }
    EncoderWorker(const EncoderWorker&) = delete;
    EncoderWorker& operator=(const EncoderWorker&) = delete;
    ~EncoderWorker() { finish(); }

    // Whether a post now would be taken. Safe from any thread.
    bool hasRoom() const {
        std::lock_guard lock(_mutex);
        return !_stopping && _jobs.size() + (_busy ? 1 : 0) < _capacity;
    }

    // Queues the job, or answers false when the queue is full or finishing. Never waits.
    bool tryPost(Job job) {
        {
            std::lock_guard lock(_mutex);
            if (_stopping || _jobs.size() + (_busy ? 1 : 0) >= _capacity) {
                return false;
            }
            _jobs.push_back(std::move(job));
        }
        _wake.notify_one();
        return true;
    }

    // Runs every job already posted, then ends the thread. Later posts are refused.
    void finish() {
        {
            std::lock_guard lock(_mutex);
            _stopping = true;
        }
        _wake.notify_one();
        if (_thread.joinable()) {
            _thread.join();
        }
    }

  private:
    void run() {
        std::unique_lock lock(_mutex);
        for (;;) {
            _wake.wait(lock, [this] { return _stopping || !_jobs.empty(); });
            if (_jobs.empty()) {
                return;
            }
            Job job = std::move(_jobs.front());
            _jobs.pop_front();
            _busy = true;
            lock.unlock();
            _handler(job);
            lock.lock();
            _busy = false;
        }
    }

    const std::size_t _capacity;
    const Handler _handler;
    mutable std::mutex _mutex;  // guards _jobs, _busy and _stopping
    std::condition_variable _wake;
    std::deque<Job> _jobs;
    bool _busy = false;
    bool _stopping = false;
    std::thread _thread;
};

}  // namespace orvane::platform::ffmpeg
