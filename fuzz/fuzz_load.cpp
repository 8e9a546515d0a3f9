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

bool started = [] {
    const std::string home = (std::filesystem::temp_directory_path() / "kivu_fuzz_home").string();
    std::filesystem::create_directories(home);
    kivu::TSettings::createDefaultConfigFile(home);
    kivufuzz::limitPixels();
    return libimg_init(home.c_str(), 3);
}();

const char* const kNames[] = {"f.jpg", "f.jpeg", "f.png", "f.gif", "f.bmp", "f.wmf", "f.svg", "f.xyz"};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    const char* name = kNames[data[0] % (sizeof kNames / sizeof kNames[0])];
    auto buffer = kivu::TBuffer::create(std::span<const uint8_t>(data + 1, size - 1));
    char* registered = libimg_loadImage(name, buffer.release());
    if (kivu::TImageFormat* img = libimg_getImage(registered)) {
        try {
            kivufuzz::emit(*img, kivu::csAuto, kivu::ciNo);
        } catch (const std::exception&) {
        }
    }
    libimg_resetResources();
    return 0;
}
