// The folder photo library against a real SQLite index, real files and real thumbnails in a
// temporary folder.
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

namespace orvane::platform {
namespace {

namespace fs = std::filesystem;

constexpr double kNow = 1700000000.0;
constexpr auto kWait = std::chrono::seconds(60);

std::string readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

void writeFile(const fs::path& path, const std::string& bytes) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
}

Blob blob(const std::string& text) {
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
std::string makeJpeg(int width, int height) {
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
std::map<std::string, std::string> pngTextChunks(const fs::path& file) {
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

TEST_F(FolderPhotoLibraryTest, TheFolderFollowsTheEnvironmentInOrder) {
    const fs::path config = root / "config";
    writeFile(config / "user-dirs.dirs",
              "# written by xdg-user-dirs-update\nXDG_PICTURES_DIR=\"$HOME/Bilder\"\n");
    struct Row {
        std::map<std::string, std::string> environment;
        fs::path expected;
        bool chosenByUser;
    };
    const Row rows[] = {
        {{{"ORVANE_LIBRARY_DIR", "/media/card/dcim"}, {"XDG_PICTURES_DIR", "/p"}},
         "/media/card/dcim",
         true},
        {{{"XDG_PICTURES_DIR", "/data/pictures"}, {"HOME", "/home/u"}},
         "/data/pictures/Orvane",
         false},
        {{{"XDG_CONFIG_HOME", config.string()}, {"HOME", "/home/u"}},
         "/home/u/Bilder/Orvane",
         false},
        // A relative pictures folder is no folder; the file is read instead.
        {{{"XDG_PICTURES_DIR", "pictures"}, {"XDG_CONFIG_HOME", config.string()}, {"HOME", "/h"}},
         "/h/Bilder/Orvane",
         false},
        {{{"XDG_CONFIG_HOME", (config / "none").string()}, {"HOME", "/home/u"}},
         "/home/u/Pictures/Orvane",
         false},
    };
    for (const auto& row : rows) {
        const auto location = photoLibraryLocation([&row](const char* name) {
            const auto found = row.environment.find(name);
            return found == row.environment.end() ? std::nullopt : std::optional(found->second);
        });
        EXPECT_EQ(location.directory, row.expected);
        EXPECT_EQ(location.chosenByUser, row.chosenByUser) << row.expected;
    }
}

TEST(PhotoLibraryFolderTest, UserDirsLinesAreReadAsTheShellWould) {
    EXPECT_EQ(picturesDirectoryFromUserDirs("XDG_PICTURES_DIR=\"$HOME\"\n", "/h"), "/h");
    EXPECT_EQ(picturesDirectoryFromUserDirs("XDG_PICTURES_DIR=\"/srv/p\"", "/h"), "/srv/p");
    EXPECT_EQ(picturesDirectoryFromUserDirs(
                  "XDG_PICTURES_DIR=\"$HOME/a\"\nXDG_PICTURES_DIR=\"$HOME/b\"\n", "/h"),
              "/h/b");
    EXPECT_EQ(picturesDirectoryFromUserDirs("# XDG_PICTURES_DIR=\"/x\"\n", "/h"), std::nullopt);
    EXPECT_EQ(picturesDirectoryFromUserDirs("XDG_PICTURES_DIRS=\"/x\"\n", "/h"), std::nullopt);
    EXPECT_EQ(picturesDirectoryFromUserDirs("XDG_PICTURES_DIR=\"relative\"\n", "/h"), std::nullopt);
    EXPECT_EQ(picturesDirectoryFromUserDirs("XDG_PICTURES_DIR=\"$HOME/My \\\"Pics\\\"\"", "/h"),
              "/h/My \"Pics\"");
}

TEST_F(FolderPhotoLibraryTest, AccessLevelsAnswerAsTheStoredSettingSays) {
    struct Row {
        std::optional<std::string> stored;
        PHAuthorizationStatus readWrite;
        PHAuthorizationStatus addOnly;
    };
    const Row rows[] = {
        {std::nullopt, PHAuthorizationStatus::Authorized, PHAuthorizationStatus::Authorized},
        {"full", PHAuthorizationStatus::Authorized, PHAuthorizationStatus::Authorized},
        {"limited", PHAuthorizationStatus::Limited, PHAuthorizationStatus::Authorized},
        {"addOnly", PHAuthorizationStatus::Denied, PHAuthorizationStatus::Authorized},
        {"everything", PHAuthorizationStatus::Denied, PHAuthorizationStatus::Authorized},
    };
    for (const auto& row : rows) {
        defaults.setString(kPhotoLibraryAccessLevelKey, row.stored);
        EXPECT_EQ(library->authorizationStatusForAccessLevel(PHAccessLevel::ReadWrite),
                  row.readWrite)
            << row.stored.value_or("none");
        std::promise<PHAuthorizationStatus> readWrite;
        std::promise<PHAuthorizationStatus> addOnly;
        library->requestAuthorizationForAccessLevel(
            PHAccessLevel::ReadWrite, [&](PHAuthorizationStatus s) { readWrite.set_value(s); });
        library->requestAuthorizationForAccessLevel(
            PHAccessLevel::AddOnly, [&](PHAuthorizationStatus s) { addOnly.set_value(s); });
        EXPECT_EQ(readWrite.get_future().get(), row.readWrite);
        EXPECT_EQ(addOnly.get_future().get(), row.addOnly);
    }
}

TEST_F(FolderPhotoLibraryTest, AMovedMovieIsReadBackByItsIdentifier) {
    const auto source = waitingMovie();
    std::string identifier;
    const auto error = moveIn(source, "20240101_120000.MOV", &identifier);
    ASSERT_FALSE(error) << error->message();
    EXPECT_FALSE(fs::exists(source));
    const auto found = library->fetchAssetsWithLocalIdentifiers({identifier, "NOT-THERE"});
    ASSERT_FALSE(found.error);
    ASSERT_EQ(found.values.size(), 1u);
    const auto& asset = found.values.front();
    EXPECT_EQ(asset.localIdentifier, identifier);
    EXPECT_EQ(asset.mediaType, PHAssetMediaType::Video);
    EXPECT_EQ(asset.path, folder / "20240101_120000.MOV");
    EXPECT_EQ(asset.originalFilename, "20240101_120000.MOV");
    EXPECT_EQ(asset.creationDate, kNow);
    EXPECT_EQ(readFile(asset.path), "movie");

    // A new library object reads the same index from disk.
    library = make(folder);
    EXPECT_EQ(library->fetchAssets().values.size(), 1u);
}

TEST_F(FolderPhotoLibraryTest, AMoveAcrossFileSystemsCopiesThenRemovesTheSource) {
    struct stat shm {};
    struct stat here {};
    if (::stat("/dev/shm", &shm) != 0 || ::stat(root.c_str(), &here) != 0 ||
        shm.st_dev == here.st_dev) {
        GTEST_SKIP() << "no second file system at /dev/shm";
    }
    const fs::path source = "/dev/shm/orvane-library-test-" + std::to_string(::getpid());
    writeFile(source, "across");
    const auto error = moveIn(source, "A.MOV");
    ASSERT_FALSE(error) << error->message();
    EXPECT_FALSE(fs::exists(source));
    EXPECT_EQ(readFile(folder / "A.MOV"), "across");
    EXPECT_EQ(filesInFolder(), std::vector<std::string>{"A.MOV"});
}

TEST_F(FolderPhotoLibraryTest, NamesNeverReplaceAnotherFile) {
    writeFile(folder / "B.JPG", "not ours");
    struct Row {
        std::optional<std::string> name;
        std::string file;
        std::string original;
    };
    const Row rows[] = {
        {"A.JPG", "A.JPG", "A.JPG"},
        {"A.JPG", "A (1).JPG", "A.JPG"},
        {"A.JPG", "A (2).JPG", "A.JPG"},
        {"B.JPG", "B (1).JPG", "B.JPG"},
        {"README", "README", "README"},
        {"README", "README (1)", "README"},
        {"a/b.JPG", "a_b.JPG", "a_b.JPG"},
        // Without a usable name the library names the asset itself.
        {std::nullopt, "IMG_0008.JPG", "IMG_0008.JPG"},
        {"..", "IMG_0009.JPG", "IMG_0009.JPG"},
    };
    int n = 0;
    for (const auto& row : rows) {
        const auto identifier = addData("photo " + std::to_string(n++), row.name);
        const auto found = library->fetchAssetsWithLocalIdentifiers({identifier});
        ASSERT_EQ(found.values.size(), 1u) << row.file;
        EXPECT_EQ(found.values.front().path, folder / row.file);
        EXPECT_EQ(found.values.front().originalFilename, row.original);
    }
    EXPECT_EQ(readFile(folder / "B.JPG"), "not ours");
    EXPECT_EQ(readFile(folder / "A.JPG"), "photo 0");
    EXPECT_EQ(readFile(folder / "A (2).JPG"), "photo 2");
    EXPECT_EQ(library->fetchAssets().values.size(), std::size(rows));
}

TEST_F(FolderPhotoLibraryTest, AlbumsAreMadeFoundAndFilled) {
    EXPECT_FALSE(library->albumWithTitle("Orvane"));
    std::string album;
    ASSERT_FALSE(perform([&](PhotoLibraryChanges& changes) {
        album = changes.creationRequestForAssetCollectionWithTitle("Orvane");
        changes.creationRequestForAssetCollectionWithTitle("Other");
    }));
    const auto found = library->albumWithTitle("Orvane");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->localIdentifier, album);
    EXPECT_EQ(found->localizedTitle, "Orvane");

    const auto first = addData("one", "1.JPG");
    std::string second;
    ASSERT_FALSE(perform([&](PhotoLibraryChanges& changes) {
        changes.addAssets(album, {first});
        second = changes.addResourceWithTypeData(PHAssetResourceType::Photo, blob("two"),
                                                 {"2.JPG", false});
        changes.addAssets(album, {second, first});
    }));
    EXPECT_EQ(library->fetchAssetsInAlbum(album).values, (std::vector{first, second}));
    EXPECT_TRUE(library->fetchAssetsInAlbum(library->albumWithTitle("Other")->localIdentifier)
                    .values.empty());
}

TEST_F(FolderPhotoLibraryTest, AFailedBlockLeavesNoFileAndNoRecord) {
    const auto source = waitingMovie();
    const auto error = perform([&](PhotoLibraryChanges& changes) {
        changes.addResourceWithTypeData(PHAssetResourceType::Photo, blob("x"), {"X.JPG", false});
        const auto movie =
            changes.addResourceWithTypeFileURL(PHAssetResourceType::Video, source, {"M.MOV", true});
        changes.addAssets("NO-SUCH-ALBUM", {movie});
    });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, kPhotoLibraryNotFound);
    EXPECT_EQ(readFile(source), "movie");
    EXPECT_TRUE(filesInFolder().empty());
    EXPECT_TRUE(library->fetchAssets().values.empty());
}

TEST_F(FolderPhotoLibraryTest, AddOnlyAccessWritesButReadsNothingBack) {
    defaults.setString(kPhotoLibraryAccessLevelKey, "addOnly");
    const auto identifier = addData("bytes", "A.JPG");
    EXPECT_NE(identifier, "");
    EXPECT_EQ(readFile(folder / "A.JPG"), "bytes");
    const auto assets = library->fetchAssets();
    ASSERT_TRUE(assets.error);
    EXPECT_EQ(assets.error->code, kPhotoLibraryAccessDenied);
    EXPECT_TRUE(assets.values.empty());
    EXPECT_EQ(library->fetchUserAlbums().error->code, kPhotoLibraryAccessDenied);
    const auto album = perform([](PhotoLibraryChanges& changes) {
        changes.creationRequestForAssetCollectionWithTitle("Orvane");
    });
    ASSERT_TRUE(album);
    EXPECT_EQ(album->code, kPhotoLibraryAccessDenied);
    EXPECT_EQ(thumbnail(identifier, 128).second->code, kPhotoLibraryAccessDenied);
}

TEST_F(FolderPhotoLibraryTest, LimitedAccessReadsBackOnlyWhatTheProgramAdded) {
    auto other = make(folder, true, "another program");
    std::string theirs;
    ASSERT_FALSE(perform(*other, [&](PhotoLibraryChanges& changes) {
        theirs = changes.addResourceWithTypeData(PHAssetResourceType::Photo, blob("theirs"),
                                                 {"T.JPG", false});
    }));
    const auto ours = addData("ours", "O.JPG");
    std::string album;
    ASSERT_FALSE(perform([&](PhotoLibraryChanges& changes) {
        album = changes.creationRequestForAssetCollectionWithTitle("Orvane");
        changes.addAssets(album, {ours});
    }));
    ASSERT_FALSE(
        perform(*other, [&](PhotoLibraryChanges& changes) { changes.addAssets(album, {theirs}); }));

    EXPECT_EQ(library->fetchAssets().values.size(), 2u);
    defaults.setString(kPhotoLibraryAccessLevelKey, "limited");
    const auto seen = library->fetchAssets().values;
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen.front().localIdentifier, ours);
    EXPECT_TRUE(library->fetchAssetsWithLocalIdentifiers({theirs}).values.empty());
    EXPECT_EQ(library->fetchAssetsInAlbum(album).values, std::vector{ours});
    const auto refused =
        perform([&](PhotoLibraryChanges& changes) { changes.addAssets(album, {theirs}); });
    ASSERT_TRUE(refused);
    EXPECT_EQ(refused->code, kPhotoLibraryNotFound);
}

TEST(FreedesktopThumbnailTest, NamesAreTheMd5OfTheEscapedUri) {
    EXPECT_EQ(thumbnailFileURI("/home/jens/photos/me.png"), "file:///home/jens/photos/me.png");
    EXPECT_EQ(thumbnailFileName("file:///home/jens/photos/me.png"),
              "c6ee772d9e49320e97ec29a7eb5b1697.png");
    EXPECT_EQ(thumbnailFileURI("/p/IMG (1) #2.JPG"), "file:///p/IMG%20(1)%20%232.JPG");
}

TEST_F(FolderPhotoLibraryTest, AJpegThumbnailIsCachedWithItsUriAndTime) {
    const auto jpeg = makeJpeg(320, 240);
    ASSERT_FALSE(jpeg.empty());
    const auto identifier = addData(jpeg, "Photo 1.JPG");
    const auto path = folder / "Photo 1.JPG";
    const auto [answer, error] = thumbnail(identifier, 100);
    ASSERT_FALSE(error) << error->message();
    ASSERT_TRUE(answer && answer->image);
    EXPECT_EQ(answer->image->width(), 128);
    EXPECT_EQ(answer->image->height(), 96);
    {
        // Left red, right blue, in BGRA.
        const PixelBufferReadLock lock(*answer->image);
        const auto* row = lock.data() + 48 * answer->image->bytesPerRow();
        EXPECT_GT(row[4 * 10 + 2], 180);
        EXPECT_LT(row[4 * 10 + 0], 80);
        EXPECT_GT(row[4 * 118 + 0], 180);
        EXPECT_LT(row[4 * 118 + 2], 80);
    }
    const std::string uri = "file://" + folder.string() + "/Photo%201.JPG";
    const auto expected = root / "thumbnails" / "normal" / thumbnailFileName(uri);
    EXPECT_EQ(answer->file, expected);
    ASSERT_TRUE(fs::exists(expected));
    const auto texts = pngTextChunks(expected);
    struct stat status {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(texts.at("Thumb::URI"), uri);
    EXPECT_EQ(texts.at("Thumb::MTime"), std::to_string(status.st_mtim.tv_sec));

    // A second request reads the cache back; a stale entry (another time) is made again.
    const auto again = thumbnail(identifier, 128).first;
    ASSERT_TRUE(again && again->image);
    EXPECT_EQ(again->image->width(), 128);
    ASSERT_FALSE(writeThumbnailPng(expected, *again->image, uri, 1));
    EXPECT_EQ(pngTextChunks(expected).at("Thumb::MTime"), "1");
    ASSERT_TRUE(thumbnail(identifier, 128).first);
    EXPECT_EQ(pngTextChunks(expected).at("Thumb::MTime"), std::to_string(status.st_mtim.tv_sec));
}

TEST_F(FolderPhotoLibraryTest, AMovieThumbnailIsItsFirstFrameTurnedAsPlayersTurnIt) {
    if (std::system("command -v ffmpeg >/dev/null 2>&1") != 0) {
        GTEST_SKIP() << "the ffmpeg command is not installed";
    }
    // Red on the left, blue on the right; the turned copy is tagged to be shown a quarter turn
    // anticlockwise (as FFmpeg's own players turn it), so its red ends at the bottom.
    const auto plain = root / "tmp" / "Plain.MOV";
    const auto turned = root / "tmp" / "Turned.MOV";
    fs::create_directories(plain.parent_path());
    const std::string ffmpeg = "ffmpeg -nostdin -loglevel error ";
    const std::string make =
        ffmpeg + "-f lavfi -i 'color=c=red:s=160x180:d=0.3[l];color=c=blue:s=160x180:d=0.3[r];" +
        "[l][r]hstack' -c:v mpeg4 -y '" + plain.string() + "' && " + ffmpeg + "-i '" +
        plain.string() + "' -c copy -metadata:s:v:0 rotate=90 -y '" + turned.string() + "'";
    ASSERT_EQ(std::system(make.c_str()), 0);
    std::string plainIdentifier;
    std::string turnedIdentifier;
    ASSERT_FALSE(moveIn(plain, "Plain.MOV", &plainIdentifier));
    ASSERT_FALSE(moveIn(turned, "Turned.MOV", &turnedIdentifier));

    const auto [answer, error] = thumbnail(plainIdentifier, 200);
    ASSERT_FALSE(error) << error->message();
    ASSERT_TRUE(answer && answer->image);
    EXPECT_EQ(answer->image->width(), 256);
    EXPECT_EQ(answer->image->height(), 144);
    EXPECT_EQ(answer->file.parent_path(), root / "thumbnails" / "large");
    EXPECT_EQ(pngTextChunks(answer->file).at("Thumb::URI"),
              "file://" + (folder / "Plain.MOV").string());

    const auto image = thumbnail(turnedIdentifier, 128).first;
    ASSERT_TRUE(image && image->image);
    EXPECT_EQ(image->image->width(), 72);
    EXPECT_EQ(image->image->height(), 128);
    const PixelBufferReadLock lock(*image->image);
    const auto* top = lock.data() + 10 * image->image->bytesPerRow() + 4 * 36;
    const auto* bottom = lock.data() + 118 * image->image->bytesPerRow() + 4 * 36;
    EXPECT_GT(top[0], 180);  // blue
    EXPECT_LT(top[2], 80);
    EXPECT_GT(bottom[2], 180);  // red
    EXPECT_LT(bottom[0], 80);
}

TEST_F(FolderPhotoLibraryTest, AFileThatIsNoPictureGetsAnErrorNotAThumbnail) {
    const auto identifier = addData("neither a JPEG nor a movie", "N.JPG");
    const auto [answer, error] = thumbnail(identifier, 128);
    EXPECT_FALSE(answer);
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, kPhotoLibraryThumbnailFailed);
}

TEST_F(FolderPhotoLibraryTest, AnUnwritableFolderKeepsTheSource) {
    addData("first", "1.JPG");
    WriteProtection protection(folder);
    if (!protection.active()) {
        GTEST_SKIP() << "cannot make the folder refuse writes here";
    }
    const auto source = waitingMovie();
    const auto error = moveIn(source, "M.MOV");
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, kPhotoLibraryWriteFailed);
    EXPECT_TRUE(error->description.starts_with("Cannot write to the photo library at " +
                                               folder.string() + ": "))
        << error->description;
    EXPECT_EQ(readFile(source), "movie");
    EXPECT_EQ(library->fetchAssets().values.size(), 1u);
    const auto data = perform([](PhotoLibraryChanges& changes) {
        changes.addResourceWithTypeData(PHAssetResourceType::Photo, blob("x"), {"X.JPG", false});
    });
    ASSERT_TRUE(data);
    EXPECT_EQ(data->code, kPhotoLibraryWriteFailed);
}

TEST_F(FolderPhotoLibraryTest, AMissingChosenFolderIsReportedNotMade) {
    const auto unmounted = root / "card" / "DCIM";
    library = make(unmounted, true);
    const auto source = waitingMovie();
    const auto error = moveIn(source, "M.MOV");
    ASSERT_TRUE(error);
    EXPECT_EQ(error->description, "Cannot write to the photo library at " + unmounted.string() +
                                      ": No such file or directory");
    EXPECT_EQ(readFile(source), "movie");
    EXPECT_FALSE(fs::exists(root / "card"));

    // The default folder is made with its parents.
    library = make(unmounted, false);
    EXPECT_FALSE(moveIn(source, "M.MOV"));
    EXPECT_EQ(readFile(unmounted / "M.MOV"), "movie");
}

TEST_F(FolderPhotoLibraryTest, AReadOnlyIndexRefusesWritesAndKeepsTheSource) {
    addData("first", "1.JPG");
    library = make(folder);  // opens the index afresh, after it is protected
    WriteProtection protection(folder / LibraryIndex::kFileName);
    if (!protection.active()) {
        GTEST_SKIP() << "cannot make the index refuse writes here";
    }
    const auto source = waitingMovie();
    const auto error = moveIn(source, "M.MOV");
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, kPhotoLibraryWriteFailed);
    EXPECT_TRUE(error->description.starts_with("Cannot write to the photo library at "))
        << error->description;
    EXPECT_EQ(readFile(source), "movie");
    EXPECT_EQ(filesInFolder(), std::vector<std::string>{"1.JPG"});
    EXPECT_EQ(library->fetchAssets().values.size(), 1u);
}

TEST_F(FolderPhotoLibraryTest, ACorruptIndexIsReportedAndLeftAlone) {
    const std::string garbage(4096, 'x');
    writeFile(folder / LibraryIndex::kFileName, garbage);
    const auto assets = library->fetchAssets();
    ASSERT_TRUE(assets.error);
    EXPECT_EQ(assets.error->code, kPhotoLibraryIndexUnreadable);
    EXPECT_NE(assets.error->description.find("cannot be read"), std::string::npos)
        << assets.error->description;
    const auto source = waitingMovie();
    ASSERT_TRUE(moveIn(source, "M.MOV"));
    EXPECT_EQ(readFile(source), "movie");
    EXPECT_EQ(readFile(folder / LibraryIndex::kFileName), garbage);
    EXPECT_TRUE(filesInFolder().empty());
}

TEST_F(FolderPhotoLibraryTest, AMissingSourceIsNamedInTheError) {
    const auto error = moveIn(root / "gone.MOV", "M.MOV");
    ASSERT_TRUE(error);
    EXPECT_EQ(error->description,
              "Cannot read " + (root / "gone.MOV").string() + ": No such file or directory");
    EXPECT_TRUE(library->fetchAssets().values.empty());
}

}  // namespace
}  // namespace orvane::platform
