#include "kivuimg/commons/extgstateobj.h"

namespace kivu {

TExtGStateObject::TExtGStateObject(uint64_t num, const std::string& comment) : TIndirectObject(num, comment) {
    args({"Type", "ExtGState"});
}

std::unique_ptr<TBaseObject> TExtGStateObject::copy(uint64_t num) const {
    auto obj = std::make_unique<TExtGStateObject>(num, comment_);
    copyEntriesTo(*obj);
    obj->tgs_ = tgs_;
    return obj;
}

}  // namespace kivu
