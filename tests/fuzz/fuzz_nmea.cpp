// Fuzz target: any bytes as NMEA lines through the parser and the assembler.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/location/nmea.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    orvane::platform::nmea::Assembler assembler([](const orvane::platform::Location&) {},
                                                [] { return 1714564800.0; });
    std::size_t start = 0;
    while (start <= text.size()) {
        const auto end = text.find('\n', start);
        const auto line = text.substr(start, end == std::string_view::npos ? end : end - start);
        orvane::platform::nmea::checksumMatches(line);
        assembler.addLine(line);
        if (end == std::string_view::npos)
            break;
        start = end + 1;
    }
    assembler.flush();
    return 0;
}
