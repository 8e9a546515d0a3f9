#include "kivuimg/img/svg/standard/text.h"

#include <cmath>
#include <limits>

#include "kivuimg/commons/core/buffer.h"
#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/img/svg/standard/document.h"

namespace kivu::stdsvg {

namespace {

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

struct SChar {
    std::string utf8;  // one character
    size_t style;      // index into the element states
    double x = kNone, y = kNone, dx = kNone, dy = kNone, rotate = kNone;
};

// The position lists of one element and the index of its first character.
struct SLists {
    std::vector<double> x, y, dx, dy, rotate;
    size_t first = 0;
};

struct SGathered {
    std::vector<SChar> chars;
    std::vector<SState> states;
    std::vector<SLists> lists;  // the elements open around the walk, outermost first
    bool lastSpace = true;      // collapsing: a space after a space (or at the start) goes
};

size_t utf8Length(unsigned char c) { return c < 0x80 ? 1 : c < 0xE0 ? 2 : c < 0xF0 ? 3 : 4; }

std::vector<double> lengthList(const TSvgNode& node, const char* name, Axis axis, const SState& state) {
    std::vector<double> out;
    std::vector<SLength> lengths;
    const std::string* text = node.attribute(name);
    if (!text || !parseLengthList(*text, lengths)) return out;
    for (const SLength& l : lengths) out.push_back(toUserUnits(l, state.style.fontSize, percentBase(state.vp, axis)));
    return out;
}

SLists listsOf(const TSvgNode& node, const SState& state, size_t first) {
    SLists l;
    l.first = first;
    l.x = lengthList(node, "x", Axis::x, state);
    l.y = lengthList(node, "y", Axis::y, state);
    l.dx = lengthList(node, "dx", Axis::x, state);
    l.dy = lengthList(node, "dy", Axis::y, state);
    std::vector<double> r;
    if (const std::string* text = node.attribute("rotate")) parseNumberList(*text, r);
    l.rotate = std::move(r);
    return l;
}

// The character's values from the innermost list that reaches it.
void position(SGathered& g, SChar& c) {
    const size_t index = g.chars.size();
    auto pick = [&](std::vector<double> SLists::*member, double& out, bool lastRepeats) {
        for (auto it = g.lists.rbegin(); it != g.lists.rend(); ++it) {
            const std::vector<double>& list = (*it).*member;
            if (list.empty()) continue;
            const size_t at = index - it->first;
            if (at < list.size()) return void(out = list[at]);
            if (lastRepeats) return void(out = list.back());
        }
    };
    pick(&SLists::x, c.x, false);
    pick(&SLists::y, c.y, false);
    pick(&SLists::dx, c.dx, false);
    pick(&SLists::dy, c.dy, false);
    pick(&SLists::rotate, c.rotate, true);
}

bool preserves(const TSvgNode* node) {
    for (; node; node = node->parent)
        if (const std::string* space = node->attribute("xml:space")) return *space == "preserve";
    return false;
}

void addText(SGathered& g, const std::string& text, size_t style, bool preserve) {
    for (size_t i = 0; i < text.size();) {
        const size_t n = std::min(utf8Length(static_cast<unsigned char>(text[i])), text.size() - i);
        std::string ch = text.substr(i, n);
        i += n;
        if (ch == "\n" || ch == "\r") {
            if (!preserve) continue;
            ch = " ";
        }
        if (ch == "\t") ch = " ";
        if (!preserve && ch == " ") {
            if (g.lastSpace) continue;
            g.lastSpace = true;
        } else {
            g.lastSpace = false;
        }
        SChar c{ch, style};
        position(g, c);
        g.chars.push_back(std::move(c));
    }
}

bool isTextChild(SvgTag t) { return t == SvgTag::tspan || t == SvgTag::a || t == SvgTag::textPath; }

void gather(const TSvgNode& node, const SState& state, SGathered& g) {
    const size_t style = g.states.size();
    g.states.push_back(state);
    g.lists.push_back(listsOf(node, state, g.chars.size()));
    for (const auto& child : node.children) {
        if (child->isText) {
            addText(g, child->text, style, preserves(&node));
            continue;
        }
        if (!isTextChild(child->tag) || !conditionsPass(*child)) continue;
        SState inner = state;
        inner.style = computeStyle(child->declarations, state.style);
        if (inner.style.displayNone) continue;
        gather(*child, inner, g);
    }
    g.lists.pop_back();
}

// ---- runs ----------------------------------------------------------------------------

struct SRun {
    size_t first = 0, count = 0;  // characters
    std::string text;
    size_t style = 0;
    double x = 0, y = 0;  // start, before anchoring
    double advance = 0;
    double rotate = 0;
    bool chunkStart = false;
};

bool placed(const SChar& c) {
    return !std::isnan(c.x) || !std::isnan(c.y) || !std::isnan(c.dx) || !std::isnan(c.dy) ||
           (!std::isnan(c.rotate) && c.rotate != 0);
}

SRawFont requestOf(const SStyle& st, const std::string& text) {
    SRawFont f;
    f.family = st.fontFamily.empty() ? "serif" : st.fontFamily;
    f.weight = st.fontWeight >= 600 ? "bold" : "normal";
    f.style = st.fontStyle == 1 ? "italic" : st.fontStyle == 2 ? "oblique" : "normal";
    f.text = text;
    return f;
}

std::vector<SRun> makeRuns(const SGathered& g) {
    std::vector<SRun> runs;
    for (size_t i = 0; i < g.chars.size(); ++i) {
        const SChar& c = g.chars[i];
        if (runs.empty() || placed(c) || runs.back().style != c.style) {
            SRun r;
            r.first = i;
            r.style = c.style;
            r.rotate = std::isnan(c.rotate) ? 0 : c.rotate;
            r.chunkStart = i == 0 || !std::isnan(c.x) || !std::isnan(c.y);
            runs.push_back(r);
        }
        runs.back().text += c.utf8;
        ++runs.back().count;
    }
    return runs;
}

double dominantShift(const SStyle& st) {
    switch (st.dominantBaseline) {
        case 1: return 0.35 * st.fontSize;
        case 2: return 0.8 * st.fontSize;
        case 3: return 0.75 * st.fontSize;
        case 4: return -0.2 * st.fontSize;
        case 5: return 0.25 * st.fontSize;
        default: return 0;
    }
}

// The width of a run in ems: the host's measure with the answered font,
// else an estimate.
double runEm(TDrawingHost* host, const SRawFont& request) {
    const SRawFont* answer = host ? host->fontAnswer(request) : nullptr;
    return answer && answer->advance > 0 ? answer->advance : runAdvanceEm(request);
}

// Positions every run and moves each chunk by its anchor.
void layout(const SGathered& g, std::vector<SRun>& runs, TDrawingHost* host) {
    double cx = 0, cy = 0;
    for (SRun& r : runs) {
        const SChar& c = g.chars[r.first];
        const SStyle& st = g.states[r.style].style;
        if (!std::isnan(c.x)) cx = c.x;
        if (!std::isnan(c.y)) cy = c.y;
        if (!std::isnan(c.dx)) cx += c.dx;
        if (!std::isnan(c.dy)) cy += c.dy;
        r.x = cx, r.y = cy;
        size_t spaces = 0;
        for (size_t i = r.first; i < r.first + r.count; ++i) spaces += g.chars[i].utf8 == " ";
        r.advance = runEm(host, requestOf(st, r.text)) * st.fontSize + st.letterSpacing * r.count +
                    st.wordSpacing * spaces;
        cx += r.advance;
    }
    for (size_t i = 0; i < runs.size();) {
        size_t j = i + 1;
        while (j < runs.size() && !runs[j].chunkStart) ++j;
        const TextAnchor anchor = g.states[runs[i].style].style.textAnchor;
        const double width = runs[j - 1].x + runs[j - 1].advance - runs[i].x;
        const double shift = anchor == TextAnchor::middle ? -width / 2 : anchor == TextAnchor::end ? -width : 0;
        for (size_t k = i; k < j; ++k) runs[k].x += shift;
        i = j;
    }
}

// ---- writing ---------------------------------------------------------------------------

std::unique_ptr<TBuffer> encoded(const SRawFont& answer, const std::string& text) {
    switch (answer.encoding) {
        case 0:
        case 2: return TBuffer::escapedWStringRaw(utf8ToUtf16(text), false);
        case 1: {
            std::vector<uint8_t> bytes;
            for (char16_t unit : utf8ToUtf16(text))
                if (unit <= 127) bytes.push_back(static_cast<uint8_t>(unit));
            return TBuffer::escapedIndexStringRaw(bytes);
        }
        default: return TBuffer::escapedStringISORaw(text);
    }
}

void decorations(TPainter& painter, const SRun& r, const SState& state) {
    const SStyle& st = state.style;
    if (!st.textDecoration) return;
    const double fs = st.fontSize, thick = fs / 14;
    TPath lines;
    auto add = [&](double y) {
        TPath p = rectPath(r.x, y, r.advance, thick, 0, 0);
        lines.append(p);
    };
    if (st.textDecoration & 1) add(r.y + fs * 0.1);
    if (st.textDecoration & 2) add(r.y - fs * 0.8);
    if (st.textDecoration & 4) add(r.y - fs * 0.3);
    painter.fillAndStroke(lines, state, false);
}

void writeRun(TPainter& painter, const SRun& r, const SState& state) {
    TCanvas* canvas = painter.canvas();
    const SStyle& st = state.style;
    const SRawFont* answer = painter.host().fontAnswer(requestOf(st, r.text));
    SPlacement pl;
    if (!answer || st.visibility != Visibility::visible || !TCanvas::placement(state.ctm, pl)) return;
    const double strokeWidth = toUserUnits(st.strokeWidth, st.fontSize, state.vp.diagonal());
    TContent& out = canvas->out();
    canvas->begin(pl);
    const float opacity = st.opacity;
    const bool fill = st.fill.kind != SPaint::none;
    const bool stroke = st.stroke.kind != SPaint::none && strokeWidth > 0;
    const SRgba fc = st.fill.kind == SPaint::currentColor ? st.color : st.fill.rgba;
    const SRgba sc = st.stroke.kind == SPaint::currentColor ? st.color : st.stroke.rgba;
    const bool fillSolid = fill && painter.solidPaint(st.fill, opacity, state, false);
    const bool strokeSolid = stroke && painter.solidPaint(st.stroke, opacity, state, true);
    if (!fillSolid && !strokeSolid) return canvas->end();
    canvas->alpha(st.fillOpacity * opacity * (st.fill.kind == SPaint::url ? 1 : fc.a),
                  st.strokeOpacity * opacity * (st.stroke.kind == SPaint::url ? 1 : sc.a));
    const double s = pl.scale;
    if (strokeSolid) out.num(strokeWidth * s).op("w");
    out.op("BT");
    painter.host().nameResource(sformat("F%d", answer->fontId), "Font", ResourceSource::font,
                                static_cast<uint64_t>(std::max(answer->fontId, 0)));
    out.raw(sformat("/F%d ", answer->fontId)).num(st.fontSize * s).op("Tf");
    out.num(fillSolid && strokeSolid ? 2 : strokeSolid ? 1 : 0).op("Tr");
    if (st.letterSpacing != 0) out.num(st.letterSpacing * s).op("Tc");
    const double rad = r.rotate * M_PI / 180, baseline = r.y + dominantShift(st) -
                                                           toUserUnits(st.baselineShift, st.fontSize, st.fontSize);
    out.num(std::cos(rad), 6).num(std::sin(rad), 6).num(std::sin(rad), 6).num(-std::cos(rad), 6);
    out.num(r.x * s).num(baseline * s).op("Tm");
    out.out() += *encoded(*answer, r.text);
    out.raw(" Tj\nET\n");
    canvas->end();
    SRun shifted = r;
    shifted.y = baseline;
    decorations(painter, shifted, state);
}

}  // namespace

double runAdvanceEm(const SRawFont& request) {
    // Widths of a proportional face: narrow, middle and wide characters.
    double em = 0;
    for (char16_t u : utf8ToUtf16(request.text)) {
        if (u == ' ') em += 0.278;
        else if (u == 'i' || u == 'l' || u == 'j' || u == '.' || u == ',' || u == '\'' || u == 'I') em += 0.25;
        else if (u == 'm' || u == 'w' || u == 'M' || u == 'W') em += 0.85;
        else if (u >= 'A' && u <= 'Z') em += 0.68;
        else if (u >= 0x2E80) em += 1.0;
        else em += 0.53;
    }
    return em;
}

namespace {

// The runs of a text element; laid out, with the widths `place` answers,
// unless it is null.
std::vector<SRun> runsOf(const TSvgNode& node, const SState& state, SGathered& g, TDrawingHost* place) {
    gather(node, state, g);
    // Trailing white space goes unless preserved.
    while (!g.chars.empty() && g.chars.back().utf8 == " " && !preserves(&node)) g.chars.pop_back();
    std::vector<SRun> runs = makeRuns(g);
    if (place && !runs.empty()) layout(g, runs, place);
    return runs;
}

}  // namespace

SBox textBounds(TPainter& painter, const TSvgNode& node, const SState& state) {
    SGathered g;
    SBox box;
    for (const SRun& r : runsOf(node, state, g, &painter.host())) {
        const SStyle& st = g.states[r.style].style;
        const double base = r.y + dominantShift(st);
        TPath p = rectPath(r.x, base - 0.8 * st.fontSize, r.advance, st.fontSize, 0, 0);
        box.add(p.bounds(state.ctm));
    }
    return box;
}

void drawText(TPainter& painter, const TSvgNode& node, const SState& state) {
    SGathered g;
    std::vector<SRun> runs = runsOf(node, state, g, nullptr);
    if (runs.empty()) return;
    if (!painter.canvas()) {
        for (const SRun& r : runs) painter.host().requestFont(requestOf(g.states[r.style].style, r.text));
        return;
    }
    layout(g, runs, &painter.host());
    for (const SRun& r : runs) writeRun(painter, r, g.states[r.style]);
}

}  // namespace kivu::stdsvg
