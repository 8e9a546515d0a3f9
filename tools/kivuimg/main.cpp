// kivuimg: turns image files into PDF documents through LibKivuImg's public
// interface, one page per image, and reports what the library reads.
#include <malloc.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>

#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/core/settings.h"
#include "kivuimg/img/exif.h"
#include "kivuimg/img/jpg.h"
#include "kivuimg/img/libmain.h"
#include "kivuimg/img/pdfdocument.h"
#include "options.h"

namespace fs = std::filesystem;
using namespace kivu;
using kivutool::Options;

namespace {

// The package folder: --package (--home), else KIVU_HOME, made with the
// default configuration; "" when neither names one (the built-in
// configuration, nothing written).
std::string prepareHome(const Options& o) {
    std::string home = o.home;
    if (home.empty()) {
        const char* env = std::getenv("KIVU_HOME");
        home = env && *env ? env : "";
    }
    if (home.empty()) return home;
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

// Standard input as a buffer, with the name the library reads it under.
std::unique_ptr<TBuffer> readStandardInput(const std::string& format, std::string& name) {
    auto buffer = std::make_unique<TBuffer>(65536, 0);
    if (!buffer->read()) buffer->clear();
    const std::string ext = format.empty() ? sniffImageFormat(buffer->bytes()) : format;
    name = "stdin." + (ext.empty() ? std::string("unknown") : ext);
    return buffer;
}

Loaded read(const std::string& input, const std::string& format) {
    Loaded l{nullptr, input};
    std::unique_ptr<TBuffer> source;
    if (input == "-") source = readStandardInput(format, l.name);
    l.image = readImage(l.name, std::move(source));
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
    const std::string& why = l.image->failure();
    std::fprintf(stderr, "kivuimg: warning: '%s' falls back to '%s'%s%s\n", input.c_str(), l.name.c_str(),
                 why.empty() ? "" : ": ", why.c_str());
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
        const Loaded loaded = read(input, o.format);
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

// The orientation a picture takes: its EXIF orientation (a JPEG's, read
// before its bytes go) under --rotation auto, else the turn asked for.
int orientationOf(const Options& o, TImageFormat& image) {
    if (o.rotation != kivutool::kRotationAuto) return TPdfDocument::orientationOf(o.rotation);
    const TBuffer* bytes = image.buffer();
    return image.ext() == "JPG" && bytes ? exifOrientation(bytes->bytes()) : 1;
}

// One image on a page of its own, as the layout plans it.
void addPage(TPdfDocument& doc, const Options& o, TImageFormat& image) {
    const int orientation = orientationOf(o, image);
    const SPageBox size = doc.pictureSize(image, orientation);
    const bool turned = orientation >= 5;
    const double pixelsW = image.exactWidth(), pixelsH = image.exactHeight();
    const kivutool::PagePlan plan = kivutool::planPage(
        o.layout, {size.w, size.h, turned ? pixelsH : pixelsW, turned ? pixelsW : pixelsH});
    doc.addPage(plan.pageW, plan.pageH);
    if (!o.background.empty()) doc.fillBox({0, 0, plan.pageW, plan.pageH}, o.background);
    doc.placeImage(image, plan.area, plan.fit, orientation);
}

// An input that can't be read (or written) ends the conversion with its
// reason, unless --fallback gives it the fallback picture's page; false
// when the conversion ends.
bool failed(const Options& o, const std::string& input, const std::string& reason) {
    if (!o.fallback || o.strict) {
        std::fprintf(stderr, "kivuimg: %s: %s\n", input.c_str(), reason.empty() ? "can't be read" : reason.c_str());
        return true;
    }
    return false;
}

// The pages of one image: each frame of an animated GIF, unless asked for
// the first only.
void addPages(TPdfDocument& doc, const Options& o, TImageFormat& image) {
    const int frames = o.firstFrameOnly ? 1 : image.frameCount();
    if (frames <= 1) return addPage(doc, o, image);
    for (int i = 0; i < frames; ++i) {
        std::unique_ptr<TImageFormat> frame = image.frame(i);
        addPage(doc, o, frame ? *frame : image);
    }
}

// Puts one read input on its pages; false when the conversion ends.
bool convertOne(TPdfDocument& doc, const Options& o, const std::string& input, Loaded loaded) {
    if (isFallback(loaded.name)) {
        if (failed(o, input, loaded.image->failure())) return false;
        warnFallback(input, loaded);
    }
    try {
        addPages(doc, o, *loaded.image);
    } catch (const std::exception& e) {
        // The image read but could not be written.
        doc.dropPage();
        if (failed(o, input, e.what())) return false;
        std::fprintf(stderr, "kivuimg: warning: '%s' falls back to '%s': %s\n", input.c_str(), kExceptionImage,
                     e.what());
        std::unique_ptr<TImageFormat> fallback = createUndefinedImage();
        fallback->readSpecs();
        addPage(doc, o, *fallback);
    }
    return true;
}

// The output must not be one of the inputs (the same file by device and
// inode), and its folder must exist.  Answers the reason, or "".
std::string outputProblem(const Options& o) {
    if (o.output == "-") return "";
    struct stat out {};
    if (stat(o.output.c_str(), &out) == 0)
        for (const auto& input : o.inputs) {
            struct stat in {};
            if (input != "-" && stat(input.c_str(), &in) == 0 && in.st_dev == out.st_dev && in.st_ino == out.st_ino)
                return "it is also an input";
        }
    const fs::path parent = fs::path(o.output).parent_path();
    std::error_code ec;
    if (!parent.empty() && !fs::is_directory(parent, ec)) return "no folder '" + parent.string() + "'";
    return "";
}

// The progress line on a terminal: pages done of all, megabytes written,
// from the first second of a batch on.
class Progress {
public:
    explicit Progress(bool wanted) : shown_(wanted && isatty(fileno(stderr))) {}
    ~Progress() {
        if (drawn_) std::fputc('\n', stderr);
    }
    void update(size_t done, size_t total, uint64_t bytes) {
        if (!shown_ || std::chrono::steady_clock::now() - start_ < std::chrono::seconds(1)) return;
        std::fprintf(stderr, "\rkivuimg: %zu/%zu pages, %.1f MB", done, total, static_cast<double>(bytes) / 1e6);
        drawn_ = true;
    }

private:
    bool shown_;
    bool drawn_ = false;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

// Standard output takes the document only when it is whole: until then its
// bytes wait in an unnamed temporary file.
class HeldOutput : public TObjectSink {
public:
    HeldOutput() : file_(std::tmpfile()) {}
    ~HeldOutput() override {
        if (file_) std::fclose(file_);
    }
    void write(std::span<const uint8_t> bytes) override {
        if (!file_ || std::fwrite(bytes.data(), 1, bytes.size(), file_) != bytes.size()) failed_ = true;
    }
    // Copies the document to standard output; false when anything failed.
    bool deliver() {
        if (failed_ || !file_ || std::fflush(file_) != 0 || std::fseek(file_, 0, SEEK_SET) != 0) return false;
        char chunk[65536];
        for (size_t n; (n = std::fread(chunk, 1, sizeof chunk, file_)) > 0;)
            if (std::fwrite(chunk, 1, n, stdout) != n) return false;
        return !std::ferror(file_) && std::fflush(stdout) == 0;
    }

private:
    FILE* file_;
    bool failed_ = false;
};

// The temporary file of the document being written, for the signal handler.
char g_partial[4096];

// SIGINT, SIGTERM, SIGHUP: the half-written file goes, then the signal
// takes its default course.
extern "C" void onSignal(int sig) {
    if (g_partial[0]) unlink(g_partial);
    std::signal(sig, SIG_DFL);
    std::raise(sig);
}

// Opens the document on its file with the handler in place: the signals
// wait while the file is made and its name is noted.
void openWatched(TPdfDocument& doc, const std::string& path) {
    sigset_t signals, before;
    sigemptyset(&signals);
    for (int sig : {SIGINT, SIGTERM, SIGHUP}) {
        sigaddset(&signals, sig);
        std::signal(sig, onSignal);
    }
    sigprocmask(SIG_BLOCK, &signals, &before);
    try {
        doc.open(path);
        std::snprintf(g_partial, sizeof g_partial, "%s", doc.partialPath());
    } catch (...) {
        sigprocmask(SIG_SETMASK, &before, nullptr);
        throw;
    }
    sigprocmask(SIG_SETMASK, &before, nullptr);
}

// The document's warnings so far (a text no font holds, an image whose
// colour space stays): under --strict the first ends the conversion.
int g_documentWarnings = 0;

SDocumentOptions documentOptions(const Options& o) {
    SDocumentOptions options;
    options.dpi = o.dpi > 0 ? o.dpi : 96;
    options.imageResolution = o.dpi <= 0;
    options.space = o.space;
    options.info = o.info;
    options.warn = [](const std::string& text) {
        ++g_documentWarnings;
        std::fprintf(stderr, "kivuimg: warning: %s\n", text.c_str());
    };
    return options;
}

// Opens the document on its file (its folder made) or on standard output.
bool openDocument(TPdfDocument& doc, const Options& o, HeldOutput& held) {
    try {
        if (o.output == "-") {
            doc.open(held);
            return true;
        }
        openWatched(doc, o.output);
        return true;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "kivuimg: can't write '%s'\n", o.output.c_str());
        return false;
    }
}

int runConvert(const Options& o) {
    if (const std::string problem = outputProblem(o); !problem.empty()) {
        std::fprintf(stderr, "kivuimg: can't write '%s': %s\n", o.output.c_str(), problem.c_str());
        return 1;
    }
    TPdfDocument doc(documentOptions(o));
    HeldOutput held;
    if (!openDocument(doc, o, held)) return 1;
    Progress progress(!o.quiet);
    // One image at a time: read, put on its page, written, freed.  (Reading
    // the next image on a second thread while this one is deflated and
    // written was measured: no faster on two shared cores, and up to 70%
    // more peak memory.)
    for (const auto& input : o.inputs) {
        if (!convertOne(doc, o, input, read(input, o.format)) || (o.strict && g_documentWarnings)) {
            doc.abandon();
            return 1;
        }
        progress.update(doc.pages(), o.inputs.size(), doc.bytesWritten());
    }
    try {
        doc.close();
        g_partial[0] = 0;
        // A warning while the fonts were written at the end.
        if (o.strict && g_documentWarnings) {
            if (o.output != "-") std::remove(o.output.c_str());
            return 1;
        }
        if (o.output == "-" && !held.deliver()) throw std::runtime_error("standard output");
    } catch (const std::exception&) {
        std::fprintf(stderr, "kivuimg: can't write '%s'\n", o.output.c_str());
        return 1;
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    // Every image allocates and frees blocks of a few megabytes.  Those under
    // 4 MiB (a photo's JPEG file, say) are served from the heap and kept
    // there: the next image reuses them instead of mapping them, faulting
    // them in page by page and unmapping them, which saves a batch of JPEGs
    // about half its time in the kernel.  Larger blocks (big PNG files,
    // decoded samples) are mapped and given back when freed: in the heap,
    // the holes they leave are split by small allocations and no longer
    // take the next image's blocks, and a batch's peak grows by one or two
    // images' worth.
    mallopt(M_MMAP_THRESHOLD, 4 << 20);
    mallopt(M_TRIM_THRESHOLD, 64 << 20);
    const Options o = kivutool::parse(argc, argv);
    const std::string home = prepareHome(o);
    if (o.maxPixels) maxImagePixels(o.maxPixels);
    if (!libimg_init(home.c_str(), o.verbose ? 2u : 3u)) {
        std::fprintf(stderr, "kivuimg: the library could not start with home '%s'\n", home.c_str());
        return 1;
    }
    g_settings->rules(o.rules);
    g_settings->allowNetwork(o.network);
    if (o.maxSvgBytes) g_settings->maxSvgBytes(o.maxSvgBytes);
    const int rc = o.command == "info" ? runInfo(o) : runConvert(o);
    lib_uninit();
    return rc;
}
