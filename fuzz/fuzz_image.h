// The path every fuzz target drives: bytes into an image, readSpecs, the
// object calls a host makes, and the text of every object.  Nothing may
// crash, leak or hang; exceptions with a message are the expected failures.
#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <span>
#include <vector>

#include "kivuimg/commons/core/buffer.h"
#include "kivuimg/commons/graphics/gradient.h"
#include "kivuimg/commons/objects.h"
#include "kivuimg/img/imgformat.h"

namespace kivufuzz {

// Keeps the biggest images a header may ask for well inside the fuzzer's
// memory limit.
inline void limitPixels() { kivu::maxImagePixels(1u << 22); }

// Emits an image that has read its specs into a fresh store and serialises
// every object.
inline void emit(kivu::TImageFormat& image, kivu::ColorSpace space, kivu::ConvertImages convert) {
    kivu::TObjects objects;
    std::vector<kivu::SGradient> gradients;
    image.addObjectSpecs(&objects, "Im1", &gradients, space, convert);
    if (image.hasMask()) image.addObjectMask(&objects);
    if (image.isIndexed()) image.addObjectPalette(&objects);
    for (uint64_t n : objects.order())
        if (kivu::TBaseObject* obj = objects.get(n)) obj->toPDF();
}

template <typename Image>
int fuzzImage(const uint8_t* data, size_t size, kivu::ColorSpace space = kivu::csAuto,
              kivu::ConvertImages convert = kivu::ciNo) {
    try {
        Image image(kivu::TBuffer::create(std::span<const uint8_t>(data, size)));
        image.readSpecs();
        emit(image, space, convert);
    } catch (const std::exception&) {
    }
    return 0;
}

}  // namespace kivufuzz
