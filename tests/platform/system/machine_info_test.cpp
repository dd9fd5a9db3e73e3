// The machine's vendor as the movie files name it.
#include "platform/system/machine_info.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace orvane::platform {
namespace {

class MachineVendorTest : public ::testing::Test {
  protected:
    void SetUp() override {
        std::string pattern = std::filesystem::temp_directory_path() / "orvane-vendor-XXXXXX";
        ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
        _directory = pattern;
    }
    void TearDown() override { std::filesystem::remove_all(_directory); }

    std::string fileHolding(const std::string& text) {
        const auto path = (_directory / "sys_vendor").string();
        std::ofstream(path, std::ios::binary) << text;
        return path;
    }
    std::string missing() const { return (_directory / "absent").string(); }

  private:
    std::filesystem::path _directory;
};

TEST_F(MachineVendorTest, TrimmedVendorOrLinuxWhenThereIsNone) {
    const std::pair<std::string, std::string> rows[] = {
        {"LENOVO\n", "LENOVO"}, {"  Dell Inc.  \n", "Dell Inc."},
        {"\tQEMU\r\n", "QEMU"}, {"", "Linux"},
        {" \n", "Linux"},       {"Framework\nsecond line\n", "Framework"},
    };
    for (const auto& [contents, expected] : rows) {
        EXPECT_EQ(machineVendor(fileHolding(contents)), expected) << '"' << contents << '"';
    }
    EXPECT_EQ(machineVendor(missing()), "Linux");
}

TEST(MachineVendor, ThisMachineNamesSomeVendor) {
    const std::string vendor = machineVendor();
    EXPECT_FALSE(vendor.empty());
    EXPECT_EQ(vendor.find('\n'), std::string::npos);
    if (!std::filesystem::exists(kSystemVendorPath)) {
        EXPECT_EQ(vendor, "Linux");
    }
}

}  // namespace
}  // namespace orvane::platform
