// The offline geocoder's place file: the populated places with their areas and country, and a
// coarse land mask, read whole into memory, checked, and indexed for nearest-place queries.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvane::platform::places {

// The mean radius of the Earth in metres, for great-circle distances.
inline constexpr double kEarthRadiusMetres = 6371008.8;

// The great-circle distance in metres between two points given in degrees.
double greatCircleMetres(double latitude1, double longitude1, double latitude2, double longitude2);

struct Place {
    double latitude = 0;
    double longitude = 0;
    std::string_view name;
    std::optional<std::string_view> area;     // first-level area: state, province, region
    std::optional<std::string_view> subArea;  // second-level area: county, department
    std::string_view countryCode;             // ISO 3166-1 alpha-2, "FR"
};

struct NearestPlace {
    std::size_t index = 0;
    double metres = 0;
};

class PlaceIndex {
  public:
    // Reads and checks the file; nullptr with the reason in `problem` when it cannot be read or
    // is not a valid place file.
    static std::unique_ptr<PlaceIndex> load(const std::string& path, std::string& problem);
    // The same for the file's bytes.
    static std::unique_ptr<PlaceIndex> parse(std::vector<std::uint8_t> bytes, std::string& problem);

    std::size_t size() const { return _places.size(); }
    Place place(std::size_t index) const;

    // The place nearest to the point by great-circle distance; none when the file has no place.
    std::optional<NearestPlace> nearest(double latitude, double longitude) const;
    // The same by looking at every place: the reference for the tree.
    std::optional<NearestPlace> nearestByScan(double latitude, double longitude) const;

    // Every place within `metres` of the point by great-circle distance, nearest first.
    std::vector<NearestPlace> within(double latitude, double longitude, double metres) const;

    // Whether the mask cell holding the point is land.
    bool isLand(double latitude, double longitude) const;
    // The side of a mask cell in degrees of latitude and of longitude.
    double maskCellLatitudeDegrees() const { return 180.0 / _maskHeight; }
    double maskCellLongitudeDegrees() const { return 360.0 / _maskWidth; }

  private:
    struct Record {
        double latitude;
        double longitude;
        std::uint32_t nameOffset;
        std::uint16_t area;
        std::uint16_t subArea;
        char country[2];
    };
    struct TreePoint {
        double x, y, z;
        std::uint32_t place;
    };

    PlaceIndex() = default;
    std::string_view text(std::uint32_t offset) const;
    void buildTree(std::size_t begin, std::size_t end, int axis);
    void search(std::size_t begin, std::size_t end, int axis, const double point[3], double& best,
                std::uint32_t& bestPlace) const;
    void collect(std::size_t begin, std::size_t end, int axis, const double point[3],
                 double squaredChord, std::vector<NearestPlace>& found) const;

    std::vector<std::uint8_t> _bytes;
    std::vector<Record> _places;
    std::vector<std::uint32_t> _areaNames;
    std::size_t _stringsOffset = 0;
    std::size_t _stringBytes = 0;
    std::size_t _maskOffset = 0;
    std::uint32_t _maskWidth = 0;
    std::uint32_t _maskHeight = 0;
    // A k-d tree over the places as points on the unit sphere: the median of each range is its
    // node, split on the axis given by the depth. Straight-line (chord) distance grows with
    // great-circle distance, so the nearest point in space is the nearest place on Earth, with
    // no special case at the poles or the antimeridian.
    std::vector<TreePoint> _tree;
};

}  // namespace orvane::platform::places
