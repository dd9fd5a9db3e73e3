// A movie while it is being made: a folder of its own inside the library's hidden drafts folder,
// holding the movie under the name it is to have in the library, and locked for as long as the
// draft lives. The library's own disk means that delivery is a rename; a folder per recording
// means that no two recordings, in one process or two, ever share a file; the lock tells a
// recovery which drafts a running program is still making.
//
// The lock is an advisory lock on the draft's folder, released by the kernel when the process
// ends however it ends, so a draft that nobody holds was left by a program that is gone.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "foundation/Error.h"

namespace orvane::platform {

// The hidden folder of drafts in a library folder.
std::filesystem::path movieDraftsFolder(const std::filesystem::path& library);

class MovieDraft {
  public:
    // A new draft in `draftsFolder` (made when missing, its parent must exist) for a movie to be
    // called `fileName`; none with `error` saying why, naming the folder.
    static std::unique_ptr<MovieDraft> create(const std::filesystem::path& draftsFolder,
                                              const std::string& fileName,
                                              std::optional<foundation::Error>& error);
    // Every draft of `draftsFolder` that no running program holds, each now held by the caller.
    static std::vector<std::unique_ptr<MovieDraft>> claimAbandoned(
        const std::filesystem::path& draftsFolder);

    // Releases the lock; the folder is removed when it holds nothing any more.
    ~MovieDraft();
    MovieDraft(const MovieDraft&) = delete;
    MovieDraft& operator=(const MovieDraft&) = delete;

    const std::filesystem::path& folder() const { return _folder; }
    // The movie's file in the draft; it may not exist yet (or any more, once delivered).
    std::filesystem::path movie() const { return _folder / _fileName; }
    // The name the movie is to have in the library.
    const std::string& fileName() const { return _fileName; }

    // Files other than the movie: pieces a killed process left half made. Removed.
    void removeLeftovers() const;
    // A draft keeps a little of its disk in reserve while the movie grows, so that a disk the
    // movie fills still has room for the library to take it in. Given back here.
    void releaseReserve() const;

  private:
    MovieDraft(std::filesystem::path folder, std::string fileName, int lockFd);
    void reserve() const;

    std::filesystem::path _folder;
    std::string _fileName;
    int _lockFd;
};

}  // namespace orvane::platform
