// SVG transform lists as PDF cm operators.  The drawing space is PDF's (y
// up) while SVG's y runs down, and coordinates are written already scaled:
// so each matrix is conjugated with the reflection of the y axis, and its
// lengths (never its factors) are multiplied by the document's scale.
// Knows nothing of XML.
#pragma once

#include <string>
#include <string_view>

namespace kivu {

// The cm operators of "matrix(...) translate(...) scale(...) rotate(...)
// skewX(...) skewY(...)", in the order of the list; "" when nothing
// matched.  Function names match in any case; text between functions is
// ignored; a function with the wrong number of arguments writes nothing.
// An argument that is no number raises.
std::string transformationsToPDF(std::string_view text, float scale);

}  // namespace kivu
