// TSvgEllipse: the "ellipse" element, four cubic curves.
#pragma once

#include "kivuimg/img/svg/element.h"

namespace kivu {

class TSvgEllipse : public TSvgElementOf<TSvgEllipse, TSvgElement> {
public:
    using TSvgElementOf::TSvgElementOf;

    std::string nodeName() const override { return "ellipse"; }
    // cx and rx against the document's width, cy and ry against its height.
    void read(_xmlNode* node) override;
    void writeData(TContent& out, float scale) override;
    virtual void setValues(float cx, float cy, float rx, float ry);

protected:
    void copyValuesTo(TSvgElement& clone) override;

private:
    float cx_ = 0, cy_ = 0, rx_ = 0, ry_ = 0;
};

}  // namespace kivu
