// TSvgPath: the "path" element.  Its "d" text is cut into commands when it
// is read; numbers are parsed and geometry is worked out only when the path
// is written, one command at a time by convertData, which also grows the
// path's box (the box a gradient fill is laid over).
//
// Commands: M L H V C S Q T A Z in both cases (lower case: relative to the
// current point).  Quadratic curves are written as cubic ones and arcs as
// up to four cubic segments.  Extra pairs after a move draw lines.  Each
// command repeats while whole groups of arguments remain; a short last group
// ends it.  The letter and mirrored control point of the last curve live on
// the document, so a smooth curve at the start of a path follows the
// previous path's last curve.
//
// Rules kept as this converter has always drawn:
//  - the box starts from (999999, 999999) with width and height -999999 and
//    reaches 0 on its upper side (its largest x and y are never below 0);
//  - a subpath's start, where "z" goes back to, is recorded only by the
//    first move after the path's start or after a "z";
//  - the box of each curve of a repeated command is measured from the point
//    where the command began.
#pragma once

#include <string>
#include <vector>

#include "kivuimg/commons/graphics/point.h"
#include "kivuimg/img/svg/element.h"

namespace kivu {

// One command: its letter as written and the raw text of its numbers.
struct SPath {
    std::string command;
    std::string data;

    bool operator==(const SPath& other) const = default;
};

// The box of a path in SVG user units (y down).
struct SPathBox {
    SPoint position;
    float width = 0;
    float height = 0;
};

class TSvgPath : public TSvgElementOf<TSvgPath, TSvgElement> {
public:
    using TSvgElementOf::TSvgElementOf;

    std::string nodeName() const override { return "path"; }
    // Raises "SVG: Missing attribute g at path-node" without a "d".
    void read(_xmlNode* node) override;
    // Works out the path and its box, then writes the shape's frame around it.
    void writeData(TContent& out, float scale) override;

    // The box of the last writing.
    virtual SPathBox pathBox() const { return box_; }
    virtual void addPath(const SPath& path) { paths_.push_back(path); }
    // The operators of one command.  `command` is the lower-case letter;
    // `current` is the current point with y negated (PDF orientation,
    // before scaling); the extents are in SVG orientation.  Raises for a
    // letter outside the ten and for a number that doesn't parse.
    virtual std::string convertData(const std::string& command, TImageSVG* base, const SPath* path, SPoint* current,
                                    float& minX, float& minY, float& maxX, float& maxY, float scale, bool& closed);

    const std::vector<SPath>& paths() const { return paths_; }

protected:
    void copyValuesTo(TSvgElement& clone) override;

private:
    // The operators of all commands; sets the box.
    std::string pathText(float scale);

    std::vector<SPath> paths_;
    SPathBox box_;
    bool newSubPath_ = true;
    SPoint startPoint_{0, 0};
};

}  // namespace kivu
