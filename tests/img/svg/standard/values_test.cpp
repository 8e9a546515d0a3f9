#include "kivuimg/img/svg/standard/values.h"

#include <gtest/gtest.h>

#include <cmath>

#include "kivuimg/img/svg/standard/path.h"

using namespace kivu::stdsvg;

TEST(StandardValues, NumberGrammar) {
    const struct {
        const char* text;
        std::vector<double> numbers;
        bool whole;
    } cases[] = {
        {"1.5.669", {1.5, 0.669}, true},
        {"-384.57-515.8", {-384.57, -515.8}, true},
        {"-.99-.002.004.65", {-0.99, -0.002, 0.004, 0.65}, true},
        {"5.0e-2 1E3,2e+1", {0.05, 1000, 20}, true},
        {"1e", {1}, false},  // an exponent needs digits: "e" is no number
        {" 3 , 4 ", {3, 4}, true},
        {"3,,4", {3}, false},
        {"0.0000000", {0}, true},
    };
    for (const auto& c : cases) {
        std::vector<double> got;
        EXPECT_EQ(parseNumberList(c.text, got), c.whole) << c.text;
        ASSERT_EQ(got.size(), c.numbers.size()) << c.text;
        for (size_t i = 0; i < got.size(); ++i) EXPECT_DOUBLE_EQ(got[i], c.numbers[i]) << c.text;
    }
}

TEST(StandardValues, LengthsInUserUnits) {
    const struct {
        const char* text;
        double user;  // font size 10, percentages of 200
    } cases[] = {{"12", 12},   {"12px", 12},  {"72pt", 96},  {"1pc", 16},  {"25.4mm", 96}, {"2.54cm", 96},
                 {"1in", 96},  {"2em", 20},   {"2ex", 10},   {"50%", 100}, {" 3 ", 3},     {"1e1px", 10}};
    for (const auto& c : cases) {
        SLength l;
        ASSERT_TRUE(parseLength(c.text, l)) << c.text;
        EXPECT_NEAR(toUserUnits(l, 10, 200), c.user, 1e-9) << c.text;
    }
    SLength l;
    for (const char* bad : {"", "px", "12 px", "12qq", "1,2"}) EXPECT_FALSE(parseLength(bad, l)) << bad;
}

TEST(StandardValues, CssColours) {
    const struct {
        const char* text;
        SRgba rgba;
    } cases[] = {
        {"red", {1, 0, 0, 1}},
        {"LightGrey", {211 / 255.f, 211 / 255.f, 211 / 255.f, 1}},
        {"#0f0", {0, 1, 0, 1}},
        {"#00ff0080", {0, 1, 0, 128 / 255.f}},
        {"#0f08", {0, 1, 0, 136 / 255.f}},
        {"rgb(0, 128, 0)", {0, 128 / 255.f, 0, 1}},
        {"rgb(0% 50% 100%)", {0, 0.5f, 1, 1}},
        {"rgba(0,0,255,0.5)", {0, 0, 1, 0.5f}},
        {"rgb(0 0 255 / 25%)", {0, 0, 1, 0.25f}},
        {"hsl(120, 100%, 25%)", {0, 0.5f, 0, 1}},
        {"hsla(240deg 100% 50% / .5)", {0, 0, 1, 0.5f}},
        {"transparent", {0, 0, 0, 0}},
        {"#CD853F icc-color(acmecmyk, 0.11, 0.48, 0.83, 0.00)", {205 / 255.f, 133 / 255.f, 63 / 255.f, 1}},
    };
    for (const auto& c : cases) {
        SRgba got;
        ASSERT_TRUE(parseColor(c.text, got)) << c.text;
        EXPECT_NEAR(got.r, c.rgba.r, 0.003) << c.text;
        EXPECT_NEAR(got.g, c.rgba.g, 0.003) << c.text;
        EXPECT_NEAR(got.b, c.rgba.b, 0.003) << c.text;
        EXPECT_NEAR(got.a, c.rgba.a, 0.003) << c.text;
    }
    SRgba got;
    for (const char* bad : {"", "#12", "#ggg", "rgb(1,2)", "nocolour", "rgb(1, 2, 3"}) EXPECT_FALSE(parseColor(bad, got)) << bad;
}

TEST(StandardValues, PaintsAndReferences) {
    SPaint p;
    ASSERT_TRUE(parsePaint(" url( '#my-grad' ) green", p));
    EXPECT_EQ(p.kind, SPaint::url);
    EXPECT_EQ(p.id, "my-grad");
    EXPECT_TRUE(p.hasFallback);
    ASSERT_TRUE(parsePaint("currentColor", p));
    EXPECT_EQ(p.kind, SPaint::currentColor);
    EXPECT_FALSE(parsePaint("url(#a) nocolour", p));
    EXPECT_EQ(localId("#a-b.c"), "a-b.c");
    EXPECT_EQ(localId("other.svg#a"), "");
}

TEST(StandardValues, TransformLists) {
    const struct {
        const char* text;
        double x, y;  // where (1, 2) goes
        bool valid;
    } cases[] = {
        {"translate(10)", 11, 2, true},
        {"translate(10,20)scale(2)", 12, 24, true},
        {"matrix(-.99-.002.004.65 0 0)", -0.982, 1.298, true},
        {"rotate(90)", -2, 1, true},
        {"rotate(90 1 1)", 0, 1, true},
        {"skewX(45)", 3, 2, true},
        {"scale(2) , translate(1 1)", 4, 6, true},
        {"rotate(90 1)", 1, 2, false},
        {"translate(1) bad(2)", 1, 2, false},
    };
    for (const auto& c : cases) {
        kivu::SMatrix m;
        EXPECT_EQ(parseTransform(c.text, m), c.valid) << c.text;
        if (!c.valid) continue;
        EXPECT_NEAR(m.x(1, 2), c.x, 1e-9) << c.text;
        EXPECT_NEAR(m.y(1, 2), c.y, 1e-9) << c.text;
    }
}

TEST(StandardValues, ViewBoxesIntoViewports) {
    const struct {
        const char* aspect;
        double x, y, scale;  // where the view box's origin goes, and its scale
    } cases[] = {
        {"xMidYMid", 50, 0, 1},  {"xMinYMin meet", 0, 0, 1}, {"xMaxYMax", 100, 0, 1},
        {"xMidYMid slice", 0, -50, 2}, {"xMinYMax slice", 0, -100, 2},
    };
    const SViewBox box{0, 0, 100, 100};  // into a 200 x 100 viewport
    for (const auto& c : cases) {
        SAspectRatio a;
        ASSERT_TRUE(parseAspectRatio(c.aspect, a)) << c.aspect;
        const kivu::SMatrix m = viewBoxTransform(box, a, 0, 0, 200, 100);
        EXPECT_NEAR(m.e, c.x, 1e-9) << c.aspect;
        EXPECT_NEAR(m.f, c.y, 1e-9) << c.aspect;
        EXPECT_NEAR(m.a, c.scale, 1e-9) << c.aspect;
    }
    SAspectRatio none;
    ASSERT_TRUE(parseAspectRatio("none", none));
    EXPECT_NEAR(viewBoxTransform(box, none, 0, 0, 200, 100).a, 2, 1e-9);
    EXPECT_FALSE(parseAspectRatio("xMidYMid bad", none));
}

TEST(StandardPaths, DataReadUpToItsFirstError) {
    const struct {
        const char* d;
        size_t segments;
        double endX, endY;
    } cases[] = {
        {"M10 10h80v80h-80z", 5, 10, 10},
        {"M0,0L10,0 10,10", 3, 10, 10},           // implicit lines
        {"m1 1 2 2", 2, 3, 3},                    // implicit relative lines behind a move
        {"M0 0A5 5 0 1010 0", 3, 10, 0},          // arc flags without separators: a half circle
        {"M0 0 L10 10 L20 x", 2, 10, 10},         // an error ends the path where it stands
        {"L10 10", 0, 0, 0},                      // no move first: nothing
        {"M0 0Q5 5 10 0T20 0", 3, 20, 0},         // quadratics become cubics
        {"M0 0C0 5 10 5 10 0S20-5 20 0", 3, 20, 0},
    };
    for (const auto& c : cases) {
        const TPath p = parsePathData(c.d);
        ASSERT_EQ(p.segments().size(), c.segments) << c.d;
        if (!c.segments) continue;
        EXPECT_NEAR(p.segments().back().x, c.endX, 1e-9) << c.d;
        EXPECT_NEAR(p.segments().back().y, c.endY, 1e-9) << c.d;
    }
    // A circle's box is tight, not that of its control points.
    const SBox box = ellipsePath(50, 50, 10, 20).bounds();
    EXPECT_NEAR(box.x0, 40, 1e-9);
    EXPECT_NEAR(box.y1, 70, 1e-9);
    EXPECT_EQ(parsePoints("0 0 10 10 5").size(), 4u);
}
