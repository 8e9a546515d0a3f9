#include "kivuimg/commons/colorspaceobj.h"

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/indirectobj.h"

namespace kivu {

std::unique_ptr<TBaseObject> TColorSpaceObject::copy(uint64_t num) const {
    auto obj = std::make_unique<TColorSpaceObject>(num, comment_);
    copyEntriesTo(*obj);
    return obj;
}

std::unique_ptr<TMemory> TColorSpaceObject::toPDF() {
    auto out = std::make_unique<TMemory>(1024, 8192);
    out->addFormat("%llu 0 obj", static_cast<unsigned long long>(num_));
    if (!strip(comment_).empty()) {
        *out += " % ";
        *out += comment_;
    }
    *out += "\n";
    if (args_.empty()) {
        *out += "[";
    } else {
        bool prevNobr = false;
        for (size_t i = 0; i < args_.size(); ++i) {
            printEntry(*out, i == 0 ? "[" : " ", args_[i], prevNobr);
            prevNobr = args_[i].value == "&nobr;";
        }
    }
    *out += "]\n";
    *out += "endobj\n";
    return out;
}

}  // namespace kivu
