#include "kivuimg/img/svg/polygon.h"

#include "kivuimg/img/svg/shapes.h"

namespace kivu {

void TSvgPolygon::read(_xmlNode* node) {
    TSvgElement::read(node);
    for (const SPoint& p : parsePointList(attribute("points"))) addPoint(p);
}

void TSvgPolygon::copyValuesTo(TSvgElement& clone) {
    for (const SPoint& p : points_) static_cast<TSvgPolygon&>(clone).addPoint(p);
}

void TSvgPolygon::writeData(TContent& out, float scale) {
    if (points_.size() < 3) return;
    writeShape(out, [&](TContent& path) {
        writePointPath(path, points_, scale);
        if (closed()) path.lineTo(points_[0].x * scale, -points_[0].y * scale).closePath();
    });
}

}  // namespace kivu
