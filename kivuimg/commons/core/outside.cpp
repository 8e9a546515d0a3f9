#include "kivuimg/commons/core/outside.h"

#include "kivuimg/commons/core/cstr.h"

namespace kivu {

namespace {
const char* const kWrongConstructor = "Create Outsize buffer only with memory pointer and size1";
const char* const kFull = "Memory buffer is full, reserve more memory in settings.";
}

TOutside::TOutside(uint8_t* p, uint64_t n) : TBuffer(1024, 8192) {
    reserveStep_ = n;
    blockHint_ = 8192;
    data_ = p;
    used_ = allocated_ = maxSize_ = n;
}

TOutside::TOutside(uint64_t reserve, uint64_t hint) : TBuffer(reserve, hint) { throw KivuException(kWrongConstructor); }

TOutside::TOutside(std::span<const uint8_t>) : TBuffer(48, 8192) { throw KivuException(kWrongConstructor); }

TOutside::TOutside(const TMemory&) : TBuffer(48, 8192) { throw KivuException(kWrongConstructor); }

// The memory is never ours: forget it without freeing.
TOutside::~TOutside() { TOutside::freeMem(); }

void TOutside::freeMem() {
    data_ = nullptr;
    used_ = 0;
    allocated_ = 0;
}

// A single byte counts as one.  After freeMem() no memory is left to write.
bool TOutside::_reserveMem(uint64_t extra) {
    const uint64_t capacity = data_ ? maxSize_ : 0;
    if (used_ + (extra ? extra : 1) <= capacity) return true;
    throw KivuException(kFull);
}

bool TOutside::_reinit(uint64_t n) {
    if (n > (data_ ? maxSize_ : 0)) throw KivuException(kFull);
    used_ = 0;
    return true;
}

}  // namespace kivu
