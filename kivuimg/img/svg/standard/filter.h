// Filters under the standard rules.  PDF has no filter effects, so a
// filter is read for what its output keeps of the element:
//
//  - the element itself beside blurred, offset or flooded copies of it (a
//    drop shadow, a glow): the element is drawn, its copies are not;
//  - the element with colour operations (feColorMatrix, feComponentTransfer,
//    the CSS functions grayscale(), sepia(), saturate(), hue-rotate(),
//    invert(), brightness(), contrast(), opacity()): the operations are
//    applied to the element's own flat colours and gradient stops;
//  - only copies of it (a blur alone): see `blurOnly` below;
//  - anything else (turbulence, lighting, images, displacement, ...): the
//    element is drawn unfiltered.
// The drawing's log says once per filter what was done.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "kivuimg/img/svg/standard/values.h"

namespace kivu::stdsvg {

class TSvgDocument;

// A colour matrix as feColorMatrix has it: rows R, G, B, A of five
// (the last the offset), applied to non-premultiplied components.
struct SColorMatrix {
    std::array<double, 20> m{1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 1, 0};
    bool linearRGB = true;  // applied in linear light, as color-interpolation-filters says by default
    bool identity() const;
    SRgba apply(const SRgba& c) const;
    // This matrix applied after `first`.
    SColorMatrix after(const SColorMatrix& first) const;
};

struct SFilterPlan {
    enum Kind : uint8_t { none, keepSource, colour, blurOnly, other };
    Kind kind = none;
    std::vector<SColorMatrix> colours;  // in the order they apply
    double blur = 0;                    // the largest standard deviation of a blur, in user units
    std::string note;                   // for the log
};

// What to do for a "filter" property value ("url(#id)" or CSS functions).
SFilterPlan planFilter(const TSvgDocument& doc, const std::string& value);

}  // namespace kivu::stdsvg
