#include "platform/system/machine_info.h"

#include <fstream>

namespace orvane::platform {

namespace {

constexpr const char* kFallbackVendor = "Linux";
constexpr const char* kWhiteSpace = " \t\r\n\v\f";

}  // namespace

std::string machineVendor(const std::string& path) {
    std::ifstream file(path);
    if (!file) {
        return kFallbackVendor;
    }
    // The file is one short line; more is not a vendor's name.
    std::string text;
    std::getline(file, text);
    const auto first = text.find_first_not_of(kWhiteSpace);
    if (first == std::string::npos) {
        return kFallbackVendor;
    }
    const auto last = text.find_last_not_of(kWhiteSpace);
    return text.substr(first, last - first + 1);
}

}  // namespace orvane::platform
