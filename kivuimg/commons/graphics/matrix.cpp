#include "kivuimg/commons/graphics/matrix.h"

namespace kivu {

SMatrix SMatrix::rotate(double degrees) {
    const double r = degrees * M_PI / 180;
    const double cs = std::cos(r), sn = std::sin(r);
    return {cs, sn, -sn, cs, 0, 0};
}

SMatrix SMatrix::operator*(const SMatrix& n) const {
    return {a * n.a + c * n.b,     b * n.a + d * n.b,     a * n.c + c * n.d,
            b * n.c + d * n.d,     a * n.e + c * n.f + e, b * n.e + d * n.f + f};
}

SMatrix SMatrix::inverse() const {
    if (!invertible()) return {};
    const double k = 1 / det();
    return {d * k, -b * k, -c * k, a * k, (c * f - d * e) * k, (b * e - a * f) * k};
}

bool SMatrix::finite() const {
    return std::isfinite(a) && std::isfinite(b) && std::isfinite(c) && std::isfinite(d) && std::isfinite(e) &&
           std::isfinite(f);
}

}  // namespace kivu
