#include "kivuimg/img/svg/pathgeom.h"

#include <algorithm>
#include <cmath>

#include "kivuimg/commons/content.h"
#include "kivuimg/commons/core/memory.h"

namespace kivu {

namespace {

constexpr double kPi = 3.141592653589793;
constexpr double kTwoPi = 6.283185307179586;
constexpr double kHalfPi = 1.5707963267948966;
// No arc turns more than a full circle, so it never needs more segments;
// the bound only guards against a rounding step past four.
constexpr int kMaxArcSegments = 8;

// An arc in centre form: centre, radii, rotation (sine and cosine), the
// start angle and the signed sweep.
struct SArcCentre {
    double cx = 0, cy = 0, rx = 0, ry = 0, sinPhi = 0, cosPhi = 1, theta = 0, delta = 0;

    // A point of the unit circle, scaled by the radii, rotated and moved
    // to the centre.
    SPoint place(double ux, double uy) const {
        const double x = rx * ux, y = ry * uy;
        return SPoint(static_cast<float>(cosPhi * x - sinPhi * y + cx), static_cast<float>(sinPhi * x + cosPhi * y + cy));
    }
};

// The endpoint-to-centre conversion: radii too small grow until the arc
// reaches, and the flags choose which of the two centres.
SArcCentre arcCentre(const SPoint& start, const SPoint& end, const SPoint& radii, float rotation, float largeArc,
                     float sweep) {
    SArcCentre a;
    const double phi = rotation * kPi / 180;
    a.sinPhi = std::sin(phi), a.cosPhi = std::cos(phi);
    const double dx = (static_cast<double>(start.x) - end.x) / 2, dy = (static_cast<double>(start.y) - end.y) / 2;
    const double x1p = a.cosPhi * dx + a.sinPhi * dy, y1p = -a.sinPhi * dx + a.cosPhi * dy;
    a.rx = radii.x, a.ry = radii.y;
    const double t = a.rx * a.rx * a.ry * a.ry;
    const double s = a.rx * a.rx * y1p * y1p + a.ry * a.ry * x1p * x1p;
    const double rem = t - s;
    double factor = 0;
    if (rem < 0) {
        const double grow = std::sqrt(1 - rem / t);
        a.rx *= grow, a.ry *= grow;
    } else if (s > 0) {
        factor = std::sqrt(rem / s);
        if (largeArc == sweep) factor = -factor;
    }
    const double cxp = factor * a.rx * y1p / a.ry, cyp = -factor * a.ry * x1p / a.rx;
    a.cx = a.cosPhi * cxp - a.sinPhi * cyp + (static_cast<double>(start.x) + end.x) * 0.5;
    a.cy = a.sinPhi * cxp + a.cosPhi * cyp + (static_cast<double>(start.y) + end.y) * 0.5;
    const double ux = (x1p - cxp) / a.rx, uy = (y1p - cyp) / a.ry;
    a.theta = vectorAngle(1, 0, ux, uy);
    a.delta = vectorAngle(ux, uy, (-x1p - cxp) / a.rx, (-y1p - cyp) / a.ry);
    if (sweep == 0 && a.delta > 0) a.delta += -kTwoPi;
    if (sweep != 0 && a.delta < 0) a.delta += kTwoPi;
    return a;
}

void addExtent(ArcExtents& extents, const SPoint& p) {
    extents[0].push_back(p.x);
    extents[1].push_back(p.y);
}

}  // namespace

float vectorAngle(double ux, double uy, double vx, double vy) {
    const double ta = std::atan2(uy, ux), tb = std::atan2(vy, vx);
    if (tb >= ta) return static_cast<float>(tb - ta);
    return static_cast<float>(6.2831855f + (tb - ta));
}

std::string arcToCurves(const SPoint& start, const SPoint& end, const SPoint& radii, float rotation, float largeArc,
                        float sweep, float scale, ArcExtents& extents) {
    if (start == end) return "";
    TMemory memory(256, 0);
    TContent out(memory, '\n');
    if (radii.x == 0 || radii.y == 0 || !std::isfinite(radii.x) || !std::isfinite(radii.y)) {
        out.lineTo(end.x * scale, -end.y * scale);
        return memory.to_string();
    }
    const SArcCentre a = arcCentre(start, end, radii, rotation, largeArc, sweep);
    const double turns = std::ceil(std::fabs(a.delta / kHalfPi));
    if (!(turns >= 1)) return "";
    const int segments = static_cast<int>(std::min<double>(turns, kMaxArcSegments));
    const double d = a.delta / segments;
    const double handle = 2.6666666666666665 * std::pow(std::sin(0.25 * d), 2) / std::sin(0.5 * d);
    double angle = a.theta;
    for (int i = 0; i < segments; ++i, angle += d) {
        const double c1 = std::cos(angle), s1 = std::sin(angle);
        const double c2 = std::cos(angle + d), s2 = std::sin(angle + d);
        const SPoint p1 = a.place(c1 - handle * s1, s1 + handle * c1);
        const SPoint p2 = a.place(c2 + handle * s2, s2 - handle * c2);
        const SPoint p3 = a.place(c2, s2);
        for (const SPoint& p : {p1, p2, p3}) addExtent(extents, p);
        out.curveTo(p1.x * scale, -p1.y * scale, p2.x * scale, -p2.y * scale, p3.x * scale, -p3.y * scale);
    }
    return memory.to_string();
}

namespace {

// The turning values of one coordinate of a cubic segment, appended to
// `values`: the roots of its derivative strictly inside (0, 1).
void turningValues(double p0, double p1, double p2, double p3, std::vector<float>& values) {
    const double b = 6 * p0 - 12 * p1 + 6 * p2;
    const double a = -3 * p0 + 9 * p1 - 9 * p2 + 3 * p3;
    const double c = 3 * p1 - 3 * p0;
    double roots[2];
    int count = 0;
    if (a == 0) {
        if (b != 0) roots[count++] = -c / b;
    } else {
        const double disc = b * b - 4 * a * c;
        if (disc >= 0) {
            roots[count++] = (-b + std::sqrt(disc)) / (2 * a);
            roots[count++] = (-b - std::sqrt(disc)) / (2 * a);
        }
    }
    for (int i = 0; i < count; ++i) {
        const double t = roots[i], mt = 1 - t;
        if (!(t > 0 && t < 1)) continue;
        values.push_back(static_cast<float>(mt * mt * mt * p0 + 3 * mt * mt * t * p1 + 3 * mt * t * t * p2 +
                                            t * t * t * p3));
    }
}

}  // namespace

std::array<float, 4> bezierBox(const SPoint& start, const SCurve& curve) {
    std::vector<float> xs{start.x, curve.end.x}, ys{start.y, curve.end.y};
    turningValues(start.x, curve.control1.x, curve.control2.x, curve.end.x, xs);
    turningValues(start.y, curve.control1.y, curve.control2.y, curve.end.y, ys);
    const auto [minX, maxX] = std::minmax_element(xs.begin(), xs.end());
    const auto [minY, maxY] = std::minmax_element(ys.begin(), ys.end());
    return {*minX, *minY, *maxX, *maxY};
}

bool lineMeetsUnitSquare(const SPoint& point, double angle) {
    // The corners lie on both sides of the line, or on it, when it meets
    // the square; a tiny band counts as on the line, so that an edge the
    // line runs along is met whatever the rounding of the direction.
    constexpr double kOnLine = 1e-6;
    if (!std::isfinite(point.x) || !std::isfinite(point.y)) return false;
    const double dx = std::cos(angle), dy = std::sin(angle);
    bool below = false, above = false;
    for (const auto& [cx, cy] : {std::pair{0.0, 0.0}, {1.0, 0.0}, {0.0, 1.0}, {1.0, 1.0}}) {
        const double side = dx * (cy - point.y) - dy * (cx - point.x);
        if (!(side > kOnLine)) below = true;
        if (!(side < -kOnLine)) above = true;
    }
    return below && above;
}

bool circleCoversUnitSquare(const SPoint& centre, float r) {
    // A circle that is no finite thing can't be improved on by more rounds.
    if (!std::isfinite(centre.x) || !std::isfinite(centre.y) || !std::isfinite(r)) return true;
    const bool inside = centre.x >= 0 && centre.x <= 1 && centre.y >= 0 && centre.y <= 1;
    if (inside) return r >= 1.5f;
    float farthest = 0;
    for (const auto& [cx, cy] : {std::pair{0.0f, 0.0f}, {1.0f, 0.0f}, {0.0f, 1.0f}, {1.0f, 1.0f}})
        farthest = std::max(farthest, std::hypot(cx - centre.x, cy - centre.y));
    return r >= farthest;
}

}  // namespace kivu
