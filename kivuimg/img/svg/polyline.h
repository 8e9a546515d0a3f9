// TSvgPolyline: the "polyline" element, a polygon whose path stays open.
// It answers "polygon" as its node name, as the polygon it is.
#pragma once

#include "kivuimg/img/svg/polygon.h"

namespace kivu {

class TSvgPolyline : public TSvgElementOf<TSvgPolyline, TSvgPolygon> {
public:
    using TSvgElementOf::TSvgElementOf;

protected:
    bool closed() const override { return false; }
};

}  // namespace kivu
