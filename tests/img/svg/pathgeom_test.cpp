#include "kivuimg/img/svg/pathgeom.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "tests/builders.h"

using namespace kivu;

TEST(PathGeometry, ArcsAsCubicSegments) {
    const struct {
        SPoint start, end, radii;
        float largeArc, sweep;
        size_t segments;
        float top;  // smallest y of the points (y runs down): above 0 only over a top
    } cases[] = {
        // A quarter circle about (0, 10): its turn, a 32-bit float, is a
        // hair over a right angle, so two segments.
        {{0, 0}, {10, 10}, {10, 10}, 0, 1, 2, 0},
        // The other sweep takes the other centre, (10, 0), and a turn a
        // hair under: one segment.
        {{0, 0}, {10, 10}, {10, 10}, 0, 0, 1, 0},
        // Three quarters (a hair over): the large arc about (10, 0) goes over its top.
        {{0, 0}, {10, 10}, {10, 10}, 1, 1, 4, -10.0f},
        // Radii too small grow until the arc reaches: a half circle of radius 10.
        {{0, 0}, {20, 0}, {1, 1}, 0, 1, 3, -10.0f},
    };
    for (const auto& c : cases) {
        ArcExtents extents;
        const std::string text = arcToCurves(c.start, c.end, c.radii, 0, c.largeArc, c.sweep, 1, extents);
        EXPECT_EQ(kivutest::countOperator(text, "c"), c.segments) << text;
        ASSERT_EQ(extents[0].size(), 3 * c.segments);
        // The last point is the end point, y negated in the text.
        EXPECT_FLOAT_EQ(extents[0].back(), c.end.x);
        EXPECT_NEAR(extents[1].back(), c.end.y, 1e-4);
        const float top = *std::min_element(extents[1].begin(), extents[1].end());
        // Control points stand a little outside the circle.
        if (c.top < 0) EXPECT_NEAR(top, c.top, 1.0f) << text;
        else EXPECT_GE(top, -1e-4f) << text;
    }
    ArcExtents extents;
    EXPECT_EQ(arcToCurves({1, 1}, {1, 1}, {5, 5}, 0, 0, 1, 1, extents), "");
    EXPECT_EQ(arcToCurves({0, 0}, {4, 2}, {0, 5}, 0, 0, 1, 2, extents), "8.000 -4.000 l\n");
    EXPECT_TRUE(extents.empty());
}

TEST(PathGeometry, AnglesBoxesAndCover) {
    EXPECT_FLOAT_EQ(vectorAngle(1, 0, 0, 1), 1.5707964f);
    EXPECT_FLOAT_EQ(vectorAngle(0, 1, 1, 0), 4.712389f);
    const auto box = bezierBox({0, 0}, SCurve{{0, 10}, {10, 10}, {10, 0}});
    EXPECT_EQ(box, (std::array<float, 4>{0, 0, 10, 7.5f}));
    // Lines across the unit square; an edge counts as met.
    EXPECT_TRUE(lineMeetsUnitSquare({0.5f, 0.5f}, 0.3));
    EXPECT_TRUE(lineMeetsUnitSquare({1, 0}, 1.5707963267948966));
    EXPECT_FALSE(lineMeetsUnitSquare({2, 0}, 1.5707963267948966));
    EXPECT_FALSE(lineMeetsUnitSquare({0, 1.5f}, 0));
    // Circles from inside need 1.5; from outside, the farthest corner.
    EXPECT_TRUE(circleCoversUnitSquare({0.5f, 0.5f}, 1.5f));
    EXPECT_FALSE(circleCoversUnitSquare({0.5f, 0.5f}, 1.45f));
    EXPECT_TRUE(circleCoversUnitSquare({-1, 0}, 2.3f));
    EXPECT_FALSE(circleCoversUnitSquare({-1, 0}, 2.2f));
}
