#include "kivuimg/commons/graphics/color.h"

#include <gtest/gtest.h>

#include <cmath>
#include <utility>
#include <vector>

#include "kivuimg/commons/core/cstr.h"

namespace kivu {
namespace {

const TRGBA& rgb(const SColor& c) { return dynamic_cast<const TRGBA&>(*c.space); }
const TCMYK& cmyk(const SColor& c) { return dynamic_cast<const TCMYK&>(*c.space); }
const TGray& gray(const SColor& c) { return dynamic_cast<const TGray&>(*c.space); }

TEST(ColorChoice, FirstCharactersAndPrefixesChooseTheSpace) {
    EXPECT_EQ(SColor("@0000").cs(), csCMYK);
    EXPECT_EQ(SColor("#fff").cs(), csRGB);
    EXPECT_EQ(SColor("50%").cs(), csGray);
    EXPECT_EQ(SColor("rgba(1,0,0,1)").cs(), csRGB);
    EXPECT_EQ(SColor("rgb(1,0,0)").cs(), csRGB);
    EXPECT_EQ(SColor("cmyk(0,0,0,1)").cs(), csCMYK);
    EXPECT_EQ(SColor("gray(0.5)").cs(), csGray);
    EXPECT_EQ(SColor("spot1").cs(), csSpot);
    EXPECT_EQ(SColor("red").cs(), csRGB);
    EXPECT_EQ(SColor("none").cs(), csNone);
    // The prefix and name tests are case-sensitive.
    EXPECT_EQ(SColor("Red").cs(), csNone);
    EXPECT_EQ(SColor("RGB(1,0,0)").cs(), csNone);
    EXPECT_EQ(SColor("Red").space->text(), "Red");
}

TEST(ColorChoice, ShortTextHoldsNoSpaceWithDefinedResults) {
    for (const SColor& c : {SColor(), SColor(""), SColor("r")}) {
        EXPECT_FALSE(c.hasSpace());
        EXPECT_EQ(c.toStr(), "");
        EXPECT_EQ(c.toPDF(), "");
        EXPECT_EQ(c.toOUT(), "");
        EXPECT_FALSE(c.enabled());
        EXPECT_EQ(c.alpha(), 1.0f);
        EXPECT_EQ(c.cs(), csAuto);
    }
    SColor c;
    c.alpha(0.5f);
    c.transform(csCMYK);
    EXPECT_FALSE(c.hasSpace());
    EXPECT_EQ(SColor(), SColor("x"));
    EXPECT_FALSE(SColor() == SColor("none"));
    EXPECT_FALSE(SColor().dimmer(0.5f).hasSpace());
}

TEST(ColorHex, ShortLongAndAlphaForms) {
    EXPECT_EQ(SColor("#abc"), SColor("#aabbcc"));
    const SColor c("#aabbcc");
    EXPECT_EQ(rgb(c).red(), 0xAA / 255.0f);
    EXPECT_EQ(rgb(c).green(), 0xBB / 255.0f);
    EXPECT_EQ(rgb(c).blue(), 0xCC / 255.0f);
    EXPECT_EQ(c.alpha(), 1.0f);
    const SColor a("#ABCDEF12");
    EXPECT_EQ(rgb(a).red(), 0xAB / 255.0f);
    EXPECT_EQ(rgb(a).blue(), 0xEF / 255.0f);
    EXPECT_EQ(a.alpha(), 0x12 / 255.0f);
    EXPECT_EQ(SColor("#ff0000").toPDF(), "1.000 0.000 0.000 rg");
    EXPECT_EQ(SColor("#ff0000").toOUT(), "1.000 0.000 0.000");
    EXPECT_EQ(SColor("#ff0000").toStr(), "#ff0000ff");
    EXPECT_EQ(SColor("#000").toStr(), "#000000ff");
}

TEST(ColorHex, WrongLengthOrBadDigitGivesNaNFields) {
    const SColor c("#12345");
    EXPECT_FALSE(c.enabled());
    EXPECT_TRUE(std::isnan(rgb(c).red()));
    EXPECT_TRUE(std::isnan(rgb(c).blue()));
    const SColor bad("#12x");
    EXPECT_FALSE(bad.enabled());
    EXPECT_TRUE(std::isnan(rgb(bad).green()));
    EXPECT_FALSE(SColor("#1234567x").enabled());
    // A NaN field prints as "nan", and as byte 0 in the canonical text.
    EXPECT_EQ(c.toPDF(), "nan nan nan rg");
    EXPECT_EQ(c.toStr(), "#00000000");
}

TEST(ColorFunctional, RgbValuesAreClampedAboveNotScaled) {
    const SColor c("rgb(0.5, 2, x)");
    EXPECT_EQ(rgb(c).red(), 0.5f);
    EXPECT_EQ(rgb(c).green(), 1.0f);
    EXPECT_EQ(rgb(c).blue(), 0.0f);
    EXPECT_EQ(c.alpha(), 1.0f);
    EXPECT_EQ(rgb(SColor("rgb(255, 0, 0)")).red(), 1.0f);
    EXPECT_EQ(rgb(SColor("rgb(-0.5, 0, 0)")).red(), -0.5f);  // negatives are kept
    EXPECT_EQ(rgb(SColor("rgb(1e-1, +0.25, .5)")).red(), 0.1f);
    EXPECT_EQ(rgb(SColor("rgb(1e-1, +0.25, .5)")).green(), 0.25f);
    EXPECT_EQ(rgb(SColor("rgb(1e-1, +0.25, .5)")).blue(), 0.5f);
    EXPECT_TRUE(std::isnan(rgb(SColor("rgb(nan, 0, 0)")).red()));
    EXPECT_EQ(rgb(SColor("rgb(inf, 0, 0)")).red(), 1.0f);
}

TEST(ColorFunctional, AlphaDependsOnFunctionAndValueCount) {
    EXPECT_EQ(SColor("rgba(0.1, 0.2, 0.3, 0.4)").alpha(), 0.4f);
    EXPECT_EQ(SColor("RGBA(0.1, 0.2, 0.3, 0.4)").cs(), csNone);
    EXPECT_EQ(SColor("rgba(0.1, 0.2, 0.3)").alpha(), 1.0f);
    EXPECT_EQ(SColor("rgb(0.1, 0.2, 0.3, 0.4)").alpha(), 1.0f);
    // Values beyond the working array of four are ignored.
    const SColor extra("rgba(0.1, 0.2, 0.3, 0.4, 0.5)");
    EXPECT_EQ(rgb(extra).red(), 0.1f);
    EXPECT_EQ(rgb(extra).blue(), 0.3f);
    EXPECT_EQ(extra.alpha(), 1.0f);
    // Every match is walked; the working array is kept across matches.
    const SColor two("rgb(1, 0, 0) rgba(0, 1)");
    EXPECT_EQ(rgb(two).red(), 0.0f);
    EXPECT_EQ(rgb(two).green(), 1.0f);
    EXPECT_EQ(rgb(two).blue(), 0.0f);
    // No match: 0, 0, 0 with alpha NaN, not enabled.
    const SColor none("rgbx");
    EXPECT_EQ(rgb(none).red(), 0.0f);
    EXPECT_FALSE(none.enabled());
    // The function name matches in any case inside the text.
    EXPECT_EQ(SColor("rgbRGBA(0.5, 0.5, 0.5, 0.5)").alpha(), 0.5f);
}

TEST(ColorNames, DirectConstructorsAndNone) {
    EXPECT_EQ(SColor("red"), SColor("#ff0000"));
    EXPECT_EQ(SColor("rebeccapurple"), SColor("#663399"));
    const TRGBA upper("RED");
    EXPECT_EQ(upper.red(), 1.0f);
    EXPECT_EQ(upper.green(), 0.0f);
    // An unknown name unpacks -1: white.
    const TRGBA unknown("RGB(1,0,0)");
    EXPECT_EQ(unknown.red(), 1.0f);
    EXPECT_EQ(unknown.green(), 1.0f);
    EXPECT_EQ(unknown.alpha(), 1.0f);
    EXPECT_TRUE(std::isnan(TRGBA("none").red()));
    EXPECT_TRUE(std::isnan(TRGBA("NONE").alpha()));
    EXPECT_TRUE(std::isnan(TRGBA("").alpha()));
    EXPECT_TRUE(std::isnan(TCMYK("none").key()));
    EXPECT_FALSE(TCMYK("xyz").enabled());
}

TEST(ColorNames, TableLookup) {
    // CSS's values; "grey", "transparent" and "yellowgreen" are not in the table, and case counts.
    for (auto [name, value] : std::vector<std::pair<const char*, int>>{
             {"red", 0xFF0000}, {"green", 0x008000}, {"darkgray", 0xA9A9A9}, {"rebeccapurple", 0x663399},
             {"black", 0x000000}, {"lightgoldenrodyellow", 0xFAFAD2}, {"mediumspringgreen", 0x00FA9A},
             {"grey", -1}, {"transparent", -1}, {"yellowgreen", -1}, {"Red", -1}, {"", -1},
             {"lightgoldenrodyellowx", -1}})
        EXPECT_EQ(getColorByName(name), value) << name;
}

TEST(ColorCMYK, HexAndFunctionalForms) {
    const SColor s("@f00f");
    EXPECT_EQ(cmyk(s).cyan(), 1.0f);
    EXPECT_EQ(cmyk(s).magneta(), 0.0f);
    EXPECT_EQ(cmyk(s).key(), 1.0f);
    EXPECT_EQ(s.alpha(), 1.0f);
    const SColor l("@00ff8001");
    EXPECT_EQ(cmyk(l).magneta(), 1.0f);
    EXPECT_EQ(cmyk(l).yellow(), 0x80 / 255.0f);
    EXPECT_EQ(cmyk(l).key(), 1 / 255.0f);
    EXPECT_FALSE(SColor("@123456").enabled());
    EXPECT_THROW(SColor("@ggg0"), KivuException);

    const SColor c("cmyk(0.1, 0.2, 0.3, 0.4)");
    EXPECT_EQ(c.alpha(), 1.0f);
    EXPECT_EQ(c.toPDF(), "0.100 0.200 0.300 0.400 k");
    EXPECT_EQ(c.toOUT(), "0.100 0.200 0.300 0.400");
    EXPECT_EQ(c.toStr(), "cmyk(0.100, 0.200, 0.300, 0.400, 1.000)");
    const SColor three("cmyk(0.1, 0.2, 0.3)");
    EXPECT_FALSE(three.enabled());
    EXPECT_EQ(three.toStr(), "cmyk(0.100, 0.200, 0.300, nan, 1.000)");
    // Five values fill the alpha; a sixth is ignored.
    EXPECT_EQ(SColor("cmyk(1, 1, 1, 1, 0.5, 0.9)").alpha(), 0.5f);
    EXPECT_EQ(cmyk(SColor("cmyk(2, x, 0, 0)")).cyan(), 1.0f);
}

TEST(ColorGray, FunctionalPercentAndOther) {
    const SColor g("gray(0.5)");
    EXPECT_EQ(gray(g).gray(), 0.5f);
    EXPECT_TRUE(std::isnan(g.alpha()));
    EXPECT_TRUE(g.enabled());
    EXPECT_EQ(g.toPDF(), "0.500 g");
    EXPECT_EQ(g.toStr(), "gray(50.000, nan)");
    const SColor p("50%");
    EXPECT_EQ(gray(p).gray(), 0.5f);
    EXPECT_EQ(p.toStr(), "gray(50.000, nan)");
    EXPECT_EQ(SColor("gray(0.25, 0.5)").alpha(), 0.5f);
    EXPECT_EQ(SColor("gray(0.25, 0.5, 0.75)").alpha(), 0.5f);
    EXPECT_EQ(TGray("other").gray(), 0.0f);
    EXPECT_TRUE(std::isnan(TGray("other").alpha()));
    // Numeric, but no float can hold it whole.
    EXPECT_THROW(SColor("gray(1e99)"), KivuException);
}

TEST(ColorSpot, DefinedBehaviour) {
    const SColor s("spot(Gold)");
    EXPECT_EQ(s.toStr(), "SPOT");
    EXPECT_FALSE(s.enabled());
    EXPECT_EQ(s.alpha(), 1.0f);
    const TSpot filled(3, 0.5f);
    EXPECT_EQ(filled.toOUT(), "/CS3 cs 0.500");
    EXPECT_EQ(filled.toPDF(), "/CS3 cs 0.500 scn");
    EXPECT_TRUE(filled.enabled());
    EXPECT_EQ(dynamic_cast<const TSpot&>(*filled.dimmer(0.5f)).tint(), 0.25f);
    EXPECT_EQ(dynamic_cast<const TSpot&>(*filled.dimmer(0.5f)).index(), 3);
    EXPECT_TRUE(filled.equals(*filled.copy()));
    EXPECT_TRUE(filled.equals(*filled.copyWithAlpha(0.1f)));
    EXPECT_TRUE(filled.equals(*filled.convert(csRGB)));
    EXPECT_FALSE(filled.equals(TSpot(4, 0.5f)));
    EXPECT_TRUE(TSpot("a").equals(TSpot("b")));  // both unfilled
}

TEST(ColorConvert, FromRGB) {
    SColor black(std::make_unique<TRGBA>(0.0f, 0.0f, 0.0f, 1.0f));
    black.transform(csCMYK);
    EXPECT_EQ(black.space->text(), "cmyk(1, 1, 1, 1, 1)");
    EXPECT_EQ(black.toPDF(), "1.000 1.000 1.000 1.000 k");
    EXPECT_EQ(black.alpha(), 1.0f);

    const SColor red = SColor(std::make_unique<TRGBA>(1.0f, 0.0f, 0.0f, 0.5f)).convert(csCMYK);
    EXPECT_EQ(red.space->text(), "cmyk(0.000, 1.000, 1.000, 0.000, 0.500)");
    const SColor mid = SColor(std::make_unique<TRGBA>(0.6f, 0.3f, 0.3f, 1.0f)).convert(csCMYK);
    EXPECT_EQ(mid.space->text(), "cmyk(0.000, 0.500, 0.500, 0.400, 1.000)");

    const SColor g = SColor(std::make_unique<TRGBA>(0.2f, 0.4f, 0.6f, 1.0f)).convert(csGray);
    EXPECT_EQ(g.space->text(), "gray(0.400, 1.000)");
    EXPECT_EQ(gray(g).gray(), 0.4f);
    // Three-decimal rounding is part of the result.
    const SColor r = SColor(std::make_unique<TRGBA>(0.12345f, 0.12345f, 0.12345f, 1.0f)).convert(csGray);
    EXPECT_EQ(gray(r).gray(), 0.123f);

    const SColor same = SColor("#ff8000").convert(csSpot);
    EXPECT_EQ(same.cs(), csRGB);
    EXPECT_EQ(same.space->text(), "#ff8000");
}

TEST(ColorConvert, FromCMYK) {
    const SColor a = SColor(std::make_unique<TCMYK>(0.0f, 0.0f, 0.0f, 0.0f, 0.5f)).convert(csRGB);
    EXPECT_EQ(a.space->text(), "rgba(1.000, 1.000, 1.000, 1)");
    EXPECT_EQ(a.alpha(), 1.0f);  // the source's alpha is not carried
    const SColor b = SColor(std::make_unique<TCMYK>(0.0f, 0.5f, 1.0f, 0.2f, 1.0f)).convert(csRGB);
    EXPECT_EQ(b.space->text(), "rgba(0.800, 0.400, 0.000, 1)");
    const SColor g = SColor(std::make_unique<TCMYK>(0.0f, 0.0f, 0.0f, 0.5f, 1.0f)).convert(csGray);
    EXPECT_EQ(g.space->text(), "50%");
    EXPECT_EQ(gray(g).gray(), 0.5f);
    EXPECT_TRUE(std::isnan(g.alpha()));
    const SColor w = SColor(std::make_unique<TCMYK>(0.0f, 0.0f, 0.0f, 0.333f, 1.0f)).convert(csGray);
    EXPECT_EQ(w.space->text(), "66%");  // whole percent, truncated
}

TEST(ColorConvert, FromGrayAndNone) {
    const SColor k = SColor(std::make_unique<TGray>(0.0f, NAN)).convert(csCMYK);
    EXPECT_EQ(k.space->text(), "cmyk(1, 1, 1, 1)");
    EXPECT_EQ(k.toStr(), "cmyk(1.000, 1.000, 1.000, 1.000, 1.000)");
    const SColor q = SColor(std::make_unique<TGray>(0.25f, 1.0f)).convert(csCMYK);
    EXPECT_EQ(q.space->text(), "cmyk(0.000, 0.000, 0.000, 0.750)");
    const SColor r = SColor(std::make_unique<TGray>(0.25f, NAN)).convert(csRGB);
    EXPECT_EQ(r.space->text(), "rgba(0.250, 0.250, 0.250, nan)");
    EXPECT_FALSE(r.enabled());
    const SColor r2 = SColor(std::make_unique<TGray>(0.25f, -NAN)).convert(csRGB);
    EXPECT_EQ(r2.space->text(), "rgba(0.250, 0.250, 0.250, nan)");
    const SColor n = SColor("none").convert(csRGB);
    EXPECT_EQ(n.cs(), csNone);
    EXPECT_EQ(n.space->text(), "none");
}

TEST(ColorDerive, DimmerAndAlphaMakeNewColours) {
    const SColor c(std::make_unique<TRGBA>(1.0f, 0.5f, 0.2f, 0.7f));
    const SColor d = c.dimmer(0.5f);
    EXPECT_EQ(rgb(d).red(), 0.5f);
    EXPECT_EQ(rgb(d).green(), 0.25f);
    EXPECT_EQ(rgb(d).blue(), 0.1f);
    EXPECT_EQ(d.alpha(), 0.7f);
    EXPECT_EQ(rgb(c).red(), 1.0f);
    EXPECT_EQ(rgb(c.dimmer(2.0f)).red(), 1.0f);
    EXPECT_EQ(rgb(c.dimmer(-1.0f)).red(), 0.0f);
    const SColor k = SColor("cmyk(0.4, 0.4, 0.4, 0.4, 0.4)").dimmer(0.5f);
    EXPECT_EQ(cmyk(k).cyan(), 0.2f);
    EXPECT_EQ(cmyk(k).key(), 0.4f);
    EXPECT_EQ(k.alpha(), 0.4f);
    EXPECT_EQ(k.space->text(), "");
    EXPECT_EQ(gray(SColor("gray(0.5, 0.3)").dimmer(0.5f)).gray(), 0.25f);

    SColor a("#ff0000");
    const TSpace* before = a.space.get();
    a.alpha(0.5f);
    EXPECT_NE(a.space.get(), before);
    EXPECT_EQ(a.alpha(), 0.5f);
    EXPECT_EQ(a.space->text(), "#ff0000");
    EXPECT_EQ(rgb(a).red(), 1.0f);
    EXPECT_EQ(SColor("gray(0.5)").copyWithAlpha(0.2f).alpha(), 0.2f);
    EXPECT_EQ(SColor("none").copyWithAlpha(0.2f).cs(), csNone);
}

TEST(ColorEquality, RulesPerSpace) {
    // Colour components compare with NaN as 0, alpha with both NaN equal.
    EXPECT_TRUE(TRGBA(NAN, 0, 0, 1).equals(TRGBA(0, 0, 0, 1)));
    EXPECT_TRUE(TRGBA(0, 0, 0, NAN).equals(TRGBA(0, 0, 0, NAN)));
    EXPECT_FALSE(TRGBA(0, 0, 0, NAN).equals(TRGBA(0, 0, 0, 0)));
    EXPECT_FALSE(TRGBA(0, 0, 0, 1).equals(TGray(0, 1)));
    // CMYK ignores alpha; key NaN on both sides is equal.
    EXPECT_TRUE(TCMYK(0, 0, 0, 1, 0.5f).equals(TCMYK(0, 0, 0, 1, 1)));
    EXPECT_TRUE(TCMYK(0, 0, 0, NAN, 1).equals(TCMYK(0, 0, 0, NAN, 1)));
    EXPECT_FALSE(TCMYK(NAN, 0, 0, 1, 1).equals(TCMYK(NAN, 0, 0, 1, 1)));
    EXPECT_TRUE(TGray(0.5f, NAN).equals(TGray(0.5f, NAN)));
    EXPECT_FALSE(TGray(0.5f, NAN).equals(TGray(0.5f, 1)));
    EXPECT_TRUE(TNone("a").equals(TNone("b")));
    EXPECT_EQ(SColor("#abc").toHash(), SColor("#aabbcc").toHash());
    EXPECT_NE(SColor("#abc").toHash(), SColor("#abd").toHash());
}

TEST(ColorTransform, OnlyWhenTheSpaceDiffers) {
    SColor c("#ff0000");
    const TSpace* before = c.space.get();
    c.transform(csRGB);
    EXPECT_EQ(c.space.get(), before);
    c.transform(csGray);
    EXPECT_EQ(c.cs(), csGray);
    EXPECT_EQ(c.space->text(), "gray(0.333, 1.000)");
    SColor copy = c;
    EXPECT_EQ(copy, c);
}

}  // namespace
}  // namespace kivu
