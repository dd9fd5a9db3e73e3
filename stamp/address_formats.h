// The address rows of the stamp: every form of address composed from the placemarks of a reverse
// geocoding answer, each under the key by which the user's choice is remembered, and the choice
// among them (implemented in address_formats.cpp).
#pragma once

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/Error.h"
#include "foundation/thread_annotations.h"
#include "platform/geocoding/Geocoder.h"
#include "screen/settings_stamp_layer.h"

namespace orvane::stamp {

// Every key, in the order of the picker's rows; the last three repeat for each area of interest.
inline constexpr std::string_view kAddressFormKeys[] = {"country",
                                                        "administrativeArea",
                                                        "subAdministrativeArea",
                                                        "locality",
                                                        "administrativeAreaAndCity",
                                                        "subLocality",
                                                        "cityAndName",
                                                        "cityAndStreet",
                                                        "countryAndStreet",
                                                        "formatAddress",
                                                        "formatAddress2",
                                                        "formatAddressWithoutCountry",
                                                        "formatAddress2WithoutCountry",
                                                        "citystatezipcode",
                                                        "addresscitytosublocality",
                                                        "fulladdress",
                                                        "fulladdress2",
                                                        "thoroughfare",
                                                        "name",
                                                        "ocean",
                                                        "inlandWater",
                                                        "areasOfInterest",
                                                        "addresscitytosublocalityandoneIns",
                                                        "cityAndareasOfInterest"};

// The joiner of the stepped address: Chinese addresses run from province to street with no
// separator; others take a comma with no blank.
std::string_view fullAddressFormat(std::string_view languageCode);

// One form of an address; `key` is one of kAddressFormKeys, or empty for the fulladdress row made
// of nothing, which takes a row but no key.
struct AddressForm {
    std::string_view key;
    std::string text;
};

// Every form of one placemark, in row order. Texts may repeat; the list keeps them all.
std::vector<AddressForm> addressForms(const platform::Placemark& placemark,
                                      std::string_view joiner);

// Appends `text` unless the list already holds it. The empty text is a row like any other.
// Returns whether it appended.
bool addOneLocationToList(std::vector<std::string>& list, std::string_view text);

// Threads: processPlacement, setLocationIndex, saveLocationIndex and
// resetDefaultLocationFormatIndex run on the main queue (the geocoder's completion and the
// picker); addressLine runs on the frame thread; every reader is safe from any thread.
class AddressCatalogue {
  public:
    // `savedLocationType` is the stored form key; `languageCode` picks the joiner and the
    // default form.
    AddressCatalogue(std::string savedLocationType, std::string languageCode);

    // Rebuilds the rows from an answer and chooses a row, reading the saved address text from
    // `store`; a form key learnt from the chosen row is stored. With an error, logs it and changes
    // nothing. Then calls the picker's reload, if one is set.
    void processPlacement(const std::vector<platform::Placemark>& placemarks,
                          const std::optional<foundation::Error>& error,
                          screen::LineDrawerStore& store);
    // Called after each rebuild, on the rebuilding thread: the camera screen's reloadPicker.
    void setReloadPicker(std::function<void()> reload);

    // Row 0 is the localised "STRNone"; empty before the first answer.
    std::vector<std::string> getLocalList() const;
    int getLocationIndex() const;
    void setLocationIndex(int row);
    // Replaces the rows as they are, without forms: for callers that hold rows already made.
    void setLocalList(std::vector<std::string> rows);

    // Stores the choice of the row setLocationIndex set: its text under SavedLocation ("None"
    // for row 0) and its form key under SavedLocationType ("" for row 0). Returns true when row 0
    // was chosen, so the caller clears the stamp's address line. A row past the list stores
    // nothing.
    bool saveLocationIndex(screen::LineDrawerStore& store);
    // The stamp settings' reset: the language's default form, stored, and its row chosen when
    // the current rows hold its text.
    void resetDefaultLocationFormatIndex(screen::LineDrawerStore& store);

    // The stamp's address line: the chosen row's text, or "" for row 0 or a row not there.
    // Reuses `out`'s storage.
    void addressLine(std::string& out) const;

    // The chosen form's key ("" for none) and its text.
    std::string locationType() const;
    std::string location() const;
    // The last text of a form: kept from earlier answers until a later one overwrites it.
    std::optional<std::string> textForKey(std::string_view key) const;
    // The forms the latest answer made, one per key in row order, each with its last text.
    std::vector<std::pair<std::string, std::string>> latestForms() const;

  private:
    std::optional<std::string> textForKeyLocked(std::string_view key) const REQUIRES(_mutex);
    std::optional<std::string> firstKeyHolding(std::string_view text) const REQUIRES(_mutex);
    int firstRowEqualTo(std::string_view text) const REQUIRES(_mutex);
    // The six steps that choose a row after a rebuild; returns a key to store, if one was learnt.
    std::optional<std::string> chooseRow(const std::optional<std::string>& saved,
                                         const std::optional<std::string>& thoroughfare)
        REQUIRES(_mutex);

    const std::string _languageCode;
    const std::string _fulladdressformat;
    std::function<void()> _reloadPicker;

    // Held briefly: the frame thread copies one row under it.
    mutable std::mutex _mutex;
    std::vector<std::string> _localList GUARDED_BY(_mutex);
    // Form key and text, keys in row order; it only grows.
    std::vector<std::pair<std::string, std::string>> _location2Type GUARDED_BY(_mutex);
    std::vector<std::string> _latestKeys GUARDED_BY(_mutex);
    std::string _locationType GUARDED_BY(_mutex);
    int _locationIndex GUARDED_BY(_mutex) = 0;
    std::string _location GUARDED_BY(_mutex);
};

}  // namespace orvane::stamp
