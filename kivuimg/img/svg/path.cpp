#include "kivuimg/img/svg/path.h"

#include <string_view>

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/core/regex.h"
#include "kivuimg/commons/funcs.h"
#include "kivuimg/img/svg/imagesvg.h"
#include "kivuimg/img/svg/pathgeom.h"

namespace kivu {

namespace {

// The box of a path: smallest and largest x and y in SVG orientation.
struct SExtents {
    float& minX;
    float& minY;
    float& maxX;
    float& maxY;

    void add(float x, float y) {
        minX = mins(minX, x), maxX = maxs(maxX, x);
        minY = mins(minY, y), maxY = maxs(maxY, y);
    }
};

// The numbers of a command: "10-5" is two numbers, ".5.5" too, "1e-5" one,
// "1E5" two (only a lower-case exponent belongs to a number).
std::vector<float> pathArguments(std::string_view data) {
    static const Regex kNumber("[\\-^]?[\\d.]+(e[\\-]?[\\d]+){0,1}");
    std::vector<float> args;
    for (const Regex::Match& m : kNumber.findAll(data)) {
        const std::string piece = strip(m.group(0));
        if (!piece.empty()) args.push_back(toFloat(piece));
    }
    return args;
}

SPoint svgOriented(const SPoint& p) { return SPoint(p.x, -p.y); }

// One command at work: the groups of its arguments, the current point, the
// box, and the operators it writes.  Points are held with y negated.
class CommandRun {
public:
    CommandRun(TImageSVG& doc, std::vector<float> args, SPoint& current, SExtents extents, float scale, TContent& out)
        : doc_(doc), args_(std::move(args)), cur_(current), begin_(current), box_(extents), s_(scale), out_(out) {}

    void moveTo(bool relative, bool& newSubPath, SPoint& startPoint) {
        for (size_t i = 0; i + 2 <= args_.size(); i += 2) {
            cur_ = given(i, relative);
            writeEnd(i == 0 ? "m" : "l");
            if (newSubPath) startPoint = cur_, newSubPath = false;
        }
    }

    void lineTo(bool relative) {
        for (size_t i = 0; i + 2 <= args_.size(); i += 2) {
            cur_ = given(i, relative);
            writeEnd("l");
        }
    }

    // A horizontal (x) or vertical line: one coordinate changes.
    void axisLineTo(bool relative, bool horizontal) {
        for (float v : args_) {
            if (horizontal) cur_.x = relative ? cur_.x + v : v;
            else cur_.y = relative ? cur_.y - v : -v;
            writeEnd("l");
        }
    }

    void cubicTo(bool relative) {
        for (size_t i = 0; i + 6 <= args_.size(); i += 6) curve(given(i, relative), given(i + 2, relative), given(i + 4, relative), false);
    }

    // "S": the first control point mirrors the last curve's second one.
    void smoothCubicTo(bool relative, bool afterCubic) {
        if (!afterCubic) doc_.lastControl(SPoint(0, 0));
        for (size_t i = 0; i + 4 <= args_.size(); i += 4) {
            const SPoint lc = doc_.lastControl();
            curve(SPoint(cur_.x + lc.x, cur_.y - lc.y), given(i, relative), given(i + 2, relative), false);
        }
    }

    // "Q" as a cubic curve with the same shape.
    void quadraticTo(bool relative) {
        for (size_t i = 0; i + 4 <= args_.size(); i += 4) {
            const SPoint p = cur_, q = given(i, relative), e = given(i + 2, relative);
            const SPoint c1(static_cast<float>(p.x + 2 * (q.x - p.x) / 3.0),
                            static_cast<float>(p.y + 2 * (q.y - p.y) / 3.0));
            curve(c1, third(c1, p, e), e, false);
        }
    }

    // "T": the control point mirrors the last quadratic one.  Always a curve,
    // even where the end point is pulled inside the document.
    void smoothQuadraticTo(bool relative, bool afterQuadratic) {
        if (!afterQuadratic) doc_.lastControl(SPoint(0, 0));
        for (size_t i = 0; i + 2 <= args_.size(); i += 2) {
            const SPoint lc = doc_.lastControl(), e = given(i, relative);
            const SPoint c1(cur_.x + lc.x, cur_.y - lc.y);
            curve(c1, third(c1, cur_, e), e, true);
        }
    }

    void arcTo(bool relative) {
        for (size_t i = 0; i + 7 <= args_.size(); i += 7) {
            const SPoint from = cur_;
            cur_ = given(i + 5, relative);
            ArcExtents extents;
            out_.raw(" ").raw(doc_.arcTo(svgOriented(from), svgOriented(cur_), SPoint(args_[i], args_[i + 1]),
                                         args_[i + 2], args_[i + 3], args_[i + 4], extents));
            box_.add(cur_.x, -cur_.y);
            for (float x : extents[0]) box_.minX = mins(box_.minX, x), box_.maxX = maxs(box_.maxX, x);
            for (float y : extents[1]) box_.minY = mins(box_.minY, y), box_.maxY = maxs(box_.maxY, y);
        }
    }

private:
    // The pair at `i`, absolute and with y negated.
    SPoint given(size_t i, bool relative) const {
        if (relative) return SPoint(cur_.x + args_[i], cur_.y - args_[i + 1]);
        return SPoint(args_[i], -args_[i + 1]);
    }

    // The second control point of a quadratic curve written as a cubic one.
    static SPoint third(const SPoint& c1, const SPoint& from, const SPoint& e) {
        return SPoint(c1.x + (e.x - from.x) * 0.33333334f, c1.y + (e.y - from.y) * 0.33333334f);
    }

    // Writes the current point (pulled inside by overFlow) with `op`.
    void writeEnd(const char* op) {
        const SPoint o = doc_.overFlow(cur_);
        out_.num(o.x * s_).num(o.y * s_).op(op);
        box_.add(cur_.x, -cur_.y);
    }

    void curve(const SPoint& c1, const SPoint& c2, const SPoint& e, bool alwaysCurve) {
        cur_ = e;
        doc_.lastControl(SPoint(e.x - c2.x, -(e.y - c2.y)));
        const SPoint o = doc_.overFlow(e);
        const auto b = doc_.calcBeizerBBox(svgOriented(begin_), SCurve{svgOriented(c1), svgOriented(c2), svgOriented(e)});
        box_.minX = mins(box_.minX, b[0]), box_.minY = mins(box_.minY, b[1]);
        box_.maxX = maxs(box_.maxX, b[2]), box_.maxY = maxs(box_.maxY, b[3]);
        if (alwaysCurve || o == e) out_.curveTo(c1.x * s_, c1.y * s_, c2.x * s_, c2.y * s_, e.x * s_, e.y * s_);
        else out_.lineTo(o.x * s_, o.y * s_);
    }

    TImageSVG& doc_;
    const std::vector<float> args_;
    SPoint& cur_;
    const SPoint begin_;
    SExtents box_;
    const float s_;
    TContent& out_;
};

bool oneOf(const std::string& letter, std::string_view letters) {
    return letter.size() == 1 && letters.find(letter[0]) != std::string_view::npos;
}

}  // namespace

void TSvgPath::read(_xmlNode* node) {
    static const Regex kCommand("([MZLHVCSQTAmzlhvcsqta])([eE ,\\-.\\d]+)*");
    _getAttributes(node);
    if (!hasAttribute("d")) throw KivuException("SVG: Missing attribute g at path-node");
    const std::string d = attribute("d");
    if (TImageSVG* doc = ptrSvgBase()) style_ = doc->defineSvgStyle(attributes_, parentStyle(), false);
    for (const Regex::Match& m : kCommand.findAll(d)) addPath({std::string(m.group(1)), std::string(m.group(2))});
}

void TSvgPath::copyValuesTo(TSvgElement& clone) {
    for (const SPath& path : paths_) static_cast<TSvgPath&>(clone).addPath(path);
}

std::string TSvgPath::convertData(const std::string& command, TImageSVG* base, const SPath* path, SPoint* current,
                                  float& minX, float& minY, float& maxX, float& maxY, float scale, bool& closed) {
    std::vector<float> args = pathArguments(path->data);
    const bool relative = path->command == toLower(path->command);
    const std::string letter = toLower(command);
    if (!oneOf(letter, "achlmqstvz")) throwf("Invalid or unsupported path command '%s'", path->command.c_str());
    TMemory memory(256, 0);
    TContent out(memory);
    CommandRun run(*base, std::move(args), *current, SExtents{minX, minY, maxX, maxY}, scale, out);
    const std::string last = base->lastCommand();
    switch (letter[0]) {
        case 'm': run.moveTo(relative, newSubPath_, startPoint_); break;
        case 'l': run.lineTo(relative); break;
        case 'h': run.axisLineTo(relative, true); break;
        case 'v': run.axisLineTo(relative, false); break;
        case 'c': run.cubicTo(relative); break;
        case 's': run.smoothCubicTo(relative, oneOf(last, "CcSs")); break;
        case 'q': run.quadraticTo(relative); break;
        case 't': run.smoothQuadraticTo(relative, oneOf(last, "QqTt")); break;
        case 'a': run.arcTo(relative); break;
        case 'z':
            out.closePath();
            newSubPath_ = true, closed = true;
            *current = startPoint_;
            break;
    }
    return memory.to_string();
}

std::string TSvgPath::pathText(float scale) {
    box_ = SPathBox{SPoint(999999, 999999), -999999, -999999};
    newSubPath_ = true;
    startPoint_ = SPoint(0, 0);
    TImageSVG* doc = ptrSvgBase();
    if (!doc) return "";
    SPoint current(0, 0);
    bool closed = false;
    TMemory text(10240, 0);
    for (const SPath& path : paths_) {
        // The extents go through the box after every command, as position
        // and size, so that the box comes out the same to the last bit.
        float minX = box_.position.x, minY = box_.position.y;
        float maxX = box_.width + box_.position.x, maxY = box_.height + box_.position.y;
        text.addChars(convertData(toLower(path.command), doc, &path, &current, minX, minY, maxX, maxY, scale, closed));
        doc->lastCommand(path.command);
        box_ = SPathBox{SPoint(minX, minY), maxX - minX, maxY - minY};
        if (!closed) newSubPath_ = false;
    }
    if (box_.width == -1999998.0f) box_.width = 100;
    if (box_.height == -1999998.0f) box_.height = 100;
    if (box_.position.x == 999999.0f) box_.position.x = 0;
    if (box_.position.y == 999999.0f) box_.position.y = 0;
    return text.to_string();
}

void TSvgPath::writeData(TContent& out, float scale) {
    // The box must be complete before the style is written: a gradient
    // fill is laid over it.
    const std::string path = pathText(scale);
    writeShape(out, [&](TContent& shape) { shape.raw(path); });
}

}  // namespace kivu
