#include "kivuimg/commons/content.h"

#include <charconv>
#include <cmath>

namespace kivu {

void appendFixed(TMemory& out, double v, int decimals) {
    if (!std::isfinite(v)) v = 0.0;
    // to_chars with a precision prints exactly what printf's "%.Nf" prints.
    char text[352];
    const auto res = std::to_chars(text, text + sizeof text, v, std::chars_format::fixed, decimals);
    out.addChars(std::string_view(text, static_cast<size_t>(res.ptr - text)));
}

void appendFixed3(TMemory& out, double v) { appendFixed(out, v, 3); }

std::string pdfNumber(double v, int decimals) {
    if (!std::isfinite(v)) v = 0.0;
    char text[352];
    const auto res = std::to_chars(text, text + sizeof text, v, std::chars_format::fixed, decimals);
    std::string s(text, static_cast<size_t>(res.ptr - text));
    if (s.find('.') != std::string::npos) {
        while (s.back() == '0') s.pop_back();
        if (s.back() == '.') s.pop_back();
    }
    return s == "-0" ? "0" : s;
}

TContent& TContent::num(double v, int decimals) {
    appendFixed(out_, v, decimals);
    out_.addByte(' ');
    return *this;
}

TContent& TContent::num(double v) {
    appendFixed3(out_, v);
    out_.addByte(' ');
    return *this;
}

TContent& TContent::num(int64_t v) {
    char text[32];
    const char* end = std::to_chars(text, text + sizeof text, v).ptr;
    out_.addChars(std::string_view(text, static_cast<size_t>(end - text)));
    out_.addByte(' ');
    return *this;
}

TContent& TContent::op(std::string_view name, char after) {
    out_.addChars(name);
    out_.addByte(static_cast<uint8_t>(after));
    return *this;
}

}  // namespace kivu
