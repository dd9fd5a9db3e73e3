#!/usr/bin/python3
"""Computes the lunar calendar's year table and solar-term table for 1890 to 2100 and writes
them as C++ data (stamp/lunar/lunar_tables.cpp).

New moons and the sun's apparent ecliptic longitude come from PyEphem (Debian's python3-ephem).
Days are taken where the almanac of the time took them: from 1929 in China Standard Time, UTC+8,
and before it in the local mean time of Beijing's meridian, 116 degrees 25 minutes east, that is
UTC+7:45:40, the reckoning of the almanacs before 1929. Months begin on the day of the new moon, the
month holding the winter solstice is the eleventh, and a span of thirteen months from one
eleventh month to the next has a leap month: the first month in it without a major solar term.

Usage: /usr/bin/python3 tools/lunar/make_lunar_tables.py [output.cpp]
"""

import datetime
import sys

import ephem

FIRST_YEAR = 1890
LAST_YEAR = 2100
TROPICAL_YEAR = 365.2422
CST = 8.0 / 24.0  # China Standard Time, in days
BEIJING_MEAN_TIME = (7 + 45.0 / 60 + 40.0 / 3600) / 24.0  # 116 degrees 25 minutes east, in days
# The first moment reckoned in UTC+8: the almanacs from 1929 on use the meridian of 120 degrees.
CST_FROM = ephem.Date(datetime.datetime(1929, 1, 1)) - CST

# Rows where published tables decide otherwise than the computation; they win, and each is
# explained in the generated file. Year: (leap month, first month, first day, month bits).
OVERRIDES = {
    # The new moon of 24 April 1906 falls at 23:52 in Beijing's mean time by this computation, yet
    # the published tables begin the fourth month on the 24th, as in UTC+8.
    1906: (4, 1, 25, 27304),
}


def sun_longitude(date):
    """The sun's apparent geocentric ecliptic longitude, of date, in degrees."""
    sun = ephem.Sun()
    sun.compute(date, epoch=date)
    equatorial = ephem.Equatorial(sun.g_ra, sun.g_dec, epoch=date)
    return float(ephem.Ecliptic(equatorial).lon) * 180.0 / ephem.pi


def wrap(degrees):
    return (degrees + 180.0) % 360.0 - 180.0


def solar_term_time(longitude, estimate):
    """The moment near `estimate` (an ephem date) when the sun reaches `longitude` degrees."""
    date = float(estimate)
    for _ in range(50):
        step = wrap(longitude - sun_longitude(date)) / 360.0 * TROPICAL_YEAR
        date += step
        if abs(step) < 1e-7:
            break
    return ephem.Date(date)


def offset(date):
    """The offset from UT, in days, of the time the almanac of an ephem date reckons in."""
    return CST if float(date) >= float(CST_FROM) else BEIJING_MEAN_TIME


def zone_name(date):
    return "UTC+8" if offset(date) == CST else "UTC+7:45:40"


def local_day(date):
    """The almanac's calendar day of an ephem date."""
    return ephem.Date(float(date) + offset(date)).datetime().date()


def near_midnight(date, minutes=2):
    local = ephem.Date(float(date) + offset(date)).datetime()
    into_day = local.hour * 60 + local.minute + local.second / 60.0
    return min(into_day, 1440 - into_day) < minutes


def new_moon_days(first, last):
    days, warnings = [], []
    date = ephem.Date(first)
    while True:
        date = ephem.next_new_moon(date)
        if date > ephem.Date(last):
            return days, warnings
        days.append(local_day(date))
        if near_midnight(date):
            warnings.append("new moon %s UT lies near midnight in %s" % (date, zone_name(date)))
        date = ephem.Date(date + 1)


def term_estimate(year, position):
    """A date close to the term at `position` (0 is the start of spring) of `year`."""
    if position == 22:
        return ephem.Date(datetime.datetime(year, 1, 5, 12))
    if position == 23:
        return ephem.Date(datetime.datetime(year, 1, 20, 12))
    return ephem.Date(ephem.Date(datetime.datetime(year, 2, 4, 12)) + 15.22 * position)


def term_longitude(position):
    return (315 + 15 * position) % 360


def main():
    output = sys.argv[1] if len(sys.argv) > 1 else "stamp/lunar/lunar_tables.cpp"
    warnings = []

    new_moons, moon_warnings = new_moon_days("1887/10/1", "2102/6/1")
    warnings += moon_warnings

    # Terms of every year, and the major terms (multiples of 30 degrees) as a set of days.
    terms = {}
    major_days = set()
    solstice = {}
    for year in range(FIRST_YEAR - 3, LAST_YEAR + 3):
        row = []
        for position in range(24):
            time = solar_term_time(term_longitude(position), term_estimate(year, position))
            day = local_day(time)
            row.append(day)
            if term_longitude(position) % 30 == 0:
                major_days.add(day)
            if term_longitude(position) == 270:
                solstice[year] = day
            if FIRST_YEAR <= year <= LAST_YEAR and near_midnight(time):
                warnings.append("term %d of %d at %s UT lies near midnight in %s"
                                % (position, year, time, zone_name(time)))
        terms[year] = row

    def month_holding(day):
        index = max(i for i, start in enumerate(new_moons) if start <= day)
        assert index + 1 < len(new_moons)
        return index

    def has_major_term(index):
        start, end = new_moons[index], new_moons[index + 1]
        return any(start + datetime.timedelta(days=k) in major_days for k in range((end - start).days))

    # Number the months, one span from eleventh month to eleventh month at a time.
    numbers = {}
    for year in range(FIRST_YEAR - 2, LAST_YEAR + 2):
        first, last = month_holding(solstice[year - 1]), month_holding(solstice[year])
        leap = None
        if last - first == 13:
            leap = next(i for i in range(first + 1, last) if not has_major_term(i))
        number = 11
        numbers[first] = (11, False)
        for index in range(first + 1, last):
            if index == leap:
                numbers[index] = (number, True)
            else:
                number = number % 12 + 1
                numbers[index] = (number, False)

    new_years = {}
    for index, (number, leap) in numbers.items():
        if number == 1 and not leap:
            new_years[new_moons[index].year] = index

    rows = {}
    for year in range(FIRST_YEAR, LAST_YEAR + 1):
        start, end = new_years[year], new_years[year + 1]
        leap_month, bits = 0, 0
        for k, index in enumerate(range(start, end)):
            number, leap = numbers[index]
            if leap:
                leap_month = number
            if (new_moons[index + 1] - new_moons[index]).days == 30:
                bits |= 1 << (15 - k)
        day = new_moons[start]
        rows[year] = (leap_month, day.month, day.day, bits)

    overridden = []
    for year, row in OVERRIDES.items():
        if rows[year] != row:
            overridden.append("%d computed %s, kept %s" % (year, rows[year], row))
            rows[year] = row

    with open(output, "w", encoding="utf-8") as out:
        out.write("// The lunar calendar's tables for %d to %d, generated by tools/lunar/make_lunar_tables.py\n"
                  % (FIRST_YEAR, LAST_YEAR))
        out.write("// from new moons and solar longitudes (PyEphem), in UTC+8 from 1929 and in Beijing's mean time\n")
        out.write("// (UTC+7:45:40) before. Do not edit by hand: run the generator again.\n")
        for line in overridden:
            out.write("// Row kept from published tables: %s\n" % line)
        out.write('#include "stamp/lunar/lunar_tables.h"\n\n')
        out.write("namespace orvane::stamp {\n\n")
        out.write("// Leap month, first month, first day, month bits.\n")
        out.write("const std::array<LunarYearRow, kLunarYearCount> kLunarYearRows = {{\n")
        for year in range(FIRST_YEAR, LAST_YEAR + 1):
            out.write("    {%d, %d, %d, %d},  // %d\n" % (rows[year] + (year,)))
        out.write("}};\n\n")
        out.write("// Gregorian month and day of each solar term, from the start of spring; the last two\n")
        out.write("// fall in January of the same year.\n")
        out.write("const std::array<LunarTermRow, kLunarYearCount> kLunarTermRows = {{\n")
        for year in range(FIRST_YEAR, LAST_YEAR + 1):
            keys = ", ".join('"d%02d%02d"' % (day.month, day.day) for day in terms[year])
            out.write("    {{%s}},  // %d\n" % (keys, year))
        out.write("}};\n\n")
        out.write("}  // namespace orvane::stamp\n")

    for line in warnings + overridden:
        print(line, file=sys.stderr)


if __name__ == "__main__":
    main()
