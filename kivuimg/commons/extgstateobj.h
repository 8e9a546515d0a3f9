// Extended graphics states, shared by content through TObjects::addCustom.
#pragma once

#include "kivuimg/commons/core/export.h"
#include "kivuimg/commons/indirectobj.h"

namespace kivu {

class KIVU_API TExtGStateObject : public TIndirectObject {
public:
    TExtGStateObject(uint64_t num, const std::string& comment);
    std::string hash() const override { return hashOf("ExtGStateObj;"); }
    std::unique_ptr<TBaseObject> copy(uint64_t num) const override;
    uint64_t tgs() const { return tgs_; }
    void tgs(uint64_t v) {
        if (v) tgs_ = v;
    }

private:
    uint64_t tgs_ = 0;
};

}  // namespace kivu
