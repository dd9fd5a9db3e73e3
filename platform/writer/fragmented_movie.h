// Movies written in fragments: while a recording runs, the writer puts its index at the start
// and appends a fragment of at most about a second at a time, so the file plays up to its last
// whole fragment whatever ends the process. Once the recording ends the fragments are joined
// into an ordinary movie, whose duration every reader finds in its one index.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

#include "foundation/Error.h"
#include "platform/writer/AssetWriter.h"

namespace orvane::platform::ffmpeg {

// The longest a fragment runs, in microseconds.
inline constexpr std::int64_t kFragmentDuration = 1'000'000;

// The movie's own timescale, in which its edits (a track that starts late, the sound encoder's
// priming) are counted: fine enough that writing and joining round nothing away.
inline constexpr int kMovieTimescale = 90000;

// What a movie was found to hold when it was joined.
struct MovieContents {
    std::int64_t videoFrames = 0;
    std::int64_t audioPackets = 0;
    double seconds = 0;
};

// Rewrites the fragmented movie at `movie` in place as one ordinary movie of `type`, keeping its
// tracks, display matrix, creation time and metadata keys. Reads as far as the file is whole: a
// file cut off inside a fragment loses that fragment alone. The new file is made beside the old
// one and renamed over it, so a failure at any step (a full disk among them) leaves the
// fragmented movie as it was. `contents`, when given, says what was found, also on failure.
std::optional<foundation::Error> joinFragments(const std::filesystem::path& movie,
                                               AssetFileType type,
                                               MovieContents* contents = nullptr);

}  // namespace orvane::platform::ffmpeg
