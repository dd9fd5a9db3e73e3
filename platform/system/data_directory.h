// Where the program's installed data lives (place data, images): one rule for every reader.
#pragma once

#include <string>

namespace orvane::platform {

// $ORVANE_DATADIR, else share/orvane beside the program's bin/ (found through /proc/self/exe),
// else the install prefix's share/orvane.
std::string dataDirectory();

}  // namespace orvane::platform
