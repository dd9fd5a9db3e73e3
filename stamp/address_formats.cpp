// The address rows of the stamp layer and the choice among them.
#include "stamp/address_formats.h"

#include <algorithm>
#include <exception>
#include <iterator>

#include "foundation/log.h"
#include "foundation/strings.h"

namespace orvane::stamp {

namespace {

using Field = std::optional<std::string_view>;

// A placemark field as present or not; an empty text counts as absent.
Field field(const std::optional<std::string>& value) {
    if (!value || value->empty()) {
        return std::nullopt;
    }
    return std::string_view(*value);
}

// Whether `haystack` holds `needle`; nothing is held in the empty text, and the empty text is in
// nothing.
bool contains(std::string_view haystack, std::string_view needle) {
    return !needle.empty() && haystack.find(needle) != std::string_view::npos;
}

// Equal, or one inside the other: a city-state's city and region, "Berlin" and "Land Berlin".
bool overlaps(std::string_view a, std::string_view b) {
    return a == b || contains(a, b) || contains(b, a);
}

std::size_t countOccurencesOfString(std::string_view text, std::string_view part) {
    if (part.empty()) {
        return 0;
    }
    std::size_t count = 0;
    for (auto at = text.find(part); at != std::string_view::npos;
         at = text.find(part, at + part.size())) {
        ++count;
    }
    return count;
}

void eraseFirst(std::string& text, std::string_view part) {
    if (const auto at = text.find(part); at != std::string::npos) {
        text.erase(at, part.size());
    }
}

std::string replaceAll(std::string_view text, std::string_view part) {
    std::string result;
    std::size_t start = 0;
    for (auto at = text.find(part); at != std::string_view::npos; at = text.find(part, start)) {
        result.append(text.substr(start, at - start));
        start = at + part.size();
    }
    result.append(text.substr(start));
    return result;
}

// Fills the two "%@" of `format` with `a` and `b`.
std::string join(std::string_view format, std::string_view a, std::string_view b) {
    std::string result;
    const auto first = format.find("%@");
    const auto second = format.find("%@", first + 2);
    result.append(format.substr(0, first));
    result.append(a);
    result.append(format.substr(first + 2, second - first - 2));
    result.append(b);
    result.append(format.substr(second + 2));
    return result;
}

std::string lines(std::string_view first, std::string_view second) {
    return join("%@\n%@", first, second);
}

std::size_t keyRank(std::string_view key) {
    const auto* end = std::end(kAddressFormKeys);
    return static_cast<std::size_t>(std::find(std::begin(kAddressFormKeys), end, key) -
                                    std::begin(kAddressFormKeys));
}

// The postal rows: the repaired text, with the name, and both without the country line.
void addPostalForms(const platform::Placemark& placemark, std::vector<AddressForm>& forms) {
    const auto postal = field(placemark.formattedAddress);
    if (!postal) {
        return;
    }
    const auto locality = field(placemark.locality);
    const auto area = field(placemark.administrativeArea);
    const auto name = field(placemark.name);
    const auto country = field(placemark.country);

    std::string text(*postal);
    // A city-state's postal text names the city as town and as region: one goes.
    if (locality && area && overlaps(*locality, *area)) {
        if (countOccurencesOfString(text, *locality) >= 2) {
            eraseFirst(text, *locality);
        } else if (countOccurencesOfString(text, *area) >= 2) {
            eraseFirst(text, *area);
        }
    }
    forms.push_back({"formatAddress", text});
    forms.push_back({"formatAddress2", name && !contains(text, *name) ? lines(text, *name) : text});

    if (!country) {
        return;
    }
    const std::string last = "\n" + std::string(*country);
    const std::string first = std::string(*country) + "\n";
    std::optional<std::string> withoutCountry;
    if (text.ends_with(last)) {
        withoutCountry = replaceAll(text, last);
    } else if (text.starts_with(first)) {
        withoutCountry = replaceAll(text, first);
    }
    if (!withoutCountry) {
        return;
    }
    forms.push_back({"formatAddressWithoutCountry", *withoutCountry});
    if (name && !contains(*withoutCountry, *name)) {
        forms.push_back({"formatAddress2WithoutCountry", lines(*withoutCountry, *name)});
    }
}

}  // namespace

std::string_view fullAddressFormat(std::string_view languageCode) {
    return languageCode == "zh" ? "%@%@" : "%@,%@";
}

std::vector<AddressForm> addressForms(const platform::Placemark& placemark,
                                      std::string_view joiner) {
    const auto name = field(placemark.name);
    const auto thoroughfare = field(placemark.thoroughfare);
    const auto area = field(placemark.administrativeArea);
    const auto subArea = field(placemark.subAdministrativeArea);
    const auto country = field(placemark.country);
    const auto subLocality = field(placemark.subLocality);
    const auto locality = field(placemark.locality);
    const auto postalCode = field(placemark.postalCode);
    // The county before the town, on purpose.
    const Field city = subArea ? subArea : locality ? locality : area;

    std::vector<AddressForm> forms;
    const auto single = [&forms](std::string_view key, const Field& value) {
        if (value) {
            forms.push_back({key, std::string(*value)});
        }
    };
    single("country", country);
    single("administrativeArea", area);
    single("subAdministrativeArea", subArea);
    single("locality", locality);
    if (locality && area) {
        forms.push_back({"administrativeAreaAndCity", join("%@, %@", *locality, *area)});
    }
    single("subLocality", subLocality);
    if ((name || thoroughfare) && city) {
        forms.push_back({"cityAndName", lines(name ? *name : *thoroughfare, *city)});
    }
    if (thoroughfare && city) {
        forms.push_back({"cityAndStreet", join("%@, %@", *thoroughfare, *city)});
    }
    if (thoroughfare && country) {
        forms.push_back({"countryAndStreet", join("%@, %@", *thoroughfare, *country)});
    }
    try {
        addPostalForms(placemark, forms);
    } catch (const std::exception& e) {
        // The rows made so far stay; the rest do not need the postal text.
        foundation::log("Postal address rows failed: %s", e.what());
    }
    if (locality && area && postalCode) {
        const std::string place =
            overlaps(*locality, *area) ? std::string(*area) : join("%@, %@", *locality, *area);
        forms.push_back({"citystatezipcode", join("%@ %@", place, *postalCode)});
    }

    // From the largest unit down; a unit inside the one above it is not repeated. Empty means
    // there is no base.
    std::string base;
    if (area) {
        base = *area;
        if (locality && !overlaps(*area, *locality)) {
            base = join(joiner, *area, *locality);
        }
        // Only the region is tested here, not the whole base.
        if (subLocality && !contains(*area, *subLocality) && !contains(*subLocality, *area)) {
            base = join(joiner, base, *subLocality);
        }
    } else if (locality) {
        base = subLocality ? join(joiner, *locality, *subLocality) : std::string(*locality);
    } else if (subLocality) {
        base = *subLocality;
    }
    if (!base.empty()) {
        forms.push_back({"addresscitytosublocality", base});
    }

    std::string full;
    if (!base.empty() && thoroughfare) {
        full = join(joiner, base, *thoroughfare);
    } else if (!base.empty()) {
        full = base;
    } else if (thoroughfare) {
        full = *thoroughfare;
    }
    // Made of nothing, the row is still listed, but no form holds it.
    forms.push_back({full.empty() ? std::string_view() : "fulladdress", full});
    forms.push_back({"fulladdress2", name && !contains(full, *name) ? lines(full, *name) : full});

    single("thoroughfare", thoroughfare);
    single("name", name);
    single("ocean", field(placemark.ocean));
    single("inlandWater", field(placemark.inlandWater));
    for (const auto& area_ : placemark.areasOfInterest) {
        if (area_.empty()) {
            continue;
        }
        forms.push_back({"areasOfInterest", area_});
        if (!base.empty()) {
            forms.push_back({"addresscitytosublocalityandoneIns", lines(base, area_)});
        }
        if (city) {
            forms.push_back({"cityAndareasOfInterest", lines(area_, *city)});
        }
    }
    return forms;
}

bool addOneLocationToList(std::vector<std::string>& list, std::string_view text) {
    if (std::find(list.begin(), list.end(), text) != list.end()) {
        return false;
    }
    list.emplace_back(text);
    return true;
}

AddressCatalogue::AddressCatalogue(std::string savedLocationType, std::string languageCode)
    : _languageCode(std::move(languageCode)),
      _fulladdressformat(fullAddressFormat(_languageCode)),
      _locationType(std::move(savedLocationType)) {}

void AddressCatalogue::processPlacement(const std::vector<platform::Placemark>& placemarks,
                                        const std::optional<foundation::Error>& error,
                                        screen::LineDrawerStore& store) {
    if (error) {
        foundation::log("Geocode failed with error: %s", error->message().c_str());
        return;
    }
    // Everything is made before the lock, so the frame thread never waits on composing.
    std::vector<std::string> list{foundation::localized("STRNone")};
    std::vector<std::pair<std::string, std::string>> dictionary;
    {
        std::lock_guard lock(_mutex);
        dictionary = _location2Type;
    }
    std::vector<std::string> latestKeys;
    std::optional<std::string> thoroughfare;
    for (const auto& placemark : placemarks) {
        for (AddressForm& form : addressForms(placemark, _fulladdressformat)) {
            addOneLocationToList(list, form.text);
            if (form.key.empty()) {
                continue;
            }
            if (std::find(latestKeys.begin(), latestKeys.end(), form.key) == latestKeys.end()) {
                latestKeys.emplace_back(form.key);
            }
            const auto rank = keyRank(form.key);
            auto at = std::find_if(dictionary.begin(), dictionary.end(),
                                   [&](const auto& entry) { return keyRank(entry.first) >= rank; });
            if (at != dictionary.end() && at->first == form.key) {
                at->second = std::move(form.text);
            } else {
                dictionary.emplace(at, form.key, std::move(form.text));
            }
        }
        if (const auto street = field(placemark.thoroughfare)) {
            thoroughfare = std::string(*street);
        }
    }
    std::sort(latestKeys.begin(), latestKeys.end(),
              [](const auto& a, const auto& b) { return keyRank(a) < keyRank(b); });

    // The store may read a file: done outside the lock the frame thread takes.
    const auto saved = store.getSavedLocation();
    std::optional<std::string> learnt;
    {
        std::lock_guard lock(_mutex);
        _localList.swap(list);
        _location2Type.swap(dictionary);
        _latestKeys.swap(latestKeys);
        learnt = chooseRow(saved, thoroughfare);
    }
    if (learnt) {
        store.saveLocationType(*learnt);
    }
    if (_reloadPicker) {
        _reloadPicker();
    }
}

std::optional<std::string> AddressCatalogue::chooseRow(
    const std::optional<std::string>& saved, const std::optional<std::string>& thoroughfare) {
    const bool savedText = saved && !saved->empty();
    // The user wanted no address, or never chose one and has no form either.
    if ((saved && *saved == "None") || (!savedText && _locationType.empty())) {
        _locationIndex = 0;
        _location.clear();
        return std::nullopt;
    }
    // The stored text comes before the form: a place chosen once reads the same on return.
    int row = savedText ? firstRowEqualTo(*saved) : -1;
    if (row >= 1) {
        _location = *saved;
    }
    if (row < 1 && !_locationType.empty()) {
        _location = textForKeyLocked(_locationType).value_or(std::string());
        row = _location.empty() ? -1 : firstRowEqualTo(_location);
    }
    // Neither matched (a chosen form this answer lacks, too): the street if there is one, else
    // the first row, rather than a blank stamp.
    if (row < 1 && thoroughfare) {
        _location = *thoroughfare;
        row = firstRowEqualTo(_location);
    }
    if (row < 1) {
        if (_localList.size() < 2) {
            _locationIndex = 0;
            _location.clear();
            return std::nullopt;
        }
        row = 1;
        _location = _localList[1];
    }
    _locationIndex = row;
    if (!_locationType.empty()) {
        return std::nullopt;
    }
    if (auto key = firstKeyHolding(_localList[static_cast<std::size_t>(row)])) {
        _locationType = *key;
        return key;
    }
    return std::nullopt;
}

void AddressCatalogue::setReloadPicker(std::function<void()> reload) {
    _reloadPicker = std::move(reload);
}

std::vector<std::string> AddressCatalogue::getLocalList() const {
    std::lock_guard lock(_mutex);
    return _localList;
}

int AddressCatalogue::getLocationIndex() const {
    std::lock_guard lock(_mutex);
    return _locationIndex;
}

void AddressCatalogue::setLocationIndex(int row) {
    std::lock_guard lock(_mutex);
    _locationIndex = row;
}

void AddressCatalogue::setLocalList(std::vector<std::string> rows) {
    std::lock_guard lock(_mutex);
    _localList = std::move(rows);
}

bool AddressCatalogue::saveLocationIndex(screen::LineDrawerStore& store) {
    bool none = false;
    std::string text;
    std::optional<std::string> key;
    {
        std::lock_guard lock(_mutex);
        none = _locationIndex == 0;
        if (none) {
            _locationType.clear();
            _location.clear();
        } else if (_locationIndex < 0 ||
                   static_cast<std::size_t>(_locationIndex) >= _localList.size()) {
            foundation::log("No address row %d among %zu to save", _locationIndex,
                            _localList.size());
            return false;
        } else {
            text = _localList[static_cast<std::size_t>(_locationIndex)];
            _location = text;
            key = firstKeyHolding(text);
            if (key) {
                _locationType = *key;
            }
        }
    }
    // The store may write a file: done outside the lock the frame thread takes.
    if (none) {
        store.saveLocation(std::string("None"));
        store.saveLocationType(std::string());
        return true;
    }
    store.saveLocation(text);
    if (key) {
        store.saveLocationType(*key);
    }
    return false;
}

void AddressCatalogue::resetDefaultLocationFormatIndex(screen::LineDrawerStore& store) {
    const std::string type = _languageCode == "zh" ? "fulladdress" : "formatAddress2";
    {
        std::lock_guard lock(_mutex);
        _locationType = type;
        _location = textForKeyLocked(type).value_or(std::string());
        if (!_location.empty()) {
            if (const int row = firstRowEqualTo(_location); row >= 0) {
                _locationIndex = row;
            }
        }
    }
    store.saveLocationType(type);
}

void AddressCatalogue::addressLine(std::string& out) const {
    std::lock_guard lock(_mutex);
    if (_locationIndex >= 1 && static_cast<std::size_t>(_locationIndex) < _localList.size()) {
        out.assign(_localList[static_cast<std::size_t>(_locationIndex)]);
    } else {
        out.clear();
    }
}

std::string AddressCatalogue::locationType() const {
    std::lock_guard lock(_mutex);
    return _locationType;
}

std::string AddressCatalogue::location() const {
    std::lock_guard lock(_mutex);
    return _location;
}

std::optional<std::string> AddressCatalogue::textForKey(std::string_view key) const {
    std::lock_guard lock(_mutex);
    return textForKeyLocked(key);
}

std::vector<std::pair<std::string, std::string>> AddressCatalogue::latestForms() const {
    std::lock_guard lock(_mutex);
    std::vector<std::pair<std::string, std::string>> forms;
    for (const auto& key : _latestKeys) {
        forms.emplace_back(key, textForKeyLocked(key).value_or(std::string()));
    }
    return forms;
}

std::optional<std::string> AddressCatalogue::textForKeyLocked(std::string_view key) const {
    const auto entry = std::find_if(_location2Type.begin(), _location2Type.end(),
                                    [&](const auto& e) { return e.first == key; });
    if (entry == _location2Type.end()) {
        return std::nullopt;
    }
    return entry->second;
}

std::optional<std::string> AddressCatalogue::firstKeyHolding(std::string_view text) const {
    // Where two forms share the text the first in row order wins.
    const auto entry = std::find_if(_location2Type.begin(), _location2Type.end(),
                                    [&](const auto& e) { return e.second == text; });
    if (entry == _location2Type.end()) {
        return std::nullopt;
    }
    return entry->first;
}

int AddressCatalogue::firstRowEqualTo(std::string_view text) const {
    const auto row = std::find(_localList.begin(), _localList.end(), text);
    return row == _localList.end() ? -1 : static_cast<int>(row - _localList.begin());
}

}  // namespace orvane::stamp
