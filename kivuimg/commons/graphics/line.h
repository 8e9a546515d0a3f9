// A line with its style: width, pattern, colour, cap and join.
#pragma once

#include <cstdint>
#include <string>

#include "kivuimg/commons/core/export.h"
#include "kivuimg/commons/graphics/color.h"
#include "kivuimg/commons/unit.h"

namespace kivu {

enum LineStyle : int32_t {
    lsNone = 0,
    lsSolid = 1,
    lsDouble = 2,
    lsDotted = 3,
    lsDashed = 4,
    lsRidge = 5,
    lsInsert = 6,
};

enum LineCapStyle : int32_t { lcButt = 0, lcRound = 1, lcSquare = 2 };

enum LineJoinStyle : int32_t { ljMiter = 0, ljRound = 1, ljBevel = 2 };

// The str2 functions read any case; unknown text gives value 0.
KIVU_API LineStyle str2LineStyle(const std::string& s);
KIVU_API std::string lineStyle2Str(LineStyle v);
KIVU_API LineCapStyle str2LineCapStyle(const std::string& s);
KIVU_API std::string lineCapStyle2Str(LineCapStyle v);
// "0 J", "1 J", "2 J"; "" for other values.
KIVU_API std::string lineCapStyle2PDF(LineCapStyle v);
KIVU_API LineJoinStyle str2LineJoinStyle(const std::string& s);
KIVU_API std::string lineJoinStyle2Str(LineJoinStyle v);
// " 0 j" (with the leading blank), "1 j", "2 j"; "" for other values.
KIVU_API std::string lineJoinStyle2PDF(LineJoinStyle v);

// An image placed along a line or in a box, with its position.
struct KIVU_API SPositionableImage {
    std::string src;
    SUnit x;
    SUnit y;

    bool operator==(const SPositionableImage& other) const = default;
    size_t toHash() const;
};

struct KIVU_API SLine {
    SUnit width;
    LineStyle style = lsNone;
    SColor color;
    LineCapStyle cap = lcButt;
    LineJoinStyle join = ljMiter;
    SPositionableImage image;

    // Width "none", no style, colour "none", square cap, miter join.
    static SLine none();
    // Width "0.5pt", solid, black, butt cap, miter join.
    static SLine def();
    // Width "auto", solid, colour "auto", butt cap, miter join.
    static SLine autom();
    // Up to five words split at blanks: width, style, colour, cap, join.
    // Missing words give "none", "solid", "black", "butt", "miter".
    static SLine byStyle(const std::string& text);

    bool enabled() const { return style != lsNone; }
    // Width by its length in points (two widths without a length, such as
    // "none" and "auto", count as equal), style, colour, cap and join; the
    // image is not compared.
    bool operator==(const SLine& other) const;
};

}  // namespace kivu
