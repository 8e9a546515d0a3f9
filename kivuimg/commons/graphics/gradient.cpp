#include "kivuimg/commons/graphics/gradient.h"

#include "kivuimg/commons/graphics/valueutil.h"

namespace kivu {

size_t SGradColor::toHash() const {
    size_t h = color.toHash();
    hashValue(h, offset);
    return h;
}

SGradientInfo SGradientInfo::makeCopy(ColorSpace space) const {
    SGradientInfo copy = *this;
    copy.stops.clear();
    copy.stops.reserve(stops.size());
    for (const SGradColor& stop : stops) {
        SGradColor c = stop;
        c.color.transform(space);
        copy.stops.push_back(std::move(c));
    }
    copy.colorSpace = space;
    return copy;
}

size_t SGradientInfo::toHash() const {
    size_t h = std::hash<std::string>{}(id);
    hashValue(h, gradientTransform);
    hashValue(h, gradientUnits);
    hashValue(h, spreadMethod);
    for (const SGradColor& s : stops) hashCombine(h, s.toHash());
    for (const auto& [k, v] : attributes) {
        hashValue(h, k);
        hashValue(h, v);
    }
    hashValue(h, static_cast<int32_t>(colorSpace));
    hashValue(h, static_cast<int32_t>(type));
    hashValue(h, xref);
    return h;
}

size_t SGradient::toHash() const {
    size_t h = 0;
    for (const SGradColor& c : colors) hashCombine(h, c.toHash());
    for (float f : coords) hashValue(h, f);
    for (float f : matrix) hashValue(h, f);
    hashValue(h, static_cast<int32_t>(colorSpace));
    hashValue(h, shadingType);
    hashValue(h, active);
    hashValue(h, extend[0]);
    hashValue(h, extend[1]);
    hashValue(h, hasAlpha);
    hashValue(h, shadingObject);
    hashValue(h, alphaObject);
    hashValue(h, patternObject);
    hashValue(h, done);
    return h;
}

void TGradients::add(const SGradient& gradient) { items_.push_back(gradient); }
int32_t TGradients::count() const { return static_cast<int32_t>(items_.size()); }
bool TGradients::hasItems() const { return !items_.empty(); }
std::vector<SGradient>& TGradients::items() { return items_; }

}  // namespace kivu
