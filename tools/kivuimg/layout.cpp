#include "layout.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>

#include "kivuimg/commons/core/cstr.h"

namespace kivutool {

namespace {

struct NamedSize {
    const char* name;
    double w, h;
};

constexpr double kPtPerMm = 72.0 / 25.4;
const NamedSize kSizes[] = {
    {"a3", 297 * kPtPerMm, 420 * kPtPerMm},
    {"a4", 210 * kPtPerMm, 297 * kPtPerMm},
    {"a5", 148 * kPtPerMm, 210 * kPtPerMm},
    {"letter", 612, 792},
    {"legal", 612, 1008},
};

}  // namespace

bool parseLength(const std::string& text, double& points) {
    static const struct {
        const char* unit;
        double factor;
    } kUnits[] = {{"pt", 1}, {"mm", kPtPerMm}, {"cm", 10 * kPtPerMm}, {"in", 72}};
    const std::string t = kivu::toLower(kivu::strip(text));
    char* end = nullptr;
    const double v = std::strtod(t.c_str(), &end);
    if (end == t.c_str() || !std::isfinite(v) || v < 0) return false;
    const std::string unit(end);
    double factor = unit.empty() ? 1 : 0;
    for (const auto& u : kUnits)
        if (unit == u.unit) factor = u.factor;
    if (factor == 0) return false;
    points = v * factor;
    return true;
}

bool parsePageSize(const std::string& text, double& width, double& height) {
    const std::string t = kivu::toLower(kivu::strip(text));
    for (const NamedSize& s : kSizes)
        if (t == s.name) {
            width = s.w, height = s.h;
            return true;
        }
    const size_t x = t.find('x');
    return x != std::string::npos && parseLength(t.substr(0, x), width) && parseLength(t.substr(x + 1), height) &&
           width > 0 && height > 0;
}

bool parseBorder(const std::string& text, double& x, double& y) {
    const size_t colon = text.find(':');
    if (colon == std::string::npos) return parseLength(text, x) && parseLength(text, y);
    return parseLength(text.substr(0, colon), x) && parseLength(text.substr(colon + 1), y);
}

bool parseFit(const std::string& text, Fit& fit) {
    static const struct {
        const char* name;
        Fit fit;
    } kFits[] = {{"into", Fit::into}, {"fill", Fit::fill}, {"exact", Fit::exact}, {"shrink", Fit::shrink},
                 {"enlarge", Fit::enlarge}};
    for (const auto& f : kFits)
        if (text == f.name) {
            fit = f.fit;
            return true;
        }
    return false;
}

PagePlan planPage(const PageLayout& layout, double w, double h) {
    PagePlan plan;
    if (!layout.pageSize) {
        plan.pageW = w + 2 * layout.borderX, plan.pageH = h + 2 * layout.borderY;
        plan.box = plan.area = {layout.borderX, layout.borderY, w, h};
        return plan;
    }
    plan.pageW = layout.pageW, plan.pageH = layout.pageH;
    if (layout.landscape && plan.pageW < plan.pageH) std::swap(plan.pageW, plan.pageH);
    plan.area = {layout.borderX, layout.borderY, std::max(plan.pageW - 2 * layout.borderX, 0.0),
                 std::max(plan.pageH - 2 * layout.borderY, 0.0)};
    const double fx = w > 0 ? plan.area.w / w : 1, fy = h > 0 ? plan.area.h / h : 1;
    const double into = std::min(fx, fy);
    double sx = into, sy = into;
    switch (layout.fit) {
        case Fit::into: break;
        case Fit::fill: sx = sy = std::max(fx, fy); break;
        case Fit::exact: sx = fx, sy = fy; break;
        case Fit::shrink: sx = sy = std::min(into, 1.0); break;
        case Fit::enlarge: sx = sy = std::max(into, 1.0); break;
    }
    plan.box.w = w * sx, plan.box.h = h * sy;
    plan.box.x = (plan.pageW - plan.box.w) / 2, plan.box.y = (plan.pageH - plan.box.h) / 2;
    plan.clip = plan.box.w > plan.area.w + 1e-6 || plan.box.h > plan.area.h + 1e-6;
    return plan;
}

std::string pdfNumber(double v) {
    std::string s = kivu::sformat("%.3f", v);
    while (!s.empty() && s.back() == '0') s.pop_back();
    if (!s.empty() && s.back() == '.') s.pop_back();
    if (s == "-0") s = "0";
    return s;
}

std::string imageMatrix(const Box& b, int orientation) {
    // a b c d e f of each orientation: the stored picture's unit square
    // turned and mirrored into the box as the picture is to be seen.
    const double W = b.w, H = b.h;
    double m[6];
    switch (orientation) {
        case 2: m[0] = -W, m[1] = 0, m[2] = 0, m[3] = H, m[4] = W, m[5] = 0; break;
        case 3: m[0] = -W, m[1] = 0, m[2] = 0, m[3] = -H, m[4] = W, m[5] = H; break;
        case 4: m[0] = W, m[1] = 0, m[2] = 0, m[3] = -H, m[4] = 0, m[5] = H; break;
        case 5: m[0] = 0, m[1] = -H, m[2] = -W, m[3] = 0, m[4] = W, m[5] = H; break;
        case 6: m[0] = 0, m[1] = -H, m[2] = W, m[3] = 0, m[4] = 0, m[5] = H; break;
        case 7: m[0] = 0, m[1] = H, m[2] = W, m[3] = 0, m[4] = 0, m[5] = 0; break;
        case 8: m[0] = 0, m[1] = H, m[2] = -W, m[3] = 0, m[4] = W, m[5] = 0; break;
        default: m[0] = W, m[1] = 0, m[2] = 0, m[3] = H, m[4] = 0, m[5] = 0; break;
    }
    m[4] += b.x, m[5] += b.y;
    std::string out;
    for (double v : m) out += pdfNumber(v) + " ";
    return out + "cm";
}

}  // namespace kivutool
