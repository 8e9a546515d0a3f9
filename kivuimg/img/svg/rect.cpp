#include "kivuimg/img/svg/rect.h"

#include "kivuimg/img/svg/imagesvg.h"
#include "kivuimg/img/svg/shapes.h"

namespace kivu {

void TSvgRect::read(_xmlNode* node) {
    TSvgElement::read(node);
    TImageSVG* doc = ptrSvgBase();
    x_ = doc->convertValueX(attribute("x"));
    y_ = doc->convertValueY(attribute("y"));
    width_ = doc->convertValueX(attribute("width"));
    height_ = doc->convertValueY(attribute("height"));
    rx_ = doc->convertValueX(attribute("rx"));
    ry_ = doc->convertValueY(attribute("ry"));
}

void TSvgRect::setValues(float x, float y, float width, float height, float rx, float ry) {
    x_ = x, y_ = y, width_ = width, height_ = height, rx_ = rx, ry_ = ry;
}

void TSvgRect::copyValuesTo(TSvgElement& clone) {
    static_cast<TSvgRect&>(clone).setValues(x_, y_, width_, height_, rx_, ry_);
}

// One radius given stands for both; neither goes beyond half the side,
// except a ry taken over from rx when ry is 0.
void TSvgRect::settleRadii() {
    if (rx_ > width_ / 2) rx_ = width_ / 2;
    const float m = height_ / 2 < ry_ ? height_ / 2 : ry_;
    if (m == 0 && rx_ > 0) ry_ = rx_;
    else if (ry_ > height_ / 2) ry_ = height_ / 2;
    if (rx_ == 0 && ry_ > 0) rx_ = ry_;
}

void TSvgRect::writeData(TContent& out, float scale) {
    writeShape(out, [&](TContent& path) {
        if (!(width_ > 0) || !(height_ > 0)) return;
        settleRadii();
        if (rx_ == 0 && ry_ == 0) writeSharp(path, scale);
        else writeRounded(path, scale);
    });
}

void TSvgRect::writeSharp(TContent& out, float s) const {
    out.moveTo(x_ * s, -y_ * s);
    out.lineTo((x_ + width_) * s, -y_ * s);
    out.lineTo((x_ + width_) * s, (-y_ - height_) * s);
    out.lineTo(x_ * s, (-y_ - height_) * s);
    out.lineTo(x_ * s, -y_ * s).closePath();
}

void TSvgRect::writeRounded(TContent& out, float s) const {
    const double a = kCircleHandle * rx_, b = kCircleHandle * ry_;
    const float R = x_ + width_, B = -y_ - height_, T = -y_;
    out.moveTo((x_ + rx_) * s, T * s);
    out.lineTo((R - rx_) * s, T * s);
    out.curveTo((R - rx_ + a) * s, T * s, R * s, (T - ry_ + b) * s, R * s, (T - ry_) * s);
    out.lineTo(R * s, (B + ry_) * s);
    out.curveTo(R * s, (B + ry_ - b) * s, (R - rx_ + a) * s, B * s, (R - rx_) * s, B * s);
    out.lineTo((x_ + rx_) * s, B * s);
    out.curveTo((x_ + rx_ - a) * s, B * s, x_ * s, (B + ry_ - b) * s, x_ * s, (B + ry_) * s);
    out.lineTo(x_ * s, (T - ry_) * s);
    out.curveTo(x_ * s, (T - ry_ + b) * s, (x_ + rx_ - a) * s, T * s, (x_ + rx_) * s, T * s).closePath();
}

}  // namespace kivu
