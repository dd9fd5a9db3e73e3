// The commands' output: one `KEY<TAB>TEXT` line per item, a line feed inside a text written as
// "<enter>", so every item stays on one line for scripts and eyes alike.
#pragma once

#include <ostream>
#include <string_view>

namespace orvane::app {

void printRow(std::ostream& out, std::string_view key, std::string_view text);

}  // namespace orvane::app
