#include "kivuimg/img/svg/standard/pattern.h"

#include <algorithm>
#include <set>

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/img/svg/standard/document.h"

namespace kivu::stdsvg {

namespace {

// Patterns drawn inside patterns deeper than this paint nothing.
constexpr size_t kMaxPatternDepth = 8;

// The attributes of a pattern's href chain, each from the first element
// that has it, and the first element with content.
struct SPatternChain {
    const std::string *units = nullptr, *contentUnits = nullptr, *transform = nullptr, *viewBox = nullptr;
    const std::string *aspect = nullptr, *x = nullptr, *y = nullptr, *width = nullptr, *height = nullptr;
    const TSvgNode* content = nullptr;
};

bool hasElements(const TSvgNode& n) {
    for (const auto& c : n.children)
        if (!c->isText) return true;
    return false;
}

SPatternChain chainOf(const TSvgDocument& doc, const TSvgNode& pattern) {
    SPatternChain a;
    std::set<const TSvgNode*> seen;
    for (const TSvgNode* n = &pattern; n && n->tag == SvgTag::pattern && seen.insert(n).second;) {
        auto take = [&](const std::string*& slot, const char* name) {
            if (!slot) slot = n->attribute(name);
        };
        take(a.units, "patternUnits"), take(a.contentUnits, "patternContentUnits");
        take(a.transform, "patternTransform"), take(a.viewBox, "viewBox"), take(a.aspect, "preserveAspectRatio");
        take(a.x, "x"), take(a.y, "y"), take(a.width, "width"), take(a.height, "height");
        if (!a.content && hasElements(*n)) a.content = n;
        const std::string* href = n->attribute("href");
        n = href ? doc.byId(localId(*href)) : nullptr;
    }
    return a;
}

double length(const std::string* text, bool boxUnits, Axis axis, const SState& state) {
    SLength l;
    if (!text || !parseLength(*text, l)) return 0;
    return boxUnits ? toUserUnits(l, state.style.fontSize, 1.0)
                    : toUserUnits(l, state.style.fontSize, percentBase(state.vp, axis));
}

std::string key(const TSvgNode* node, const SMatrix& m, const SMatrix& content, double w, double h) {
    return sformat("%p %.6g %.6g %.6g %.6g %.6g %.6g %.6g %.6g %.6g %.6g %.6g %.6g %.6g %.6g",
                   static_cast<const void*>(node), m.a, m.b, m.c, m.d, m.e, m.f, content.a, content.b, content.c,
                   content.d, content.e, content.f, w, h);
}

}  // namespace

uint64_t patternObject(TPainter& painter, const TSvgNode& pattern, const SState& state, const SBox& bbox) {
    TCanvas* canvas = painter.canvas();
    std::vector<const TSvgNode*>& active = painter.activePatterns();
    if (!canvas || active.size() >= kMaxPatternDepth ||
        std::find(active.begin(), active.end(), &pattern) != active.end())
        return 0;
    const SPatternChain a = chainOf(painter.document(), pattern);
    const bool boxUnits = !a.units || trimSpace(*a.units) != "userSpaceOnUse";
    const bool contentBox = a.contentUnits && trimSpace(*a.contentUnits) == "objectBoundingBox";
    if ((boxUnits || contentBox) && (bbox.empty() || bbox.width() <= 0 || bbox.height() <= 0)) return 0;
    double x = length(a.x, boxUnits, Axis::x, state), y = length(a.y, boxUnits, Axis::y, state);
    double w = length(a.width, boxUnits, Axis::x, state), h = length(a.height, boxUnits, Axis::y, state);
    if (boxUnits) {
        x = bbox.x0 + x * bbox.width(), y = bbox.y0 + y * bbox.height();
        w *= bbox.width(), h *= bbox.height();
    }
    if (!(w > 0) || !(h > 0) || !a.content) return 0;
    SMatrix transform;
    if (a.transform && !parseTransform(*a.transform, transform)) transform = SMatrix{};
    const SMatrix matrix = state.ctm * transform * SMatrix::translate(x, y);
    SMatrix content;
    SViewBox box;
    if (a.viewBox && parseViewBox(*a.viewBox, box) && box.w > 0 && box.h > 0) {
        SAspectRatio aspect;
        if (a.aspect) parseAspectRatio(*a.aspect, aspect);
        content = viewBoxTransform(box, aspect, 0, 0, w, h);
    } else if (contentBox) {
        content = SMatrix::scale(bbox.width(), bbox.height());
    }
    if (!matrix.invertible()) return 0;
    const std::string k = key(a.content, matrix, content, w, h);
    auto known = painter.patternCache().find(k);
    if (known != painter.patternCache().end()) return known->second;
    SState inner{content, painter.styleInDocument(*a.content), SViewport{w, h}, state.depth + 1};
    active.push_back(&pattern);
    canvas->beginForm();
    painter.drawChildren(*a.content, inner);
    const uint64_t number = canvas->endPattern(matrix, w, h);
    active.pop_back();
    painter.patternCache().emplace(k, number);
    return number;
}

}  // namespace kivu::stdsvg
