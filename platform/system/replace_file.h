// Putting new contents in place of a file all at once: a reader, or the file after a crash,
// holds the old contents or the new, never part of either.
#pragma once

#include <filesystem>
#include <string_view>

namespace orvane::platform {

// Writes `bytes` to a temporary file beside `target`, flushes it to disk and renames it over
// `target`, keeping the permissions a person gave the old file (a new one is private to the
// user). Returns 0, or the errno with `step` naming what failed; the temporary file never
// outlives a failure.
int replaceFile(const std::filesystem::path& target, std::string_view bytes, const char*& step);

// Flushes a folder's entries, so that a rename in it survives a crash. Returns 0 or the errno.
int syncDirectory(const std::filesystem::path& directory);

}  // namespace orvane::platform
