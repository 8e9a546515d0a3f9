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
#include "layout.h"

namespace fs = std::filesystem;
using namespace kivu;

namespace {

const char* const kUsage =
    "usage: kivuimg convert [options] INPUT... -o OUT.pdf\n"
    "       kivuimg info [options] INPUT...\n"
    "\n"
    "INPUT is an image file (.jpg .jpeg .png .gif .bmp .wmf .svg), url(http://...),\n"
    "or - for standard input (its format from --format, else told by its first bytes).\n"
    "\n"
    "convert writes one page per input; without --pagesize the page is the image.\n"
    "  -o, --output FILE        the PDF to write; - for standard output, which is\n"
    "                           also where it goes without -o when that is no\n"
    "                           terminal.  Its folder must exist; an input can't\n"
    "                           be the output\n"
    "  --dpi N                  pixels per inch of every image (default: the\n"
    "                           resolution a photo or scan states, else 96)\n"
    "  --pagesize SIZE          A4, A3, A5, Letter, Legal or WxH (units pt, mm, cm,\n"
    "                           in; pt when none), e.g. 210mmx297mm\n"
    "  --fit MODE               with --pagesize: into (default: the whole image,\n"
    "                           as large as fits), fill (covers the page, cut at\n"
    "                           its edges), exact (stretched to the page), shrink\n"
    "                           (into, but never enlarged), enlarge (into, but\n"
    "                           never reduced)\n"
    "  --border W[:H]           margins left/right (W) and top/bottom (H), units\n"
    "                           as --pagesize; without --pagesize they widen the page\n"
    "  --landscape              with --pagesize: the page's long side across\n"
    "  --auto-orient            JPEG: turn the page's view of the image as its EXIF\n"
    "                           orientation says (the image data stays as it is)\n"
    "  --title T, --author A, --subject S, --keywords K, --creator C\n"
    "                           the document's Info dictionary (the producer and the\n"
    "                           creation date are always written)\n"
    "  --nodate                 no creation date, for reproducible output\n"
    "  --fallback               an input that can't be read gets a page with the\n"
    "                           fallback picture and a warning with the reason,\n"
    "                           instead of ending the conversion\n"
    "  --strict                 warnings are errors: exit 1, no file\n"
    "  --first-frame-only       an animated GIF gives its first frame only (by\n"
    "                           default each frame is a page)\n"
    "  --rules standard|engine  how drawings (SVG) are read and drawn: by the SVG\n"
    "                           and CSS recommendations, as browsers draw them\n"
    "                           (default), or by the engine's own rules\n"
    "  --allow-network          drawings may fetch their pictures over http(s)\n"
    "  --colorspace rgb|cmyk|gray\n"
    "                           the document's colour space: drawings (WMF, SVG)\n"
    "                           have their colours converted to it\n"
    "  -q, --quiet              no progress line (shown on a terminal for batches\n"
    "                           that take more than a second)\n"
    "info prints one JSON object per input.\n"
    "\n"
    "common options:\n"
    "  --format EXT             the format of standard input (jpg, png, gif, bmp,\n"
    "                           wmf, svg)\n"
    "  --package DIR            package folder, with its configuration and log\n"
    "                           (also --home DIR, or $KIVU_HOME); without one the\n"
    "                           built-in configuration holds and nothing is written\n"
    "  --max-pixels N           refuse images of more than N pixels (default 2^28)\n"
    "  --max-svg-bytes N        what one drawing, with the drawings and pictures\n"
    "                           embedded in it, may hold in memory and write as\n"
    "                           content: N bytes each (default 64 MB)\n"
    "  -v, --verbose            show the library's log on standard output\n"
    "  -h, --help               this text\n"
    "  --version                the version\n"
    "Options take their value as --opt VALUE or --opt=VALUE; -- ends them.\n"
    "\n"
    "exit status: 0 done; 1 an input could not be read (\"kivuimg: FILE: reason\",\n"
    "unless --fallback), a warning under --strict, or the output could not be\n"
    "written: no output is left; 2 bad arguments.\n";

struct Options {
    std::string command;
    std::vector<std::string> inputs;
    std::string output;
    std::string home;
    std::string format;
    double dpi = 0;  // the image's own resolution, else 96
    bool strict = false;
    bool fallback = false;
    bool firstFrameOnly = false;
    bool verbose = false;
    bool quiet = false;
    bool network = false;
    ColorSpace space = csAuto;
    Rules rules = rulesStandard;
    uint64_t maxPixels = maxImagePixels();
    uint64_t maxSvgBytes = 0;  // the configuration's
    kivutool::PageLayout layout;
    SDocumentInfo info;
    bool fitGiven = false;
};

[[noreturn]] void usageError(const std::string& message) {
    std::fprintf(stderr, "kivuimg: %s\n(try 'kivuimg --help')\n", message.c_str());
    std::exit(2);
}

[[noreturn]] void help() {
    std::fputs(kUsage, stdout);
    std::exit(0);
}

// Options that take no value; false when `a` is none of them.
bool flag(const std::string& a, Options& o) {
    if (a == "-h" || a == "--help") help();
    if (a == "--version") {
        std::printf("kivuimg %s\n", KIVU_VERSION);
        std::exit(0);
    }
    bool* target = a == "--strict" ? &o.strict
                   : a == "--fallback" ? &o.fallback
                   : a == "--first-frame-only" ? &o.firstFrameOnly
                   : a == "-v" || a == "--verbose" ? &o.verbose
                   : a == "-q" || a == "--quiet" ? &o.quiet
                   : a == "--landscape" ? &o.layout.landscape
                   : a == "--auto-orient" ? &o.layout.autoOrient
                   : a == "--allow-network" ? &o.network
                   : nullptr;
    if (a == "--nodate") {
        o.info.date = false;
        return true;
    }
    if (target) *target = true;
    return target != nullptr;
}

void numberOption(const std::string& a, const std::string& v, Options& o) {
    char* end = nullptr;
    if (a == "--dpi") {
        o.dpi = std::strtod(v.c_str(), &end);
        if (!end || *end || !(o.dpi > 0) || !std::isfinite(o.dpi)) usageError("--dpi needs a positive number");
    } else {
        uint64_t& target = a == "--max-pixels" ? o.maxPixels : o.maxSvgBytes;
        target = std::strtoull(v.c_str(), &end, 10);
        if (v.empty() || v[0] == '-' || !end || *end || target == 0)
            usageError(a + " needs a positive whole number");
    }
}

// Options with a value (takesValue tells which).
void valueOption(const std::string& a, const std::string& v, Options& o) {
    if (a == "-o" || a == "--output") o.output = v;
    else if (a == "--home" || a == "--package") o.home = v;
    else if (a == "--format") o.format = toLower(v);
    else if (a == "--dpi" || a == "--max-pixels" || a == "--max-svg-bytes") numberOption(a, v, o);
    else if (a == "--colorspace") {
        if (v == "rgb") o.space = csRGB;
        else if (v == "cmyk") o.space = csCMYK;
        else if (v == "gray") o.space = csGray;
        else usageError("--colorspace takes rgb, cmyk or gray");
    } else if (a == "--rules") {
        o.rules = str2Rules(v);
        if (rules2Str(o.rules) != toLower(v)) usageError("--rules takes standard or engine");
    } else if (a == "--pagesize") {
        o.layout.pageSize = kivutool::parsePageSize(v, o.layout.pageW, o.layout.pageH);
        if (!o.layout.pageSize) usageError("--pagesize takes A4, A3, A5, Letter, Legal or WxH, not '" + v + "'");
    } else if (a == "--fit") {
        o.fitGiven = true;
        if (!kivutool::parseFit(v, o.layout.fit)) usageError("--fit takes into, fill, exact, shrink or enlarge");
    } else if (a == "--border") {
        if (!kivutool::parseBorder(v, o.layout.borderX, o.layout.borderY)) usageError("--border takes W or W:H");
    } else if (a == "--title") o.info.title = v;
    else if (a == "--author") o.info.author = v;
    else if (a == "--subject") o.info.subject = v;
    else if (a == "--keywords") o.info.keywords = v;
    else if (a == "--creator") o.info.creator = v;
}

bool takesValue(const std::string& a) {
    static const char* const kValued[] = {"-o", "--output", "--home", "--package", "--format", "--dpi", "--max-pixels", "--max-svg-bytes",
                                          "--colorspace", "--rules", "--pagesize", "--fit", "--border", "--title",
                                          "--author", "--subject", "--keywords", "--creator"};
    return std::find(std::begin(kValued), std::end(kValued), a) != std::end(kValued);
}

void checkCombination(const Options& o) {
    if (o.inputs.empty()) usageError("no input");
    if (o.command == "convert" && o.output.empty()) usageError("convert needs -o OUT.pdf");
    if (o.command == "info" && (!o.output.empty() || o.space != csAuto || o.strict))
        usageError("info takes no -o, --colorspace or --strict");
    if ((o.fitGiven || o.layout.landscape) && !o.layout.pageSize) usageError("--fit and --landscape need --pagesize");
    if (std::count(o.inputs.begin(), o.inputs.end(), "-") > 1) usageError("standard input can be read once");
    if (o.output == "-" && o.verbose) usageError("-v writes the log to standard output, which -o - takes");
}

Options parse(int argc, char** argv) {
    Options o;
    if (argc < 2) usageError("missing command");
    o.command = argv[1];
    if (o.command == "-h" || o.command == "--help" || o.command == "--version") flag(o.command, o);
    if (o.command != "convert" && o.command != "info") usageError("unknown command '" + o.command + "'");
    bool options = true;
    for (int i = 2; i < argc; ++i) {
        std::string a = argv[i];
        if (options && a == "--") {
            options = false;
            continue;
        }
        if (!options || a.size() < 2 || a[0] != '-') {
            o.inputs.push_back(a);
            continue;
        }
        const size_t eq = a.rfind("--", 0) == 0 ? a.find('=') : std::string::npos;
        if (eq != std::string::npos) {
            if (!takesValue(a.substr(0, eq))) usageError("unknown option '" + a.substr(0, eq) + "'");
            valueOption(a.substr(0, eq), a.substr(eq + 1), o);
            continue;
        }
        if (flag(a, o)) continue;
        if (!takesValue(a)) usageError("unknown option '" + a + "'");
        if (i + 1 >= argc) usageError(a + " needs a value");
        valueOption(a, argv[++i], o);
    }
    // Without -o the document goes to standard output, when that is no terminal.
    if (o.command == "convert" && o.output.empty() && !isatty(fileno(stdout))) o.output = "-";
    checkCombination(o);
    return o;
}

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

// The EXIF orientation a JPEG's page takes, read before its bytes go.
int orientationOf(const kivutool::PageLayout& layout, TImageFormat& image) {
    const TBuffer* bytes = image.buffer();
    return layout.autoOrient && image.ext() == "JPG" && bytes ? exifOrientation(bytes->bytes()) : 1;
}

// One image on a page of its own, as the layout plans it.
void addPage(TPdfDocument& doc, const kivutool::PageLayout& layout, TImageFormat& image) {
    const int orientation = orientationOf(layout, image);
    const SPageBox size = doc.pictureSize(image, orientation);
    const kivutool::PagePlan plan = kivutool::planPage(layout, size.w, size.h);
    doc.addPage(plan.pageW, plan.pageH);
    doc.placeImage(image, plan.area, layout.pageSize ? layout.fit : Fit::into, orientation);
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
    if (frames <= 1) return addPage(doc, o.layout, image);
    for (int i = 0; i < frames; ++i) {
        std::unique_ptr<TImageFormat> frame = image.frame(i);
        addPage(doc, o.layout, frame ? *frame : image);
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
        addPage(doc, o.layout, *fallback);
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

SDocumentOptions documentOptions(const Options& o) {
    SDocumentOptions options;
    options.dpi = o.dpi > 0 ? o.dpi : 96;
    options.imageResolution = o.dpi <= 0;
    options.space = o.space;
    options.info = o.info;
    options.warn = [](const std::string& text) { std::fprintf(stderr, "kivuimg: warning: %s\n", text.c_str()); };
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
        if (!convertOne(doc, o, input, read(input, o.format))) {
            doc.abandon();
            return 1;
        }
        progress.update(doc.pages(), o.inputs.size(), doc.bytesWritten());
    }
    try {
        doc.close();
        g_partial[0] = 0;
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
    const Options o = parse(argc, argv);
    const std::string home = prepareHome(o);
    maxImagePixels(o.maxPixels);
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
