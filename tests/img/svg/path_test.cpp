#include <gtest/gtest.h>

#include "kivuimg/commons/core/cstr.h"
#include "tests/builders.h"

using namespace kivu;
using kivutest::filledShape;
using kivutest::svgContent;

namespace {

std::string pathContent(const std::string& d, const std::string& root = "width=\"100\" height=\"100\"") {
    return svgContent("<path d=\"" + d + "\"/>", root);
}

// The box of a path as a gradient fill lays its unit box over it: the
// numbers of "w 0 0 -h x -y cm" at the scale 0.75.
std::string gradientBox(const std::string& d) {
    const std::string content = svgContent(R"~(<linearGradient id="g" x2="1"><stop/><stop offset="1"/></linearGradient>)~"
                                           "<path fill=\"url(#g)\" d=\"" + d + "\"/>");
    const size_t clip = content.find("W n  "), cm = content.find(" cm ");
    return clip == std::string::npos || cm == std::string::npos ? content : content.substr(clip + 5, cm - clip - 5);
}

}  // namespace

TEST(SvgPath, CommandsAsOperators) {
    // Scale 0.75; y is negated.
    const struct {
        const char* d;
        std::string path;
    } cases[] = {
        // Pairs after a move draw lines.
        {"M 10 10 20 20", "7.500 -7.500 m 15.000 -15.000 l "},
        // After "z" the current point is back at the subpath's start.
        {"m 1 1 z l 5 5", "0.750 -0.750 m h 4.500 -4.500 l "},
        {"M 0 0 H 10 h 5 V 10 v 5", "0.000 -0.000 m 7.500 -0.000 l 11.250 -0.000 l 11.250 -7.500 l 11.250 -11.250 l "},
        // Compact numbers: a sign or a second point starts a new number; only
        // a lower-case exponent belongs to one.
        {"M10-5L.5 .5", "7.500 3.750 m 0.375 -0.375 l "},
        {"M 1e1 5", "7.500 -3.750 m "},
        {"M 1E1 5", "0.750 -0.750 m "},
        // A short last group ends the command.
        {"M0 0 L 10 10 20", "0.000 -0.000 m 7.500 -7.500 l "},
        {"M0 0 L", "0.000 -0.000 m "},
        // "S" after a line: the first control point is the current point.
        {"M0 0L8 0 S 16 8 24 0", "0.000 -0.000 m 6.000 -0.000 l 6.000 -0.000 12.000 -6.000 18.000 -0.000 c "},
        // "S" after "C" mirrors the last control point.
        {"M0 0 C 0 8 8 8 8 0 S 16 -8 16 0",
         "0.000 -0.000 m 0.000 -6.000 6.000 -6.000 6.000 -0.000 c 6.000 6.000 12.000 6.000 12.000 -0.000 c "},
        // Quadratic curves become cubic ones; "T" after "M" starts at the current point.
        {"M0 0 Q 12 12 24 0", "0.000 -0.000 m 6.000 -6.000 12.000 -6.000 18.000 -0.000 c "},
        {"M0 0 T 8 8", "0.000 -0.000 m 0.000 -0.000 2.000 -2.000 6.000 -6.000 c "},
        {"M0 0 Q 8 8 16 0 T 32 0",
         "0.000 -0.000 m 4.000 -4.000 8.000 -4.000 12.000 -0.000 c 16.000 4.000 20.000 4.000 24.000 -0.000 c "},
        // An arc from a point to itself writes nothing but its blank; a zero
        // radius draws a line.
        {"M 5 5 A 5 5 0 0 1 5 5", "3.750 -3.750 m  "},
        {"M 0 0 A 0 5 0 0 1 10 10", "0.000 -0.000 m  7.500 -7.500 l\n"},
        // A quarter circle: two cubic segments (the turn, as a 32-bit float,
        // is a hair over a right angle) ending at the arc's end.
        {"M 0 0 A 10 10 0 0 1 10 10",
         "0.000 -0.000 m  1.989 -0.000 3.897 -0.790 5.303 -2.197 c\n"
         "6.710 -3.603 7.500 -5.511 7.500 -7.500 c\n"},
    };
    for (const auto& c : cases) EXPECT_EQ(pathContent(c.d), filledShape(c.path)) << c.d;
}

TEST(SvgPath, OverflowHiddenTurnsAClippedCurveIntoALine) {
    EXPECT_EQ(pathContent("M 5 5 C 5 20 20 20 20 5", R"~(width="10" height="10" overflow="hidden")~"),
              filledShape("3.750 -3.750 m 7.500 -3.750 l "));
}

TEST(SvgPath, Boxes) {
    const struct {
        const char* d;
        const char* box;
    } cases[] = {
        {"M 10 20 L 30 40", "15.000 0 0 -15.000 7.500 -15.000"},
        // Only negative coordinates: the box still reaches 0.
        {"M -10 -20 L -30 -5", "22.500 0 0 -15.000 -22.500 15.000"},
        // A curve's box holds its turning point, not its control points.
        {"M 0 0 C 0 10 10 10 10 0", "7.500 0 0 -5.625 0.000 -0.000"},
        // An arc's control points count too: a semicircle of radius 10 above
        // its chord comes out 10.447 high.
        {"M 0 0 A 10 10 0 0 1 20 0", "15.000 0 0 -7.835 0.000 7.835"},
        // No box at all: 100 by 100 at the origin.
        {"", "75.000 0 0 -75.000 0.000 -0.000"},
    };
    for (const auto& c : cases) EXPECT_EQ(gradientBox(c.d), c.box) << c.d;
}

TEST(SvgPath, BadDataRaisesOrEndsTheReading) {
    // ".5.5" is one run of digits and points, as "1.2.3" is.
    for (const char* d : {"M 1.2.3 4", "M 0 0 L .5.5", "M 1e999 0", "M 0 0 L . 5"})
        EXPECT_THROW(pathContent(d), KivuException) << d;
    // No "d": the reading stops at the path.
    auto img = kivutest::readSvg(kivutest::svgDocument(R"~(<rect width="1" height="1"/><path/><circle r="1"/>)~"));
    EXPECT_EQ(img->elements().size(), 1u);
    // Absurd argument counts and many subpaths write what the groups give.
    std::string many;
    for (int i = 0; i < 5000; ++i) many += "M 1 1 2 2 3 z ";
    const std::string content = pathContent(many + "A 1 2 3 4 5 6 7 8 9 10");
    EXPECT_EQ(kivutest::countOperator(content, "m"), 5000u);
    EXPECT_EQ(kivutest::countOperator(content, "h"), 5000u);
    EXPECT_TRUE(kivutest::balancedSaves(content));
}
