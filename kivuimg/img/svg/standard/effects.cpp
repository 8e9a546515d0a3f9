#include "kivuimg/img/svg/standard/effects.h"

#include <algorithm>

#include "kivuimg/img/svg/standard/bounds.h"
#include "kivuimg/img/svg/standard/document.h"
#include "kivuimg/img/svg/standard/text.h"

namespace kivu::stdsvg {

namespace {

// Clip paths and masks nested deeper than this (through each other's
// references) draw nothing.
constexpr int kMaxEffectDepth = 16;


// One piece of a clip: a path in the Form's space, or a text element; the
// element it comes of, and that element's own clip path.
struct SClipPart {
    TPath path;
    bool evenOdd = false;
    const TSvgNode* node = nullptr;
    bool text = false;
    SState state;
    const TSvgNode* clip = nullptr;
};

SMatrix transformOf(const TSvgNode& node) {
    SMatrix m;
    if (const std::string* t = node.attribute("transform"))
        if (!parseTransform(*t, m)) m = SMatrix{};
    return m;
}

SMatrix boxMatrix(const SBox& b) { return SMatrix{b.width(), 0, 0, b.height(), b.x0, b.y0}; }

// The element's bounding box, measured once.
class TLazyBounds {
public:
    TLazyBounds(TPainter& p, const TSvgNode& n, const SState& s) : painter_(p), node_(n), state_(s) {}
    const SBox& get() {
        if (!done_) box_ = elementBounds(painter_, node_, state_), done_ = true;
        return box_;
    }

private:
    TPainter& painter_;
    const TSvgNode& node_;
    const SState& state_;
    SBox box_;
    bool done_ = false;
};

// The element a reference names when it is of that kind; `broken` when it
// names nothing of that kind.
const TSvgNode* referenced(TPainter& painter, const std::string& id, SvgTag tag, bool& broken) {
    broken = false;
    if (id.empty()) return nullptr;
    const TSvgNode* n = painter.document().byId(id);
    if (!n || n->tag != tag) broken = true;
    return broken ? nullptr : n;
}

class TClipper {
public:
    explicit TClipper(TPainter& painter) : painter_(painter) {}

    void withClip(const TSvgNode& clip, const SState& state, TLazyBounds& bounds, const std::function<void()>& inner,
                  bool innerMasks);

private:
    bool _parts(const TSvgNode& clip, const SState& state, TLazyBounds& bounds, std::vector<SClipPart>& parts);
    void _addChild(const TSvgNode& child, const SState& in, std::vector<SClipPart>& parts);
    void _clipped(const TSvgNode& clip, const SState& state, TLazyBounds& bounds, const std::function<void()>& inner,
                  bool innerMasks);
    void _drawPart(const SClipPart& part);
    const TSvgNode* _clipOf(const SStyle& style);

    TPainter& painter_;
    // The clip paths being applied: a reference back to one of them is passed over.
    std::vector<const TSvgNode*> active_;
};

const TSvgNode* TClipper::_clipOf(const SStyle& style) {
    bool broken;
    const TSvgNode* n = referenced(painter_, style.clipPath, SvgTag::clipPath, broken);
    if (!n || std::find(active_.begin(), active_.end(), n) != active_.end()) return nullptr;
    return n;
}

void TClipper::_addChild(const TSvgNode& child, const SState& in, std::vector<SClipPart>& parts) {
    SState st;
    if (child.isText || !painter_.enter(child, in, st) || st.style.visibility != Visibility::visible) return;
    if (isShape(child.tag) || child.tag == SvgTag::text) {
        SClipPart part;
        part.node = &child;
        part.state = st;
        part.clip = _clipOf(st.style);
        part.text = child.tag == SvgTag::text;
        if (!part.text) {
            part.path = painter_.geometry(child, st).transformed(st.ctm);
            part.evenOdd = st.style.clipEvenOdd;
            if (part.path.empty()) return;
        }
        parts.push_back(std::move(part));
    } else if (child.tag == SvgTag::use) {
        // A use in a clip path names a shape or a text directly.
        const std::string* href = child.attribute("href");
        const TSvgNode* target = href ? painter_.document().byId(localId(*href)) : nullptr;
        if (!target || (!isShape(target->tag) && target->tag != SvgTag::text)) return;
        const double fs = st.style.fontSize;
        st.ctm = st.ctm * SMatrix::translate(lengthAttribute(child, "x", Axis::x, 0, fs, st.vp),
                                             lengthAttribute(child, "y", Axis::y, 0, fs, st.vp));
        _addChild(*target, st, parts);
    }
}

// The pieces of a clip path for an element; false when the element is not
// drawn at all (a box of no size under objectBoundingBox units).
bool TClipper::_parts(const TSvgNode& clip, const SState& state, TLazyBounds& bounds, std::vector<SClipPart>& parts) {
    SState in = state;
    in.style = painter_.styleInDocument(clip);
    in.depth = state.depth + 1;
    // The clip path's transform applies over the bounding box's units.
    in.ctm = state.ctm * transformOf(clip);
    if (trimSpace(clip.attributeOr("clipPathUnits")) == "objectBoundingBox") {
        const SBox& b = bounds.get();
        if (b.empty() || b.width() <= 0 || b.height() <= 0) return false;
        in.ctm = in.ctm * boxMatrix(b);
    }
    for (const auto& child : clip.children) _addChild(*child, in, parts);
    return true;
}

void TClipper::_drawPart(const SClipPart& part) {
    TCanvas& canvas = *painter_.canvas();
    if (part.text) {
        SState st = part.state;
        st.style.fill = SPaint{};
        st.style.fill.kind = SPaint::color;
        st.style.fill.rgba = SRgba{1, 1, 1, 1};
        st.style.stroke = SPaint{};
        st.style.fillOpacity = st.style.opacity = 1;
        drawText(painter_, *part.node, st);
        return;
    }
    canvas.out().save("q\n").raw("1 g\n");
    canvas.path(part.path, 1);
    canvas.out().op(part.evenOdd ? "f*" : "f").restore("Q\n");
}

// Writes the clip of `clip` around `inner`.
void TClipper::_clipped(const TSvgNode& clip, const SState& state, TLazyBounds& bounds,
                        const std::function<void()>& inner, bool innerMasks) {
    std::vector<SClipPart> parts;
    if (!_parts(clip, state, bounds, parts) || parts.empty()) return;
    TCanvas& canvas = *painter_.canvas();
    TContent& out = canvas.out();
    if (parts.size() == 1 && !parts.front().text && !parts.front().clip) {
        out.save("q\n");
        canvas.path(parts.front().path, 1);
        out.op(parts.front().evenOdd ? "W*" : "W").op("n");
        inner();
        out.restore("Q\n");
        return;
    }
    canvas.beginForm();
    for (const SClipPart& part : parts) {
        if (!part.clip) {
            _drawPart(part);
            continue;
        }
        TLazyBounds own(painter_, *part.node, part.state);
        SState at = part.state;
        at.ctm = part.state.ctm;
        withClip(*part.clip, at, own, [&] { _drawPart(part); }, false);
    }
    const uint64_t mask = canvas.endForm("SVG/Clip", true, "/DeviceGray");
    out.save("q\n");
    canvas.softMask(mask, true);
    if (innerMasks) {
        // A soft mask inside would replace this one: the inside becomes a group.
        canvas.beginForm();
        inner();
        canvas.drawForm(canvas.endForm("SVG/Group", true));
    } else {
        inner();
    }
    out.restore("Q\n");
}

void TClipper::withClip(const TSvgNode& clip, const SState& state, TLazyBounds& bounds,
                        const std::function<void()>& inner, bool innerMasks) {
    if (std::find(active_.begin(), active_.end(), &clip) != active_.end()) return inner();
    if (active_.size() >= kMaxEffectDepth) return;
    active_.push_back(&clip);
    // A clip path may be clipped itself: the two intersect.
    if (const TSvgNode* outer = _clipOf(painter_.styleInDocument(clip)))
        withClip(*outer, state, bounds, [&] { _clipped(clip, state, bounds, inner, innerMasks); }, true);
    else
        _clipped(clip, state, bounds, inner, innerMasks);
    active_.pop_back();
}

void withMask(TPainter& painter, const TSvgNode& mask, const SState& state, TLazyBounds& bounds,
              const std::function<void()>& inner) {
    const bool userUnits = trimSpace(mask.attributeOr("maskUnits")) == "userSpaceOnUse";
    const bool contentBox = trimSpace(mask.attributeOr("maskContentUnits")) == "objectBoundingBox";
    const double fs = state.style.fontSize;
    SBox rect;
    if (userUnits) {
        const SViewport& vp = state.vp;
        rect.x0 = lengthAttribute(mask, "x", Axis::x, -0.1 * vp.width, fs, vp);
        rect.y0 = lengthAttribute(mask, "y", Axis::y, -0.1 * vp.height, fs, vp);
        rect.x1 = rect.x0 + lengthAttribute(mask, "width", Axis::x, 1.2 * vp.width, fs, vp);
        rect.y1 = rect.y0 + lengthAttribute(mask, "height", Axis::y, 1.2 * vp.height, fs, vp);
    }
    if (!userUnits || contentBox) {
        const SBox& b = bounds.get();
        if (b.empty() || b.width() <= 0 || b.height() <= 0) return;
        if (!userUnits) {
            const SViewport unit{1, 1};
            const double x = lengthAttribute(mask, "x", Axis::x, -0.1, 1, unit);
            const double y = lengthAttribute(mask, "y", Axis::y, -0.1, 1, unit);
            const double w = lengthAttribute(mask, "width", Axis::x, 1.2, 1, unit);
            const double h = lengthAttribute(mask, "height", Axis::y, 1.2, 1, unit);
            rect = SBox{b.x0 + x * b.width(), b.y0 + y * b.height(), b.x0 + (x + w) * b.width(),
                        b.y0 + (y + h) * b.height()};
        }
    }
    if (!(rect.width() > 0) || !(rect.height() > 0)) return;
    TCanvas& canvas = *painter.canvas();
    SState content = state;
    content.style = painter.styleInDocument(mask);
    content.depth = state.depth + 1;
    if (contentBox) content.ctm = state.ctm * boxMatrix(bounds.get());
    canvas.beginForm();
    canvas.out().save("q\n");
    canvas.path(rectPath(rect.x0, rect.y0, rect.width(), rect.height(), 0, 0).transformed(state.ctm), 1);
    canvas.out().op("W").op("n");
    painter.drawChildren(mask, content);
    canvas.out().restore("Q\n");
    const bool alpha = content.style.maskAlpha;
    const uint64_t form = canvas.endForm("SVG/Mask", true, alpha ? nullptr : "/DeviceRGB");
    canvas.out().save("q\n");
    canvas.softMask(form, !alpha);
    inner();
    canvas.out().restore("Q\n");
}

}  // namespace

void withEffects(TPainter& painter, const TSvgNode& node, const SState& state, bool opacity,
                 const std::function<void()>& draw) {
    const SStyle& st = state.style;
    auto withOpacity = [&] { opacity ? painter.withOpacity(st.opacity, draw) : draw(); };
    if (!painter.canvas() || (st.clipPath.empty() && st.mask.empty())) return withOpacity();
    if (state.depth >= kMaxEffectDepth * 4) return;
    // A reference to nothing, or to an element of another kind, is passed over.
    bool broken = false;
    const TSvgNode* clip = referenced(painter, st.clipPath, SvgTag::clipPath, broken);
    const TSvgNode* mask = referenced(painter, st.mask, SvgTag::mask, broken);
    TLazyBounds bounds(painter, node, state);
    auto masked = [&] { mask ? withMask(painter, *mask, state, bounds, withOpacity) : withOpacity(); };
    if (!clip) return masked();
    TClipper(painter).withClip(*clip, state, bounds, masked, mask != nullptr);
}

}  // namespace kivu::stdsvg
