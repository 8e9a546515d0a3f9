// SRawFont: a font that the host supplies for the text of a drawing.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "kivuimg/commons/core/export.h"

namespace kivu {

struct KIVU_API SRawFont {
    std::string family;
    std::string weight;
    std::string style;
    std::string text;
    int32_t fontId = 0;
    uint8_t encoding = 0;
    // The answer's: the width of `text` in the font that will show it, in
    // ems (a font size of 1); 0 when the host doesn't measure, and the
    // drawing estimates it.  Text anchored at its middle or end needs it.
    double advance = 0;

    // Equal by the four strings; fontId, encoding and advance take no part.
    bool operator==(const SRawFont& o) const {
        return family == o.family && weight == o.weight && style == o.style && text == o.text;
    }
    size_t hash() const;
};

}  // namespace kivu
