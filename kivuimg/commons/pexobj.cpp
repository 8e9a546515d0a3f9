#include "kivuimg/commons/pexobj.h"

#include "kivuimg/commons/core/cstr.h"

namespace kivu {

TPEXObject::TPEXObject(uint64_t num, const std::string& comment)
    : TBaseObject(num, comment), pex_(std::make_unique<TMemory>(1024, 8192)) {}

std::unique_ptr<TBaseObject> TPEXObject::copy(uint64_t num) const {
    auto obj = std::make_unique<TPEXObject>(num, comment_);
    copyEntriesTo(*obj);
    *obj->pex_ += *pex_;
    return obj;
}

void TPEXObject::writeHead(TMemory& out) const {
    out.addFormat("%llu 0 obj", static_cast<unsigned long long>(num_));
    if (!strip(comment_).empty()) {
        out += " % ";
        out += comment_;
    }
    out += "\n";
}

std::unique_ptr<TMemory> TPEXObject::toPDF() {
    auto out = std::make_unique<TMemory>(1024, 8192);
    writeHead(*out);
    *out += *pex_;
    *out += "endobj\n";
    return out;
}

}  // namespace kivu
