// Feeds arbitrary bytes to the metafile reader and writer: readSpecs, the
// Form XObject with its content, the transparency group and the text of
// every object.  An odd first byte asks for CMYK with conversion, so that
// the colour conversion runs too.  Nothing may crash, leak or hang; the
// only expected failure is an exception (a missing GDI object).
#include <cstddef>
#include <cstdint>
#include <exception>
#include <span>

#include "kivuimg/commons/core/buffer.h"
#include "kivuimg/commons/objects.h"
#include "kivuimg/img/wmf.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    auto buffer = kivu::TBuffer::create(std::span<const uint8_t>(data, size));
    kivu::TImageWMF img(std::move(buffer));
    const bool cmyk = size > 0 && (data[0] & 1);
    try {
        img.readSpecs();
        kivu::TObjects objects;
        img.addObjectSpecs(&objects, "Im1", nullptr, cmyk ? kivu::csCMYK : kivu::csAuto,
                           cmyk ? kivu::ciTransform : kivu::ciNo);
        img.addObjectMask(&objects);
        for (uint64_t n : objects.order())
            if (auto* obj = objects.get(n)) obj->toPDF();
    } catch (const std::exception&) {
    }
    return 0;
}
