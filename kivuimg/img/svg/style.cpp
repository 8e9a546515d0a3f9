// Style resolution of the SVG document: how an element's SSVGStyle is built
// from its parent's style, its style text (with class rules appended), its
// presentation attributes and its font properties, and how a resolved style
// becomes the operators around a path.
//
// The order is not the CSS cascade: parent, then style text, then
// presentation attributes, so an attribute beats the style text of the same
// element.  A property in the style text is found by a pattern of the form
// "(.*)name:\s*(value)(.*)": every match is replaced by the value, and the
// result counts when it is not empty, not "inherit" and not the whole text
// (nothing matched).  The greedy first group makes the last occurrence on a
// line win.
#include "kivuimg/img/svg/style.h"

#include <array>
#include <functional>
#include <memory>
#include <optional>

#include "kivuimg/commons/content.h"
#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/core/regex.h"
#include "kivuimg/commons/extgstateobj.h"
#include "kivuimg/commons/graphics/valueutil.h"
#include "kivuimg/commons/objects.h"
#include "kivuimg/img/svg/imagesvg.h"

namespace kivu {

bool SSVGStyle::operator==(const SSVGStyle& o) const {
    return fill == o.fill && sameFloat(fillOpacity, o.fillOpacity) && fillRule == o.fillRule && stroke == o.stroke &&
           lineCap == o.lineCap && lineJoin == o.lineJoin && miterLimit == o.miterLimit &&
           sameFloat(strokeOpacity, o.strokeOpacity) && sameFloat(strokeWidth, o.strokeWidth) &&
           dashArray == o.dashArray && dashOffset == o.dashOffset && color == o.color && transform == o.transform &&
           hasDashArray == o.hasDashArray && hasMiterLimit == o.hasMiterLimit && fontFamily == o.fontFamily &&
           sameFloat(fontSize, o.fontSize) && fontWeight == o.fontWeight && fontStyle == o.fontStyle &&
           fontVariant == o.fontVariant && textAnchor == o.textAnchor;
}

size_t SSVGStyle::toHash() const {
    size_t h = fill.toHash();
    for (float v : {fillOpacity, strokeOpacity, strokeWidth, fontSize}) hashValue(h, isNaNBits(v) ? 0.0f : v);
    for (const std::string* s : {&fillRule, &miterLimit, &dashArray, &transform, &fontFamily, &fontWeight,
                                 &fontStyle, &fontVariant, &textAnchor})
        hashValue(h, *s);
    hashCombine(h, stroke.toHash());
    hashCombine(h, color.toHash());
    for (int v : {static_cast<int>(lineCap), static_cast<int>(lineJoin), static_cast<int>(dashOffset),
                  static_cast<int>(hasDashArray), static_cast<int>(hasMiterLimit)})
        hashValue(h, v);
    return h;
}

namespace {

// The value of a "(.*)name:\s*(value)(.*)" pattern in `text`, when it counts.
std::optional<std::string> styleValue(const Regex& re, const std::string& text) {
    std::string v = re.replaceAll(text, [](const Regex::Match& m) { return std::string(m.group(2)); });
    if (v.empty() || v == "inherit" || v == text) return std::nullopt;
    return v;
}

// The properties of a style text, each found by "(.*)name:\s*(value)(.*)".
enum Property {
    kFill,
    kFillOpacity,
    kFillRule,
    kStroke,
    kStrokeLinecap,
    kStrokeLinejoin,
    kStrokeMiterlimit,
    kStrokeOpacity,
    kStrokeWidth,
    kStrokeDasharray,
    kStrokeDashoffset,
    kFontFamily,
    kFontSize,
    kFontWeight,
    kFontStyle,
    kFontVariant,
    kTextAnchor,
    kPropertyCount
};

const Regex& property(Property which) {
    static const struct {
        const char* name;
        const char* value;
    } kRows[kPropertyCount] = {
        {"fill", "[a-z0-9#_()]*|none"},
        {"fill-opacity", "[a-z0-9.-]*|none"},
        {"fill-rule", "[a-z0-9#]*|none"},
        {"stroke", "[a-z0-9#]*|none"},
        {"stroke-linecap", "[a-z0-9#]*|none"},
        {"stroke-linejoin", "[a-z0-9#]*|none"},
        {"stroke-miterlimit", "[a-z0-9#]*|none"},
        {"stroke-opacity", "[a-z0-9.-]*|none"},
        {"stroke-width", "[a-z0-9.]*|none"},
        {"stroke-dasharray", "[a-z0-9., ]*|none"},
        {"stroke-dashoffset", "[a-z0-9.]*|none"},
        {"font-family", "[a-z0-9.\\\\\"' ,\\-]*|none"},
        {"font-size", "[a-z0-9.]*|none"},
        {"font-weight", "[a-z0-9.]*|normal"},
        {"font-style", "[a-z0-9.]*|normal"},
        {"font-variant", "[a-z0-9.]*|normal"},
        {"text-anchor", "start|middle|end"},
    };
    static const auto kPatterns = [] {
        std::array<std::unique_ptr<Regex>, kPropertyCount> patterns;
        for (size_t i = 0; i < kPropertyCount; ++i)
            patterns[i] = std::make_unique<Regex>(sformat("(.*)%s:\\s*(%s)(.*)", kRows[i].name, kRows[i].value),
                                                  Regex::Caseless);
        return patterns;
    }();
    return *kPatterns[which];
}

// "#rrggbb" of the three whole numbers of an rgb(...) match.
std::string hexOf(const Regex::Match& m) {
    return sformat("#%02x%02x%02x", toInt(m.group(1)), toInt(m.group(2)), toInt(m.group(3)));
}

// An opacity in the style text: a number, or 0 for anything else.
float opacityRule(std::string_view text) {
    std::string t = strip(text);
    if (t.empty()) t = "0";
    float v = 0.0f;
    if (isNumeric(t)) {
        try {
            v = toFloat(t);
        } catch (const KivuException&) {
            v = 0.0f;
        }
    }
    return isNaNBits(v) ? 0.0f : v;
}

void setOpacity(SSVGStyle& style, float v) { style.fillOpacity = style.strokeOpacity = v; }

// The fill and the common opacity of the style text.
void fillRows(const std::string& text, SSVGStyle& style) {
    static const Regex kFillRgb("fill:\\s*rgb\\((\\d+),\\s*(\\d+),\\s*(\\d+)\\)", Regex::Caseless);
    static const Regex kOpacity("[^-]opacity:\\s*([a-z0-9.-]*|none)", Regex::Caseless);
    static const Regex kOpacityFirst("^opacity:\\s*([a-z0-9.-]*|none)", Regex::Caseless);
    if (auto m = kFillRgb.search(text)) style.fill = SColor(hexOf(*m));
    else if (auto v = styleValue(property(kFill), text)) style.fill = SColor(*v);
    if (auto m = kOpacity.search(text)) setOpacity(style, opacityRule(m->group(1)));
    else if (auto m = kOpacityFirst.search(text); m && m->group(1) != "inherited")
        setOpacity(style, opacityRule(m->group(1)));
    if (auto v = styleValue(property(kFillOpacity), text)) style.fillOpacity = opacityRule(*v);
    if (auto v = styleValue(property(kFillRule), text)) style.fillRule = *v;
}

// The stroke colour: rgb(...) (case-sensitive), a name, or a gradient
// reference, whose parentheses the value pattern doesn't take.
void strokeColorRows(const std::string& text, SSVGStyle& style) {
    static const Regex kStrokeRgb("stroke:\\s*rgb\\((\\d+),\\s*(\\d+),\\s*(\\d+)\\)");
    static const Regex kUrl("url\\(#([\\w_]*)\\)", Regex::Caseless);
    if (auto m = kStrokeRgb.search(text)) {
        style.stroke = SColor(hexOf(*m));
    } else if (auto v = styleValue(property(kStroke), text)) {
        if (*v != "url") style.stroke = SColor(*v);
        else if (auto url = kUrl.search(text)) style.stroke = SColor(std::string(url->group(0)));
    }
}

}  // namespace

void TImageSVG::_defineStyleString(const std::string& text, SSVGStyle& style) {
    fillRows(text, style);
    strokeColorRows(text, style);
    if (auto v = styleValue(property(kStrokeLinecap), text)) style.lineCap = str2LineCapStyle(*v);
    if (auto v = styleValue(property(kStrokeLinejoin), text))
        style.lineJoin = str2LineJoinStyle(*v);
    if (auto v = styleValue(property(kStrokeMiterlimit), text)) {
        style.miterLimit = *v;
        style.hasMiterLimit = true;
    }
    if (auto v = styleValue(property(kStrokeOpacity), text)) {
        const std::string t = strip(*v);
        style.strokeOpacity = toFloat(t.empty() ? "0" : t);
    }
    if (auto v = styleValue(property(kStrokeWidth), text))
        style.strokeWidth = _checkStrokeWidth(*v);
    if (auto v = styleValue(property(kStrokeDasharray), text)) {
        style.dashArray = *v;
        style.hasDashArray = true;
    }
    if (auto v = styleValue(property(kStrokeDashoffset), text)) style.dashOffset = toInt(*v);
}

void TImageSVG::_defineRestStyles(const Attributes& attributes, SSVGStyle& style) {
    using Setter = void (*)(TImageSVG&, SSVGStyle&, const std::string&);
    static const std::pair<const char*, Setter> kRows[] = {
        {"opacity", [](TImageSVG&, SSVGStyle& s, const std::string& v) { setOpacity(s, toFloat(v)); }},
        {"fill", [](TImageSVG&, SSVGStyle& s, const std::string& v) { s.fill = SColor(v); }},
        {"fill-opacity", [](TImageSVG&, SSVGStyle& s, const std::string& v) { s.fillOpacity = toFloat(v); }},
        {"fill-rule", [](TImageSVG&, SSVGStyle& s, const std::string& v) { s.fillRule = v; }},
        {"stroke", [](TImageSVG&, SSVGStyle& s, const std::string& v) { s.stroke = SColor(v); }},
        {"stroke-linecap", [](TImageSVG&, SSVGStyle& s, const std::string& v) { s.lineCap = str2LineCapStyle(v); }},
        {"stroke-linejoin",
         [](TImageSVG&, SSVGStyle& s, const std::string& v) { s.lineJoin = str2LineJoinStyle(v); }},
        {"stroke-miterlimit",
         [](TImageSVG&, SSVGStyle& s, const std::string& v) { s.miterLimit = v, s.hasMiterLimit = true; }},
        {"stroke-opacity", [](TImageSVG&, SSVGStyle& s, const std::string& v) { s.strokeOpacity = toFloat(v); }},
        {"stroke-width",
         [](TImageSVG& d, SSVGStyle& s, const std::string& v) {
             s.strokeWidth = d._checkStrokeWidth(strip(v).empty() ? "0pt" : v);
         }},
        {"stroke-dasharray",
         [](TImageSVG&, SSVGStyle& s, const std::string& v) { s.dashArray = v, s.hasDashArray = true; }},
        {"stroke-dashoffset", [](TImageSVG&, SSVGStyle& s, const std::string& v) { s.dashOffset = toInt(v); }},
        {"color", [](TImageSVG&, SSVGStyle& s, const std::string& v) { s.color = SColor(v); }},
    };
    for (const auto& [name, set] : kRows) {
        auto it = attributes.find(name);
        if (it != attributes.end() && it->second != "inherit") set(*this, style, it->second);
    }
}

float TImageSVG::_checkStrokeWidth(const std::string& text) {
    std::string t = text;
    if (strip(t).empty()) t = "0" + sUnit(unit_);
    if (kivu::unit(t) != uNone) return SUnit(t).pt();
    if (unit_ == uPx) return SUnit(t).dpiPixel2Pt(documentScale_);
    return SUnit(t + sUnit(unit_)).pt();
}

namespace {

// The font properties of the style text.
void textStyleString(const std::string& text, SSVGStyle& style, float scale) {
    if (auto v = styleValue(property(kFontFamily), text)) {
        std::string family = strip(*v);
        std::erase(family, '\'');
        style.fontFamily = family;
    }
    if (auto v = styleValue(property(kFontSize), text)) {
        const std::string size = strip(*v);
        style.fontSize = SUnit(size.empty() ? "10px" : size).dpiPixel2Pt(scale);
    }
    if (auto v = styleValue(property(kFontWeight), text)) style.fontWeight = strip(toLower(*v));
    if (auto v = styleValue(property(kFontStyle), text)) style.fontStyle = strip(toLower(*v));
    if (auto v = styleValue(property(kFontVariant), text))
        style.fontVariant = strip(toLower(*v));
    if (auto v = styleValue(property(kTextAnchor), text)) style.textAnchor = strip(toLower(*v));
}

// The font attributes, each when present and not "inherit".
void textAttributes(const Attributes& attributes, SSVGStyle& style) {
    auto value = [&](const char* name) -> const std::string* {
        auto it = attributes.find(name);
        return it != attributes.end() && it->second != "inherit" ? &it->second : nullptr;
    };
    if (const std::string* v = value("font-style")) style.fontStyle = toLower(*v) == "oblique" ? "italic" : toLower(*v);
    if (const std::string* v = value("font-weight")) style.fontWeight = toLower(*v) == "bolder" ? "bold" : toLower(*v);
    if (const std::string* v = value("font-variant")) style.fontVariant = *v;
    if (const std::string* v = value("font-size")) style.fontSize = SUnit(*v).pt();
    if (const std::string* v = value("text-anchor")) style.textAnchor = *v;
    if (const std::string* v = value("font-family")) style.fontFamily = *v;
}

// The "font" shorthand: only weight, style and small capitals are read from it.
void fontShorthand(const std::string& font, SSVGStyle& style) {
    auto word = [&](const char* pattern) -> std::optional<std::string> {
        const std::string v = cachedRegex(pattern, "i").replaceAll(
            font, [](const Regex::Match& m) { return std::string(m.group(2)); });
        if (v.empty() || v == font) return std::nullopt;
        return v;
    };
    auto renamed = [](std::string v, const char* from, const char* to) { return v == from ? std::string(to) : v; };
    if (auto v = word("(.*)(bold|bolder)(.*)")) style.fontWeight = strip(toLower(renamed(*v, "bolder", "bold")));
    if (auto v = word("(.*)(italic|oblique)(.*)")) style.fontStyle = strip(renamed(toLower(*v), "oblique", "italic"));
    if (auto v = word("(.*)(small\\-caps)(.*)")) style.fontVariant = strip(toLower(*v));
}

}  // namespace

void TImageSVG::_defineTextStyle(SSVGStyle* style, const Attributes& attributes) {
    auto it = attributes.find("style");
    if (it != attributes.end()) textStyleString(it->second, *style, documentScale_);
    textAttributes(attributes, *style);
    it = attributes.find("font");
    if (it != attributes.end()) fontShorthand(it->second, *style);
    if (style->fontFamily.empty()) style->fontFamily = "times";
    if (isNaNBits(style->fontSize)) style->fontSize = 8.0f;
    if (style->fontWeight.empty()) style->fontWeight = "normal";
    if (style->fontStyle.empty()) style->fontStyle = "normal";
    if (style->textAnchor.empty()) style->textAnchor = "start";
}

SSVGStyle TImageSVG::defineSvgStyle(Attributes& attributes, const SSVGStyle* parentStyle, bool isText) {
    SSVGStyle style = parentStyle ? *parentStyle : SSVGStyle();
    style.transform.clear();
    auto it = attributes.find("transform");
    if (it != attributes.end() && !it->second.empty()) style.transform = transformationsToPDF(it->second);
    it = attributes.find("class");
    if (it != attributes.end()) {
        auto rule = classes_.find(it->second);
        if (rule != classes_.end()) attributes["style"] += rule->second;
    }
    it = attributes.find("style");
    if (it != attributes.end()) _defineStyleString(it->second, style);
    _defineRestStyles(attributes, style);
    if (isText) _defineTextStyle(&style, attributes);
    return style;
}

void TImageSVG::_parseCSS(const std::string& text) {
    size_t pos = 0;
    while (pos < text.size()) {
        const size_t open = text.find('{', pos);
        if (open == std::string::npos) break;
        const size_t close = text.find('}', open + 1);
        const std::string body = text.substr(open + 1, close == std::string::npos ? std::string::npos : close - open - 1);
        for (const std::string& piece : regSplit(",", text.substr(pos, open - pos), "")) {
            const std::string selector = strip(piece);
            if (selector.size() < 2 || selector[0] != '.') continue;
            auto [entry, added] = classes_.emplace(selector.substr(1), body);
            if (added) continue;
            if (entry->second.empty() || entry->second.back() != ';') entry->second += ';';
            entry->second += body;
        }
        if (close == std::string::npos) break;
        pos = close + 1;
    }
}

// ---- operators around a path -------------------------------------------------------

SColor TImageSVG::getColorSpace(const SColor& color) {
    if (colorSpace_ < csCMYK || convertImages_ == ciNo) return color;
    return color.convert(colorSpace_);
}

std::string TImageSVG::_fillOperators(TSvgElement* element, SSVGStyle& style, std::string& paint, std::string& clip,
                                      std::string& gradient) {
    static const Regex kUrl("url\\(#([\\w_]*)\\)", Regex::Caseless);
    const std::string text = style.fill.space ? style.fill.space->text() : std::string();
    const bool line = element->nodeName() == "line";
    if (text.find("url") != std::string::npos && !line) {
        const std::string id = kUrl.replaceAll(text, [](const Regex::Match& m) { return std::string(m.group(1)); });
        auto it = gradientsForOutput_.find(id);
        if (id == text || it == gradientsForOutput_.end()) return "";
        gradient = _svgGradient(it->second, element);
        if (gradient.empty()) return "";
        clip = "W";
        paint += "N";
        return "q ";
    }
    const bool current = toLower(text) == "currentcolor";
    const SColor& color = current ? style.color : style.fill;
    if (line || !color.enabled() || (!current && text == "none")) return "";
    if (isNaNBits(style.fillOpacity)) style.fillOpacity = color.alpha();
    paint += "F";
    return getColorSpace(color).toPDF() + " ";
}

std::string TImageSVG::_strokeOperators(SSVGStyle& style, std::string& paint) {
    const std::string text = style.stroke.space ? style.stroke.space->text() : std::string();
    const bool current = toLower(text) == "currentcolor";
    const SColor& color = current ? style.color : style.stroke;
    if (!color.enabled() || (!current && text == "none")) return "";
    if (isNaNBits(style.strokeOpacity)) style.strokeOpacity = color.alpha();
    paint += "D";
    TMemory memory(64, 0);
    TContent out(memory);
    out.raw(toUpper(getColorSpace(color).toPDF())).raw(" ");
    out.num(current ? style.strokeWidth * 0.2645833f * documentScale_ : style.strokeWidth).op("w");
    return memory.to_string();
}

std::string TImageSVG::_dashOperators(const SSVGStyle& style) {
    static const std::string kNoDash = "[] 0 d ";
    if (style.dashArray.empty()) return kNoDash;
    std::vector<std::string> pieces = regSplit("[,]", style.dashArray, "");
    if (pieces.size() == 1 && (!isNumeric(pieces[0]) || pieces[0] == "0")) return kNoDash;
    if (pieces.size() % 2) {
        const std::vector<std::string> once = pieces;
        pieces.insert(pieces.end(), once.begin(), once.end());
    }
    TMemory memory(64, 0);
    TContent out(memory);
    out.raw("[");
    for (const std::string& piece : pieces) {
        const std::string t = strip(piece);
        out.num(toFloat(t.empty() ? "1" : t) * documentScale_);
    }
    out.raw("] ").num(static_cast<float>(style.dashOffset < 0 ? 0 : style.dashOffset) * documentScale_).op("d");
    return memory.to_string();
}

std::string TImageSVG::_opacityState(const char* key, float opacity) {
    if (!objects_) throw KivuException("SVG: styles are written only while the image is emitted");
    std::unique_ptr<TBaseObject> state = objects_->createCustom(ObjectType::extGState);
    state->set(key, sformat("%.4f", static_cast<double>(zeon(opacity))));
    state->set("BM", "/Normal");
    const uint64_t number = objects_->addCustom(state, false);
    const std::string name = sformat("GS%llu", static_cast<unsigned long long>(number));
    nameResource(name, "ExtGState", ResourceSource::sharedState, number);
    return " /" + name + " gs ";
}

std::array<std::string, 2> TImageSVG::svgStyle(TSvgElement* element) {
    static const Regex kMiter("^[\\d.]+$");
    SSVGStyle& style = *element->style();
    std::string paint, clip, gradient;
    std::string first = _fillOperators(element, style, paint, clip, gradient);
    first += _strokeOperators(style, paint);
    if (style.stroke.enabled())
        first += " " + lineJoinStyle2PDF(style.lineJoin) + "  " + lineCapStyle2PDF(style.lineCap) + " ";
    if (style.hasMiterLimit && !style.miterLimit.empty() && style.miterLimit != "none" &&
        kMiter.contains(style.miterLimit)) {
        TMemory memory(16, 0);
        TContent(memory).num(toFloat(style.miterLimit), 2).op("M");
        first += memory.to_string();
    }
    if (style.hasDashArray) first += _dashOperators(style);
    const std::string star = style.fillRule == "evenodd" ? "*" : "";
    if (!isNaNBits(style.fillOpacity)) first += _opacityState("ca", style.fillOpacity);
    if (!isNaNBits(style.strokeOpacity)) first += _opacityState("CA", style.strokeOpacity);
    std::string op = "n";
    if (paint == "F") op = "f" + star;
    else if (paint == "FD") op = "B" + star;
    else if (paint == "D" || paint == "ND") op = "S";
    return {first + " ", clip + " " + op + " " + gradient + "\n"};
}

}  // namespace kivu
