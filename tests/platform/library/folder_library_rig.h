// The folder photo library's test rig: a temporary library folder over a real SQLite index,
// files and pictures to put in it, and a way to make a file refuse writes.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <turbojpeg.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <map>
#include <sstream>

#include "foundation/Clock.h"
#include "platform/library/FolderPhotoLibrary.h"
#include "platform/library/freedesktop_thumbnail.h"
#include "platform/library/library_index.h"
#include "platform/settings/MemoryUserDefaults.h"

namespace orvane::platform::testing {

namespace fs = std::filesystem;


inline constexpr double kNow = 1700000000.0;
inline constexpr auto kWait = std::chrono::seconds(60);

inline std::string readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

inline void writeFile(const fs::path& path, const std::string& bytes) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
}

inline Blob blob(const std::string& text) {
    return Blob(text.begin(), text.end());
}

// Makes a file or folder refuse writes, even to root (through the immutable flag), for the
// scope; answers whether it could.
class WriteProtection {
  public:
    explicit WriteProtection(fs::path path) : _path(std::move(path)) {
        ::chmod(_path.c_str(), fs::is_directory(_path) ? 0555 : 0444);
        if (::geteuid() != 0) {
            _active = true;
            return;
        }
        _active = setImmutable(true);
    }
    ~WriteProtection() {
        if (::geteuid() == 0) {
            setImmutable(false);
        }
        ::chmod(_path.c_str(), fs::is_directory(_path) ? 0755 : 0644);
    }
    bool active() const { return _active; }

  private:
    bool setImmutable(bool on) {
        const int fd = ::open(_path.c_str(), O_RDONLY | O_CLOEXEC);
        if (fd < 0) {
            return false;
        }
        int flags = 0;
        bool done = ::ioctl(fd, FS_IOC_GETFLAGS, &flags) == 0;
        flags = on ? (flags | FS_IMMUTABLE_FL) : (flags & ~FS_IMMUTABLE_FL);
        done = done && ::ioctl(fd, FS_IOC_SETFLAGS, &flags) == 0;
        ::close(fd);
        return done;
    }

    fs::path _path;
    bool _active = false;
};

// A JPEG whose left half is red and right half blue.
inline std::string makeJpeg(int width, int height) {
    std::vector<unsigned char> pixels(static_cast<std::size_t>(width) * height * 3);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            auto* pixel = &pixels[(static_cast<std::size_t>(y) * width + x) * 3];
            pixel[0] = x < width / 2 ? 230 : 20;
            pixel[1] = 20;
            pixel[2] = x < width / 2 ? 20 : 230;
        }
    }
    tjhandle encoder = tjInitCompress();
    unsigned char* jpeg = nullptr;
    unsigned long size = 0;
    const int status = tjCompress2(encoder, pixels.data(), width, 0, height, TJPF_RGB, &jpeg, &size,
                                   TJSAMP_420, 90, 0);
    std::string bytes = status == 0 ? std::string(reinterpret_cast<char*>(jpeg), size) : "";
    tjFree(jpeg);
    tjDestroy(encoder);
    return bytes;
}

// The tEXt chunks of a PNG file, read by walking its chunks.
inline std::map<std::string, std::string> pngTextChunks(const fs::path& file) {
    const std::string bytes = readFile(file);
    std::map<std::string, std::string> texts;
    std::size_t at = 8;  // after the signature
    while (at + 12 <= bytes.size()) {
        const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
        const std::size_t length = (std::size_t{byte(at)} << 24) | (byte(at + 1) << 16) |
                                   (byte(at + 2) << 8) | byte(at + 3);
        const std::string type = bytes.substr(at + 4, 4);
        if (type == "tEXt") {
            const std::string data = bytes.substr(at + 8, length);
            const auto nul = data.find('\0');
            texts[data.substr(0, nul)] = data.substr(nul + 1);
        }
        at += 12 + length;
    }
    return texts;
}

class FolderPhotoLibraryTest : public ::testing::Test {
  protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "orvane-library-XXXXXX").string();
        ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
        root = pattern;
        folder = root / "Library";
        library = make(folder);
    }
    void TearDown() override {
        library.reset();
        std::error_code ignored;
        fs::remove_all(root, ignored);
    }

    std::unique_ptr<FolderPhotoLibrary> make(const fs::path& directory, bool chosenByUser = true,
                                             std::string client = "orvane") {
        FolderPhotoLibraryOptions options;
        options.location = {directory, chosenByUser};
        options.thumbnailCache = root / "thumbnails";
        options.client = std::move(client);
        return std::make_unique<FolderPhotoLibrary>(std::move(options), defaults, clock);
    }

    // Runs a change block and waits for its answer: the error, or nothing.
    std::optional<foundation::Error> perform(PhotoLibrary& on,
                                             const PhotoLibrary::ChangeBlock& block) {
        std::promise<std::optional<foundation::Error>> answered;
        on.performChanges(block,
                          [&answered](bool success, const std::optional<foundation::Error>& error) {
                              EXPECT_EQ(success, !error);
                              answered.set_value(error);
                          });
        auto future = answered.get_future();
        EXPECT_EQ(future.wait_for(kWait), std::future_status::ready);
        return future.get();
    }
    std::optional<foundation::Error> perform(const PhotoLibrary::ChangeBlock& block) {
        return perform(*library, block);
    }

    // Adds bytes as a photo under `name`; answers the identifier, empty on failure.
    std::string addData(const std::string& bytes, std::optional<std::string> name) {
        std::string identifier;
        auto error = perform([&](PhotoLibraryChanges& changes) {
            identifier = changes.addResourceWithTypeData(PHAssetResourceType::Photo, blob(bytes),
                                                         {std::move(name), false});
        });
        EXPECT_FALSE(error) << error->message();
        return error ? "" : identifier;
    }

    // Moves a file in as a movie under `name`; answers the error, or nothing.
    std::optional<foundation::Error> moveIn(const fs::path& source, const std::string& name,
                                            std::string* identifier = nullptr) {
        return perform([&](PhotoLibraryChanges& changes) {
            const auto added = changes.addResourceWithTypeFileURL(PHAssetResourceType::Video,
                                                                  source, {name, true});
            if (identifier) {
                *identifier = added;
            }
        });
    }
    // A movie waiting in a temporary folder, as a recording leaves it.
    fs::path waitingMovie() const {
        const auto source = root / "tmp" / "Movie.MOV";
        writeFile(source, "movie");
        return source;
    }

    using ThumbnailAnswer =
        std::pair<std::optional<PhotoThumbnail>, std::optional<foundation::Error>>;
    ThumbnailAnswer thumbnail(const std::string& identifier, int size) {
        std::promise<ThumbnailAnswer> answered;
        library->requestImageForAsset(identifier, size, [&](const auto& image, const auto& error) {
            answered.set_value({image, error});
        });
        auto future = answered.get_future();
        EXPECT_EQ(future.wait_for(kWait), std::future_status::ready);
        return future.get();
    }

    std::vector<std::string> filesInFolder() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(folder)) {
            const auto name = entry.path().filename().string();
            if (!name.starts_with(".orvane-index")) {
                names.push_back(name);
            }
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    fs::path root;
    fs::path folder;
    MemoryUserDefaults defaults;
    foundation::ManualClock clock{kNow};
    std::unique_ptr<FolderPhotoLibrary> library;
};

}  // namespace orvane::platform::testing
