// Fuzz target: any bytes as a movie left by a recording that was cut off, joined as recovery
// joins it. The join must end with a movie or an error, never a crash; what it reports
// finding must be counts a movie can hold; the movie stays, and nothing is left beside it.
#include <unistd.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "platform/writer/fragmented_movie.h"

extern "C" {
#include <libavutil/log.h>
}

namespace {

// A folder of this process's own, so that runs side by side never share a file. It lives
// until the exit handler has removed it: a static object would be destroyed before the handler
// registered during its own construction runs.
const std::filesystem::path& scratchFolder() {
    static const std::filesystem::path* const folder = [] {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "orvane-fuzz-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) {
            std::perror("fuzz_movie: cannot make a scratch folder");
            std::abort();
        }
        av_log_set_level(AV_LOG_QUIET);
        std::atexit([] { std::filesystem::remove_all(scratchFolder()); });
        return new std::filesystem::path(pattern);
    }();
    return *folder;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    namespace ffmpeg = orvane::platform::ffmpeg;
    const std::filesystem::path movie = scratchFolder() / "movie.mov";
    {
        std::ofstream out(movie, std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    }
    ffmpeg::MovieContents found;
    ffmpeg::joinFragments(movie, orvane::platform::AssetFileType::QuickTimeMovie, &found);
    if (found.videoFrames < 0 || found.audioPackets < 0 || !std::isfinite(found.seconds) ||
        found.seconds < 0) {
        std::fprintf(stderr, "impossible contents: %lld frames, %lld packets, %f s\n",
                     static_cast<long long>(found.videoFrames),
                     static_cast<long long>(found.audioPackets), found.seconds);
        std::abort();
    }
    // Joined or not, the movie stays and nothing is left beside it.
    for (const auto& entry : std::filesystem::directory_iterator(scratchFolder())) {
        if (entry.path() != movie) {
            std::fprintf(stderr, "left beside the movie: %s\n", entry.path().c_str());
            std::abort();
        }
    }
    if (!std::filesystem::remove(movie)) {
        std::fprintf(stderr, "the movie is gone after the join\n");
        std::abort();
    }
    return 0;
}
