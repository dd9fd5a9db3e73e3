#include "platform/geocoding/places_file.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fstream>
#include <numbers>

namespace orvane::platform::places {

namespace {

constexpr char kMagic[8] = {'O', 'R', 'V', 'P', 'L', 'C', '1', '\0'};
constexpr std::uint32_t kVersion = 1;
constexpr std::size_t kHeaderBytes = 8 + 7 * 4;
constexpr std::size_t kPlaceBytes = 4 + 4 + 4 + 2 + 2 + 2;
constexpr std::uint16_t kNoArea = 0xFFFF;
constexpr double kRadians = std::numbers::pi / 180.0;

std::uint32_t readU32(const std::uint8_t* p) {
    return std::uint32_t(p[0]) | std::uint32_t(p[1]) << 8 | std::uint32_t(p[2]) << 16 |
           std::uint32_t(p[3]) << 24;
}

std::uint16_t readU16(const std::uint8_t* p) {
    return static_cast<std::uint16_t>(p[0] | p[1] << 8);
}

// zlib's CRC-32, which the generator writes.
std::uint32_t crc32(const std::uint8_t* data, std::size_t size) {
    static const auto table = [] {
        std::array<std::uint32_t, 256> t{};
        for (std::uint32_t n = 0; n < 256; ++n) {
            std::uint32_t c = n;
            for (int k = 0; k < 8; ++k) {
                c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
            }
            t[n] = c;
        }
        return t;
    }();
    std::uint32_t crc = 0xFFFFFFFFu;
    for (std::size_t i = 0; i < size; ++i) {
        crc = table[(crc ^ data[i]) & 0xFF] ^ (crc >> 8);
    }
    return crc ^ 0xFFFFFFFFu;
}

std::array<double, 3> unitVector(double latitude, double longitude) {
    const double phi = latitude * kRadians;
    const double lambda = longitude * kRadians;
    return {std::cos(phi) * std::cos(lambda), std::cos(phi) * std::sin(lambda), std::sin(phi)};
}

double chordToMetres(double squaredChord) {
    const double half = std::min(1.0, std::sqrt(squaredChord) / 2.0);
    return 2.0 * std::asin(half) * kEarthRadiusMetres;
}

}  // namespace

double greatCircleMetres(double latitude1, double longitude1, double latitude2, double longitude2) {
    const double dPhi = (latitude2 - latitude1) * kRadians;
    const double dLambda = (longitude2 - longitude1) * kRadians;
    const double a = std::pow(std::sin(dPhi / 2), 2) + std::cos(latitude1 * kRadians) *
                                                           std::cos(latitude2 * kRadians) *
                                                           std::pow(std::sin(dLambda / 2), 2);
    return 2.0 * kEarthRadiusMetres * std::asin(std::min(1.0, std::sqrt(a)));
}

std::unique_ptr<PlaceIndex> PlaceIndex::load(const std::string& path, std::string& problem) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        problem = std::strerror(errno);
        return nullptr;
    }
    file.seekg(0, std::ios::end);
    const std::streamoff size = file.tellg();
    file.seekg(0);
    std::vector<std::uint8_t> bytes(size > 0 ? static_cast<std::size_t>(size) : 0);
    if (size < 0 || !file.read(reinterpret_cast<char*>(bytes.data()), size)) {
        problem = "read error";
        return nullptr;
    }
    return parse(std::move(bytes), problem);
}

std::unique_ptr<PlaceIndex> PlaceIndex::parse(std::vector<std::uint8_t> bytes,
                                              std::string& problem) {
    if (bytes.size() < kHeaderBytes || std::memcmp(bytes.data(), kMagic, sizeof kMagic) != 0) {
        problem = "not a place file";
        return nullptr;
    }
    const std::uint8_t* header = bytes.data() + sizeof kMagic;
    if (readU32(header) != kVersion) {
        problem = "unknown place file version " + std::to_string(readU32(header));
        return nullptr;
    }
    const std::uint64_t placeCount = readU32(header + 4);
    const std::uint64_t areaCount = readU32(header + 8);
    const std::uint64_t stringBytes = readU32(header + 12);
    const std::uint64_t maskWidth = readU32(header + 16);
    const std::uint64_t maskHeight = readU32(header + 20);
    const std::uint32_t expectedCrc = readU32(header + 24);
    const std::uint64_t maskBytes = (maskWidth * maskHeight + 7) / 8;
    const std::uint64_t expectedSize =
        kHeaderBytes + placeCount * kPlaceBytes + areaCount * 4 + stringBytes + maskBytes;
    if (expectedSize != bytes.size() || maskWidth == 0 || maskHeight == 0 || areaCount >= kNoArea) {
        problem = "the file is truncated or its header is damaged";
        return nullptr;
    }
    if (crc32(bytes.data() + kHeaderBytes, bytes.size() - kHeaderBytes) != expectedCrc) {
        problem = "the file is damaged (checksum mismatch)";
        return nullptr;
    }

    auto index = std::unique_ptr<PlaceIndex>(new PlaceIndex);
    const std::uint8_t* p = bytes.data() + kHeaderBytes;
    const std::size_t areasOffset = kHeaderBytes + placeCount * kPlaceBytes;
    index->_stringsOffset = areasOffset + areaCount * 4;
    index->_stringBytes = stringBytes;
    index->_maskOffset = index->_stringsOffset + stringBytes;
    index->_maskWidth = static_cast<std::uint32_t>(maskWidth);
    index->_maskHeight = static_cast<std::uint32_t>(maskHeight);
    // Every name must end inside the string table, so a checked offset is a safe C string.
    if (stringBytes > 0 && bytes[index->_maskOffset - 1] != 0) {
        problem = "the file's names are damaged";
        return nullptr;
    }
    const auto badOffset = [&](std::uint32_t offset) { return offset >= stringBytes; };

    index->_places.reserve(placeCount);
    for (std::uint64_t i = 0; i < placeCount; ++i, p += kPlaceBytes) {
        Record r{};
        r.latitude = static_cast<std::int32_t>(readU32(p)) / 1e5;
        r.longitude = static_cast<std::int32_t>(readU32(p + 4)) / 1e5;
        r.nameOffset = readU32(p + 8);
        r.area = readU16(p + 12);
        r.subArea = readU16(p + 14);
        r.country[0] = static_cast<char>(p[16]);
        r.country[1] = static_cast<char>(p[17]);
        const bool countryOk = std::isupper(static_cast<unsigned char>(r.country[0])) &&
                               std::isupper(static_cast<unsigned char>(r.country[1]));
        if (std::abs(r.latitude) > 90 || std::abs(r.longitude) > 180 || badOffset(r.nameOffset) ||
            (r.area != kNoArea && r.area >= areaCount) ||
            (r.subArea != kNoArea && r.subArea >= areaCount) || !countryOk) {
            problem = "place " + std::to_string(i) + " is damaged";
            return nullptr;
        }
        index->_places.push_back(r);
    }
    index->_areaNames.reserve(areaCount);
    for (std::uint64_t i = 0; i < areaCount; ++i) {
        const std::uint32_t offset = readU32(bytes.data() + areasOffset + i * 4);
        if (badOffset(offset)) {
            problem = "area " + std::to_string(i) + " is damaged";
            return nullptr;
        }
        index->_areaNames.push_back(offset);
    }
    index->_bytes = std::move(bytes);

    index->_tree.reserve(index->_places.size());
    for (std::uint32_t i = 0; i < index->_places.size(); ++i) {
        const auto v = unitVector(index->_places[i].latitude, index->_places[i].longitude);
        index->_tree.push_back({v[0], v[1], v[2], i});
    }
    index->buildTree(0, index->_tree.size(), 0);
    return index;
}

std::string_view PlaceIndex::text(std::uint32_t offset) const {
    return reinterpret_cast<const char*>(_bytes.data() + _stringsOffset + offset);
}

Place PlaceIndex::place(std::size_t index) const {
    const Record& r = _places.at(index);
    Place place;
    place.latitude = r.latitude;
    place.longitude = r.longitude;
    place.name = text(r.nameOffset);
    if (r.area != kNoArea) {
        place.area = text(_areaNames[r.area]);
    }
    if (r.subArea != kNoArea) {
        place.subArea = text(_areaNames[r.subArea]);
    }
    place.countryCode = std::string_view(r.country, 2);
    return place;
}

static double coordinate(const auto& point, int axis) {
    return axis == 0 ? point.x : axis == 1 ? point.y : point.z;
}

void PlaceIndex::buildTree(std::size_t begin, std::size_t end, int axis) {
    if (end - begin <= 1) {
        return;
    }
    const std::size_t middle = begin + (end - begin) / 2;
    std::nth_element(_tree.begin() + begin, _tree.begin() + middle, _tree.begin() + end,
                     [axis](const TreePoint& a, const TreePoint& b) {
                         return coordinate(a, axis) < coordinate(b, axis);
                     });
    buildTree(begin, middle, (axis + 1) % 3);
    buildTree(middle + 1, end, (axis + 1) % 3);
}

namespace {

// The squared chord between a tree point and a point on the unit sphere.
double squaredChordTo(double x, double y, double z, const double point[3]) {
    const double dx = x - point[0], dy = y - point[1], dz = z - point[2];
    return dx * dx + dy * dy + dz * dz;
}

}  // namespace

void PlaceIndex::search(std::size_t begin, std::size_t end, int axis, const double point[3],
                        double& best, std::uint32_t& bestPlace) const {
    if (begin >= end) {
        return;
    }
    const std::size_t middle = begin + (end - begin) / 2;
    const TreePoint& node = _tree[middle];
    const double squared = squaredChordTo(node.x, node.y, node.z, point);
    if (squared < best || (squared == best && node.place < bestPlace)) {
        best = squared;
        bestPlace = node.place;
    }
    const double split = point[axis] - coordinate(node, axis);
    const int next = (axis + 1) % 3;
    const bool leftFirst = split < 0;
    if (leftFirst) {
        search(begin, middle, next, point, best, bestPlace);
    } else {
        search(middle + 1, end, next, point, best, bestPlace);
    }
    if (split * split <= best) {
        if (leftFirst) {
            search(middle + 1, end, next, point, best, bestPlace);
        } else {
            search(begin, middle, next, point, best, bestPlace);
        }
    }
}

std::optional<NearestPlace> PlaceIndex::nearest(double latitude, double longitude) const {
    if (_tree.empty()) {
        return std::nullopt;
    }
    const auto v = unitVector(latitude, longitude);
    double best = INFINITY;
    std::uint32_t bestPlace = 0;
    search(0, _tree.size(), 0, v.data(), best, bestPlace);
    return NearestPlace{bestPlace, chordToMetres(best)};
}

void PlaceIndex::collect(std::size_t begin, std::size_t end, int axis, const double point[3],
                         double squaredChord, std::vector<NearestPlace>& found) const {
    if (begin >= end) {
        return;
    }
    const std::size_t middle = begin + (end - begin) / 2;
    const TreePoint& node = _tree[middle];
    const double squared = squaredChordTo(node.x, node.y, node.z, point);
    if (squared <= squaredChord) {
        found.push_back({node.place, squared});
    }
    const double split = point[axis] - coordinate(node, axis);
    const int next = (axis + 1) % 3;
    if (split < 0 || split * split <= squaredChord) {
        collect(begin, middle, next, point, squaredChord, found);
    }
    if (split >= 0 || split * split <= squaredChord) {
        collect(middle + 1, end, next, point, squaredChord, found);
    }
}

std::vector<NearestPlace> PlaceIndex::within(double latitude, double longitude,
                                             double metres) const {
    std::vector<NearestPlace> found;
    if (_tree.empty() || !(metres >= 0)) {
        return found;
    }
    const auto v = unitVector(latitude, longitude);
    // The chord of an arc of `metres`; past half the globe every place is within.
    const double angle = std::min(metres / kEarthRadiusMetres, std::numbers::pi);
    const double chord = 2.0 * std::sin(angle / 2.0);
    collect(0, _tree.size(), 0, v.data(), chord * chord, found);
    // Squared chords first, for sorting; then metres.
    std::sort(found.begin(), found.end(), [](const NearestPlace& a, const NearestPlace& b) {
        return a.metres < b.metres || (a.metres == b.metres && a.index < b.index);
    });
    for (NearestPlace& place : found) {
        place.metres = chordToMetres(place.metres);
    }
    return found;
}

std::optional<NearestPlace> PlaceIndex::nearestByScan(double latitude, double longitude) const {
    if (_tree.empty()) {
        return std::nullopt;
    }
    const auto v = unitVector(latitude, longitude);
    double best = INFINITY;
    std::uint32_t bestPlace = 0;
    for (const TreePoint& point : _tree) {
        const double dx = point.x - v[0], dy = point.y - v[1], dz = point.z - v[2];
        const double squared = dx * dx + dy * dy + dz * dz;
        if (squared < best || (squared == best && point.place < bestPlace)) {
            best = squared;
            bestPlace = point.place;
        }
    }
    return NearestPlace{bestPlace, chordToMetres(best)};
}

bool PlaceIndex::isLand(double latitude, double longitude) const {
    const double rowScale = _maskHeight / 180.0;
    const double columnScale = _maskWidth / 360.0;
    const auto row = std::clamp<long>(std::lround(std::floor((90.0 - latitude) * rowScale)), 0,
                                      long(_maskHeight) - 1);
    const auto column = std::clamp<long>(std::lround(std::floor((longitude + 180.0) * columnScale)),
                                         0, long(_maskWidth) - 1);
    const std::size_t bit = std::size_t(row) * _maskWidth + std::size_t(column);
    return (_bytes[_maskOffset + bit / 8] >> (bit % 8)) & 1;
}

}  // namespace orvane::platform::places
