// SSVGStyle: the resolved style of one SVG element, built once while the
// element is read (from its parent's style, its style text with class rules,
// its presentation attributes and, for text, its font properties) and turned
// into PDF operators when the element is drawn.  The resolution itself lives
// with the document (TImageSVG::defineSvgStyle and svgStyle), which holds the
// class rules, the scale and the object store that the operators need.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>

#include "kivuimg/commons/graphics/color.h"
#include "kivuimg/commons/graphics/line.h"

namespace kivu {

struct SSVGStyle {
    // A gradient reference stays here as a colour whose text is "url(#id)".
    SColor fill{"black"};
    // NaN: take the colour's alpha when drawn.
    float fillOpacity = 1.0f;
    std::string fillRule = "nonzero";
    SColor stroke{"none"};
    LineCapStyle lineCap = lcButt;
    LineJoinStyle lineJoin = ljMiter;
    std::string miterLimit = "4";
    float strokeOpacity = 1.0f;
    // In points.
    float strokeWidth = 1.0f;
    std::string dashArray;
    int32_t dashOffset = 0;
    // The "color" property, for "currentColor"; not enabled until given.
    SColor color;
    // Finished cm operators of the element's own transform; never inherited.
    std::string transform;
    bool hasDashArray = false;
    bool hasMiterLimit = false;
    std::string fontFamily;
    // Points; NaN: not set.
    float fontSize = std::numeric_limits<float>::quiet_NaN();
    std::string fontWeight;
    std::string fontStyle;
    std::string fontVariant;
    std::string textAnchor;

    // Field by field; two NaN numbers are equal.
    bool operator==(const SSVGStyle& other) const;
    size_t toHash() const;
};

}  // namespace kivu
