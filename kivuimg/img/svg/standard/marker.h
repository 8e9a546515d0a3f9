// Markers under the standard rules: marker-start, marker-mid and
// marker-end on path, line, polyline and polygon.  A marker stands at each
// vertex of the path, turned by its orient (an angle, auto: the bisector of
// the directions in and out, auto-start-reverse), scaled by the stroke
// width unless markerUnits says userSpaceOnUse, its refX and refY on the
// vertex, its view box fitted into markerWidth by markerHeight and clipped
// there unless its overflow is visible.  Its content takes its style from
// where the marker stands in the document.
#pragma once

#include "kivuimg/img/svg/standard/painter.h"

namespace kivu::stdsvg {

// Whether the element names a marker at all.
bool hasMarkers(const TSvgNode& node, const SState& state);
// Draws the markers of a shape whose geometry is `path`.
void drawMarkers(TPainter& painter, const TSvgNode& node, const TPath& path, const SState& state);

struct SVertex {
    double x, y;
    double angle;  // degrees
    bool start, end;
};

// The vertices of a path with the angle auto gives each.
std::vector<SVertex> pathVertices(const TPath& path);

}  // namespace kivu::stdsvg
