#include "kivuimg/commons/graphics/line.h"

#include <vector>

#include "kivuimg/commons/enumtable.h"
#include "kivuimg/commons/graphics/valueutil.h"

namespace kivu {

namespace {

// The PDF codes of caps and joins are tables of their own over the same values.
enum LineCapPDF : int32_t {};
enum LineJoinPDF : int32_t {};

KIVU_ENUM_TABLE(LineStyle, {.names = {"none", "solid", "double", "dotted", "dashed", "ridge", "insert"}})
KIVU_ENUM_TABLE(LineCapStyle, {.names = {"butt", "round", "square"}})
KIVU_ENUM_TABLE(LineJoinStyle, {.names = {"miter", "round", "bevel"}})
KIVU_ENUM_TABLE(LineCapPDF, {.names = {"0 J", "1 J", "2 J"}, .namesAreWords = false})
KIVU_ENUM_TABLE(LineJoinPDF, {.names = {" 0 j", "1 j", "2 j"}, .namesAreWords = false})

std::vector<std::string> words(const std::string& text, size_t limit) {
    std::vector<std::string> out;
    size_t i = 0;
    while (i < text.size() && out.size() < limit) {
        while (i < text.size() && text[i] == ' ') ++i;
        const size_t start = i;
        while (i < text.size() && text[i] != ' ') ++i;
        if (i > start) out.emplace_back(text, start, i - start);
    }
    return out;
}

}  // namespace

KIVU_ENUM_STR(LineStyle, lineStyle2Str, str2LineStyle)
KIVU_ENUM_STR(LineCapStyle, lineCapStyle2Str, str2LineCapStyle)
KIVU_ENUM_STR(LineJoinStyle, lineJoinStyle2Str, str2LineJoinStyle)

std::string lineCapStyle2PDF(LineCapStyle v) { return tableLineCapPDF().toStr(static_cast<LineCapPDF>(v)); }
std::string lineJoinStyle2PDF(LineJoinStyle v) { return tableLineJoinPDF().toStr(static_cast<LineJoinPDF>(v)); }

size_t SPositionableImage::toHash() const {
    size_t h = std::hash<std::string>{}(src);
    hashCombine(h, x.toHash());
    hashCombine(h, y.toHash());
    return h;
}

SLine SLine::none() {
    SLine l;
    l.width = SUnit("none");
    l.style = lsNone;
    l.color = SColor("none");
    l.cap = lcSquare;
    l.join = ljMiter;
    return l;
}

SLine SLine::def() {
    SLine l;
    l.width = SUnit("0.5pt");
    l.style = lsSolid;
    l.color = SColor("black");
    return l;
}

SLine SLine::autom() {
    SLine l;
    l.width = SUnit("auto");
    l.style = lsSolid;
    l.color = SColor("auto");
    return l;
}

SLine SLine::byStyle(const std::string& text) {
    const std::vector<std::string> w = words(text, 5);
    auto word = [&](size_t i, const char* fallback) { return i < w.size() ? w[i] : std::string(fallback); };
    SLine l;
    l.width = SUnit(word(0, "none"));
    l.style = str2LineStyle(word(1, "solid"));
    l.color = SColor(word(2, "black"));
    l.cap = str2LineCapStyle(word(3, "butt"));
    l.join = str2LineJoinStyle(word(4, "miter"));
    return l;
}

bool SLine::operator==(const SLine& other) const {
    return sameFloat(width.pt(), other.width.pt()) && style == other.style && color == other.color && cap == other.cap && join == other.join;
}

}  // namespace kivu
