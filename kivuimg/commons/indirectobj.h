// Dictionaries with optional streams: image and form XObjects, masks,
// palettes, shadings.
#pragma once

#include "kivuimg/commons/objects.h"

namespace kivu {

class TIndirectObject : public TBaseObject {
public:
    TIndirectObject(uint64_t num, const std::string& comment) : TBaseObject(num, comment) {}
    std::string hash() const override { return hashOf("IndirectObj;"); }
    std::unique_ptr<TBaseObject> copy(uint64_t num) const override;
    std::unique_ptr<TMemory> toPDF() override;

protected:
    // Writes "N 0 obj", the dictionary, the stream and "endobj".
    std::unique_ptr<TMemory> dictionaryToPDF();
};

// Prints one entry behind the prefix P by the rules of dictionaries and
// arrays; `prevNobr` tells whether the previous entry kept the line open.
void printEntry(TMemory& out, const std::string& prefix, const SArgs& entry, bool prevNobr);

}  // namespace kivu
