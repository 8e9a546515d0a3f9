// Feeds arbitrary bytes to libimg_loadImage under every known extension,
// then emits whatever got registered.  Nothing may crash, leak or hang.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <string>

#include "fuzz/fuzz_image.h"
#include "kivuimg/commons/core/settings.h"
#include "kivuimg/img/libmain.h"

namespace {

bool started = kivufuzz::startLibrary();

const char* const kNames[] = {"f.jpg", "f.jpeg", "f.png", "f.gif", "f.bmp", "f.wmf", "f.svg", "f.xyz"};

}  // namespace

// The first byte chooses the extension (its low three bits) and the rules
// (bit 3: the standard rules).
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    const char* name = kNames[data[0] % (sizeof kNames / sizeof kNames[0])];
    kivu::g_settings->rules(data[0] & 8 ? kivu::rulesStandard : kivu::rulesEngine);
    auto buffer = kivu::TBuffer::create(std::span<const uint8_t>(data + 1, size - 1));
    char* registered = libimg_loadImage(name, buffer.release());
    if (kivu::TImageFormat* img = libimg_getImage(registered)) {
        try {
            kivufuzz::emitAll(*img, kivu::csAuto, kivu::ciNo);
        } catch (const std::exception&) {
        }
    }
    libimg_resetResources();
    return 0;
}
