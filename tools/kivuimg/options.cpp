#include "options.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iterator>

#include <unistd.h>

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/img/imgformat.h"

namespace kivutool {

using namespace kivu;

namespace {

const char* const kUsage =
    "usage: kivuimg convert [options] INPUT... [-o OUT.pdf]\n"
    "       kivuimg info [options] INPUT...\n"
    "\n"
    "INPUT is an image file (.jpg .jpeg .png .gif .bmp .wmf .svg .svgz),\n"
    "url(http://...), or - for standard input (its format from --format, else\n"
    "told by its first bytes).\n"
    "\n"
    "convert writes one page per input (per frame of an animated GIF); without\n"
    "--pagesize the page is the picture.  Lengths take pt (the default), px, mm,\n"
    "cm or in.\n"
    "  -o, --output FILE        the PDF to write; - for standard output, which is\n"
    "                           also where it goes without -o when that is no\n"
    "                           terminal.  Its folder must exist; an input can't\n"
    "                           be the output\n"
    "  --dpi N                  pixels per inch of every image (default: the\n"
    "                           resolution a photo or scan states, else 96)\n"
    "  --rotation R             auto (default: a JPEG turned as its EXIF\n"
    "                           orientation says), none (as stored), or 0, 90,\n"
    "                           180, 270: every picture turned clockwise so\n"
    "  --pagesize SIZE          A0-A6, B0-B6, Letter, Legal, Tabloid, Ledger, or\n"
    "                           WxH (e.g. 210mmx297mm); ^T after it turns it\n"
    "                           (A4^T is A4 landscape)\n"
    "  --imgsize WxH            the picture's box: a page size, or WxH where W or\n"
    "                           H may be left out (x10cm) and a side may be Ndpi\n"
    "                           (the image's pixels at N per inch); centred on a\n"
    "                           --pagesize page\n"
    "  --fit MODE               with --pagesize or --imgsize: into (default: the\n"
    "                           whole picture, as large as fits), fill (covers\n"
    "                           the box, cut at its edges), exact (stretched to\n"
    "                           it), shrink (into, but never enlarged), enlarge\n"
    "                           (into, but never reduced)\n"
    "  --border W[:H]           margins left/right (W) and top/bottom (H); without\n"
    "                           --pagesize they widen the page\n"
    "  --landscape              with --pagesize: the page's long side across\n"
    "  --auto-orient            each --pagesize page turned to its picture\n"
    "                           (landscape for a wide one); without --pagesize\n"
    "                           every page has its picture's orientation anyway\n"
    "  --width L, --height L    the picture's size (a bare number is in px, 1/96\n"
    "                           in); one of them alone keeps the proportions, both\n"
    "                           stretch it unless --keep-aspect-ratio\n"
    "  --keep-aspect-ratio      with --width and --height: the picture as large as\n"
    "                           fits in them, unstretched\n"
    "  --zoom F                 the picture's natural size times F\n"
    "  --background-color C     paints each page with a CSS colour (black,\n"
    "                           #ffe, rgb(...); default none)\n"
    "  --colorspace rgb|cmyk|gray\n"
    "                           the document's colour space: drawings have their\n"
    "                           colours converted to it, images are drawn in it\n"
    "  --title T, --author A, --subject S, --keywords K, --creator C,\n"
    "  --producer P             the document's Info dictionary (producer by\n"
    "                           default LibKivuImg)\n"
    "  --creationdate D, --moddate D\n"
    "                           its dates: ISO 8601 (2026-11-24, 2026-11-24T09:30Z)\n"
    "                           or D:...; the creation date is by default now\n"
    "  --nodate                 no creation date, for reproducible output\n"
    "  --fallback               an input that can't be read gets a page with the\n"
    "                           fallback picture and a warning with the reason,\n"
    "                           instead of ending the conversion\n"
    "  --strict                 warnings are errors: exit 1, no file\n"
    "  --first-frame-only       an animated GIF gives its first frame only\n"
    "  --rules standard|engine  how drawings (SVG) are read and drawn: by the SVG\n"
    "                           and CSS recommendations, as browsers draw them\n"
    "                           (default), or by the engine's own rules\n"
    "  --allow-network          drawings may fetch their pictures over http(s)\n"
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
                   : a == "--keep-aspect-ratio" ? &o.layout.keepAspect
                   : a == "--allow-network" ? &o.network
                   : nullptr;
    if (a == "--nodate") {
        o.info.date = false;
        return true;
    }
    if (target) *target = true;
    return target != nullptr;
}

double positive(const std::string& a, const std::string& v) {
    char* end = nullptr;
    const double d = std::strtod(v.c_str(), &end);
    if (!end || *end || !(d > 0) || !std::isfinite(d)) usageError(a + " needs a positive number");
    return d;
}

uint64_t positiveWhole(const std::string& a, const std::string& v) {
    char* end = nullptr;
    const uint64_t n = std::strtoull(v.c_str(), &end, 10);
    if (v.empty() || v[0] == '-' || !end || *end || n == 0) usageError(a + " needs a positive whole number");
    return n;
}

// A length of --width or --height: a bare number is in px.
double pictureLength(const std::string& a, const std::string& v) {
    double points = 0;
    if (!parseLength(v, points, 0.75) || !(points > 0)) usageError(a + " takes a positive length, not '" + v + "'");
    return points;
}

void rotationOption(const std::string& v, Options& o) {
    const std::string r = toLower(v);
    if (r == "auto" || r == "ifvalid") o.rotation = kRotationAuto;
    else if (r == "none" || r == "0") o.rotation = 0;
    else if (r == "90" || r == "180" || r == "270") o.rotation = std::atoi(r.c_str());
    else usageError("--rotation takes auto, none, 0, 90, 180 or 270");
}

std::string dateOption(const std::string& a, const std::string& v) {
    try {
        TPdfDocument::pdfDate(v);
    } catch (const std::exception& e) {
        usageError(a + ": " + e.what());
    }
    return v;
}

// Options of the page and the picture's place on it.
bool layoutOption(const std::string& a, const std::string& v, Options& o) {
    PageLayout& l = o.layout;
    if (a == "--pagesize") {
        l.pageSize = parsePageSize(v, l.pageW, l.pageH);
        if (!l.pageSize)
            usageError("--pagesize takes A0-A6, B0-B6, Letter, Legal, Tabloid, Ledger or WxH, not '" + v + "'");
    } else if (a == "--imgsize") {
        if (!parseImageSize(v, l.imgW, l.imgH)) usageError("--imgsize takes WxH, Wx or xH, not '" + v + "'");
    } else if (a == "--fit") {
        l.fitGiven = true;
        if (!parseFit(v, l.fit)) usageError("--fit takes into, fill, exact, shrink or enlarge");
    } else if (a == "--border") {
        if (!parseBorder(v, l.borderX, l.borderY)) usageError("--border takes W or W:H");
    } else if (a == "--width") l.width = pictureLength(a, v);
    else if (a == "--height") l.height = pictureLength(a, v);
    else if (a == "--zoom") l.zoom = positive(a, v);
    else if (a == "--rotation") rotationOption(v, o);
    else if (a == "--background-color") {
        if (!TPdfDocument::isColor(v)) usageError("--background-color takes a CSS colour, not '" + v + "'");
        o.background = v;
    } else return false;
    return true;
}

// Options with a value (takesValue tells which).
void valueOption(const std::string& a, const std::string& v, Options& o) {
    if (layoutOption(a, v, o)) return;
    if (a == "-o" || a == "--output") o.output = v;
    else if (a == "--home" || a == "--package") o.home = v;
    else if (a == "--format") o.format = toLower(v);
    else if (a == "--dpi") o.dpi = positive(a, v);
    else if (a == "--max-pixels") o.maxPixels = positiveWhole(a, v);
    else if (a == "--max-svg-bytes") o.maxSvgBytes = positiveWhole(a, v);
    else if (a == "--colorspace") {
        const std::string s = toLower(v);
        o.space = s == "rgb" ? csRGB : s == "cmyk" ? csCMYK : s == "gray" || s == "grey" ? csGray : csAuto;
        if (o.space == csAuto) usageError("--colorspace takes rgb, cmyk or gray");
    } else if (a == "--rules") {
        o.rules = str2Rules(v);
        if (rules2Str(o.rules) != toLower(v)) usageError("--rules takes standard or engine");
    } else if (a == "--title") o.info.title = v;
    else if (a == "--author") o.info.author = v;
    else if (a == "--subject") o.info.subject = v;
    else if (a == "--keywords") o.info.keywords = v;
    else if (a == "--creator") o.info.creator = v;
    else if (a == "--producer") o.info.producer = v;
    else if (a == "--creationdate") o.info.creationDate = dateOption(a, v);
    else if (a == "--moddate") o.info.modDate = dateOption(a, v);
}

bool takesValue(const std::string& a) {
    static const char* const kValued[] = {
        "-o",           "--output",      "--home",     "--package",          "--format",    "--dpi",
        "--max-pixels", "--max-svg-bytes", "--colorspace", "--rules",        "--pagesize",  "--imgsize",
        "--fit",        "--border",      "--width",    "--height",           "--zoom",      "--rotation",
        "--background-color", "--title", "--author",   "--subject",          "--keywords",  "--creator",
        "--producer",   "--creationdate", "--moddate"};
    return std::find(std::begin(kValued), std::end(kValued), a) != std::end(kValued);
}

void checkCombination(const Options& o) {
    const PageLayout& l = o.layout;
    if (o.inputs.empty()) usageError("no input");
    if (o.command == "convert" && o.output.empty()) usageError("convert needs -o OUT.pdf");
    if (o.command == "info" && (!o.output.empty() || o.space != csAuto || o.strict))
        usageError("info takes no -o, --colorspace or --strict");
    const bool imgSize = l.imgW.value > 0 || l.imgH.value > 0;
    if (l.fitGiven && !l.pageSize && !imgSize) usageError("--fit needs --pagesize or --imgsize");
    // --auto-orient alone is no error: a page without --pagesize takes its
    // picture's orientation anyway.
    if (l.landscape && !l.pageSize) usageError("--landscape needs --pagesize");
    if (l.landscape && l.autoOrient) usageError("--landscape and --auto-orient exclude each other");
    const bool sized = l.width > 0 || l.height > 0;
    if (imgSize + sized + (l.zoom > 0) > 1) usageError("--imgsize, --width/--height and --zoom exclude each other");
    if (l.keepAspect && !(l.width > 0 && l.height > 0)) usageError("--keep-aspect-ratio needs --width and --height");
    if (std::count(o.inputs.begin(), o.inputs.end(), "-") > 1) usageError("standard input can be read once");
    if (o.output == "-" && o.verbose) usageError("-v writes the log to standard output, which -o - takes");
}

}  // namespace

Options parse(int argc, char** argv) {
    Options o;
    if (argc < 2) usageError("missing command");
    o.command = argv[1];
    if (o.command == "-h" || o.command == "--help" || o.command == "--version") flag(o.command, o);
    if (o.command != "convert" && o.command != "info") usageError("unknown command '" + o.command + "'");
    bool options = true;
    for (int i = 2; i < argc; ++i) {
        const std::string a = argv[i];
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

}  // namespace kivutool
