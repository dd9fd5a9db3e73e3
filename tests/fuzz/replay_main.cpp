// Runs a fuzz target over the files of its seed corpus, for compilers without libFuzzer: the
// seeds then run as an ordinary test. Each argument is a folder of inputs or one input, as for
// libFuzzer, so a crash's input can be run again alone.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
    std::size_t files = 0;
    const auto run = [&files](const std::filesystem::path& path) {
        std::ifstream in(path, std::ios::binary);
        const std::vector<char> bytes{std::istreambuf_iterator<char>(in), {}};
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
        ++files;
    };
    for (int i = 1; i < argc; ++i) {
        if (std::filesystem::is_regular_file(argv[i])) {
            run(argv[i]);
            continue;
        }
        if (!std::filesystem::is_directory(argv[i])) {
            std::fprintf(stderr, "%s is neither an input nor a folder of inputs\n", argv[i]);
            return 2;
        }
        for (const auto& entry : std::filesystem::recursive_directory_iterator(argv[i])) {
            if (entry.is_regular_file())
                run(entry.path());
        }
    }
    std::printf("%zu inputs ran\n", files);
    return files > 0 ? 0 : 1;
}
