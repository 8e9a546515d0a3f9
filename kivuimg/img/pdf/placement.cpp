#include "kivuimg/img/pdf/placement.h"

#include <algorithm>

#include "kivuimg/commons/content.h"

namespace kivu::pdf {

namespace {

using Matrix = std::array<double, 6>;

// Matrices compose as PDF's do: a point is drawn by `first`, then `then`.
Matrix compose(const Matrix& m, const Matrix& n) {
    return {m[0] * n[0] + m[1] * n[2], m[0] * n[1] + m[1] * n[3], m[2] * n[0] + m[3] * n[2],
            m[2] * n[1] + m[3] * n[3], m[4] * n[0] + m[5] * n[2] + n[4], m[4] * n[1] + m[5] * n[3] + n[5]};
}

// The unit square turned and mirrored into the box as a picture stored
// under EXIF orientation 1..8 is to be seen.
Matrix orientationMatrix(const SPageBox& b, int orientation) {
    const double W = b.w, H = b.h;
    Matrix m;
    switch (orientation) {
        case 2: m = {-W, 0, 0, H, W, 0}; break;
        case 3: m = {-W, 0, 0, -H, W, H}; break;
        case 4: m = {W, 0, 0, -H, 0, H}; break;
        case 5: m = {0, -H, -W, 0, W, H}; break;
        case 6: m = {0, -H, W, 0, 0, H}; break;
        case 7: m = {0, H, W, 0, 0, 0}; break;
        case 8: m = {0, H, -W, 0, W, 0}; break;
        default: m = {W, 0, 0, H, 0, 0}; break;
    }
    m[4] += b.x, m[5] += b.y;
    return m;
}

std::string join(const Matrix& m, int decimals, const char* sep) {
    std::string out;
    for (size_t i = 0; i < m.size(); ++i) out += (i ? sep : "") + pdfNumber(m[i], decimals);
    return out;
}

}  // namespace

SFitted fitInto(const SPageBox& area, double w, double h, Fit fit) {
    const double fx = w > 0 ? area.w / w : 1, fy = h > 0 ? area.h / h : 1;
    const double into = std::min(fx, fy);
    double sx = into, sy = into;
    switch (fit) {
        case Fit::into: break;
        case Fit::fill: sx = sy = std::max(fx, fy); break;
        case Fit::exact: sx = fx, sy = fy; break;
        case Fit::shrink: sx = sy = std::min(into, 1.0); break;
        case Fit::enlarge: sx = sy = std::max(into, 1.0); break;
    }
    SFitted out;
    out.box.w = w * sx, out.box.h = h * sy;
    out.box.x = area.x + (area.w - out.box.w) / 2, out.box.y = area.y + (area.h - out.box.h) / 2;
    out.clip = out.box.w > area.w + 1e-6 || out.box.h > area.h + 1e-6;
    return out;
}

std::string placementOperator(TImageFormat& image, const SPageBox& box, int orientation) {
    Matrix unit;
    if (!image.unitMatrix(unit)) return "0 0 0 0 0 0 cm";
    return join(compose(unit, orientationMatrix(box, orientation)), 3, " ") + " cm";
}

std::string unitMatrixEntry(TImageFormat& image) {
    Matrix unit;
    if (!image.unitMatrix(unit)) unit = {0, 0, 0, 0, 0, 0};
    return "[" + join(unit, 8, " ") + "]";
}

}  // namespace kivu::pdf
