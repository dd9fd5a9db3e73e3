// The free space of a disk, read for the disk guard: a recording stops before the disk that
// holds its movie is full.
#pragma once

#include <cstdint>
#include <filesystem>

namespace orvane::platform {

// The space an unprivileged writer may still fill on the file system holding `path`, in MB
// (bytes shifted right by 20); 0 when it cannot be read, which the guard takes as "do not
// judge". The path is the movie's drafts folder, never "/": a library on another disk fills on
// its own.
std::int64_t freeDiskspaceNew(const std::filesystem::path& path);

}  // namespace orvane::platform
