// The ellipsoid check that every layer of the grid conversions makes when its parameters are set.
#pragma once

namespace orvane::stamp {

// a above 0 and 1/f from 250 to 350; returns the layer's own fault bits.
inline long checkEllipsoid(double a, double f, long aError, long invFError) {
    long error = 0;
    if (!(a > 0)) {
        error |= aError;
    }
    const double inverseFlattening = 1 / f;
    if (!(inverseFlattening >= 250 && inverseFlattening <= 350)) {
        error |= invFError;
    }
    return error;
}

}  // namespace orvane::stamp
