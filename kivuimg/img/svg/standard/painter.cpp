#include "kivuimg/img/svg/standard/painter.h"

#include <algorithm>
#include <cmath>

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/img/svg/standard/bounds.h"
#include "kivuimg/img/svg/standard/document.h"
#include "kivuimg/img/svg/standard/effects.h"
#include "kivuimg/img/svg/standard/image.h"
#include "kivuimg/img/svg/standard/marker.h"
#include "kivuimg/img/svg/standard/pattern.h"
#include "kivuimg/img/svg/standard/text.h"

namespace kivu::stdsvg {

namespace {

// Instances and viewports nested deeper than this are not drawn.
constexpr int kMaxNesting = 64;


bool isContainer(SvgTag t) { return t == SvgTag::g || t == SvgTag::a || t == SvgTag::switchTag; }

// Elements drawn where they stand.
bool isRendered(SvgTag t) {
    return isShape(t) || isContainer(t) || t == SvgTag::svg || t == SvgTag::use || t == SvgTag::text ||
           t == SvgTag::image;
}

SMatrix elementTransform(const TSvgNode& node, const SStyle& style) {
    if (style.hasTransform) return style.transform;
    SMatrix m;
    if (const std::string* t = node.attribute("transform"))
        if (!parseTransform(*t, m)) m = SMatrix{};
    return m;
}

}  // namespace

bool conditionsPass(const TSvgNode& node) {
    // No extension is supported: any list of them fails, an empty one too.
    if (node.attribute("requiredExtensions")) return false;
    if (const std::string* features = node.attribute("requiredFeatures"))
        if (trimSpace(*features).empty()) return false;
    if (const std::string* langs = node.attribute("systemLanguage")) {
        bool any = false;
        for (std::string_view lang : words(*langs, true)) {
            const std::string l = lowerAscii(lang);
            any = any || l == "en" || l.rfind("en-", 0) == 0;
        }
        if (!any) return false;
    }
    return true;
}

TPainter::TPainter(const TSvgDocument& doc, TDrawingHost& host) : doc_(doc), host_(host) {}
TPainter::~TPainter() = default;

SStyle TPainter::styleInDocument(const TSvgNode& node) {
    auto it = documentStyles_.find(&node);
    if (it != documentStyles_.end()) return it->second;
    const SStyle parent = node.parent ? styleInDocument(*node.parent) : SStyle{};
    SStyle style = computeStyle(node.declarations, parent);
    documentStyles_.emplace(&node, style);
    return style;
}

// ---- the walk --------------------------------------------------------------------

void TPainter::collect(const SMatrix& root, const SViewport& vp) {
    canvas_ = nullptr;
    _walk(SState{root, {}, vp, 0});
    if (doc_.root()) _collectDefinitions(*doc_.root(), false);
}

// Text and pictures of what is drawn only through a reference (patterns,
// masks, clip paths, markers, symbols, definitions): asked for with their
// style where they stand, as they are drawn.
void TPainter::_collectDefinitions(const TSvgNode& node, bool referenced) {
    for (const auto& child : node.children) {
        if (child->isText) continue;
        const SvgTag t = child->tag;
        if (referenced && (t == SvgTag::text || t == SvgTag::image)) {
            SState st{SMatrix{}, styleInDocument(*child), SViewport{}, 0};
            if (child->tag == SvgTag::text) drawText(*this, *child, st);
            else drawImage(*this, *child, st);
            continue;
        }
        _collectDefinitions(*child, referenced || t == SvgTag::defs || t == SvgTag::clipPath || t == SvgTag::mask ||
                                        t == SvgTag::pattern || t == SvgTag::marker || t == SvgTag::symbol);
    }
}

void TPainter::paint(TCanvas& canvas, const SMatrix& root, const SViewport& vp) {
    canvas_ = &canvas;
    _walk(SState{root, {}, vp, 0});
    canvas_ = nullptr;
}

void TPainter::_walk(const SState& start) {
    const TSvgNode* root = doc_.root();
    if (!root) return;
    SState state = start;
    state.style = computeStyle(root->declarations, SStyle{});
    if (state.style.displayNone) return;
    state.ctm = state.ctm * elementTransform(*root, state.style);
    withEffects(*this, *root, state, true, [&] { drawChildren(*root, state); });
}

void TPainter::drawChildren(const TSvgNode& node, const SState& state) {
    if (node.tag == SvgTag::switchTag) {
        // The first child whose conditions pass is drawn, and no other.
        for (const auto& child : node.children)
            if (!child->isText && isRendered(child->tag) && conditionsPass(*child)) return drawElement(*child, state);
        return;
    }
    for (const auto& child : node.children)
        if (!child->isText) drawElement(*child, state);
}

// The element's own state: style, transformation; false when it is not drawn.
bool TPainter::enter(const TSvgNode& node, const SState& parent, SState& state) {
    if (!isRendered(node.tag) || !conditionsPass(node)) return false;
    state = parent;
    state.style = computeStyle(node.declarations, parent.style);
    if (state.style.displayNone) return false;
    state.ctm = parent.ctm * elementTransform(node, state.style);
    return state.ctm.finite();
}

void TPainter::drawElement(const TSvgNode& node, const SState& parent) {
    host_.countVisit();
    SState state;
    if (!enter(node, parent, state)) return;
    if (!state.style.filter.empty()) return _filtered(node, state);
    _drawEntered(node, state);
}

// An element with a filter, drawn as the filter's plan says.
void TPainter::_filtered(const TSvgNode& node, const SState& state) {
    const SFilterPlan plan = planFilter(doc_, state.style.filter);
    static const char* const kWhat[] = {"", "drawn without its shadow or glow", "applied to the colours",
                                        "drawn sharp at a blur's strength", "drawn unfiltered"};
    if (plan.kind != SFilterPlan::none) host_.warnOnce("SVG: " + plan.note + " " + kWhat[plan.kind]);
    if (plan.kind == SFilterPlan::blurOnly) {
        // A blur spreads the element's ink: drawn sharp at the strength a
        // blur of that deviation leaves at its middle.  (Measured on icons
        // with filters: this and drawing it unfiltered pass the most;
        // leaving it out or halving its opacity pass fewer.)
        const SBox b = elementBounds(*this, node, state);
        const double k = 2 * std::sqrt(2.0) * std::max(plan.blur, 1e-9);
        SState soft = state;
        soft.style.opacity *= static_cast<float>(std::erf(b.width() / k) * std::erf(b.height() / k));
        return _drawEntered(node, soft);
    }
    if (plan.kind != SFilterPlan::colour || !canvas_) return _drawEntered(node, state);
    canvas_->pushColourFilters(plan.colours);
    _drawEntered(node, state);
    canvas_->popColourFilters(plan.colours.size());
}

void TPainter::_drawEntered(const TSvgNode& node, const SState& state) {
    // Leaves fold their opacity into their paint where they can.
    if (isShape(node.tag)) return withEffects(*this, node, state, false, [&] { _shape(node, state); });
    if (node.tag == SvgTag::text) return withEffects(*this, node, state, false, [&] { drawText(*this, node, state); });
    if (node.tag == SvgTag::image) return withEffects(*this, node, state, false, [&] { drawImage(*this, node, state); });
    withEffects(*this, node, state, true, [&] { _draw(node, state); });
}

void TPainter::_draw(const TSvgNode& node, const SState& state) {
    switch (node.tag) {
        case SvgTag::use: return _use(node, state);
        case SvgTag::svg: return _viewport(node, state, 0, 0, false, false);
        default: return drawChildren(node, state);
    }
}

// Draws as a group with that opacity: the content is composited as a
// whole (a transparency group), so that its parts don't show through one
// another.
void TPainter::withOpacity(float opacity, const std::function<void()>& draw) {
    if (opacity >= 1 || !canvas_) return draw();
    if (opacity <= 0) return;
    canvas_->beginForm();
    draw();
    const uint64_t form = canvas_->endForm("SVG/Group", true);
    canvas_->out().save("q\n");
    canvas_->alpha(opacity, opacity);
    canvas_->drawForm(form);
    canvas_->out().restore("Q\n");
}

// ---- instances and viewports ----------------------------------------------------------

void TPainter::_use(const TSvgNode& node, const SState& state) {
    const std::string* href = node.attribute("href");
    const TSvgNode* target = href ? doc_.byId(localId(*href)) : nullptr;
    if (!target || state.depth >= kMaxNesting) return;
    // A use inside its own target, or one already being drawn, would never end.
    for (const TSvgNode* p = &node; p; p = p->parent)
        if (p == target) return;
    if (std::find(uses_.begin(), uses_.end(), &node) != uses_.end()) return;
    uses_.push_back(&node);
    _instance(*target, node, state);
    uses_.pop_back();
}

void TPainter::_instance(const TSvgNode& target, const TSvgNode& use, const SState& state) {
    SState inner = state;
    inner.depth = state.depth + 1;
    const double fs = state.style.fontSize;
    const double x = lengthAttribute(use, "x", Axis::x, 0, fs, state.vp);
    const double y = lengthAttribute(use, "y", Axis::y, 0, fs, state.vp);
    inner.ctm = state.ctm * SMatrix::translate(x, y);
    if (target.tag != SvgTag::symbol && target.tag != SvgTag::svg) return drawElement(target, inner);
    SState own;
    if (!conditionsPass(target)) return;
    own = inner;
    own.style = computeStyle(target.declarations, inner.style);
    if (own.style.displayNone) return;
    if (target.tag == SvgTag::svg) own.ctm = inner.ctm * elementTransform(target, own.style);
    double w = 0, h = 0;
    const bool hasW = lengthAttribute(use, "width", Axis::x, fs, state.vp, w);
    const bool hasH = lengthAttribute(use, "height", Axis::y, fs, state.vp, h);
    withEffects(*this, target, own, true, [&] { _viewport(target, own, w, h, hasW, hasH); });
}

// A nested svg or a symbol: its viewport at x, y of its width and height
// (a `use` may give these), its view box inside, clipped unless its
// overflow is visible.
void TPainter::_viewport(const TSvgNode& node, const SState& state, double w, double h, bool hasW, bool hasH) {
    if (state.depth >= kMaxNesting) return;
    const double fs = state.style.fontSize;
    const double x = lengthAttribute(node, "x", Axis::x, 0, fs, state.vp);
    const double y = lengthAttribute(node, "y", Axis::y, 0, fs, state.vp);
    if (!hasW) w = lengthAttribute(node, "width", Axis::x, state.vp.width, fs, state.vp);
    if (!hasH) h = lengthAttribute(node, "height", Axis::y, state.vp.height, fs, state.vp);
    if (!(w > 0) || !(h > 0)) return;
    const SViewBoxPlacement placed = placeViewBox(node, x, y, w, h);
    if (!placed.drawn) return;
    SState inner = state;
    inner.depth = state.depth + 1;
    inner.ctm = state.ctm * placed.matrix;
    inner.vp = placed.inner;
    const bool clip = state.style.overflow != Overflow::visible;
    if (clip && canvas_) {
        TPath box = rectPath(x, y, w, h, 0, 0).transformed(state.ctm);
        canvas_->out().save("q\n");
        canvas_->path(box, 1);
        canvas_->out().op("W").op("n");
    }
    drawChildren(node, inner);
    if (clip && canvas_) canvas_->out().restore("Q\n");
}

// ---- shapes --------------------------------------------------------------------------------

TPath TPainter::geometry(const TSvgNode& node, const SState& state) {
    const double fs = state.style.fontSize;
    const SViewport& vp = state.vp;
    auto len = [&](const char* name, Axis axis, double fallback = 0) {
        return lengthAttribute(node, name, axis, fallback, fs, vp);
    };
    switch (node.tag) {
        case SvgTag::rect: {
            const double w = len("width", Axis::x), h = len("height", Axis::y);
            if (!(w > 0) || !(h > 0)) return {};
            double rx = 0, ry = 0;
            bool hasRx = lengthAttribute(node, "rx", Axis::x, fs, vp, rx) && rx >= 0;
            bool hasRy = lengthAttribute(node, "ry", Axis::y, fs, vp, ry) && ry >= 0;
            if (!hasRx) rx = hasRy ? ry : 0;
            if (!hasRy) ry = hasRx ? rx : 0;
            return rectPath(len("x", Axis::x), len("y", Axis::y), w, h, rx, ry);
        }
        case SvgTag::circle: {
            const double r = len("r", Axis::other);
            if (!(r > 0)) return {};
            return ellipsePath(len("cx", Axis::x), len("cy", Axis::y), r, r);
        }
        case SvgTag::ellipse: {
            double rx = 0, ry = 0;
            const bool hasRx = lengthAttribute(node, "rx", Axis::x, fs, vp, rx);
            const bool hasRy = lengthAttribute(node, "ry", Axis::y, fs, vp, ry);
            if (!hasRx) rx = ry;
            if (!hasRy) ry = rx;
            if (!(rx > 0) || !(ry > 0)) return {};
            return ellipsePath(len("cx", Axis::x), len("cy", Axis::y), rx, ry);
        }
        case SvgTag::line: {
            TPath p;
            p.moveTo(len("x1", Axis::x), len("y1", Axis::y));
            p.lineTo(len("x2", Axis::x), len("y2", Axis::y));
            return p;
        }
        case SvgTag::polyline:
        case SvgTag::polygon: {
            const std::vector<double> v = parsePoints(node.attributeOr("points"));
            TPath p;
            if (v.size() < 4) return p;
            p.moveTo(v[0], v[1]);
            for (size_t i = 2; i + 1 < v.size(); i += 2) p.lineTo(v[i], v[i + 1]);
            if (node.tag == SvgTag::polygon) p.close();
            return p;
        }
        case SvgTag::path: return parsePathData(node.attributeOr("d"));
        default: return {};
    }
}

void TPainter::_shape(const TSvgNode& node, const SState& state) {
    if (!canvas_ || state.style.visibility != Visibility::visible) return;
    const TPath path = geometry(node, state);
    if (path.empty()) return;
    const SStyle& st = state.style;
    const bool markers = hasMarkers(node, state);
    const bool both = st.fill.kind != SPaint::none && st.stroke.kind != SPaint::none;
    if (st.opacity < 1 && (both || markers)) {
        // Fill, stroke and markers overlap: composited as one.
        SState inner = state;
        inner.style.opacity = 1;
        withOpacity(st.opacity, [&] {
            fillAndStroke(path, inner);
            drawMarkers(*this, node, path, inner);
        });
        return;
    }
    if (st.opacity <= 0) return;
    fillAndStroke(path, state);
    drawMarkers(*this, node, path, state);
}

}  // namespace kivu::stdsvg

// ---- fill and stroke ---------------------------------------------------------------------

namespace kivu::stdsvg {

struct TPainter::SResolvedPaint {
    enum Kind : uint8_t { none, solid, shading, tiling };
    Kind kind = none;
    SRgba color;
    SGradientUse gradient;
    uint64_t pattern = 0;
};

TPainter::SResolvedPaint TPainter::_resolve(const SPaint& paint, const SState& state, const SBox& bbox,
                                            const SBox& cover) {
    SResolvedPaint out;
    auto simple = [&](SPaint::Kind kind, const SRgba& rgba) {
        if (kind == SPaint::color) out.kind = SResolvedPaint::solid, out.color = rgba;
        else if (kind == SPaint::currentColor) out.kind = SResolvedPaint::solid, out.color = state.style.color;
    };
    if (paint.kind != SPaint::url) {
        simple(paint.kind, paint.rgba);
        return out;
    }
    const TSvgNode* server = doc_.byId(paint.id);
    if (server && server->tag == SvgTag::pattern) {
        out.pattern = patternObject(*this, *server, state, bbox);
        if (out.pattern) out.kind = SResolvedPaint::tiling;
        else if (paint.hasFallback) simple(paint.fallback, paint.fallbackRgba);
        return out;
    }
    std::shared_ptr<SGradientDef> gradient;
    if (server) {
        auto it = gradients_.find(server);
        if (it == gradients_.end()) {
            auto resolved = std::make_shared<SGradientDef>();
            StyleOf styleOf = [this](const TSvgNode& n) { return styleInDocument(n); };
            if (!resolveGradient(doc_, *server, styleOf, *resolved)) resolved.reset();
            it = gradients_.emplace(server, resolved).first;
        }
        gradient = it->second;
    }
    if (!gradient) {
        // A reference that paints nothing takes its fallback.
        if (paint.hasFallback) simple(paint.fallback, paint.fallbackRgba);
        return out;
    }
    out.gradient = gradientUse(*gradient, bbox, cover, state.vp, state.style.fontSize);
    if (out.gradient.none) {
        if (paint.hasFallback) simple(paint.fallback, paint.fallbackRgba);
        return out;
    }
    if (out.gradient.solid) {
        out.kind = SResolvedPaint::solid;
        out.color = out.gradient.color;
        return out;
    }
    out.kind = SResolvedPaint::shading;
    return out;
}

double TPainter::_strokeWidth(const SState& state) const {
    return toUserUnits(state.style.strokeWidth, state.style.fontSize, state.vp.diagonal());
}

void TPainter::_strokeParameters(const SState& state, double s) {
    const SStyle& st = state.style;
    TContent& out = canvas_->out();
    out.num(_strokeWidth(state) * s).op("w");
    if (st.lineCap) out.num(static_cast<int>(st.lineCap)).op("J");
    if (st.lineJoin) out.num(static_cast<int>(st.lineJoin)).op("j");
    if (st.lineJoin == 0 && st.miterLimit != 10) out.num(static_cast<double>(st.miterLimit)).op("M");
    if (st.dashArray.empty()) return;
    const double diagonal = state.vp.diagonal();
    out.raw("[");
    for (const SLength& l : st.dashArray) out.num(toUserUnits(l, st.fontSize, diagonal) * s);
    out.raw("] ").num(toUserUnits(st.dashOffset, st.fontSize, diagonal) * s).op("d");
}

namespace {

// The record's colours through the colour filters, in the emission's target space.
SGradient inTargetSpace(SGradient record, TCanvas& canvas) {
    ColorSpace cs = csRGB;
    for (SGradColor& stop : record.colors) {
        if (const auto* rgb = dynamic_cast<const TRGBA*>(stop.color.space.get())) {
            const SRgba c = canvas.filtered(SRgba{rgb->red(), rgb->green(), rgb->blue(), rgb->alpha()});
            stop.color = SColor(std::make_unique<TRGBA>(c.r, c.g, c.b, c.a));
        }
        stop.color = canvas.host().targetColor(stop.color);
        cs = stop.color.cs();
    }
    record.colorSpace = cs;
    return record;
}

void matrix(TContent& out, const SMatrix& m) {
    out.num(m.a, 6).num(m.b, 6).num(m.c, 6).num(m.d, 6).num(m.e).num(m.f).op("cm");
}

}  // namespace

// The last stop's colour, which a radial shading leaves to what it doesn't
// reach (a focal point near the circle's edge leaves some of the plane
// outside every circle).
static SRgba lastStop(const SGradient& record) {
    const SColor& c = record.colors.back().color;
    const auto* rgba = dynamic_cast<const TRGBA*>(c.space.get());
    if (!rgba) return SRgba{0, 0, 0, c.alpha()};
    return SRgba{rgba->red(), rgba->green(), rgba->blue(), rgba->alpha()};
}

void TPainter::_gradientFill(const TPath& path, const SState& state, const SPlacement& pl, const SResolvedPaint& p,
                             float alpha, bool evenOdd) {
    TContent& out = canvas_->out();
    out.save("q\n");
    canvas_->path(path, pl.scale);
    out.op(evenOdd ? "W*" : "W").op("n");
    // Only under an opaque shading: a translucent one would show it through.
    if (p.gradient.record.shadingType == 3 && !p.gradient.record.hasAlpha && alpha >= 1) {
        const SRgba last = lastStop(p.gradient.record);
        const SBox box = path.bounds();
        out.save("q\n");
        canvas_->alpha(alpha * last.a, 1);
        canvas_->color(last, false);
        canvas_->rect(box.x0, box.y0, box.width(), box.height(), pl.scale);
        out.op("f").restore("Q\n");
    }
    matrix(out, SMatrix::scale(pl.scale, pl.scale) * p.gradient.space);
    canvas_->alpha(alpha, 1);
    canvas_->shade(canvas_->gradientRecord(inTargetSpace(p.gradient.record, *canvas_)));
    out.restore("Q\n");
    (void)state;
}

void TPainter::_gradientStroke(const TPath& path, const SState& state, const SPlacement& pl,
                               const SResolvedPaint& p, float alpha) {
    TContent& out = canvas_->out();
    if (alpha < 1) {
        // Readers treat a translucent pattern stroke unevenly: the stroke
        // goes into a group of its own, drawn with the opacity.
        const double w = _strokeWidth(state) * 2;
        SBox box = path.bounds();
        box = SBox{(box.x0 - w) * pl.scale, (box.y0 - w) * pl.scale, (box.x1 + w) * pl.scale, (box.y1 + w) * pl.scale};
        canvas_->beginForm();
        _gradientStroke(path, state, pl, p, 1);
        const uint64_t form = canvas_->endForm("SVG/Group", box);
        out.save("q\n");
        canvas_->alpha(alpha, alpha);
        canvas_->drawForm(form);
        out.restore("Q\n");
        return;
    }
    TContent& inner = canvas_->out();
    const SMatrix toScaled = SMatrix::scale(pl.scale, pl.scale) * p.gradient.space;
    SGradient record = inTargetSpace(p.gradient.record, *canvas_);
    const SMatrix m = pl.cm * toScaled;
    record.matrix = {static_cast<float>(m.a), static_cast<float>(m.b), static_cast<float>(m.c),
                     static_cast<float>(m.d), static_cast<float>(m.e), static_cast<float>(m.f)};
    const int k = canvas_->gradientRecord(record);
    if (record.shadingType == 3 && !record.hasAlpha) {
        const SRgba last = lastStop(p.gradient.record);
        inner.save("q\n");
        canvas_->alpha(1, last.a);
        canvas_->color(last, true);
        _strokeParameters(state, pl.scale);
        canvas_->path(path, pl.scale);
        inner.op("S").restore("Q\n");
    }
    inner.save("q\n");
    if (record.hasAlpha) {
        // The soft mask is drawn in the space where it is set: the gradient's.
        matrix(inner, toScaled);
        const std::string mask = sformat("TGS%d", k);
        host_.nameResource(mask, "ExtGState", ResourceSource::gradientMask, static_cast<uint64_t>(k));
        inner.raw("/" + mask + " gs\n");
        matrix(inner, toScaled.inverse());
    }
    _strokeParameters(state, pl.scale);
    canvas_->patternPaint(k, true);
    canvas_->path(path, pl.scale);
    inner.op("S");
    inner.restore("Q\n");
}

void TPainter::fillAndStroke(const TPath& path, const SState& state, bool withStroke) {
    if (!canvas_) return;
    SPlacement pl;
    if (!TCanvas::placement(state.ctm, pl)) return;
    const SStyle& st = state.style;
    const SBox bbox = path.bounds();
    const double width = withStroke && st.stroke.kind != SPaint::none ? _strokeWidth(state) : 0;
    SBox cover = bbox;
    if (width > 0) cover = SBox{bbox.x0 - width * 2, bbox.y0 - width * 2, bbox.x1 + width * 2, bbox.y1 + width * 2};
    const SResolvedPaint fill = _resolve(st.fill, state, bbox, bbox);
    const SResolvedPaint stroke = width > 0 ? _resolve(st.stroke, state, bbox, cover) : SResolvedPaint{};
    if (fill.kind == SResolvedPaint::none && stroke.kind == SResolvedPaint::none) return;
    const float fa = st.fillOpacity * st.opacity * (fill.kind == SResolvedPaint::solid ? canvas_->filtered(fill.color).a : 1);
    const float sa =
        st.strokeOpacity * st.opacity * (stroke.kind == SResolvedPaint::solid ? canvas_->filtered(stroke.color).a : 1);
    TContent& out = canvas_->out();
    canvas_->begin(pl);
    // B paints the stroke as a knockout over the fill: only when both are opaque.
    if (fill.kind == SResolvedPaint::solid && stroke.kind == SResolvedPaint::solid && !st.strokeFirst && fa >= 1 &&
        sa >= 1) {
        canvas_->color(fill.color, false);
        canvas_->color(stroke.color, true);
        _strokeParameters(state, pl.scale);
        canvas_->path(path, pl.scale);
        out.op(st.fillEvenOdd ? "B*" : "B");
        canvas_->end();
        return;
    }
    auto paintFill = [&] {
        if (fill.kind == SResolvedPaint::shading) return _gradientFill(path, state, pl, fill, fa, st.fillEvenOdd);
        if (fill.kind == SResolvedPaint::none) return;
        out.save("q\n");
        canvas_->alpha(fa, 1);
        if (fill.kind == SResolvedPaint::tiling) canvas_->tilingPaint(fill.pattern, false);
        else canvas_->color(fill.color, false);
        canvas_->path(path, pl.scale);
        out.op(st.fillEvenOdd ? "f*" : "f");
        out.restore("Q\n");
    };
    auto paintStroke = [&] {
        if (stroke.kind == SResolvedPaint::shading) return _gradientStroke(path, state, pl, stroke, sa);
        if (stroke.kind == SResolvedPaint::none) return;
        out.save("q\n");
        canvas_->alpha(1, sa);
        if (stroke.kind == SResolvedPaint::tiling) canvas_->tilingPaint(stroke.pattern, true);
        else canvas_->color(stroke.color, true);
        _strokeParameters(state, pl.scale);
        canvas_->path(path, pl.scale);
        out.op("S");
        out.restore("Q\n");
    };
    if (st.strokeFirst) paintStroke(), paintFill();
    else paintFill(), paintStroke();
    canvas_->end();
}

bool TPainter::solidPaint(const SPaint& paint, float opacity, const SState& state, bool stroke) {
    if (!canvas_) return false;
    const SResolvedPaint p = _resolve(paint, state, SBox{}, SBox{});
    if (p.kind != SResolvedPaint::solid) return false;
    canvas_->color(p.color, stroke);
    (void)opacity;
    return true;
}

}  // namespace kivu::stdsvg
