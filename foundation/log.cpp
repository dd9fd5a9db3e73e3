#include "foundation/log.h"

#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <vector>

namespace orvane::foundation {

namespace {

std::mutex& sinkMutex() {
    static std::mutex mutex;
    return mutex;
}

LogSink& currentSink() {
    static LogSink sink;
    return sink;
}

}  // namespace

void log(const char* format, ...) {
    va_list args;
    va_start(args, format);
    va_list copy;
    va_copy(copy, args);
    const int length = std::vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    std::string line;
    if (length > 0) {
        std::vector<char> buffer(static_cast<size_t>(length) + 1);
        std::vsnprintf(buffer.data(), buffer.size(), format, args);
        line.assign(buffer.data(), static_cast<size_t>(length));
    }
    va_end(args);

    std::lock_guard lock(sinkMutex());
    if (currentSink()) {
        currentSink()(line);
    } else {
        line.push_back('\n');
        std::fputs(line.c_str(), stderr);
    }
}

void setLogSink(LogSink sink) {
    std::lock_guard lock(sinkMutex());
    currentSink() = std::move(sink);
}

}  // namespace orvane::foundation
