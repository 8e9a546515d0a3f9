#include "kivuimg/img/svg/standard/values.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "kivuimg/commons/graphics/color.h"

namespace kivu::stdsvg {

// ---- text helpers -------------------------------------------------------------

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f'; }

std::string_view trimSpace(std::string_view text) {
    size_t a = 0, b = text.size();
    while (a < b && isSpace(text[a])) ++a;
    while (b > a && isSpace(text[b - 1])) --b;
    return text.substr(a, b - a);
}

std::vector<std::string_view> words(std::string_view text, bool commas) {
    std::vector<std::string_view> out;
    auto separates = [&](char c) { return isSpace(c) || (commas && c == ','); };
    size_t i = 0;
    while (i < text.size()) {
        while (i < text.size() && separates(text[i])) ++i;
        size_t n = 0;
        while (i + n < text.size() && !separates(text[i + n])) ++n;
        if (n) out.push_back(text.substr(i, n));
        i += n;
    }
    return out;
}

bool containsWord(std::string_view list, std::string_view word) {
    for (std::string_view w : words(list))
        if (w == word) return true;
    return false;
}

std::string lowerAscii(std::string_view text) {
    std::string out(text);
    for (char& c : out)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return out;
}

bool equalsIgnoreCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
        char x = a[i], y = b[i];
        if (x >= 'A' && x <= 'Z') x = static_cast<char>(x - 'A' + 'a');
        if (y >= 'A' && y <= 'Z') y = static_cast<char>(y - 'A' + 'a');
        if (x != y) return false;
    }
    return true;
}

// ---- numbers --------------------------------------------------------------------

namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }

size_t digitsAt(std::string_view t, size_t i) {
    size_t n = 0;
    while (i + n < t.size() && isDigit(t[i + n])) ++n;
    return n;
}

}  // namespace

// sign? (digits ("." digits?)? | "." digits) (("e"|"E") sign? digits)?
size_t numberLength(std::string_view t) {
    size_t i = 0;
    if (i < t.size() && (t[i] == '+' || t[i] == '-')) ++i;
    const size_t whole = digitsAt(t, i);
    i += whole;
    size_t fraction = 0;
    if (i < t.size() && t[i] == '.') {
        fraction = digitsAt(t, i + 1);
        if (whole == 0 && fraction == 0) return 0;
        i += 1 + fraction;
    } else if (whole == 0) {
        return 0;
    }
    if (i < t.size() && (t[i] == 'e' || t[i] == 'E')) {
        size_t j = i + 1;
        if (j < t.size() && (t[j] == '+' || t[j] == '-')) ++j;
        const size_t exponent = digitsAt(t, j);
        if (exponent > 0) i = j + exponent;
    }
    return i;
}

void TNumberScanner::skipSpace() {
    while (pos_ < text_.size() && isSpace(text_[pos_])) ++pos_;
}

void TNumberScanner::skipSeparator() {
    skipSpace();
    if (pos_ < text_.size() && text_[pos_] == ',') {
        ++pos_;
        skipSpace();
    }
}

bool TNumberScanner::number(double& v) {
    skipSpace();
    const size_t n = numberLength(text_.substr(pos_));
    if (n == 0) return false;
    // strtod wants a terminated text; numbers are short.
    char buffer[64];
    std::string owned;
    const char* start;
    if (n < sizeof buffer) {
        std::memcpy(buffer, text_.data() + pos_, n);
        buffer[n] = '\0';
        start = buffer;
    } else {
        owned.assign(text_.substr(pos_, n));
        start = owned.c_str();
    }
    v = std::strtod(start, nullptr);
    if (!std::isfinite(v)) v = v > 0 ? 3.4e38 : -3.4e38;
    pos_ += n;
    return true;
}

bool TNumberScanner::flag(bool& v) {
    skipSpace();
    if (pos_ >= text_.size() || (text_[pos_] != '0' && text_[pos_] != '1')) return false;
    v = text_[pos_++] == '1';
    return true;
}

bool parseNumber(std::string_view text, double& v) {
    TNumberScanner s(text);
    double x;
    if (!s.number(x) || !s.atEnd()) return false;
    v = x;
    return true;
}

bool parseNumberList(std::string_view text, std::vector<double>& out) {
    TNumberScanner s(text);
    out.clear();
    double v;
    while (!s.atEnd()) {
        if (!s.number(v)) return false;
        out.push_back(v);
        s.skipSeparator();
    }
    return true;
}

// ---- lengths ----------------------------------------------------------------------

namespace {

struct SUnitWord {
    const char* word;
    LengthUnit unit;
};

constexpr SUnitWord kUnits[] = {{"px", LengthUnit::px}, {"pt", LengthUnit::pt}, {"pc", LengthUnit::pc},
                                {"mm", LengthUnit::mm}, {"cm", LengthUnit::cm}, {"in", LengthUnit::in},
                                {"em", LengthUnit::em}, {"ex", LengthUnit::ex}, {"%", LengthUnit::percent}};

bool unitOf(std::string_view word, LengthUnit& unit) {
    if (word.empty()) {
        unit = LengthUnit::none;
        return true;
    }
    for (const SUnitWord& u : kUnits)
        if (equalsIgnoreCase(word, u.word)) {
            unit = u.unit;
            return true;
        }
    return false;
}

// One length at the scanner; the unit must follow the number at once.
bool lengthAt(TNumberScanner& s, SLength& out) {
    if (!s.number(out.value)) return false;
    const std::string_view rest = s.rest();
    size_t n = 0;
    if (!rest.empty() && rest[0] == '%') n = 1;
    else
        while (n < rest.size() && ((rest[n] >= 'a' && rest[n] <= 'z') || (rest[n] >= 'A' && rest[n] <= 'Z'))) ++n;
    if (!unitOf(rest.substr(0, n), out.unit)) return false;
    for (size_t i = 0; i < n; ++i) s.advance();
    return true;
}

}  // namespace

bool parseLength(std::string_view text, SLength& out) {
    TNumberScanner s(text);
    SLength l;
    if (!lengthAt(s, l) || !s.atEnd()) return false;
    out = l;
    return true;
}

bool parseLengthList(std::string_view text, std::vector<SLength>& out) {
    TNumberScanner s(text);
    out.clear();
    SLength l;
    while (!s.atEnd()) {
        if (!lengthAt(s, l)) return false;
        out.push_back(l);
        s.skipSeparator();
    }
    return true;
}

double toUserUnits(const SLength& l, double fontSize, double percentBase) {
    switch (l.unit) {
        case LengthUnit::none:
        case LengthUnit::px: return l.value;
        case LengthUnit::pt: return l.value * 96.0 / 72.0;
        case LengthUnit::pc: return l.value * 16.0;
        case LengthUnit::mm: return l.value * 96.0 / 25.4;
        case LengthUnit::cm: return l.value * 96.0 / 2.54;
        case LengthUnit::in: return l.value * 96.0;
        case LengthUnit::em: return l.value * fontSize;
        case LengthUnit::ex: return l.value * fontSize / 2;
        case LengthUnit::percent: return l.value * percentBase / 100.0;
    }
    return l.value;
}

// ---- colours ----------------------------------------------------------------------

namespace {

// The CSS names the engine's table lacks: the "grey" spellings and one more.
struct SExtraName {
    const char* name;
    uint32_t rgb;
};
constexpr SExtraName kExtraNames[] = {{"grey", 0x808080},          {"darkgrey", 0xA9A9A9},
                                      {"dimgrey", 0x696969},       {"lightgrey", 0xD3D3D3},
                                      {"slategrey", 0x708090},     {"darkslategrey", 0x2F4F4F},
                                      {"lightslategrey", 0x778899}, {"yellowgreen", 0x9ACD32}};

SRgba fromRgb(uint32_t v, float alpha = 1) {
    return SRgba{static_cast<float>((v >> 16) & 0xFF) / 255.0f, static_cast<float>((v >> 8) & 0xFF) / 255.0f,
                 static_cast<float>(v & 0xFF) / 255.0f, alpha};
}

bool namedColor(std::string_view text, SRgba& out) {
    const std::string name = lowerAscii(text);
    if (name == "transparent") {
        out = SRgba{0, 0, 0, 0};
        return true;
    }
    const int32_t v = getColorByName(name);
    if (v >= 0) {
        out = fromRgb(static_cast<uint32_t>(v));
        return true;
    }
    for (const SExtraName& e : kExtraNames)
        if (name == e.name) {
            out = fromRgb(e.rgb);
            return true;
        }
    return false;
}

int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

bool hexColor(std::string_view h, SRgba& out) {
    for (char c : h)
        if (hexValue(c) < 0) return false;
    auto one = [&](size_t i) { return static_cast<float>(hexValue(h[i]) * 17) / 255.0f; };
    auto two = [&](size_t i) { return static_cast<float>(hexValue(h[i]) * 16 + hexValue(h[i + 1])) / 255.0f; };
    switch (h.size()) {
        case 3: out = {one(0), one(1), one(2), 1}; return true;
        case 4: out = {one(0), one(1), one(2), one(3)}; return true;
        case 6: out = {two(0), two(2), two(4), 1}; return true;
        case 8: out = {two(0), two(2), two(4), two(6)}; return true;
        default: return false;
    }
}

float clamp01(double v) { return static_cast<float>(std::clamp(v, 0.0, 1.0)); }

// The arguments of a colour function: numbers with an optional "%" or
// angle unit, separated by commas or blanks, the alpha perhaps behind "/".
struct SArgument {
    double value;
    std::string unit;
};

bool functionArguments(std::string_view body, std::vector<SArgument>& args) {
    TNumberScanner s(body);
    while (!s.atEnd()) {
        if (s.peek() == '/') {
            s.advance();
            continue;
        }
        SArgument a;
        if (!s.number(a.value)) return false;
        while (s.peek() == '%' || (s.peek() >= 'a' && s.peek() <= 'z') || (s.peek() >= 'A' && s.peek() <= 'Z')) {
            a.unit += s.peek();
            s.advance();
        }
        args.push_back(a);
        s.skipSeparator();
    }
    return true;
}

float alphaOf(const std::vector<SArgument>& args) {
    if (args.size() < 4) return 1;
    return clamp01(args[3].unit == "%" ? args[3].value / 100 : args[3].value);
}

bool rgbFunction(const std::vector<SArgument>& args, SRgba& out) {
    if (args.size() != 3 && args.size() != 4) return false;
    float c[3];
    for (int i = 0; i < 3; ++i) {
        if (!args[i].unit.empty() && args[i].unit != "%") return false;
        c[i] = clamp01(args[i].unit == "%" ? args[i].value / 100 : args[i].value / 255);
    }
    out = {c[0], c[1], c[2], alphaOf(args)};
    return true;
}

double hueDegrees(const SArgument& h) {
    const std::string u = lowerAscii(h.unit);
    if (u == "rad") return h.value * 180 / M_PI;
    if (u == "grad") return h.value * 0.9;
    if (u == "turn") return h.value * 360;
    return h.value;
}

bool hslFunction(const std::vector<SArgument>& args, SRgba& out) {
    if (args.size() != 3 && args.size() != 4) return false;
    double h = std::fmod(hueDegrees(args[0]), 360.0);
    if (h < 0) h += 360;
    const double s = std::clamp(args[1].value / 100, 0.0, 1.0), l = std::clamp(args[2].value / 100, 0.0, 1.0);
    const double c = (1 - std::fabs(2 * l - 1)) * s, x = c * (1 - std::fabs(std::fmod(h / 60, 2.0) - 1));
    const double m = l - c / 2;
    const int sector = static_cast<int>(h / 60) % 6;
    static const int kOrder[6][3] = {{0, 1, 2}, {1, 0, 2}, {2, 0, 1}, {2, 1, 0}, {1, 2, 0}, {0, 2, 1}};
    const double parts[3] = {c, x, 0};
    out = {clamp01(parts[kOrder[sector][0]] + m), clamp01(parts[kOrder[sector][1]] + m),
           clamp01(parts[kOrder[sector][2]] + m), alphaOf(args)};
    return true;
}

bool functionColor(std::string_view text, SRgba& out) {
    const size_t open = text.find('(');
    if (open == std::string_view::npos || text.back() != ')') return false;
    const std::string name = lowerAscii(trimSpace(text.substr(0, open)));
    std::vector<SArgument> args;
    if (!functionArguments(text.substr(open + 1, text.size() - open - 2), args)) return false;
    if (name == "rgb" || name == "rgba") return rgbFunction(args, out);
    if (name == "hsl" || name == "hsla") return hslFunction(args, out);
    return false;
}

}  // namespace

bool parseColor(std::string_view text, SRgba& out) {
    text = trimSpace(text);
    // "#CD853F icc-color(...)": the sRGB colour stands first.
    const size_t icc = lowerAscii(text).find("icc-color(");
    if (icc != std::string::npos && icc > 0) text = trimSpace(text.substr(0, icc));
    if (text.empty()) return false;
    if (text[0] == '#') return hexColor(text.substr(1), out);
    if (text.find('(') != std::string_view::npos) return functionColor(text, out);
    return namedColor(text, out);
}

// ---- paints ---------------------------------------------------------------------

namespace {

bool simplePaint(std::string_view text, SPaint::Kind& kind, SRgba& rgba) {
    if (equalsIgnoreCase(text, "none")) {
        kind = SPaint::none;
        return true;
    }
    if (equalsIgnoreCase(text, "currentColor")) {
        kind = SPaint::currentColor;
        return true;
    }
    if (!parseColor(text, rgba)) return false;
    kind = SPaint::color;
    return true;
}

}  // namespace

bool parsePaint(std::string_view text, SPaint& out) {
    text = trimSpace(text);
    SPaint p;
    if (text.size() > 4 && equalsIgnoreCase(text.substr(0, 4), "url(")) {
        const size_t close = text.find(')');
        if (close == std::string_view::npos) return false;
        p.kind = SPaint::url;
        p.id = localId(text.substr(0, close + 1));
        const std::string_view rest = trimSpace(text.substr(close + 1));
        if (!rest.empty()) {
            if (!simplePaint(rest, p.fallback, p.fallbackRgba)) return false;
            p.hasFallback = true;
        }
        out = p;
        return true;
    }
    if (!simplePaint(text, p.kind, p.rgba)) return false;
    out = p;
    return true;
}

std::string localId(std::string_view text) {
    text = trimSpace(text);
    if (text.size() > 4 && equalsIgnoreCase(text.substr(0, 4), "url(") && text.back() == ')') {
        text = trimSpace(text.substr(4, text.size() - 5));
        if (text.size() >= 2 && (text[0] == '\'' || text[0] == '"') && text.back() == text[0])
            text = trimSpace(text.substr(1, text.size() - 2));
    }
    if (text.size() < 2 || text[0] != '#') return "";
    return std::string(text.substr(1));
}

// ---- transforms -----------------------------------------------------------------------

namespace {

struct STransformKind {
    const char* name;
    size_t minArgs, maxArgs;
};

constexpr STransformKind kTransforms[] = {{"matrix", 6, 6}, {"translate", 1, 2}, {"scale", 1, 2},
                                          {"rotate", 1, 3},  {"skewX", 1, 1},     {"skewY", 1, 1}};

SMatrix transformOf(std::string_view name, const std::vector<double>& v) {
    if (name == "matrix") return {v[0], v[1], v[2], v[3], v[4], v[5]};
    if (name == "translate") return SMatrix::translate(v[0], v.size() > 1 ? v[1] : 0);
    if (name == "scale") return SMatrix::scale(v[0], v.size() > 1 ? v[1] : v[0]);
    if (name == "skewX") return SMatrix::skewX(v[0]);
    if (name == "skewY") return SMatrix::skewY(v[0]);
    if (v.size() == 3)
        return SMatrix::translate(v[1], v[2]) * SMatrix::rotate(v[0]) * SMatrix::translate(-v[1], -v[2]);
    return SMatrix::rotate(v[0]);
}

// One "name(numbers)" at the scanner, multiplied into `m`.
bool oneTransform(TNumberScanner& s, SMatrix& m) {
    const std::string_view rest = s.rest();
    for (const STransformKind& kind : kTransforms) {
        const size_t n = std::strlen(kind.name);
        if (rest.substr(0, n) != kind.name) continue;
        for (size_t i = 0; i < n; ++i) s.advance();
        s.skipSpace();
        if (s.peek() != '(') return false;
        s.advance();
        std::vector<double> args;
        double v;
        while (s.number(v)) {
            args.push_back(v);
            s.skipSeparator();
        }
        s.skipSpace();
        if (s.peek() != ')' || args.size() < kind.minArgs || args.size() > kind.maxArgs) return false;
        if (kind.minArgs == 1 && kind.maxArgs == 3 && args.size() == 2) return false;
        s.advance();
        m *= transformOf(kind.name, args);
        return true;
    }
    return false;
}

}  // namespace

bool parseTransform(std::string_view text, SMatrix& out) {
    TNumberScanner s(text);
    SMatrix m;
    while (!s.atEnd()) {
        if (!oneTransform(s, m)) return false;
        s.skipSeparator();
    }
    out = m;
    return true;
}

// ---- view boxes -------------------------------------------------------------------------

bool parseViewBox(std::string_view text, SViewBox& out) {
    std::vector<double> v;
    if (!parseNumberList(text, v) || v.size() != 4 || v[2] < 0 || v[3] < 0) return false;
    out = {v[0], v[1], v[2], v[3]};
    return true;
}

bool parseAspectRatio(std::string_view text, SAspectRatio& out) {
    std::vector<std::string> words;
    std::string_view t = trimSpace(text);
    while (!t.empty()) {
        size_t n = 0;
        while (n < t.size() && !isSpace(t[n])) ++n;
        words.emplace_back(t.substr(0, n));
        t = trimSpace(t.substr(n));
    }
    size_t i = 0;
    if (i < words.size() && words[i] == "defer") ++i;
    if (i >= words.size()) return false;
    SAspectRatio a;
    const std::string& align = words[i++];
    if (align == "none") {
        a.none = true;
    } else {
        static const char* const kAxes[3] = {"Min", "Mid", "Max"};
        bool found = false;
        for (uint8_t x = 0; x < 3 && !found; ++x)
            for (uint8_t y = 0; y < 3 && !found; ++y)
                if (align == std::string("x") + kAxes[x] + "Y" + kAxes[y]) a.x = x, a.y = y, found = true;
        if (!found) return false;
    }
    if (i < words.size()) {
        if (words[i] == "slice") a.slice = true;
        else if (words[i] != "meet") return false;
        ++i;
    }
    if (i != words.size()) return false;
    out = a;
    return true;
}

SMatrix viewBoxTransform(const SViewBox& box, const SAspectRatio& aspect, double x, double y, double width,
                         double height) {
    if (box.w <= 0 || box.h <= 0) return SMatrix::translate(x, y);
    double sx = width / box.w, sy = height / box.h;
    if (!aspect.none) {
        sx = sy = aspect.slice ? std::max(sx, sy) : std::min(sx, sy);
    }
    double tx = x - box.x * sx, ty = y - box.y * sy;
    if (!aspect.none) {
        tx += (width - box.w * sx) * aspect.x / 2;
        ty += (height - box.h * sy) * aspect.y / 2;
    }
    return SMatrix{sx, 0, 0, sy, tx, ty};
}

}  // namespace kivu::stdsvg
