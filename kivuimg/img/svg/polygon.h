// TSvgPolygon: the "polygon" element, a closed path through its points.
// Fewer than three points draw nothing at all, not even the frame.
#pragma once

#include <vector>

#include "kivuimg/commons/graphics/point.h"
#include "kivuimg/img/svg/element.h"

namespace kivu {

class TSvgPolygon : public TSvgElementOf<TSvgPolygon, TSvgElement> {
public:
    using TSvgElementOf::TSvgElementOf;

    std::string nodeName() const override { return "polygon"; }
    // The pairs of the "points" list; a run that is no number raises.
    void read(_xmlNode* node) override;
    void writeData(TContent& out, float scale) override;
    virtual void addPoint(const SPoint& point) { points_.push_back(point); }
    const std::vector<SPoint>& points() const { return points_; }

protected:
    void copyValuesTo(TSvgElement& clone) override;
    // Whether the path goes back to its first point.
    virtual bool closed() const { return true; }

    std::vector<SPoint> points_;
};

}  // namespace kivu
