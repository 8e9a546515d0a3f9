// The value grammar of SVG and CSS under the standard rules: numbers as the
// SVG grammar writes them (a sign or a second dot starts the next number,
// exponents, arc flags without separators), lengths with every unit,
// colours as CSS knows them, paints, transform lists, view boxes and
// preserveAspectRatio.  Every parser answers false for text it can't read
// whole, so that a caller can treat the value as not given; none raises.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "kivuimg/commons/graphics/matrix.h"

namespace kivu::stdsvg {

// A cursor over text of numbers.
class TNumberScanner {
public:
    explicit TNumberScanner(std::string_view text) : text_(text) {}

    // White space, then at most one comma and white space again.
    void skipSeparator();
    void skipSpace();
    bool atEnd() {
        skipSpace();
        return pos_ >= text_.size();
    }
    // A number by the SVG grammar; false, with the cursor where it was, when
    // none stands here.
    bool number(double& v);
    // An arc flag: one "0" or "1", which needs no separator behind it.
    bool flag(bool& v);
    char peek() const { return pos_ < text_.size() ? text_[pos_] : '\0'; }
    void advance() { ++pos_; }
    size_t position() const { return pos_; }
    std::string_view rest() const { return text_.substr(pos_); }

private:
    std::string_view text_;
    size_t pos_ = 0;
};

// The length of the longest number by the SVG grammar at the start of
// `text` (0 when none).
size_t numberLength(std::string_view text);
// A whole text that is one number, white space around allowed.
bool parseNumber(std::string_view text, double& v);
// Numbers separated by white space or commas; false when anything else
// stands in the text, `out` then holds those read before it.
bool parseNumberList(std::string_view text, std::vector<double>& out);

enum class LengthUnit : uint8_t { none, px, pt, pc, mm, cm, in, em, ex, percent };

struct SLength {
    double value = 0;
    LengthUnit unit = LengthUnit::none;
    bool operator==(const SLength&) const = default;
};

// One length, white space around allowed: "12", "1.5em", "50%", "2mm".
bool parseLength(std::string_view text, SLength& out);
// Lengths separated by white space or commas.
bool parseLengthList(std::string_view text, std::vector<SLength>& out);
// In user units (CSS pixels): em against `fontSize`, ex as half of it, %
// against `percentBase`.
double toUserUnits(const SLength& length, double fontSize, double percentBase);

struct SRgba {
    float r = 0, g = 0, b = 0, a = 1;
    bool operator==(const SRgba&) const = default;
};

// A CSS colour: a name in any case, "#rgb", "#rgba", "#rrggbb",
// "#rrggbbaa", rgb()/rgba()/hsl()/hsla() with numbers or percentages,
// commas or blanks, "transparent".  A trailing "icc-color(...)" is passed
// over.  "currentColor" is not a colour here (see SPaint).
bool parseColor(std::string_view text, SRgba& out);

struct SPaint {
    enum Kind : uint8_t { none, color, currentColor, url };
    Kind kind = none;
    SRgba rgba;
    std::string id;  // of url(#id)
    // What a url() falls back to when its target can't paint.
    Kind fallback = none;
    bool hasFallback = false;
    SRgba fallbackRgba;
};

// "none", "currentColor", a colour, or "url(#id)" with an optional
// fallback ("none", "currentColor" or a colour).
bool parsePaint(std::string_view text, SPaint& out);

// An SVG transform list: matrix, translate, scale, rotate (with a centre),
// skewX and skewY, the numbers by the SVG grammar.  False for a list in
// error: SVG draws it as no transform.
bool parseTransform(std::string_view text, SMatrix& out);

struct SViewBox {
    double x = 0, y = 0, w = 0, h = 0;
};
// Four numbers; false for any other count or a negative width or height.
bool parseViewBox(std::string_view text, SViewBox& out);

struct SAspectRatio {
    // 0 min, 1 mid, 2 max; none stretches.
    uint8_t x = 1, y = 1;
    bool none = false;
    bool slice = false;
};
// "[defer] <align> [meet|slice]"; false when it doesn't read.
bool parseAspectRatio(std::string_view text, SAspectRatio& out);
// The transformation that fits a view box into a viewport.
SMatrix viewBoxTransform(const SViewBox& box, const SAspectRatio& aspect, double x, double y, double width,
                         double height);

// The id of a local reference: "#id", "url(#id)", "url('#id')" (white
// space allowed inside the brackets).  "" for anything else.
std::string localId(std::string_view text);

// Text without white space at either end (CSS white space: blank, tab,
// line feed, carriage return, form feed).
std::string_view trimSpace(std::string_view text);
bool isSpace(char c);
// The words of a list separated by white space (and commas when asked).
std::vector<std::string_view> words(std::string_view text, bool commas = false);
bool containsWord(std::string_view list, std::string_view word);
// ASCII lower case.
std::string lowerAscii(std::string_view text);
bool equalsIgnoreCase(std::string_view a, std::string_view b);

}  // namespace kivu::stdsvg
