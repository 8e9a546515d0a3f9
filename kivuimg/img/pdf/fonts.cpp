#include "kivuimg/img/pdf/fonts.h"

#include <unistd.h>

#include "kivuimg/commons/core/buffer.h"
#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/core/regex.h"
#include "kivuimg/commons/indirectobj.h"
#include "kivuimg/img/pdf/truetype.h"


namespace kivu::pdf {

namespace {

// The string forms of the drawing's text that the host names: UTF-16 codes
// for the embedded fonts, Windows-1252 bytes for the standard ones (any
// value the drawing doesn't read as UTF-16 or as indexed bytes).
constexpr uint8_t kUtf16Form = 0;
constexpr uint8_t kWindows1252Form = 3;

enum class Generic { serif, sans, mono };

// Families by the standard font that stands in for them.
const struct {
    const char* family;
    Generic generic;
} kFamilies[] = {
    {"sans-serif", Generic::sans},   {"arial", Generic::sans},          {"helvetica", Generic::sans},
    {"verdana", Generic::sans},      {"tahoma", Generic::sans},         {"trebuchet ms", Generic::sans},
    {"segoe ui", Generic::sans},     {"calibri", Generic::sans},        {"open sans", Generic::sans},
    {"roboto", Generic::sans},       {"liberation sans", Generic::sans}, {"dejavu sans", Generic::sans},
    {"noto sans", Generic::sans},    {"lucida grande", Generic::sans},  {"geneva", Generic::sans},
    {"serif", Generic::serif},       {"times", Generic::serif},         {"times new roman", Generic::serif},
    {"georgia", Generic::serif},     {"garamond", Generic::serif},      {"cambria", Generic::serif},
    {"palatino", Generic::serif},    {"book antiqua", Generic::serif},  {"liberation serif", Generic::serif},
    {"dejavu serif", Generic::serif}, {"noto serif", Generic::serif},
    {"monospace", Generic::mono},    {"courier", Generic::mono},        {"courier new", Generic::mono},
    {"consolas", Generic::mono},     {"menlo", Generic::mono},          {"monaco", Generic::mono},
    {"lucida console", Generic::mono}, {"liberation mono", Generic::mono}, {"dejavu sans mono", Generic::mono},
};

// The first family of a CSS list that names a kind; then words inside the
// names; Times when nothing is known (the drawing's default is "times").
Generic genericOf(const std::string& families) {
    std::vector<std::string> names;
    for (const std::string& piece : regSplit(",", toLower(families), "")) {
        std::string name = strip(piece);
        std::erase(name, '"');
        std::erase(name, '\'');
        names.push_back(strip(name));
    }
    for (const std::string& name : names)
        for (const auto& known : kFamilies)
            if (name == known.family) return known.generic;
    for (const std::string& name : names) {
        if (name.find("mono") != std::string::npos || name.find("courier") != std::string::npos) return Generic::mono;
        if (name.find("sans") != std::string::npos) return Generic::sans;
    }
    return Generic::serif;
}

bool isBold(const std::string& weight) {
    const std::string w = toLower(strip(weight));
    if (w == "bold" || w == "bolder") return true;
    return isNumeric(w) && toFloat(w) >= 600;
}

bool isItalic(const std::string& style) {
    const std::string s = toLower(strip(style));
    return s == "italic" || s == "oblique";
}

const char* genericName(Generic g) {
    return g == Generic::sans ? "sans-serif" : g == Generic::mono ? "monospace" : "serif";
}

}  // namespace

std::string standardFontName(const std::string& family, const std::string& weight, const std::string& style) {
    const bool bold = isBold(weight), italic = isItalic(style);
    switch (genericOf(family)) {
        case Generic::sans:
            return std::string("Helvetica") + (bold || italic ? "-" : "") + (bold ? "Bold" : "") + (italic ? "Oblique" : "");
        case Generic::mono:
            return std::string("Courier") + (bold || italic ? "-" : "") + (bold ? "Bold" : "") + (italic ? "Oblique" : "");
        case Generic::serif: break;
    }
    if (bold) return italic ? "Times-BoldItalic" : "Times-Bold";
    return italic ? "Times-Italic" : "Times-Roman";
}

FontBook::FontBook(TObjects& objects, Warn warn)
    : objects_(objects),
      warn_(std::move(warn)),
      finder_(std::make_unique<FontFinder>()),
      metrics_(std::make_unique<FontMetrics>()) {}

FontBook::~FontBook() = default;

int FontBook::standardFont(const std::string& baseFont) {
    auto it = standard_.find(baseFont);
    if (it != standard_.end()) return it->second;
    TIndirectObject* font = objects_.add(0);
    font->comment("Font/" + baseFont);
    font->set("Type", "/Font");
    font->set("Subtype", "/Type1");
    font->set("BaseFont", "/" + baseFont);
    font->set("Encoding", "/WinAnsiEncoding");
    resources_.push_back(font->num());
    const int id = static_cast<int>(resources_.size());
    standard_[baseFont] = id;
    return id;
}

// The embedded font for text that Windows-1252 can't hold; 0 when no
// installed TrueType face holds any of its characters.
int FontBook::embeddedFont(const SRawFont& request) {
    FontFace face;
    const std::u32string chars = codePoints(request.text);
    if (!finder_->find(request.family, genericName(genericOf(request.family)), isBold(request.weight),
                       isItalic(request.style), chars, face))
        return 0;
    const std::string key = face.file + "#" + std::to_string(face.index);
    auto it = byFile_.find(key);
    int id = 0;
    if (it != byFile_.end()) {
        id = it->second;
    } else {
        // The Type0 font is numbered now, since the content names it, and
        // written at the end, when every character asked of it is known.
        TIndirectObject* type0 = objects_.add(0);
        type0->comment("Font/Type0");
        deferred_.insert(type0->num());
        resources_.push_back(type0->num());
        id = static_cast<int>(resources_.size());
        byFile_[key] = id;
        embedded_[id] = std::make_unique<EmbeddedFont>(face);
    }
    embedded_[id]->add(utf8ToUtf16(request.text));
    return id;
}

namespace {

// The clone where Debian's fonts-urw-base35 puts it: found without starting
// fontconfig, whose configuration takes a one-file conversion about 6 ms
// to read.
bool packagedClone(const std::string& family, bool bold, bool italic, FontFace& face) {
    std::string file = family;
    std::erase(file, ' ');
    file = "/usr/share/fonts/opentype/urw-base35/" + file + "-" +
           (bold ? (italic ? "BoldItalic" : "Bold") : (italic ? "Italic" : "Regular")) + ".otf";
    if (access(file.c_str(), R_OK) != 0) return false;
    face = FontFace{file, 0};
    return true;
}

}  // namespace

double FontBook::standardAdvance(const std::string& baseFont, const std::string& text) {
    auto it = clones_.find(baseFont);
    if (it == clones_.end()) {
        const char* family = startsWith(baseFont, "Helvetica") ? "Nimbus Sans"
                             : startsWith(baseFont, "Courier") ? "Nimbus Mono PS"
                                                               : "Nimbus Roman";
        const bool bold = baseFont.find("Bold") != std::string::npos;
        const bool italic =
            baseFont.find("Italic") != std::string::npos || baseFont.find("Oblique") != std::string::npos;
        FontFace face;
        if (!packagedClone(family, bold, italic, face) && !finder_->findFamily(family, bold, italic, face))
            face.file.clear();
        it = clones_.emplace(baseFont, face).first;
    }
    return it->second.file.empty() ? 0 : metrics_->advanceEm(it->second, codePoints(text));
}

SRawFont FontBook::answer(const SRawFont& request) {
    SRawFont font = request;
    if (!fitsWindows1252(request.text)) {
        if (const int id = embeddedFont(request)) {
            font.fontId = id;
            font.encoding = kUtf16Form;
            font.advance = metrics_->advanceEm(embedded_[id]->face(), codePoints(request.text));
            return font;
        }
        if (!warned_)
            warn_(sformat("no TrueType font holds the text '%s': it is drawn with a standard font, "
                          "where characters outside Windows-1252 show as '?'",
                          request.text.c_str()));
        warned_ = true;
    }
    const std::string baseFont = standardFontName(request.family, request.weight, request.style);
    font.fontId = standardFont(baseFont);
    font.encoding = kWindows1252Form;
    font.advance = standardAdvance(baseFont, request.text);
    return font;
}

uint64_t FontBook::objectNumber(int fontId) {
    if (fontId == 0) fontId = standardFont(standardFontName("times", "normal", "normal"));
    if (fontId < 0 || static_cast<size_t>(fontId) > resources_.size()) return 0;
    return resources_[static_cast<size_t>(fontId) - 1];
}

bool FontBook::deferred(uint64_t number) const { return deferred_.count(number) != 0; }

void FontBook::finish() {
    for (auto& [id, font] : embedded_) {
        TBaseObject* type0 = objects_.get(resources_[static_cast<size_t>(id) - 1]);
        try {
            font->write(objects_, *type0);
        } catch (const std::exception& e) {
            // The font went away or is broken: the object still resolves.
            warn_(std::string(e.what()) + "; its text is drawn with Times");
            type0->set("Type", "/Font");
            type0->set("Subtype", "/Type1");
            type0->set("BaseFont", "/Times-Roman");
        }
    }
    embedded_.clear();
    deferred_.clear();
}

}  // namespace kivu::pdf
