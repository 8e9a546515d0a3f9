#include "kivuimg/img/svg/ellipse.h"

#include "kivuimg/img/svg/imagesvg.h"
#include "kivuimg/img/svg/shapes.h"

namespace kivu {

void TSvgEllipse::read(_xmlNode* node) {
    TSvgElement::read(node);
    TImageSVG* doc = ptrSvgBase();
    cx_ = doc->convertValueX(attribute("cx"));
    cy_ = doc->convertValueY(attribute("cy"));
    rx_ = doc->convertValueX(attribute("rx"));
    ry_ = doc->convertValueY(attribute("ry"));
}

void TSvgEllipse::setValues(float cx, float cy, float rx, float ry) { cx_ = cx, cy_ = cy, rx_ = rx, ry_ = ry; }

void TSvgEllipse::copyValuesTo(TSvgElement& clone) {
    static_cast<TSvgEllipse&>(clone).setValues(cx_, cy_, rx_, ry_);
}

void TSvgEllipse::writeData(TContent& out, float scale) {
    writeShape(out, [&](TContent& path) { writeEllipsePath(path, cx_, cy_, rx_, ry_, scale); });
}

}  // namespace kivu
