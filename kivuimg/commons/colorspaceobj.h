// PDF arrays that define colour spaces.
#pragma once

#include "kivuimg/commons/core/export.h"
#include "kivuimg/commons/objects.h"

namespace kivu {

class KIVU_API TColorSpaceObject : public TBaseObject {
public:
    TColorSpaceObject(uint64_t num, const std::string& comment) : TBaseObject(num, comment) {}
    std::string hash() const override { return hashOf("ColorSpaceObj;"); }
    std::unique_ptr<TBaseObject> copy(uint64_t num) const override;
    std::unique_ptr<TMemory> toPDF() override;
};

}  // namespace kivu
