#include "kivuimg/commons/graphics/point.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "kivuimg/commons/funcs.h"

namespace kivu {
namespace {

constexpr float kMinNormal = 1.17549435e-38f;
constexpr float kMax = 3.4028235e38f;

TEST(NumericHelpers, NaNAsZeroAndZeroToOne) {
    EXPECT_EQ(aN(NAN), 0.0f);
    EXPECT_EQ(aN(-NAN), 0.0f);
    EXPECT_EQ(aN(2.5f), 2.5f);
    EXPECT_EQ(zeon(NAN), 0.0f);
    EXPECT_EQ(zeon(1.5f), 1.0f);
    EXPECT_EQ(zeon(-0.5f), 0.0f);
    EXPECT_EQ(zeon(0.25f), 0.25f);
    EXPECT_TRUE(isNaNBits(NAN));
    EXPECT_FALSE(isNaNBits(std::numeric_limits<float>::infinity()));
}

TEST(NumericHelpers, MinsAndMaxsStartAtTheFloatLimits) {
    EXPECT_EQ(mins(NAN, 2.0f), 2.0f);
    EXPECT_EQ(mins(3.0f, -1.0f, 2.0f), -1.0f);
    EXPECT_EQ(mins(NAN, NAN), kMax);
    EXPECT_EQ(maxs(-1.0f, -2.0f), kMinNormal);
    EXPECT_EQ(maxs(0.0f, 0.0f, 0.0f), kMinNormal);
    EXPECT_EQ(maxs(1.0f, NAN, 3.0f), 3.0f);
    const std::vector<float> v{4.0f, NAN, -2.0f, 7.0f};
    EXPECT_EQ(aMin(v), -2.0f);
    EXPECT_EQ(aMax(v), 7.0f);
    EXPECT_EQ(aMin(std::vector<float>{}), kMax);
    EXPECT_EQ(aMax(std::vector<float>{}), kMinNormal);
}

TEST(Point, LineIntersections) {
    const SPoint p = SPoint::findLinesIntersection(0, 0, 2, 2, 0, 2, 2, 0);
    EXPECT_EQ(p.x, 1.0f);
    EXPECT_EQ(p.y, 1.0f);
    const SPoint parallel = SPoint::findLinesIntersection(0, 0, 1, 0, 0, 1, 1, 1);
    EXPECT_FALSE(std::isfinite(parallel.x));
    const SPoint h = SPoint(3.0f, 5.0f).intersectionPointHorizontal(SPoint(7.0f, -2.0f));
    EXPECT_FLOAT_EQ(h.x, 7.0f);
    EXPECT_FLOAT_EQ(h.y, 5.0f);
    const SPoint v = SPoint(3.0f, 5.0f).intersectionPointVertical(SPoint(7.0f, -2.0f));
    EXPECT_FLOAT_EQ(v.x, 3.0f);
    EXPECT_FLOAT_EQ(v.y, -2.0f);
}

TEST(Point, RotateMovesAlongTheAngle) {
    const SPoint r = SPoint(1.0f, 2.0f).rotatePoint(0.0f, 3.0f);
    EXPECT_EQ(r.x, 4.0f);
    EXPECT_EQ(r.y, 2.0f);
    const SPoint u = SPoint(1.0f, 2.0f).rotatePoint(static_cast<float>(M_PI / 2), 3.0f);
    EXPECT_NEAR(u.x, 1.0f, 1e-6);
    EXPECT_EQ(u.y, 5.0f);
}

TEST(Vector, Arithmetic) {
    const SVector a(3.0f, 4.0f), b(1.0f, 2.0f);
    EXPECT_EQ(a.dot(b), 11.0f);
    EXPECT_EQ(a.multiply(2.0f), 14.0f);  // a scalar, x·f + y·f
    EXPECT_EQ(a.sub(b), SVector(2.0f, 2.0f));
    EXPECT_EQ(a.length(), 5.0f);
    SVector c = a;
    c.divide(2.0f);
    EXPECT_EQ(c, SVector(1.5f, 2.0f));
    EXPECT_EQ(a.point(), SPoint(3.0f, 4.0f));
    EXPECT_EQ(SPoint(3.0f, 4.0f).vector(), a);
    EXPECT_TRUE(SVector(0.00009f, -0.00009f).isZero());
    EXPECT_TRUE(SVector().isZero());  // NaN counts as 0
    EXPECT_FALSE(SVector(0.0001f, 0.0f).isZero());
}

}  // namespace
}  // namespace kivu
