// Text runs: what a run asks of the host, and the exact text object it
// writes once the host has answered.
#include "kivuimg/img/svg/text.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <functional>

#include <string>
#include <vector>

#include "kivuimg/commons/extgstateobj.h"
#include "kivuimg/img/svg/imagesvg.h"
#include "kivuimg/img/svg/transform.h"
#include "tests/builders.h"

namespace kivu {
namespace {

using kivutest::answerFonts;
using kivutest::emitSvg;
using kivutest::readSvg;
using kivutest::svgDocument;

// The Form's content with every request answered in `encoding`, font k for request k.
std::string textContent(const std::string& body, uint8_t encoding = 3) {
    auto img = readSvg(svgDocument(body));
    answerFonts(*img, encoding);
    return emitSvg(*img).content;
}

// One run's text object, at documentScale 0.75, with the font and paint
// parts given.
std::string run(const std::string& font, const std::string& place, const std::string& string) {
    return "q 1 0 0 1 0.00 0 cm q BT " + font + place + " Td " + string + " Tj ET Q\nQ\n";
}

const std::string kBlack = "0.000 0.000 0.000 rg ";

TEST(SvgText, RunsAndPositions) {
    struct Case {
        const char* what;
        std::string body;
        std::string content;
    } cases[] = {
        {"one run", R"(<text x="10" y="20" font-size="12">Hi</text>)",
         run("/F1 12.000 Tf /GS1 gs 0 Tr " + kBlack + "  ", "7.500 -15.000", "(Hi)")},
        // x and dx add up; a tspan starts from the run around it, not from
        // where the previous run ended; nesting goes through child, siblings
        // through next, written in that order.
        {"tspans", R"(<text x="10" y="20" dx="5" font-size="10">a<tspan dy="4">b<tspan x="2">c</tspan></tspan><tspan>d</tspan></text>)",
         run("/F1 10.000 Tf /GS1 gs 0 Tr " + kBlack + "  ", "11.250 -15.000", "(a)") +
             run("/F2 10.000 Tf /GS1 gs 0 Tr " + kBlack + "  ", "11.250 -18.000", "(b)") +
             run("/F3 10.000 Tf /GS1 gs 0 Tr " + kBlack + "  ", "1.500 -18.000", "(c)") +
             run("/F4 10.000 Tf /GS1 gs 0 Tr " + kBlack + "  ", "11.250 -15.000", "(d)")},
        // White space alone asks for nothing and draws nothing; its tspan draws.
        {"blank run", "<text x=\"4\">  \n <tspan>x</tspan></text>",
         run("/F1 8.000 Tf /GS1 gs 0 Tr " + kBlack + "  ", "3.000 -0.000", "(x)")},
        {"transform", R"~(<text transform="translate(10,0)">t</text>)~",
         "q " + transformationsToPDF("translate(10,0)", 0.75f) +
             run("/F1 8.000 Tf /GS1 gs 0 Tr " + kBlack + "  ", "0.000 -0.000", "(t)") + "Q\n"},
        // Decoration has no operators.
        {"decoration", R"(<text text-decoration="underline">u</text>)",
         run("/F1 8.000 Tf /GS1 gs 0 Tr " + kBlack + "  ", "0.000 -0.000", "(u)")},
    };
    for (const Case& c : cases) EXPECT_EQ(textContent(c.body), c.content) << c.what;
}

TEST(SvgText, PaintModes) {
    const std::string red = "1.000 0.000 0.000 ";
    struct Case {
        const char* attributes;
        std::string paint;  // "" when nothing is drawn
    } cases[] = {
        {R"(fill="red")", "/GS1 gs 0 Tr " + red + "rg   "},
        {R"(fill="none" stroke="red")", "/GS1 gs 1 Tr  " + red + "RG 1.000 w 1 J 1 j  "},
        {R"(stroke="red" stroke-width="2pt")", "/GS1 gs 2 Tr " + kBlack + " " + red + "RG 2.000 w 1 J 1 j  "},
        // A stroke of no width keeps its colour but not its mode.
        {R"(stroke="red" stroke-width="0")", "/GS1 gs 0 Tr " + kBlack + " " + red + "RG  "},
        {R"(fill="none" stroke="red" stroke-width="0")", ""},
        {R"(fill="none")", ""},
    };
    for (const Case& c : cases) {
        const std::string child = "<tspan>c</tspan>";
        const std::string content = textContent(std::string("<text ") + c.attributes + ">p" + child + "</text>");
        const std::string own = c.paint.empty() ? "" : run("/F1 8.000 Tf " + c.paint, "0.000 -0.000", "(p)");
        // The child inherits the paint, so it is drawn alike, or not at all.
        const std::string childRun = c.paint.empty() ? "" : run("/F2 8.000 Tf " + c.paint, "0.000 -0.000", "(c)");
        EXPECT_EQ(content, own + childRun) << c.attributes;
    }
    // A run that paints nothing still lets its children draw.
    EXPECT_NE(textContent(R"(<text fill="none">p<tspan fill="blue">c</tspan></text>)").find("(c)"), std::string::npos);
}

TEST(SvgText, EveryRunHasItsGraphicsState) {
    auto img = readSvg(svgDocument(R"(<text fill-opacity="0.5" stroke-opacity="2">a</text><text>b</text>)"));
    answerFonts(*img, 3);
    const auto e = emitSvg(*img);
    EXPECT_NE(e.content.find("/GS1 gs 0 Tr"), std::string::npos);
    EXPECT_NE(e.content.find("/GS2 gs 0 Tr"), std::string::npos);
    const auto& states = e.objects->customList(ObjectType::extGState);
    ASSERT_EQ(states.size(), 2u);
    EXPECT_EQ(states[0]->args("ca").value, "0.500000");
    EXPECT_EQ(states[0]->args("CA").value, "1.000000");
    EXPECT_EQ(states[0]->args("BM").value, "/Normal");
    EXPECT_EQ(states[1]->args("ca").value, "1.000000");
}

TEST(SvgText, EachEncodingsStringForm) {
    // "A", e-acute, euro sign, Cyrillic zhe, "(".
    const std::string body = "<text>A\xC3\xA9\xE2\x82\xAC\xD0\x96(</text>";
    const std::string utf16("(\x00\x41\x00\xE9\x20\xAC\x04\x16\x00\\()", 13);
    struct Case {
        uint8_t encoding;
        std::string string;
    } cases[] = {
        {0, utf16},
        {1, "(A\\()"},  // units above 127 dropped
        {2, utf16},
        {3, "(A\xE9\x80?\\()"},  // Windows-1252
        {9, "(A\xE9\x80?\\()"},
    };
    for (const Case& c : cases) {
        auto img = readSvg(svgDocument(body));
        answerFonts(*img, c.encoding);
        EXPECT_EQ(emitSvg(*img).content,
                  run("/F1 8.000 Tf /GS1 gs 0 Tr " + kBlack + "  ", "0.000 -0.000", c.string))
            << int(c.encoding);
        // Dropped characters warn once per document.
        EXPECT_EQ(img->firstIndexedWarning(), c.encoding != 1) << int(c.encoding);
    }
}

TEST(SvgText, FontRequests) {
    auto img = readSvg(svgDocument(R"(<g font-size="30"><text font-family="Arial" font-weight="BOLD" font-style="Italic">
          one <tspan font-family="Courier">two</tspan><tspan>one</tspan></text><text font-weight="bold" font-style="italic" font-family="Arial">one</text></g>)"));
    const std::vector<SRawFont> fonts = img->getRawFonts();
    ASSERT_EQ(fonts.size(), 2u);  // equal requests are one entry
    EXPECT_EQ(fonts[0].family, "Arial");
    EXPECT_EQ(fonts[0].weight, "bold");
    EXPECT_EQ(fonts[0].style, "italic");
    EXPECT_EQ(fonts[0].text, "one");
    EXPECT_EQ(fonts[1].family, "Courier");
    EXPECT_TRUE(img->has2Pass());
    // The answer reaches every equal run: no run is left on font 0.  A
    // group's font size isn't read.
    answerFonts(*img, 3);
    const std::string content = emitSvg(*img).content;
    EXPECT_NE(content.find("/F1 8.000 Tf"), std::string::npos);
    EXPECT_NE(content.find("/F2 8.000 Tf"), std::string::npos);
    EXPECT_EQ(kivutest::countOperator(content, "/F1"), 3u);
    EXPECT_EQ(kivutest::countOperator(content, "/F0"), 0u);
    EXPECT_FALSE(readSvg(svgDocument("<text> </text>"))->has2Pass());
}

TEST(SvgText, CopiesEmitAlike) {
    auto img = readSvg(svgDocument(R"(<g><defs><text id="t" x="3">a<tspan>b<tspan>c</tspan></tspan><tspan>d</tspan></text></defs>
        <use href="#t" y="5"/></g><text>e<tspan>f</tspan></text>)"));
    answerFonts(*img, 3);
    auto copy = img->getCopy();
    const std::string original = emitSvg(*img).content;
    EXPECT_EQ(emitSvg(static_cast<TImageSVG&>(*copy)).content, original);
    EXPECT_EQ(kivutest::countOperator(original, "Tj"), 6u);
}

// Runs `work` on a thread with a stack of 512 KB.
void onSmallStack(const std::function<void()>& work) {
    pthread_attr_t attr;
    pthread_attr_init(&attr);
    pthread_attr_setstacksize(&attr, 512 << 10);
    pthread_t thread;
    auto call = [](void* f) -> void* {
        (*static_cast<const std::function<void()>*>(f))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attr, call, const_cast<std::function<void()>*>(&work)), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attr);
}

// Thousands of sibling tspans on a small stack: reading, copying, answering,
// writing and destroying walk the chain without a stack frame per sibling.
TEST(SvgText, LongChainsOfSiblings) {
    std::string body = "<text>head";
    for (int i = 0; i < 20000; ++i) body += "<tspan>" + std::to_string(i % 7) + "</tspan>";
    body += "</text>";
    std::string content;
    size_t requests = 0;
    onSmallStack([&] {
        auto img = readSvg(svgDocument(body));
        requests = img->getRawFonts().size();
        answerFonts(*img, 3);
        auto copy = img->getCopy();
        content = emitSvg(static_cast<TImageSVG&>(*copy)).content;
    });
    EXPECT_EQ(requests, 8u);
    EXPECT_EQ(kivutest::countOperator(content, "Tj"), 20001u);
    EXPECT_TRUE(kivutest::balancedSaves(content));
}

TEST(SvgText, HostileTextConvertsOrFallsBack) {
    struct Case {
        std::string text;
        size_t runs;  // 0: the parser refuses the document, which draws nothing
    } cases[] = {
        {"&#xFFFD;\t\n tab and line &#x85;&#x9F;", 1},
        {"((((\\ )", 1},
        {"\xF0\x9F\x98\x80 &#x10FFFF;", 1},
        {"\xFF\xFE bad \xC3", 0},
        {"\x01 &#x1;", 0},
    };
    for (const Case& c : cases) {
        for (uint8_t encoding : {0, 1, 3}) {
            const std::string content = textContent("<text>x" + c.text + "y</text>", encoding);
            EXPECT_EQ(kivutest::countOperator(content, "Tj"), c.runs) << c.text;
            EXPECT_TRUE(kivutest::balancedSaves(content));
        }
    }
}

}  // namespace
}  // namespace kivu
