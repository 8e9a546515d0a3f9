// TSvgCircle: the "circle" element, four cubic curves.  A radius of 0 still
// writes the whole path.
#pragma once

#include "kivuimg/img/svg/element.h"

namespace kivu {

class TSvgCircle : public TSvgElementOf<TSvgCircle, TSvgElement> {
public:
    using TSvgElementOf::TSvgElementOf;

    std::string nodeName() const override { return "circle"; }
    // cx and r against the document's width, cy against its height.
    void read(_xmlNode* node) override;
    void writeData(TContent& out, float scale) override;
    virtual void setValues(float cx, float cy, float r);

protected:
    void copyValuesTo(TSvgElement& clone) override;

private:
    float cx_ = 0, cy_ = 0, r_ = 0;
};

}  // namespace kivu
