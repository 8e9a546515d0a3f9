// A text decoration: a kind of line under, over or through text.
#pragma once

#include "kivuimg/commons/consts.h"
#include "kivuimg/commons/core/export.h"
#include "kivuimg/commons/graphics/line.h"

namespace kivu {

struct KIVU_API STextDecoration {
    SLine line;
    Decoration decoration = decUnset;

    // An actual decoration (underline and beyond) drawn with a line that has a style.
    bool enabled() const { return decoration >= decUnderline && line.enabled(); }
    bool operator==(const STextDecoration& other) const = default;
};

}  // namespace kivu
