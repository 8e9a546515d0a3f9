// TMemory: the one growable byte block of the library.  Content streams,
// serialised objects and image payloads are all assembled in one.  The block
// comes from the C allocator so that it can be resized in place.
#pragma once

#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "kivuimg/commons/core/export.h"

namespace kivu {

// Asks the kernel to back a large, not yet touched block with huge pages:
// image payloads of many megabytes then fault in 2 MiB at a time.
void adviseLargeBlock(void* p, uint64_t n);

class KIVU_API TMemory {
public:
    // An empty block; `reserve` is the growth step when a write names no amount.
    TMemory(uint64_t reserve, uint64_t hint);
    // A private copy of the bytes (reserve step = their length).
    explicit TMemory(std::span<const uint8_t> source);
    // A private copy of another block's bytes.
    TMemory(const TMemory& source);
    // A view over foreign memory: never grows, never frees.
    TMemory(uint8_t* p, uint64_t n);
    TMemory& operator=(const TMemory&) = delete;
    virtual ~TMemory();

    virtual void freeMem();
    virtual void clear() { used_ = 0; }
    virtual uint64_t size() const { return used_; }
    virtual uint64_t reserver() const { return reserveStep_; }
    virtual uint64_t position() const { return used_; }
    virtual uint8_t last() const { return used_ ? data_[used_ - 1] : 0; }
    // Steps back n bytes, unless that would empty the block.
    virtual void backward(uint64_t n);
    // MD5 of the content, 32 uppercase hexadecimal digits.
    virtual std::string MD5() const;

    // Appends; false on a foreign block, on an empty run or when memory runs out.
    bool addByte(uint8_t b) {
        if (used_ + 1 < allocated_ && !foreign_) {
            data_[used_++] = b;
            return true;
        }
        return addByteSlow(b);
    }
    bool addBytes(std::span<const uint8_t> s) {
        if (!s.empty() && used_ + s.size() < allocated_ && !foreign_) {
            std::memcpy(data_ + used_, s.data(), s.size());
            used_ += s.size();
            return true;
        }
        return addBytesSlow(s);
    }
    bool addChars(std::string_view s) {
        return addBytes(std::span<const uint8_t>(reinterpret_cast<const uint8_t*>(s.data()), s.size()));
    }
    // printf-style append.
    bool addFormat(const char* fmt, ...) __attribute__((format(printf, 2, 3)));

    // The byte at i, 0 past the end.
    virtual uint8_t getAt(uint64_t i) const { return i < used_ ? data_[i] : 0; }
    // A copy of what pointChunk gives.
    virtual std::vector<uint8_t> getChunk(uint64_t from, uint64_t n) const;
    // A view of n bytes from `from`; n = 0, or n past the end, means all there is.
    virtual std::span<const uint8_t> pointChunk(uint64_t from, uint64_t n) const;
    // A copy of all bytes in a block from malloc that the caller frees; null when empty.
    virtual uint8_t* copyChunk() const;
    // Replaces the content by its zlib stream.
    virtual bool comp();
    // Replaces the content by the zlib stream of `source` at `level` (-1: 6),
    // which must lie outside this block.  The stream is deflated once into a
    // block of the compressor's bound, then cut to its length in place.
    // False when a block over foreign memory can't take it.
    bool compFrom(std::span<const uint8_t> source, int level = -1);
    // Makes room for n more bytes at once: appending them moves nothing.
    bool reserve(uint64_t n) { return !foreign_ && _reserveMem(n); }
    // Gives back what the block holds beyond its content, in place.
    void fit();
    // Replaces a zlib stream by its expansion; with `limit` > 0 an expansion
    // that would exceed `limit` bytes raises an exception.
    virtual bool uncomp(uint64_t limit = 0);
    virtual bool isCompressed() const { return compressed_; }
    virtual uint8_t* ptr() const { return data_; }
    virtual std::string to_string() const;
    std::string_view view() const { return std::string_view(reinterpret_cast<const char*>(data_), used_); }
    std::span<const uint8_t> bytes() const { return std::span<const uint8_t>(data_, used_); }

    TMemory& operator+=(std::string_view s) {
        addChars(s);
        return *this;
    }
    TMemory& operator+=(std::span<const uint8_t> s) {
        addBytes(s);
        return *this;
    }
    TMemory& operator+=(const TMemory& other) {
        addBytes(other.pointChunk(0, 0));
        return *this;
    }

    // Drops a data-URI head up to "base64," and all white space.
    static std::string cleanBase64CodedData(std::string_view data);

    // zlib helpers: compress at `level`; expand (destLength 0: guess and grow).
    static std::vector<uint8_t> _comp(std::span<const uint8_t> data, int level);
    static std::vector<uint8_t> _uncomp(std::span<const uint8_t> data, uint64_t destLength, int winbits,
                                        uint64_t limit = 0);

protected:
    virtual bool _reserveMem(uint64_t extra);
    virtual bool _reinit(uint64_t n);
    bool addByteSlow(uint8_t b);
    bool addBytesSlow(std::span<const uint8_t> s);
    void releaseBlock();
    // Whether the block is our own from malloc, to be moved and resized.
    virtual bool ownsBlock() const { return !foreign_; }

    uint64_t reserveStep_ = 48;
    bool foreign_ = false;
    uint64_t blockHint_ = 0;
    uint8_t* data_ = nullptr;
    uint64_t used_ = 0;
    uint64_t allocated_ = 0;  // bytes the block really holds
    uint64_t maxSize_ = 0;    // the fixed capacity of a TOutside (which may be 0)
    bool compressed_ = false;
};

}  // namespace kivu
