// Feeds arbitrary text to the SVG reader and writer: readSpecs (libxml2 and
// the element tree), a copy of the tree, the Form XObject of the copy and of
// the original, and the text of every object.  An odd first byte asks for
// CMYK with conversion.  The element budget is lowered so that expanding
// `use` references stays inside the fuzzer's time limit.
#include "fuzz/fuzz_image.h"
#include "kivuimg/img/svg/imagesvg.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    kivu::maxSvgElements(20000);
    const bool cmyk = size > 0 && (data[0] & 1);
    const kivu::ColorSpace space = cmyk ? kivu::csCMYK : kivu::csAuto;
    const kivu::ConvertImages convert = cmyk ? kivu::ciTransform : kivu::ciNo;
    try {
        kivu::TImageSVG image(kivu::TBuffer::create(std::span<const uint8_t>(data, size)));
        image.readSpecs();
        if (auto copy = image.getCopy()) kivufuzz::emit(*copy, space, convert);
        kivufuzz::emit(image, space, convert);
    } catch (const std::exception&) {
    }
    return 0;
}
