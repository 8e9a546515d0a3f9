#include "kivuimg/commons/unit.h"

#include <gtest/gtest.h>

#include <cmath>

#include "kivuimg/commons/core/cstr.h"

namespace kivu {
namespace {

TEST(UnitRecognition, FirstTestInFixedOrderWins) {
    EXPECT_EQ(unit("12pt"), uPt);
    EXPECT_EQ(unit("12PT"), uPt);
    EXPECT_EQ(unit("auto"), uAuto);
    EXPECT_EQ(unit("AUTO"), uAuto);
    EXPECT_EQ(unit("2mm"), uMm);
    EXPECT_EQ(unit("2.5cm"), uCm);
    EXPECT_EQ(unit("1in"), uIn);
    EXPECT_EQ(unit("50%"), uPercent);
    EXPECT_EQ(unit("2*"), uStar);
    EXPECT_EQ(unit("3fs"), uFs);
    EXPECT_EQ(unit("7px"), uPx);
    EXPECT_EQ(unit("1rad"), uRad);
    EXPECT_EQ(unit("90deg"), uDeg);
    EXPECT_EQ(unit("inline"), uInline);
    EXPECT_EQ(unit("12"), uNone);
    // A longer word counts by what it holds: "12point" has no "pt" but an "in".
    EXPECT_EQ(unit("12point"), uIn);
    // "pt" tested before "in": "1inpt" is points.
    EXPECT_EQ(unit("1inpt"), uPt);
    // "*" before "f": "2f*" is a star.
    EXPECT_EQ(unit("2f*"), uStar);
    // "f" is tested before "px".
    EXPECT_EQ(unit("1fpx"), uFs);
}

TEST(UnitRecognition, WordAloneAtIndexZeroIsNoUnit) {
    EXPECT_EQ(unit("pt"), uNone);
    EXPECT_EQ(unit("%"), uNone);
    EXPECT_EQ(unit(""), uNone);
    // Only the first occurrence decides.
    EXPECT_EQ(unit("ptpt"), uNone);
    EXPECT_EQ(SUnit("pt").any(), 0.0f);
}

TEST(UnitRecognition, Spellings) {
    EXPECT_EQ(sUnit(uNone), "");
    EXPECT_EQ(sUnit(uPt), "pt");
    EXPECT_EQ(sUnit(uFs), "fs");
    EXPECT_EQ(sUnit(uStar), "*");
    EXPECT_EQ(sUnit(uInline), "inline");
    EXPECT_EQ(sUnit(static_cast<Unit>(13)), "");
    EXPECT_EQ(sUnit(static_cast<Unit>(-1)), "");
}

TEST(UnitNumber, FiltersEveryCharacterOutsideDigitsSignsAndPoints) {
    EXPECT_EQ(SUnit::number("2.5cm"), 2.5f);
    EXPECT_EQ(SUnit::number("12,5 mm"), 12.5f);
    EXPECT_EQ(SUnit::number("1.5.2cm"), 1.52f);
    EXPECT_EQ(SUnit::number("1e3pt"), 13.0f);  // the exponent is lost with the letters
    EXPECT_EQ(SUnit::number("-4px"), -4.0f);
    EXPECT_EQ(SUnit::number("abc"), 0.0f);
    EXPECT_EQ(SUnit::number(""), 0.0f);
    EXPECT_TRUE(std::isnan(SUnit::number("auto")));
    EXPECT_TRUE(std::isnan(SUnit::number("NONE")));
}

TEST(UnitNumber, FilteredTextThatIsNoNumberThrows) {
    EXPECT_THROW(SUnit::number("1-2"), KivuException);
    EXPECT_THROW(SUnit::number("--1"), KivuException);
    EXPECT_THROW(SUnit::number("-"), KivuException);
    EXPECT_THROW(SUnit::number("."), KivuException);
    EXPECT_THROW(SUnit("1-2pt").pt(), KivuException);
}

TEST(UnitNumber, RealNumberIsStricter) {
    EXPECT_TRUE(std::isnan(SUnit::realNumber("")));
    EXPECT_TRUE(std::isnan(SUnit::realNumber("2px")));
    EXPECT_TRUE(std::isnan(SUnit::realNumber("1,5")));
    EXPECT_EQ(SUnit::realNumber("1.5.2"), 1.52);
    EXPECT_EQ(SUnit::realNumber("+2"), 2.0);
    EXPECT_EQ(SUnit::realNumber("-0.25"), -0.25);
    EXPECT_THROW(SUnit::realNumber("'"), KivuException);
    EXPECT_THROW(SUnit::realNumber("--1"), KivuException);
    EXPECT_THROW(SUnit::realNumber("+"), KivuException);
}

TEST(UnitText, ConstructionFromNumbers) {
    EXPECT_EQ(SUnit(12.0f).text, "12.00pt");
    EXPECT_EQ(SUnit(1.005f).text, "1.00pt");
    EXPECT_EQ(SUnit(2.346f).text, "2.35pt");
    SUnit u("x");
    u(3.5f);
    EXPECT_EQ(u.text, "3.50pt");
    EXPECT_EQ(SUnit::PX(7).text, "7px");
    EXPECT_EQ(SUnit("a"), SUnit("a"));
    EXPECT_NE(SUnit("1pt"), SUnit("1.0pt"));
    EXPECT_EQ(SUnit("a").toHash(), SUnit("a").toHash());
}

TEST(UnitConversion, Points) {
    EXPECT_TRUE(std::isnan(SUnit("auto").pt()));
    EXPECT_EQ(SUnit("10mm").pt(), 10.0f * 2.8346457f);
    EXPECT_EQ(SUnit("2.5cm").pt(), 2.5f * 28.346457f);
    EXPECT_EQ(SUnit("2in").pt(), 144.0f);
    EXPECT_EQ(SUnit("50%").pt(), 0.5f);
    EXPECT_EQ(SUnit("4px").pt(), 3.0f);
    EXPECT_EQ(SUnit("12pt").pt(), 12.0f);
    EXPECT_EQ(SUnit("3fs").pt(), 3.0f);
    EXPECT_EQ(SUnit("12").pt(), 12.0f);
}

TEST(UnitConversion, MillimetresCentimetresInches) {
    EXPECT_EQ(SUnit("10pt").mm(), 10.0f / 2.8346457f);
    EXPECT_EQ(SUnit("10").mm(), 10.0f);
    EXPECT_EQ(SUnit("2cm").mm(), 20.0f);
    EXPECT_EQ(SUnit("1in").mm(), 25.4f);
    EXPECT_EQ(SUnit("10px").mm(), 10.0f * 0.26458332f);
    EXPECT_EQ(SUnit("10pt").cm(), 10.0f / 28.346457f);
    EXPECT_EQ(SUnit("15mm").cm(), 1.5f);
    EXPECT_EQ(SUnit("2in").cm(), 2.0f * 2.54f);
    EXPECT_EQ(SUnit("1.5.2cm").cm(), 1.52f);
    EXPECT_EQ(SUnit("36pt").inc(), 0.5f);
    EXPECT_EQ(SUnit("10mm").inc(), 10.0f / 2.54f / 10.0f);
    EXPECT_EQ(SUnit("5cm").inc(), 5.0f / 2.54f);
    EXPECT_EQ(SUnit("5px").inc(), 5.0f);
}

TEST(UnitConversion, PercentFraction) {
    EXPECT_EQ(SUnit("50%").pc(), 0.5f);
    EXPECT_TRUE(std::isnan(SUnit("50pt").pc()));
    EXPECT_TRUE(std::isnan(SUnit("50").pc()));
}

TEST(UnitConversion, TwoPixelDensitiesDoNotInvert) {
    EXPECT_EQ(SUnit("7px").px(), 7);
    EXPECT_EQ(SUnit("7pt").px(), 9);      // 9.331
    EXPECT_EQ(SUnit("3pt").px(), 3);      // 3.999, truncated
    EXPECT_EQ(SUnit("4px").pt(), 3.0f);   // px counts 0.75 pt ...
    EXPECT_EQ(SUnit("1in").px(), 95);     // 95.976
    EXPECT_EQ(SUnit("1mm").px(), 3);      // 3.778
    EXPECT_EQ(SUnit("1cm").px(), 37);     // 37.79
    EXPECT_EQ(SUnit("-7pt").px(), -9);    // towards zero
    EXPECT_EQ(SUnit("7.9").px(), 7);
    EXPECT_EQ(SUnit("auto").px(), 0);     // no number
    EXPECT_EQ(SUnit("10px").dpiPixel2Pt(0.5f), 5.0f);
    EXPECT_EQ(SUnit("10").dpiPixel2Pt(0.5f), 5.0f);
    EXPECT_EQ(SUnit("1in").dpiPixel2Pt(0.5f), 72.0f);
}

TEST(UnitConversion, Angles) {
    EXPECT_EQ(SUnit("180deg").rad(), static_cast<float>(3.141592653589793));
    EXPECT_EQ(SUnit("1rad").deg(), static_cast<float>(57.29577951308232));
    EXPECT_EQ(SUnit("2rad").rad(), 2.0f);
    EXPECT_EQ(SUnit("30deg").deg(), 30.0f);
    EXPECT_EQ(SUnit("abc").any(), 0.0f);
    EXPECT_EQ(SUnit("12mm").any(), 12.0f);
}

TEST(UnitPredicates, StaticRelativeAndPercentOfTotal) {
    EXPECT_TRUE(SUnit("12").isStaticDimension());
    EXPECT_TRUE(SUnit("90deg").isStaticDimension());
    EXPECT_FALSE(SUnit("auto").isStaticDimension());
    EXPECT_FALSE(SUnit("inline").isStaticDimension());
    EXPECT_TRUE(SUnit("50%").isRelative());
    EXPECT_TRUE(SUnit("2fs").isRelative());
    EXPECT_FALSE(SUnit("2pt").isRelative());

    EXPECT_EQ(SUnit("auto").isPercent(10).text, "auto");
    EXPECT_EQ(SUnit("50%").isPercent(200).text, "100.000000pt");
    EXPECT_EQ(SUnit("2fs").isPercent(50).text, "1.000000pt");
    EXPECT_EQ(SUnit("3cm").isPercent(50).text, "3cm");
}

}  // namespace
}  // namespace kivu
