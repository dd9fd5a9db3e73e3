// A compiled gettext catalogue (GNU .mo) read whole into memory and checked against its bounds.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace orvane::foundation {

// The translations of one .mo file. It is built once and only read after that, so lookups are
// safe from any thread, and the texts they return live as long as the catalogue.
class MoCatalogue {
  public:
    // Parses the bytes of a .mo file written in either byte order. A file that is short,
    // corrupt or not a catalogue yields no translations at all and error() says why.
    static std::unique_ptr<const MoCatalogue> parse(std::vector<char> bytes);
    // Reads and parses the file at `path`; a missing or unreadable file is an error as well.
    static std::unique_ptr<const MoCatalogue> read(const std::string& path);

    MoCatalogue(const MoCatalogue&) = delete;
    MoCatalogue& operator=(const MoCatalogue&) = delete;

    // The translation of `msgid` (the singular form of a plural entry), or nullptr when the
    // catalogue has none. Allocates nothing.
    const char* find(std::string_view msgid) const;
    // How many messages the catalogue translates (the header entry is not counted).
    std::size_t size() const { return _translations.size(); }
    // Empty when the file was read whole; otherwise why it gave no translations.
    const std::string& error() const { return _error; }

  private:
    MoCatalogue() = default;
    void index();

    std::vector<char> _bytes;
    std::unordered_map<std::string_view, const char*> _translations;
    std::string _error;
};

}  // namespace orvane::foundation
