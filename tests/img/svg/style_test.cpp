#include <gtest/gtest.h>

#include "kivuimg/commons/extgstateobj.h"
#include "tests/builders.h"

using namespace kivu;
using kivutest::svgContent;

namespace {

// The operators a rectangle writes before its path, and the painting
// operator after it, at the default scale of 0.75.
struct Painted {
    std::string before;
    std::string after;
};

Painted paintOf(const std::string& element, const std::string& head = "") {
    const std::string content = svgContent(head + element);
    // The last shape of the content: " q " ... path ... " Q\n".
    const size_t q = content.rfind(" q ");
    const size_t m = content.find(" m ", q);
    const size_t path = m == std::string::npos ? std::string::npos : content.rfind("  ", m);
    const size_t end = content.rfind(" Q\n");
    if (q == std::string::npos || path == std::string::npos || end == std::string::npos) return {content, ""};
    const size_t h = content.rfind(" h ", end);
    return {content.substr(q + 3, path + 2 - (q + 3)), content.substr(h + 3, end - (h + 3))};
}

const std::string kRect = R"~(width="4" height="4")~";

}  // namespace

TEST(SvgStyle, StyleTextAttributesAndParents) {
    const struct {
        const char* element;
        const char* before;
        const char* after;
    } cases[] = {
        {R"~(<rect style="fill:red" fill="blue" width="4" height="4"/>)~", "0.000 0.000 1.000 rg  /GS1 gs  /GS2 gs  ",
         " f \n"},
        {R"~(<rect style="fill:red;fill:green" width="4" height="4"/>)~", "0.000 0.502 0.000 rg  /GS1 gs  /GS2 gs  ",
         " f \n"},
        {R"~(<rect style="fill:rgb(255, 0, 0);fill:rgb(0,0,255)" width="4" height="4"/>)~",
         "1.000 0.000 0.000 rg  /GS1 gs  /GS2 gs  ", " f \n"},
        {R"~(<g fill="red"><rect style="fill:inherit" width="4" height="4"/></g>)~",
         "1.000 0.000 0.000 rg  /GS1 gs  /GS2 gs  ", " f \n"},
        {R"~(<rect fill="none" stroke="#00f" stroke-width="2" width="4" height="4"/>)~",
         "0.000 0.000 1.000 RG 1.500 w   0 j  0 J  /GS1 gs  /GS2 gs  ", " S \n"},
        {R"~(<rect style="stroke:rgb(0,0,255);stroke-linejoin:round;stroke-linecap:square;fill-rule:evenodd" width="4" height="4"/>)~",
         "0.000 0.000 0.000 rg 0.000 0.000 1.000 RG 1.000 w  1 j  2 J  /GS1 gs  /GS2 gs  ", " B* \n"},
        {R"~(<rect fill-rule="evenodd" width="4" height="4"/>)~", "0.000 0.000 0.000 rg  /GS1 gs  /GS2 gs  ", " f* \n"},
        {R"~(<rect color="#f00" fill="currentColor" stroke="currentColor" width="4" height="4"/>)~",
         "1.000 0.000 0.000 rg 1.000 0.000 0.000 RG 0.198 w  /GS1 gs  /GS2 gs  ", " B \n"},
        {R"~(<rect fill="currentColor" width="4" height="4"/>)~", " /GS1 gs  /GS2 gs  ", " n \n"},
        {R"~(<rect fill="url(#nowhere)" width="4" height="4"/>)~", " /GS1 gs  /GS2 gs  ", " n \n"},
        {R"~(<rect style="stroke:url(#g)" width="4" height="4"/>)~", "0.000 0.000 0.000 rg  /GS1 gs  /GS2 gs  ",
         " f \n"},
        {R"~(<rect stroke="red" style="stroke-miterlimit:4.5" width="4" height="4"/>)~",
         "0.000 0.000 0.000 rg 1.000 0.000 0.000 RG 1.000 w   0 j  0 J 4.00 M  /GS1 gs  /GS2 gs  ", " B \n"},
        {R"~(<rect fill="Red" width="4" height="4"/>)~", " /GS1 gs  /GS2 gs  ", " n \n"},
    };
    for (const auto& c : cases) {
        const Painted p = paintOf(c.element);
        EXPECT_EQ(p.before, c.before) << c.element;
        EXPECT_EQ(p.after, c.after) << c.element;
    }
}

TEST(SvgStyle, DashOperators) {
    const struct {
        const char* dash;
        const char* ops;
    } cases[] = {
        {"stroke-dasharray:5 3", "[] 0 d "},
        {"stroke-dasharray:5,3", "[3.750 2.250 ] 0.000 d "},
        {"stroke-dasharray:5", "[3.750 3.750 ] 0.000 d "},
        {"stroke-dasharray:1,2,3", "[0.750 1.500 2.250 0.750 1.500 2.250 ] 0.000 d "},
        {"stroke-dasharray:0", "[] 0 d "},
        {"stroke-dasharray:4,4;stroke-dashoffset:2", "[3.000 3.000 ] 1.500 d "},
        {"stroke-dasharray:4,4\" stroke-dashoffset=\"-2", "[3.000 3.000 ] 0.000 d "},
    };
    for (const auto& c : cases) {
        const Painted p = paintOf(std::string(R"~(<rect style=")~") + c.dash + "\" " + kRect + "/>");
        EXPECT_NE(p.before.find(std::string(" rg ") + c.ops + " /GS1 gs"), std::string::npos) << c.dash << ": "
                                                                                              << p.before;
    }
}

TEST(SvgStyle, OpacityStatesAreSharedByValue) {
    auto img = kivutest::readSvg(kivutest::svgDocument(
        R"~(<rect style="opacity:0.5;fill-opacity:0.2" width="4" height="4"/>)~"
        R"~(<rect fill-opacity="0.2" stroke-opacity="0.5" width="4" height="4"/>)~"
        R"~(<rect style="opacity:abc" width="4" height="4"/>)~"));
    auto e = kivutest::emitSvg(*img);
    EXPECT_EQ(kivutest::countOperator(e.content, "/GS1"), 2u) << e.content;
    EXPECT_EQ(kivutest::countOperator(e.content, "/GS2"), 2u) << e.content;
    const auto& states = e.objects->customList(ObjectType::extGState);
    ASSERT_EQ(states.size(), 4u);
    const char* expected[] = {"0.2000", "0.5000", "0.0000", "0.0000"};
    for (size_t i = 0; i < states.size(); ++i) {
        const std::string key = i % 2 ? "CA" : "ca";
        EXPECT_EQ(states[i]->args(key).value, expected[i]) << i;
        EXPECT_EQ(states[i]->args("BM").value, "/Normal") << i;
    }
}

TEST(SvgStyle, ClassRulesAppendToTheStyleText) {
    const std::string sheet = "<style>.a { fill:blue } .b, rect,#x{stroke:blue} .a { opacity:0.5 }</style>";
    const struct {
        const char* element;
        const char* before;
    } cases[] = {
        {R"~(<rect class="a" width="4" height="4"/>)~", "0.000 0.000 1.000 rg  /GS1 gs  /GS2 gs  "},
        {R"~(<rect class="b" width="4" height="4"/>)~",
         "0.000 0.000 0.000 rg 0.000 0.000 1.000 RG 1.000 w   0 j  0 J  /GS1 gs  /GS2 gs  "},
        // The whole value is the key; appended text has no separator.
        {R"~(<rect class="a b" width="4" height="4"/>)~", "0.000 0.000 0.000 rg  /GS1 gs  /GS2 gs  "},
        // "fill:red" + "stroke:blue": the fill reads "redstroke", no colour.
        {R"~(<rect class="b" style="fill:red" width="4" height="4"/>)~",
         "0.000 0.000 1.000 RG 1.000 w   0 j  0 J  /GS1 gs  /GS2 gs  "},
    };
    for (const auto& c : cases) EXPECT_EQ(paintOf(c.element, sheet).before, c.before) << c.element;
}

TEST(SvgStyle, ColoursConvertToTheTargetSpace) {
    auto img = kivutest::readSvg(kivutest::svgDocument(R"~(<rect fill="#ff0000" stroke="#000" width="4" height="4"/>)~"));
    const std::string content = kivutest::emitSvg(*img, csCMYK, ciTransform).content;
    EXPECT_NE(content.find("0.000 1.000 1.000 0.000 k 1.000 1.000 1.000 1.000 K "), std::string::npos) << content;
}

TEST(SvgStyle, BadNumbersInAttributesStopTheReading) {
    for (const char* bad : {R"~(opacity="abc")~", R"~(stroke-opacity="x")~", R"~(stroke-dashoffset="2.5")~"}) {
        auto img = kivutest::readSvg(
            kivutest::svgDocument(std::string("<circle r=\"1\"/><rect ") + bad + " width=\"4\" height=\"4\"/>"));
        EXPECT_EQ(img->elements().size(), 1u) << bad;
    }
}
