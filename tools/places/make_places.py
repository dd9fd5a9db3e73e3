#!/usr/bin/env python3
"""Writes the offline geocoder's place file from GeoNames and Natural Earth data.

Inputs (see README.md beside this file for where they come from):
  --places   GeoNames cities500.txt (tab-separated, the GeoNames dump columns)
  --admin1   JSON array of {"code": "FR.11", "name": ...}: first-level area names
  --admin2   JSON array of {"code": "FR.11.75", "name": ...}: second-level area names
  --land     Natural Earth land polygons as TopoJSON (object "land")
  --output   the place file to write
  --min-population  places below it are left out, except seats of an area

The file, all integers little-endian:
  header   "ORVPLC1\\0", u32 version (1), u32 place count, u32 area count,
           u32 string bytes, u32 mask width, u32 mask height,
           u32 CRC-32 (zlib's) of everything after the header
  places   per place: i32 latitude and i32 longitude in 1e-5 degrees, u32 name offset,
           u16 first-level area and u16 second-level area (indices into areas,
           0xFFFF for none), two ASCII bytes of the ISO country code
  areas    per area: u32 name offset
  strings  UTF-8 names, each ended by a NUL
  mask     land mask, one bit a cell (1 = land), rows from north to south, cells from
           180 W eastwards, least significant bit first
"""

import argparse
import json
import math
import struct
import sys
import zlib

MAGIC = b"ORVPLC1\0"
VERSION = 1
NO_AREA = 0xFFFF
# Populated places that are not places to be in: parts of cities (the city itself answers),
# abandoned, destroyed, historical ones.
SKIPPED_CODES = {"PPLX", "PPLQ", "PPLW", "PPLH", "PPLCH"}
SEAT_CODES = {"PPLC", "PPLA", "PPLA2"}


def read_places(path, min_population):
    places = []
    with open(path, encoding="utf-8") as f:
        for line in f:
            cols = line.rstrip("\n").split("\t")
            if len(cols) < 15 or cols[6] != "P" or cols[7] in SKIPPED_CODES:
                continue
            population = int(cols[14] or 0)
            if population < min_population and cols[7] not in SEAT_CODES:
                continue
            country = cols[8]
            if len(country) != 2:
                continue
            places.append({
                "name": cols[1],
                "lat": float(cols[4]),
                "lon": float(cols[5]),
                "country": country,
                "admin1": f"{country}.{cols[10]}" if cols[10] else None,
                "admin2": f"{country}.{cols[10]}.{cols[11]}" if cols[10] and cols[11] else None,
            })
    return places


def read_areas(path):
    with open(path, encoding="utf-8") as f:
        return {row["code"]: row["name"] for row in json.load(f)}


def decode_topology_rings(path):
    """Yields the rings of every polygon of the "land" object, in degrees."""
    with open(path, encoding="utf-8") as f:
        topo = json.load(f)
    (sx, sy), (tx, ty) = topo["transform"]["scale"], topo["transform"]["translate"]
    arcs = []
    for arc in topo["arcs"]:
        x = y = 0
        points = []
        for dx, dy in arc:
            x += dx
            y += dy
            points.append((x * sx + tx, y * sy + ty))
        arcs.append(points)

    def ring(indices):
        points = []
        for i in indices:
            arc = arcs[i] if i >= 0 else arcs[~i][::-1]
            points.extend(arc if not points else arc[1:])
        return points

    for geometry in topo["objects"]["land"]["geometries"]:
        polygons = geometry["arcs"] if geometry["type"] == "MultiPolygon" else [geometry["arcs"]]
        for polygon in polygons:
            for indices in polygon:
                yield ring(indices)


def unwrap(points):
    """Longitudes made continuous across the antimeridian, and a ring that goes once round a
    pole closed over that pole, so a planar fill sees the area the ring encloses on the sphere."""
    out = [points[0]]
    for x, y in points[1:]:
        previous = out[-1][0]
        while x - previous > 180.0:
            x -= 360.0
        while x - previous < -180.0:
            x += 360.0
        out.append((x, y))
    turn = out[-1][0] - out[0][0]
    if abs(turn) > 180.0:
        pole = -90.0 if sum(y for _, y in out) < 0 else 90.0
        out += [(out[-1][0], pole), (out[0][0], pole)]
    return out


def land_mask(path, width, height):
    """Even-odd fill of the land rings, sampled at each cell's centre: each ring toggles the
    cells between pairs of its crossings of the row, so rings in different longitude frames
    (after unwrapping) still combine by parity."""
    cell_lat = 180.0 / height
    cell_lon = 360.0 / width
    bits = bytearray((width * height + 7) // 8)
    for ring in decode_topology_rings(path):
        points = unwrap(ring)
        crossings = {}
        for (x0, y0), (x1, y1) in zip(points, points[1:] + points[:1]):
            if y0 == y1:
                continue
            low, high = min(y0, y1), max(y0, y1)
            # Rows whose centre latitude lies in [low, high).
            first = max(0, math.ceil((90.0 - high) / cell_lat - 0.5))
            last = min(height - 1, math.floor((90.0 - low) / cell_lat - 0.5))
            for row in range(first, last + 1):
                lat = 90.0 - (row + 0.5) * cell_lat
                if low <= lat < high:
                    x = x0 + (lat - y0) * (x1 - x0) / (y1 - y0)
                    crossings.setdefault(row, []).append(x)
        for row, xs in crossings.items():
            xs.sort()
            for start, end in zip(xs[0::2], xs[1::2]):
                # Cells whose centre lies in [start, end).
                first = math.ceil((start + 180.0) / cell_lon - 0.5)
                last = math.ceil((end + 180.0) / cell_lon - 0.5) - 1
                for cell in range(first, min(last, first + width - 1) + 1):
                    index = row * width + cell % width
                    bits[index >> 3] ^= 1 << (index & 7)
    return bytes(bits)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--places", required=True)
    parser.add_argument("--admin1", required=True)
    parser.add_argument("--admin2", required=True)
    parser.add_argument("--land", required=True)
    parser.add_argument("--output", required=True)
    parser.add_argument("--min-population", type=int, default=1000)
    parser.add_argument("--mask-cells-per-degree", type=int, default=4)
    args = parser.parse_args()

    places = read_places(args.places, args.min_population)
    admin1 = read_areas(args.admin1)
    admin2 = read_areas(args.admin2)

    strings = bytearray()
    string_offsets = {}

    def string(text):
        if text not in string_offsets:
            string_offsets[text] = len(strings)
            strings.extend(text.encode("utf-8") + b"\0")
        return string_offsets[text]

    area_index = {}
    area_names = []

    def area(code, names):
        if code is None or code not in names:
            return NO_AREA
        if code not in area_index:
            area_index[code] = len(area_names)
            area_names.append(string(names[code]))
        return area_index[code]

    # Sorted by position, so neighbours in the file are neighbours on Earth and the file
    # compresses well in git.
    places.sort(key=lambda p: (round(p["lat"], 1), p["lon"]))
    body = bytearray()
    for p in places:
        body += struct.pack("<iiIHH2s", round(p["lat"] * 1e5), round(p["lon"] * 1e5), string(p["name"]),
                            area(p["admin1"], admin1), area(p["admin2"], admin2),
                            p["country"].encode("ascii"))
    if len(area_names) >= NO_AREA:
        sys.exit("too many areas for 16-bit indices")
    for offset in area_names:
        body += struct.pack("<I", offset)
    body += strings
    width, height = 360 * args.mask_cells_per_degree, 180 * args.mask_cells_per_degree
    mask = land_mask(args.land, width, height)
    body += mask

    header = MAGIC + struct.pack("<7I", VERSION, len(places), len(area_names), len(strings), width,
                                 height, zlib.crc32(body))
    with open(args.output, "wb") as f:
        f.write(header + body)
    land = sum(bin(b).count("1") for b in mask)
    print(f"{args.output}: {len(places)} places, {len(area_names)} areas, {len(strings)} string bytes, "
          f"{width}x{height} mask ({100.0 * land / (width * height):.1f}% land), "
          f"{len(header) + len(body)} bytes")


if __name__ == "__main__":
    main()
