#include "kivuimg/img/svg/standard/marker.h"

#include <algorithm>
#include <cmath>

#include "kivuimg/img/svg/standard/document.h"

namespace kivu::stdsvg {

namespace {

constexpr int kMaxMarkerDepth = 8;

double degrees(double dx, double dy) { return std::atan2(dy, dx) * 180 / M_PI; }

struct SPoint2 {
    double x, y;
    double in = 0, out = 0;
    bool hasIn = false, hasOut = false;
};

// The directions a cubic leaves its start and reaches its end with.
void cubicDirections(double px, double py, const SPathSeg& s, double& start, double& end) {
    double dx = s.x1 - px, dy = s.y1 - py;
    if (dx == 0 && dy == 0) dx = s.x2 - px, dy = s.y2 - py;
    if (dx == 0 && dy == 0) dx = s.x - px, dy = s.y - py;
    start = degrees(dx, dy);
    dx = s.x - s.x2, dy = s.y - s.y2;
    if (dx == 0 && dy == 0) dx = s.x - s.x1, dy = s.y - s.y1;
    if (dx == 0 && dy == 0) dx = s.x - px, dy = s.y - py;
    end = degrees(dx, dy);
}

void leave(std::vector<SPoint2>& vs, double dir) {
    if (!vs.empty() && !vs.back().hasOut) vs.back().out = dir, vs.back().hasOut = true;
}

void arrive(std::vector<SPoint2>& vs, double x, double y, double dir) {
    SPoint2 p{x, y};
    p.in = dir, p.hasIn = true;
    vs.push_back(p);
}

double bisector(const SPoint2& p) {
    if (p.hasIn && p.hasOut) {
        double d = std::fmod(p.out - p.in, 360.0);
        if (d > 180) d -= 360;
        if (d <= -180) d += 360;
        return p.in + d / 2;
    }
    return p.hasIn ? p.in : p.out;
}

double orientAngle(std::string_view text, double autoAngle, bool start, bool& ok) {
    ok = true;
    text = trimSpace(text);
    if (text == "auto") return autoAngle;
    if (text == "auto-start-reverse") return start ? autoAngle + 180 : autoAngle;
    double v;
    const std::string t(text);
    for (const auto& [unit, factor] : {std::pair<const char*, double>{"deg", 1.0}, {"grad", 0.9},
                                       {"rad", 180 / M_PI}, {"turn", 360.0}}) {
        const std::string u(unit);
        if (t.size() > u.size() && t.compare(t.size() - u.size(), u.size(), u) == 0 &&
            parseNumber(t.substr(0, t.size() - u.size()), v))
            return v * factor;
    }
    if (text.empty() || !parseNumber(text, v)) return 0;
    return v;
}

void drawMarker(TPainter& painter, const TSvgNode& marker, const SVertex& v, const SState& state, double strokeWidth) {
    const SStyle style = painter.styleInDocument(marker);
    const double fs = style.fontSize;
    const double mw = lengthAttribute(marker, "markerWidth", Axis::x, 3, fs, state.vp);
    const double mh = lengthAttribute(marker, "markerHeight", Axis::y, 3, fs, state.vp);
    if (!(mw > 0) || !(mh > 0)) return;
    bool ok;
    const double angle = orientAngle(marker.attributeOr("orient", "0"), v.angle, v.start, ok);
    const double scale = trimSpace(marker.attributeOr("markerUnits")) == "userSpaceOnUse" ? 1 : strokeWidth;
    if (!(scale > 0)) return;
    const SViewBoxPlacement placed = placeViewBox(marker, 0, 0, mw, mh);
    if (!placed.drawn) return;
    const double rx = lengthAttribute(marker, "refX", Axis::x, 0, fs, placed.inner);
    const double ry = lengthAttribute(marker, "refY", Axis::y, 0, fs, placed.inner);
    const double ox = placed.matrix.x(rx, ry), oy = placed.matrix.y(rx, ry);
    const SMatrix viewport = state.ctm * SMatrix::translate(v.x, v.y) * SMatrix::rotate(angle) *
                             SMatrix::scale(scale, scale) * SMatrix::translate(-ox, -oy);
    SState inner{viewport * placed.matrix, style, placed.inner, state.depth + 1};
    TCanvas& canvas = *painter.canvas();
    const bool clip = style.overflow != Overflow::visible;
    canvas.out().save("q\n");
    if (clip) {
        canvas.path(rectPath(0, 0, mw, mh, 0, 0).transformed(viewport), 1);
        canvas.out().op("W").op("n");
    }
    painter.activeMarkers().push_back(&marker);
    painter.drawChildren(marker, inner);
    painter.activeMarkers().pop_back();
    canvas.out().restore("Q\n");
}

const TSvgNode* markerNode(TPainter& painter, const std::string& id) {
    if (id.empty()) return nullptr;
    const TSvgNode* n = painter.document().byId(id);
    if (!n || n->tag != SvgTag::marker) return nullptr;
    const std::vector<const TSvgNode*>& active = painter.activeMarkers();
    return std::find(active.begin(), active.end(), n) == active.end() ? n : nullptr;
}

}  // namespace

std::vector<SVertex> pathVertices(const TPath& path) {
    std::vector<SPoint2> vs;
    size_t first = 0;
    double px = 0, py = 0, sx = 0, sy = 0;
    for (const SPathSeg& s : path.segments()) {
        switch (s.op) {
            case SPathSeg::move:
                vs.push_back(SPoint2{s.x, s.y});
                first = vs.size() - 1, sx = s.x, sy = s.y;
                break;
            case SPathSeg::line: {
                const double dir = degrees(s.x - px, s.y - py);
                leave(vs, dir);
                arrive(vs, s.x, s.y, dir);
                break;
            }
            case SPathSeg::cubic: {
                double a, b;
                cubicDirections(px, py, s, a, b);
                leave(vs, a);
                arrive(vs, s.x, s.y, b);
                break;
            }
            case SPathSeg::close: {
                if (px != sx || py != sy) {
                    const double dir = degrees(sx - px, sy - py);
                    leave(vs, dir);
                    arrive(vs, sx, sy, dir);
                }
                // A closed subpath turns at its start: in from the last segment, out along the first.
                if (first < vs.size()) {
                    vs.back().out = vs[first].out, vs.back().hasOut = vs[first].hasOut;
                    vs[first].in = vs.back().in, vs[first].hasIn = vs.back().hasIn;
                }
                break;
            }
        }
        px = s.x, py = s.y;
    }
    std::vector<SVertex> out;
    for (size_t i = 0; i < vs.size(); ++i)
        out.push_back(SVertex{vs[i].x, vs[i].y, bisector(vs[i]), i == 0, i + 1 == vs.size()});
    return out;
}

bool hasMarkers(const TSvgNode& node, const SState& state) {
    const SvgTag t = node.tag;
    if (t != SvgTag::path && t != SvgTag::line && t != SvgTag::polyline && t != SvgTag::polygon) return false;
    const SStyle& s = state.style;
    return !s.markerStart.empty() || !s.markerMid.empty() || !s.markerEnd.empty();
}

void drawMarkers(TPainter& painter, const TSvgNode& node, const TPath& path, const SState& state) {
    if (!painter.canvas() || !hasMarkers(node, state) || state.depth >= kMaxMarkerDepth) return;
    const SStyle& s = state.style;
    const TSvgNode* start = markerNode(painter, s.markerStart);
    const TSvgNode* mid = markerNode(painter, s.markerMid);
    const TSvgNode* end = markerNode(painter, s.markerEnd);
    const double width = toUserUnits(s.strokeWidth, s.fontSize, state.vp.diagonal());
    for (const SVertex& v : pathVertices(path)) {
        const TSvgNode* m = v.start ? start : v.end ? end : mid;
        if (m) drawMarker(painter, *m, v, state, width);
        // A path of one vertex has its start and its end there.
        if (v.start && v.end && end) drawMarker(painter, *end, v, state, width);
    }
}

}  // namespace kivu::stdsvg
