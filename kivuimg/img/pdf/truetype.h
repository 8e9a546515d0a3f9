// TrueType fonts for text that the standard fonts can't show: found by
// fontconfig for the characters asked, and embedded as a subset made by
// HarfBuzz's subsetter.
//
// The drawing writes such text as UTF-16 codes, two bytes each; the font is
// a Type0 font with Identity-H, so each code is a CID.  CIDToGIDMap maps a
// code to its glyph in the subset and ToUnicode maps it back to the
// character, so the text can be searched and copied.  Codes of characters
// beyond the Basic Multilingual Plane (surrogates) have no glyph.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "kivuimg/commons/objects.h"

namespace kivu::pdf {

// A font file and the face in it.
struct FontFace {
    std::string file;
    int index = 0;
    bool operator<(const FontFace& o) const { return file != o.file ? file < o.file : index < o.index; }
};

// Looks TrueType (glyf) faces up through fontconfig.
class FontFinder {
public:
    FontFinder();
    ~FontFinder();
    FontFinder(const FontFinder&) = delete;
    FontFinder& operator=(const FontFinder&) = delete;

    // The face closest to the families (a CSS list; `generic` is appended:
    // "serif", "sans-serif" or "monospace") that holds every character, or
    // else the most of them; none when no TrueType face holds any.
    bool find(const std::string& families, const std::string& generic, bool bold, bool italic,
              const std::u32string& chars, FontFace& face);
    // The installed face of exactly that family (any format), as fontconfig
    // matches it; none when fontconfig would stand another family in.
    bool findFamily(const std::string& family, bool bold, bool italic, FontFace& face);

private:
    struct Candidates;
    const Candidates& candidates(const std::string& families, const std::string& generic, bool bold, bool italic);

    std::map<std::string, std::unique_ptr<Candidates>> cache_;
    bool used_ = false;  // fontconfig was started, and is ended with the finder
};

// The widths of text in font files, each file read once.
class FontMetrics {
public:
    FontMetrics();
    ~FontMetrics();
    FontMetrics(const FontMetrics&) = delete;
    FontMetrics& operator=(const FontMetrics&) = delete;

    // The advance of the characters in ems; 0 when the file can't be read.
    double advanceEm(const FontFace& face, const std::u32string& chars);

private:
    struct Loaded;
    std::map<FontFace, std::unique_ptr<Loaded>> fonts_;
};

// One embedded font of a document: the codes asked of it so far, and the
// objects written for it at the end.
class EmbeddedFont {
public:
    explicit EmbeddedFont(FontFace face) : face_(std::move(face)) {}

    // Codes the drawing will write with this font.
    void add(const std::u16string& units) { codes_.insert(units.begin(), units.end()); }
    // Fills `type0` (numbered already, since content refers to it) and adds
    // the descendant font, its descriptor, the subset program, CIDToGIDMap
    // and ToUnicode.  Raises when the font can't be read or subset.
    void write(TObjects& objects, TBaseObject& type0);

    const FontFace& face() const { return face_; }

private:
    FontFace face_;
    std::set<char16_t> codes_;
};

// The characters of a UTF-8 text, as code points.
std::u32string codePoints(const std::string& utf8);

}  // namespace kivu::pdf
