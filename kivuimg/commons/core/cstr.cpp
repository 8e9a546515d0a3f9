#include "kivuimg/commons/core/cstr.h"

#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace kivu {

std::string vsformat(const char* fmt, va_list args) {
    char small[256];
    va_list copy;
    va_copy(copy, args);
    const int n = std::vsnprintf(small, sizeof small, fmt, copy);
    va_end(copy);
    if (n < 0) return std::string();
    if (static_cast<size_t>(n) < sizeof small) return std::string(small, static_cast<size_t>(n));
    std::string out(static_cast<size_t>(n), '\0');
    std::vsnprintf(out.data(), out.size() + 1, fmt, args);
    return out;
}

std::string sformat(const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    std::string s = vsformat(fmt, args);
    va_end(args);
    return s;
}

void throwf(const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    std::string s = vsformat(fmt, args);
    va_end(args);
    throw KivuException(s);
}

char* cStr(std::string_view s) {
    char* p = static_cast<char*>(std::malloc(s.size() + 1));
    if (!p) return nullptr;
    if (!s.empty()) std::memcpy(p, s.data(), s.size());
    p[s.size()] = '\0';
    return p;
}

char* c_str(const std::string& s) { return cStr(s); }

std::string toLower(std::string_view s) {
    std::string out(s);
    for (auto& c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return out;
}

std::string toUpper(std::string_view s) {
    std::string out(s);
    for (auto& c : out) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return out;
}

std::string strip(std::string_view s) {
    size_t b = 0, e = s.size();
    while (b < e && std::isspace(static_cast<unsigned char>(s[b]))) ++b;
    while (e > b && std::isspace(static_cast<unsigned char>(s[e - 1]))) --e;
    return std::string(s.substr(b, e - b));
}

bool startsWith(std::string_view s, std::string_view prefix) { return s.substr(0, prefix.size()) == prefix; }

bool endsWith(std::string_view s, std::string_view suffix) {
    return s.size() >= suffix.size() && s.substr(s.size() - suffix.size()) == suffix;
}

bool isNumeric(std::string_view s) {
    size_t i = 0;
    if (i < s.size() && (s[i] == '+' || s[i] == '-')) ++i;
    const std::string word = toLower(s.substr(i));
    if (word == "nan" || word == "inf" || word == "infinity") return true;
    size_t digits = 0;
    while (i < s.size() && s[i] >= '0' && s[i] <= '9') ++i, ++digits;
    if (i < s.size() && s[i] == '.') {
        ++i;
        while (i < s.size() && s[i] >= '0' && s[i] <= '9') ++i, ++digits;
    }
    if (digits == 0) return false;
    if (i < s.size() && (s[i] == 'e' || s[i] == 'E')) {
        ++i;
        if (i < s.size() && (s[i] == '+' || s[i] == '-')) ++i;
        size_t exp = 0;
        while (i < s.size() && s[i] >= '0' && s[i] <= '9') ++i, ++exp;
        if (exp == 0) return false;
    }
    return i == s.size();
}

float toFloat(std::string_view s) {
    if (!isNumeric(s)) throwf("Invalid number '%.*s'", static_cast<int>(s.size()), s.data());
    // from_chars knows no leading "+".
    std::string_view body = s;
    if (!body.empty() && body[0] == '+') body.remove_prefix(1);
    float value = 0.0f;
    auto res = std::from_chars(body.data(), body.data() + body.size(), value);
    if (res.ec == std::errc()) return value;
    // Out of float range: a value too small to hold reads as zero, one too
    // large is no number the library can use.
    double wide = 0.0;
    res = std::from_chars(body.data(), body.data() + body.size(), wide);
    const bool tiny = res.ec == std::errc() ? std::fabs(wide) < 1.0 : body.find("e-") != std::string_view::npos ||
                                                                           body.find("E-") != std::string_view::npos;
    if (!tiny) throwf("Invalid number '%.*s'", static_cast<int>(s.size()), s.data());
    return body[0] == '-' ? -0.0f : 0.0f;
}

int32_t toInt(std::string_view s) {
    std::string_view body = s;
    if (!body.empty() && body[0] == '+') body.remove_prefix(1);
    int32_t value = 0;
    const auto [end, ec] = std::from_chars(body.data(), body.data() + body.size(), value);
    if (body.empty() || ec != std::errc() || end != body.data() + body.size())
        throwf("Invalid number '%.*s'", static_cast<int>(s.size()), s.data());
    return value;
}

}  // namespace kivu
