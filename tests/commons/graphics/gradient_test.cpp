#include "kivuimg/commons/graphics/gradient.h"

#include <gtest/gtest.h>

#include <cmath>

namespace kivu {
namespace {

SGradientInfo twoStops() {
    SGradientInfo info;
    info.id = "g1";
    info.spreadMethod = "pad";
    info.attributes["x1"] = "0%";
    info.xref = "#g0";
    info.type = gtRadial;
    info.colorSpace = csRGB;
    info.stops.push_back({SColor("#ff0000"), 0.0f});
    info.stops.push_back({SColor("rgba(0, 0, 1, 0.5)"), 1.0f});
    return info;
}

TEST(GradientInfo, MakeCopyTransformsNewStops) {
    const SGradientInfo src = twoStops();
    const SGradientInfo copy = src.makeCopy(csCMYK);
    EXPECT_EQ(copy.colorSpace, csCMYK);
    EXPECT_EQ(copy.id, "g1");
    EXPECT_EQ(copy.attributes.at("x1"), "0%");
    EXPECT_EQ(copy.xref, "#g0");
    EXPECT_EQ(copy.type, gtRadial);
    ASSERT_EQ(copy.stops.size(), 2u);
    EXPECT_EQ(copy.stops[0].color.toStr(), "cmyk(0.000, 1.000, 1.000, 0.000, 1.000)");
    EXPECT_EQ(copy.stops[1].color.alpha(), 0.5f);
    EXPECT_EQ(copy.stops[1].offset, 1.0f);
    // The source keeps its colours.
    EXPECT_EQ(src.stops[0].color.cs(), csRGB);
    EXPECT_EQ(src.stops[0].color.toStr(), "#ff0000ff");
    EXPECT_EQ(src.colorSpace, csRGB);
}

TEST(GradientInfo, MakeCopyWithoutStops) {
    SGradientInfo empty;
    const SGradientInfo copy = empty.makeCopy(csGray);
    EXPECT_TRUE(copy.stops.empty());
    EXPECT_EQ(copy.colorSpace, csGray);
}

TEST(GradientInfo, HashFollowsValues) {
    EXPECT_EQ(twoStops().toHash(), twoStops().toHash());
    SGradientInfo other = twoStops();
    other.stops[1].offset = 0.5f;
    EXPECT_NE(twoStops().toHash(), other.toHash());
    EXPECT_FALSE(twoStops() == other);
    EXPECT_EQ(twoStops(), twoStops());
}

TEST(Gradients, ListStartsEmptyAndCopiesRecords) {
    TGradients list;
    EXPECT_EQ(list.count(), 0);
    EXPECT_FALSE(list.hasItems());
    SGradient g;
    EXPECT_TRUE(std::isnan(g.coords[4]));
    EXPECT_EQ(g.shadingObject, 0u);
    EXPECT_FALSE(g.done);
    g.shadingType = 3;
    g.active = true;
    list.add(g);
    g.shadingType = 2;
    EXPECT_EQ(list.count(), 1);
    EXPECT_TRUE(list.hasItems());
    EXPECT_EQ(list.items()[0].shadingType, 3);
    EXPECT_TRUE(list.items()[0].extend[0] && list.items()[0].extend[1]);
}

}  // namespace
}  // namespace kivu
