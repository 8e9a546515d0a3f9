#include <gtest/gtest.h>

#include <chrono>

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/indirectobj.h"
#include "kivuimg/img/libmain.h"
#include "tests/builders.h"

using namespace kivu;
using kivutest::readSvg;
using kivutest::svgContent;
using kivutest::svgDocument;

namespace {

// The frame of a rectangle with the default style at the scale 0.75; a
// rectangle from (x, y) of size w x h, in the converter's own numbers.
std::string rectFrame(const char* fill, const std::string& path) {
    return std::string(" q ") + fill + " /GS1 gs  /GS2 gs  " + path + " f \n Q\n";
}

}  // namespace

TEST(SvgDocument, SizeAndViewBox) {
    const struct {
        const char* root;
        int width, height;
        float scale, scaleY, boxWidth, boxHeight;
    } cases[] = {
        {R"~(viewBox="0 0 100 50")~", 99, 49, 0.75f, 1.0f, 75.0f, -37.5f},
        // Split at single blanks: commas make one piece, so no view box.
        {R"~(viewBox="0,0,100,50")~", 377, 377, 0.75f, 1.0f, 283.55388f, -283.55388f},
        // Only the width decides the scale; the height comes from the view box as millimetres.
        {R"~(width="200mm" viewBox="0 0 100 50")~", 755, 188, 5.6710775f, 7.5614367f, 567.10775f, -283.55388f},
        {R"~(width="200mm" height="10mm" viewBox="0 0 100 50")~", 755, 37, 5.6710775f, 7.5614367f, 567.10775f,
         -283.55388f},
        {R"~(height="50mm" viewBox="0 0 100 50")~", 377, 188, 2.8355387f, 3.7807183f, 283.55388f, -141.77694f},
        {"", 377, 377, 0.75f, 1.0f, 283.55388f, -283.55388f},
        {R"~(width="100%" height="  ")~", 377, 377, 0.75f, 1.0f, 283.55388f, -283.55388f},
        {R"~(width="200" height="100")~", 199, 99, 0.75f, 1.0f, 150.04726f, -75.02363f},
    };
    for (const auto& c : cases) {
        auto img = readSvg(svgDocument("", c.root));
        EXPECT_EQ(img->width(), c.width) << c.root;
        EXPECT_EQ(img->height(), c.height) << c.root;
        EXPECT_FLOAT_EQ(img->documentScale(), c.scale) << c.root;
        EXPECT_FLOAT_EQ(img->documentScaleY(), c.scaleY) << c.root;
        EXPECT_FLOAT_EQ(img->viewWidth(), c.boxWidth) << c.root;
        EXPECT_FLOAT_EQ(img->viewHeight(), c.boxHeight) << c.root;
    }
}

TEST(SvgDocument, ValuesAgainstTheDocumentSize) {
    auto img = readSvg(svgDocument("", R"~(width="200" height="100")~"));
    ASSERT_EQ(img->width(), 199);
    const struct {
        const char* text;
        float x;
    } cases[] = {{"%", 0}, {"50%", 99.5f}, {"0%", 0}, {"-10%", -10}, {"12", 12}, {"12px", 0}, {"", 0}, {"1e999", 0}};
    for (const auto& c : cases) EXPECT_FLOAT_EQ(img->convertValueX(c.text), c.x) << c.text;
    EXPECT_FLOAT_EQ(img->convertValueY("50%"), 49.5f);
}

TEST(SvgDocument, FormObjectAndGroup) {
    auto img = readSvg(svgDocument("", R"~(viewBox="10 20 100 50")~"));
    auto e = kivutest::emitSvg(*img);
    EXPECT_EQ(e.form, 3u);
    EXPECT_EQ(e.content, "");
    auto* form = e.objects->get(3);
    EXPECT_EQ(form->comment(), "Image/SVG");
    EXPECT_EQ(form->args("BBox").value, "[7.500 -15.000 82.500 -52.500]");
    EXPECT_EQ(form->args("Group").value, "4 0 R");
    EXPECT_EQ(e.objects->get(4)->comment(), "SVG/Transparency");
    EXPECT_TRUE(img->isFormObject() && img->hasMask());
    EXPECT_FALSE(img->has2Pass());
}

TEST(SvgDocument, EmissionConsumesTheTreeAndCopiesEmitTheSame) {
    auto img = readSvg(svgDocument(R"~(<g transform="scale(2)"/><rect width="4" height="4" fill="red"/>)~"));
    auto copy = img->getCopy();
    const std::string first = kivutest::emitSvg(*img).content;
    EXPECT_EQ(first, "q  2.000 0 0 2.000 0 0 cm Q\n" +
                         rectFrame("1.000 0.000 0.000 rg ",
                                   "0.000 -0.000 m 3.000 -0.000 l 3.000 -3.000 l 0.000 -3.000 l 0.000 -0.000 l h "));
    EXPECT_EQ(kivutest::emitSvg(*img).content, "") << "the tree is gone";
    EXPECT_EQ(kivutest::emitSvg(static_cast<TImageSVG&>(*copy)).content, first);
    EXPECT_EQ(copy->width(), img->width());
}

TEST(SvgDocument, RootNameAndElementNames) {
    EXPECT_EQ(readSvg("<SVG><rect width=\"1\" height=\"1\"/></SVG>")->elements().size(), 0u);
    EXPECT_EQ(readSvg("not xml at all")->elements().size(), 0u);
    EXPECT_EQ(readSvg(svgDocument("<RECT width=\"1\" height=\"1\"/><Circle r=\"1\"/><unknown><rect/></unknown>"))
                  ->elements()
                  .size(),
              2u);
}

TEST(SvgDocument, OverflowHiddenPullsPointsIntoTheBox) {
    auto hidden = readSvg(svgDocument("", R"~(width="10.7mm" height="10" overflow="hidden")~"));
    const struct {
        SPoint in, out;
    } cases[] = {{{5, -5}, {5, -5}}, {{20, 3}, {10, 0}}, {{-1, -20}, {0, -10}}};
    for (const auto& c : cases) EXPECT_EQ(hidden->overFlow(c.in), c.out) << c.in.x << "," << c.in.y;
    auto visible = readSvg(svgDocument("", R"~(width="10" height="10" overflow="visible")~"));
    EXPECT_EQ(visible->overFlow(SPoint(20, 3)), SPoint(20, 3));
}

TEST(SvgTree, UseReachesWhatItsScopeAllows) {
    const struct {
        const char* body;
        size_t rects;  // rectangles drawn
    } cases[] = {
        {R"~(<rect id="r" width="4" height="4"/><use href="#r"/>)~", 2},
        {R"~(<use href="#r"/><rect id="r" width="4" height="4"/>)~", 1},
        {R"~(<g><rect id="r" width="4" height="4"/></g><use xlink:href="#r"/>)~", 2},
        {R"~(<defs><rect id="r" width="4" height="4"/></defs><use href="#r"/>)~", 0},
        {R"~(<g><defs><rect id="r" width="4" height="4"/></defs><use href="#r"/></g>)~", 1},
        {R"~(<g><symbol><rect id="r" width="4" height="4"/></symbol><use href="#r"/></g>)~", 2},
        {R"~(<rect id="r" width="4" height="4"/><g><use href="#r"/></g>)~", 1},
        {R"~(<defs><rect id="r" width="4" height="4"/><use href="#r"/></defs><g><use href="#r"/></g>)~", 0},
        {R"~(<symbol><symbol><rect width="4" height="4"/></symbol><defs><g/></defs></symbol>)~", 0},
        {R"~(<rect id="rr" width="4" height="4"/><use href="rr"/><use href="#"/>)~", 2},
    };
    for (const auto& c : cases) {
        const std::string content = svgContent(c.body);
        EXPECT_EQ(kivutest::countOperator(content, "h"), c.rects) << c.body << "\n" << content;
        EXPECT_TRUE(kivutest::balancedSaves(content)) << c.body;
    }
}

TEST(SvgTree, CloneTakesWhatTheTargetLeavesOpen) {
    const std::string content = svgContent(
        R"~(<rect id="r" x="4" width="4" height="4" fill="blue"/><use href="#r" x="40" fill="red" stroke="red"/>)~");
    // The target's own x and fill win; the stroke is new.
    EXPECT_EQ(kivutest::countOperator(content, "3.000"), 6u) << content;
    EXPECT_NE(content.find("0.000 0.000 1.000 rg 1.000 0.000 0.000 RG"), std::string::npos) << content;
    EXPECT_EQ(content.find("1.000 0.000 0.000 rg"), std::string::npos) << content;
}

TEST(SvgTree, SymbolsDrawAtTheirPosition) {
    const std::string body = R"~(<symbol id="s" x="4" y="8" transform="scale(2)"><rect width="4" height="4"/></symbol>)~";
    EXPECT_EQ(svgContent(body).rfind("q  2.000 0 0 2.000 0 0 cm  1 0 0 1 3.000 -6.000 cm  q ", 0), 0u);
    const std::string used = svgContent(R"~(<g><symbol id="s"><rect width="4" height="4"/></symbol><use href="#s" x="40"/></g>)~");
    EXPECT_NE(used.find("q  1 0 0 1 30.000 -0.000 cm  q"), std::string::npos) << used;
    EXPECT_TRUE(kivutest::balancedSaves(used));
}

TEST(SvgHostile, EntitiesStayOutside) {
    const auto start = std::chrono::steady_clock::now();
    std::string laughs = R"~(<?xml version="1.0"?><!DOCTYPE svg [<!ENTITY a "ha">)~";
    for (char c = 'b'; c <= 'l'; ++c) {
        laughs += std::string("<!ENTITY ") + c + " \"";
        for (int k = 0; k < 10; ++k) laughs += std::string("&") + char(c - 1) + ";";
        laughs += "\">";
    }
    laughs += "]>" + svgDocument("<style>.x{&l;}</style><rect class=\"x\" width=\"1\" height=\"1\"/>");
    auto bomb = readSvg(laughs);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
    for (const auto& [name, body] : bomb->classes()) EXPECT_LT(body.size(), 1000u);

    auto outside = readSvg(R"~(<?xml version="1.0"?><!DOCTYPE svg [<!ENTITY x SYSTEM "file:///etc/passwd">]>)~" +
                           svgDocument("<style>.x{&x;}</style>"));
    for (const auto& [name, body] : outside->classes()) EXPECT_EQ(body.find("root:"), std::string::npos);
}

TEST(SvgHostile, UseExpansionAndNestingAreBounded) {
    // Every level holds its inner level and two clones of it: 3^n rectangles.
    std::string body = R"~(<rect id="l0" width="1" height="1"/>)~";
    for (int i = 1; i <= 12; ++i) {
        const std::string inner = "l" + std::to_string(i - 1);
        body = "<g id=\"l" + std::to_string(i) + "\">" + body + "<use href=\"#" + inner + "\"/><use href=\"#" + inner +
               "\"/></g>";
    }
    const uint64_t budget = maxSvgElements();
    maxSvgElements(10000);
    EXPECT_THROW(readSvg(svgDocument(body)), KivuException);
    maxSvgElements(budget);

    std::string deep;
    for (int i = 0; i < 250; ++i) deep += "<g>";
    deep += "<rect width=\"1\" height=\"1\"/>";
    for (int i = 0; i < 250; ++i) deep += "</g>";
    EXPECT_EQ(readSvg(svgDocument(deep))->elements().size(), 0u);
}
