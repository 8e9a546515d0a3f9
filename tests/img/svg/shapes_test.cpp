#include <gtest/gtest.h>

#include "tests/builders.h"

using namespace kivu;
using kivutest::svgContent;

namespace {

const auto filled = kivutest::filledShape;
// The frame of a line, which is never filled.
std::string unpainted(const std::string& path) { return " q  /GS1 gs  /GS2 gs  " + path + " n \n Q\n"; }

}  // namespace

TEST(SvgShapes, PathsOfEachShape) {
    const struct {
        const char* element;
        std::string content;
    } cases[] = {
        {R"~(<rect x="10" y="20" width="40" height="30"/>)~",
         filled("7.500 -15.000 m 37.500 -15.000 l 37.500 -37.500 l 7.500 -37.500 l 7.500 -15.000 l h ")},
        {R"~(<rect width="0" height="30"/>)~", filled("")},
        {R"~(<circle cx="10" cy="10" r="10"/>)~",
         filled("7.500 0.000 m 11.642 0.000 15.000 -3.358 15.000 -7.500 c 15.000 -11.642 11.642 -15.000 7.500 -15.000 c "
                "3.358 -15.000 0.000 -11.642 0.000 -7.500 c 0.000 -3.358 3.358 0.000 7.500 0.000 c h ")},
        {R"~(<circle cx="4" cy="4"/>)~",
         filled("3.000 -3.000 m 3.000 -3.000 3.000 -3.000 3.000 -3.000 c 3.000 -3.000 3.000 -3.000 3.000 -3.000 c "
                "3.000 -3.000 3.000 -3.000 3.000 -3.000 c 3.000 -3.000 3.000 -3.000 3.000 -3.000 c h ")},
        {R"~(<ellipse cx="20" cy="10" rx="20" ry="10"/>)~",
         filled("15.000 0.000 m 23.284 0.000 30.000 -3.358 30.000 -7.500 c 30.000 -11.642 23.284 -15.000 15.000 -15.000 c "
                "6.716 -15.000 0.000 -11.642 0.000 -7.500 c 0.000 -3.358 6.716 0.000 15.000 0.000 c h ")},
        {R"~(<line x1="0" y1="0" x2="8" y2="4"/>)~", unpainted("0.000 -0.000 m 6.000 -3.000 l ")},
        {R"~(<line x1="4" y1="4" x2="4" y2="4"/>)~", unpainted("3.000 -3.000 m 3.000 -3.000 l ")},
        {R"~(<polygon points="0,0 10,0 10,10"/>)~",
         filled("0.000 -0.000 m 7.500 -0.000 l 7.500 -7.500 l 0.000 -0.000 l h ")},
        {R"~(<polyline points="0,0 10,0 10,10"/>)~", filled("0.000 -0.000 m 7.500 -0.000 l 7.500 -7.500 l ")},
        {R"~(<polygon points="10-5 20,0 .5 9"/>)~",
         filled("7.500 3.750 m 15.000 -0.000 l 0.375 -6.750 l 7.500 3.750 l h ")},
        {R"~(<polygon points="10 20 30"/>)~", ""},
        {R"~(<polyline points="0,0 10,10"/>)~", ""},
    };
    for (const auto& c : cases) EXPECT_EQ(svgContent(c.element), c.content) << c.element;
}

TEST(SvgShapes, RectangleRadii) {
    // Each case: the rectangle, then the first point of its path and the
    // end point of its first corner.
    const struct {
        const char* element;
        const char* start;
        const char* corner;
    } cases[] = {
        // rx alone rounds every corner with ry = rx.
        {R"~(<rect width="40" height="40" rx="4"/>)~", "3.000 -0.000 m", "30.000 -3.000 c"},
        // ry alone gives rx its value.
        {R"~(<rect width="40" height="40" ry="4"/>)~", "3.000 -0.000 m", "30.000 -3.000 c"},
        // rx beyond half the width is cut to it.
        {R"~(<rect width="40" height="80" rx="30"/>)~", "15.000 -0.000 m", "30.000 -15.000 c"},
        // ry 0 with rx beyond half the height: ry takes rx uncut.
        {R"~(<rect width="80" height="20" rx="30" ry="0"/>)~", "22.500 -0.000 m", "60.000 -22.500 c"},
        // ry beyond half the height is cut.
        {R"~(<rect width="80" height="20" rx="30" ry="30"/>)~", "22.500 -0.000 m", "60.000 -7.500 c"},
    };
    for (const auto& c : cases) {
        const std::string content = svgContent(c.element);
        EXPECT_NE(content.find(c.start), std::string::npos) << c.element << "\n" << content;
        EXPECT_NE(content.find(c.corner), std::string::npos) << c.element << "\n" << content;
        EXPECT_EQ(kivutest::countOperator(content, "c"), 4u) << c.element;
    }
}

TEST(SvgShapes, PercentagesReferToTheDocumentAndUnitsReadZero) {
    // The document is 200 x 100 pixels; x and width against 200, y and height against 100.
    const std::string content =
        svgContent(R"~(<rect x="10%" y="10%" width="50%" height="10px"/><rect x="1" y="1" width="5mm" height="5"/>)~",
                   R"~(width="200" height="100")~");
    EXPECT_EQ(content.find(" l h "), std::string::npos) << "a height in px reads 0, a width in mm too:\n" << content;
}

TEST(SvgShapes, BadNumbersStopTheReading) {
    // The first shape reads; the bad one ends the reading, so nothing behind it stays.
    for (const char* bad : {R"~(<line x1="a"/>)~", R"~(<polygon points="0,0 - 10,10 5,5"/>)~",
                            R"~(<polygon points="1.2.3,0 1,1 2,2"/>)~"}) {
        auto img = kivutest::readSvg(kivutest::svgDocument(std::string("<rect width=\"1\" height=\"1\"/>") + bad +
                                                           "<circle r=\"1\"/>"));
        EXPECT_EQ(img->elements().size(), 1u) << bad;
    }
}
