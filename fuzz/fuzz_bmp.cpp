// libFuzzer target: BMP bytes through readSpecs, the object calls the host
// makes, and the serialisation of every object.
#include "fuzz/fuzz_image.h"
#include "kivuimg/img/bmp.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    kivufuzz::limitPixels();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    return kivufuzz::fuzzImage<kivu::TImageBMP>(data, size);
}
