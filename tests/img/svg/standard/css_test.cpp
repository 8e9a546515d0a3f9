#include "kivuimg/img/svg/standard/css.h"

#include <gtest/gtest.h>

#include <string>

#include "kivuimg/img/svg/standard/document.h"
#include "kivuimg/img/svg/standard/properties.h"

using namespace kivu::stdsvg;

namespace {

std::unique_ptr<TSvgDocument> read(const std::string& body) {
    const std::string text = "<svg xmlns='http://www.w3.org/2000/svg'>" + body + "</svg>";
    auto doc = std::make_unique<TSvgDocument>();
    TSvgBudget budget(kDefaultSvgBytes, 1000000);
    doc->read(std::span(reinterpret_cast<const uint8_t*>(text.data()), text.size()), SReadLimits{}, budget);
    return doc;
}

// The computed style of an element where it stands.
SStyle styleOf(const TSvgNode& node) {
    return computeStyle(node.declarations, node.parent ? styleOf(*node.parent) : SStyle{});
}

}  // namespace

TEST(StandardCss, SelectorsMatch) {
    const auto doc = read(
        "<g id='outer' class='x'><g><rect id='r' class='a b' x='1' lang='en-GB'/><circle id='c'/></g></g>");
    const TSvgNode& r = *doc->byId("r");
    const struct {
        const char* selector;
        bool matches;
    } cases[] = {
        {"rect", true},         {"*", true},          {"#r", true},           {".a.b", true},
        {".a.c", false},        {"rect.a#r", true},   {"g rect", true},       {"svg > g > g > rect", true},
        {"svg > rect", false},  {"#outer rect", true}, {".x > rect", false},  {"[x]", true},
        {"[x='1']", true},      {"[class~=b]", true}, {"[lang|=en]", true},   {"[id^=r]", true},
        {"rect:first-child", true}, {"rect:last-child", false}, {"rect + circle", false},
        {"rect:not(.c)", true}, {"rect:hover", false}, {"g#outer * rect", true}, {"rect::before", false},
    };
    for (const auto& c : cases) EXPECT_EQ(selectorMatches(c.selector, r), c.matches) << c.selector;
    EXPECT_TRUE(selectorMatches("rect + circle", *doc->byId("c")));
    EXPECT_TRUE(selectorMatches("rect ~ circle:nth-child(2)", *doc->byId("c")));
}

TEST(StandardCss, CascadeAndInheritance) {
    const struct {
        const char* body;
        kivu::stdsvg::SRgba fill;
    } cases[] = {
        // Specificity, then order; !important above the style attribute.
        {"<style>#e{fill:green} rect{fill:red}</style><rect id='e' fill='blue'/>", {0, 0.5f, 0, 1}},
        {"<style>.a{fill:red} .a{fill:green}</style><rect id='e' class='a'/>", {0, 0.5f, 0, 1}},
        {"<style>rect{fill:green!important}</style><rect id='e' style='fill:red'/>", {0, 0.5f, 0, 1}},
        {"<style>rect{fill:red}</style><rect id='e' style='fill:green'/>", {0, 0.5f, 0, 1}},
        // An invalid declaration is as if not given: the next one wins.
        {"<style>rect{fill:green}</style><rect id='e' style='fill:nocolour'/>", {0, 0.5f, 0, 1}},
        // A sheet after the element, comments, several sheets.
        {"<rect id='e'/><style>/* x */ rect { fill: red }</style><style>rect{fill:green}</style>", {0, 0.5f, 0, 1}},
        // Inheritance, "inherit", and currentColor with the element's own colour.
        {"<g fill='green'><rect id='e'/></g>", {0, 0.5f, 0, 1}},
        {"<g fill='green'><rect fill='red'><circle/></rect><rect id='e' fill='inherit'/></g>", {0, 0.5f, 0, 1}},
        {"<g color='red'><rect id='e' color='green' fill='currentColor'/></g>", {0, 0.5f, 0, 1}},
    };
    for (const auto& c : cases) {
        const auto doc = read(c.body);
        const SStyle s = styleOf(*doc->byId("e"));
        SRgba rgba = s.fill.kind == SPaint::currentColor ? s.color : s.fill.rgba;
        EXPECT_NEAR(rgba.r, c.fill.r, 0.01) << c.body;
        EXPECT_NEAR(rgba.g, c.fill.g, 0.01) << c.body;
    }
}

TEST(StandardCss, FontProperties) {
    const auto doc = read(
        "<g font-size='20' font-family='serif' text-anchor='middle' opacity='0.5'>"
        "<text id='a' font-size='2em'/><text id='b' style='font: italic bold 12px/1.2 \"DejaVu Sans\", sans-serif'/>"
        "<text id='c' font-size='larger' font-weight='bolder'/></g>");
    const SStyle a = styleOf(*doc->byId("a")), b = styleOf(*doc->byId("b")), c = styleOf(*doc->byId("c"));
    EXPECT_FLOAT_EQ(a.fontSize, 40);
    EXPECT_EQ(a.textAnchor, TextAnchor::middle);
    EXPECT_EQ(a.opacity, 1);  // not inherited
    EXPECT_FLOAT_EQ(b.fontSize, 12);
    EXPECT_EQ(b.fontFamily, "\"DejaVu Sans\", sans-serif");
    EXPECT_EQ(b.fontWeight, 700);
    EXPECT_EQ(b.fontStyle, 1);
    EXPECT_FLOAT_EQ(c.fontSize, 24);
    EXPECT_EQ(c.fontWeight, 700);
}

TEST(StandardCss, SelectorListKeepsOneBody) {
    TStyleSheet sheet;
    std::string text;
    for (int i = 0; i < 200; ++i) text += (i ? ",.a" : ".a");
    sheet.parse(text + "{fill:green;stroke:red}");
    EXPECT_EQ(sheet.size(), 200u);
    EXPECT_LT(sheet.bytes(), text.size() + 64);
    TStyleSheet bad;
    bad.parse(".a, $b { fill: red } rect { fill: green }");
    EXPECT_EQ(bad.size(), 1u);  // a bad selector drops its whole rule
}
