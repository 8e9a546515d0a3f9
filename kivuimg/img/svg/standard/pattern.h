// Patterns under the standard rules: a pattern element (patternUnits,
// patternContentUnits, viewBox with preserveAspectRatio, patternTransform,
// href chains that pass on attributes and content) written as a PDF tiling
// pattern (PatternType 1) whose cell is the pattern's tile, named in the
// content as "/P<number>" and taking the drawing's Resources.  Equal uses
// share one pattern object.
#pragma once

#include <cstdint>

#include "kivuimg/img/svg/standard/painter.h"

namespace kivu::stdsvg {

// The pattern object for one painting of `pattern` over an element with
// bounding box `bbox` in state `state`; 0 when it paints nothing.
uint64_t patternObject(TPainter& painter, const TSvgNode& pattern, const SState& state, const SBox& bbox);

}  // namespace kivu::stdsvg
