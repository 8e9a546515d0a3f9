// TOutside: a buffer laid over memory that somebody else owns.  It never
// grows past the size it was given and never frees the memory.
#pragma once

#include "kivuimg/commons/core/buffer.h"
#include "kivuimg/commons/core/export.h"

namespace kivu {

class KIVU_API TOutside : public TBuffer {
public:
    TOutside(uint8_t* p, uint64_t n);
    // The other constructors exist only to refuse.
    TOutside(uint64_t reserve, uint64_t hint);
    explicit TOutside(std::span<const uint8_t> source);
    explicit TOutside(const TMemory& source);
    ~TOutside() override;

    void freeMem() override;

protected:
    // The capacity is fixed: a write that doesn't fit raises "Memory buffer
    // is full, ...", and the memory is never reallocated.
    bool _reserveMem(uint64_t extra) override;
    // Starts the same memory afresh; more than its capacity raises.
    bool _reinit(uint64_t n) override;
    bool ownsBlock() const override { return false; }
};

}  // namespace kivu
