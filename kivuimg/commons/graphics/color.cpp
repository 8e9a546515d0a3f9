#include "kivuimg/commons/graphics/color.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <functional>
#include <limits>
#include <map>
#include <string_view>
#include <typeinfo>

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/core/log.h"
#include "kivuimg/commons/core/regex.h"
#include "kivuimg/commons/funcs.h"
#include "kivuimg/commons/graphics/valueutil.h"
#include "kivuimg/commons/unit.h"

namespace kivu {

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

struct NamedColor {
    std::string_view name;
    int32_t value;
};

// Sorted by length, then by bytes: the order of the binary search below.
constexpr NamedColor kNamedColors[] = {
    {"red", 0xFF0000},
    {"tan", 0xD2B48C},
    {"aqua", 0x00FFFF},
    {"blue", 0x0000FF},
    {"cyan", 0x00FFFF},
    {"gold", 0xFFD700},
    {"gray", 0x808080},
    {"lime", 0x00FF00},
    {"navy", 0x000080},
    {"peru", 0xCD853F},
    {"pink", 0xFFC0CB},
    {"plum", 0xDDA0DD},
    {"snow", 0xFFFAFA},
    {"teal", 0x008080},
    {"azure", 0xF0FFFF},
    {"beige", 0xF5F5DC},
    {"black", 0x000000},
    {"brown", 0xA52A2A},
    {"coral", 0xFF7F50},
    {"green", 0x008000},
    {"ivory", 0xFFFFF0},
    {"khaki", 0xF0E68C},
    {"linen", 0xFAF0E6},
    {"olive", 0x808000},
    {"wheat", 0xF5DEB3},
    {"white", 0xFFFFFF},
    {"bisque", 0xFFE4C4},
    {"indigo", 0x4B0082},
    {"maroon", 0x800000},
    {"orange", 0xFFA500},
    {"orchid", 0xDA70D6},
    {"purple", 0x800080},
    {"salmon", 0xFA8072},
    {"sienna", 0xA0522D},
    {"silver", 0xC0C0C0},
    {"tomato", 0xFF6347},
    {"violet", 0xEE82EE},
    {"yellow", 0xFFFF00},
    {"crimson", 0xDC143C},
    {"darkred", 0x8B0000},
    {"dimgray", 0x696969},
    {"fuchsia", 0xFF00FF},
    {"hotpink", 0xFF69B4},
    {"magenta", 0xFF00FF},
    {"oldlace", 0xFDF5E6},
    {"skyblue", 0x87CEEB},
    {"thistle", 0xD8BFD8},
    {"cornsilk", 0xFFF8DC},
    {"darkblue", 0x00008B},
    {"darkcyan", 0x008B8B},
    {"darkgray", 0xA9A9A9},
    {"deeppink", 0xFF1493},
    {"honeydew", 0xF0FFF0},
    {"lavender", 0xE6E6FA},
    {"moccasin", 0xFFE4B5},
    {"seagreen", 0x2E8B57},
    {"seashell", 0xFFF5EE},
    {"aliceblue", 0xF0F8FF},
    {"burlywood", 0xDEB887},
    {"cadetblue", 0x5F9EA0},
    {"chocolate", 0xD2691E},
    {"darkgreen", 0x006400},
    {"darkkhaki", 0xBDB76B},
    {"firebrick", 0xB22222},
    {"gainsboro", 0xDCDCDC},
    {"goldenrod", 0xDAA520},
    {"indianred", 0xCD5C5C},
    {"lawngreen", 0x7CFC00},
    {"lightblue", 0xADD8E6},
    {"lightcyan", 0xE0FFFF},
    {"lightgray", 0xD3D3D3},
    {"lightpink", 0xFFB6C1},
    {"limegreen", 0x32CD32},
    {"mintcream", 0xF5FFFA},
    {"mistyrose", 0xFFE4E1},
    {"olivedrab", 0x6B8E23},
    {"orangered", 0xFF4500},
    {"palegreen", 0x98FB98},
    {"peachpuff", 0xFFDAB9},
    {"rosybrown", 0xBC8F8F},
    {"royalblue", 0x4169E1},
    {"slateblue", 0x6A5ACD},
    {"slategray", 0x708090},
    {"steelblue", 0x4682B4},
    {"turquoise", 0x40E0D0},
    {"aquamarine", 0x7FFFD4},
    {"blueviolet", 0x8A2BE2},
    {"chartreuse", 0x7FFF00},
    {"darkorange", 0xFF8C00},
    {"darkorchid", 0x9932CC},
    {"darksalmon", 0xE9967A},
    {"darkviolet", 0x9400D3},
    {"dodgerblue", 0x1E90FF},
    {"ghostwhite", 0xF8F8FF},
    {"lightcoral", 0xF08080},
    {"lightgreen", 0x90EE90},
    {"mediumblue", 0x0000CD},
    {"papayawhip", 0xFFEFD5},
    {"powderblue", 0xB0E0E6},
    {"sandybrown", 0xF4A460},
    {"whitesmoke", 0xF5F5F5},
    {"darkmagenta", 0x8B008B},
    {"deepskyblue", 0x00BFFF},
    {"floralwhite", 0xFFFAF0},
    {"forestgreen", 0x228B22},
    {"greenyellow", 0xADFF2F},
    {"lightsalmon", 0xFFA07A},
    {"lightyellow", 0xFFFFE0},
    {"navajowhite", 0xFFDEAD},
    {"saddlebrown", 0x8B4513},
    {"springgreen", 0x00FF7F},
    {"antiquewhite", 0xFAEBD7},
    {"darkseagreen", 0x8FBC8F},
    {"lemonchiffon", 0xFFFACD},
    {"lightskyblue", 0x87CEFA},
    {"mediumorchid", 0xBA55D3},
    {"mediumpurple", 0x9370DB},
    {"midnightblue", 0x191970},
    {"darkgoldenrod", 0xB8860B},
    {"darkslateblue", 0x483D8B},
    {"darkslategray", 0x2F4F4F},
    {"darkturquoise", 0x00CED1},
    {"lavenderblush", 0xFFF0F5},
    {"lightseagreen", 0x20B2AA},
    {"palegoldenrod", 0xEEE8AA},
    {"paleturquoise", 0xAFEEEE},
    {"palevioletred", 0xDB7093},
    {"rebeccapurple", 0x663399},
    {"blanchedalmond", 0xFFEBCD},
    {"cornflowerblue", 0x6495ED},
    {"darkolivegreen", 0x556B2F},
    {"lightslategray", 0x778899},
    {"lightsteelblue", 0xB0C4DE},
    {"mediumseagreen", 0x3CB371},
    {"mediumslateblue", 0x7B68EE},
    {"mediumturquoise", 0x48D1CC},
    {"mediumvioletred", 0xC71585},
    {"mediumaquamarine", 0x66CDAA},
    {"mediumspringgreen", 0x00FA9A},
    {"lightgoldenrodyellow", 0xFAFAD2},
};

// Shorter names first; names of equal length by bytes.
int compareName(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return a.size() < b.size() ? -1 : 1;
    return a.compare(b);
}

// Both NaN counts as equal; otherwise exact float equality.
bool sameOrBothNaN(float a, float b) {
    const bool na = isNaNBits(a), nb = isNaNBits(b);
    if (na || nb) return na && nb;
    return a == b;
}

float limitFactor(float factor) {
    if (factor > 1.0f) return 1.0f;
    if (factor < 0.0f) return 0.0f;
    return factor;
}

std::string f3(float v) { return sformat("%.3f", printable(v)); }

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// The hexadecimal digits as one number; false when one is not a digit.
bool parseHex(std::string_view digits, uint32_t& out) {
    uint32_t v = 0;
    for (char c : digits) {
        const int d = hexDigit(c);
        if (d < 0) return false;
        v = (v << 4) | static_cast<uint32_t>(d);
    }
    out = v;
    return true;
}

// The short form "#RGB" / "@CMYK": each digit doubled to a byte.
bool parseShortHex(std::string_view digits, uint32_t& out) {
    uint32_t v = 0;
    for (char c : digits) {
        const int d = hexDigit(c);
        if (d < 0) return false;
        v = (v << 8) | static_cast<uint32_t>(d * 17);
    }
    out = v;
    return true;
}

float byteAt(uint32_t v, int shift) { return static_cast<float>((v >> shift) & 0xFFu) / 255.0f; }

// Reads a text that isNumeric accepted.  Out of float range it gives the
// rounded value (an infinity, or zero) or, when `strict`, throws.
float readNumeric(std::string_view s, bool strict) {
    std::string body = toLower(s);
    if (!body.empty() && body[0] == '+') body.erase(0, 1);
    float value = 0.0f;
    const char* end = body.data() + body.size();
    auto res = std::from_chars(body.data(), end, value);
    if (res.ec == std::errc() && res.ptr == end) return value;
    if (strict) throwf("Invalid color value '%.*s'", static_cast<int>(s.size()), s.data());
    double wide = 0.0;
    res = std::from_chars(body.data(), end, wide);
    if (res.ec == std::errc() && res.ptr == end) return static_cast<float>(wide);
    // Beyond double range as well: the sign of the exponent decides.
    const bool negative = body[0] == '-';
    const size_t e = body.find('e');
    const bool tiny = e != std::string::npos && e + 1 < body.size() && body[e + 1] == '-';
    if (tiny) return negative ? -0.0f : 0.0f;
    return negative ? -std::numeric_limits<float>::infinity() : std::numeric_limits<float>::infinity();
}

// Walks every match of `re` in `text`; the values of group 2, split at blanks
// and commas, go through `fill` together with group 1 and the value count.
// Non-numeric values read as 0; values above 1 become 1.
template <size_t N, typename Fill>
void walkNotation(const Regex& re, const std::string& text, std::array<float, N>& work, bool strict, Fill fill) {
    for (const Regex::Match& m : re.findAll(text)) {
        const std::vector<std::string> values = regSplit("[ ,]+", m.group(2), "");
        std::array<float, N> read{};
        const size_t count = std::min(values.size(), N);
        for (size_t i = 0; i < count; ++i) {
            float v = isNumeric(values[i]) ? readNumeric(values[i], strict) : 0.0f;
            if (v > 1.0f) v = 1.0f;
            read[i] = v;
        }
        fill(m.group(1), values.size(), read, count, work);
    }
}

}  // namespace

int32_t getColorByName(const std::string& name) {
    size_t lo = 0, hi = std::size(kNamedColors);
    while (lo < hi) {
        const size_t mid = lo + (hi - lo) / 2;
        const int c = compareName(kNamedColors[mid].name, name);
        if (c == 0) return kNamedColors[mid].value;
        if (c < 0)
            lo = mid + 1;
        else
            hi = mid;
    }
    return -1;
}

// ---- TSpace -----------------------------------------------------------------

// ---- TRGBA ------------------------------------------------------------------

TRGBA::TRGBA(const std::string& text)
    : TSpace(csRGB, text), red_(kNaN), green_(kNaN), blue_(kNaN), alpha_(kNaN) {
    if (text.empty() || toLower(text) == "none") return;
    if (text[0] == '#') {
        const std::string_view digits = std::string_view(text).substr(1);
        uint32_t v = 0;
        bool ok = true;
        switch (text.size()) {
            case 4:
                ok = parseShortHex(digits, v);
                if (ok) red_ = byteAt(v, 16), green_ = byteAt(v, 8), blue_ = byteAt(v, 0), alpha_ = 1.0f;
                break;
            case 7:
                ok = parseHex(digits, v);
                if (ok) red_ = byteAt(v, 16), green_ = byteAt(v, 8), blue_ = byteAt(v, 0), alpha_ = 1.0f;
                break;
            case 9:
                ok = parseHex(digits, v);
                if (ok) red_ = byteAt(v, 24), green_ = byteAt(v, 16), blue_ = byteAt(v, 8), alpha_ = byteAt(v, 0);
                break;
            default: break;
        }
        if (!ok) g_exclamation("Invalid color value '#%s'", std::string(digits).c_str());
        return;
    }
    if (startsWith(text, "rgb")) {
        static const Regex re("(rgba|rgb)\\((.*?)\\)", "is");
        std::array<float, 4> work{0.0f, 0.0f, 0.0f, kNaN};
        walkNotation(re, text, work, false,
                     [](std::string_view fn, size_t total, const std::array<float, 4>& read, size_t count,
                        std::array<float, 4>& w) {
                         if (toLower(fn) == "rgba" && total == 4) {
                             w = read;
                             return;
                         }
                         for (size_t i = 0; i < count; ++i) w[i] = read[i];
                         w[3] = 1.0f;
                     });
        red_ = work[0], green_ = work[1], blue_ = work[2], alpha_ = work[3];
        return;
    }
    const uint32_t v = static_cast<uint32_t>(getColorByName(toLower(text)));
    red_ = byteAt(v, 16), green_ = byteAt(v, 8), blue_ = byteAt(v, 0), alpha_ = 1.0f;
}

TRGBA::TRGBA(const TRGBA& other)
    : TSpace(other.cs(), other.text()),
      red_(other.red()),
      green_(other.green()),
      blue_(other.blue()),
      alpha_(other.alpha()) {}

TRGBA::TRGBA(const TRGBA& other, float alpha) : TRGBA(other) { alpha_ = alpha; }

TRGBA::TRGBA(float red, float green, float blue, float alpha)
    : TSpace(csRGB, ""), red_(red), green_(green), blue_(blue), alpha_(alpha) {}

std::string TRGBA::toOUT() const { return f3(red_) + ' ' + f3(green_) + ' ' + f3(blue_); }
std::string TRGBA::toPDF() const { return toOUT() + " rg"; }

std::string TRGBA::toStr() const {
    auto b = [](float v) { return static_cast<unsigned>(truncToInt(v * 255.0f)); };
    return sformat("#%02x%02x%02x%02x", b(red_), b(green_), b(blue_), b(alpha_));
}

bool TRGBA::enabled() const { return !isNaNBits(alpha_); }
std::unique_ptr<TSpace> TRGBA::copy() const { return std::make_unique<TRGBA>(*this); }

std::unique_ptr<TSpace> TRGBA::dimmer(float factor) const {
    const float f = limitFactor(factor);
    return std::make_unique<TRGBA>(red_ * f, green_ * f, blue_ * f, alpha_);
}

std::unique_ptr<TSpace> TRGBA::copyWithAlpha(float alpha) const { return std::make_unique<TRGBA>(*this, alpha); }

bool TRGBA::equals(const TSpace& other) const {
    if (typeid(other) != typeid(TRGBA)) return false;
    const auto& o = static_cast<const TRGBA&>(other);
    return aN(red_) == aN(o.red_) && aN(green_) == aN(o.green_) && aN(blue_) == aN(o.blue_) &&
           sameOrBothNaN(alpha_, o.alpha_);
}

std::unique_ptr<TSpace> TRGBA::convert(ColorSpace target) const {
    const float r = red_, g = green_, b = blue_, a = alpha_;
    if (target == csGray) {
        const float m = (r + g + b) / 3.0f;
        return std::make_unique<TGray>(sformat("gray(%s, %s)", f3(m).c_str(), f3(a).c_str()));
    }
    if (target == csCMYK) {
        const float c = 1.0f - r, m = 1.0f - g, y = 1.0f - b;
        const float k = mins(c, m, y);
        if (k == 1.0f) return std::make_unique<TCMYK>("cmyk(1, 1, 1, 1, 1)");
        const float d = 1.0f - k;
        return std::make_unique<TCMYK>(sformat("cmyk(%s, %s, %s, %s, %s)", f3((c - k) / d).c_str(),
                                               f3((m - k) / d).c_str(), f3((y - k) / d).c_str(), f3(k).c_str(),
                                               f3(a).c_str()));
    }
    return copy();
}

// ---- TCMYK ------------------------------------------------------------------

TCMYK::TCMYK(const std::string& text)
    : TSpace(csCMYK, text), cyan_(kNaN), magneta_(kNaN), yellow_(kNaN), key_(kNaN), alpha_(kNaN) {
    if (text.empty() || toLower(text) == "none") return;
    if (text[0] == '@') {
        const std::string_view digits = std::string_view(text).substr(1);
        uint32_t v = 0;
        bool ok = true;
        if (text.size() == 5)
            ok = parseShortHex(digits, v);
        else if (text.size() == 9)
            ok = parseHex(digits, v);
        else
            return;
        if (!ok) throwf("Invalid color value '@%s'", std::string(digits).c_str());
        cyan_ = byteAt(v, 24), magneta_ = byteAt(v, 16), yellow_ = byteAt(v, 8), key_ = byteAt(v, 0);
        alpha_ = 1.0f;
        return;
    }
    if (startsWith(text, "cmyk")) {
        static const Regex re("(cmyk)\\((.*?)\\)", "is");
        std::array<float, 5> work{0.0f, 0.0f, 0.0f, kNaN, 1.0f};
        walkNotation(re, text, work, false,
                     [](std::string_view, size_t, const std::array<float, 5>& read, size_t count,
                        std::array<float, 5>& w) {
                         for (size_t i = 0; i < count; ++i) w[i] = read[i];
                     });
        cyan_ = work[0], magneta_ = work[1], yellow_ = work[2], key_ = work[3], alpha_ = work[4];
    }
}

TCMYK::TCMYK(const TCMYK& other)
    : TSpace(other.cs(), other.text()),
      cyan_(other.cyan()),
      magneta_(other.magneta()),
      yellow_(other.yellow()),
      key_(other.key()),
      alpha_(other.alpha()) {}

TCMYK::TCMYK(const TCMYK& other, float alpha) : TCMYK(other) { alpha_ = alpha; }

TCMYK::TCMYK(float cyan, float magneta, float yellow, float key, float alpha)
    : TSpace(csCMYK, ""), cyan_(cyan), magneta_(magneta), yellow_(yellow), key_(key), alpha_(alpha) {}

std::string TCMYK::toOUT() const {
    return f3(cyan_) + ' ' + f3(magneta_) + ' ' + f3(yellow_) + ' ' + f3(key_);
}
std::string TCMYK::toPDF() const { return toOUT() + " k"; }

std::string TCMYK::toStr() const {
    return sformat("cmyk(%.3f, %.3f, %.3f, %.3f, %.3f)", printable(cyan_), printable(magneta_), printable(yellow_),
                   printable(key_), printable(alpha_));
}

bool TCMYK::enabled() const { return !isNaNBits(key_); }
std::unique_ptr<TSpace> TCMYK::copy() const { return std::make_unique<TCMYK>(*this); }

std::unique_ptr<TSpace> TCMYK::dimmer(float factor) const {
    const float f = limitFactor(factor);
    return std::make_unique<TCMYK>(cyan_ * f, magneta_ * f, yellow_ * f, key_, alpha_);
}

std::unique_ptr<TSpace> TCMYK::copyWithAlpha(float alpha) const { return std::make_unique<TCMYK>(*this, alpha); }

bool TCMYK::equals(const TSpace& other) const {
    if (typeid(other) != typeid(TCMYK)) return false;
    const auto& o = static_cast<const TCMYK&>(other);
    return cyan_ == o.cyan_ && magneta_ == o.magneta_ && yellow_ == o.yellow_ && sameOrBothNaN(key_, o.key_);
}

std::unique_ptr<TSpace> TCMYK::convert(ColorSpace target) const {
    if (target != csRGB && target != csGray) return copy();
    const float r = (1.0f - cyan_) * 255.0f * (1.0f - key_) / 255.0f;
    const float g = (1.0f - magneta_) * 255.0f * (1.0f - key_) / 255.0f;
    const float b = (1.0f - yellow_) * 255.0f * (1.0f - key_) / 255.0f;
    if (target == csRGB)
        return std::make_unique<TRGBA>(
            sformat("rgba(%s, %s, %s, 1)", f3(r).c_str(), f3(g).c_str(), f3(b).c_str()));
    const int32_t v = truncToInt((r + g + b) / 3.0f * 100.0f);
    return std::make_unique<TGray>(sformat("%d%%", v));
}

// ---- TGray ------------------------------------------------------------------

TGray::TGray(const std::string& text) : TSpace(csGray, text), gray_(kNaN), alpha_(kNaN) {
    if (startsWith(text, "gray")) {
        static const Regex re("(gray)\\((.*?)\\)", "is");
        std::array<float, 2> work{0.0f, kNaN};
        walkNotation(re, text, work, true,
                     [](std::string_view, size_t, const std::array<float, 2>& read, size_t count,
                        std::array<float, 2>& w) {
                         for (size_t i = 0; i < count; ++i) w[i] = read[i];
                     });
        gray_ = work[0], alpha_ = work[1];
    } else if (!text.empty() && text.back() == '%') {
        gray_ = SUnit(text).pc();
    } else {
        gray_ = 0.0f;
    }
}

TGray::TGray(const TGray& other) : TSpace(other.cs(), other.text()), gray_(other.gray()), alpha_(other.alpha()) {}

TGray::TGray(const TGray& other, float alpha) : TGray(other) { alpha_ = alpha; }

TGray::TGray(float gray, float alpha) : TSpace(csGray, ""), gray_(gray), alpha_(alpha) {}

std::string TGray::toOUT() const { return f3(gray_); }
std::string TGray::toPDF() const { return toOUT() + " g"; }

std::string TGray::toStr() const {
    return sformat("gray(%.3f, %.3f)", printable(gray_ * 100.0f), printable(alpha_));
}

bool TGray::enabled() const { return !isNaNBits(gray_); }
std::unique_ptr<TSpace> TGray::copy() const { return std::make_unique<TGray>(*this); }

std::unique_ptr<TSpace> TGray::dimmer(float factor) const {
    return std::make_unique<TGray>(gray_ * limitFactor(factor), alpha_);
}

std::unique_ptr<TSpace> TGray::copyWithAlpha(float alpha) const { return std::make_unique<TGray>(*this, alpha); }

bool TGray::equals(const TSpace& other) const {
    if (typeid(other) != typeid(TGray)) return false;
    const auto& o = static_cast<const TGray&>(other);
    return gray_ == o.gray_ && sameOrBothNaN(alpha_, o.alpha_);
}

std::unique_ptr<TSpace> TGray::convert(ColorSpace target) const {
    const float v = gray_, a = alpha_;
    if (target == csRGB)
        return std::make_unique<TRGBA>(
            sformat("rgba(%s, %s, %s, %s)", f3(v).c_str(), f3(v).c_str(), f3(v).c_str(), f3(a).c_str()));
    if (target == csCMYK) {
        const float k = 1.0f - v;
        if (k == 1.0f) return std::make_unique<TCMYK>("cmyk(1, 1, 1, 1)");
        return std::make_unique<TCMYK>(
            sformat("cmyk(%s, %s, %s, %s)", f3(0.0f).c_str(), f3(0.0f).c_str(), f3(0.0f).c_str(), f3(k).c_str()));
    }
    return copy();
}

// ---- TSpot ------------------------------------------------------------------

TSpot::TSpot(const std::string& text) : TSpace(csSpot, text), index_(0), tint_(kNaN) {}

TSpot::TSpot(const TSpot& other) : TSpace(other.cs(), other.text()), index_(other.index()), tint_(other.tint()) {}

TSpot::TSpot(int32_t index, float tint) : TSpace(csSpot, ""), index_(index), tint_(tint) {}

std::string TSpot::toOUT() const { return sformat("/CS%d cs %.3f", index_, printable(tint_)); }
std::string TSpot::toPDF() const { return toOUT() + " scn"; }
std::string TSpot::toStr() const { return "SPOT"; }
bool TSpot::enabled() const { return !isNaNBits(tint_); }
std::unique_ptr<TSpace> TSpot::copy() const { return std::make_unique<TSpot>(*this); }

std::unique_ptr<TSpace> TSpot::dimmer(float factor) const {
    return std::make_unique<TSpot>(index_, tint_ * limitFactor(factor));
}

std::unique_ptr<TSpace> TSpot::copyWithAlpha(float) const { return copy(); }

bool TSpot::equals(const TSpace& other) const {
    if (typeid(other) != typeid(TSpot)) return false;
    const auto& o = static_cast<const TSpot&>(other);
    return index_ == o.index_ && sameOrBothNaN(tint_, o.tint_);
}

std::unique_ptr<TSpace> TSpot::convert(ColorSpace) const { return copy(); }

// ---- TNone ------------------------------------------------------------------

TNone::TNone(const std::string& text) : TSpace(csNone, text) {}
TNone::TNone(const TNone& other) : TSpace(other.cs(), other.text()) {}
std::unique_ptr<TSpace> TNone::copy() const { return std::make_unique<TNone>(*this); }
std::unique_ptr<TSpace> TNone::dimmer(float) const { return copy(); }
std::unique_ptr<TSpace> TNone::copyWithAlpha(float) const { return copy(); }
bool TNone::equals(const TSpace& other) const { return typeid(other) == typeid(TNone); }
std::unique_ptr<TSpace> TNone::convert(ColorSpace) const { return std::make_unique<TNone>("none"); }

// ---- SColor -----------------------------------------------------------------

SColor::SColor(const std::string& text) {
    if (text.size() < 2) return;
    if (text[0] == '@')
        space = std::make_unique<TCMYK>(text);
    else if (text[0] == '#')
        space = std::make_unique<TRGBA>(text);
    else if (text.back() == '%')
        space = std::make_unique<TGray>(text);
    else if (startsWith(text, "rgba") || startsWith(text, "rgb"))
        space = std::make_unique<TRGBA>(text);
    else if (startsWith(text, "cmyk"))
        space = std::make_unique<TCMYK>(text);
    else if (startsWith(text, "gray"))
        space = std::make_unique<TGray>(text);
    else if (startsWith(text, "spot"))
        space = std::make_unique<TSpot>(text);
    else if (getColorByName(text) >= 0)
        space = std::make_unique<TRGBA>(text);
    else
        space = std::make_unique<TNone>(text);
}

void SColor::alpha(float value) {
    if (space) space = space->copyWithAlpha(value);
}

size_t SColor::toHash() const { return std::hash<std::string>{}(toStr()); }

bool SColor::operator==(const SColor& other) const {
    if (!space || !other.space) return !space && !other.space;
    return space->equals(*other.space);
}

void SColor::transform(ColorSpace target) {
    if (space && space->cs() != target) space = space->convert(target);
}

SColor SColor::dimmer(float factor) const { return space ? SColor(space->dimmer(factor)) : SColor(); }
SColor SColor::copyWithAlpha(float value) const { return space ? SColor(space->copyWithAlpha(value)) : SColor(); }
SColor SColor::convert(ColorSpace target) const { return space ? SColor(space->convert(target)) : SColor(); }

}  // namespace kivu
