// TSvgUse: the "use" element.  It never stays in the tree: the container
// that reads it looks its target up and puts a clone of the target in its
// place (or drops it with a warning when the target isn't found).
#pragma once

#include <memory>
#include <string>

#include "kivuimg/img/svg/element.h"

namespace kivu {

class TSvgUse : public TSvgElementOf<TSvgUse, TSvgElement> {
public:
    using TSvgElementOf::TSvgElementOf;

    std::string nodeName() const override { return "use"; }
    // Reads the attributes and the target id ("href" without its "#"); no style.
    void read(_xmlNode* node) override;
    void writeData(TContent&, float) override {}
    // A use is replaced while it is read: it has no copy.
    std::unique_ptr<TSvgElement> copy(TImageSVG*, bool) override { return nullptr; }
    std::unique_ptr<TSvgElement> copy(TSvgElement*, bool) override { return nullptr; }

    virtual const std::string& href() const { return href_; }
    // The element that takes the use's place: a clone of `element` with the
    // use's attributes added where the clone doesn't set them.
    virtual std::unique_ptr<TSvgElement> dublicate(TSvgElement& element, TImageSVG* svgBase);
    virtual std::unique_ptr<TSvgElement> dublicate(TSvgElement& element, TSvgElement* parent);

private:
    std::string href_;
};

}  // namespace kivu
