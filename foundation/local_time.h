// A moment as text in the user's time zone, through strftime: file-name stamps, EXIF dates, the
// times a listing prints.
#pragma once

#include <chrono>
#include <ctime>
#include <string>

namespace orvane::foundation {

// `format` (strftime's) applied to `seconds` in the local time zone; thread-safe.
std::string formatLocalTime(std::time_t seconds, const char* format);
// The same for a moment of the system clock, counted in whole seconds (rounded down).
std::string formatLocalTime(std::chrono::system_clock::time_point moment, const char* format);

}  // namespace orvane::foundation
