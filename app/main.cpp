// The orvane command.
#include <iostream>
#include <string>
#include <vector>

#include "app/command_line.h"
#include "foundation/strings.h"

int main(int argc, char** argv) {
    orvane::foundation::initializeStrings();
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    return orvane::app::runCommandLine(arguments, std::cout, std::cerr);
}
