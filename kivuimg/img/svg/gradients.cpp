// Gradients of the SVG document: reading linearGradient and radialGradient
// definitions with their stops, linking definitions that refer to others,
// and turning a gradient fill into operators and a record for the host.
//
// The converter writes no shading itself.  For each fill it draws the
// shading in a unit box laid over the element's box (a "cm" operator), and
// appends an SGradient record to the host's array; the stream names the
// record by its position k (counted from 1) as "/Sh<k>", and as "/TGS<k>"
// for the soft mask of a gradient with alpha.  PDF shadings only extend
// their end colours, so reflected and repeated spreads are unrolled here:
// copies of the stops are added until they reach past the box.
#include <cmath>
#include <limits>
#include <optional>

#include "kivuimg/commons/content.h"
#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/core/regex.h"
#include "kivuimg/commons/funcs.h"
#include "kivuimg/commons/unit.h"
#include "kivuimg/img/svg/imagesvg.h"
#include "kivuimg/img/svg/path.h"
#include "kivuimg/img/svg/pathgeom.h"
#include "kivuimg/img/svg/polygon.h"

namespace kivu {

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr double kPi = 3.141592653589793;
// Turns of the focus towards the centre before it is put on the centre.
constexpr int kMaxFocusTurns = 10000;

std::string valueOf(const Attributes& attributes, const char* name) {
    auto it = attributes.find(name);
    return it == attributes.end() ? std::string() : it->second;
}

// ---- the box a gradient is laid over ------------------------------------------------

struct SBox {
    float x = 0, y = 0, w = 100, h = 100;
};

// Smallest and largest coordinates of a point list; the smallest start at
// 1000000 and the largest at 0.
struct SRange {
    float minX = 1000000, minY = 1000000, maxX = 0, maxY = 0;

    void add(float x, float y) {
        if (x < minX) minX = x;
        if (x > maxX) maxX = x;
        if (y < minY) minY = y;
        if (y > maxY) maxY = y;
    }
    SBox box() const { return SBox{minX, minY, maxX - minX, maxY - minY}; }
};

std::optional<float> numberOf(const std::string& text) {
    if (!isNumeric(text)) return std::nullopt;
    try {
        return toFloat(text);
    } catch (const KivuException&) {
        return std::nullopt;
    }
}

// A path without a usable box: the absolute points of its "d" text.
SBox pathTextBox(const std::string& d) {
    static const Regex kCommand("([a-z]|[A-Z])([ ,\\-.\\d]+)*");
    static const Regex kSeparator("[ ,]+");
    SRange range;
    for (const Regex::Match& m : kCommand.findAll(d)) {
        // Relative commands are passed over.
        if (std::string_view("MLCSQT").find(m.group(1)[0]) == std::string_view::npos) continue;
        float x = 0;
        bool haveX = false;
        for (const std::string& piece : kSeparator.split(m.group(2))) {
            const std::optional<float> v = numberOf(piece);
            if (!v) continue;
            if (haveX) range.add(x, *v);
            else x = *v;
            haveX = !haveX;
        }
    }
    return range.box();
}

SBox elementBox(TImageSVG& doc, TSvgElement& element) {
    const std::string name = element.nodeName();
    auto x = [&](const char* a) { return doc.convertValueX(valueOf(element.attributes(), a)); };
    auto y = [&](const char* a) { return doc.convertValueY(valueOf(element.attributes(), a)); };
    if (name == "rect") return SBox{x("x"), y("y"), x("width"), y("height")};
    if (name == "ellipse") return SBox{x("cx") - x("rx"), y("cy") - y("ry"), 2 * x("rx"), 2 * y("ry")};
    if (name == "circle") return SBox{x("cx") - x("r"), y("cy") - x("r"), 2 * x("r"), 2 * x("r")};
    if (auto* polygon = dynamic_cast<TSvgPolygon*>(&element)) {
        SRange range;
        for (const SPoint& p : polygon->points()) range.add(p.x, p.y);
        return range.box();
    }
    if (auto* path = dynamic_cast<TSvgPath*>(&element)) {
        const SPathBox box = path->pathBox();
        if (box.width > 0) return SBox{box.position.x, box.position.y, box.width, box.height};
        return pathTextBox(valueOf(element.attributes(), "d"));
    }
    return SBox{};
}

// A box that found nothing is 100 by 100 at the origin.
void cleanUp(SBox& box) {
    if (isNaNBits(box.w) || box.w == -1000000.0f) box.w = 100;
    if (isNaNBits(box.h) || box.h == -1000000.0f) box.h = 100;
    if (box.x == 1000000.0f) box.x = 0;
    if (box.y == 1000000.0f) box.y = 0;
}

// ---- stops ------------------------------------------------------------------------------

// Offsets made non-decreasing, a stop at 0 in front when the first lies
// beyond it, and a closing stop at 1 when the last but one is translucent.
void settleStops(std::vector<SGradColor>& stops) {
    for (size_t i = 1; i < stops.size(); ++i)
        if (stops[i].offset < stops[i - 1].offset) stops[i].offset = stops[i - 1].offset;
    if (!stops.empty() && stops[0].offset > 0) stops.insert(stops.begin(), SGradColor{stops[0].color, 0.0f});
    if (stops.size() >= 2 && stops[stops.size() - 2].color.alpha() < 1)
        stops.push_back(SGradColor{stops.back().color, 1.0f});
}

char spreadLetter(const std::string& spreadMethod) {
    const std::string spread = toLower(spreadMethod);
    return spread == "reflect" ? 'F' : spread == "repeat" ? 'R' : 'P';
}

// One round of a spread: the stops moved by `shift`, or mirrored (walked
// from the last, at 1 - offset) and moved, in ascending order either way.
std::vector<SGradColor> spreadRound(const std::vector<SGradColor>& stops, float shift, bool mirrored) {
    std::vector<SGradColor> round;
    round.reserve(stops.size());
    if (!mirrored)
        for (const SGradColor& s : stops) round.push_back(SGradColor{s.color, s.offset + shift});
    else
        for (auto it = stops.rbegin(); it != stops.rend(); ++it)
            round.push_back(SGradColor{it->color, (1 - it->offset) + shift});
    return round;
}

// Rounds forward (direction +1) or backward (-1) until `lastRound` says a
// round has gone past the box, or the cap.  Odd rounds are mirrored when
// the spread reflects.  Every stop made counts against the budget.
template <typename LastRound>
std::vector<SGradColor> unroll(TImageSVG& doc, const std::vector<SGradColor>& stops, int direction, bool reflect,
                               LastRound&& lastRound) {
    std::vector<SGradColor> out;
    for (int i = 1; i <= kMaxGradientRounds; ++i) {
        std::vector<SGradColor> round = spreadRound(stops, static_cast<float>(direction * i), reflect && i % 2 == 1);
        for (size_t n = 0; n < round.size(); ++n) doc.countElement();
        const bool last = lastRound(round);
        if (direction > 0) out.insert(out.end(), round.begin(), round.end());
        else out.insert(out.begin(), round.begin(), round.end());
        if (last) break;
    }
    return out;
}

// The linear spread: the iso-line of each new stop is tested against the
// unit square; the first round with a line beside it is the last.
void unrollLinear(TImageSVG& doc, std::vector<SGradColor>& stops, float x1, float y1, float x2, float y2,
                  bool reflect) {
    if (stops.empty()) throw KivuException("SVG parse error: Value of ns can't be zero 0");
    const double iso = std::atan2(y2 - y1, x2 - x1) + kPi / 2;
    auto besideSquare = [&](const std::vector<SGradColor>& round) {
        for (const SGradColor& stop : round) {
            const SPoint at(x1 + (x2 - x1) * stop.offset, y1 + (y2 - y1) * stop.offset);
            if (!lineMeetsUnitSquare(at, iso)) return true;
        }
        return false;
    };
    const std::vector<SGradColor> forward = unroll(doc, stops, 1, reflect, besideSquare);
    const std::vector<SGradColor> backward = unroll(doc, stops, -1, reflect, besideSquare);
    stops.insert(stops.end(), forward.begin(), forward.end());
    stops.insert(stops.begin(), backward.begin(), backward.end());
}

// The radial spread goes outwards only: the first round whose circles all
// cover the unit square is the last.
void unrollRadial(TImageSVG& doc, std::vector<SGradColor>& stops, const SPoint& focus, const SPoint& centre,
                  float radius, bool reflect) {
    auto coversSquare = [&](const std::vector<SGradColor>& round) {
        for (const SGradColor& stop : round) {
            const float v = stop.offset;
            const SPoint p(focus.x + (centre.x - focus.x) * v, focus.y + (centre.y - focus.y) * v);
            if (!circleCoversUnitSquare(p, radius * v)) return false;
        }
        return true;
    };
    const std::vector<SGradColor> outward = unroll(doc, stops, 1, reflect, coversSquare);
    stops.insert(stops.end(), outward.begin(), outward.end());
}

// The focus, moved towards the centre by a hundredth of its distance a
// turn until it lies inside the circle.
SPoint focusInside(SPoint focus, const SPoint& centre, float radius) {
    for (int turn = 0;; ++turn) {
        const float dx = focus.x - centre.x, dy = focus.y - centre.y;
        if (dx * dx + dy * dy < radius * radius) return focus;
        if (turn == kMaxFocusTurns) return centre;
        focus = SPoint(focus.x + dx / -100.0f, focus.y + dy / -100.0f);
    }
}

float attributeNumber(const SGradientInfo& info, const char* key) {
    auto it = info.attributes.find(key);
    return it == info.attributes.end() ? 0.0f : toFloat(it->second);
}

}  // namespace

// ---- reading ----------------------------------------------------------------------------------

void TImageSVG::addGradient(_xmlNode* node, GradientType type) {
    countElement();
    const Attributes attributes = svgnode::attributes(node);
    SGradientInfo info;
    info.gradientTransform = valueOf(attributes, "gradientTransform");
    info.gradientUnits = valueOf(attributes, "gradientUnits");
    info.spreadMethod = valueOf(attributes, "spreadMethod");
    info.xref = valueOf(attributes, "href");
    info.id = valueOf(attributes, "id");
    if (gradientsInfo_->count(info.id))
        throwf("Id '%s' already exists in gradients '%s'", info.id.c_str(), docName_.c_str());
    info.type = type;
    if (type == gtLinear) {
        for (const char* key : {"x1", "y1", "x2", "y2"})
            if (attributes.count(key)) info.attributes[key] = attributes.at(key);
    } else {
        static const std::pair<const char*, const char*> kRows[] = {
            {"cx", "x0"}, {"cy", "y0"}, {"fx", "x1"}, {"fy", "y1"}, {"r", "r"}};
        for (const auto& [name, key] : kRows) {
            if (!attributes.count(name)) continue;
            const float share = SUnit(attributes.at(name)).pc();
            if (!isNaNBits(share)) info.attributes[key] = sformat("%.2f", static_cast<double>(share));
        }
    }
    for (_xmlNode* child : svgnode::elementChildren(node))
        if (svgnode::lowerName(child) == "stop") _addStopToGradient(info, child);
    (*gradientsInfo_)[info.id] = std::move(info);
}

void TImageSVG::_addStopToGradient(SGradientInfo& info, _xmlNode* node) {
    static const Regex kColor("stop-color:\\s*([^;]*)", Regex::Caseless);
    static const Regex kOpacity("stop-opacity:\\s*([0-9.]*)", Regex::Caseless);
    countElement();
    const Attributes attributes = svgnode::attributes(node);
    const auto style = attributes.find("style");
    const bool styled = style != attributes.end();
    std::string colorText = valueOf(attributes, "stop-color");
    if (auto m = styled ? kColor.search(style->second) : std::nullopt) colorText = strip(m->group(1));
    else if (colorText.empty()) colorText = "#000000";
    SColor color(colorText);
    float opacity = kNaN;
    if (auto m = styled ? kOpacity.search(style->second) : std::nullopt) {
        if (!m->group(1).empty()) opacity = toFloat(m->group(1));
    } else if (attributes.count("stop-opacity")) {
        opacity = toFloat(attributes.at("stop-opacity"));
    }
    if (!isNaNBits(opacity)) color.alpha(opacity);
    const std::string offsetText = attributes.count("offset") ? attributes.at("offset") : "0";
    float offset = SUnit(offsetText).pc();
    if (isNaNBits(offset)) offset = toFloat(offsetText);
    // "nan" and "inf" are numbers to the conversion, but no place on an axis.
    if (!std::isfinite(offset)) offset = 0;
    info.stops.push_back(SGradColor{color, offset});
    info.colorSpace = color.cs();
}

void TImageSVG::_linkGradientXRefs() {
    for (auto& [id, info] : *gradientsInfo_) {
        if (info.xref.empty()) continue;
        auto target = gradientsInfo_->find(info.xref[0] == '#' ? info.xref.substr(1) : info.xref);
        if (target == gradientsInfo_->end() || target->second.stops.empty()) continue;
        // A copy: the target may be this very gradient.
        const std::vector<SGradColor> linked = target->second.stops;
        for (const SGradColor& stop : linked) {
            countElement();
            info.stops.push_back(stop);
            info.colorSpace = stop.color.cs();
        }
    }
}

// ---- writing ------------------------------------------------------------------------------------

std::string TImageSVG::_svgGradient(SGradientInfo info, TSvgElement* element) {
    SBox box = elementBox(*this, *element);
    cleanUp(box);
    const std::string t = info.gradientTransform.empty() ? std::string() : transformationsToPDF(info.gradientTransform);
    std::string result;
    if (toLower(info.gradientUnits) == "userspaceonuse") result = t;
    settleStops(info.stops);
    const char letter = spreadLetter(info.spreadMethod);
    const std::string shading = info.type != gtLinear
                                    ? _svgGradientRadial(&info, box.w, box.h, SPoint(box.x, box.y), t, letter)
                                    : _svgGradientLinear(&info, box.w, box.h, SPoint(box.x, box.y), t, letter);
    // Nothing to draw: no operator at all, so the fill's "q" is never opened.
    return shading.empty() ? std::string() : result + shading;
}

std::string TImageSVG::_svgGradientLinear(SGradientInfo* info, float w, float h, const SPoint& origin,
                                          const std::string& transformText, char spreadLetter) {
    float x1 = attributeNumber(*info, "x1"), y1 = attributeNumber(*info, "y1");
    float x2 = attributeNumber(*info, "x2"), y2 = attributeNumber(*info, "y2");
    const std::string units = toLower(info->gradientUnits);
    if (units == "userspaceonuse") {
        x1 = (x1 - origin.x) / w, y1 = (y1 - origin.y) / h;
        x2 = (x2 - origin.x) / w, y2 = (y2 - origin.y) / h;
        double angle = std::atan2(y2 - y1, x2 - x1) * 57.29577951308232;
        if (angle < 0) angle += 360;
        if (angle > 360) angle -= 360;
        // An axis at an angle keeps it only in a square box.
        if (angle != 0 && angle != 90 && angle != 180 && angle != 270 && angle != 360) {
            if (w < h) x1 *= w / h, x2 *= w / h, w = h;
            else y1 *= h / w, y2 *= h / w, h = w;
        }
    }
    TMemory memory(256, 0);
    TContent out(memory);
    const float s = documentScale_;
    out.raw(" ").num(w * s).raw("0 0 ").num(-h * s).num(origin.x * s).num(-origin.y * s).op("cm");
    if (units == "objectboundingbox" && !transformText.empty()) out.raw(transformText);
    if (spreadLetter == 'R' || spreadLetter == 'F') unrollLinear(*this, info->stops, x1, y1, x2, y2, spreadLetter == 'F');
    if (info->stops.size() < 2) return "";
    const float first = info->stops.front().offset, last = info->stops.back().offset;
    out.raw(_gradientRecord(*info, 2, SPoint(x1 + first * (x2 - x1), y1 + first * (y2 - y1)),
                            SPoint(x1 + last * (x2 - x1), y1 + last * (y2 - y1)), kNaN, kNaN));
    return memory.to_string();
}

std::string TImageSVG::_svgGradientRadial(SGradientInfo* info, float w, float h, const SPoint& origin,
                                          const std::string& transformText, char spreadLetter) {
    // In the default units the gradient fills the box: the file's centre,
    // focus and radius count only in user space.
    SPoint centre(0.5f, 0.5f), focus = centre;
    float radius = 0.5f;
    const std::string units = toLower(info->gradientUnits);
    if (units == "userspaceonuse") {
        const float m = std::max(w, h);
        centre = SPoint((attributeNumber(*info, "x0") - origin.x) / m, (attributeNumber(*info, "y0") - origin.y) / m);
        focus = SPoint((attributeNumber(*info, "x1") - origin.x) / m, (attributeNumber(*info, "y1") - origin.y) / m);
        radius = attributeNumber(*info, "r") / m;
        w = h = m;
    }
    TMemory memory(256, 0);
    TContent out(memory);
    const float s = documentScale_;
    out.num(w * s).raw("0 0 ").num(-h * s).num(origin.x * s).num(-origin.y * s).op("cm");
    if (units == "objectboundingbox" && !transformText.empty()) out.raw(transformText);
    focus = focusInside(focus, centre, radius);
    if (spreadLetter == 'R' || spreadLetter == 'F')
        unrollRadial(*this, info->stops, focus, centre, radius, spreadLetter == 'F');
    if (info->stops.size() < 2) return "";
    const float first = info->stops.front().offset, last = info->stops.back().offset;
    const SPoint axis(centre.x - focus.x, centre.y - focus.y);
    out.raw(_gradientRecord(*info, 3, SPoint(focus.x + first * axis.x, focus.y + first * axis.y),
                            SPoint(focus.x + last * axis.x, focus.y + last * axis.y), radius * first,
                            radius * last));
    return memory.to_string();
}

// Appends the record for the host and names it: " /TGS<k> gs " when a
// colour has alpha, then " /Sh<k> sh " and the " Q\n" that closes the
// fill's "q ".
std::string TImageSVG::_gradientRecord(const SGradientInfo& info, int32_t shadingType, const SPoint& from,
                                       const SPoint& to, float firstRadius, float lastRadius) {
    const float first = info.stops.front().offset, last = info.stops.back().offset;
    const float span = last - first;
    SGradient record;
    record.colors.reserve(info.stops.size());
    for (size_t i = 0; i < info.stops.size(); ++i) {
        countElement();
        const SGradColor& stop = info.stops[i];
        // Stops all at one offset: the last colour from there on.
        const float offset = span > 0 ? (stop.offset - first) / span : (i + 1 == info.stops.size() ? 1.0f : 0.0f);
        record.colors.push_back(SGradColor{stop.color, offset});
        if (stop.color.alpha() < 1) record.hasAlpha = true;
    }
    record.coords = {from.x, from.y, to.x, to.y, firstRadius, lastRadius};
    record.colorSpace = info.colorSpace;
    record.shadingType = shadingType;
    record.active = true;
    record.extend = {true, true};
    const int k = static_cast<int>(gradients_ ? gradients_->size() : 0) + 1;
    std::string text;
    if (record.hasAlpha) {
        text += sformat(" /TGS%d gs ", k);
        nameResource(sformat("TGS%d", k), "ExtGState", ResourceSource::gradientMask, static_cast<uint64_t>(k));
    }
    text += sformat(" /Sh%d sh ", k) + " Q\n";
    nameResource(sformat("Sh%d", k), "Shading", ResourceSource::gradientShading, static_cast<uint64_t>(k));
    if (gradients_) gradients_->push_back(std::move(record));
    return text;
}

}  // namespace kivu
