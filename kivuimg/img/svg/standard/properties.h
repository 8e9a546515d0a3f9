// The style properties of drawings under the standard rules, one model for
// presentation attributes, "style" attributes and style sheets: the table
// of properties (name, inherited or not, presentation attribute or CSS
// only), and the computed style of an element, made from its parent's
// computed style and its own declarations.  An invalid value leaves the
// property as if it were not given; "inherit" takes the parent's value;
// shorthands ("font", "marker") set their parts.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "kivuimg/commons/graphics/matrix.h"
#include "kivuimg/img/svg/standard/values.h"

namespace kivu::stdsvg {

enum class Prop : uint8_t {
    // inherited
    fill, fillOpacity, fillRule, stroke, strokeOpacity, strokeWidth, strokeLinecap, strokeLinejoin,
    strokeMiterlimit, strokeDasharray, strokeDashoffset, color, fontFamily, fontSize, fontStyle, fontWeight,
    fontVariant, fontStretch, textAnchor, visibility, clipRule, markerStart, markerMid, markerEnd,
    letterSpacing, wordSpacing, dominantBaseline, paintOrder, writingMode, direction,
    // not inherited
    opacity, display, overflow, clipPath, mask, filter, stopColor, stopOpacity, floodColor, floodOpacity,
    baselineShift, alignmentBaseline, transform, textDecoration, mixBlendMode, isolation, vectorEffect, maskType,
    // shorthands, CSS only
    font, marker,
    count
};

struct SPropertyInfo {
    const char* name;
    bool inherited;
    bool presentation;  // may be given as an attribute
};

const SPropertyInfo& propertyInfo(Prop p);
// Prop::count for a name that is no property.
Prop propertyByName(std::string_view name);

// One declaration of an element: the cascade's winner for a property.
struct SDecl {
    Prop prop;
    std::string_view value;
};

enum class Visibility : uint8_t { visible, hidden, collapse };
enum class Overflow : uint8_t { notSet, visible, hidden };
enum class TextAnchor : uint8_t { start, middle, end };

struct SStyle {
    // ---- inherited ----
    SPaint fill{SPaint::color};
    float fillOpacity = 1;
    bool fillEvenOdd = false;
    SPaint stroke;
    float strokeOpacity = 1;
    SLength strokeWidth{1, LengthUnit::none};  // em already resolved
    uint8_t lineCap = 0;                       // 0 butt, 1 round, 2 square (PDF's J)
    uint8_t lineJoin = 0;                      // 0 miter, 1 round, 2 bevel (PDF's j)
    float miterLimit = 4;
    std::vector<SLength> dashArray;            // empty: solid
    SLength dashOffset;
    SRgba color;
    std::string fontFamily;
    float fontSize = 16;  // user units
    uint16_t fontWeight = 400;
    uint8_t fontStyle = 0;  // 0 normal, 1 italic, 2 oblique
    bool smallCaps = false;
    TextAnchor textAnchor = TextAnchor::start;
    Visibility visibility = Visibility::visible;
    bool clipEvenOdd = false;
    std::string markerStart, markerMid, markerEnd;  // ids; "" none
    float letterSpacing = 0, wordSpacing = 0;       // user units
    uint8_t dominantBaseline = 0;  // 0 auto/alphabetic, 1 middle/central, 2 hanging, 3 text-top, 4 text-bottom/ideographic, 5 mathematical
    bool strokeFirst = false;      // paint-order puts the stroke below the fill
    bool vertical = false;         // writing-mode tb
    bool rtl = false;              // direction
    // ---- not inherited ----
    float opacity = 1;
    bool displayNone = false;
    Overflow overflow = Overflow::notSet;
    std::string clipPath, mask;  // ids; "" none
    std::string filter;          // as written; "" none
    SRgba stopColor;
    float stopOpacity = 1;
    SRgba floodColor;
    float floodOpacity = 1;
    SLength baselineShift;       // % of the font size; "sub"/"super" given as em
    bool hasTransform = false;   // a CSS transform, which replaces the attribute
    SMatrix transform;
    uint8_t textDecoration = 0;  // 1 underline, 2 overline, 4 line-through
    bool nonScalingStroke = false;
    bool maskAlpha = false;  // mask-type: alpha
};

// The style an element starts from: its parent's inherited properties, the
// others at their initial values.
SStyle inheritFrom(const SStyle& parent);
// Sets one property from a value text; false (nothing set) when the value
// is not valid for it.  `parent` answers "inherit", relative font sizes and
// "bolder"/"lighter".
bool applyProperty(Prop prop, std::string_view value, const SStyle& parent, SStyle& out);
// The computed style of an element with these declarations.
SStyle computeStyle(const std::vector<SDecl>& declarations, const SStyle& parent);
// Whether a value is valid for the property (the cascade passes invalid
// declarations over, so that the next one wins).
bool validValue(Prop prop, std::string_view value);

}  // namespace kivu::stdsvg
