#include "foundation/mo_catalogue.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <system_error>

namespace orvane::foundation {

namespace {

constexpr std::uint32_t kMagic = 0x950412de;
constexpr std::uint32_t kSwappedMagic = 0xde120495;
// Magic, revision, message count, the two table offsets, hash table size and offset.
constexpr std::size_t kHeaderSize = 7 * 4;
// Far beyond any catalogue of this program; a larger file is not one.
constexpr std::uint64_t kLargestFile = 64u << 20;

class Words {
  public:
    Words(const std::vector<char>& bytes, bool swapped) : _bytes(bytes), _swapped(swapped) {}

    // The 32-bit word at `offset`; the caller has checked that it lies inside the file.
    std::uint32_t at(std::uint64_t offset) const {
        std::uint32_t word;
        std::memcpy(&word, _bytes.data() + offset, sizeof word);
        return _swapped ? __builtin_bswap32(word) : word;
    }

  private:
    const std::vector<char>& _bytes;
    bool _swapped;
};

struct FileDescriptor {
    explicit FileDescriptor(int descriptor) : fd(descriptor) {}
    ~FileDescriptor() {
        if (fd >= 0) {
            ::close(fd);
        }
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    const int fd;
};

std::string errnoText(int error) {
    return std::error_code(error, std::generic_category()).message();
}

}  // namespace

std::unique_ptr<const MoCatalogue> MoCatalogue::parse(std::vector<char> bytes) {
    std::unique_ptr<MoCatalogue> catalogue(new MoCatalogue);
    catalogue->_bytes = std::move(bytes);
    catalogue->index();
    return catalogue;
}

std::unique_ptr<const MoCatalogue> MoCatalogue::read(const std::string& path) {
    auto failed = [](std::string why) {
        std::unique_ptr<MoCatalogue> catalogue(new MoCatalogue);
        catalogue->_error = std::move(why);
        return std::unique_ptr<const MoCatalogue>(std::move(catalogue));
    };
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (file.fd < 0) {
        return failed("cannot be opened: " + errnoText(errno));
    }
    struct stat status {};
    if (::fstat(file.fd, &status) != 0) {
        return failed("cannot be read: " + errnoText(errno));
    }
    if (!S_ISREG(status.st_mode)) {
        return failed("is not a regular file");
    }
    if (static_cast<std::uint64_t>(status.st_size) > kLargestFile) {
        return failed("is too large for a catalogue");
    }
    std::vector<char> bytes(static_cast<std::size_t>(status.st_size));
    std::size_t filled = 0;
    while (filled < bytes.size()) {
        const ssize_t got = ::read(file.fd, bytes.data() + filled, bytes.size() - filled);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            return failed("cannot be read: " + errnoText(errno));
        }
        if (got == 0) {
            break;  // shrank while being read: the checks judge what is there
        }
        filled += static_cast<std::size_t>(got);
    }
    bytes.resize(filled);
    return parse(std::move(bytes));
}

const char* MoCatalogue::find(std::string_view msgid) const {
    const auto found = _translations.find(msgid);
    return found == _translations.end() ? nullptr : found->second;
}

void MoCatalogue::index() {
    const std::uint64_t size = _bytes.size();
    if (size < kHeaderSize) {
        _error = "is too short for a catalogue (" + std::to_string(size) + " bytes)";
        return;
    }
    std::uint32_t magic;
    std::memcpy(&magic, _bytes.data(), sizeof magic);
    if (magic != kMagic && magic != kSwappedMagic) {
        _error = "is not a gettext catalogue (wrong magic number)";
        return;
    }
    const Words words(_bytes, magic == kSwappedMagic);
    // Major revisions 0 and 1 share the two string tables; a later one may not.
    if (const std::uint32_t revision = words.at(4); (revision >> 16) > 1) {
        _error = "has revision " + std::to_string(revision >> 16) + ", which is not understood";
        return;
    }
    const std::uint64_t count = words.at(8);
    const std::uint64_t originals = words.at(12);
    const std::uint64_t translations = words.at(16);
    // Each table holds a length and an offset per message.
    if (originals + count * 8 > size || translations + count * 8 > size) {
        _error = "has a string table past the end of the file";
        return;
    }
    // A string is its length, then a terminating NUL that must lie inside the file, so the
    // text can be handed out as a C string.
    auto string = [&](std::uint64_t table, std::uint64_t i) -> const char* {
        const std::uint64_t length = words.at(table + i * 8);
        const std::uint64_t offset = words.at(table + i * 8 + 4);
        if (offset + length >= size || _bytes[offset + length] != '\0') {
            return nullptr;
        }
        return _bytes.data() + offset;
    };
    for (std::uint64_t i = 0; i < count; ++i) {
        const char* original = string(originals, i);
        const char* translation = string(translations, i);
        if (!original || !translation) {
            _translations.clear();
            _error = "has message " + std::to_string(i) + " past the end of the file";
            return;
        }
        // The empty msgid is the header; a plural entry's msgid ends at its first NUL, and its
        // first form is the singular.
        if (*original != '\0' && *translation != '\0') {
            _translations.emplace(std::string_view(original), translation);
        }
    }
}

}  // namespace orvane::foundation
