// The real `orvane` executable on a real settings file in a temporary folder.
#include <filesystem>
#include <fstream>

#include "platform/image/picture_file.h"
#include "tests/app/command_test_support.h"

namespace orvane::app {
namespace {

namespace fs = std::filesystem;

using testing::CommandTest;
using testing::readFile;
using testing::Result;

namespace fs = std::filesystem;

class OrvaneBinaryTest : public CommandTest {
  protected:
    void SetUp() override {
        CommandTest::SetUp();
        config = folder / "config";
    }

    // Runs the binary as a new process; arguments must not need shell quoting. `environment`
    // holds NAME=VALUE words for env(1).
    Result run(const std::string& arguments, const std::string& environment = "") {
        return runShell("env " + environment + " '" + ORVANE_BINARY + "' --config-dir '" +
                        config.string() + "' " + arguments);
    }

    fs::path config;
};

TEST_F(OrvaneBinaryTest, NewStoreReadsTheDefaultIntervalAndFlashMode) {
    const auto interval = run("settings get TimelpaseInterval");
    EXPECT_EQ(interval.status, 0) << interval.err;
    EXPECT_EQ(interval.out, "0.5\n");
    const auto flash = run("settings get backFlashMode");
    EXPECT_EQ(flash.status, 0) << flash.err;
    EXPECT_EQ(flash.out, "1\n");
    EXPECT_TRUE(fs::exists(config / "defaults.json"));
}

TEST_F(OrvaneBinaryTest, AValueSetIsReadBackByANewProcess) {
    ASSERT_EQ(run("settings set TextAlpha 80").status, 0);
    ASSERT_EQ(run("settings set ShowGrid true").status, 0);
    EXPECT_EQ(run("settings get TextAlpha").out, "80\n");
    EXPECT_EQ(run("settings get ShowGrid").out, "true\n");
    EXPECT_NE(readFile(config / "defaults.json").find("\"TextAlpha\": 20"), std::string::npos);
}

TEST_F(OrvaneBinaryTest, ARejectedSetLeavesTheFileAsItWas) {
    ASSERT_EQ(run("settings set UIMode 1").status, 0);
    const auto before = readFile(config / "defaults.json");
    const auto rejected = run("settings set UIMode 7");
    EXPECT_EQ(rejected.status, 1);
    EXPECT_NE(rejected.err.find("\"UIMode\""), std::string::npos) << rejected.err;
    EXPECT_EQ(readFile(config / "defaults.json"), before);
}

TEST_F(OrvaneBinaryTest, ABrokenFileIsMovedAsideAndTheProgramGoesOn) {
    fs::create_directories(config);
    std::ofstream(config / "defaults.json") << "{\"ShowGrid\": tru";
    const auto result = run("settings get backFlashMode");
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, "1\n");
    // One message, naming where the file went.
    const auto mention = result.err.find("defaults.json.broken-");
    ASSERT_NE(mention, std::string::npos) << result.err;
    EXPECT_EQ(result.err.find("defaults.json.broken-", mention + 1), std::string::npos)
        << result.err;
    int setAside = 0;
    for (const auto& entry : fs::directory_iterator(config)) {
        const auto name = entry.path().filename().string();
        if (name.starts_with("defaults.json.broken-")) {
            ++setAside;
            EXPECT_EQ(readFile(entry.path()), "{\"ShowGrid\": tru");
        }
    }
    EXPECT_EQ(setAside, 1);
    EXPECT_EQ(run("settings get ShowGrid").out, "false\n");
}

// The moment of the done-when check: noon in Beijing on the lunar new year 2024.
const std::string kChinaNoon =
    "formats --lat 48.858370 --lon 2.294481 --accuracy 5 --time 2024-02-10T12:00:00+08:00";

TEST_F(OrvaneBinaryTest, FormatsPrintsEveryRowInTheUsersZone) {
    const auto result = run(kChinaNoon, "TZ=Asia/Shanghai LC_ALL=C LANGUAGE=");
    ASSERT_EQ(result.status, 0) << result.err;
    for (const char* row :
         {"time.19\t2024-02-10 12:00:00\n", "time.46\t02/10/2024 12:00:00.000\n",
          "time.60\t02/10/2024<enter>12:00:00\n", "time.87\tSAT | 10 FEB 2024 | 12:00PM\n",
          "gps1\t+48.858370,+2.294481\n", "gps1WithAccuracy\t+48.858370,+2.294481 ±5.00m\n",
          "gpsUTM\t31U 448250 5411951\n", "gpsMGRS\t31UDQ4825011951\n",
          "lunar\t农历正月初一 春节\n", "stamp.time\t"}) {
        EXPECT_NE(result.out.find(row), std::string::npos) << row << "\n" << result.out;
    }
    EXPECT_NE(result.out.find("time.90\t"), std::string::npos);
    EXPECT_EQ(result.out.find("time.91\t"), std::string::npos);

    const auto utc = run(kChinaNoon, "TZ=UTC LC_ALL=C LANGUAGE=");
    EXPECT_NE(utc.out.find("time.19\t2024-02-10 04:00:00\n"), std::string::npos) << utc.out;
}

TEST_F(OrvaneBinaryTest, FormatsComposesTheStampFromTheStoredSettings) {
    ASSERT_EQ(run("settings set ShowAltitudeAndSpeed true").status, 0);
    ASSERT_EQ(run("settings set SavedGpsType gpsMGRS").status, 0);
    ASSERT_EQ(run("settings set TimeFormatIndex 48").status, 0);
    const auto result =
        run(kChinaNoon + " --alt 35 --speed 3", "TZ=Asia/Shanghai LC_ALL=C LANGUAGE=");
    ASSERT_EQ(result.status, 0) << result.err;
    for (const char* row : {"stamp.time\t02/10/2024 12:00:00.\n", "stamp.fraction\t0\n",
                            "stamp.coordinates\t31UDQ4825011951\n",
                            "stamp.static\tAltitude:35.0m<enter>Speed:10.8km/h\n"}) {
        EXPECT_NE(result.out.find(row), std::string::npos) << row << "\n" << result.out;
    }
}

TEST_F(OrvaneBinaryTest, FormatsRefusesBadArguments) {
    for (const char* arguments :
         {"formats --lat 48.8", "formats --lat 91 --lon 0", "formats --lat 1 --lon 181",
          "formats --time 2024-02-30T12:00:00", "formats --time noon",
          "formats --lat north --lon 0", "formats --accuracy -1"}) {
        const auto result = run(arguments);
        EXPECT_NE(result.status, 0) << arguments;
        EXPECT_NE(result.err, "") << arguments;
        EXPECT_EQ(result.out, "") << arguments;
    }
}

TEST_F(OrvaneBinaryTest, FrameWritesAStampedPicture) {
    const fs::path picture = folder / "frame.png";
    const auto result = run("frame --synthetic 320x180 --position 4 --orientation 1 --out '" +
                            picture.string() + "' --time 2024-02-10T12:00:00Z");
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, picture.string() + "\n");
    const std::string png = readFile(picture);
    ASSERT_GT(png.size(), 8u);
    EXPECT_EQ(png.substr(1, 3), "PNG");
}

TEST_F(OrvaneBinaryTest, FrameDanceBendsThePicture) {
    const auto draw = [&](const std::string& extra) {
        const fs::path picture = folder / "frame.png";
        EXPECT_EQ(run("frame --synthetic 320x180 --time 2024-02-10T12:00:00Z --out '" +
                      picture.string() + "'" + extra)
                      .status,
                  0);
        const auto read = platform::readPicture(picture);
        return read.picture ? read.picture->rgba : std::vector<std::uint8_t>{};
    };
    const auto flat = draw("");
    const auto bent = draw(" --dance");
    ASSERT_EQ(bent.size(), std::size_t{320 * 180 * 4});
    ASSERT_EQ(flat.size(), bent.size());
    std::size_t moved = 0;
    for (std::size_t i = 0; i < flat.size(); i += 4) {
        moved += std::abs(flat[i] - bent[i]) > 24 ? 1 : 0;
    }
    EXPECT_GT(moved, std::size_t{320 * 180 / 20});
}

TEST_F(OrvaneBinaryTest, FrameRefusesBadArgumentsAndWritesNothing) {
    const fs::path picture = folder / "frame.png";
    for (const std::string& arguments : std::vector<std::string>{
             "frame", "frame --synthetic 0x10", "frame --synthetic wide", "frame --orientation 5",
             "frame --position 6", "frame --margin 4", "frame --gl vulkan",
             "frame --lat 95 --lon 0", "frame --in '" + (folder / "missing.png").string() + "'"}) {
        const auto result =
            run(arguments +
                (arguments == "frame" ? std::string() : " --out '" + picture.string() + "'"));
        EXPECT_NE(result.status, 0) << arguments;
        EXPECT_NE(result.err, "") << arguments;
        EXPECT_FALSE(fs::exists(picture)) << arguments;
    }
}

TEST_F(OrvaneBinaryTest, FrameDrawsAPhotoInPlaceOfTheCamera) {
    const platform::Picture blue{40, 30, [] {
                                     std::vector<std::uint8_t> rgba(40 * 30 * 4);
                                     for (std::size_t i = 0; i < rgba.size(); i += 4) {
                                         rgba[i + 2] = rgba[i + 3] = 255;
                                     }
                                     return rgba;
                                 }()};
    ASSERT_EQ(platform::writePictureAsPng(blue, folder / "blue.png"), std::nullopt);
    const fs::path picture = folder / "frame.png";
    const auto frame = run("frame --synthetic 640x360 --position 0 --photo '" +
                           (folder / "blue.png").string() + "' --out '" + picture.string() + "'");
    ASSERT_EQ(frame.status, 0) << frame.err;
    const auto read = platform::readPicture(picture);
    ASSERT_TRUE(read.picture) << read.problem;
    // The photo fills the frame: below the stamp, which stands top left within its margins,
    // both lower corners are the photo's blue.
    for (const std::size_t at : {(350u * 640 + 10) * 4, (350u * 640 + 630) * 4}) {
        EXPECT_EQ(read.picture->rgba[at], 0);
        EXPECT_EQ(read.picture->rgba[at + 2], 255);
    }
    const auto missing = run("frame --photo '" + (folder / "gone.png").string() + "' --out '" +
                             (folder / "other.png").string() + "'");
    EXPECT_EQ(missing.status, 1);
    EXPECT_NE(missing.err.find("gone.png"), std::string::npos) << missing.err;
    EXPECT_FALSE(fs::exists(folder / "other.png"));
}

TEST_F(OrvaneBinaryTest, ALogoSetIsDrawnUntilTurnedOffAndABadPictureChangesNothing) {
    const std::string data = "XDG_DATA_HOME='" + (folder / "data").string() + "'";
    const platform::Picture green{100, 100, [] {
                                      std::vector<std::uint8_t> rgba(100 * 100 * 4);
                                      for (std::size_t i = 0; i < rgba.size(); i += 4) {
                                          rgba[i + 1] = rgba[i + 3] = 255;
                                      }
                                      return rgba;
                                  }()};
    ASSERT_EQ(platform::writePictureAsPng(green, folder / "green.png"), std::nullopt);
    std::ofstream(folder / "notes.png") << "not a picture";

    EXPECT_EQ(run("logo", data).out, "off\n");
    const auto set = run("logo set '" + (folder / "green.png").string() + "'", data);
    ASSERT_EQ(set.status, 0) << set.err;
    const std::string kept = (folder / "data" / "orvane" / "watermark.png").string();
    EXPECT_EQ(set.out, kept + "\n");
    const auto bad = run("logo set '" + (folder / "notes.png").string() + "'", data);
    EXPECT_EQ(bad.status, 1);
    EXPECT_NE(bad.err.find("notes.png"), std::string::npos) << bad.err;
    EXPECT_EQ(run("logo", data).out, kept + "\t100x100\n");

    // Text top left puts the logo at the viewer's bottom right: 57 pixels square (0.16 of the
    // height), 10 pixels in from the corner (edge 20).
    const auto logoPixel = [&] {
        const fs::path picture = folder / "frame.png";
        const auto frame =
            run("frame --synthetic 640x360 --position 0 --out '" + picture.string() + "'", data);
        EXPECT_EQ(frame.status, 0) << frame.err;
        const auto read = platform::readPicture(picture);
        EXPECT_TRUE(read.picture) << read.problem;
        const std::size_t at = (static_cast<std::size_t>(321) * 640 + 601) * 4;
        return read.picture ? std::array<int, 3>{read.picture->rgba[at], read.picture->rgba[at + 1],
                                                 read.picture->rgba[at + 2]}
                            : std::array<int, 3>{};
    };
    EXPECT_EQ(logoPixel(), (std::array<int, 3>{0, 255, 0}));
    EXPECT_EQ(run("logo off", data).out, "off\n");
    EXPECT_NE(logoPixel(), (std::array<int, 3>{0, 255, 0}));
}

TEST_F(OrvaneBinaryTest, FrameDrawsTheMapOfItsPositionWhenTheMapIsOn) {
    const fs::path picture = folder / "frame.png";
    const std::string frame =
        "frame --synthetic 640x360 --position 2 --time 2024-02-10T12:00:00Z "
        "--lat 51.3811 --lon -2.359 "
        "--out '" +
        picture.string() + "'";
    // Text top right: the map takes the top left corner, 0.3 of the frame's height.
    const auto corner = [&] {
        const auto read = platform::readPicture(picture);
        EXPECT_TRUE(read.picture) << read.problem;
        std::vector<std::uint8_t> pixels;
        for (int y = 0; read.picture && y < 100; ++y) {
            const auto row = read.picture->rgba.begin() + y * 640 * 4;
            pixels.insert(pixels.end(), row, row + 100 * 4);
        }
        return pixels;
    };
    ASSERT_EQ(run(frame).status, 0);
    const auto without = corner();
    ASSERT_EQ(run("settings set NeedDisplayMap true").status, 0);
    const auto drawn = run(frame);
    ASSERT_EQ(drawn.status, 0) << drawn.err;
    EXPECT_NE(corner(), without);

    // A source that cannot be used is named, and no frame is written without its map.
    ASSERT_EQ(run("settings set MapTileURL ftp://tiles.invalid/{z}/{x}/{y}.png").status, 0);
    fs::remove(picture);
    const auto refused = run(frame);
    EXPECT_EQ(refused.status, 1);
    EXPECT_NE(refused.err.find("MapTileURL"), std::string::npos) << refused.err;
    EXPECT_FALSE(fs::exists(picture));
}

TEST_F(OrvaneBinaryTest, LunarPrintsTheFieldsOfADate) {
    const auto result = run("lunar 2024-02-10", "LC_ALL=C LANGUAGE=");
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out,
              "lunarMonthName\t正月\nlunarDayName\t初一\n"
              "lunarFestival\t春节\nterm\t\n"
              "line\t农历正月初一 春节\n");

    for (const char* date : {"2024-02-30", "2024-2-10", "2024-02-10x", "2101-01-01"}) {
        const auto refused = run(std::string("lunar ") + date);
        EXPECT_EQ(refused.status, 1) << date;
        EXPECT_NE(refused.err, "") << date;
    }
}

}  // namespace
}  // namespace orvane::app
