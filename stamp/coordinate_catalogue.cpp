// The coordinate rows of the stamp layer and the choice among them.
#include <algorithm>

#include "foundation/log.h"
#include "foundation/strings.h"
#include "stamp/coordinate_formats.h"

namespace orvane::stamp {

bool addOneGpsToList(std::vector<std::string>& list, std::string_view text) {
    if (text.empty() || std::find(list.begin(), list.end(), text) != list.end()) {
        return false;
    }
    list.emplace_back(text);
    return true;
}

CoordinateCatalogue::CoordinateCatalogue(std::string savedGpsType)
    : _gpsType(std::move(savedGpsType)) {}

void CoordinateCatalogue::rebuild(const CoordinateFix& fix) {
    // Held to the end, so two rebuilds could never land out of order.
    std::lock_guard lock(_rebuildMutex);
    std::vector<CoordinateForm> forms = coordinateForms(fix, _grid);
    // A position off the globe keeps the last good rows on the stamp.
    if (forms.empty()) {
        return;
    }
    rebuildWithForms(std::move(forms));
}

void CoordinateCatalogue::rebuildWithForms(std::vector<CoordinateForm> forms) {
    // Everything is made before the lock, so the frame thread never waits on formatting.
    std::vector<std::string> list;
    list.reserve(forms.size() + 1);
    list.emplace_back(foundation::localized("STRNone"));
    std::vector<std::pair<std::string, std::string>> dictionary;
    dictionary.reserve(forms.size());
    for (CoordinateForm& form : forms) {
        addOneGpsToList(list, form.text);
        dictionary.emplace_back(form.key, std::move(form.text));
    }

    std::lock_guard lock(_mutex);
    _gpsList.swap(list);
    _gps2Type.swap(dictionary);
    // Texts and row numbers both change with the position; the key is what holds the choice.
    if (_gpsType.empty()) {
        return;
    }
    _gps = textForKeyLocked(_gpsType).value_or(std::string());
    if (_gps.empty()) {
        return;
    }
    const auto row = std::find(_gpsList.begin(), _gpsList.end(), _gps);
    if (row != _gpsList.end()) {
        _gpsIndex = static_cast<int>(row - _gpsList.begin());
    }
}

std::vector<std::string> CoordinateCatalogue::getGpsList() const {
    std::lock_guard lock(_mutex);
    return _gpsList;
}

int CoordinateCatalogue::getGpsIndex() const {
    std::lock_guard lock(_mutex);
    return _gpsIndex;
}

void CoordinateCatalogue::setGpsIndex(int row) {
    std::lock_guard lock(_mutex);
    _gpsIndex = row;
}

bool CoordinateCatalogue::saveGpsIndex(screen::LineDrawerStore& store) {
    bool none = false;
    std::string text;
    std::string key;
    {
        std::lock_guard lock(_mutex);
        none = _gpsIndex == 0;
        if (none) {
            _gpsType.clear();
        } else if (_gpsIndex < 0 || static_cast<size_t>(_gpsIndex) >= _gpsList.size()) {
            foundation::log("No coordinate row %d among %zu to save", _gpsIndex, _gpsList.size());
            return false;
        } else {
            text = _gpsList[static_cast<size_t>(_gpsIndex)];
            // Where two forms share the text the first in row order wins.
            const auto entry = std::find_if(_gps2Type.begin(), _gps2Type.end(),
                                            [&](const auto& e) { return e.second == text; });
            if (entry != _gps2Type.end()) {
                _gpsType = entry->first;
                key = entry->first;
            }
        }
    }
    // The store may write a file: done outside the lock the frame thread takes.
    if (none) {
        store.saveGps(std::string("None"));
        store.saveGpsType(std::string());
        return true;
    }
    store.saveGps(text);
    if (!key.empty()) {
        store.saveGpsType(key);
    }
    return false;
}

void CoordinateCatalogue::coordinateLine(std::string& out) const {
    std::lock_guard lock(_mutex);
    if (_gpsIndex >= 1 && static_cast<size_t>(_gpsIndex) < _gpsList.size()) {
        out.assign(_gpsList[static_cast<size_t>(_gpsIndex)]);
    } else {
        out.clear();
    }
}

std::string CoordinateCatalogue::gpsType() const {
    std::lock_guard lock(_mutex);
    return _gpsType;
}

std::string CoordinateCatalogue::gps() const {
    std::lock_guard lock(_mutex);
    return _gps;
}

std::optional<std::string> CoordinateCatalogue::textForKey(std::string_view key) const {
    std::lock_guard lock(_mutex);
    return textForKeyLocked(key);
}

std::optional<std::string> CoordinateCatalogue::textForKeyLocked(std::string_view key) const {
    const auto entry = std::find_if(_gps2Type.begin(), _gps2Type.end(),
                                    [&](const auto& e) { return e.first == key; });
    if (entry == _gps2Type.end()) {
        return std::nullopt;
    }
    return entry->second;
}

}  // namespace orvane::stamp
