#include "stamp/LineDrawer.h"

namespace orvane::stamp {

LineDrawer::LineDrawer(screen::SettingsStore& store, screen::SettingsCache& cache,
                       const screen::StampLayerStartValues& start, StampState& state,
                       DateSettings dateSettings)
    : _store(store),
      _cache(cache),
      _state(state),
      _timeFormatIndex(static_cast<int>(start.timeFormatIndex)),
      _tl(timeFormatPreviews(state.clock().timeIntervalSince1970(), dateSettings)),
      _gps(start.gpsType.value_or("")),
      _locationType(start.locationType.value_or("")),
      _timeFormatter(std::move(dateSettings)) {
    _state.setTimeBelow(static_cast<int>(cache.getTimeInAbove()));
}

void LineDrawer::composeStrings(StampStrings& out) {
    const double now = _state.clock().timeIntervalSince1970();
    _timeFormatter.format(getTimeFormatIndex(), now, _liveTime);
    {
        std::lock_guard lock(_mutex);
        _address.clear();
        if (_locationIndex >= 1 && static_cast<std::size_t>(_locationIndex) < _localList.size()) {
            _address.assign(_localList[static_cast<std::size_t>(_locationIndex)]);
        }
    }
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

std::vector<std::string> LineDrawer::getLocalList() const {
    std::lock_guard lock(_mutex);
    return _localList;
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

int LineDrawer::getLocationIndex() const {
    std::lock_guard lock(_mutex);
    return _locationIndex;
}

void LineDrawer::setLocationIndex(int row) {
    std::lock_guard lock(_mutex);
    _locationIndex = row;
}

void LineDrawer::setLocalList(std::vector<std::string> rows) {
    std::lock_guard lock(_mutex);
    _localList = std::move(rows);
}

void LineDrawer::setLuoPanSource(LuoPanSource source) {
    std::lock_guard lock(_mutex);
    _luoPan = std::move(source);
}

}  // namespace orvane::stamp
