#include "kivuimg/img/svg/standard/gradient.h"

#include <algorithm>
#include <cmath>
#include <set>

#include "kivuimg/img/svg/standard/document.h"

namespace kivu::stdsvg {

namespace {

// Periods a reflected or repeated gradient is unrolled over at most.
constexpr int kMaxPeriods = 256;
// A gradient keeps at most this many stops, taken evenly from its own:
// each stop writes a function into every shading that uses it.
constexpr size_t kMaxStops = 256;

bool isGradient(const TSvgNode& n) { return n.tag == SvgTag::linearGradient || n.tag == SvgTag::radialGradient; }

// The attributes a chain passes on, each taken from the first element that has it.
struct SChainAttributes {
    const std::string *units = nullptr, *transform = nullptr, *spread = nullptr;
    const std::string *x1 = nullptr, *y1 = nullptr, *x2 = nullptr, *y2 = nullptr;
    const std::string *cx = nullptr, *cy = nullptr, *r = nullptr, *fx = nullptr, *fy = nullptr, *fr = nullptr;
    const TSvgNode* stops = nullptr;
};

void take(const std::string*& slot, const TSvgNode& n, const char* name) {
    if (!slot) slot = n.attribute(name);
}

bool hasStops(const TSvgNode& n) {
    for (const auto& c : n.children)
        if (!c->isText && c->tag == SvgTag::stop) return true;
    return false;
}

void collect(const TSvgNode& n, SChainAttributes& a) {
    take(a.units, n, "gradientUnits");
    take(a.transform, n, "gradientTransform");
    take(a.spread, n, "spreadMethod");
    if (n.tag == SvgTag::linearGradient) {
        take(a.x1, n, "x1"), take(a.y1, n, "y1"), take(a.x2, n, "x2"), take(a.y2, n, "y2");
    } else {
        take(a.cx, n, "cx"), take(a.cy, n, "cy"), take(a.r, n, "r");
        take(a.fx, n, "fx"), take(a.fy, n, "fy"), take(a.fr, n, "fr");
    }
    if (!a.stops && hasStops(n)) a.stops = &n;
}

void length(const std::string* text, SLength& out) {
    SLength l;
    if (text && parseLength(*text, l)) out = l;
}

void readStops(const TSvgNode& holder, const StyleOf& styleOf, std::vector<SGradientStop>& out) {
    double last = 0;
    for (const auto& c : holder.children) {
        if (c->isText || c->tag != SvgTag::stop) continue;
        double offset = 0;
        const std::string_view text = trimSpace(c->attributeOr("offset"));
        if (!text.empty() && text.back() == '%') {
            if (parseNumber(text.substr(0, text.size() - 1), offset)) offset /= 100;
        } else {
            parseNumber(text, offset);
        }
        offset = std::max(last, std::clamp(offset, 0.0, 1.0));
        last = offset;
        const SStyle style = styleOf(*c);
        SRgba color = style.stopColor;
        color.a *= style.stopOpacity;
        out.push_back({offset, color});
    }
    if (out.size() <= kMaxStops) return;
    std::vector<SGradientStop> kept;
    kept.reserve(kMaxStops);
    for (size_t i = 0; i < kMaxStops; ++i) kept.push_back(out[i * (out.size() - 1) / (kMaxStops - 1)]);
    out = std::move(kept);
}

}  // namespace

bool resolveGradient(const TSvgDocument& doc, const TSvgNode& node, const StyleOf& styleOf, SGradientDef& out) {
    if (!isGradient(node)) return false;
    SChainAttributes a;
    std::set<const TSvgNode*> seen;
    for (const TSvgNode* n = &node; n && isGradient(*n) && seen.insert(n).second;) {
        collect(*n, a);
        const std::string* href = n->attribute("href");
        n = href ? doc.byId(localId(*href)) : nullptr;
    }
    SGradientDef s;
    s.radial = node.tag == SvgTag::radialGradient;
    s.userSpace = a.units && trimSpace(*a.units) == "userSpaceOnUse";
    if (a.transform && !parseTransform(*a.transform, s.transform)) s.transform = SMatrix{};
    if (a.spread) {
        const std::string_view sp = trimSpace(*a.spread);
        s.spread = sp == "reflect" ? 1 : sp == "repeat" ? 2 : 0;
    }
    length(a.x1, s.x1), length(a.y1, s.y1), length(a.x2, s.x2), length(a.y2, s.y2);
    length(a.cx, s.cx), length(a.cy, s.cy), length(a.r, s.r), length(a.fr, s.fr);
    SLength f;
    if (a.fx && parseLength(*a.fx, f)) s.fx = f;
    if (a.fy && parseLength(*a.fy, f)) s.fy = f;
    if (a.stops) readStops(*a.stops, styleOf, s.stops);
    out = std::move(s);
    return true;
}

// ---- painting ------------------------------------------------------------------

namespace {

struct SResolved {
    double x1, y1, x2, y2;     // linear
    double cx, cy, r, fx, fy, fr;  // radial
};

SResolved resolveLengths(const SGradientDef& s, const SViewport& vp, double fontSize) {
    auto len = [&](const SLength& l, Axis axis) {
        return s.userSpace ? toUserUnits(l, fontSize, percentBase(vp, axis)) : toUserUnits(l, fontSize, 1.0);
    };
    SResolved r{};
    r.x1 = len(s.x1, Axis::x), r.y1 = len(s.y1, Axis::y), r.x2 = len(s.x2, Axis::x), r.y2 = len(s.y2, Axis::y);
    r.cx = len(s.cx, Axis::x), r.cy = len(s.cy, Axis::y), r.r = len(s.r, Axis::other);
    r.fx = s.fx ? len(*s.fx, Axis::x) : r.cx;
    r.fy = s.fy ? len(*s.fy, Axis::y) : r.cy;
    r.fr = len(s.fr, Axis::other);
    return r;
}

// Stops that cover [0, 1]: the first colour from 0, the last up to 1.
std::vector<SGradientStop> fullPeriod(const std::vector<SGradientStop>& stops) {
    std::vector<SGradientStop> out = stops;
    if (out.front().offset > 0) out.insert(out.begin(), {0, out.front().color});
    if (out.back().offset < 1) out.push_back({1, out.back().color});
    return out;
}

// The stops over periods [first, last), as offsets in [0, 1].
std::vector<SGradientStop> unrolled(const std::vector<SGradientStop>& stops, int first, int last, bool reflect) {
    std::vector<SGradientStop> out;
    const double span = last - first;
    for (int p = first; p < last; ++p) {
        const bool mirrored = reflect && (p % 2 != 0);
        for (size_t i = 0; i < stops.size(); ++i) {
            const SGradientStop& s = mirrored ? stops[stops.size() - 1 - i] : stops[i];
            const double t = p + (mirrored ? 1 - s.offset : s.offset);
            out.push_back({(t - first) / span, s.color});
        }
    }
    return out;
}

SRgba lastColor(const SGradientDef& s) { return s.stops.back().color; }

void fillRecord(SGradient& record, const std::vector<SGradientStop>& stops) {
    record.colors.clear();
    record.hasAlpha = false;
    for (const SGradientStop& s : stops) {
        record.colors.push_back(SGradColor{SColor(std::make_unique<TRGBA>(s.color.r, s.color.g, s.color.b, s.color.a)),
                                           static_cast<float>(s.offset)});
        if (s.color.a < 1) record.hasAlpha = true;
    }
    record.colorSpace = csRGB;
    record.active = true;
    record.extend = {true, true};
}

// The box `cover` as seen from the gradient's space.
std::vector<std::pair<double, double>> corners(const SBox& cover, const SMatrix& toGradient) {
    return {{toGradient.x(cover.x0, cover.y0), toGradient.y(cover.x0, cover.y0)},
            {toGradient.x(cover.x1, cover.y0), toGradient.y(cover.x1, cover.y0)},
            {toGradient.x(cover.x0, cover.y1), toGradient.y(cover.x0, cover.y1)},
            {toGradient.x(cover.x1, cover.y1), toGradient.y(cover.x1, cover.y1)}};
}

void linearRecord(const SGradientDef& s, const SResolved& g, const SBox& cover, SGradientUse& use) {
    std::vector<SGradientStop> stops = fullPeriod(s.stops);
    int first = 0, last = 1;
    const double dx = g.x2 - g.x1, dy = g.y2 - g.y1, len2 = dx * dx + dy * dy;
    if (s.spread && !cover.empty()) {
        double tmin = 0, tmax = 1;
        for (const auto& [px, py] : corners(cover, use.space.inverse())) {
            const double t = ((px - g.x1) * dx + (py - g.y1) * dy) / len2;
            tmin = std::min(tmin, t), tmax = std::max(tmax, t);
        }
        first = static_cast<int>(std::max<double>(std::floor(tmin), -kMaxPeriods / 2));
        last = static_cast<int>(std::min<double>(std::ceil(tmax), kMaxPeriods / 2));
        stops = unrolled(stops, first, last, s.spread == 1);
    }
    fillRecord(use.record, stops);
    use.record.shadingType = 2;
    use.record.coords = {static_cast<float>(g.x1 + first * dx), static_cast<float>(g.y1 + first * dy),
                         static_cast<float>(g.x1 + last * dx), static_cast<float>(g.y1 + last * dy),
                         std::nanf(""), std::nanf("")};
}

void radialRecord(const SGradientDef& s, SResolved g, const SBox& cover, SGradientUse& use) {
    // A focal point outside the circle moves onto it, just inside.
    const double fdx = g.fx - g.cx, fdy = g.fy - g.cy, fd = std::hypot(fdx, fdy);
    if (fd > g.r * 0.999) {
        const double k = g.r * 0.999 / fd;
        g.fx = g.cx + fdx * k, g.fy = g.cy + fdy * k;
    }
    g.fr = std::clamp(g.fr, 0.0, g.r);
    std::vector<SGradientStop> stops = fullPeriod(s.stops);
    int last = 1;
    if (s.spread && !cover.empty()) {
        const auto points = corners(cover, use.space.inverse());
        auto covers = [&](int t) {
            const double cx = g.fx + t * (g.cx - g.fx), cy = g.fy + t * (g.cy - g.fy), r = g.fr + t * (g.r - g.fr);
            for (const auto& [px, py] : points)
                if (std::hypot(px - cx, py - cy) > r) return false;
            return true;
        };
        while (last < kMaxPeriods && !covers(last)) ++last;
        stops = unrolled(stops, 0, last, s.spread == 1);
    }
    fillRecord(use.record, stops);
    use.record.shadingType = 3;
    use.record.coords = {static_cast<float>(g.fx), static_cast<float>(g.fy),
                         static_cast<float>(g.fx + last * (g.cx - g.fx)), static_cast<float>(g.fy + last * (g.cy - g.fy)),
                         static_cast<float>(g.fr), static_cast<float>(g.fr + last * (g.r - g.fr))};
}

}  // namespace

SGradientUse gradientUse(const SGradientDef& s, const SBox& bbox, const SBox& cover, const SViewport& vp,
                         double fontSize) {
    SGradientUse use;
    if (s.stops.empty()) return use.none = true, use;
    if (s.stops.size() == 1) return use.solid = true, use.color = s.stops.front().color, use;
    if (!s.userSpace) {
        if (bbox.width() <= 0 || bbox.height() <= 0) return use.none = true, use;
        use.space = SMatrix{bbox.width(), 0, 0, bbox.height(), bbox.x0, bbox.y0} * s.transform;
    } else {
        use.space = s.transform;
    }
    if (!use.space.invertible()) return use.none = true, use;
    const SResolved g = resolveLengths(s, vp, fontSize);
    if (!s.radial) {
        if (g.x1 == g.x2 && g.y1 == g.y2) return use.solid = true, use.color = lastColor(s), use;
        linearRecord(s, g, cover, use);
    } else {
        if (g.r < 0) return use.none = true, use;
        if (g.r == 0) return use.solid = true, use.color = lastColor(s), use;
        radialRecord(s, g, cover, use);
    }
    return use;
}

}  // namespace kivu::stdsvg
