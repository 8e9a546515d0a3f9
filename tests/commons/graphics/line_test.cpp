#include "kivuimg/commons/graphics/line.h"

#include <gtest/gtest.h>

#include "kivuimg/commons/graphics/rect.h"
#include "kivuimg/commons/graphics/textdecoration.h"

namespace kivu {
namespace {

TEST(Line, ByStyleWordsAndDefaults) {
    const SLine l = SLine::byStyle("1pt dotted red");
    EXPECT_EQ(l.width.text, "1pt");
    EXPECT_EQ(l.style, lsDotted);
    EXPECT_EQ(l.color, SColor("red"));
    EXPECT_EQ(l.cap, lcButt);
    EXPECT_EQ(l.join, ljMiter);
    const SLine full = SLine::byStyle("2mm DASHED #00f ROUND bevel extra");
    EXPECT_EQ(full.style, lsDashed);
    EXPECT_EQ(full.cap, lcRound);
    EXPECT_EQ(full.join, ljBevel);
    const SLine empty = SLine::byStyle("");
    EXPECT_EQ(empty.width.text, "none");
    EXPECT_EQ(empty.style, lsSolid);
    EXPECT_EQ(empty.color, SColor("black"));
    EXPECT_FALSE(SLine::byStyle("1pt zigzag").enabled());
}

TEST(Line, EqualityByLengthInPointsIgnoringImage) {
    SLine a = SLine::byStyle("1in solid red");
    SLine b = SLine::byStyle("72pt solid red");
    b.image.src = "x.png";
    EXPECT_EQ(a, b);
    EXPECT_FALSE(a == SLine::byStyle("1in solid blue"));
    EXPECT_FALSE(a == SLine::byStyle("1in dotted red"));
    EXPECT_EQ(SLine::none(), SLine::none());
    SLine c;
    c = a;
    EXPECT_EQ(c, a);
}

TEST(Corner, EnabledByRadius) {
    SCorner c;
    c.radius = SUnit("0pt");
    c.line = SLine::def();
    EXPECT_FALSE(c.enabled());
    EXPECT_FALSE(c.hasLine());
    c.radius = SUnit("2mm");
    EXPECT_TRUE(c.enabled());
    EXPECT_TRUE(c.hasLine());
    c.line = SLine::none();
    EXPECT_FALSE(c.hasLine());
}

TEST(Rectangle, VisibilityCounts) {
    SRectangle r;
    EXPECT_FALSE(r.isVisible());
    EXPECT_FALSE(r.hasBackgrounds());
    r.borderMap["top"] = SLine::none();
    EXPECT_EQ(r.borders(), 0);
    EXPECT_FALSE(r.isVisible());
    r.borderMap["left"] = SLine::def();
    EXPECT_EQ(r.borders(), 1);
    EXPECT_TRUE(r.isVisible());

    SRectangle c;
    SCorner arc;
    arc.type = ctArc;
    c.cornerMap["tl"] = arc;
    c.cornerMap["tr"] = SCorner();
    EXPECT_EQ(c.arcs(), 1);
    EXPECT_EQ(c.sharps(), 1);
    EXPECT_TRUE(c.isVisible());

    SRectangle b;
    b.background = SColor("red");
    EXPECT_TRUE(b.hasBackgrounds());
    b.background = SColor("none");
    b.hasBackgroundImage = true;
    EXPECT_TRUE(b.hasBackgrounds());
    EXPECT_TRUE(b.isVisible());
}

TEST(TextDecoration, EnabledFromUnderlineWithALine) {
    STextDecoration t;
    t.line = SLine::def();
    t.decoration = decNone;
    EXPECT_FALSE(t.enabled());
    t.decoration = decUnderline;
    EXPECT_TRUE(t.enabled());
    t.line = SLine::none();
    EXPECT_FALSE(t.enabled());
}

}  // namespace
}  // namespace kivu
