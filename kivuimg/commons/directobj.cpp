#include "kivuimg/commons/directobj.h"

#include "kivuimg/commons/funcs.h"

namespace kivu {

std::string TDirectObject::hash() const { return text_.empty() ? md5(std::string_view()) : md5("DirectObj;" + text_); }

std::unique_ptr<TBaseObject> TDirectObject::copy(uint64_t num) const {
    auto obj = std::make_unique<TDirectObject>(num, comment_, text_);
    copyEntriesTo(*obj);
    return obj;
}

std::unique_ptr<TMemory> TDirectObject::toPDF() {
    auto out = std::make_unique<TMemory>(1024, 8192);
    out->addFormat("%llu 0 obj\n", static_cast<unsigned long long>(num_));
    *out += text_;
    *out += "endobj\n";
    return out;
}

}  // namespace kivu
