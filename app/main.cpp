// The orvane command.
#include <CLI/CLI.hpp>

int main(int argc, char** argv) {
    CLI::App app{"Orvane: a camera that stamps what it records", "orvane"};
    app.set_version_flag("--version", std::string("orvane ") + ORVANE_VERSION);
    CLI11_PARSE(app, argc, argv);
    return 0;
}
