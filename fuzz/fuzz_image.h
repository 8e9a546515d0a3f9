// The path every fuzz target drives: bytes into an image, readSpecs, the
// object calls a host makes, and the text of every object.  Nothing may
// crash, leak or hang; exceptions with a message are the expected failures.
#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

#include "kivuimg/commons/core/buffer.h"
#include "kivuimg/commons/core/settings.h"
#include "kivuimg/commons/graphics/gradient.h"
#include "kivuimg/commons/objects.h"
#include "kivuimg/img/imgformat.h"
#include "kivuimg/img/libmain.h"

namespace kivufuzz {

// Keeps the biggest images a header may ask for well inside the fuzzer's
// memory limit.
inline void limitPixels() { kivu::maxImagePixels(1u << 22); }

// Starts the library over a scratch home, so that a target can choose the
// rules its inputs are read by; also limits the pixels.
inline bool startLibrary() {
    const std::string home = (std::filesystem::temp_directory_path() / "kivu_fuzz_home").string();
    std::filesystem::create_directories(home);
    kivu::TSettings::createDefaultConfigFile(home);
    limitPixels();
    return libimg_init(home.c_str(), 3);
}

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

// Emits the image, then every frame of an animation.  Each frame is a page
// of the whole screen, so a run stops after frames of 2^20 pixels in all
// (one page of the largest screen a few bytes may have): the fuzzer then
// spends its time on many inputs rather than on the pages of a few.
inline void emitAll(kivu::TImageFormat& image, kivu::ColorSpace space = kivu::csAuto,
                    kivu::ConvertImages convert = kivu::ciNo) {
    emit(image, space, convert);
    uint64_t pixels = 0;
    for (int i = 0; i < image.frameCount() && pixels < (1u << 20); ++i) {
        auto frame = image.frame(i);
        if (!frame) return;
        pixels += static_cast<uint64_t>(frame->width()) * frame->height();
        emit(*frame, space, convert);
    }
}

template <typename Image>
int fuzzImage(const uint8_t* data, size_t size, kivu::ColorSpace space = kivu::csAuto,
              kivu::ConvertImages convert = kivu::ciNo) {
    try {
        Image image(kivu::TBuffer::create(std::span<const uint8_t>(data, size)));
        image.readSpecs();
        emitAll(image, space, convert);
    } catch (const std::exception&) {
    }
    return 0;
}

}  // namespace kivufuzz
