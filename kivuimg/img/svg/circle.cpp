#include "kivuimg/img/svg/circle.h"

#include "kivuimg/img/svg/imagesvg.h"
#include "kivuimg/img/svg/shapes.h"

namespace kivu {

void TSvgCircle::read(_xmlNode* node) {
    TSvgElement::read(node);
    TImageSVG* doc = ptrSvgBase();
    cx_ = doc->convertValueX(attribute("cx"));
    cy_ = doc->convertValueY(attribute("cy"));
    r_ = doc->convertValueX(attribute("r"));
}

void TSvgCircle::setValues(float cx, float cy, float r) { cx_ = cx, cy_ = cy, r_ = r; }

void TSvgCircle::copyValuesTo(TSvgElement& clone) { static_cast<TSvgCircle&>(clone).setValues(cx_, cy_, r_); }

void TSvgCircle::writeData(TContent& out, float scale) {
    writeShape(out, [&](TContent& path) { writeEllipsePath(path, cx_, cy_, r_, r_, scale); });
}

}  // namespace kivu
