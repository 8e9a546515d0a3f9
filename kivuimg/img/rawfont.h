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

    // Equal by the four strings; fontId and encoding take no part.
    bool operator==(const SRawFont& o) const {
        return family == o.family && weight == o.weight && style == o.style && text == o.text;
    }
    size_t hash() const;
};

}  // namespace kivu
