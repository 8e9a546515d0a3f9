// kivuimg: turns image files into PDF documents through LibKivuImg's public
// interface, one page per image, and reports what the library reads.
#include <malloc.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "kivuimg/commons/core/settings.h"
#include "kivuimg/img/jpg.h"
#include "kivuimg/img/libmain.h"
#include "pdfwriter.h"

namespace fs = std::filesystem;
using namespace kivu;

namespace {

const char* const kUsage =
    "usage: kivuimg convert [options] INPUT... -o OUT.pdf\n"
    "       kivuimg info [options] INPUT...\n"
    "\n"
    "INPUT is an image file (.jpg .jpeg .png .gif .bmp .wmf .svg) or url(http://...).\n"
    "\n"
    "convert writes one page per input, the page the size of the image.\n"
    "  -o, --output FILE        the PDF to write (required)\n"
    "  --dpi N                  pixels per inch of the page size (default 96)\n"
    "  --strict                 a fallback picture is an error: exit 1, no file\n"
    "  --colorspace rgb|cmyk|gray\n"
    "                           the document's colour space: drawings (WMF, SVG)\n"
    "                           have their colours converted to it\n"
    "info prints one JSON object per input.\n"
    "\n"
    "common options:\n"
    "  --home DIR               package home (default: $KIVU_HOME, else ~/Kivu,\n"
    "                           created with the default configuration)\n"
    "  --max-pixels N           refuse images of more than N pixels (default 2^28)\n"
    "  -v, --verbose            show the library's log on standard output\n"
    "  -h, --help               this text\n";

struct Options {
    std::string command;
    std::vector<std::string> inputs;
    std::string output;
    std::string home;
    double dpi = 96;
    bool strict = false;
    bool verbose = false;
    ColorSpace space = csAuto;
    uint64_t maxPixels = maxImagePixels();
};

[[noreturn]] void usageError(const std::string& message) {
    std::fprintf(stderr, "kivuimg: %s\n(try 'kivuimg --help')\n", message.c_str());
    std::exit(2);
}

Options parse(int argc, char** argv) {
    Options o;
    if (argc < 2) usageError("missing command");
    int i = 1;
    const std::string first = argv[1];
    if (first == "-h" || first == "--help") {
        std::fputs(kUsage, stdout);
        std::exit(0);
    }
    o.command = first;
    if (o.command != "convert" && o.command != "info") usageError("unknown command '" + o.command + "'");
    for (i = 2; i < argc; ++i) {
        const std::string a = argv[i];
        auto value = [&](const char* what) -> std::string {
            if (i + 1 >= argc) usageError(std::string(what) + " needs a value");
            return argv[++i];
        };
        if (a == "-h" || a == "--help") {
            std::fputs(kUsage, stdout);
            std::exit(0);
        } else if (a == "-o" || a == "--output") {
            o.output = value("-o");
        } else if (a == "--dpi") {
            const std::string v = value("--dpi");
            char* end = nullptr;
            o.dpi = std::strtod(v.c_str(), &end);
            if (!end || *end || !(o.dpi > 0) || !std::isfinite(o.dpi)) usageError("--dpi needs a positive number");
        } else if (a == "--strict") {
            o.strict = true;
        } else if (a == "--home") {
            o.home = value("--home");
        } else if (a == "--max-pixels") {
            const std::string v = value("--max-pixels");
            char* end = nullptr;
            o.maxPixels = std::strtoull(v.c_str(), &end, 10);
            if (v.empty() || v[0] == '-' || !end || *end || o.maxPixels == 0)
                usageError("--max-pixels needs a positive whole number");
        } else if (a == "-v" || a == "--verbose") {
            o.verbose = true;
        } else if (a == "--colorspace") {
            const std::string v = value("--colorspace");
            if (v == "rgb") o.space = csRGB;
            else if (v == "cmyk") o.space = csCMYK;
            else if (v == "gray") o.space = csGray;
            else usageError("--colorspace takes rgb, cmyk or gray");
        } else if (a.size() > 1 && a[0] == '-') {
            usageError("unknown option '" + a + "'");
        } else {
            o.inputs.push_back(a);
        }
    }
    if (o.inputs.empty()) usageError("no input");
    if (o.command == "convert" && o.output.empty()) usageError("convert needs -o OUT.pdf");
    if (o.command == "info" && (!o.output.empty() || o.space != csAuto || o.strict))
        usageError("info takes no -o, --colorspace or --strict");
    return o;
}

// The package home: --home, else KIVU_HOME, else a per-user folder that is
// created with the default configuration.
std::string prepareHome(const Options& o) {
    std::string home = o.home;
    if (home.empty()) {
        const char* env = std::getenv("KIVU_HOME");
        home = env && *env ? env : TSettings::resolveHomeFolder();
    }
    std::error_code ec;
    fs::create_directories(home, ec);
    for (const char* d : {"logs", "output", "resources"}) fs::create_directories(fs::path(home) / d, ec);
    if (!fs::exists(fs::path(home) / ".conf.json")) TSettings::createDefaultConfigFile(home);
    return home;
}

bool isFallback(const std::string& name) {
    return name == kNotFoundImage || name == kUnsupportedImage || name == kExceptionImage;
}

// One input read into an image of the caller's own, so that it can be freed
// once its page is written, with the name the library gave it.
struct Loaded {
    std::unique_ptr<TImageFormat> image;
    std::string name;
};

Loaded read(const std::string& input) {
    Loaded l{nullptr, input};
    l.image = readImage(l.name, nullptr);
    if (!l.image) {
        l.image = createUndefinedImage();
        l.image->readSpecs();
        if (l.name.empty()) l.name = kUnsupportedImage;
    }
    return l;
}

// A fallback is reported on standard error; answers whether it was one.
bool warnFallback(const std::string& input, const Loaded& l) {
    if (!isFallback(l.name)) return false;
    std::fprintf(stderr, "kivuimg: warning: '%s' falls back to '%s'\n", input.c_str(), l.name.c_str());
    return true;
}

const char* colorSpaceWord(ColorSpace cs) {
    switch (cs) {
        case csRGB: return "RGB";
        case csCMYK: return "CMYK";
        case csGray: return "Gray";
        case csSpot: return "Indexed";
        case csNone: return "None";
        default: return "Auto";
    }
}

int runInfo(const Options& o) {
    for (const auto& input : o.inputs) {
        const Loaded loaded = read(input);
        warnFallback(input, loaded);
        TImageFormat* img = loaded.image.get();
        nlohmann::json j;
        j["input"] = input;
        j["name"] = loaded.name;
        j["ext"] = img->ext();
        j["width"] = img->width();
        j["height"] = img->height();
        j["origWidth"] = img->origWidth();
        j["origHeight"] = img->origHeight();
        j["positionX"] = img->positionX();
        j["positionY"] = img->positionY();
        j["colorSpace"] = colorSpaceWord(img->colorSpace());
        j["bitsPerComponent"] = img->bitsPerComponent();
        j["components"] = img->components();
        j["hasMask"] = img->hasMask();
        j["isIndexed"] = img->isIndexed();
        j["isFormObject"] = img->isFormObject();
        const float v = img->minPDFVer();
        j["minPDFVer"] = std::isnan(v) ? nlohmann::json(nullptr) : nlohmann::json(std::round(v * 10) / 10);
        j["has2Pass"] = img->has2Pass();
        nlohmann::json fonts = nlohmann::json::array();
        for (const auto& f : img->getRawFonts())
            fonts.push_back({{"family", f.family}, {"weight", f.weight}, {"style", f.style}, {"text", f.text}});
        j["fonts"] = fonts;
        j["subImages"] = img->getSubImageSources();
        std::cout << j.dump() << "\n";
    }
    return 0;
}

// Puts one read input on its page; false when --strict stops the conversion.
bool convertOne(kivutool::PdfWriter& writer, const std::string& input, Loaded loaded, bool strict) {
    if (warnFallback(input, loaded) && strict) {
        std::fprintf(stderr, "kivuimg: error: '%s' could not be read (%s)\n", input.c_str(), loaded.name.c_str());
        return false;
    }
    try {
        writer.addPage(std::move(loaded.image));
    } catch (const std::exception& e) {
        // The image read but could not be written: like any image that
        // fails, its page shows the fallback picture.
        if (strict) {
            std::fprintf(stderr, "kivuimg: error: '%s': %s\n", input.c_str(), e.what());
            return false;
        }
        std::fprintf(stderr, "kivuimg: warning: '%s' falls back to '%s': %s\n", input.c_str(), kExceptionImage,
                     e.what());
        std::unique_ptr<TImageFormat> fallback = createUndefinedImage();
        fallback->readSpecs();
        writer.addPage(std::move(fallback));
    }
    return true;
}

int runConvert(const Options& o) {
    kivutool::PdfWriter writer(o.dpi, o.space, o.space == csAuto ? ciNo : ciTransform);
    const fs::path parent = fs::path(o.output).parent_path();
    std::error_code ec;
    if (!parent.empty()) fs::create_directories(parent, ec);
    if (!writer.open(o.output)) {
        std::fprintf(stderr, "kivuimg: can't write '%s'\n", o.output.c_str());
        return 1;
    }
    // One image at a time: read, put on its page, written, freed.  (Reading
    // the next image on a second thread while this one is deflated and
    // written was measured: no faster on two shared cores, and up to 70%
    // more peak memory.)
    for (const auto& input : o.inputs) {
        if (!convertOne(writer, input, read(input), o.strict)) {
            writer.abandon();
            return 1;
        }
    }
    if (!writer.finish()) {
        std::fprintf(stderr, "kivuimg: can't write '%s'\n", o.output.c_str());
        return 1;
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    // Every image allocates and frees blocks of a few megabytes.  Served from
    // the heap and kept there, they are reused by the next image instead of
    // being mapped, faulted in page by page and unmapped each time: a batch
    // of JPEGs spends about 60% less time in the kernel.
    mallopt(M_MMAP_THRESHOLD, 32 << 20);
    mallopt(M_TRIM_THRESHOLD, 64 << 20);
    const Options o = parse(argc, argv);
    const std::string home = prepareHome(o);
    maxImagePixels(o.maxPixels);
    if (!libimg_init(home.c_str(), o.verbose ? 2u : 3u)) {
        std::fprintf(stderr, "kivuimg: the library could not start with home '%s'\n", home.c_str());
        return 1;
    }
    const int rc = o.command == "info" ? runInfo(o) : runConvert(o);
    lib_uninit();
    return rc;
}
