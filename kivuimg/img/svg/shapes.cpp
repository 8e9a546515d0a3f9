#include "kivuimg/img/svg/shapes.h"

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/core/regex.h"

namespace kivu {

void writeEllipsePath(TContent& out, float cx, float cy, float rx, float ry, float s) {
    const float T = -cy;
    const double hx = kCircleHandle * rx, hy = kCircleHandle * ry;
    out.moveTo(cx * s, (T + ry) * s);
    out.curveTo((cx + hx) * s, (T + ry) * s, (cx + rx) * s, (T + hy) * s, (cx + rx) * s, T * s);
    out.curveTo((cx + rx) * s, (T - hy) * s, (cx + hx) * s, (T - ry) * s, cx * s, (T - ry) * s);
    out.curveTo((cx - hx) * s, (T - ry) * s, (cx - rx) * s, (T - hy) * s, (cx - rx) * s, T * s);
    out.curveTo((cx - rx) * s, (T + hy) * s, (cx - hx) * s, (T + ry) * s, cx * s, (T + ry) * s);
    out.closePath();
}

void writePointPath(TContent& out, const std::vector<SPoint>& points, float s) {
    for (size_t i = 0; i < points.size(); ++i) {
        if (i == 0) out.moveTo(points[i].x * s, -points[i].y * s);
        else out.lineTo(points[i].x * s, -points[i].y * s);
    }
}

std::vector<SPoint> parsePointList(const std::string& text) {
    // A minus sign always starts a new number: "10-5" is 10 and -5.
    static const Regex kNumber("-?[0-9.]*");
    std::vector<SPoint> points;
    float x = 0;
    bool haveX = false;
    for (const Regex::Match& m : kNumber.findAll(text)) {
        const std::string piece = strip(m.group(0));
        if (piece.empty()) continue;
        const float v = toFloat(piece);
        if (haveX) points.emplace_back(x, v);
        else x = v;
        haveX = !haveX;
    }
    return points;
}

}  // namespace kivu
