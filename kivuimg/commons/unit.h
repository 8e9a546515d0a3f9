// Measures with units.  A measure stays the text the document gave ("12pt",
// "2.5cm", "50%", "auto") and is converted on demand.
#pragma once

#include <cstdint>
#include <string>

#include "kivuimg/commons/core/export.h"

namespace kivu {

enum Unit : int32_t {
    uNone = 0,  // a plain number, or nothing recognised
    uPt = 1,
    uMm = 2,
    uCm = 3,
    uIn = 4,
    uPercent = 5,
    uFs = 6,
    uPx = 7,
    uStar = 8,
    uRad = 9,
    uDeg = 10,
    uAuto = 11,
    uInline = 12,
};

// The unit a measure text names.  The text is lower-cased and tested in a
// fixed order; a unit word counts only where it stands after index 0, so a
// word alone is no unit.
KIVU_API Unit unit(const std::string& text);
// The spelling of a unit; "" for uNone and for values outside the enumeration.
KIVU_API std::string sUnit(Unit u);

struct KIVU_API SUnit {
    std::string text;

    SUnit() = default;
    explicit SUnit(const std::string& t) : text(t) {}
    explicit SUnit(const char* t) : text(t) {}
    // "%.2fpt" of the number: two decimals survive.
    explicit SUnit(float points);
    SUnit& operator()(float points);
    // "%dpx".
    static SUnit PX(int pixels);

    // The float in a text: "auto" and "none" give NaN, every character other
    // than digits, "-", "." and "," is dropped, "," reads as ".", only the
    // first "." is kept.  Throws KivuException when the rest is no number.
    static float number(const std::string& text);
    // A stricter double: NaN for an empty text or one with a character other
    // than digits, "+", "-", ".", "'".  Throws KivuException when the text
    // passes that filter but is no number.
    static double realNumber(const std::string& text);

    Unit unit() const { return kivu::unit(text); }
    bool isStaticDimension() const;
    bool isRelative() const;
    // A new measure: "auto" when there is no number, the share of `total`
    // in points ("%.6fpt") for % and fs, otherwise a copy.
    SUnit isPercent(float total) const;

    float pt() const;
    // The fraction of a percentage (n / 100); NaN for other units.
    float pc() const;
    float rad() const;
    float deg() const;
    float mm() const;
    float cm() const;
    float inc() const;
    float any() const;
    // Pixels at 1.333 px a point, truncated towards zero.  A measure without
    // a number ("auto") gives 0; values beyond the int range saturate.
    int32_t px() const;
    // Pixels and plain numbers times `factor`; other units as pt().
    float dpiPixel2Pt(float factor) const;

    bool operator==(const SUnit& other) const { return text == other.text; }
    size_t toHash() const;
};

}  // namespace kivu
