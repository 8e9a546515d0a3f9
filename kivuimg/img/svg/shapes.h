// Path geometry of the basic shapes that knows nothing of XML: the Bezier
// handle of a quarter circle and the four-curve ellipse.  Coordinates are
// SVG ones; the writers negate y and apply the scale.
#pragma once

#include <string>
#include <vector>

#include "kivuimg/commons/content.h"
#include "kivuimg/commons/graphics/point.h"

namespace kivu {

// The handle length of a cubic Bezier quarter circle of radius 1.
inline constexpr double kCircleHandle = 0.5522847498307936;

// An ellipse as four cubic curves from its top point, clockwise on the page,
// closed.  Handle offsets are worked out in double precision, everything
// else in float.
void writeEllipsePath(TContent& out, float cx, float cy, float rx, float ry, float scale);

// The points as "x y m " and then "x y l " each, y negated; no closing.
void writePointPath(TContent& out, const std::vector<SPoint>& points, float scale);

// The numbers of a "points" list: every run of digits and "." with an
// optional minus sign in front is one number ("10-5" is two, "1e-5" gives 1
// and -5), taken in pairs; a last number without a partner is dropped.  A
// run that is no number ("-", "1.2.3") raises.
std::vector<SPoint> parsePointList(const std::string& text);

}  // namespace kivu
