#include "kivuimg/img/svg/standard/filter.h"

#include <algorithm>
#include <cmath>
#include <map>

#include "kivuimg/img/svg/standard/document.h"

namespace kivu::stdsvg {

// ---- colour matrices ----------------------------------------------------------------

bool SColorMatrix::identity() const { return m == SColorMatrix{}.m; }

namespace {

double toLinear(double c) { return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4); }
double toSrgb(double c) { return c <= 0.0031308 ? c * 12.92 : 1.055 * std::pow(c, 1 / 2.4) - 0.055; }

SColorMatrix saturate(double s) {
    SColorMatrix c;
    c.m = {0.213 + 0.787 * s, 0.715 - 0.715 * s, 0.072 - 0.072 * s, 0, 0,
           0.213 - 0.213 * s, 0.715 + 0.285 * s, 0.072 - 0.072 * s, 0, 0,
           0.213 - 0.213 * s, 0.715 - 0.715 * s, 0.072 + 0.928 * s, 0, 0,
           0, 0, 0, 1, 0};
    return c;
}

SColorMatrix hueRotate(double degrees) {
    const double a = degrees * M_PI / 180, cs = std::cos(a), sn = std::sin(a);
    SColorMatrix c;
    c.m = {0.213 + cs * 0.787 - sn * 0.213, 0.715 - cs * 0.715 - sn * 0.715, 0.072 - cs * 0.072 + sn * 0.928, 0, 0,
           0.213 - cs * 0.213 + sn * 0.143, 0.715 + cs * 0.285 + sn * 0.140, 0.072 - cs * 0.072 - sn * 0.283, 0, 0,
           0.213 - cs * 0.213 - sn * 0.787, 0.715 - cs * 0.715 + sn * 0.715, 0.072 + cs * 0.928 + sn * 0.072, 0, 0,
           0, 0, 0, 1, 0};
    return c;
}

// A linear transfer per channel: slope and intercept; alpha as the fourth.
SColorMatrix linear(const std::array<double, 4>& slope, const std::array<double, 4>& intercept) {
    SColorMatrix c;
    for (int i = 0; i < 4; ++i) c.m[i * 5 + i] = slope[i], c.m[i * 5 + 4] = intercept[i];
    return c;
}

}  // namespace

SRgba SColorMatrix::apply(const SRgba& in) const {
    double v[4] = {in.r, in.g, in.b, in.a};
    if (linearRGB)
        for (int i = 0; i < 3; ++i) v[i] = toLinear(v[i]);
    double o[4];
    for (int r = 0; r < 4; ++r)
        o[r] = std::clamp(m[r * 5] * v[0] + m[r * 5 + 1] * v[1] + m[r * 5 + 2] * v[2] + m[r * 5 + 3] * v[3] + m[r * 5 + 4],
                          0.0, 1.0);
    if (linearRGB)
        for (int i = 0; i < 3; ++i) o[i] = toSrgb(o[i]);
    return SRgba{static_cast<float>(o[0]), static_cast<float>(o[1]), static_cast<float>(o[2]), static_cast<float>(o[3])};
}

SColorMatrix SColorMatrix::after(const SColorMatrix& first) const {
    SColorMatrix out;
    out.linearRGB = linearRGB;
    for (int r = 0; r < 4; ++r) {
        for (int c = 0; c < 5; ++c) {
            double v = c == 4 ? m[r * 5 + 4] : 0;
            for (int k = 0; k < 4; ++k) v += m[r * 5 + k] * first.m[k * 5 + c];
            out.m[r * 5 + c] = v;
        }
    }
    return out;
}

// ---- primitives ---------------------------------------------------------------------------

namespace {

// What a primitive's result holds of the element.
struct SResult {
    bool source = false;  // the element itself, its colours perhaps changed
    bool copies = false;  // blurred, offset or flooded copies
    bool unknown = false;  // something that can't be drawn
    SColorMatrix colour;
};

class TFilterGraph {
public:
    TFilterGraph(const TSvgNode& filter, bool linear) : linear_(linear) {
        for (const auto& c : filter.children)
            if (!c->isText) primitives_.push_back(c.get());
    }
    SResult output() { return primitives_.empty() ? SResult{} : _eval(primitives_.size() - 1); }

private:
    SResult _input(std::string_view name, size_t before) {
        if (name.empty()) {
            if (before == 0) return SResult{true, false, false, {}};
            return _eval(before - 1);
        }
        if (name == "SourceGraphic") return SResult{true, false, false, {}};
        if (name == "SourceAlpha" || name == "BackgroundImage" || name == "BackgroundAlpha" || name == "FillPaint" ||
            name == "StrokePaint")
            return SResult{false, true, false, {}};
        for (size_t i = before; i-- > 0;)
            if (primitives_[i]->attributeOr("result") == name) return _eval(i);
        return before == 0 ? SResult{true, false, false, {}} : _eval(before - 1);
    }
    static SResult join(const SResult& a, const SResult& b) {
        SResult r;
        r.source = a.source || b.source;
        r.copies = a.copies || b.copies;
        r.unknown = a.unknown || b.unknown;
        r.colour = a.source ? a.colour : b.colour;
        return r;
    }
    SResult _colour(const TSvgNode& p, SResult in);
    SResult _eval(size_t i);

    std::vector<const TSvgNode*> primitives_;
    std::map<size_t, SResult> memo_;
    bool linear_;

public:
    double blur = 0;
};

SColorMatrix colorMatrixOf(const TSvgNode& p) {
    const std::string type(trimSpace(p.attributeOr("type", "matrix")));
    std::vector<double> v;
    parseNumberList(p.attributeOr("values"), v);
    if (type == "saturate") return saturate(v.empty() ? 1 : v[0]);
    if (type == "hueRotate") return hueRotate(v.empty() ? 0 : v[0]);
    SColorMatrix c;
    if (type == "luminanceToAlpha") {
        c.m = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0.2125, 0.7154, 0.0721, 0, 0};
        return c;
    }
    if (v.size() == 20) std::copy(v.begin(), v.end(), c.m.begin());
    return c;
}

// feComponentTransfer: linear and identity functions; others can't be applied to a colour here.
bool transferOf(const TSvgNode& p, SColorMatrix& out) {
    std::array<double, 4> slope{1, 1, 1, 1}, intercept{0, 0, 0, 0};
    static const char* const kFuncs[] = {"feFuncR", "feFuncG", "feFuncB", "feFuncA"};
    for (const auto& c : p.children) {
        for (int i = 0; i < 4; ++i) {
            if (c->isText || c->name != kFuncs[i]) continue;
            const std::string type(trimSpace(c->attributeOr("type")));
            if (type == "linear") {
                parseNumber(c->attributeOr("slope", "1"), slope[i]);
                parseNumber(c->attributeOr("intercept", "0"), intercept[i]);
            } else if (type != "identity" && !type.empty()) {
                return false;
            }
        }
    }
    out = linear(slope, intercept);
    return true;
}

SResult TFilterGraph::_colour(const TSvgNode& p, SResult in) {
    SColorMatrix m;
    if (p.name == "feColorMatrix") {
        m = colorMatrixOf(p);
    } else if (!transferOf(p, m)) {
        in.unknown = true;
        return in;
    }
    m.linearRGB = linear_;
    if (in.source) in.colour = m.after(in.colour);
    return in;
}

SResult TFilterGraph::_eval(size_t i) {
    auto known = memo_.find(i);
    if (known != memo_.end()) return known->second;
    memo_[i] = SResult{false, false, true, {}};  // a cycle of results reads as unknown
    const TSvgNode& p = *primitives_[i];
    const std::string_view name = p.name;
    SResult r;
    if (name == "feGaussianBlur") {
        std::vector<double> sd;
        parseNumberList(p.attributeOr("stdDeviation"), sd);
        r = _input(p.attributeOr("in"), i);
        if (!sd.empty() && (sd[0] > 0 || (sd.size() > 1 && sd[1] > 0))) r = SResult{false, true, r.unknown, {}};
        for (double d : sd) blur = std::max(blur, d);
    } else if (name == "feOffset" || name == "feFlood" || name == "feDropShadow" || name == "feMorphology") {
        const SResult in = _input(p.attributeOr("in"), i);
        r = name == "feDropShadow" ? SResult{in.source, true, in.unknown, in.colour} : SResult{false, true, in.unknown, {}};
    } else if (name == "feMerge") {
        for (const auto& node : p.children)
            if (!node->isText && node->name == "feMergeNode") r = join(r, _input(node->attributeOr("in"), i));
    } else if (name == "feComposite" || name == "feBlend") {
        const SResult a = _input(p.attributeOr("in"), i), b = _input(p.attributeOr("in2"), i);
        const std::string op(trimSpace(p.attributeOr("operator", "over")));
        // "in", "out" and "atop" keep the first input's pixels, shaped by the second.
        r = name == "feComposite" && (op == "in" || op == "out" || op == "atop") ? a : join(a, b);
    } else if (name == "feColorMatrix" || name == "feComponentTransfer") {
        r = _colour(p, _input(p.attributeOr("in"), i));
    } else {
        r = SResult{false, false, true, {}};
    }
    memo_[i] = r;
    return r;
}

// The CSS filter functions ("grayscale(1) blur(2px)").
SFilterPlan cssFunctions(const std::string& value) {
    SFilterPlan plan;
    TNumberScanner s(value);
    bool source = true, copies = false;
    SColorMatrix total;
    while (!s.atEnd()) {
        std::string name;
        while (s.peek() && s.peek() != '(' && !isSpace(s.peek())) name += s.peek(), s.advance();
        s.skipSpace();
        if (s.peek() != '(') return plan.kind = SFilterPlan::other, plan;
        s.advance();
        double v = 1;
        const bool given = s.number(v);
        if (given && s.peek() == '%') s.advance(), v /= 100;
        while (s.peek() && s.peek() != ')') s.advance();
        s.advance();
        const std::string n = lowerAscii(name);
        SColorMatrix m;
        if (n == "grayscale") m = saturate(1 - std::clamp(v, 0.0, 1.0));
        else if (n == "saturate") m = saturate(v);
        else if (n == "hue-rotate") m = hueRotate(given ? v : 0);
        else if (n == "invert") m = linear({1 - 2 * v, 1 - 2 * v, 1 - 2 * v, 1}, {v, v, v, 0});
        else if (n == "brightness") m = linear({v, v, v, 1}, {0, 0, 0, 0});
        else if (n == "contrast") m = linear({v, v, v, 1}, {0.5 - v / 2, 0.5 - v / 2, 0.5 - v / 2, 0});
        else if (n == "opacity") m = linear({1, 1, 1, std::clamp(v, 0.0, 1.0)}, {0, 0, 0, 0});
        else if (n == "sepia") {
            const double k = std::clamp(v, 0.0, 1.0);
            m.m = {0.393 + 0.607 * (1 - k), 0.769 - 0.769 * (1 - k), 0.189 - 0.189 * (1 - k), 0, 0,
                   0.349 - 0.349 * (1 - k), 0.686 + 0.314 * (1 - k), 0.168 - 0.168 * (1 - k), 0, 0,
                   0.272 - 0.272 * (1 - k), 0.534 - 0.534 * (1 - k), 0.131 + 0.869 * (1 - k), 0, 0,
                   0, 0, 0, 1, 0};
        } else if (n == "drop-shadow") copies = true;
        else if (n == "blur") source = !given || v == 0, copies = copies || !source, plan.blur = std::max(plan.blur, v);
        else return plan.kind = SFilterPlan::other, plan;
        m.linearRGB = false;
        total = m.after(total);
        s.skipSeparator();
    }
    plan.kind = !source ? SFilterPlan::blurOnly : !total.identity() ? SFilterPlan::colour
                        : copies ? SFilterPlan::keepSource : SFilterPlan::none;
    if (plan.kind == SFilterPlan::colour) plan.colours.push_back(total);
    return plan;
}

}  // namespace

SFilterPlan planFilter(const TSvgDocument& doc, const std::string& value) {
    SFilterPlan plan;
    if (value.empty()) return plan;
    const std::string id = localId(value);
    if (id.empty()) {
        plan = cssFunctions(value);
        plan.note = "filter '" + value + "'";
        return plan;
    }
    plan.note = "filter '#" + id + "'";
    const TSvgNode* filter = doc.byId(id);
    if (!filter || filter->tag != SvgTag::filter) return plan.kind = SFilterPlan::other, plan;
    const bool linear = trimSpace(filter->attributeOr("color-interpolation-filters", "linearRGB")) != "sRGB";
    TFilterGraph graph(*filter, linear);
    const SResult r = graph.output();
    plan.blur = graph.blur;
    if (r.unknown) plan.kind = SFilterPlan::other;
    else if (!r.source) plan.kind = SFilterPlan::blurOnly;
    else if (!r.colour.identity()) plan.kind = SFilterPlan::colour, plan.colours.push_back(r.colour);
    else plan.kind = r.copies ? SFilterPlan::keepSource : SFilterPlan::none;
    return plan;
}

}  // namespace kivu::stdsvg
