// libFuzzer target: GIF bytes through readSpecs, the object calls the host
// makes, and the serialisation of every object.
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <span>

#include "kivuimg/commons/core/buffer.h"
#include "kivuimg/commons/objects.h"
#include "kivuimg/img/gif.h"

using namespace kivu;

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // Keep the biggest images a header may ask for well inside the memory limit.
    maxImagePixels(1u << 22);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    try {
        TImageGIF image(TBuffer::create(std::span<const uint8_t>(data, size)));
        image.readSpecs();
        TObjects objects;
        const uint64_t first = image.addObjectSpecs(&objects, "fuzz", nullptr, csAuto, ConvertImages{});
        if (image.hasMask()) image.addObjectMask(&objects);
        if (image.isIndexed()) image.addObjectPalette(&objects);
        for (uint64_t n = first; n < objects.nextObjectNum(3); ++n)
            if (TBaseObject* o = objects.get(n)) o->toPDF();
    } catch (const std::exception&) {
    }
    return 0;
}
