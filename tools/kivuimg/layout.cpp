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
// ISO 216 and the North American sizes.
const NamedSize kSizes[] = {
    {"a0", 841, 1189}, {"a1", 594, 841}, {"a2", 420, 594}, {"a3", 297, 420}, {"a4", 210, 297},
    {"a5", 148, 210},  {"a6", 105, 148}, {"b0", 1000, 1414}, {"b1", 707, 1000}, {"b2", 500, 707},
    {"b3", 353, 500},  {"b4", 250, 353}, {"b5", 176, 250}, {"b6", 125, 176},
    {"letter", 8.5 * 25.4, 11 * 25.4},   {"legal", 8.5 * 25.4, 14 * 25.4},
    {"tabloid", 11 * 25.4, 17 * 25.4},   {"ledger", 17 * 25.4, 11 * 25.4},
};

bool parseSide(const std::string& text, Side& side) {
    const std::string t = kivu::toLower(kivu::strip(text));
    if (t.size() > 3 && t.compare(t.size() - 3, 3, "dpi") == 0) {
        char* end = nullptr;
        side.value = std::strtod(t.c_str(), &end);
        side.dpi = true;
        return end == t.c_str() + t.size() - 3 && side.value > 0 && std::isfinite(side.value);
    }
    return parseLength(t, side.value) && side.value > 0;
}

double sideIn(const Side& side, double pixels) { return side.dpi ? pixels / side.value * 72 : side.value; }

// The picture's box and how it fills it, from --imgsize, --width, --height
// or --zoom; false when none is given.
bool pictureBox(const PageLayout& l, const Picture& p, double& w, double& h, Fit& fit) {
    const double aspect = p.w / p.h;
    fit = Fit::into;
    if (l.imgW.value > 0 || l.imgH.value > 0) {
        // The picture takes the size it has in the box as --fit says, all
        // of it: the box is no frame.
        w = sideIn(l.imgW, p.pixelsW), h = sideIn(l.imgH, p.pixelsH);
        if (!(w > 0)) w = h * aspect;
        if (!(h > 0)) h = w / aspect;
        const kivu::SPageBox box = kivu::TPdfDocument::fitted({0, 0, w, h}, p.w, p.h, l.fit);
        w = box.w, h = box.h;
        fit = Fit::exact;
        return true;
    }
    if (l.width > 0 && l.height > 0) {
        const double s = std::min(l.width / p.w, l.height / p.h);
        w = l.keepAspect ? p.w * s : l.width, h = l.keepAspect ? p.h * s : l.height;
        fit = l.keepAspect ? Fit::into : Fit::exact;
        return true;
    }
    if (l.width > 0 || l.height > 0) {
        w = l.width > 0 ? l.width : l.height * aspect;
        h = l.height > 0 ? l.height : l.width / aspect;
        return true;
    }
    if (l.zoom > 0) {
        w = p.w * l.zoom, h = p.h * l.zoom;
        return true;
    }
    return false;
}

}  // namespace

bool parseLength(const std::string& text, double& points, double bareUnit) {
    static const struct {
        const char* unit;
        double factor;
    } kUnits[] = {{"pt", 1}, {"px", 0.75}, {"mm", kPtPerMm}, {"cm", 10 * kPtPerMm}, {"in", 72}};
    const std::string t = kivu::toLower(kivu::strip(text));
    char* end = nullptr;
    const double v = std::strtod(t.c_str(), &end);
    if (end == t.c_str() || !std::isfinite(v) || v < 0) return false;
    const std::string unit(end);
    double factor = unit.empty() ? bareUnit : 0;
    for (const auto& u : kUnits)
        if (unit == u.unit) factor = u.factor;
    if (factor == 0) return false;
    points = v * factor;
    return std::isfinite(points);
}

bool parsePageSize(const std::string& text, double& width, double& height) {
    std::string t = kivu::toLower(kivu::strip(text));
    const bool turned = t.size() > 2 && t.compare(t.size() - 2, 2, "^t") == 0;
    if (turned) t.resize(t.size() - 2);
    bool known = false;
    for (const NamedSize& s : kSizes)
        if (t == s.name) width = s.w * kPtPerMm, height = s.h * kPtPerMm, known = true;
    const size_t x = t.find('x');
    if (!known && !(x != std::string::npos && parseLength(t.substr(0, x), width) &&
                    parseLength(t.substr(x + 1), height) && width > 0 && height > 0))
        return false;
    if (turned) std::swap(width, height);
    return true;
}

bool parseImageSize(const std::string& text, Side& width, Side& height) {
    double pageW = 0, pageH = 0;
    if (parsePageSize(text, pageW, pageH)) {
        width = Side{pageW, false}, height = Side{pageH, false};
        return true;
    }
    const size_t x = kivu::toLower(text).find('x');
    if (x == std::string::npos) return false;
    const std::string w = kivu::strip(text.substr(0, x)), h = kivu::strip(text.substr(x + 1));
    width = height = Side{};
    return (!w.empty() || !h.empty()) && (w.empty() || parseSide(w, width)) && (h.empty() || parseSide(h, height));
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

PagePlan planPage(const PageLayout& layout, const Picture& picture) {
    PagePlan plan;
    double w = picture.w, h = picture.h;
    const bool boxed = pictureBox(layout, picture, w, h, plan.fit);
    if (!layout.pageSize) {
        plan.pageW = w + 2 * layout.borderX, plan.pageH = h + 2 * layout.borderY;
        plan.area = {layout.borderX, layout.borderY, w, h};
        return plan;
    }
    plan.pageW = layout.pageW, plan.pageH = layout.pageH;
    const bool wide = plan.pageW > plan.pageH;
    if ((layout.landscape && !wide) || (layout.autoOrient && picture.w != picture.h && wide != (picture.w > picture.h)))
        std::swap(plan.pageW, plan.pageH);
    const double aw = std::max(plan.pageW - 2 * layout.borderX, 0.0);
    const double ah = std::max(plan.pageH - 2 * layout.borderY, 0.0);
    if (!boxed) {
        plan.area = {layout.borderX, layout.borderY, aw, ah};
        plan.fit = layout.fit;
        return plan;
    }
    // The picture's box in the middle of the area.
    plan.area = {layout.borderX + (aw - w) / 2, layout.borderY + (ah - h) / 2, w, h};
    return plan;
}

}  // namespace kivutool
