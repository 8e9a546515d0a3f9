// Dictionaries with optional streams: image and form XObjects, masks,
// palettes, shadings.
#pragma once

#include "kivuimg/commons/core/export.h"
#include "kivuimg/commons/objects.h"

namespace kivu {

class KIVU_API TIndirectObject : public TBaseObject {
public:
    TIndirectObject(uint64_t num, const std::string& comment) : TBaseObject(num, comment) {}
    std::string hash() const override { return hashOf("IndirectObj;"); }
    std::unique_ptr<TBaseObject> copy(uint64_t num) const override;
    std::unique_ptr<TMemory> toPDF() override;
    // "N 0 obj" and the dictionary go out as one piece, the stream straight
    // from the object's block, then its end.
    uint64_t writePDF(TObjectSink& sink) override;

private:
    // The stream lines up to "stream\n"; compresses an unfiltered stream.
    void streamHead(TMemory& out, const std::string& prefix);
};

// Prints one entry behind the prefix P by the rules of dictionaries and
// arrays; `prevNobr` tells whether the previous entry kept the line open.
void printEntry(TMemory& out, const std::string& prefix, const SArgs& entry, bool prevNobr);

}  // namespace kivu
