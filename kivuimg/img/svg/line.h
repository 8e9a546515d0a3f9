// TSvgLine: the "line" element, an open path from (x1, y1) to (x2, y2).  A
// line is never filled.
#pragma once

#include <vector>

#include "kivuimg/commons/graphics/point.h"
#include "kivuimg/img/svg/element.h"

namespace kivu {

class TSvgLine : public TSvgElementOf<TSvgLine, TSvgElement> {
public:
    using TSvgElementOf::TSvgElementOf;

    std::string nodeName() const override { return "line"; }
    // Raises when a coordinate is no plain number; an absent one is 0.
    void read(_xmlNode* node) override;
    // With fewer than two points only the frame is written.
    void writeData(TContent& out, float scale) override;
    virtual void addPoint(const SPoint& point) { points_.push_back(point); }
    const std::vector<SPoint>& points() const { return points_; }

protected:
    void copyValuesTo(TSvgElement& clone) override;

private:
    std::vector<SPoint> points_;
};

}  // namespace kivu
