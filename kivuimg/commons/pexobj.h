// Objects whose body is assembled in a block.
#pragma once

#include "kivuimg/commons/core/export.h"
#include "kivuimg/commons/objects.h"

namespace kivu {

class KIVU_API TPEXObject : public TBaseObject {
public:
    TPEXObject(uint64_t num, const std::string& comment);
    std::string hash() const override { return hashOf("PEXObj;"); }
    std::unique_ptr<TBaseObject> copy(uint64_t num) const override;
    std::unique_ptr<TMemory> toPDF() override;
    TMemory* pex() const { return pex_.get(); }

protected:
    // "N 0 obj", then " % comment" when there is one, and a line end.
    void writeHead(TMemory& out) const;

private:
    std::unique_ptr<TMemory> pex_;
};

}  // namespace kivu
