// Size checks shared by the raster decoders: the pixel limit, and the
// bound on the zeros that stand in for data that ends early.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/img/imgformat.h"

namespace kivu {

// Refuses a raster whose pixel count exceeds the library-wide limit.  Each
// side is also checked on its own (a zero side counts as one), so that a
// zero height can't hide a width that would size a loop or a row, and a side
// must fit the 32-bit fields of the image.
inline void checkRasterSize(uint64_t width, uint64_t height) {
    checkPixelCount(width ? width : 1, height ? height : 1);
    constexpr uint64_t kMaxSide = static_cast<uint64_t>(std::numeric_limits<int32_t>::max());
    if (width > kMaxSide || height > kMaxSide)
        throwf("Image of %llu x %llu pixels exceeds the limit of %llu pixels", static_cast<unsigned long long>(width),
               static_cast<unsigned long long>(height), static_cast<unsigned long long>(maxImagePixels()));
}

// Where the data of an image ends early, the rest reads as 0; but a few
// bytes must not make a decoder fill gigabytes.  The zeros may be at most as
// many as the bytes the data gives, or kFreeZeros for a small image.
inline constexpr uint64_t kFreeZeros = 1ull << 20;

inline bool zerosFit(uint64_t zeros, uint64_t given) { return zeros <= std::max(given, kFreeZeros); }

// Raises the truncation failure "<format>: Image data ends early: N of M
// bytes" when the zeros don't fit.
inline void checkZeros(const char* format, uint64_t zeros, uint64_t given) {
    if (!zerosFit(zeros, given))
        throwf("%s: Image data ends early: %llu of %llu bytes", format, static_cast<unsigned long long>(given),
               static_cast<unsigned long long>(given + zeros));
}

}  // namespace kivu
