// Small helpers shared by the value types of graphics: printing of floats
// and combination of hashes.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>

#include "kivuimg/commons/funcs.h"

namespace kivu {

// A float as printf should see it: a NaN of either sign becomes the positive
// quiet NaN, so "%.3f" always prints "nan" and never "-nan".
inline double printable(float v) {
    return isNaNBits(v) ? static_cast<double>(std::numeric_limits<float>::quiet_NaN()) : static_cast<double>(v);
}

// Truncation towards zero to a 32-bit integer with a defined result for
// every float: NaN gives 0, values beyond the range saturate.
inline int32_t truncToInt(float v) {
    if (isNaNBits(v)) return 0;
    if (v >= 2147483648.0f) return std::numeric_limits<int32_t>::max();
    if (v <= -2147483648.0f) return std::numeric_limits<int32_t>::min();
    return static_cast<int32_t>(v);
}

inline void hashCombine(size_t& acc, size_t value) {
    acc ^= value + 0x9e3779b97f4a7c15ull + (acc << 6) + (acc >> 2);
}

template <typename T>
inline void hashValue(size_t& acc, const T& value) {
    hashCombine(acc, std::hash<T>{}(value));
}

}  // namespace kivu
