// SMatrix: a 2-D affine transformation as PDF and SVG write it, [a b c d e f]
// mapping (x, y) to (a x + c y + e, b x + d y + f).  Products read as in
// SVG: m.then(n) applies m first, then n; m * n is n.then(m), so that
// parent * child maps a child's coordinates into its parent's.
#pragma once

#include <cmath>

#include "kivuimg/commons/graphics/point.h"

namespace kivu {

struct SMatrix {
    double a = 1, b = 0, c = 0, d = 1, e = 0, f = 0;

    static SMatrix translate(double x, double y) { return {1, 0, 0, 1, x, y}; }
    static SMatrix scale(double x, double y) { return {x, 0, 0, y, 0, 0}; }
    // Degrees, counter-clockwise in a y-up space (clockwise on an SVG page).
    static SMatrix rotate(double degrees);
    static SMatrix skewX(double degrees) { return {1, 0, std::tan(degrees * M_PI / 180), 1, 0, 0}; }
    static SMatrix skewY(double degrees) { return {1, std::tan(degrees * M_PI / 180), 0, 1, 0, 0}; }

    // This matrix applied to points already mapped by `inner`.
    SMatrix operator*(const SMatrix& inner) const;
    SMatrix& operator*=(const SMatrix& inner) { return *this = *this * inner; }

    double x(double px, double py) const { return a * px + c * py + e; }
    double y(double px, double py) const { return b * px + d * py + f; }
    SPoint apply(const SPoint& p) const {
        return SPoint(static_cast<float>(x(p.x, p.y)), static_cast<float>(y(p.x, p.y)));
    }
    double det() const { return a * d - b * c; }
    // The mean scale: the square root of the area factor.
    double meanScale() const { return std::sqrt(std::fabs(det())); }
    bool invertible() const { return std::isfinite(det()) && std::fabs(det()) > 1e-12; }
    // The inverse; the identity when there is none.
    SMatrix inverse() const;
    bool isIdentity() const { return a == 1 && b == 0 && c == 0 && d == 1 && e == 0 && f == 0; }
    bool finite() const;
    bool operator==(const SMatrix&) const = default;
};

}  // namespace kivu
