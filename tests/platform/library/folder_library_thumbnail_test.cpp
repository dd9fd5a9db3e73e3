// The folder photo library's thumbnails: freedesktop names and text chunks, JPEGs and movies.
#include <gtest/gtest.h>

#include "tests/platform/library/folder_library_rig.h"

namespace orvane::platform {
namespace {

using namespace testing;

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


}  // namespace
}  // namespace orvane::platform
