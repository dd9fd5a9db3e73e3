// The orvane command.
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include "app/command_line.h"
#include "foundation/strings.h"

int main(int argc, char** argv) {
    // Without a GPU, Mesa's llvmpipe rasterises on worker threads. The frame pass hands it only
    // the stamp's small draws, which cost more in hand-overs between threads than they gain,
    // and the other core is the encoder's: llvmpipe draws in the rendering thread unless the
    // user says otherwise. Set before any thread starts, since setenv is not thread-safe.
    setenv("LP_NUM_THREADS", "0", 0);
    orvane::foundation::initializeStrings();
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    return orvane::app::runCommandLine(arguments, std::cout, std::cerr);
}
