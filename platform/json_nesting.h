// How deep JSON from outside nests, asked before it is parsed: nlohmann parses any depth, but
// copies and writes a document by recursion, one stack frame a level, so a file or an answer
// of a few hundred kilobytes of brackets would end the program.
#pragma once

#include <cstddef>
#include <string_view>

namespace orvane::platform {

// Far deeper than any settings file or geocoding answer, and shallow enough for any thread's
// stack.
inline constexpr std::size_t kMaxJsonNesting = 64;

// True when arrays and objects in `text` open more than `levels` deep, brackets inside strings
// not counted. Exact for every text that parses as JSON; reads any other text without fault.
bool jsonNestsDeeperThan(std::string_view text, std::size_t levels);

}  // namespace orvane::platform
