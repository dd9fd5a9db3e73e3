#include "platform/library/PhotoLibrary.h"

#include <array>
#include <cstdio>
#include <random>

namespace orvane::platform {

namespace {

// Room left under the usual 255-byte limit for a " (NNNN)" that a clash adds.
constexpr std::size_t kLongestName = 240;
constexpr std::size_t kLongestExtension = 16;

std::size_t extensionStart(const std::string& name) {
    const auto dot = name.rfind('.');
    // A leading dot marks a hidden file, not an extension.
    if (dot == std::string::npos || dot == 0 || name.size() - dot > kLongestExtension) {
        return name.size();
    }
    return dot;
}

// Cuts `text` to at most `length` bytes without splitting a UTF-8 sequence.
std::string cutUtf8(const std::string& text, std::size_t length) {
    if (text.size() <= length) {
        return text;
    }
    while (length > 0 && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80) {
        --length;
    }
    return text.substr(0, length);
}

}  // namespace

const char* mediaTypeName(PHAssetMediaType type) {
    switch (type) {
        case PHAssetMediaType::Image:
            return "photo";
        case PHAssetMediaType::Video:
            return "video";
        case PHAssetMediaType::Unknown:
            break;
    }
    return "unknown";
}

PhotoLibraryAccess readPhotoLibraryAccess(const UserDefaults& defaults, std::string* unknownValue) {
    const auto value = defaults.stringForKey(kPhotoLibraryAccessLevelKey);
    if (!value || *value == "full") {
        return PhotoLibraryAccess::Full;
    }
    if (*value == "limited") {
        return PhotoLibraryAccess::Limited;
    }
    if (*value != "addOnly" && unknownValue) {
        *unknownValue = *value;
    }
    return PhotoLibraryAccess::AddOnly;
}

PHAuthorizationStatus authorizationStatusFor(PhotoLibraryAccess access, PHAccessLevel level) {
    if (level == PHAccessLevel::AddOnly) {
        return PHAuthorizationStatus::Authorized;
    }
    switch (access) {
        case PhotoLibraryAccess::Full:
            return PHAuthorizationStatus::Authorized;
        case PhotoLibraryAccess::Limited:
            return PHAuthorizationStatus::Limited;
        case PhotoLibraryAccess::AddOnly:
            break;
    }
    return PHAuthorizationStatus::Denied;
}

std::string PhotoLibraryChanges::addResourceWithTypeFileURL(PHAssetResourceType type,
                                                            std::filesystem::path file,
                                                            PHAssetResourceCreationOptions options,
                                                            std::optional<double> creationDate) {
    auto identifier = makeLocalIdentifier();
    _entries.push_back(
        {identifier, AssetCreation{type, std::move(file), std::move(options), creationDate}});
    return identifier;
}

std::string PhotoLibraryChanges::addResourceWithTypeData(PHAssetResourceType type, Blob data,
                                                         PHAssetResourceCreationOptions options,
                                                         std::optional<double> creationDate) {
    auto identifier = makeLocalIdentifier();
    _entries.push_back(
        {identifier, AssetCreation{type, std::move(data), std::move(options), creationDate}});
    return identifier;
}

std::string PhotoLibraryChanges::creationRequestForAssetCollectionWithTitle(std::string title) {
    auto identifier = makeLocalIdentifier();
    _entries.push_back({identifier, AlbumCreation{std::move(title)}});
    return identifier;
}

void PhotoLibraryChanges::addAssets(std::string albumIdentifier,
                                    std::vector<std::string> assetIdentifiers) {
    _entries.push_back(
        {{}, AlbumAddition{std::move(albumIdentifier), std::move(assetIdentifiers)}});
}

std::string cleanFileName(const std::string& name) {
    std::string clean = name;
    for (auto& c : clean) {
        if (c == '/' || c == '\0') {
            c = '_';
        }
    }
    if (clean.empty() || clean == "." || clean == "..") {
        return {};
    }
    if (clean.size() > kLongestName) {
        const auto dot = extensionStart(clean);
        const std::string extension = clean.substr(dot);
        clean = cutUtf8(clean.substr(0, dot), kLongestName - extension.size()) + extension;
    }
    return clean;
}

std::string numberedFileName(const std::string& name, int n) {
    if (n == 0) {
        return name;
    }
    const auto dot = extensionStart(name);
    return name.substr(0, dot) + " (" + std::to_string(n) + ")" + name.substr(dot);
}

std::string makeLocalIdentifier() {
    // One generator per thread, seeded from the system's entropy once.
    thread_local std::mt19937_64 generator{[] {
        std::random_device device;
        std::seed_seq seed{device(), device(), device(), device()};
        return std::mt19937_64(seed);
    }()};
    std::array<std::uint8_t, 16> bytes{};
    for (std::size_t i = 0; i < bytes.size(); i += 8) {
        const std::uint64_t word = generator();
        for (std::size_t j = 0; j < 8; ++j) {
            bytes[i + j] = static_cast<std::uint8_t>(word >> (8 * j));
        }
    }
    bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0F) | 0x40);  // version 4
    bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3F) | 0x80);  // RFC 4122 variant
    char text[37];
    std::snprintf(text, sizeof text,
                  "%02X%02X%02X%02X-%02X%02X-%02X%02X-%02X%02X-%02X%02X%02X%02X%02X%02X", bytes[0],
                  bytes[1], bytes[2], bytes[3], bytes[4], bytes[5], bytes[6], bytes[7], bytes[8],
                  bytes[9], bytes[10], bytes[11], bytes[12], bytes[13], bytes[14], bytes[15]);
    return text;
}

std::optional<PhotoAlbum> PhotoLibrary::albumWithTitle(const std::string& title) const {
    for (auto& album : fetchUserAlbums().values) {
        if (album.localizedTitle == title) {
            return album;
        }
    }
    return std::nullopt;
}

}  // namespace orvane::platform
