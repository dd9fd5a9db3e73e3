// Writes small place files for the offline map's tests, in the layout the place file reader
// checks (see tools/places/make_places.py): chosen places, and a land mask of whole-degree cells.
#pragma once

#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

namespace orvane::platform::testing {

struct TestPlace {
    double latitude;
    double longitude;
    std::string name;
};

inline void putU32(std::vector<std::uint8_t>& out, std::uint32_t value) {
    for (int i = 0; i < 4; ++i) {
        out.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
    }
}

inline void putU16(std::vector<std::uint8_t>& out, std::uint16_t value) {
    out.push_back(static_cast<std::uint8_t>(value));
    out.push_back(static_cast<std::uint8_t>(value >> 8));
}

// zlib's CRC-32.
inline std::uint32_t zlibCrc32(const std::uint8_t* data, std::size_t size) {
    std::uint32_t crc = 0xFFFFFFFFu;
    for (std::size_t i = 0; i < size; ++i) {
        crc ^= data[i];
        for (int k = 0; k < 8; ++k) {
            crc = (crc & 1) ? 0xEDB88320u ^ (crc >> 1) : crc >> 1;
        }
    }
    return crc ^ 0xFFFFFFFFu;
}

// The file's bytes; `isLand` says for each one-degree cell, by its south-west corner.
inline std::vector<std::uint8_t> placeFileBytes(const std::vector<TestPlace>& places,
                                                const std::function<bool(int, int)>& isLand) {
    constexpr std::uint32_t kWidth = 360, kHeight = 180;
    std::vector<std::uint8_t> body;
    std::string strings;
    for (const TestPlace& place : places) {
        putU32(body, static_cast<std::uint32_t>(std::lround(place.latitude * 1e5)));
        putU32(body, static_cast<std::uint32_t>(std::lround(place.longitude * 1e5)));
        putU32(body, static_cast<std::uint32_t>(strings.size()));
        putU16(body, 0xFFFF);
        putU16(body, 0xFFFF);
        body.push_back('G');
        body.push_back('B');
        strings += place.name;
        strings += '\0';
    }
    body.insert(body.end(), strings.begin(), strings.end());
    std::vector<std::uint8_t> mask((kWidth * kHeight + 7) / 8, 0);
    for (std::uint32_t row = 0; row < kHeight; ++row) {
        for (std::uint32_t column = 0; column < kWidth; ++column) {
            const int south = 89 - static_cast<int>(row);
            const int west = static_cast<int>(column) - 180;
            if (isLand(south, west)) {
                const std::uint32_t bit = row * kWidth + column;
                mask[bit / 8] |= static_cast<std::uint8_t>(1u << (bit % 8));
            }
        }
    }
    body.insert(body.end(), mask.begin(), mask.end());

    std::vector<std::uint8_t> file = {'O', 'R', 'V', 'P', 'L', 'C', '1', '\0'};
    putU32(file, 1);
    putU32(file, static_cast<std::uint32_t>(places.size()));
    putU32(file, 0);
    putU32(file, static_cast<std::uint32_t>(strings.size()));
    putU32(file, kWidth);
    putU32(file, kHeight);
    putU32(file, zlibCrc32(body.data(), body.size()));
    file.insert(file.end(), body.begin(), body.end());
    return file;
}

inline void writePlaceFile(const std::string& path, const std::vector<TestPlace>& places,
                           const std::function<bool(int, int)>& isLand) {
    const auto bytes = placeFileBytes(places, isLand);
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
}

}  // namespace orvane::platform::testing
