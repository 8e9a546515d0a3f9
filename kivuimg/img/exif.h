// EXIF data of a JPEG file: the orientation its picture is to be shown in
// and the resolution it states, read from the APP1 segment without decoding
// anything.  Every read is bounded by the bytes given, so any bytes are safe.
#pragma once

#include <cstdint>
#include <span>

#include "kivuimg/commons/core/export.h"

namespace kivu {

// Tag 0x0112 of the first image directory: 1 ("as stored") to 8; 1 when the
// bytes hold none, hold another value, or are no JPEG.
KIVU_API int exifOrientation(std::span<const uint8_t> jpeg);

// Dots per inch along each axis.
struct SResolution {
    double x = 0;
    double y = 0;
};

// XResolution and YResolution of the first image directory by its
// ResolutionUnit (2 inch, the default; 3 centimetre).  An axis is 0 when its
// tag is absent or not a positive rational, and both are 0 for unit 1 (no
// absolute unit) or any unit but 2 and 3.
KIVU_API SResolution exifResolution(std::span<const uint8_t> jpeg);

}  // namespace kivu
