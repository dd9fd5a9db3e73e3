#include "stamp/LineDrawer.h"

#include "foundation/strings.h"

namespace orvane::stamp {

LineDrawer::LineDrawer(screen::SettingsStore& store, screen::SettingsCache& cache,
                       const screen::StampLayerStartValues& start, StampState& state,
                       DateSettings dateSettings, std::string languageCode)
    : _store(store),
      _cache(cache),
      _state(state),
      _timeFormatIndex(static_cast<int>(start.timeFormatIndex)),
      _tl(timeFormatPreviews(state.clock().timeIntervalSince1970(), dateSettings)),
      _gps(start.gpsType.value_or("")),
      _addressRows(start.locationType.value_or(""),
                   languageCode.empty() ? foundation::preferredLanguageCode() : languageCode),
      _timeFormatter(std::move(dateSettings)) {
    _state.setTimeBelow(static_cast<int>(cache.getTimeInAbove()));
}

void LineDrawer::composeStrings(StampStrings& out) {
    const double now = _state.clock().timeIntervalSince1970();
    _timeFormatter.format(getTimeFormatIndex(), now, _liveTime);
    _addressRows.addressLine(_address);
    out.time.assign(_liveTime.text);
    out.fraction.assign(_liveTime.fraction);

    _gps.coordinateLine(_coordinates);
    _state.copyCustomText(_customText);
    _tags.clear();
    if (_cache.isShowTagOnCamera()) {
        if (auto tags = _cache.getSelectTagsString()) {
            _tags.assign(*tags);
        }
    }

    auto& lines = _lines;
    lines.timeBelow = _state.timeBelow();
    lines.showAltitudeAndSpeed = _cache.isShowAltitudeAndSpeed();
    lines.asDisplay = _cache.readASDisplay();
    lines.asUnits = _cache.readASUnits();
    lines.altitude = _state.altitude();
    lines.speed = _state.speed();
    lines.address = _address;
    lines.coordinates = _coordinates;
    lines.lunar =
        _cache.isShowLunar() ? std::string_view(_lunar.getFormattedLunar(now)) : std::string_view();
    lines.customText = _customText;
    lines.tags = _tags;
    lines.showIndex = _cache.gIsShowFileNameIndex();
    lines.index = _cache.gGetFileNameIndex();
    composeStampBlocks(lines, out.blocks);
    _state.setLocation(_address);
    _state.setGps(out.blocks.coordinateBlock);

    LuoPanReading reading;
    {
        std::lock_guard lock(_mutex);
        if (_luoPan) {
            reading = _luoPan();
        }
    }
    const auto displayType = _cache.getCompassDisplayType();
    out.compassShown =
        _cache.isShowLuoPan() && reading.isGetLuoPan && displayType != 0 && displayType != 1;
    if (out.compassShown) {
        out.compassDegree = compassDegree(reading.degree);
        out.compassTail.assign(getCompassTail(out.compassDegree));
    } else {
        out.compassDegree = 0;
        out.compassTail.clear();
    }

    out.stopWatchShown = _state.isStopWatchDisplayed();
    if (out.stopWatchShown) {
        switch (_state.stopWatchState()) {
            case StopWatchState::Reset:
                out.stopWatch.assign(kStopWatchZero);
                break;
            case StopWatchState::Running:
                stamp::convertTimeFromSeconds(now - _state.stopWatchStart(), _lastStopWatchString);
                out.stopWatch.assign(_lastStopWatchString);
                break;
            case StopWatchState::Stopped:
                out.stopWatch.assign(_lastStopWatchString);
                break;
        }
    } else {
        out.stopWatch.clear();
    }
}

void LineDrawer::saveTimeFormatIndex(int row) {
    _store.lineDrawer.saveTimeFormatIndex(row);
}

void LineDrawer::saveGpsIndex(int row) {
    _gps.setGpsIndex(row);
    if (_gps.saveGpsIndex(_store.lineDrawer)) {
        _state.setGps("");
    }
}

void LineDrawer::saveLocationIndex(int row) {
    _addressRows.setLocationIndex(row);
    if (_addressRows.saveLocationIndex(_store.lineDrawer)) {
        _state.setLocation("");
    }
}

void LineDrawer::setLuoPanSource(LuoPanSource source) {
    std::lock_guard lock(_mutex);
    _luoPan = std::move(source);
}

}  // namespace orvane::stamp
