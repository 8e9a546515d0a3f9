// Clipping and masking under the standard rules.
//
// clip-path: the union of a clipPath's shapes and text (clipPathUnits in
// either unit system, transforms on it and its children, `use` of shapes,
// clip-rule per child, a clip-path on the clipPath itself intersecting).
// One shape becomes a PDF clip ("W n" or "W* n") inside a q/Q pair; more
// than one, or text, becomes a luminosity soft mask of the shapes filled
// white, since PDF's clip takes one path under one rule.
//
// mask: the mask's content (maskUnits, maskContentUnits) drawn into a
// luminosity group (an alpha group for mask-type="alpha"), written as a
// soft-mask graphics state.
//
// A reference to nothing, or to an element of another kind, is passed
// over, and so is a reference back to a clip path being applied.
#pragma once

#include <functional>

#include "kivuimg/img/svg/standard/painter.h"

namespace kivu::stdsvg {

// Draws through the element's clip path, mask and opacity (in that order,
// outermost first); `opacity` false leaves the opacity to the caller.
void withEffects(TPainter& painter, const TSvgNode& node, const SState& state, bool opacity,
                 const std::function<void()>& draw);

}  // namespace kivu::stdsvg
