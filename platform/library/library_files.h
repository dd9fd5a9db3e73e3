// Putting files into the photo library's folder: a move (a rename, or a copy across file
// systems), a copy, or bytes written out, always under a name no other file holds, never
// replacing one. Each placement can be undone until the batch is committed, so a change that
// fails later leaves the sources where they were.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "foundation/Error.h"
#include "platform/settings/UserDefaults.h"

namespace orvane::platform {

class FilePlacement {
  public:
    explicit FilePlacement(std::filesystem::path folder);
    // Undoes whatever was not committed.
    ~FilePlacement();
    FilePlacement(const FilePlacement&) = delete;
    FilePlacement& operator=(const FilePlacement&) = delete;

    // Each answers the file name given in the folder, or the error; a failed call leaves nothing
    // behind and the source as it was.
    struct Placed {
        std::string fileName;
        std::optional<foundation::Error> error;
    };
    Placed moveFile(const std::filesystem::path& source, const std::string& name);
    Placed copyFile(const std::filesystem::path& source, const std::string& name);
    Placed writeData(const Blob& data, const std::string& name);

    // Keeps every placement: removes the sources of moves that had to copy, and syncs the
    // folder so the new names survive a crash.
    void commit();
    // Moves moved files back and removes copies, in reverse order.
    void undo();

  private:
    struct Step {
        std::filesystem::path placed;
        std::optional<std::filesystem::path> renamedFrom;  // undone by renaming back
        std::optional<std::filesystem::path> copiedFrom;   // removed at commit
    };

    // Writes `fill`'s output to a temporary file in the folder, synced, then gives it a free
    // name. `fill` answers 0 or an errno value.
    template <typename Fill>
    Placed writeThenName(const std::string& name, Fill&& fill);
    // Gives the file at `from` the first free name for `name`.
    Placed nameWithoutReplacing(const std::filesystem::path& from, const std::string& name,
                                int& error);

    std::filesystem::path _folder;
    std::vector<Step> _steps;
};

}  // namespace orvane::platform
