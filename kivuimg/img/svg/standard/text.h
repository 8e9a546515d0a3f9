// Text under the standard rules: a "text" element with its tspans laid out
// as SVG says.  Its characters take their style from the innermost element
// around them; white space is collapsed over the whole element unless
// xml:space preserves it; x, y, dx, dy and rotate lists apply per
// character, a descendant's list before its ancestors'; an absolute x or y
// starts a new chunk, and text-anchor moves each chunk by its width.
//
// Characters that share a style and follow one another without a position
// of their own make one run: one font request to the host (SRawFont: the
// families as written, "bold" or "normal", "italic", "oblique" or
// "normal", the run's text), one string.  The width of a run, which anchors
// need, is measured in the face the document writer answers for the request.
#pragma once

#include "kivuimg/img/svg/standard/painter.h"

namespace kivu::stdsvg {

// Lays out and draws (or, while collecting, asks for the fonts of) a text element.
void drawText(TPainter& painter, const TSvgNode& node, const SState& state);

// The box of a text element's runs (ascent to descent of each), mapped by
// the state's matrix.
SBox textBounds(TPainter& painter, const TSvgNode& node, const SState& state);

// The advance of a run in ems, in the face answered for the request.
double runAdvanceEm(const SRawFont& request);

}  // namespace kivu::stdsvg
