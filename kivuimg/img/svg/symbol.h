// TSvgSymbol: the "symbol" element, drawn like a group at its own x and y.
// A clone made for a `use` receives the use's x and y, and so is drawn where
// the use says.  Its width, height and viewBox have no effect.
#pragma once

#include "kivuimg/img/svg/group.h"

namespace kivu {

class TSvgSymbol : public TSvgElementOf<TSvgSymbol, TSvgGroup> {
public:
    using TSvgElementOf::TSvgElementOf;

    std::string nodeName() const override { return "symbol"; }
    void read(_xmlNode* node) override;
    // Raises when "x" or "y" is no plain number.
    void writeData(TContent& out, float scale) override;
};

}  // namespace kivu
