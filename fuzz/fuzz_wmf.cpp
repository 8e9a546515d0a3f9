// Feeds arbitrary bytes to the metafile reader and writer: readSpecs, the
// Form XObject with its content, the transparency group and the text of
// every object.  An odd first byte asks for CMYK with conversion, so that
// the colour conversion runs too.  The only expected failure is an
// exception (a missing GDI object).
#include "fuzz/fuzz_image.h"
#include "kivuimg/img/wmf.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const bool cmyk = size > 0 && (data[0] & 1);
    return kivufuzz::fuzzImage<kivu::TImageWMF>(data, size, cmyk ? kivu::csCMYK : kivu::csAuto,
                                                cmyk ? kivu::ciTransform : kivu::ciNo);
}
