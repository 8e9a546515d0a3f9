// Gradients under the standard rules: a linearGradient or radialGradient
// with its href chain resolved (attributes and stops taken from the first
// element of the chain that has them, SVG's defaults behind that), and the
// record the host turns into a shading for one painting of it.
//
// Reflected and repeated gradients have no shading of their own in PDF:
// their stops are unrolled over as many periods as the painted box needs
// (up to a cap; the shading's extension paints what lies beyond).
#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "kivuimg/commons/graphics/gradient.h"
#include "kivuimg/commons/graphics/matrix.h"
#include "kivuimg/img/svg/standard/path.h"
#include "kivuimg/img/svg/standard/properties.h"
#include "kivuimg/img/svg/standard/viewport.h"

namespace kivu::stdsvg {

class TSvgDocument;
class TSvgNode;

struct SGradientStop {
    double offset = 0;
    SRgba color;  // stop-opacity in its alpha
};

struct SGradientDef {
    bool radial = false;
    bool userSpace = false;
    SMatrix transform;
    uint8_t spread = 0;  // 0 pad, 1 reflect, 2 repeat
    SLength x1{0, LengthUnit::percent}, y1{0, LengthUnit::percent}, x2{100, LengthUnit::percent},
        y2{0, LengthUnit::percent};
    SLength cx{50, LengthUnit::percent}, cy{50, LengthUnit::percent}, r{50, LengthUnit::percent};
    std::optional<SLength> fx, fy;
    SLength fr{0, LengthUnit::percent};
    std::vector<SGradientStop> stops;
};

// The computed style of an element where it stands in the document.
using StyleOf = std::function<SStyle(const TSvgNode&)>;

// The gradient of a node (following "href" to other gradients, cycles
// cut); false when the node is no gradient.
bool resolveGradient(const TSvgDocument& doc, const TSvgNode& node, const StyleOf& styleOf, SGradientDef& out);

// One painting of a gradient.
struct SGradientUse {
    SGradient record;         // coordinates in the gradient's space
    SMatrix space;            // the gradient's space into user space
    bool solid = false;       // paints one colour (a degenerate gradient)
    SRgba color;              // that colour
    bool none = false;        // paints nothing
};

// The painting of `gradient` over an element whose geometry has box `bbox`, in
// a viewport `vp`, covering `cover` (the painted area in user space).
// Colours are as read (RGB); the caller converts them.
SGradientUse gradientUse(const SGradientDef& gradient, const SBox& bbox, const SBox& cover, const SViewport& vp,
                         double fontSize);

}  // namespace kivu::stdsvg
