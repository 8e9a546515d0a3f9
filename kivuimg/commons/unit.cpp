#include "kivuimg/commons/unit.h"

#include <charconv>
#include <cmath>
#include <functional>
#include <limits>
#include <string_view>

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/graphics/valueutil.h"

namespace kivu {

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kPtPerMm = 2.8346457f;
constexpr float kPtPerCm = 28.346457f;
constexpr float kPxPerPt = 1.333f;

bool after0(const std::string& s, std::string_view word) {
    const size_t at = s.find(word);
    return at != std::string::npos && at > 0;
}

// Keeps the characters of `allowed` and only the first ".".
std::string filterNumber(std::string_view text, std::string_view allowed, bool commaIsPoint) {
    std::string out;
    out.reserve(text.size());
    bool point = false;
    for (char c : text) {
        if (allowed.find(c) == std::string_view::npos) continue;
        if (c == ',' && commaIsPoint) c = '.';
        if (c == '.') {
            if (point) continue;
            point = true;
        }
        out.push_back(c);
    }
    return out;
}

}  // namespace

Unit unit(const std::string& text) {
    const std::string s = toLower(text);
    if (after0(s, "pt")) return uPt;
    if (s == "auto") return uAuto;
    if (after0(s, "mm")) return uMm;
    if (after0(s, "cm")) return uCm;
    if (after0(s, "in")) return uIn;
    if (after0(s, "%")) return uPercent;
    if (after0(s, "*")) return uStar;
    if (after0(s, "f")) return uFs;
    if (after0(s, "px")) return uPx;
    if (after0(s, "rad")) return uRad;
    if (after0(s, "deg")) return uDeg;
    if (s == "inline") return uInline;
    return uNone;
}

std::string sUnit(Unit u) {
    switch (u) {
        case uPt: return "pt";
        case uMm: return "mm";
        case uCm: return "cm";
        case uIn: return "in";
        case uPercent: return "%";
        case uFs: return "fs";
        case uPx: return "px";
        case uStar: return "*";
        case uRad: return "rad";
        case uDeg: return "deg";
        case uAuto: return "auto";
        case uInline: return "inline";
        default: return "";
    }
}

SUnit::SUnit(float points) : text(sformat("%.2fpt", printable(points))) {}

SUnit& SUnit::operator()(float points) {
    text = sformat("%.2fpt", printable(points));
    return *this;
}

SUnit SUnit::PX(int pixels) { return SUnit(sformat("%dpx", pixels)); }

float SUnit::number(const std::string& text) {
    const std::string lower = toLower(text);
    if (lower == "auto" || lower == "none") return kNaN;
    std::string s = filterNumber(text, "-123456789.,0", true);
    if (s.empty()) s = "0.00";
    float value = 0.0f;
    const auto [end, ec] = std::from_chars(s.data(), s.data() + s.size(), value);
    if (ec != std::errc() || end != s.data() + s.size()) throwf("Invalid number '%s'", s.c_str());
    return value;
}

double SUnit::realNumber(const std::string& text) {
    if (text.empty()) return std::numeric_limits<double>::quiet_NaN();
    constexpr std::string_view allowed = "+-123456789.0'";
    for (char c : text)
        if (allowed.find(c) == std::string_view::npos) return std::numeric_limits<double>::quiet_NaN();
    const std::string s = filterNumber(text, allowed, false);
    // from_chars knows no leading "+"; one sign of either kind is a number.
    std::string_view body = s;
    if (!body.empty() && body[0] == '+' && (body.size() < 2 || body[1] != '-')) body.remove_prefix(1);
    double value = 0.0;
    const auto [end, ec] = std::from_chars(body.data(), body.data() + body.size(), value);
    if (body.empty() || ec != std::errc() || end != body.data() + body.size())
        throwf("Invalid number '%s'", s.c_str());
    return value;
}

bool SUnit::isStaticDimension() const { return unit() < uAuto; }

bool SUnit::isRelative() const {
    const Unit u = unit();
    return u == uPercent || u == uFs;
}

SUnit SUnit::isPercent(float total) const {
    const float n = number(text);
    if (isNaNBits(n)) return SUnit("auto");
    if (isRelative()) return SUnit(sformat("%.6fpt", printable(total * (n / 100.0f))));
    return *this;
}

float SUnit::pt() const {
    const float n = number(text);
    switch (unit()) {
        case uMm: return n * kPtPerMm;
        case uCm: return n * kPtPerCm;
        case uIn: return n * 72.0f;
        case uPercent: return n / 100.0f;
        case uPx: return n * 0.75f;
        default: return n;
    }
}

float SUnit::pc() const {
    const float n = number(text);
    if (unit() == uPercent && !isNaNBits(n)) return n / 100.0f;
    return kNaN;
}

float SUnit::mm() const {
    const float n = number(text);
    switch (unit()) {
        case uPt: return n / kPtPerMm;
        case uCm: return n * 10.0f;
        case uIn: return n * 25.4f;
        case uPx: return n * 0.26458332f;
        default: return n;
    }
}

float SUnit::cm() const {
    const float n = number(text);
    switch (unit()) {
        case uPt: return n / kPtPerCm;
        case uMm: return n / 10.0f;
        case uIn: return n * 2.54f;
        default: return n;
    }
}

float SUnit::inc() const {
    const float n = number(text);
    switch (unit()) {
        case uPt: return n / 72.0f;
        case uMm: return n / 2.54f / 10.0f;
        case uCm: return n / 2.54f;
        default: return n;
    }
}

int32_t SUnit::px() const {
    const float n = number(text);
    switch (unit()) {
        case uPt: return truncToInt(n * kPxPerPt);
        case uMm: return truncToInt(n * kPtPerMm * kPxPerPt);
        case uCm: return truncToInt(n * kPtPerCm * kPxPerPt);
        case uIn: return truncToInt(n * 72.0f * kPxPerPt);
        default: return truncToInt(n);
    }
}

float SUnit::rad() const {
    const float n = number(text);
    if (unit() == uDeg) return static_cast<float>(static_cast<double>(n) * 3.141592653589793 / 180.0);
    return n;
}

float SUnit::deg() const {
    const float n = number(text);
    if (unit() == uRad) return static_cast<float>(static_cast<double>(n) * 57.29577951308232);
    return n;
}

float SUnit::any() const { return number(text); }

float SUnit::dpiPixel2Pt(float factor) const {
    const Unit u = unit();
    if (u == uPx || u == uNone) return number(text) * factor;
    return pt();
}

size_t SUnit::toHash() const { return std::hash<std::string>{}(text); }

}  // namespace kivu
