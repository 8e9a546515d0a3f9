#include "kivuimg/img/svg/standard/viewport.h"

#include "kivuimg/img/svg/standard/document.h"

namespace kivu::stdsvg {

bool lengthAttribute(const TSvgNode& node, const char* name, Axis axis, double fontSize, const SViewport& vp,
                     double& out) {
    const std::string* text = node.attribute(name);
    SLength l;
    if (!text || !parseLength(*text, l)) return false;
    out = toUserUnits(l, fontSize, percentBase(vp, axis));
    return std::isfinite(out);
}

double lengthAttribute(const TSvgNode& node, const char* name, Axis axis, double fallback, double fontSize,
                       const SViewport& vp) {
    double v;
    return lengthAttribute(node, name, axis, fontSize, vp, v) ? v : fallback;
}

SViewBoxPlacement placeViewBox(const TSvgNode& node, double x, double y, double w, double h) {
    SViewBoxPlacement p;
    p.matrix = SMatrix::translate(x, y);
    p.inner = SViewport{w, h};
    SViewBox box;
    const std::string* text = node.attribute("viewBox");
    if (!text || !parseViewBox(*text, box)) return p;
    if (box.w <= 0 || box.h <= 0) {
        p.drawn = false;
        return p;
    }
    SAspectRatio aspect;
    if (const std::string* par = node.attribute("preserveAspectRatio")) parseAspectRatio(*par, aspect);
    p.matrix = viewBoxTransform(box, aspect, x, y, w, h);
    p.inner = SViewport{box.w, box.h};
    return p;
}

namespace {

// A root size: a length that is no percentage, above 0.
bool rootLength(const TSvgNode& root, const char* name, double& out) {
    const std::string* text = root.attribute(name);
    SLength l;
    if (!text || !parseLength(*text, l) || l.unit == LengthUnit::percent) return false;
    out = toUserUnits(l, 16, 0);
    return std::isfinite(out);
}

}  // namespace

SRootSize rootSize(const TSvgNode& root) {
    SRootSize r;
    SViewBox box;
    const std::string* vb = root.attribute("viewBox");
    const bool hasBox = vb && parseViewBox(*vb, box) && box.w > 0 && box.h > 0;
    double w = 0, h = 0;
    const bool hasW = rootLength(root, "width", w), hasH = rootLength(root, "height", h);
    if (hasBox) {
        // A missing side follows the view box's proportions.
        if (!hasW) w = hasH ? h * box.w / box.h : box.w;
        if (!hasH) h = hasW ? w * box.h / box.w : box.h;
    } else {
        if (!hasW) w = 100;
        if (!hasH) h = 100;
    }
    r.width = w > 0 ? w : 0;
    r.height = h > 0 ? h : 0;
    r.placement = placeViewBox(root, 0, 0, r.width, r.height);
    if (r.width <= 0 || r.height <= 0) r.placement.drawn = false;
    return r;
}

}  // namespace kivu::stdsvg
