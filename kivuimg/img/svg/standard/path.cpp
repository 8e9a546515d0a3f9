#include "kivuimg/img/svg/standard/path.h"

#include <algorithm>
#include <cmath>

#include "kivuimg/img/svg/standard/values.h"

namespace kivu::stdsvg {

// ---- boxes -------------------------------------------------------------------

void SBox::add(double x, double y) {
    if (!std::isfinite(x) || !std::isfinite(y)) return;
    if (x1 < x0) {
        x0 = x1 = x, y0 = y1 = y;
        return;
    }
    x0 = std::min(x0, x), x1 = std::max(x1, x);
    y0 = std::min(y0, y), y1 = std::max(y1, y);
}

void SBox::add(const SBox& o) {
    if (o.x1 < o.x0) return;
    add(o.x0, o.y0);
    add(o.x1, o.y1);
}

// ---- building ----------------------------------------------------------------

void TPath::moveTo(double x, double y) {
    segs_.push_back({SPathSeg::move, 0, 0, 0, 0, x, y});
    x_ = startX_ = x, y_ = startY_ = y;
    open_ = true;
}

void TPath::lineTo(double x, double y) {
    if (!open_) moveTo(x_, y_);
    segs_.push_back({SPathSeg::line, 0, 0, 0, 0, x, y});
    x_ = x, y_ = y;
}

void TPath::cubicTo(double x1, double y1, double x2, double y2, double x, double y) {
    if (!open_) moveTo(x_, y_);
    segs_.push_back({SPathSeg::cubic, x1, y1, x2, y2, x, y});
    x_ = x, y_ = y;
}

void TPath::quadTo(double qx, double qy, double x, double y) {
    cubicTo(x_ + 2.0 / 3 * (qx - x_), y_ + 2.0 / 3 * (qy - y_), x + 2.0 / 3 * (qx - x), y + 2.0 / 3 * (qy - y), x, y);
}

void TPath::close() {
    if (!open_) return;
    segs_.push_back({SPathSeg::close, 0, 0, 0, 0, startX_, startY_});
    x_ = startX_, y_ = startY_;
    open_ = false;
}

// The endpoint-to-centre conversion of SVG's implementation notes, then one
// cubic per piece of at most a quarter turn.
void TPath::arcTo(double rx, double ry, double rotation, bool largeArc, bool sweep, double x, double y) {
    const double x0 = x_, y0 = y_;
    if (x0 == x && y0 == y) return;
    rx = std::fabs(rx), ry = std::fabs(ry);
    if (rx == 0 || ry == 0 || !std::isfinite(rx) || !std::isfinite(ry)) return lineTo(x, y);
    const double phi = rotation * M_PI / 180, cs = std::cos(phi), sn = std::sin(phi);
    const double dx = (x0 - x) / 2, dy = (y0 - y) / 2;
    const double x1p = cs * dx + sn * dy, y1p = -sn * dx + cs * dy;
    const double lambda = x1p * x1p / (rx * rx) + y1p * y1p / (ry * ry);
    if (lambda > 1) rx *= std::sqrt(lambda), ry *= std::sqrt(lambda);
    const double num = rx * rx * ry * ry - rx * rx * y1p * y1p - ry * ry * x1p * x1p;
    const double den = rx * rx * y1p * y1p + ry * ry * x1p * x1p;
    double k = den > 0 ? std::sqrt(std::max(0.0, num / den)) : 0;
    if (largeArc == sweep) k = -k;
    const double cxp = k * rx * y1p / ry, cyp = -k * ry * x1p / rx;
    const double cx = cs * cxp - sn * cyp + (x0 + x) / 2, cy = sn * cxp + cs * cyp + (y0 + y) / 2;
    const double t1 = std::atan2((y1p - cyp) / ry, (x1p - cxp) / rx);
    double dt = std::atan2((-y1p - cyp) / ry, (-x1p - cxp) / rx) - t1;
    if (sweep && dt < 0) dt += 2 * M_PI;
    if (!sweep && dt > 0) dt -= 2 * M_PI;
    const int pieces = std::max(1, static_cast<int>(std::ceil(std::fabs(dt) / (M_PI / 2) - 1e-9)));
    const double step = dt / pieces, alpha = 4.0 / 3 * std::tan(step / 4);
    auto point = [&](double t, double& px, double& py) {
        px = cx + rx * std::cos(t) * cs - ry * std::sin(t) * sn;
        py = cy + rx * std::cos(t) * sn + ry * std::sin(t) * cs;
    };
    auto derivative = [&](double t, double& px, double& py) {
        px = -rx * std::sin(t) * cs - ry * std::cos(t) * sn;
        py = -rx * std::sin(t) * sn + ry * std::cos(t) * cs;
    };
    double t = t1;
    for (int i = 0; i < pieces; ++i) {
        double ax, ay, bx, by, dax, day, dbx, dby;
        point(t, ax, ay), derivative(t, dax, day);
        point(t + step, bx, by), derivative(t + step, dbx, dby);
        if (i == pieces - 1) bx = x, by = y;
        cubicTo(ax + alpha * dax, ay + alpha * day, bx - alpha * dbx, by - alpha * dby, bx, by);
        t += step;
    }
}

void TPath::append(const TPath& other) {
    segs_.insert(segs_.end(), other.segs_.begin(), other.segs_.end());
    x_ = other.x_, y_ = other.y_, startX_ = other.startX_, startY_ = other.startY_, open_ = other.open_;
}

// ---- boxes of paths --------------------------------------------------------------

namespace {

// The extremes of one coordinate of a cubic on (0, 1).
void cubicExtremes(double p0, double p1, double p2, double p3, double out[2], int& n) {
    const double a = -p0 + 3 * p1 - 3 * p2 + p3, b = 2 * (p0 - 2 * p1 + p2), c = p1 - p0;
    n = 0;
    auto keep = [&](double t) {
        if (t > 0 && t < 1) out[n++] = t;
    };
    if (std::fabs(a) < 1e-12) {
        if (std::fabs(b) > 1e-12) keep(-c / b);
        return;
    }
    const double disc = b * b - 4 * a * c;
    if (disc < 0) return;
    const double r = std::sqrt(disc);
    keep((-b + r) / (2 * a));
    keep((-b - r) / (2 * a));
}

double cubicAt(double p0, double p1, double p2, double p3, double t) {
    const double u = 1 - t;
    return u * u * u * p0 + 3 * u * u * t * p1 + 3 * u * t * t * p2 + t * t * t * p3;
}

}  // namespace

SBox TPath::bounds() const {
    SBox box;
    double px = 0, py = 0;
    for (const SPathSeg& s : segs_) {
        if (s.op == SPathSeg::cubic) {
            double ts[2];
            int n;
            cubicExtremes(px, s.x1, s.x2, s.x, ts, n);
            for (int i = 0; i < n; ++i) box.add(cubicAt(px, s.x1, s.x2, s.x, ts[i]), cubicAt(py, s.y1, s.y2, s.y, ts[i]));
            cubicExtremes(py, s.y1, s.y2, s.y, ts, n);
            for (int i = 0; i < n; ++i) box.add(cubicAt(px, s.x1, s.x2, s.x, ts[i]), cubicAt(py, s.y1, s.y2, s.y, ts[i]));
        }
        box.add(s.x, s.y);
        px = s.x, py = s.y;
    }
    return box;
}

TPath TPath::transformed(const SMatrix& m) const {
    TPath out;
    out.segs_.reserve(segs_.size());
    for (SPathSeg s : segs_) {
        const double x1 = m.x(s.x1, s.y1), y1 = m.y(s.x1, s.y1), x2 = m.x(s.x2, s.y2), y2 = m.y(s.x2, s.y2);
        const double x = m.x(s.x, s.y), y = m.y(s.x, s.y);
        s.x1 = x1, s.y1 = y1, s.x2 = x2, s.y2 = y2, s.x = x, s.y = y;
        out.segs_.push_back(s);
    }
    out.x_ = m.x(x_, y_), out.y_ = m.y(x_, y_);
    out.startX_ = m.x(startX_, startY_), out.startY_ = m.y(startX_, startY_);
    out.open_ = open_;
    return out;
}

SBox TPath::bounds(const SMatrix& m) const { return transformed(m).bounds(); }

// ---- path data -----------------------------------------------------------------

namespace {

bool isCommand(char c) { return std::string_view("MmLlHhVvCcSsQqTtAaZz").find(c) != std::string_view::npos; }

struct SPathReader {
    TNumberScanner s;
    TPath path;
    char last = 0;            // the command of the last segment, upper case
    double cx2 = 0, cy2 = 0;  // its last control point, for S and T

    bool numbers(double* v, int n) {
        for (int i = 0; i < n; ++i) {
            if (i) s.skipSeparator();
            if (!s.number(v[i])) return false;
        }
        return true;
    }
    bool arc(bool relative);
    bool segment(char cmd);
};

bool SPathReader::arc(bool relative) {
    double r[3], e[2];
    bool large, sweep;
    if (!numbers(r, 3)) return false;
    s.skipSeparator();
    if (!s.flag(large)) return false;
    s.skipSeparator();
    if (!s.flag(sweep)) return false;
    s.skipSeparator();
    if (!numbers(e, 2)) return false;
    const double ox = relative ? path.lastX() : 0, oy = relative ? path.lastY() : 0;
    path.arcTo(r[0], r[1], r[2], large, sweep, e[0] + ox, e[1] + oy);
    return true;
}

// One segment of command `cmd` from the numbers at the scanner.
bool SPathReader::segment(char cmd) {
    const bool rel = cmd >= 'a';
    const char up = static_cast<char>(rel ? cmd - 32 : cmd);
    const double ox = rel ? path.lastX() : 0, oy = rel ? path.lastY() : 0;
    double v[6];
    double px = path.lastX(), py = path.lastY();
    switch (up) {
        case 'M':
            if (!numbers(v, 2)) return false;
            path.moveTo(v[0] + ox, v[1] + oy);
            break;
        case 'L':
            if (!numbers(v, 2)) return false;
            path.lineTo(v[0] + ox, v[1] + oy);
            break;
        case 'H':
            if (!numbers(v, 1)) return false;
            path.lineTo(v[0] + ox, py);
            break;
        case 'V':
            if (!numbers(v, 1)) return false;
            path.lineTo(px, v[0] + oy);
            break;
        case 'C':
            if (!numbers(v, 6)) return false;
            path.cubicTo(v[0] + ox, v[1] + oy, v[2] + ox, v[3] + oy, v[4] + ox, v[5] + oy);
            cx2 = v[2] + ox, cy2 = v[3] + oy;
            break;
        case 'S': {
            if (!numbers(v, 4)) return false;
            const bool smooth = last == 'C' || last == 'S';
            path.cubicTo(smooth ? 2 * px - cx2 : px, smooth ? 2 * py - cy2 : py, v[0] + ox, v[1] + oy, v[2] + ox,
                         v[3] + oy);
            cx2 = v[0] + ox, cy2 = v[1] + oy;
            break;
        }
        case 'Q':
            if (!numbers(v, 4)) return false;
            path.quadTo(v[0] + ox, v[1] + oy, v[2] + ox, v[3] + oy);
            cx2 = v[0] + ox, cy2 = v[1] + oy;
            break;
        case 'T': {
            if (!numbers(v, 2)) return false;
            const bool smooth = last == 'Q' || last == 'T';
            const double qx = smooth ? 2 * px - cx2 : px, qy = smooth ? 2 * py - cy2 : py;
            path.quadTo(qx, qy, v[0] + ox, v[1] + oy);
            cx2 = qx, cy2 = qy;
            break;
        }
        case 'A':
            if (!arc(rel)) return false;
            break;
        default: return false;
    }
    last = up;
    return true;
}

}  // namespace

TPath parsePathData(std::string_view d) {
    SPathReader r{TNumberScanner(d), {}, 0, 0, 0};
    char cmd = 0;
    while (!r.s.atEnd()) {
        const char c = r.s.peek();
        if (isCommand(c)) {
            r.s.advance();
            cmd = c;
            // Path data must begin with a move.
            if (r.path.empty() && cmd != 'M' && cmd != 'm') break;
            if (cmd == 'Z' || cmd == 'z') {
                r.path.close();
                r.last = 'Z';
                r.s.skipSeparator();
                continue;
            }
        } else if (!cmd || cmd == 'Z' || cmd == 'z') {
            break;
        }
        if (!r.segment(cmd)) break;
        // Coordinates behind a move are lines.
        if (cmd == 'M') cmd = 'L';
        else if (cmd == 'm') cmd = 'l';
        r.s.skipSeparator();
    }
    return std::move(r.path);
}

std::vector<double> parsePoints(std::string_view text) {
    std::vector<double> v;
    TNumberScanner s(text);
    double x;
    while (!s.atEnd() && s.number(x)) {
        v.push_back(x);
        s.skipSeparator();
    }
    if (v.size() % 2) v.pop_back();
    return v;
}

// ---- shapes --------------------------------------------------------------------------

TPath rectPath(double x, double y, double w, double h, double rx, double ry) {
    TPath p;
    rx = std::min(rx, w / 2), ry = std::min(ry, h / 2);
    if (rx <= 0 || ry <= 0) {
        p.moveTo(x, y);
        p.lineTo(x + w, y);
        p.lineTo(x + w, y + h);
        p.lineTo(x, y + h);
        p.close();
        return p;
    }
    p.moveTo(x + rx, y);
    p.lineTo(x + w - rx, y);
    p.arcTo(rx, ry, 0, false, true, x + w, y + ry);
    p.lineTo(x + w, y + h - ry);
    p.arcTo(rx, ry, 0, false, true, x + w - rx, y + h);
    p.lineTo(x + rx, y + h);
    p.arcTo(rx, ry, 0, false, true, x, y + h - ry);
    p.lineTo(x, y + ry);
    p.arcTo(rx, ry, 0, false, true, x + rx, y);
    p.close();
    return p;
}

TPath ellipsePath(double cx, double cy, double rx, double ry) {
    TPath p;
    p.moveTo(cx + rx, cy);
    p.arcTo(rx, ry, 0, false, true, cx, cy + ry);
    p.arcTo(rx, ry, 0, false, true, cx - rx, cy);
    p.arcTo(rx, ry, 0, false, true, cx, cy - ry);
    p.arcTo(rx, ry, 0, false, true, cx + rx, cy);
    p.close();
    return p;
}

}  // namespace kivu::stdsvg
