// The file-level metadata of a movie: what made it, the user's text and tags, and where it was
// recorded, as QuickTime metadata items.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/location/Location.h"
#include "platform/settings/UserDefaults.h"
#include "platform/writer/AssetWriter.h"

namespace orvane::capture {

// The software item's text.
inline constexpr const char* kMovieSoftwareName = "Orvane";

// What the metadata describes: the moment the recording starts.
struct MovieMetadataSource {
    std::string make;            // the machine's vendor
    std::string customText;      // the custom text in use; "" when none
    platform::StringArray tags;  // the selected tags
    std::optional<platform::Location> location;
};

// The location as ISO 6709 text: signed latitude and longitude with five decimals, signed whole
// metres of altitude (0 when the fix has none), then the datum. Nothing when a number is not
// finite, since that text would not parse.
std::optional<std::string> iso6709LocationString(const platform::Location& location);

// In order: software, make, comment and description (only with a custom text), keywords (the
// tags joined with ",", only with tags), location (only with a location whose text can be
// built). A failure while the location item is built leaves that item out and keeps the rest.
std::vector<platform::MetadataItem> movieMetadataItems(const MovieMetadataSource& source);

}  // namespace orvane::capture
