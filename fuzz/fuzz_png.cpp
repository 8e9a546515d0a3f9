// libFuzzer target: PNG bytes through readSpecs, the object calls the host
// makes, and the serialisation of every object, under both rule sets: the
// engine's refusals and the standard rules' 16-bit and interlaced images.
#include "fuzz/fuzz_image.h"
#include "kivuimg/img/png.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) { return kivufuzz::startLibrary() ? 0 : 1; }

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    for (kivu::Rules rules : {kivu::rulesEngine, kivu::rulesStandard}) {
        kivu::g_settings->rules(rules);
        kivufuzz::fuzzImage<kivu::TImagePNG>(data, size);
    }
    return 0;
}
