// C strings at the library boundary, printf-style formatting, and the
// exception type that carries a message text.
#pragma once

#include <cstdarg>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace kivu {

// Every failure of the library is an exception that carries only its message.
class KivuException : public std::runtime_error {
public:
    explicit KivuException(const std::string& message) : std::runtime_error(message) {}
};

// printf-style formatting into a std::string.
std::string sformat(const char* fmt, ...) __attribute__((format(printf, 1, 2)));
std::string vsformat(const char* fmt, va_list args);

// Throws KivuException with a printf-formatted message.
[[noreturn]] void throwf(const char* fmt, ...) __attribute__((format(printf, 1, 2)));

// NUL-terminated copies from the C heap, for names that cross the C boundary.
char* c_str(const std::string& s);
char* cStr(std::string_view s);

std::string toLower(std::string_view s);
std::string toUpper(std::string_view s);
std::string strip(std::string_view s);
bool startsWith(std::string_view s, std::string_view prefix);
bool endsWith(std::string_view s, std::string_view suffix);

// The numeric test of the library: an optional sign, then digits with an
// optional fraction and exponent ("12", "-.5", "1e-3"), or the words "nan",
// "inf" and "infinity" in any case.  No blanks, no separators.
bool isNumeric(std::string_view s);
// The library's text-to-float conversion: a text that isNumeric accepts, as
// a 32-bit float.  Anything else, and a finite value beyond the float range,
// raises "Invalid number '%s'".
float toFloat(std::string_view s);
// The whole-number conversion: an optional sign and decimal digits that fit
// 32 bits; anything else raises "Invalid number '%s'".
int32_t toInt(std::string_view s);

}  // namespace kivu
