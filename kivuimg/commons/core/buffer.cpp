#include "kivuimg/commons/core/buffer.h"

#include <zlib.h>

#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <sys/stat.h>
#include <unistd.h>

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/core/curlapi.h"
#include "kivuimg/commons/core/log.h"
#include "kivuimg/commons/core/reader.h"

namespace kivu {

// ---- creation ----------------------------------------------------------------

std::unique_ptr<TBuffer> TBuffer::create(std::string_view s) {
    auto b = std::make_unique<TBuffer>(s.empty() ? 48 : s.size(), 8192);
    b->addChars(s);
    return b;
}

std::unique_ptr<TBuffer> TBuffer::create(std::span<const uint8_t> bytes) {
    auto b = std::make_unique<TBuffer>(bytes.empty() ? 48 : bytes.size(), 8192);
    b->addBytes(bytes);
    return b;
}

namespace {

int8_t base64Value(unsigned char c) {
    if (c >= 'A' && c <= 'Z') return static_cast<int8_t>(c - 'A');
    if (c >= 'a' && c <= 'z') return static_cast<int8_t>(c - 'a' + 26);
    if (c >= '0' && c <= '9') return static_cast<int8_t>(c - '0' + 52);
    if (c == '+') return 62;
    if (c == '/') return 63;
    return -1;
}

}  // namespace

std::vector<uint8_t> base64Decode(std::string_view text) {
    std::vector<uint8_t> out;
    out.reserve(text.size() / 4 * 3);
    uint32_t acc = 0;
    int bits = 0;
    size_t i = 0;
    for (; i < text.size(); ++i) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        if (c == '=') break;
        const int8_t v = base64Value(c);
        if (v < 0) throwf("Invalid character '%c' in Base64 data at %zu", c >= 32 && c < 127 ? c : '?', i);
        acc = (acc << 6) | static_cast<uint32_t>(v);
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            out.push_back(static_cast<uint8_t>(acc >> bits));
        }
    }
    // Only padding may follow the data.
    for (; i < text.size(); ++i)
        if (text[i] != '=') throw KivuException("Invalid Base64 padding");
    if (bits >= 6) throw KivuException("Invalid length of Base64 data");
    return out;
}

std::string base64Encode(std::span<const uint8_t> bytes) {
    static const char* const kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    out.reserve((bytes.size() + 2) / 3 * 4);
    size_t i = 0;
    for (; i + 3 <= bytes.size(); i += 3) {
        const uint32_t v = (bytes[i] << 16) | (bytes[i + 1] << 8) | bytes[i + 2];
        for (int k = 3; k >= 0; --k) out += kAlphabet[(v >> (6 * k)) & 63];
    }
    if (i + 1 == bytes.size()) {
        const uint32_t v = bytes[i] << 16;
        out += kAlphabet[(v >> 18) & 63];
        out += kAlphabet[(v >> 12) & 63];
        out += "==";
    } else if (i + 2 == bytes.size()) {
        const uint32_t v = (bytes[i] << 16) | (bytes[i + 1] << 8);
        out += kAlphabet[(v >> 18) & 63];
        out += kAlphabet[(v >> 12) & 63];
        out += kAlphabet[(v >> 6) & 63];
        out += '=';
    }
    return out;
}

std::unique_ptr<TBuffer> TBuffer::createByBase64CodedString(std::string_view s) {
    const std::string clean = cleanBase64CodedData(s);
    const std::vector<uint8_t> bytes = base64Decode(clean);
    auto b = std::make_unique<TBuffer>(clean.empty() ? 48 : clean.size(), 8192);
    b->addBytes(bytes);
    return b;
}

std::unique_ptr<TBuffer> TBuffer::loadFromFile(const std::string& path) {
    auto b = std::make_unique<TBuffer>(1024, 8192);
    if (!b->load(path)) return nullptr;
    return b;
}

std::unique_ptr<TBuffer> TBuffer::loadFromBase64DecodedFile(const std::string& path) {
    auto b = loadFromFile(path);
    if (!b) return nullptr;
    b->doBase64DecodeForBufferData();
    return b;
}

// ---- HTTP --------------------------------------------------------------------

namespace {

constexpr uint64_t kMaxReply = 256ull << 20;  // 256 MiB

struct Reply {
    std::unique_ptr<TBuffer> body = std::make_unique<TBuffer>(65536, 8192);
    bool tooLarge = false;
};

size_t onData(char* p, size_t size, size_t n, void* user) {
    auto* reply = static_cast<Reply*>(user);
    const size_t bytes = size * n;
    if (reply->body->size() + bytes > kMaxReply) {
        reply->tooLarge = true;
        return 0;  // aborts the transfer
    }
    if (bytes) reply->body->addBytes(std::span<const uint8_t>(reinterpret_cast<uint8_t*>(p), bytes));
    return bytes;
}

const char* reasonPhrase(long status) {
    switch (status) {
        case 400: return "Bad Request";
        case 401: return "Unauthorized";
        case 403: return "Forbidden";
        case 404: return "Not Found";
        case 405: return "Method Not Allowed";
        case 408: return "Request Timeout";
        case 410: return "Gone";
        case 429: return "Too Many Requests";
        case 500: return "Internal Server Error";
        case 501: return "Not Implemented";
        case 502: return "Bad Gateway";
        case 503: return "Service Unavailable";
        case 504: return "Gateway Timeout";
        default: return status < 500 ? "Client Error" : "Server Error";
    }
}

}  // namespace

std::unique_ptr<TBuffer> TBuffer::loadFromURL(const std::string& url) {
    g_logInfo(g_log, "Fetch data from: '%s'", url.c_str());
    const SCurlApi& api = curlApi();
    std::unique_ptr<CURL, void (*)(CURL*)> curl(api.easy_init(), api.easy_cleanup);
    if (!curl) throw KivuException("HTTP client could not be started");
    Reply reply;
    char error[CURL_ERROR_SIZE] = {0};
    api.easy_setopt(curl.get(), CURLOPT_URL, url.c_str());
    api.easy_setopt(curl.get(), CURLOPT_PROTOCOLS_STR, "http,https");
    api.easy_setopt(curl.get(), CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    api.easy_setopt(curl.get(), CURLOPT_FOLLOWLOCATION, 1L);
    api.easy_setopt(curl.get(), CURLOPT_MAXREDIRS, 5L);
    api.easy_setopt(curl.get(), CURLOPT_CONNECTTIMEOUT, 10L);
    api.easy_setopt(curl.get(), CURLOPT_TIMEOUT, 60L);
    api.easy_setopt(curl.get(), CURLOPT_NOSIGNAL, 1L);
    api.easy_setopt(curl.get(), CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(kMaxReply));
    api.easy_setopt(curl.get(), CURLOPT_WRITEFUNCTION, onData);
    api.easy_setopt(curl.get(), CURLOPT_WRITEDATA, &reply);
    api.easy_setopt(curl.get(), CURLOPT_ERRORBUFFER, error);
    api.easy_setopt(curl.get(), CURLOPT_USERAGENT, "libkivuimg");
    const CURLcode rc = api.easy_perform(curl.get());
    long status = 0;
    api.easy_getinfo(curl.get(), CURLINFO_RESPONSE_CODE, &status);
    if (reply.tooLarge || rc == CURLE_FILESIZE_EXCEEDED)
        throwf("HTTP reply from '%s' exceeds %llu bytes", url.c_str(), static_cast<unsigned long long>(kMaxReply));
    if (rc != CURLE_OK)
        throwf("HTTP request failed: %s", error[0] ? error : api.easy_strerror(rc));
    if (status >= 400) throwf("HTTP request returned status code %ld (%s)", status, reasonPhrase(status));
    if (reply.body->size() == 0) return nullptr;
    return std::move(reply.body);
}

// ---- derivations ---------------------------------------------------------------

uint32_t TBuffer::CRC32() const {
    // zlib's CRC-32, with its four bytes reversed.
    const uLong crc = crc32(crc32(0L, Z_NULL, 0), data_, static_cast<uInt>(used_));
    const uint32_t c = static_cast<uint32_t>(crc);
    return (c >> 24) | ((c >> 8) & 0xFF00u) | ((c << 8) & 0xFF0000u) | (c << 24);
}

std::unique_ptr<TBuffer> TBuffer::getEvens() const {
    auto out = std::make_unique<TBuffer>(used_ / 2 ? used_ / 2 : 48, 8192);
    for (uint64_t i = 0; i < used_; i += 2) out->addByte(data_[i]);
    return out;
}

std::unique_ptr<TBuffer> TBuffer::getOdds() const {
    auto out = std::make_unique<TBuffer>(used_ / 2 ? used_ / 2 : 48, 8192);
    for (uint64_t i = 1; i < used_; i += 2) out->addByte(data_[i]);
    return out;
}

std::unique_ptr<TBuffer> TBuffer::getAllDropEvery(uint32_t n) const {
    auto out = std::make_unique<TBuffer>(used_ ? used_ : 48, 8192);
    uint32_t counter = 0;
    for (uint64_t i = 0; i < used_; ++i) {
        if (counter < n) {
            out->addByte(data_[i]);
            ++counter;
        } else {
            counter = 0;
        }
    }
    return out;
}

std::unique_ptr<TBuffer> TBuffer::getEveryAndRest(uint32_t n) const {
    if (n == 0) throw KivuException("getEveryAndRest needs a group size above 0");
    auto out = std::make_unique<TBuffer>(used_ / n ? used_ / n : 48, 8192);
    uint64_t sideStart = 0;  // the side buffer is the run since the last kept byte
    uint32_t counter = 0;
    for (uint64_t i = 0; i < used_; ++i) {
        if (counter < n) {
            ++counter;
        } else {
            out->addByte(data_[i]);
            counter = 0;
            sideStart = i + 1;
        }
    }
    if (sideStart < used_) out->addBytes(std::span<const uint8_t>(data_ + sideStart, used_ - sideStart));
    return out;
}

std::unique_ptr<TBuffer> TBuffer::reverse() const {
    auto out = std::make_unique<TBuffer>(used_ ? used_ : 48, 8192);
    for (uint64_t i = used_; i-- > 0;) out->addByte(data_[i]);
    return out;
}

std::unique_ptr<TReader> TBuffer::getReader() { return std::make_unique<TReader>(this); }

// ---- files and standard streams -----------------------------------------------

int TBuffer::save(const std::string& path, bool append) const {
    FILE* f = std::fopen(path.c_str(), append ? "ab" : "wb");
    if (!f) return -1;
    if (used_) std::fwrite(data_, 1, used_, f);
    std::fclose(f);
    return 1;
}

bool TBuffer::load(const std::string& path) {
    std::unique_ptr<FILE, int (*)(FILE*)> f(std::fopen(path.c_str(), "rb"), std::fclose);
    if (!f) return false;
    struct stat st {};
    if (fstat(fileno(f.get()), &st) != 0 || !S_ISREG(st.st_mode)) return false;
    const uint64_t len = static_cast<uint64_t>(st.st_size);
    // A block of the file's length (and one byte more); a fixed block is
    // filled in place or raises.
    if (!_reinit(len)) return false;
    used_ = len ? std::fread(data_, 1, len, f.get()) : 0;
    return true;
}

bool TBuffer::read() {
    // Standard input may be a pipe: read it to its end in chunks.
    clear();
    uint8_t chunk[65536];
    size_t n;
    while ((n = std::fread(chunk, 1, sizeof chunk, stdin)) > 0) {
        if (used_ + n > 0x7FFFFFFFu) return false;
        addBytes(std::span<const uint8_t>(chunk, n));
    }
    return true;
}

void TBuffer::write() const {
    std::fflush(stdout);
    if (used_) std::fwrite(data_, 1, used_, stdout);
    std::fflush(stdout);
}

bool TBuffer::addUshort(uint16_t v) {
    const uint8_t b[2] = {static_cast<uint8_t>(v >> 8), static_cast<uint8_t>(v)};
    return addBytes(b);
}

bool TBuffer::addUint(uint32_t v) {
    const uint8_t b[4] = {static_cast<uint8_t>(v >> 24), static_cast<uint8_t>(v >> 16), static_cast<uint8_t>(v >> 8),
                          static_cast<uint8_t>(v)};
    return addBytes(b);
}

void TBuffer::doBase64DecodeForBufferData() {
    const std::string clean = cleanBase64CodedData(view());
    const std::vector<uint8_t> bytes = base64Decode(clean);
    clear();
    addBytes(bytes);
}

void TBuffer::spliceUint32(uint64_t at, uint32_t v) {
    if (used_ < 4 || at >= used_ - 4) return;
    data_[at] = static_cast<uint8_t>(v >> 24);
    data_[at + 1] = static_cast<uint8_t>(v >> 16);
    data_[at + 2] = static_cast<uint8_t>(v >> 8);
    data_[at + 3] = static_cast<uint8_t>(v);
}

// ---- PDF string escapes --------------------------------------------------------

bool TBuffer::isAscii(std::string_view s) {
    for (unsigned char c : s)
        if (c & 0x80) return false;
    return true;
}

bool TBuffer::escapeChar(char c) {
    return c == 8 || c == 9 || c == 10 || c == 13 || c == '(' || c == ')' || c == '\\';
}

std::unique_ptr<TBuffer> TBuffer::escapedHexRaw(std::string_view s) {
    static const char hex[] = "0123456789ABCDEF";
    auto out = std::make_unique<TBuffer>(s.size() + 2, 8192);
    out->addByte('<');
    for (unsigned char c : s) {
        out->addByte(static_cast<uint8_t>(hex[c >> 4]));
        out->addByte(static_cast<uint8_t>(hex[c & 15]));
    }
    out->addByte('>');
    return out;
}

std::unique_ptr<TBuffer> TBuffer::escapedIndexStringRaw(std::span<const uint8_t> bytes) {
    auto out = std::make_unique<TBuffer>(bytes.size() + 2, 8192);
    out->addByte('(');
    for (uint8_t c : bytes) {
        if (c < 128 && escapeChar(static_cast<char>(c))) out->addByte('\\');
        out->addByte(c);
    }
    out->addByte(')');
    return out;
}

std::unique_ptr<TBuffer> TBuffer::escapedStringRaw(std::string_view s) {
    return escapedIndexStringRaw(std::span<const uint8_t>(reinterpret_cast<const uint8_t*>(s.data()), s.size()));
}

namespace {

// Decodes one UTF-8 sequence at s[i]; invalid input gives U+FFFD.
char32_t nextCodePoint(std::string_view s, size_t& i) {
    const unsigned char c = static_cast<unsigned char>(s[i++]);
    if (c < 0x80) return c;
    int extra = 0;
    char32_t cp = 0;
    if ((c & 0xE0) == 0xC0) {
        extra = 1;
        cp = c & 0x1F;
    } else if ((c & 0xF0) == 0xE0) {
        extra = 2;
        cp = c & 0x0F;
    } else if ((c & 0xF8) == 0xF0) {
        extra = 3;
        cp = c & 0x07;
    } else {
        return 0xFFFD;
    }
    for (int k = 0; k < extra; ++k) {
        if (i >= s.size() || (static_cast<unsigned char>(s[i]) & 0xC0) != 0x80) return 0xFFFD;
        cp = (cp << 6) | (static_cast<unsigned char>(s[i++]) & 0x3F);
    }
    if (cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return 0xFFFD;
    return cp;
}

// Windows-1252 for the code points that it has outside Latin-1.
int toWindows1252(char32_t cp) {
    if (cp < 0x80 || (cp >= 0xA0 && cp <= 0xFF)) return static_cast<int>(cp);
    static const struct {
        char32_t cp;
        uint8_t byte;
    } kMap[] = {{0x20AC, 0x80}, {0x201A, 0x82}, {0x0192, 0x83}, {0x201E, 0x84}, {0x2026, 0x85}, {0x2020, 0x86},
                {0x2021, 0x87}, {0x02C6, 0x88}, {0x2030, 0x89}, {0x0160, 0x8A}, {0x2039, 0x8B}, {0x0152, 0x8C},
                {0x017D, 0x8E}, {0x2018, 0x91}, {0x2019, 0x92}, {0x201C, 0x93}, {0x201D, 0x94}, {0x2022, 0x95},
                {0x2013, 0x96}, {0x2014, 0x97}, {0x02DC, 0x98}, {0x2122, 0x99}, {0x0161, 0x9A}, {0x203A, 0x9B},
                {0x0153, 0x9C}, {0x017E, 0x9E}, {0x0178, 0x9F}};
    for (const auto& m : kMap)
        if (m.cp == cp) return m.byte;
    return '?';
}

}  // namespace

bool fitsWindows1252(std::string_view s) {
    size_t i = 0;
    while (i < s.size()) {
        const char32_t cp = nextCodePoint(s, i);
        if (cp != '?' && toWindows1252(cp) == '?') return false;
    }
    return true;
}

std::u16string utf8ToUtf16(std::string_view s) {
    std::u16string out;
    out.reserve(s.size());
    size_t i = 0;
    while (i < s.size()) {
        const char32_t cp = nextCodePoint(s, i);
        if (cp >= 0x10000) {
            const char32_t v = cp - 0x10000;
            out += static_cast<char16_t>(0xD800 + (v >> 10));
            out += static_cast<char16_t>(0xDC00 + (v & 0x3FF));
        } else {
            out += static_cast<char16_t>(cp);
        }
    }
    return out;
}

std::unique_ptr<TBuffer> TBuffer::escapedStringISORaw(std::string_view s) {
    std::string latin;
    latin.reserve(s.size());
    size_t i = 0;
    while (i < s.size()) latin += static_cast<char>(toWindows1252(nextCodePoint(s, i)));
    auto out = std::make_unique<TBuffer>(s.size() + 2, 8192);
    out->addByte('(');
    for (char c : latin) {
        if (escapeChar(c)) out->addByte('\\');
        out->addByte(static_cast<uint8_t>(c));
    }
    out->addByte(')');
    return out;
}

namespace {

// One byte of a two-byte unit inside a literal string.  A reader drops a
// line end that follows a backslash (a continued line) and reads a bare CR
// as LF, and a bare parenthesis or backslash ends or shifts the string:
// each would take a byte out of its unit, so those bytes get the escapes
// that keep them.
void addWideByte(TBuffer& out, uint8_t b) {
    if (b == 10 || b == 13) {
        out.addByte('\\');
        out.addByte(b == 10 ? 'n' : 'r');
        return;
    }
    if (b == '(' || b == ')' || b == '\\') out.addByte('\\');
    out.addByte(b);
}

}  // namespace

std::unique_ptr<TBuffer> TBuffer::escapedWStringRaw(std::u16string_view w, bool bom) {
    auto out = std::make_unique<TBuffer>(w.size() + 2, 8192);
    out->addByte('(');
    if (bom) {
        out->addByte(254);
        out->addByte(255);
    }
    for (char16_t u : w) {
        if (u == 0xAD) continue;  // soft hyphen
        if (u < 127 && escapeChar(static_cast<char>(u)) && u != 10 && u != 13) {
            out->addByte(0);
            out->addByte('\\');
            out->addByte(static_cast<uint8_t>(u));
        } else {
            addWideByte(*out, static_cast<uint8_t>(u >> 8));
            addWideByte(*out, static_cast<uint8_t>(u & 0xFF));
        }
    }
    out->addByte(')');
    return out;
}

void TBuffer::addEscapedHexRaw(std::string_view s) { *this += *escapedHexRaw(s); }
void TBuffer::addEscapedStringRaw(std::string_view s) { *this += *escapedStringRaw(s); }
void TBuffer::addEscapedStringISORaw(std::string_view s) { *this += *escapedStringISORaw(s); }
void TBuffer::addEscapedIndexStringRaw(std::span<const uint8_t> b) { *this += *escapedIndexStringRaw(b); }
void TBuffer::addEscapedWStringRaw(std::u16string_view w, bool bom) { *this += *escapedWStringRaw(w, bom); }

void TBuffer::addEscapedString(std::string_view s) {
    if (isAscii(s)) addEscapedStringRaw(s);
    else addEscapedWStringRaw(utf8ToUtf16(s), true);
}

std::unique_ptr<TBuffer> escaped(const std::string& s) {
    if (TBuffer::isAscii(s)) return TBuffer::escapedStringRaw(s);
    return TBuffer::escapedWStringRaw(utf8ToUtf16(s), true);
}

}  // namespace kivu
