#include "foundation/local_time.h"

namespace orvane::foundation {

std::string formatLocalTime(std::time_t seconds, const char* format) {
    std::tm local{};
    localtime_r(&seconds, &local);
    char text[64];
    const std::size_t length = std::strftime(text, sizeof text, format, &local);
    return std::string(text, length);
}

std::string formatLocalTime(std::chrono::system_clock::time_point moment, const char* format) {
    return formatLocalTime(
        std::chrono::system_clock::to_time_t(std::chrono::floor<std::chrono::seconds>(moment)),
        format);
}

}  // namespace orvane::foundation
