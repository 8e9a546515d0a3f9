#include "kivuimg/commons/core/cstr.h"

#include <cctype>
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

}  // namespace kivu
