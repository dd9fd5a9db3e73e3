// The settings store a command works on, with what its backend can report about failures.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "foundation/Error.h"
#include "platform/settings/UserDefaults.h"

namespace orvane::app {

class OpenedStore {
  public:
    virtual ~OpenedStore() = default;

    virtual platform::UserDefaults& defaults() = 0;
    // Where the store lives, for messages: a file path.
    virtual std::string location() const = 0;
    // The error of the latest write, or nothing when it succeeded.
    virtual std::optional<foundation::Error> lastWriteError() const = 0;
};

// The JSON file store in `directory`.
std::unique_ptr<OpenedStore> openJsonStore(const std::filesystem::path& directory);

}  // namespace orvane::app
