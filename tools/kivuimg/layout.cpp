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
        plan.area = {layout.borderX, layout.borderY, w, h};
        return plan;
    }
    plan.pageW = layout.pageW, plan.pageH = layout.pageH;
    if (layout.landscape && plan.pageW < plan.pageH) std::swap(plan.pageW, plan.pageH);
    plan.area = {layout.borderX, layout.borderY, std::max(plan.pageW - 2 * layout.borderX, 0.0),
                 std::max(plan.pageH - 2 * layout.borderY, 0.0)};
    return plan;
}

}  // namespace kivutool
