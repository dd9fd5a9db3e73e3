// The coordinate notations the stamp offers: one position written out in every form the picker
// lists, each under the key by which the user's choice is remembered; and the catalogue of rows
// made from them with the choice among them (implemented in coordinate_catalogue.cpp).
#pragma once

#include <array>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/thread_annotations.h"
#include "screen/settings_stamp_layer.h"
#include "stamp/geodesy/geodesy.h"

namespace orvane::stamp {

// Sexagesimal texts, latitude then longitude in degrees. Hemisphere letters count 0 as north and
// east. A position off the globe (not finite, latitude beyond 90 or longitude beyond 180 degrees
// either way) gives an empty text.
//
// Whole seconds, rounded once on the total: "N 48° 51' 30\", E 2° 17' 40\"".
std::string nicePosition(double latitude, double longitude);
// Whole seconds with "+" or "-" in place of the letters: "+48°51'30\", +2°17'40\"".
std::string nicePosition2(double latitude, double longitude);
// Truncated, three decimals of a second: "N 48° 51' 30.132\", E 2° 17' 40.132\"".
std::string nicePosition3(double latitude, double longitude);
// As nicePosition with the letters last: "48° 51' 30\" N, 2° 17' 40\" E".
std::string nicePosition4(double latitude, double longitude);
// As nicePosition3 with the letters last: "48° 51' 30.132\" N, 2° 17' 40.132\" E".
std::string nicePosition5(double latitude, double longitude);

struct CoordinateFix {
    double latitude;            // degrees
    double longitude;           // degrees
    double horizontalAccuracy;  // metres
};

// One form of a position: `key` is one of kCoordinateFormKeys.
struct CoordinateForm {
    std::string_view key;
    std::string text;
};

// Every key, in the order of the picker's rows. The numbering of the keys is older than the order.
// clang-format off
inline constexpr std::array<std::string_view, 19> kCoordinateFormKeys = {
    "gps1", "gps1WithAccuracy", "gps2", "gps6", "gps5", "gps7",
    "gps4", "gps4WithAccuracy", "gps3", "gps3WithAccuracy",
    "gps8", "gps9", "gps10",
    "gpsUTM", "gpsUTMWithAccuracy", "gpsMGRS", "gpsMGRSWithAccuracy", "gpsUTM2", "gpsUTM3"};
// clang-format on

// Every form's text for one position, in row order. A form that cannot be made is absent: the
// UTM forms outside the UTM grid (near the poles), the MGRS forms where that conversion fails,
// every form for a position off the globe. Equal texts are all kept.
std::vector<CoordinateForm> coordinateForms(const CoordinateFix& fix);

// The same through a converter the caller keeps between positions: a zone override that one MGRS
// conversion leaves in `grid` then applies to the next position's UTM forms, as it does for the
// catalogue, which owns one converter for its life.
std::vector<CoordinateForm> coordinateForms(const CoordinateFix& fix, GridConverter& grid);

// Appends `text` unless it is empty or the list already holds it, so equal rows collapse into the
// first. Returns whether it appended.
bool addOneGpsToList(std::vector<std::string>& list, std::string_view text);

// Threads: rebuild, setGpsIndex and saveGpsIndex run on the main queue (the position callback and
// the picker); coordinateLine runs on the frame thread; every reader is safe from any thread.
class CoordinateCatalogue {
  public:
    // `savedGpsType` is the stored form key; empty means no coordinates are chosen.
    explicit CoordinateCatalogue(std::string savedGpsType = {});

    // Makes the rows of an accepted position and keeps the chosen form selected by its key. A
    // position off the globe changes nothing.
    void rebuild(const CoordinateFix& fix);
    // The same from forms already made, in row order.
    void rebuildWithForms(std::vector<CoordinateForm> forms);

    // Row 0 is the localised "STRNone"; empty before the first position.
    std::vector<std::string> getGpsList() const;
    int getGpsIndex() const;
    void setGpsIndex(int row);

    // Stores the choice of the row setGpsIndex set: its text under SavedGps ("None" for row 0)
    // and its form key under SavedGpsType ("" for row 0). Returns true when row 0 was chosen, so
    // the caller clears the stamp's coordinate block. A row past the list stores nothing.
    bool saveGpsIndex(screen::LineDrawerStore& store);

    // The stamp's coordinate line: the chosen row's text, or "" for row 0 or a row not there.
    // Reuses `out`'s storage.
    void coordinateLine(std::string& out) const;

    // The chosen form's key ("" for none) and its text in the latest rows ("" when absent).
    std::string gpsType() const;
    std::string gps() const;
    // The latest text of a form, also when it collapsed into an earlier row.
    std::optional<std::string> textForKey(std::string_view key) const;

  private:
    std::optional<std::string> textForKeyLocked(std::string_view key) const REQUIRES(_mutex);

    // Serialises rebuilds, taken before _mutex: the converter keeps its zone override from one
    // position to the next.
    std::mutex _rebuildMutex;
    GridConverter _grid GUARDED_BY(_rebuildMutex);

    // Held briefly: the frame thread copies one row under it.
    mutable std::mutex _mutex;
    std::vector<std::string> _gpsList GUARDED_BY(_mutex);
    // Form key and text, in row order, every form kept.
    std::vector<std::pair<std::string, std::string>> _gps2Type GUARDED_BY(_mutex);
    std::string _gpsType GUARDED_BY(_mutex);
    int _gpsIndex GUARDED_BY(_mutex) = 0;
    std::string _gps GUARDED_BY(_mutex);
};

}  // namespace orvane::stamp
