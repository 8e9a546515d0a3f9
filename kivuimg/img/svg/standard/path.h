// Geometry of drawings under the standard rules: paths as absolute move,
// line, cubic and close segments, read from path data by the SVG grammar
// (implicit commands, relative forms, smooth curves, quadratics as cubics,
// elliptic arcs as cubics of at most a quarter turn, arc flags without
// separators) and made from the basic shapes.  Path data in error draws up
// to its last good segment, as SVG says.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "kivuimg/commons/graphics/matrix.h"

namespace kivu::stdsvg {

struct SBox {
    double x0 = 0, y0 = 0, x1 = -1, y1 = -1;  // empty while x1 < x0
    bool empty() const { return x1 < x0 || y1 < y0; }
    double width() const { return empty() ? 0 : x1 - x0; }
    double height() const { return empty() ? 0 : y1 - y0; }
    void add(double x, double y);
    void add(const SBox& other);
};

struct SPathSeg {
    enum Op : uint8_t { move, line, cubic, close };
    Op op;
    double x1 = 0, y1 = 0, x2 = 0, y2 = 0;  // control points of a cubic
    double x = 0, y = 0;                    // end point (of a close: the subpath's start)
};

class TPath {
public:
    void moveTo(double x, double y);
    void lineTo(double x, double y);
    void cubicTo(double x1, double y1, double x2, double y2, double x, double y);
    // Quadratic by its one control point.
    void quadTo(double qx, double qy, double x, double y);
    // SVG's elliptic arc from the current point.
    void arcTo(double rx, double ry, double rotation, bool largeArc, bool sweep, double x, double y);
    void close();

    const std::vector<SPathSeg>& segments() const { return segs_; }
    bool empty() const { return segs_.empty(); }
    double lastX() const { return x_; }
    double lastY() const { return y_; }
    // The tight box of the geometry (curves by their extremes).
    SBox bounds() const;
    // The box of the geometry mapped by `m`.
    SBox bounds(const SMatrix& m) const;
    TPath transformed(const SMatrix& m) const;
    void append(const TPath& other);

private:
    std::vector<SPathSeg> segs_;
    double x_ = 0, y_ = 0;          // current point
    double startX_ = 0, startY_ = 0;  // of the subpath
    bool open_ = false;             // a subpath has begun
};

// The path of "d"; an error ends it where it stands.
TPath parsePathData(std::string_view d);
// Points of "points" (polyline, polygon); an odd count drops the last number.
std::vector<double> parsePoints(std::string_view text);

// The basic shapes in user units.
TPath rectPath(double x, double y, double w, double h, double rx, double ry);
TPath ellipsePath(double cx, double cy, double rx, double ry);

}  // namespace kivu::stdsvg
