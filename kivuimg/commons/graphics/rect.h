// Corners and boxes: a box has a background, borders and corners.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "kivuimg/commons/core/export.h"
#include "kivuimg/commons/graphics/color.h"
#include "kivuimg/commons/graphics/line.h"
#include "kivuimg/commons/unit.h"

namespace kivu {

enum CornerType : int32_t { ctSharp = 0, ctArc = 1 };

KIVU_API CornerType str2CornerType(const std::string& s);
KIVU_API std::string cornerType2Str(CornerType v);

// An image drawn in a corner, with its position.
struct KIVU_API SCornerImage {
    std::string src;
    SUnit x;
    SUnit y;

    bool operator==(const SCornerImage& other) const = default;
    size_t toHash() const;
};

struct KIVU_API SCorner {
    CornerType type = ctSharp;
    SUnit radius;
    SLine line;
    SCornerImage image;

    // The radius is above 0 pt.
    bool enabled() const;
    // The radius is above 0 pt and the line has a style.
    bool hasLine() const;
};

struct KIVU_API SRectangle {
    SUnit measure;
    bool hasBackgroundImage = false;
    SColor background;
    std::map<std::string, SLine> borderMap;
    std::map<std::string, SCorner> cornerMap;

    bool hasBackgrounds() const;
    // The number of enabled lines among the borders.
    int32_t borders() const;
    bool hasBorders() const { return borders() > 0; }
    // The number of corners of type ctArc.
    int32_t arcs() const;
    // The number of corners of type ctSharp.
    int32_t sharps() const;
    bool hasCorners() const { return arcs() > 0 || sharps() > 0; }
    // A background, a border, a corner or a background image.
    bool isVisible() const;
};

}  // namespace kivu
