#include "kivuimg/img/svg/standard/bounds.h"

#include "kivuimg/img/svg/standard/document.h"
#include "kivuimg/img/svg/standard/text.h"

namespace kivu::stdsvg {

namespace {

// Instances and viewports followed at most, as when drawing.
constexpr int kMaxDepth = 64;


void addBounds(TPainter& painter, const TSvgNode& node, const SState& state, SBox& out);

void addChildren(TPainter& painter, const TSvgNode& node, const SState& state, SBox& out) {
    for (const auto& child : node.children) {
        SState inner;
        if (!child->isText && painter.enter(*child, state, inner)) addBounds(painter, *child, inner, out);
    }
}

void addUse(TPainter& painter, const TSvgNode& use, const SState& state, SBox& out) {
    const std::string* href = use.attribute("href");
    const TSvgNode* target = href ? painter.document().byId(localId(*href)) : nullptr;
    if (!target || state.depth >= kMaxDepth) return;
    for (const TSvgNode* p = &use; p; p = p->parent)
        if (p == target) return;
    SState at = state;
    at.depth = state.depth + 1;
    const double fs = state.style.fontSize;
    at.ctm = state.ctm * SMatrix::translate(lengthAttribute(use, "x", Axis::x, 0, fs, state.vp),
                                            lengthAttribute(use, "y", Axis::y, 0, fs, state.vp));
    if (target->tag == SvgTag::symbol) {
        at.style = computeStyle(target->declarations, at.style);
        return addChildren(painter, *target, at, out);
    }
    SState inner;
    if (painter.enter(*target, at, inner)) addBounds(painter, *target, inner, out);
}

void addBounds(TPainter& painter, const TSvgNode& node, const SState& state, SBox& out) {
    if (isShape(node.tag)) return out.add(painter.geometry(node, state).bounds(state.ctm));
    if (node.tag == SvgTag::text) return out.add(textBounds(painter, node, state));
    if (node.tag == SvgTag::use) return addUse(painter, node, state, out);
    if (node.tag == SvgTag::image) {
        const double fs = state.style.fontSize;
        const double x = lengthAttribute(node, "x", Axis::x, 0, fs, state.vp);
        const double y = lengthAttribute(node, "y", Axis::y, 0, fs, state.vp);
        const double w = lengthAttribute(node, "width", Axis::x, 0, fs, state.vp);
        const double h = lengthAttribute(node, "height", Axis::y, 0, fs, state.vp);
        return out.add(rectPath(x, y, w, h, 0, 0).bounds(state.ctm));
    }
    if (state.depth < kMaxDepth) addChildren(painter, node, state, out);
}

}  // namespace

SBox elementBounds(TPainter& painter, const TSvgNode& node, const SState& state) {
    SState own = state;
    own.ctm = SMatrix{};
    SBox out;
    addBounds(painter, node, own, out);
    return out;
}

}  // namespace kivu::stdsvg
