// Curve geometry of SVG path data that knows nothing of XML: elliptic arcs
// as cubic Bezier segments (the endpoint-to-centre conversion of the SVG
// implementation notes), the angle between two vectors, the bounding box of
// a cubic segment, and the two tests that end the unrolling of a gradient.
// Points are in SVG orientation (y down) unless a function says otherwise.
#pragma once

#include <array>
#include <map>
#include <string>
#include <vector>

#include "kivuimg/commons/graphics/point.h"

namespace kivu {

// Control and end points of an arc's segments: x values under 0, y under 1.
using ArcExtents = std::map<int, std::vector<float>>;

// The arc from `start` to `end` as "x1 y1 x2 y2 x3 y3 c\n" per segment of at
// most a quarter turn, every coordinate times `scale` and y negated.  Every
// control and end point goes into `extents`.  Start equal to end gives "".
// Radii too small to reach the end point grow until they do; they keep the
// sign they have.  A radius of 0 (or one that is no finite number) draws a
// straight line to the end point instead: "x y l\n".
std::string arcToCurves(const SPoint& start, const SPoint& end, const SPoint& radii, float rotation, float largeArc,
                        float sweep, float scale, ArcExtents& extents);

// The angle from vector u to vector v, in [0, 2pi): counter-clockwise in a
// y-up frame.
float vectorAngle(double ux, double uy, double vx, double vy);

// Smallest x, smallest y, largest x, largest y of the cubic segment from
// `start` through `curve`: its end points and its turning points.
std::array<float, 4> bezierBox(const SPoint& start, const SCurve& curve);

// Whether the line through `point` in direction `angle` (radians) meets the
// unit square [0,1]x[0,1], edges included.
bool lineMeetsUnitSquare(const SPoint& point, double angle);
// Whether the circle at `centre` with radius r covers the unit square: from
// inside the square r must reach 1.5, from outside the farthest corner.
// A centre or radius that is no finite number counts as covering.
bool circleCoversUnitSquare(const SPoint& centre, float r);

}  // namespace kivu
