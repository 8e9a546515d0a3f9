// The kivuimg tool's command line: the options as read, checked together,
// with the usage text.  Bad arguments end the process with status 2.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kivuimg/commons/consts.h"
#include "kivuimg/img/pdfdocument.h"
#include "layout.h"

namespace kivutool {

// --rotation auto: each JPEG turned as its EXIF orientation says.
inline constexpr int kRotationAuto = -1;

struct Options {
    std::string command;
    std::vector<std::string> inputs;
    std::string output;
    std::string home;
    std::string format;
    double dpi = 0;  // the image's own resolution, else 96
    int rotation = kRotationAuto;  // else 0, 90, 180 or 270 degrees clockwise
    std::string background;        // a CSS colour; empty: none
    bool strict = false;
    bool fallback = false;
    bool firstFrameOnly = false;
    bool verbose = false;
    bool quiet = false;
    bool network = false;
    kivu::ColorSpace space = kivu::csAuto;
    kivu::Rules rules = kivu::rulesStandard;
    uint64_t maxPixels = 0;    // 0: the library's
    uint64_t maxSvgBytes = 0;  // 0: the configuration's
    PageLayout layout;
    kivu::SDocumentInfo info;
};

// Reads the command line; prints help or the version and exits when asked.
Options parse(int argc, char** argv);

}  // namespace kivutool
