// libFuzzer target: GIF bytes through readSpecs, the object calls the host
// makes, and the serialisation of every object, then every frame of the
// animation as a page of its own.
#include "fuzz/fuzz_image.h"
#include "kivuimg/img/gif.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    kivufuzz::limitPixels();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    return kivufuzz::fuzzImage<kivu::TImageGIF>(data, size);
}
