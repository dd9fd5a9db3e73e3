#include "app/opened_store.h"

#include "platform/settings/JsonFileUserDefaults.h"

namespace orvane::app {

namespace {

class JsonOpenedStore final : public OpenedStore {
  public:
    explicit JsonOpenedStore(const std::filesystem::path& directory) : _store(directory) {}

    platform::UserDefaults& defaults() override { return _store; }
    std::string location() const override { return _store.path().string(); }
    std::optional<foundation::Error> lastWriteError() const override {
        return _store.lastWriteError();
    }

  private:
    platform::JsonFileUserDefaults _store;
};

}  // namespace

std::unique_ptr<OpenedStore> openJsonStore(const std::filesystem::path& directory) {
    return std::make_unique<JsonOpenedStore>(directory);
}

}  // namespace orvane::app
