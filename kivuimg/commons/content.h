// TContent: the one writer of PDF content-stream operators.  Drawings (the
// metafile and SVG converters) write their paths, colours and graphics-state
// operators through it instead of formatting them at every site.
//
// Numbers are written as "%.3f" (floats) or "%d" (integers), each followed by
// one blank; an operator is followed by the writer's separator: a blank for
// streams that chain operators on one line, a newline for one operator a
// line.  A float that is not finite is written as 0.000, so that no hostile
// value can put "nan" or "inf" into a stream.
//
// save and restore write a q or Q in the exact form the caller gives (the
// blanks around it are part of each format) and keep count of the nesting,
// so that callers and tests can check that every q has its Q.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "kivuimg/commons/core/memory.h"

namespace kivu {

class TContent {
public:
    explicit TContent(TMemory& out, char separator = ' ') : out_(out), separator_(separator) {}

    TMemory& out() { return out_; }
    // Open q's not yet closed.
    int depth() const { return depth_; }

    // Text as it stands.
    TContent& raw(std::string_view text) {
        out_.addChars(text);
        return *this;
    }
    // One number and a blank.
    TContent& num(double v);
    TContent& num(int64_t v);
    TContent& num(int v) { return num(static_cast<int64_t>(v)); }
    // A float with another count of decimals ("%.2f", "%.4f") and a blank.
    TContent& num(double v, int decimals);
    // An operator name and the separator (or `after` where one form differs).
    TContent& op(std::string_view name) { return op(name, separator_); }
    TContent& op(std::string_view name, char after);

    // Path construction: "x y m", "x y l", "x1 y1 x2 y2 x3 y3 c", "h".
    TContent& moveTo(double x, double y) { return num(x).num(y).op("m"); }
    TContent& lineTo(double x, double y) { return num(x).num(y).op("l"); }
    TContent& moveTo(int x, int y) { return num(x).num(y).op("m"); }
    TContent& lineTo(int x, int y) { return num(x).num(y).op("l"); }
    TContent& curveTo(double x1, double y1, double x2, double y2, double x3, double y3) {
        return num(x1).num(y1).num(x2).num(y2).num(x3).num(y3).op("c");
    }
    TContent& closePath() { return op("h"); }

    // A q or a Q in the caller's form, such as " q " or " Q\n".
    TContent& save(std::string_view form) {
        ++depth_;
        return raw(form);
    }
    TContent& restore(std::string_view form) {
        --depth_;
        return raw(form);
    }

private:
    TMemory& out_;
    char separator_;
    int depth_ = 0;
};

// "%.3f" of a float, as printf gives it; 0.000 for a value that is not finite.
void appendFixed3(TMemory& out, double v);
// The same with `decimals` digits behind the point.
void appendFixed(TMemory& out, double v, int decimals);
// A number for dictionaries and hand-made operators: `decimals` digits
// behind the point with trailing zeros (and a bare point) dropped, never
// "-0"; 0 for a value that is not finite.
std::string pdfNumber(double v, int decimals = 3);

}  // namespace kivu
