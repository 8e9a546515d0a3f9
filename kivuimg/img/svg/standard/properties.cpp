#include "kivuimg/img/svg/standard/properties.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace kivu::stdsvg {

namespace {

constexpr SPropertyInfo kProperties[] = {
    {"fill", true, true},
    {"fill-opacity", true, true},
    {"fill-rule", true, true},
    {"stroke", true, true},
    {"stroke-opacity", true, true},
    {"stroke-width", true, true},
    {"stroke-linecap", true, true},
    {"stroke-linejoin", true, true},
    {"stroke-miterlimit", true, true},
    {"stroke-dasharray", true, true},
    {"stroke-dashoffset", true, true},
    {"color", true, true},
    {"font-family", true, true},
    {"font-size", true, true},
    {"font-style", true, true},
    {"font-weight", true, true},
    {"font-variant", true, true},
    {"font-stretch", true, true},
    {"text-anchor", true, true},
    {"visibility", true, true},
    {"clip-rule", true, true},
    {"marker-start", true, true},
    {"marker-mid", true, true},
    {"marker-end", true, true},
    {"letter-spacing", true, true},
    {"word-spacing", true, true},
    {"dominant-baseline", true, true},
    {"paint-order", true, true},
    {"writing-mode", true, true},
    {"direction", true, true},
    {"opacity", false, true},
    {"display", false, true},
    {"overflow", false, true},
    {"clip-path", false, true},
    {"mask", false, true},
    {"filter", false, true},
    {"stop-color", false, true},
    {"stop-opacity", false, true},
    {"flood-color", false, true},
    {"flood-opacity", false, true},
    {"baseline-shift", false, true},
    {"alignment-baseline", false, true},
    {"transform", false, false},
    {"text-decoration", false, true},
    {"mix-blend-mode", false, true},
    {"isolation", false, true},
    {"vector-effect", false, true},
    {"mask-type", false, true},
    {"font", false, false},
    {"marker", false, false},
};
static_assert(std::size(kProperties) == static_cast<size_t>(Prop::count));

// ---- value readers --------------------------------------------------------------

// A number or a percentage, as an opacity between 0 and 1.
bool opacityValue(std::string_view v, float& out) {
    v = trimSpace(v);
    double x;
    if (!v.empty() && v.back() == '%') {
        if (!parseNumber(v.substr(0, v.size() - 1), x)) return false;
        x /= 100;
    } else if (!parseNumber(v, x)) {
        return false;
    }
    out = static_cast<float>(std::clamp(x, 0.0, 1.0));
    return true;
}

template <size_t N>
bool keyword(std::string_view v, const char* const (&words)[N], uint8_t& out) {
    v = trimSpace(v);
    for (size_t i = 0; i < N; ++i)
        if (equalsIgnoreCase(v, words[i])) {
            out = static_cast<uint8_t>(i);
            return true;
        }
    return false;
}

// A length whose em and ex are made absolute with the element's font size.
bool absoluteLength(std::string_view v, float fontSize, SLength& out, bool allowNegative = true) {
    SLength l;
    if (!parseLength(v, l)) return false;
    if (!allowNegative && l.value < 0) return false;
    if (l.unit == LengthUnit::em || l.unit == LengthUnit::ex) {
        l.value = toUserUnits(l, fontSize, 0);
        l.unit = LengthUnit::none;
    }
    out = l;
    return true;
}

bool colorValue(std::string_view v, const SStyle& current, SRgba& out) {
    if (equalsIgnoreCase(trimSpace(v), "currentColor")) {
        out = current.color;
        return true;
    }
    return parseColor(v, out);
}

// "url(#id)" gives the id, "none" gives "".
bool referenceValue(std::string_view v, std::string& out) {
    v = trimSpace(v);
    if (equalsIgnoreCase(v, "none")) {
        out.clear();
        return true;
    }
    const std::string id = localId(v);
    if (id.empty()) {
        // A reference to another file can't be followed: it names nothing.
        if (v.size() > 4 && equalsIgnoreCase(v.substr(0, 4), "url(")) {
            out = "\x01";
            return true;
        }
        return false;
    }
    out = id;
    return true;
}

bool dashValue(std::string_view v, float fontSize, std::vector<SLength>& out) {
    if (equalsIgnoreCase(trimSpace(v), "none")) {
        out.clear();
        return true;
    }
    std::vector<SLength> list;
    if (!parseLengthList(v, list)) return false;
    double sum = 0;
    for (SLength& l : list) {
        if (l.value < 0) return false;
        if (l.unit == LengthUnit::em || l.unit == LengthUnit::ex) l = {toUserUnits(l, fontSize, 0), LengthUnit::none};
        sum += l.value;
    }
    if (sum <= 0) list.clear();
    else if (list.size() % 2) list.insert(list.end(), list.begin(), list.end());
    out = std::move(list);
    return true;
}

constexpr float kFontSizes[] = {9, 10, 13, 16, 18, 24, 32};
constexpr const char* kFontSizeWords[] = {"xx-small", "x-small", "small", "medium", "large", "x-large", "xx-large"};

bool fontSizeValue(std::string_view v, const SStyle& parent, float& out) {
    uint8_t k;
    if (keyword(v, kFontSizeWords, k)) {
        out = kFontSizes[k];
        return true;
    }
    const std::string_view t = trimSpace(v);
    if (equalsIgnoreCase(t, "larger")) return out = parent.fontSize * 1.2f, true;
    if (equalsIgnoreCase(t, "smaller")) return out = parent.fontSize / 1.2f, true;
    SLength l;
    if (!parseLength(t, l) || l.value < 0) return false;
    out = static_cast<float>(toUserUnits(l, parent.fontSize, parent.fontSize));
    return true;
}

bool fontWeightValue(std::string_view v, const SStyle& parent, uint16_t& out) {
    const std::string t = lowerAscii(trimSpace(v));
    if (t == "normal") return out = 400, true;
    if (t == "bold") return out = 700, true;
    if (t == "bolder") return out = parent.fontWeight < 400 ? 400 : parent.fontWeight < 600 ? 700 : 900, true;
    if (t == "lighter") return out = parent.fontWeight < 600 ? 100 : parent.fontWeight < 800 ? 400 : 700, true;
    double n;
    if (!parseNumber(t, n) || n < 1 || n > 1000) return false;
    out = static_cast<uint16_t>(n);
    return true;
}

bool fontStyleValue(std::string_view v, uint8_t& out) {
    static const char* const kWords[] = {"normal", "italic", "oblique"};
    std::string t = lowerAscii(trimSpace(v));
    if (t.rfind("oblique", 0) == 0) t = "oblique";
    return keyword(t, kWords, out);
}

// The families as written, quotes kept: the host reads a CSS list.
bool fontFamilyValue(std::string_view v, std::string& out) {
    v = trimSpace(v);
    if (v.empty()) return false;
    out = std::string(v);
    return true;
}

bool paintOrderValue(std::string_view v, bool& strokeFirst) {
    const std::string t = lowerAscii(trimSpace(v));
    if (t == "normal") return strokeFirst = false, true;
    const size_t s = t.find("stroke"), f = t.find("fill");
    if (s == std::string::npos && f == std::string::npos && t.find("markers") == std::string::npos) return false;
    strokeFirst = s != std::string::npos && (f == std::string::npos || s < f);
    return true;
}

bool decorationValue(std::string_view v, uint8_t& out) {
    const std::string t = lowerAscii(trimSpace(v));
    uint8_t bits = 0;
    if (t.find("underline") != std::string::npos) bits |= 1;
    if (t.find("overline") != std::string::npos) bits |= 2;
    if (t.find("line-through") != std::string::npos) bits |= 4;
    if (!bits && t != "none") return false;
    out = bits;
    return true;
}

bool baselineShiftValue(std::string_view v, float fontSize, SLength& out) {
    const std::string t = lowerAscii(trimSpace(v));
    if (t == "baseline") return out = SLength{}, true;
    if (t == "sub") return out = SLength{-0.2 * fontSize, LengthUnit::none}, true;
    if (t == "super") return out = SLength{0.4 * fontSize, LengthUnit::none}, true;
    SLength l;
    if (!parseLength(t, l)) return false;
    if (l.unit == LengthUnit::percent) l = {l.value * fontSize / 100, LengthUnit::none};
    else if (l.unit == LengthUnit::em || l.unit == LengthUnit::ex) l = {toUserUnits(l, fontSize, 0), LengthUnit::none};
    out = l;
    return true;
}

// A CSS transform: the SVG list with units and commas CSS writes.
bool cssTransform(std::string_view v, SMatrix& out) {
    if (equalsIgnoreCase(trimSpace(v), "none")) return out = SMatrix{}, true;
    std::string t(v);
    for (const char* unit : {"px", "deg"})
        for (size_t at; (at = t.find(unit)) != std::string::npos;) t.erase(at, std::strlen(unit));
    return parseTransform(t, out);
}

bool miterValue(std::string_view v, float& out) {
    double x;
    if (!parseNumber(v, x) || x < 1) return false;
    out = static_cast<float>(x);
    return true;
}

bool spacingValue(std::string_view v, float fontSize, float& out) {
    if (equalsIgnoreCase(trimSpace(v), "normal")) return out = 0, true;
    SLength l;
    if (!parseLength(v, l) || l.unit == LengthUnit::percent) return false;
    out = static_cast<float>(toUserUnits(l, fontSize, 0));
    return true;
}

bool strokePaint(std::string_view v, SPaint& out) { return parsePaint(v, out); }

bool applyFont(std::string_view v, const SStyle& parent, SStyle& out);

// ---- inherited properties ------------------------------------------------------

bool applyPaintsAndLines(Prop p, std::string_view v, SStyle& o) {
    static const char* const kRules[] = {"nonzero", "evenodd"};
    static const char* const kCaps[] = {"butt", "round", "square"};
    static const char* const kJoins[] = {"miter", "round", "bevel"};
    uint8_t k;
    switch (p) {
        case Prop::fill: return strokePaint(v, o.fill);
        case Prop::stroke: return strokePaint(v, o.stroke);
        case Prop::fillOpacity: return opacityValue(v, o.fillOpacity);
        case Prop::strokeOpacity: return opacityValue(v, o.strokeOpacity);
        case Prop::fillRule: return keyword(v, kRules, k) && ((o.fillEvenOdd = k == 1), true);
        case Prop::strokeWidth: return absoluteLength(v, o.fontSize, o.strokeWidth, false);
        case Prop::strokeLinecap: return keyword(v, kCaps, o.lineCap);
        case Prop::strokeLinejoin: {
            // SVG 2's miter-clip and arcs draw as miters here.
            const std::string t = lowerAscii(trimSpace(v));
            if (t == "miter-clip" || t == "arcs") return o.lineJoin = 0, true;
            return keyword(v, kJoins, o.lineJoin);
        }
        case Prop::strokeMiterlimit: return miterValue(v, o.miterLimit);
        case Prop::strokeDasharray: return dashValue(v, o.fontSize, o.dashArray);
        case Prop::strokeDashoffset: return absoluteLength(v, o.fontSize, o.dashOffset);
        default: return false;
    }
}

bool applyText(Prop p, std::string_view v, const SStyle& parent, SStyle& o) {
    static const char* const kAnchors[] = {"start", "middle", "end"};
    static const char* const kVisibility[] = {"visible", "hidden", "collapse"};
    static const char* const kBaselines[] = {"auto",   "middle",      "hanging",     "text-top",
                                             "text-bottom", "mathematical", "central", "ideographic",
                                             "alphabetic", "text-after-edge", "text-before-edge", "use-script",
                                             "no-change", "reset-size"};
    static const uint8_t kBaselineCodes[] = {0, 1, 2, 3, 4, 5, 1, 4, 0, 4, 2, 0, 0, 0};
    uint8_t k;
    switch (p) {
        case Prop::color: return parseColor(v, o.color);
        case Prop::clipRule: {
            static const char* const kRules[] = {"nonzero", "evenodd"};
            return keyword(v, kRules, k) && ((o.clipEvenOdd = k == 1), true);
        }
        case Prop::fontFamily: return fontFamilyValue(v, o.fontFamily);
        case Prop::fontSize: return fontSizeValue(v, parent, o.fontSize);
        case Prop::fontStyle: return fontStyleValue(v, o.fontStyle);
        case Prop::fontWeight: return fontWeightValue(v, parent, o.fontWeight);
        case Prop::fontVariant: {
            const std::string t = lowerAscii(trimSpace(v));
            o.smallCaps = t == "small-caps";
            return t == "normal" || t == "small-caps";
        }
        case Prop::fontStretch: return !trimSpace(v).empty();
        case Prop::textAnchor: return keyword(v, kAnchors, k) && ((o.textAnchor = static_cast<TextAnchor>(k)), true);
        case Prop::visibility: return keyword(v, kVisibility, k) && ((o.visibility = static_cast<Visibility>(k)), true);
        case Prop::markerStart: return referenceValue(v, o.markerStart);
        case Prop::markerMid: return referenceValue(v, o.markerMid);
        case Prop::markerEnd: return referenceValue(v, o.markerEnd);
        case Prop::letterSpacing: return spacingValue(v, o.fontSize, o.letterSpacing);
        case Prop::wordSpacing: return spacingValue(v, o.fontSize, o.wordSpacing);
        case Prop::dominantBaseline:
            return keyword(v, kBaselines, k) && ((o.dominantBaseline = kBaselineCodes[k]), true);
        case Prop::paintOrder: return paintOrderValue(v, o.strokeFirst);
        case Prop::writingMode: {
            const std::string t = lowerAscii(trimSpace(v));
            o.vertical = t == "tb" || t == "tb-rl" || t == "vertical-rl" || t == "vertical-lr";
            return !t.empty();
        }
        case Prop::direction: {
            static const char* const kDirections[] = {"ltr", "rtl"};
            return keyword(v, kDirections, k) && ((o.rtl = k == 1), true);
        }
        default: return false;
    }
}

bool applyOwn(Prop p, std::string_view v, const SStyle& parent, SStyle& o) {
    uint8_t k;
    switch (p) {
        case Prop::opacity: return opacityValue(v, o.opacity);
        case Prop::display: {
            const std::string t = lowerAscii(trimSpace(v));
            if (t.empty()) return false;
            o.displayNone = t == "none";
            return true;
        }
        case Prop::overflow: {
            static const char* const kWords[] = {"visible", "hidden", "scroll", "auto"};
            if (!keyword(v, kWords, k)) return false;
            o.overflow = k == 1 || k == 2 ? Overflow::hidden : Overflow::visible;
            return true;
        }
        case Prop::clipPath: return referenceValue(v, o.clipPath);
        case Prop::mask: return referenceValue(v, o.mask);
        case Prop::filter: return o.filter = equalsIgnoreCase(trimSpace(v), "none") ? "" : std::string(trimSpace(v)), true;
        case Prop::stopColor: return colorValue(v, o, o.stopColor);
        case Prop::stopOpacity: return opacityValue(v, o.stopOpacity);
        case Prop::floodColor: return colorValue(v, o, o.floodColor);
        case Prop::floodOpacity: return opacityValue(v, o.floodOpacity);
        case Prop::baselineShift: return baselineShiftValue(v, o.fontSize, o.baselineShift);
        case Prop::alignmentBaseline: return !trimSpace(v).empty();
        case Prop::transform: return cssTransform(v, o.transform) && ((o.hasTransform = true), true);
        case Prop::textDecoration: return decorationValue(v, o.textDecoration);
        case Prop::mixBlendMode:
        case Prop::isolation: return !trimSpace(v).empty();
        case Prop::vectorEffect: {
            const std::string t = lowerAscii(trimSpace(v));
            o.nonScalingStroke = t == "non-scaling-stroke";
            return !t.empty();
        }
        case Prop::maskType: {
            static const char* const kTypes[] = {"luminance", "alpha"};
            return keyword(v, kTypes, k) && ((o.maskAlpha = k == 1), true);
        }
        case Prop::font: return applyFont(v, parent, o);
        case Prop::marker: {
            std::string id;
            if (!referenceValue(v, id)) return false;
            o.markerStart = o.markerMid = o.markerEnd = id;
            return true;
        }
        default: return false;
    }
}

// "font: [style] [variant] [weight] [stretch] size[/line-height] family".
bool applyFont(std::string_view v, const SStyle& parent, SStyle& o) {
    std::string_view t = trimSpace(v);
    SStyle f = o;
    f.fontStyle = 0, f.smallCaps = false, f.fontWeight = 400;
    while (!t.empty()) {
        size_t n = 0;
        while (n < t.size() && !isSpace(t[n])) ++n;
        std::string_view word = t.substr(0, n);
        const size_t slash = word.find('/');
        const std::string_view sizeWord = word.substr(0, slash);
        float size;
        double plain;
        // A bare number is a weight: the size needs its unit here.
        const bool bare = parseNumber(sizeWord, plain) && plain != 0;
        if (!bare && fontSizeValue(sizeWord, parent, size)) {
            f.fontSize = size;
            std::string_view family = trimSpace(t.substr(n));
            if (slash == std::string_view::npos && !family.empty() && family[0] == '/') {
                // "12px / 1.2 serif": a line height stands apart.
                family = trimSpace(family.substr(1));
                size_t m = 0;
                while (m < family.size() && !isSpace(family[m])) ++m;
                family = trimSpace(family.substr(m));
            }
            if (!fontFamilyValue(family, f.fontFamily)) return false;
            o = f;
            return true;
        }
        uint8_t k;
        if (equalsIgnoreCase(word, "normal")) {
        } else if (fontStyleValue(word, k)) {
            f.fontStyle = k;
        } else if (equalsIgnoreCase(word, "small-caps")) {
            f.smallCaps = true;
        } else if (!fontWeightValue(word, parent, f.fontWeight)) {
            static const char* const kStretch[] = {"ultra-condensed", "extra-condensed", "condensed",
                                                   "semi-condensed", "semi-expanded",   "expanded",
                                                   "extra-expanded",  "ultra-expanded"};
            if (!keyword(word, kStretch, k)) return false;
        }
        t = trimSpace(t.substr(n));
    }
    return false;
}

// Copies one property's computed value (for "inherit").
void copyProperty(Prop p, const SStyle& from, SStyle& to) {
    switch (p) {
        case Prop::fill: to.fill = from.fill; break;
        case Prop::fillOpacity: to.fillOpacity = from.fillOpacity; break;
        case Prop::fillRule: to.fillEvenOdd = from.fillEvenOdd; break;
        case Prop::stroke: to.stroke = from.stroke; break;
        case Prop::strokeOpacity: to.strokeOpacity = from.strokeOpacity; break;
        case Prop::strokeWidth: to.strokeWidth = from.strokeWidth; break;
        case Prop::strokeLinecap: to.lineCap = from.lineCap; break;
        case Prop::strokeLinejoin: to.lineJoin = from.lineJoin; break;
        case Prop::strokeMiterlimit: to.miterLimit = from.miterLimit; break;
        case Prop::strokeDasharray: to.dashArray = from.dashArray; break;
        case Prop::strokeDashoffset: to.dashOffset = from.dashOffset; break;
        case Prop::color: to.color = from.color; break;
        case Prop::fontFamily: to.fontFamily = from.fontFamily; break;
        case Prop::fontSize: to.fontSize = from.fontSize; break;
        case Prop::fontStyle: to.fontStyle = from.fontStyle; break;
        case Prop::fontWeight: to.fontWeight = from.fontWeight; break;
        case Prop::fontVariant: to.smallCaps = from.smallCaps; break;
        case Prop::textAnchor: to.textAnchor = from.textAnchor; break;
        case Prop::visibility: to.visibility = from.visibility; break;
        case Prop::clipRule: to.clipEvenOdd = from.clipEvenOdd; break;
        case Prop::markerStart: to.markerStart = from.markerStart; break;
        case Prop::markerMid: to.markerMid = from.markerMid; break;
        case Prop::markerEnd: to.markerEnd = from.markerEnd; break;
        case Prop::letterSpacing: to.letterSpacing = from.letterSpacing; break;
        case Prop::wordSpacing: to.wordSpacing = from.wordSpacing; break;
        case Prop::dominantBaseline: to.dominantBaseline = from.dominantBaseline; break;
        case Prop::paintOrder: to.strokeFirst = from.strokeFirst; break;
        case Prop::writingMode: to.vertical = from.vertical; break;
        case Prop::direction: to.rtl = from.rtl; break;
        case Prop::opacity: to.opacity = from.opacity; break;
        case Prop::display: to.displayNone = from.displayNone; break;
        case Prop::overflow: to.overflow = from.overflow; break;
        case Prop::clipPath: to.clipPath = from.clipPath; break;
        case Prop::mask: to.mask = from.mask; break;
        case Prop::filter: to.filter = from.filter; break;
        case Prop::stopColor: to.stopColor = from.stopColor; break;
        case Prop::stopOpacity: to.stopOpacity = from.stopOpacity; break;
        case Prop::floodColor: to.floodColor = from.floodColor; break;
        case Prop::floodOpacity: to.floodOpacity = from.floodOpacity; break;
        case Prop::baselineShift: to.baselineShift = from.baselineShift; break;
        case Prop::transform: to.transform = from.transform, to.hasTransform = from.hasTransform; break;
        case Prop::textDecoration: to.textDecoration = from.textDecoration; break;
        case Prop::vectorEffect: to.nonScalingStroke = from.nonScalingStroke; break;
        case Prop::maskType: to.maskAlpha = from.maskAlpha; break;
        default: break;
    }
}

}  // namespace

const SPropertyInfo& propertyInfo(Prop p) { return kProperties[static_cast<size_t>(p)]; }

Prop propertyByName(std::string_view name) {
    for (size_t i = 0; i < std::size(kProperties); ++i)
        if (name == kProperties[i].name) return static_cast<Prop>(i);
    return Prop::count;
}

SStyle inheritFrom(const SStyle& parent) {
    SStyle s;
    for (size_t i = 0; i < std::size(kProperties); ++i)
        if (kProperties[i].inherited) copyProperty(static_cast<Prop>(i), parent, s);
    return s;
}

bool applyProperty(Prop p, std::string_view v, const SStyle& parent, SStyle& out) {
    if (equalsIgnoreCase(trimSpace(v), "inherit")) {
        copyProperty(p, parent, out);
        return true;
    }
    if (p < Prop::opacity) {
        if (p <= Prop::strokeDashoffset) return applyPaintsAndLines(p, v, out);
        return applyText(p, v, parent, out);
    }
    return applyOwn(p, v, parent, out);
}

SStyle computeStyle(const std::vector<SDecl>& declarations, const SStyle& parent) {
    SStyle s = inheritFrom(parent);
    // The font size first: em in the other properties is the element's own.
    for (const SDecl& d : declarations)
        if (d.prop == Prop::fontSize || d.prop == Prop::font) applyProperty(d.prop, d.value, parent, s);
    // The colour next: currentColor in the others is the element's own.
    for (const SDecl& d : declarations)
        if (d.prop == Prop::color) applyProperty(d.prop, d.value, parent, s);
    for (const SDecl& d : declarations)
        if (d.prop != Prop::fontSize && d.prop != Prop::font && d.prop != Prop::color)
            applyProperty(d.prop, d.value, parent, s);
    return s;
}

bool validValue(Prop p, std::string_view value) {
    static const SStyle kParent;
    SStyle scratch;
    return applyProperty(p, value, kParent, scratch);
}

}  // namespace kivu::stdsvg
