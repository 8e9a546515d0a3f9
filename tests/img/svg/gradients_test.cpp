#include <gtest/gtest.h>

#include <cmath>

#include "kivuimg/commons/core/cstr.h"
#include "tests/builders.h"

using namespace kivu;
using kivutest::emitSvg;
using kivutest::readSvg;
using kivutest::svgDocument;

namespace {

// The gradient definitions and the elements that use them, emitted: the
// content and the records.
kivutest::SvgEmission emitted(const std::string& body) {
    auto img = readSvg(svgDocument(body));
    return emitSvg(*img);
}

// A 40 x 30 rectangle at (10, 20) filled with the gradient "g".
const char* const kRect = R"~(<rect x="10" y="20" width="40" height="30" fill="url(#g)"/>)~";
const char* const kTwoStops = R"~(<stop stop-color="#ff0000"/><stop offset="1" stop-color="#0000ff"/>)~";

std::string linear(const std::string& attributes, const std::string& stops = kTwoStops) {
    return "<linearGradient id=\"g\" " + attributes + ">" + stops + "</linearGradient>";
}

std::string radial(const std::string& attributes, const std::string& stops = kTwoStops) {
    return "<radialGradient id=\"g\" " + attributes + ">" + stops + "</radialGradient>";
}

std::vector<float> offsets(const SGradient& record) {
    std::vector<float> out;
    for (const SGradColor& c : record.colors) out.push_back(c.offset);
    return out;
}

std::string colours(const SGradient& record) {
    std::string out;
    for (const SGradColor& c : record.colors) out += c.color.toStr() + " ";
    return out;
}

}  // namespace

TEST(SvgGradients, LinearFillOperatorsAndRecord) {
    const auto e = emitted(linear(R"~(x1="0" y1="0" x2="1" y2="0")~") + kRect + kRect);
    const std::string rect = "7.500 -15.000 m 37.500 -15.000 l 37.500 -37.500 l 7.500 -37.500 l 7.500 -15.000 l h ";
    const std::string fill = " q q  /GS1 gs  /GS2 gs  " + rect + "W n  30.000 0 0 -22.500 7.500 -15.000 cm ";
    // Two uses, two records with consecutive numbers.
    EXPECT_EQ(e.content, fill + " /Sh1 sh  Q\n\n Q\n" + fill + " /Sh2 sh  Q\n\n Q\n");
    ASSERT_EQ(e.gradients.size(), 2u);
    const SGradient& g = e.gradients[0];
    EXPECT_EQ(g.shadingType, 2);
    EXPECT_TRUE(g.active);
    EXPECT_FALSE(g.hasAlpha);
    EXPECT_EQ(g.coords[0], 0.0f);
    EXPECT_EQ(g.coords[2], 1.0f);
    EXPECT_TRUE(std::isnan(g.coords[4]) && std::isnan(g.coords[5]));
    EXPECT_EQ(offsets(g), (std::vector<float>{0, 1}));
    EXPECT_EQ(colours(g), "#ff0000ff #0000ffff ");
}

TEST(SvgGradients, StopsAsRead) {
    const struct {
        const char* stops;
        std::vector<float> offsets;
        const char* colours;
    } cases[] = {
        // No colour is black, no offset is 0; the style text beats the attribute.
        {R"~(<stop/><stop offset="100%" style="stop-color:red" stop-color="blue"/>)~", {0, 1},
         "#000000ff #ff0000ff "},
        // Offsets are made non-decreasing.
        {R"~(<stop offset="0" stop-color="red"/><stop offset="0.5"/><stop offset="0.2" stop-color="blue"/>)~",
         {0, 1, 1}, "#ff0000ff #000000ff #0000ffff "},
        // A first stop beyond 0 gets a copy at 0.
        {R"~(<stop offset="0.25" stop-color="red"/><stop offset="1"/>)~", {0, 0.25f, 1}, "#ff0000ff #ff0000ff #000000ff "},
        // A translucent last-but-one stop: the last colour is repeated at 1.
        {R"~(<stop stop-color="red" stop-opacity="0.5"/><stop offset="0.5"/>)~", {0, 0.5f, 1},
         "#ff00007f #000000ff #000000ff "},
        // Stops all at one place: the last colour from there on.
        {R"~(<stop stop-color="red"/><stop stop-color="blue"/>)~", {0, 1}, "#ff0000ff #0000ffff "},
    };
    for (const auto& c : cases) {
        const auto e = emitted(linear(R"~(x2="1")~", c.stops) + kRect);
        ASSERT_EQ(e.gradients.size(), 1u) << c.stops;
        EXPECT_EQ(offsets(e.gradients[0]), c.offsets) << c.stops;
        EXPECT_EQ(colours(e.gradients[0]), c.colours) << c.stops;
    }
    // Alpha asks for the soft mask by name, before the shading.
    const auto e = emitted(linear(R"~(x2="1")~", R"~(<stop style="stop-opacity:0.5"/><stop offset="1"/>)~") + kRect);
    ASSERT_EQ(e.gradients.size(), 1u);
    EXPECT_TRUE(e.gradients[0].hasAlpha);
    EXPECT_NE(e.content.find("cm  /TGS1 gs  /Sh1 sh  Q\n"), std::string::npos) << e.content;
}

TEST(SvgGradients, SpreadsUnrollPastTheBox) {
    // Axis (0,0)-(1,0): one round each way reaches beyond the unit square.
    const auto repeat = emitted(linear(R"~(x2="1" spreadMethod="repeat")~") + kRect);
    ASSERT_EQ(repeat.gradients.size(), 1u);
    const SGradient& r = repeat.gradients[0];
    EXPECT_EQ(colours(r), "#ff0000ff #0000ffff #ff0000ff #0000ffff #ff0000ff #0000ffff ");
    EXPECT_EQ(offsets(r), (std::vector<float>{0, 1 / 3.0f, 1 / 3.0f, 2 / 3.0f, 2 / 3.0f, 1}));
    EXPECT_EQ(r.coords[0], -1.0f);
    EXPECT_EQ(r.coords[2], 2.0f);
    // Reflection mirrors the odd rounds.
    const auto reflect = emitted(linear(R"~(x2="1" spreadMethod="reflect")~") + kRect);
    EXPECT_EQ(colours(reflect.gradients.at(0)), "#0000ffff #ff0000ff #ff0000ff #0000ffff #0000ffff #ff0000ff ");
    // A radial spread goes outwards only, until the circles cover the box.
    const auto radialRepeat = emitted(radial(R"~(spreadMethod="repeat")~") + kRect);
    EXPECT_EQ(offsets(radialRepeat.gradients.at(0)).size(), 8u);
    EXPECT_FLOAT_EQ(radialRepeat.gradients[0].coords[5], 2.0f);
}

TEST(SvgGradients, BoxesAndUnits) {
    // userSpaceOnUse at an angle: a 100 x 200 box is made 200 x 200.
    auto e = emitted(linear(R"~(x1="0" y1="0" x2="100" y2="100" gradientUnits="userSpaceOnUse")~") +
                     R"~(<rect width="100" height="200" fill="url(#g)"/>)~");
    EXPECT_NE(e.content.find("W n  150.000 0 0 -150.000 0.000 -0.000 cm "), std::string::npos) << e.content;
    EXPECT_FLOAT_EQ(e.gradients.at(0).coords[2], 0.5f);
    EXPECT_FLOAT_EQ(e.gradients[0].coords[3], 0.5f);
    // Radial in the default units fills the box whatever cx says.
    e = emitted(radial(R"~(cx="10%")~") + kRect);
    EXPECT_NE(e.content.find("W n 30.000 0 0 -22.500 7.500 -15.000 cm  /Sh1 sh"), std::string::npos) << e.content;
    EXPECT_EQ(std::vector<float>(e.gradients.at(0).coords.begin(), e.gradients[0].coords.end()),
              (std::vector<float>{0.5f, 0.5f, 0.5f, 0.5f, 0, 0.5f}));
    // A focus outside the circle is pulled inside.
    e = emitted(radial(R"~(gradientUnits="userSpaceOnUse" cx="50%" cy="50%" r="25%" fx="100%" fy="50%")~") +
                R"~(<rect width="1" height="1" fill="url(#g)"/>)~");
    const auto& c = e.gradients.at(0).coords;
    const float distance = std::hypot(c[0] - 0.5f, c[1] - 0.5f);
    EXPECT_LT(distance, 0.25f);
    EXPECT_GT(distance, 0.24f);
    EXPECT_EQ(c[4], 0.0f);
    EXPECT_EQ(c[5], 0.25f);
}

TEST(SvgGradients, References) {
    // Stops come through href; cycles and missing targets end quietly.
    auto e = emitted(R"~(<linearGradient id="a">)~" + std::string(kTwoStops) +
                     R"~(</linearGradient><linearGradient id="g" x2="1" xlink:href="#a"/>)~" + kRect);
    EXPECT_EQ(offsets(e.gradients.at(0)), (std::vector<float>{0, 1}));
    for (const char* defs : {R"~(<linearGradient id="g" xlink:href="#g" x2="1"><stop/></linearGradient>)~",
                             R"~(<linearGradient id="f" href="#g"><stop/></linearGradient>)~"
                             R"~(<linearGradient id="g" href="#f" x2="1"><stop/></linearGradient>)~",
                             R"~(<linearGradient id="g" href="#none" x2="1"><stop/><stop/></linearGradient>)~"}) {
        e = emitted(std::string(defs) + kRect);
        EXPECT_EQ(e.gradients.size(), 1u) << defs;
    }
    // An id defined twice stops the reading there.
    auto img = readSvg(svgDocument(linear("") + R"~(<rect/>)~" + linear("") + R"~(<rect/>)~"));
    EXPECT_EQ(img->elements().size(), 1u);
}

TEST(SvgGradients, WhatCantBeDrawn) {
    // A coordinate with a unit fails the emission; so does a linear spread without stops.
    EXPECT_THROW(emitted(linear(R"~(x2="100%")~") + kRect), KivuException);
    EXPECT_THROW(emitted(linear(R"~(x2="1" spreadMethod="reflect")~", "") + kRect), KivuException);
    // One stop, or none for a radial gradient: no fill and no record.
    for (const std::string& defs : {linear(R"~(x2="1")~", "<stop/>"), radial(R"~(spreadMethod="repeat")~", "")}) {
        const auto e = emitted(defs + kRect);
        EXPECT_TRUE(e.gradients.empty()) << defs;
        EXPECT_EQ(e.content.find("sh"), std::string::npos) << defs;
        EXPECT_TRUE(kivutest::balancedSaves(e.content)) << e.content;
    }
    // Degenerate geometry stays bounded: the rounds stop at their cap.
    for (const std::string& defs :
         {radial(R"~(gradientUnits="userSpaceOnUse" r="0%" spreadMethod="reflect")~"),
          linear(R"~(x1="0.5" x2="0.5" spreadMethod="repeat")~"), linear(R"~(x2="1")~", "<stop offset=\"nan\"/><stop/>")}) {
        const auto e = emitted(defs + R"~(<rect width="0" height="0" fill="url(#g)"/>)~" + kRect);
        ASSERT_EQ(e.gradients.size(), 2u) << defs;
        EXPECT_LE(e.gradients[0].colors.size(), 2u * (2 * kMaxGradientRounds + 1)) << defs;
        for (const SGradColor& c : e.gradients[0].colors) EXPECT_TRUE(std::isfinite(c.offset)) << defs;
    }
}
