// What this machine says about itself, for the files it writes: the maker's name.
#pragma once

#include <string>

namespace orvane::platform {

// Where the firmware's system vendor is read from on Linux.
inline constexpr const char* kSystemVendorPath = "/sys/class/dmi/id/sys_vendor";

// The vendor named in `path` (the firmware's by default), without surrounding white space;
// "Linux" when the file is absent, unreadable or holds only white space, as on boards without
// DMI tables.
std::string machineVendor(const std::string& path = kSystemVendorPath);

}  // namespace orvane::platform
