// Size checks shared by the raster decoders.
#pragma once

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

}  // namespace kivu
