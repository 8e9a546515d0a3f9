#include "kivuimg/commons/core/memory.h"

#include <libdeflate.h>
#include <zlib.h>

#include <sys/mman.h>

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/funcs.h"

namespace kivu {

namespace {
constexpr uint64_t kMaxSlack = 64 * 1024;
constexpr uint64_t kHugePage = 2 * 1024 * 1024;

// libdeflate's compressor of a level (0 to 9, as zlib's), one per thread,
// made on first use: making one costs more than deflating a small stream.
libdeflate_compressor* compressorFor(int level) {
    struct Compressors {
        std::array<libdeflate_compressor*, 10> at{};
        ~Compressors() {
            for (auto* c : at)
                if (c) libdeflate_free_compressor(c);
        }
    };
    thread_local Compressors cache;
    libdeflate_compressor*& c = cache.at[level];
    if (!c) c = libdeflate_alloc_compressor(level);
    return c;
}
// The size to take from malloc for a block of n bytes.  Blocks of a megabyte
// and more are taken in whole megabytes: the images of a batch, each a little
// larger or smaller than the last, then fit into the holes their forerunners
// left instead of piling up new memory at the top of the heap.  The pages of
// the rounding that are never written are never backed.
uint64_t blockSize(uint64_t n) {
    constexpr uint64_t kRound = 1 << 20;
    return n < kRound ? n : (n + kRound - 1) / kRound * kRound;
}
}  // namespace

void adviseLargeBlock(void* p, uint64_t n) {
#ifdef MADV_HUGEPAGE
    if (!p || n < 2 * kHugePage) return;
    const uintptr_t begin = (reinterpret_cast<uintptr_t>(p) + kHugePage - 1) & ~(kHugePage - 1);
    const uintptr_t end = (reinterpret_cast<uintptr_t>(p) + n) & ~(kHugePage - 1);
    if (end > begin) madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
#else
    (void)p;
    (void)n;
#endif
}

TMemory::TMemory(uint64_t reserve, uint64_t hint) : reserveStep_(reserve), blockHint_(hint) { TMemory::freeMem(); }

TMemory::TMemory(std::span<const uint8_t> source) : reserveStep_(48), blockHint_(8192) {
    if (!source.empty()) {
        reserveStep_ = source.size();
        _reinit(source.size());
        addBytes(source);
    }
}

TMemory::TMemory(const TMemory& source) : TMemory(source.pointChunk(0, 0)) {}

TMemory::TMemory(uint8_t* p, uint64_t n) : reserveStep_(48), foreign_(true), data_(p), used_(n) {}

TMemory::~TMemory() { releaseBlock(); }

void TMemory::releaseBlock() {
    if (!foreign_ && data_) std::free(data_);
    data_ = nullptr;
    used_ = 0;
    allocated_ = 0;
}

void TMemory::freeMem() { releaseBlock(); }

void TMemory::backward(uint64_t n) {
    if (n <= used_ && used_ - n != 0) used_ -= n;
}

std::string TMemory::MD5() const { return md5(bytes()); }

bool TMemory::addFormat(const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    const std::string s = vsformat(fmt, args);
    va_end(args);
    return addChars(s);
}

bool TMemory::addByteSlow(uint8_t b) {
    if (foreign_) return false;
    if (!_reserveMem(0)) return false;
    data_[used_++] = b;
    return true;
}

bool TMemory::addBytesSlow(std::span<const uint8_t> s) {
    if (foreign_ || s.empty()) return false;
    // A run taken from this very block (m += m) moves with it when it grows.
    const uint8_t* from = s.data();
    const uintptr_t at = reinterpret_cast<uintptr_t>(from), base = reinterpret_cast<uintptr_t>(data_);
    const bool inside = data_ && at >= base && at - base < allocated_;
    if (!_reserveMem(s.size())) return false;
    if (inside) from = data_ + (at - base);
    std::memmove(data_ + used_, from, s.size());
    used_ += s.size();
    return true;
}

bool TMemory::_reserveMem(uint64_t extra) {
    const uint64_t needed = used_ + extra;
    if (needed < allocated_) return true;
    const uint64_t step = extra ? extra : reserveStep_;
    if (!data_) {
        // The first block has one step of slack beyond the request; a block
        // made for a known size (the step is that size) keeps the slack small.
        const uint64_t slack = reserveStep_ ? (reserveStep_ < kMaxSlack ? reserveStep_ : kMaxSlack) : 48;
        const uint64_t first = blockSize(extra + slack);
        data_ = static_cast<uint8_t*>(std::malloc(first));
        if (!data_) return false;
        adviseLargeBlock(data_, first);
        allocated_ = first;
        return true;
    }
    // Growth adds at least the request or one step; it also grows by half of
    // the block so that long runs of small appends stay linear in their length.
    uint64_t target = allocated_ + step;
    if (target < needed + 1) target = needed + 1;
    const uint64_t geometric = allocated_ + allocated_ / 2;
    if (target < geometric) target = geometric;
    auto* grown = static_cast<uint8_t*>(std::realloc(data_, target));
    if (!grown) {
        freeMem();
        return false;
    }
    data_ = grown;
    adviseLargeBlock(data_ + allocated_, target - allocated_);
    allocated_ = target;
    return true;
}

bool TMemory::_reinit(uint64_t n) {
    freeMem();
    if (n == 0) return true;
    // One byte more than asked, so that appending n bytes needs no growth.
    const uint64_t size = blockSize(n + 1);
    data_ = static_cast<uint8_t*>(std::malloc(size));
    if (!data_) return false;
    adviseLargeBlock(data_, size);
    allocated_ = size;
    return true;
}

std::vector<uint8_t> TMemory::getChunk(uint64_t from, uint64_t n) const {
    auto view = pointChunk(from, n);
    return std::vector<uint8_t>(view.begin(), view.end());
}

std::span<const uint8_t> TMemory::pointChunk(uint64_t from, uint64_t n) const {
    if (from >= used_) return {};
    const uint64_t avail = used_ - from;
    if (n == 0 || n > avail) n = avail;
    return std::span<const uint8_t>(data_ + from, n);
}

uint8_t* TMemory::copyChunk() const {
    if (!used_) return nullptr;
    auto* p = static_cast<uint8_t*>(std::malloc(used_));
    adviseLargeBlock(p, used_);
    if (p) std::memcpy(p, data_, used_);
    return p;
}

std::string TMemory::to_string() const { return used_ ? std::string(view()) : std::string(); }

// Deflates with libdeflate into a zlib stream (header, deflate data, Adler-32),
// which zlib's inflate and every PDF reader take as they take compress2's;
// level -1 is zlib's default, 6.
std::vector<uint8_t> TMemory::_comp(std::span<const uint8_t> data, int level) {
    TMemory block(1024, 8192);
    block.compFrom(data, level);
    return std::vector<uint8_t>(block.bytes().begin(), block.bytes().end());
}

bool TMemory::compFrom(std::span<const uint8_t> source, int level) {
    if (level == -1) level = 6;
    libdeflate_compressor* c = level >= 0 && level <= 9 ? compressorFor(level) : nullptr;
    if (!c) throw KivuException("Error: _comp");
    if (!ownsBlock()) {
        // Memory of somebody else's takes the stream as any other write.
        TMemory z(1024, 8192);
        z.compFrom(source, level);
        clear();
        return addBytes(z.bytes());
    }
    const uint64_t bound = libdeflate_zlib_compress_bound(c, source.size());
    if (!_reinit(bound)) throw KivuException("Error: _comp");
    // The bound's pages beyond what the stream fills are never touched.
    used_ = libdeflate_zlib_compress(c, source.data(), source.size(), data_, bound);
    if (used_ == 0) throw KivuException("Error: _comp");
    fit();
    return true;
}

void TMemory::fit() {
    const uint64_t size = blockSize(used_ + 1);
    if (!ownsBlock() || !data_ || size >= allocated_) return;
    // Shrinking keeps the block where it is; one spare byte as _reinit leaves.
    if (auto* p = static_cast<uint8_t*>(std::realloc(data_, size))) {
        data_ = p;
        allocated_ = size;
    }
}

std::vector<uint8_t> TMemory::_uncomp(std::span<const uint8_t> data, uint64_t destLength, int winbits,
                                      uint64_t limit) {
    constexpr uint64_t kMax32 = std::numeric_limits<uint32_t>::max();
    if (data.size() > kMax32) throw KivuException("Conversion positive overflow");
    z_stream zs{};
    int rc = inflateInit2(&zs, winbits);
    if (rc != Z_OK) throwf("Error: %d", rc);
    uint64_t outLen = destLength ? destLength : 2 * data.size() + 1;
    if (limit && outLen > limit + 1) outLen = limit + 1;
    std::vector<uint8_t> out(outLen);
    zs.next_in = const_cast<Bytef*>(data.data());
    zs.avail_in = static_cast<uInt>(data.size());
    uint64_t done = 0;
    for (;;) {
        const uint64_t window = out.size() - done;
        if (window > kMax32) {
            inflateEnd(&zs);
            throw KivuException("Conversion positive overflow");
        }
        zs.next_out = out.data() + done;
        zs.avail_out = static_cast<uInt>(window);
        rc = inflate(&zs, Z_NO_FLUSH);
        done = zs.total_out;
        if (rc == Z_OK || (rc == Z_BUF_ERROR && zs.avail_out == 0)) {
            if (limit && done > limit) {
                inflateEnd(&zs);
                throwf("Inflated data exceeds the expected %llu bytes", static_cast<unsigned long long>(limit));
            }
            if (zs.avail_out == 0) {
                uint64_t grow = out.size() * 2;
                if (limit && grow > limit + 1) grow = limit + 1;
                if (grow <= out.size()) grow = out.size() + 1;
                out.resize(grow);
            } else if (zs.avail_in == 0) {
                // The input ended before the stream did.
                inflateEnd(&zs);
                throwf("Error: %d", Z_BUF_ERROR);
            }
            continue;
        }
        if (rc == Z_STREAM_END) {
            out.resize(zs.total_out);
            rc = inflateEnd(&zs);
            if (rc != Z_OK) throwf("Error: %d", rc);
            if (limit && out.size() > limit)
                throwf("Inflated data exceeds the expected %llu bytes", static_cast<unsigned long long>(limit));
            return out;
        }
        inflateEnd(&zs);
        throwf("Error: %d", rc);
    }
}

bool TMemory::comp() {
    if (compressed_) return false;
    if (!ownsBlock()) return compFrom(TMemory(*this).bytes(), -1);
    TMemory z(1024, 8192);
    z.compFrom(bytes(), -1);
    std::swap(data_, z.data_);
    std::swap(used_, z.used_);
    std::swap(allocated_, z.allocated_);
    return true;
}

bool TMemory::uncomp(uint64_t limit) {
    if (used_ == 0) return false;
    std::vector<uint8_t> out = _uncomp(bytes(), 0, 15, limit);
    if (out.size() > used_) {
        if (!_reinit(out.size())) return false;
    }
    clear();
    if (out.empty()) return false;
    return addBytes(out);
}

std::string TMemory::cleanBase64CodedData(std::string_view data) {
    const size_t at = data.find("base64,");
    if (at != std::string_view::npos && at > 0) data = data.substr(at + 7);
    std::string out;
    out.reserve(data.size());
    for (char c : data)
        if (c != '\t' && c != '\n' && c != '\r' && c != ' ') out += c;
    return out;
}

}  // namespace kivu
