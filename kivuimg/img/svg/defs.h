// TSvgDefs: the "defs" element.  Its children are read and can be referred
// to by a `use` inside the same group, but nothing in it is drawn.  Its own
// attributes have no effect: its children inherit the default style.
#pragma once

#include "kivuimg/img/svg/group.h"

namespace kivu {

class TSvgDefs : public TSvgElementOf<TSvgDefs, TSvgGroup> {
public:
    using TSvgElementOf::TSvgElementOf;

    std::string nodeName() const override { return "defs"; }
    void read(_xmlNode* node) override;
    void writeData(TContent&, float) override {}
};

}  // namespace kivu
