// TSvgRect: the "rect" element, sharp or with rounded corners.
#pragma once

#include "kivuimg/img/svg/element.h"

namespace kivu {

class TSvgRect : public TSvgElementOf<TSvgRect, TSvgElement> {
public:
    using TSvgElementOf::TSvgElementOf;

    std::string nodeName() const override { return "rect"; }
    // x, width, rx against the document's width; y, height, ry against its height.
    void read(_xmlNode* node) override;
    // Settles the radii (and keeps them), then writes the path.  A width or
    // height not above 0 gives the frame without a path.
    void writeData(TContent& out, float scale) override;
    virtual void setValues(float x, float y, float width, float height, float rx, float ry);

    float x() const { return x_; }
    float y() const { return y_; }
    float width() const { return width_; }
    float height() const { return height_; }
    float rx() const { return rx_; }
    float ry() const { return ry_; }

protected:
    void copyValuesTo(TSvgElement& clone) override;

private:
    void settleRadii();
    void writeSharp(TContent& out, float scale) const;
    void writeRounded(TContent& out, float scale) const;

    float x_ = 0, y_ = 0, width_ = 0, height_ = 0, rx_ = 0, ry_ = 0;
};

}  // namespace kivu
