#include "kivuimg/commons/graphics/rect.h"

#include "kivuimg/commons/enumtable.h"
#include "kivuimg/commons/graphics/valueutil.h"

namespace kivu {

namespace {
KIVU_ENUM_TABLE(CornerType, {.names = {"sharp", "arc"}})
}  // namespace

KIVU_ENUM_STR(CornerType, cornerType2Str, str2CornerType)

size_t SCornerImage::toHash() const {
    size_t h = std::hash<std::string>{}(src);
    hashCombine(h, x.toHash());
    hashCombine(h, y.toHash());
    return h;
}

bool SCorner::enabled() const { return radius.pt() > 0.0f; }
bool SCorner::hasLine() const { return radius.pt() > 0.0f && line.style != lsNone; }

bool SRectangle::hasBackgrounds() const { return background.enabled() || hasBackgroundImage; }

int32_t SRectangle::borders() const {
    int32_t n = 0;
    for (const auto& [side, line] : borderMap)
        if (line.enabled()) ++n;
    return n;
}

int32_t SRectangle::arcs() const {
    int32_t n = 0;
    for (const auto& [where, corner] : cornerMap)
        if (corner.type == ctArc) ++n;
    return n;
}

int32_t SRectangle::sharps() const {
    int32_t n = 0;
    for (const auto& [where, corner] : cornerMap)
        if (corner.type == ctSharp) ++n;
    return n;
}

bool SRectangle::isVisible() const {
    return background.enabled() || hasBorders() || hasCorners() || hasBackgroundImage;
}

}  // namespace kivu
