#include "kivuimg/commons/funcs.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <limits>
#include <mutex>
#include <sstream>
#include <thread>

#include "kivuimg/commons/build.h"
#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/core/log.h"

namespace fs = std::filesystem;

namespace kivu {

// ---- names and paths -------------------------------------------------------

char pathSeparator() { return static_cast<char>(fs::path::preferred_separator); }

std::string backSlash(const std::string& path) {
    if (!path.empty() && (path.back() == '/' || path.back() == '\\')) return path;
    return path + pathSeparator();
}

long index(const std::vector<std::string>& list, const std::string& s) {
    auto it = std::find(list.begin(), list.end(), s);
    return it == list.end() ? -1 : static_cast<long>(it - list.begin());
}

namespace {

const std::pair<const char*, const char*> kPathEscapes[] = {
    {"/", "{%slhs%}"}, {"@", "{%at%}"},       {"=", "{%equ%}"}, {"#", "{%shrp%}"},
    {".", "{%dot%}"},  {":", "{%colon%}"}, {" ", "{%20%}"},
};

std::string replaceAllOf(std::string s, std::string_view from, std::string_view to) {
    if (from.empty()) return s;
    size_t pos = 0;
    while ((pos = s.find(from, pos)) != std::string::npos) {
        s.replace(pos, from.size(), to);
        pos += to.size();
    }
    return s;
}

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

}  // namespace

std::string pathEscape(const std::string& s) {
    std::string out = s;
    for (const auto& [from, to] : kPathEscapes) out = replaceAllOf(out, from, to);
    return out;
}

std::string escapedForPath(const std::string& s) {
    std::string out = s;
    for (const auto& [from, to] : kPathEscapes) out = replaceAllOf(out, to, from);
    return out;
}

std::string convertHexas(const std::string& s) {
    std::string out;
    out.reserve(s.size());
    for (size_t i = 0; i < s.size(); ++i) {
        if (s[i] == '\\' && i + 3 < s.size() + 0 && (s[i + 1] == 'x' || s[i + 1] == 'X') && hexDigit(s[i + 2]) >= 0 &&
            hexDigit(s[i + 3]) >= 0) {
            out += static_cast<char>(hexDigit(s[i + 2]) * 16 + hexDigit(s[i + 3]));
            i += 3;
        } else if (s[i] == '%' && i + 2 < s.size() && hexDigit(s[i + 1]) >= 0 && hexDigit(s[i + 2]) >= 0) {
            out += static_cast<char>(hexDigit(s[i + 1]) * 16 + hexDigit(s[i + 2]));
            i += 2;
        } else {
            out += s[i];
        }
    }
    return out;
}

std::string replaceDateVars(const std::string& s) {
    if (s.find('%') == std::string::npos) return s;
    const std::time_t now = std::time(nullptr);
    std::tm tm{};
    localtime_r(&now, &tm);
    const int year = tm.tm_year + 1900, month = tm.tm_mon + 1, day = tm.tm_mday;
    std::string out = s;
    out = replaceAllOf(out, "%Y", sformat("%04d", year));
    out = replaceAllOf(out, "%y", sformat("%d", year - 2000));
    out = replaceAllOf(out, "%M", sformat("%02d", month));
    out = replaceAllOf(out, "%m", sformat("%d", month));
    out = replaceAllOf(out, "%D", sformat("%02d", day));
    out = replaceAllOf(out, "%d", sformat("%d", day));
    return out;
}

std::string replaceNumberVar(const std::string& s, uint64_t n) {
    // A template runs from "%" to "n" or "N" and may hold a zero and a width.
    const size_t start = s.find('%');
    if (start == std::string::npos) return s;
    size_t i = start + 1;
    bool zero = false;
    if (i < s.size() && s[i] == '0') {
        zero = true;
        ++i;
    }
    int width = 0;
    while (i < s.size() && s[i] >= '0' && s[i] <= '9' && width < 100) width = width * 10 + (s[i++] - '0');
    if (i >= s.size() || (s[i] != 'n' && s[i] != 'N')) return s;
    (void)zero;
    const std::string number = sformat("%0*llu", width, static_cast<unsigned long long>(n));
    return s.substr(0, start) + number + s.substr(i + 1);
}

std::string session(const std::string& path, const std::string& word) {
    if (word.empty() || path.find("~session~") != std::string::npos) return path;
    const size_t dot = extensionStart(path);
    if (dot != std::string::npos) return path.substr(0, dot) + "~session~" + word + path.substr(dot);
    return path + "~session~" + word;
}

std::string fileNameWithExt(const std::string& name, const std::string& ext) {
    if (!fileExtension(name).empty()) return name;
    if (ext.empty()) return name;
    return name + (ext[0] == '.' ? ext : "." + ext);
}

std::vector<std::string> g_listDir(const std::string& folder, const std::string& prefix, const std::string& ext) {
    std::vector<std::string> out;
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator(folder, ec)) {
        const std::string name = entry.path().filename().string();
        if (!prefix.empty() && !startsWith(name, prefix)) continue;
        if (!ext.empty() && toLower(entry.path().extension().string()) != toLower(ext)) continue;
        out.push_back(name);
    }
    std::sort(out.begin(), out.end());
    return out;
}

std::string g_resolveDownloadFilename(const std::string& name, const std::string& source, const std::string&) {
    if (name.empty()) return "";
    if (startsWith(name, "url(")) return name;
    if (fileExists(name)) return name;
    const size_t sep = source.find_last_of("/\\");
    if (sep != std::string::npos) {
        const std::string candidate = source.substr(0, sep + 1) + name;
        if (fileExists(candidate)) return candidate;
    }
    return "";
}

std::string g_resolveDownloadData(const std::string& name, const std::string& source, const std::string& extra) {
    const std::string file = g_resolveDownloadFilename(name, source, extra);
    if (file.empty() || startsWith(file, "url(")) return "";
    g_info("%s -> %s", name.c_str(), file.c_str());
    return getFileContents(file);
}

bool g_checkKivuXsdFile(const std::string& path) {
    std::ifstream in(path);
    if (!in) return !fileExists(path);
    std::string line;
    while (std::getline(in, line)) {
        const size_t at = line.find("<!-- Build ");
        if (at == std::string::npos) continue;
        unsigned build = 0;
        if (std::sscanf(line.c_str() + at, "<!-- Build %u", &build) != 1) return false;
        return build == static_cast<unsigned>(std::stoul(KIVU_BUILD));
    }
    return false;
}

bool fileExists(const std::string& path) {
    std::error_code ec;
    return !path.empty() && fs::is_regular_file(path, ec);
}

bool dirExists(const std::string& path) {
    std::error_code ec;
    return !path.empty() && fs::is_directory(path, ec);
}

size_t extensionStart(std::string_view name) {
    // Walking back: a separator ends the search; a dot that is neither the
    // first character nor right behind a separator starts the extension.
    for (size_t i = name.size(); i-- > 0;) {
        const char c = name[i];
        if (c == '/' || c == '\\') return std::string::npos;
        if (c == '.') {
            if (i == 0 || name[i - 1] == '/' || name[i - 1] == '\\') return std::string::npos;
            return i;
        }
    }
    return std::string::npos;
}

std::string fileExtension(const std::string& name) {
    const size_t dot = extensionStart(name);
    return dot == std::string::npos ? std::string() : toLower(name.substr(dot));
}

// ---- file classes ------------------------------------------------------------

namespace {

bool extIn(const std::string& name, std::initializer_list<const char*> exts) {
    const std::string e = fileExtension(name);
    for (const char* x : exts)
        if (e == x) return true;
    return false;
}

}  // namespace

bool isImage(const std::string& n) { return extIn(n, {".jpg", ".jpeg", ".png", ".gif", ".bmp", ".svg", ".wmf"}); }
bool isFont(const std::string& n) { return extIn(n, {".ttf", ".otf", ".ttc", ".pfb", ".afm", ".woff"}); }
bool isProfileICC(const std::string& n) { return extIn(n, {".icc", ".icm"}); }
bool isPDF(const std::string& n) { return extIn(n, {".pdf"}); }
bool isXml(const std::string& n) { return extIn(n, {".xml", ".xsd"}); }
bool isJson(const std::string& n) { return extIn(n, {".json"}); }
bool isCSS(const std::string& n) { return extIn(n, {".css"}); }

std::string g_checkFileType(const std::string& n) {
    if (isImage(n)) return "image";
    if (isFont(n)) return "font";
    if (isProfileICC(n)) return "profile";
    if (isPDF(n)) return "pdf";
    if (isXml(n)) return "xml";
    if (isJson(n)) return "json";
    if (isCSS(n)) return "css";
    return "";
}

bool isFormObject(const std::string& n) { return extIn(n, {".svg", ".wmf"}); }

std::string imageTypeAsExt(const std::string& s) {
    const std::string l = toLower(s);
    for (const char* t : {"jpg", "jpeg", "png", "gif", "bmp", "svg", "wmf"})
        if (l.find(t) != std::string::npos) return std::string(".") + t;
    return "";
}

bool hasColorSpaceModification(const std::string& s) {
    for (const char* m : {"+GRAY", "+CMYK", "+RGB"}) {
        // Anywhere but at the very beginning.
        if (s.find(m, 1) != std::string::npos) return true;
    }
    return false;
}

bool hasURL(const std::string& s) {
    const size_t at = s.find("url");
    if (at == std::string::npos) return false;
    return s.find('(', at) != std::string::npos && s.find(')', at) != std::string::npos;
}

bool hasFunc(const std::string& s) {
    static const char* const kFuncs[] = {"rgb(",   "rgba(",   "cmyk(",   "gray(",       "spot(",
                                         "skew(",  "skewx(",  "skewy(",  "scale(",      "scalex(",
                                         "scaley(", "translate(", "translatex(", "translatey("};
    for (const char* f : kFuncs)
        if (s.find(f) != std::string::npos) return true;
    return false;
}

// ---- CSS declarations ------------------------------------------------------

std::string parsePropertyName(const std::string& declaration) {
    const size_t colon = declaration.find(':');
    return toLower(strip(declaration.substr(0, colon)));
}

std::vector<std::pair<std::string, std::string>> getPropertyAndKeyValues(const std::vector<std::string>& list) {
    std::vector<std::pair<std::string, std::string>> out;
    for (const auto& item : list) {
        const size_t colon = item.find(':');
        if (colon == std::string::npos) continue;
        std::string name = parsePropertyName(item);
        if (name.empty()) continue;
        out.emplace_back(std::move(name), strip(item.substr(colon + 1)));
    }
    return out;
}

bool isInheritableProperty(const std::string& name) {
    // Ordered by length, then by bytes.
    static const char* const kNames[] = {
        "font",          "zero",           "color",         "pitch",          "speak",
        "cursor",        "format",         "quotes",        "stress",         "volume",
        "widows",        "azimuth",        "hyphens",       "orphans",        "richness",
        "direction",     "elevation",      "font-size",     "font-style",     "list-style",
        "text-align",    "visibility",     "block-break",   "empty-cells",    "font-family",
        "font-subset",   "font-weight",    "format-date",   "format-time",    "line-height",
        "pitch-range",   "speech-rate",    "text-indent",   "white-space",    "caption-side",
        "font-kerning",  "font-variant",   "speak-header",  "voice-family",   "word-spacing",
        "format-number", "speak-numeral",  "baseline-shift", "border-spacing", "letter-spacing",
        "text-transform", "border-collapse", "list-style-type", "text-align-last", "list-style-image",
        "hyphenator-method", "speak-punctuation", "list-style-position", "format-decimal-point",
        "format-thousands-separator"};
    auto less = [](std::string_view a, std::string_view b) {
        return a.size() != b.size() ? a.size() < b.size() : a < b;
    };
    size_t lo = 0, hi = std::size(kNames);
    while (lo < hi) {
        const size_t mid = (lo + hi) / 2;
        const std::string_view m = kNames[mid];
        if (m == name) return true;
        if (less(m, name)) lo = mid + 1;
        else hi = mid;
    }
    return false;
}

// ---- MD5 (RFC 1321) ----------------------------------------------------------

namespace {

struct Md5 {
    uint32_t a = 0x67452301, b = 0xefcdab89, c = 0x98badcfe, d = 0x10325476;

    static uint32_t rotl(uint32_t x, int n) { return (x << n) | (x >> (32 - n)); }

    void block(const uint8_t* p) {
        static const uint32_t K[64] = {
            0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
            0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
            0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
            0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
            0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
            0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
            0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
            0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391};
        static const int S[64] = {7, 12, 17, 22, 7, 12, 17, 22, 7, 12, 17, 22, 7, 12, 17, 22,
                                  5, 9,  14, 20, 5, 9,  14, 20, 5, 9,  14, 20, 5, 9,  14, 20,
                                  4, 11, 16, 23, 4, 11, 16, 23, 4, 11, 16, 23, 4, 11, 16, 23,
                                  6, 10, 15, 21, 6, 10, 15, 21, 6, 10, 15, 21, 6, 10, 15, 21};
        uint32_t m[16];
        for (int i = 0; i < 16; ++i)
            m[i] = uint32_t(p[i * 4]) | uint32_t(p[i * 4 + 1]) << 8 | uint32_t(p[i * 4 + 2]) << 16 |
                   uint32_t(p[i * 4 + 3]) << 24;
        uint32_t A = a, B = b, C = c, D = d;
        for (int i = 0; i < 64; ++i) {
            uint32_t F;
            int g;
            if (i < 16) {
                F = (B & C) | (~B & D);
                g = i;
            } else if (i < 32) {
                F = (D & B) | (~D & C);
                g = (5 * i + 1) & 15;
            } else if (i < 48) {
                F = B ^ C ^ D;
                g = (3 * i + 5) & 15;
            } else {
                F = C ^ (B | ~D);
                g = (7 * i) & 15;
            }
            const uint32_t tmp = D;
            D = C;
            C = B;
            B = B + rotl(A + F + K[i] + m[g], S[i]);
            A = tmp;
        }
        a += A;
        b += B;
        c += C;
        d += D;
    }

    std::string digest(const uint8_t* data, size_t n) {
        size_t i = 0;
        for (; i + 64 <= n; i += 64) block(data + i);
        uint8_t tail[128] = {0};
        const size_t rest = n - i;
        if (rest) std::memcpy(tail, data + i, rest);
        tail[rest] = 0x80;
        const size_t total = rest + 1 + 8 <= 64 ? 64 : 128;
        const uint64_t bits = static_cast<uint64_t>(n) * 8;
        for (int k = 0; k < 8; ++k) tail[total - 8 + k] = static_cast<uint8_t>(bits >> (8 * k));
        block(tail);
        if (total == 128) block(tail + 64);
        static const char hex[] = "0123456789ABCDEF";
        std::string out;
        out.reserve(32);
        for (uint32_t v : {a, b, c, d})
            for (int k = 0; k < 4; ++k) {
                const uint8_t byte = static_cast<uint8_t>(v >> (8 * k));
                out += hex[byte >> 4];
                out += hex[byte & 15];
            }
        return out;
    }
};

}  // namespace

std::string md5(std::span<const uint8_t> bytes) { return Md5().digest(bytes.data(), bytes.size()); }

std::string md5(std::string_view text) {
    return Md5().digest(reinterpret_cast<const uint8_t*>(text.data()), text.size());
}

bool filePutContents(const std::string& path, const std::string& text, bool append) {
    FILE* f = std::fopen(path.c_str(), append ? "ab" : "wb");
    if (!f) return false;
    const bool ok = std::fwrite(text.data(), 1, text.size(), f) == text.size();
    std::fclose(f);
    return ok;
}

std::string getFileContents(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return "";
    std::ostringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

// ---- thread counters -------------------------------------------------------

namespace {
std::atomic<int> g_threads{0};
std::mutex g_threadsLock;
}  // namespace

void incThreads() { g_threads.fetch_add(1); }

void decThreads() {
    std::lock_guard<std::mutex> guard(g_threadsLock);
    if (g_threads.load() > 0) g_threads.fetch_sub(1);
}

int threadCount() { return g_threads.load(); }

void waitThreads(int limit, int ms) {
    if (limit <= 0) return;
    do {
        std::this_thread::sleep_for(std::chrono::milliseconds(ms));
    } while (g_threads.load() >= limit);
}

void waitThreadsAll(int ms);  // defined with the settings, which it consults

// ---- numeric helpers -------------------------------------------------------

bool isNaNBits(float v) {
    uint32_t bits;
    std::memcpy(&bits, &v, sizeof bits);
    return (bits & 0x7F800000u) == 0x7F800000u && (bits & 0x007FFFFFu) != 0;
}

float aN(float v) { return isNaNBits(v) ? 0.0f : v; }

float zeon(float v) {
    const float x = aN(v);
    return x < 0.0f ? 0.0f : (x > 1.0f ? 1.0f : x);
}

namespace {
constexpr float kMaxFloat = std::numeric_limits<float>::max();
constexpr float kMinNormal = std::numeric_limits<float>::min();
}  // namespace

float aMin(std::span<const float> values) {
    float best = kMaxFloat;
    for (float v : values)
        if (v < best) best = v;  // a NaN compares false and is passed over
    return best;
}

float aMax(std::span<const float> values) {
    float best = kMinNormal;
    for (float v : values)
        if (v > best) best = v;
    return best;
}

float mins(float a, float b) { return aMin(std::initializer_list<float>{a, b}); }
float mins(float a, float b, float c) { return aMin(std::initializer_list<float>{a, b, c}); }
float maxs(float a, float b) { return aMax(std::initializer_list<float>{a, b}); }
float maxs(float a, float b, float c) { return aMax(std::initializer_list<float>{a, b, c}); }

}  // namespace kivu
