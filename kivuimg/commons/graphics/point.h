// Points, vectors and cubic segments: pairs of 32-bit floats, NaN when empty.
#pragma once

#include <limits>

#include "kivuimg/commons/core/export.h"

namespace kivu {

struct SVector;

struct KIVU_API SPoint {
    float x = std::numeric_limits<float>::quiet_NaN();
    float y = std::numeric_limits<float>::quiet_NaN();

    SPoint() = default;
    SPoint(float px, float py) : x(px), y(py) {}

    // The largest float in both coordinates.
    static SPoint max();
    // The smallest positive normal float in both coordinates (not the most negative one).
    static SPoint min();
    // Both coordinates NaN (by bits); one NaN coordinate is not empty.
    bool isEmpty() const;
    SVector vector() const;

    // Where the line through points 1 and 2 meets the line through points 3
    // and 4.  Parallel lines give infinities or NaN.
    static SPoint findLinesIntersection(float x1, float y1, float x2, float y2, float x3, float y3, float x4,
                                        float y4);
    // The horizontal line through this point against the vertical one through p.
    SPoint intersectionPointHorizontal(const SPoint& p) const;
    // The vertical line through this point against the horizontal one through p.
    SPoint intersectionPointVertical(const SPoint& p) const;
    // This point moved by `distance` in the direction `angle` (radians).
    SPoint rotatePoint(float angle, float distance) const;

    bool operator==(const SPoint& other) const = default;
};

struct KIVU_API SVector {
    float x = std::numeric_limits<float>::quiet_NaN();
    float y = std::numeric_limits<float>::quiet_NaN();

    SVector() = default;
    SVector(float vx, float vy) : x(vx), y(vy) {}

    SPoint point() const { return SPoint(x, y); }
    float dot(const SVector& v) const;
    // The scalar x·f + y·f.
    float multiply(float f) const;
    SVector sub(const SVector& v) const;
    // Both components below 0.0001 in magnitude; NaN counts as 0.
    bool isZero() const;
    float length() const;
    // Divides both components in place.
    void divide(float f);

    bool operator==(const SVector& other) const = default;
};

// One cubic segment; its start point is held by whoever holds the curve.
struct KIVU_API SCurve {
    SPoint control1;
    SPoint control2;
    SPoint end;

    bool operator==(const SCurve& other) const = default;
};

}  // namespace kivu
