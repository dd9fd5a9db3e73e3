// Fuzz target: any bytes as the settings file, then every typed reading of what it holds, and
// the text the store would write back, which reads back to itself.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "platform/settings/MemoryUserDefaults.h"
#include "platform/settings/defaults_document.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    namespace platform = orvane::platform;
    std::string problem;
    const auto document = platform::decodeDefaultsDocument(
        std::string(reinterpret_cast<const char*>(data), size), problem);
    if (!document) {
        return 0;
    }
    platform::MemoryUserDefaults defaults;
    for (const auto& [key, value] : document->values) {
        defaults.setObject(key, value);
    }
    for (const std::string& key : defaults.allKeys()) {
        defaults.boolForKey(key);
        defaults.integerForKey(key);
        defaults.floatForKey(key);
        defaults.stringForKey(key);
        defaults.stringArrayForKey(key);
        defaults.dataForKey(key);
    }
    // A rewrite without changes must leave the file as it is, unknown members included.
    const std::string written = platform::encodeDefaultsDocument(*document);
    const auto reread = platform::decodeDefaultsDocument(written, problem);
    if (!reread || platform::encodeDefaultsDocument(*reread) != written) {
        std::fprintf(stderr, "the written settings do not read back as written:\n%s\n",
                     written.c_str());
        std::abort();
    }
    return 0;
}
