#include "kivuimg/img/svg/line.h"

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/img/svg/shapes.h"

namespace kivu {

void TSvgLine::read(_xmlNode* node) {
    TSvgElement::read(node);
    auto coordinate = [&](const char* name) { return hasAttribute(name) ? toFloat(attribute(name)) : 0.0f; };
    const float x1 = coordinate("x1"), y1 = coordinate("y1");
    const float x2 = coordinate("x2"), y2 = coordinate("y2");
    addPoint(SPoint(x1, y1));
    addPoint(SPoint(x2, y2));
}

void TSvgLine::copyValuesTo(TSvgElement& clone) {
    for (const SPoint& p : points_) static_cast<TSvgLine&>(clone).addPoint(p);
}

void TSvgLine::writeData(TContent& out, float scale) {
    writeShape(out, [&](TContent& path) {
        if (points_.size() >= 2) writePointPath(path, points_, scale);
    });
}

}  // namespace kivu
