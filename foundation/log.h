// Plain log lines without levels, printf-style, to standard error or a sink set by the caller.
#pragma once

#include <functional>
#include <string>

namespace orvane::foundation {

// Formats like printf and writes one line. Safe from any thread.
void log(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Where lines go; the default writes them to standard error. Tests install a sink to read them.
// Passing an empty function restores the default.
using LogSink = std::function<void(const std::string& line)>;
void setLogSink(LogSink sink);

}  // namespace orvane::foundation
