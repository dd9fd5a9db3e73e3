#!/usr/bin/env python3
"""Writes platform/location/sim_route_data.cpp: the simulated route, a loop of about five kilometres
through the centre of Bath, England, one point a second.

The waypoints are street corners read off a map, with their heights above sea level rounded
to five metres; between them the route runs straight at the speed of its leg, easing down
towards each corner. Run from the repository root: python3 tools/sim_route/make_sim_route.py
"""
import math
import sys

# latitude, longitude, height in metres, speed of the leg that starts here in metres a second
WAYPOINTS = [
    (51.38142, -2.35870, 20, 6.0),   # Orange Grove, by the Abbey
    (51.38330, -2.35860, 20, 5.0),   # Bridge Street, Pulteney Bridge
    (51.38385, -2.35480, 20, 9.0),   # Laura Place
    (51.38470, -2.34760, 25, 7.0),   # Great Pulteney Street to the Holburne Museum
    (51.38700, -2.35380, 25, 10.0),  # Bathwick Street
    (51.38790, -2.35800, 25, 8.0),   # Cleveland Bridge
    (51.38700, -2.36000, 30, 6.0),   # Walcot Street
    (51.39050, -2.36400, 80, 7.0),   # up Lansdown Road
    (51.39350, -2.36750, 110, 8.0),  # Lansdown Crescent
    (51.38730, -2.36780, 55, 7.0),   # Royal Crescent
    (51.38570, -2.36330, 45, 6.0),   # The Circus
    (51.38340, -2.36320, 30, 6.0),   # Gay Street, Queen Square
    (51.38120, -2.36180, 20, 8.0),   # Westgate Street
    (51.37760, -2.35720, 20, 6.0),   # Bath Spa station
    (51.37950, -2.35750, 20, 6.0),   # Manvers Street
]
EARTH_RADIUS = 6371008.8
EASING = 40.0  # metres before a corner over which the speed falls to half


def distance(a, b):
    la1, lo1, la2, lo2 = map(math.radians, (a[0], a[1], b[0], b[1]))
    h = math.sin((la2 - la1) / 2) ** 2 + math.cos(la1) * math.cos(la2) * math.sin((lo2 - lo1) / 2) ** 2
    return 2 * EARTH_RADIUS * math.asin(math.sqrt(h))


def points():
    """One point a second along the loop; a step that passes a corner goes on round it."""
    legs = [distance(WAYPOINTS[i], WAYPOINTS[(i + 1) % len(WAYPOINTS)]) for i in range(len(WAYPOINTS))]
    out = []
    leg, along = 0, 0.0
    while leg < len(WAYPOINTS):
        start, end = WAYPOINTS[leg], WAYPOINTS[(leg + 1) % len(WAYPOINTS)]
        t = along / legs[leg]
        left = legs[leg] - along
        speed = start[3] * (0.5 + 0.5 * min(1.0, left / EASING))
        out.append((start[0] + (end[0] - start[0]) * t,
                    start[1] + (end[1] - start[1]) * t,
                    start[2] + (end[2] - start[2]) * t,
                    speed))
        along += speed
        while leg < len(WAYPOINTS) and along >= legs[leg]:
            along -= legs[leg]
            leg += 1
    return out


def main():
    route = points()
    lines = [
        "// Made by tools/sim_route/make_sim_route.py; do not edit.",
        '#include "platform/location/sim_route.h"',
        "",
        "namespace orvane::platform {",
        "",
        "const SimRoutePoint kSimRoute[] = {",
    ]
    lines += ["    {%.7f, %.7f, %.1f, %.2f}," % p for p in route]
    lines += [
        "};",
        "const std::size_t kSimRouteSize = sizeof kSimRoute / sizeof kSimRoute[0];",
        "",
        "}  // namespace orvane::platform",
        "",
    ]
    path = sys.argv[1] if len(sys.argv) > 1 else "platform/location/sim_route_data.cpp"
    with open(path, "w") as f:
        f.write("\n".join(lines))
    print("%d points, %.0f m" % (len(route), sum(p[3] for p in route)))


if __name__ == "__main__":
    main()
