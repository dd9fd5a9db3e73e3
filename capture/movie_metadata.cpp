#include "capture/movie_metadata.h"

#include <cmath>
#include <cstdio>
#include <exception>

#include "foundation/log.h"

namespace orvane::capture {

std::optional<std::string> iso6709LocationString(const platform::Location& location) {
    const double latitude = location.coordinate().latitude;
    const double longitude = location.coordinate().longitude;
    const double altitude = location.altitude().value_or(0.0);
    if (!std::isfinite(latitude) || !std::isfinite(longitude) || !std::isfinite(altitude)) {
        return std::nullopt;
    }
    char text[96];
    const int length = std::snprintf(text, sizeof text, "%+09.5f%+010.5f%+.0fCRSWGS_84", latitude,
                                     longitude, altitude);
    if (length < 0 || static_cast<std::size_t>(length) >= sizeof text) {
        return std::nullopt;
    }
    return std::string(text, static_cast<std::size_t>(length));
}

std::vector<platform::MetadataItem> movieMetadataItems(const MovieMetadataSource& source) {
    std::vector<platform::MetadataItem> items;
    items.push_back({platform::kQuickTimeMetadataKeySoftware, kMovieSoftwareName});
    items.push_back({platform::kQuickTimeMetadataKeyMake, source.make});
    if (!source.customText.empty()) {
        items.push_back({platform::kQuickTimeMetadataKeyComment, source.customText});
        items.push_back({platform::kQuickTimeMetadataKeyDescription, source.customText});
    }
    if (!source.tags.empty()) {
        std::string keywords;
        for (const auto& tag : source.tags) {
            if (!keywords.empty()) {
                keywords += ',';
            }
            keywords += tag;
        }
        items.push_back({platform::kQuickTimeMetadataKeyKeywords, keywords});
    }
    if (source.location) {
        // The location is a nicety: a movie without it is still a good movie.
        try {
            if (auto text = iso6709LocationString(*source.location)) {
                items.push_back({platform::kQuickTimeMetadataKeyLocationISO6709, std::move(*text)});
            } else {
                foundation::log("movie location cannot be written, leaving it out");
            }
        } catch (const std::exception& exception) {
            foundation::log("movie location left out: %s", exception.what());
        }
    }
    return items;
}

}  // namespace orvane::capture
