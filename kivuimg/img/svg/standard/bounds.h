// The bounding box of an element under the standard rules: the box of its
// geometry (fill, not stroke) in its own user space, over everything below
// it for containers and instances.  Clip paths, masks, patterns and
// gradients in objectBoundingBox units measure against it.
#pragma once

#include "kivuimg/img/svg/standard/path.h"
#include "kivuimg/img/svg/standard/painter.h"

namespace kivu::stdsvg {

// The box of an element whose own state is `state`, in its user space.
SBox elementBounds(TPainter& painter, const TSvgNode& node, const SState& state);

}  // namespace kivu::stdsvg
