// C strings at the library boundary, printf-style formatting, and the
// exception type that carries a message text.
#pragma once

#include <cstdarg>
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

}  // namespace kivu
