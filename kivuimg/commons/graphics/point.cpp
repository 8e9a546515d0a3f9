#include "kivuimg/commons/graphics/point.h"

#include <cmath>

#include "kivuimg/commons/funcs.h"

namespace kivu {

SPoint SPoint::max() {
    return SPoint(std::numeric_limits<float>::max(), std::numeric_limits<float>::max());
}

SPoint SPoint::min() {
    return SPoint(std::numeric_limits<float>::min(), std::numeric_limits<float>::min());
}

bool SPoint::isEmpty() const { return isNaNBits(x) && isNaNBits(y); }

SVector SPoint::vector() const { return SVector(x, y); }

SPoint SPoint::findLinesIntersection(float x1, float y1, float x2, float y2, float x3, float y3, float x4,
                                     float y4) {
    const float a = x1 * y2 - y1 * x2;
    const float b = x3 * y4 - x4 * y3;
    const float d = (x1 - x2) * (y3 - y4) - (x3 - x4) * (y1 - y2);
    const float px = (a * (x3 - x4) - (x1 - x2) * b) / d;
    const float py = (a * (y3 - y4) - (y1 - y2) * b) / d;
    return SPoint(px, py);
}

SPoint SPoint::intersectionPointHorizontal(const SPoint& p) const {
    return findLinesIntersection(-9999.0f, y, 9999.0f, y, p.x, -9999.0f, p.x, 9999.0f);
}

SPoint SPoint::intersectionPointVertical(const SPoint& p) const {
    return findLinesIntersection(x, -9999.0f, x, 9999.0f, -9999.0f, p.y, 9999.0f, p.y);
}

SPoint SPoint::rotatePoint(float angle, float distance) const {
    return SPoint(x + std::cos(angle) * distance, y + std::sin(angle) * distance);
}

float SVector::dot(const SVector& v) const { return x * v.x + y * v.y; }
float SVector::multiply(float f) const { return x * f + y * f; }
SVector SVector::sub(const SVector& v) const { return SVector(x - v.x, y - v.y); }
bool SVector::isZero() const { return std::fabs(aN(x)) < 0.0001f && std::fabs(aN(y)) < 0.0001f; }
float SVector::length() const { return std::sqrt(x * x + y * y); }

void SVector::divide(float f) {
    x /= f;
    y /= f;
}

}  // namespace kivu
