// Feeds arbitrary text to the SVG reader and writer: readSpecs (libxml2 and
// the element tree), the host's answers to the first pass (every font
// request, in the string form the input's length chooses, and a number for
// every embedded picture), a copy of the tree, the Form XObject of the copy
// and of the original, and the text of every object.  An odd first byte
// asks for CMYK with conversion.  The element budget is lowered so that
// expanding `use` references stays inside the fuzzer's time limit; embedded
// pictures enter the registry, which is emptied after every input.
#include "fuzz/fuzz_image.h"
#include "kivuimg/img/libmain.h"
#include "kivuimg/img/svg/imagesvg.h"

namespace {

void answerFirstPass(kivu::TImageSVG& image, uint8_t encoding) {
    int id = 0;
    for (kivu::SRawFont font : image.getRawFonts()) {
        font.fontId = ++id;
        font.encoding = encoding;
        image.setFont(font);
    }
    std::vector<kivu::SLinkSrcId> ids;
    for (const std::string& source : image.getSubImageSources()) ids.push_back({ids.size() + 100, source});
    image.setSubImageIds(ids);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    kivu::maxSvgElements(20000);
    kivufuzz::limitPixels();
    const bool cmyk = size > 0 && (data[0] & 1);
    const kivu::ColorSpace space = cmyk ? kivu::csCMYK : kivu::csAuto;
    const kivu::ConvertImages convert = cmyk ? kivu::ciTransform : kivu::ciNo;
    try {
        kivu::TImageSVG image(kivu::TBuffer::create(std::span<const uint8_t>(data, size)));
        image.readSpecs();
        answerFirstPass(image, static_cast<uint8_t>(size % 4));
        if (auto copy = image.getCopy()) kivufuzz::emit(*copy, space, convert);
        kivufuzz::emit(image, space, convert);
    } catch (const std::exception&) {
    }
    libimg_resetResources();
    return 0;
}
