// Viewports of drawings under the standard rules: the size of the root
// (its width and height with any unit, else its view box, else 100 by 100
// pixels), the transformation of a view box with preserveAspectRatio into
// a viewport, and what percentages of a viewport measure against.
#pragma once

#include <cmath>
#include <string>

#include "kivuimg/commons/graphics/matrix.h"
#include "kivuimg/img/svg/standard/values.h"

namespace kivu::stdsvg {

class TSvgNode;

// The user space of the nearest viewport, which percentages measure.
struct SViewport {
    double width = 100, height = 100;
    // What a percentage of a length along no axis measures (radii, stroke
    // widths): the normalised diagonal.
    double diagonal() const { return std::sqrt((width * width + height * height) / 2); }
};

enum class Axis { x, y, other };

inline double percentBase(const SViewport& vp, Axis axis) {
    return axis == Axis::x ? vp.width : axis == Axis::y ? vp.height : vp.diagonal();
}

// A length attribute of an element in user units; `fallback` when it is
// absent or doesn't read.
double lengthAttribute(const TSvgNode& node, const char* name, Axis axis, double fallback, double fontSize,
                       const SViewport& vp);
// The same, telling whether it was given and valid.
bool lengthAttribute(const TSvgNode& node, const char* name, Axis axis, double fontSize, const SViewport& vp,
                     double& out);

struct SViewBoxPlacement {
    SMatrix matrix;         // the view box's user space into the viewport's coordinates
    SViewport inner;        // what percentages inside measure
    bool drawn = true;      // false: a view box of no width or height draws nothing
};

// A viewport at (x, y) of w x h for an element with "viewBox" and
// "preserveAspectRatio" (a `use` may give its own aspect ratio).
SViewBoxPlacement placeViewBox(const TSvgNode& node, double x, double y, double w, double h);

struct SRootSize {
    double width = 100, height = 100;  // CSS pixels
    SViewBoxPlacement placement;      // the view box into [0, width] x [0, height]
};

// The size and view box of the root element.
SRootSize rootSize(const TSvgNode& root);

}  // namespace kivu::stdsvg
