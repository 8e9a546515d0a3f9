// The orientation a JPEG's EXIF data gives its picture (tag 0x0112): 1 for
// "as stored" up to 8, read from the APP1 segment without decoding anything.
#pragma once

#include <cstdint>
#include <span>

namespace kivutool {

// 1 to 8; 1 when the bytes hold no orientation (or are no JPEG).
int exifOrientation(std::span<const uint8_t> jpeg);

}  // namespace kivutool
