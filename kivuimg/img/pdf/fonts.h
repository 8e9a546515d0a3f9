// The fonts of a document, as the host gives them to drawings.  A drawing's
// text asks for a family, a weight and a style (SRawFont); FontBook answers
// each request with a font resource number ("/F<n>") and the form in which
// the drawing writes its string:
//
// - text that Windows-1252 holds gets one of the standard 14 fonts (Times,
//   Helvetica or Courier in the asked face), written once per document with
//   WinAnsiEncoding, and the Windows-1252 string form;
// - other text (Greek, Cyrillic, CJK) gets a TrueType font that fontconfig
//   finds for its characters, embedded as a subset (Type0, Identity-H, the
//   UTF-16 codes as CIDs, with CIDToGIDMap and ToUnicode), and the UTF-16
//   string form.  One subset per font file and document holds every
//   character asked of it, so it is written when the document ends.  With
//   no such font installed the text falls back to a standard font, where
//   the characters Windows-1252 lacks show as "?".
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "kivuimg/commons/objects.h"
#include "kivuimg/img/pdf/truetype.h"
#include "kivuimg/img/rawfont.h"

namespace kivu::pdf {

class EmbeddedFont;
class FontFinder;
class FontMetrics;

// The base font name of the standard 14 font for a family list, a weight
// and a style: "Helvetica-Bold", "Times-Roman", "Courier-Oblique" ...
std::string standardFontName(const std::string& family, const std::string& weight, const std::string& style);

class FontBook {
public:
    // Warnings (a text no installed font holds, a font that can't be
    // embedded) go to `warn`.
    using Warn = std::function<void(const std::string&)>;
    FontBook(TObjects& objects, Warn warn);
    ~FontBook();
    FontBook(const FontBook&) = delete;
    FontBook& operator=(const FontBook&) = delete;

    // The request with its font number, string form and advance filled in
    // (the advance measured in the installed face of the answered font: for
    // the standard fonts, their URW clones, which have their widths).
    SRawFont answer(const SRawFont& request);
    // The object of resource "/F<id>"; id 0 (a run the host's answer didn't
    // reach) is the document's default font.  0 for an unknown id.
    uint64_t objectNumber(int fontId);
    // Whether the object waits for finish(): embedded fonts do.
    bool deferred(uint64_t number) const;
    // Writes the embedded fonts, each a subset of what was asked of it.
    void finish();

private:
    int standardFont(const std::string& baseFont);
    int embeddedFont(const SRawFont& request);
    double standardAdvance(const std::string& baseFont, const std::string& text);

    TObjects& objects_;
    Warn warn_;
    std::unique_ptr<FontFinder> finder_;
    std::unique_ptr<FontMetrics> metrics_;
    // Resource "/F<k>" is entry k - 1; each holds an object number.
    std::vector<uint64_t> resources_;
    std::map<std::string, int> standard_;    // base font name -> id
    std::map<std::string, FontFace> clones_;  // base font name -> its URW clone; no file when none
    std::map<std::string, int> byFile_;      // font file -> id
    std::map<int, std::unique_ptr<EmbeddedFont>> embedded_;
    std::set<uint64_t> deferred_;
    bool warned_ = false;
};

}  // namespace kivu::pdf
