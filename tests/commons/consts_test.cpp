#include "kivuimg/commons/consts.h"

#include <gtest/gtest.h>

#include "kivuimg/commons/tags.h"

namespace kivu {
namespace {

using Words = std::vector<std::string>;

TEST(ColorSpaceWords, SpellingsDeviceNamesAndList) {
    EXPECT_EQ(colorSpace2Str(csAuto), "RGB");
    EXPECT_EQ(colorSpace2Str(csRGB), "RGB");
    EXPECT_EQ(colorSpace2Str(csCMYK), "CMYK");
    EXPECT_EQ(colorSpace2Str(csGray), "GRAY");
    EXPECT_EQ(colorSpace2Str(csSpot), "SPOT");
    EXPECT_EQ(colorSpace2Str(csNone), "RGB");
    EXPECT_EQ(colorSpace2Arr(), (Words{"[auto]", "rgb", "cmyk", "gray", "spot"}));
    EXPECT_EQ(colorSpace2Device(csCMYK), "DeviceCMYK");
    EXPECT_EQ(colorSpace2Device(csSpot), "DeviceCMYK");
    EXPECT_EQ(colorSpace2Device(csGray), "DeviceGray");
    EXPECT_EQ(colorSpace2Device(csAuto), "DeviceRGB");
    EXPECT_EQ(colorSpace2Device(csNone), "DeviceRGB");
}

TEST(ColorSpaceWords, ElevenSpellingsRead) {
    for (const char* s : {"rgb", "RGBA", "rgbdevice"}) EXPECT_EQ(str2ColorSpace(s), csRGB) << s;
    for (const char* s : {"cmyk", "cmyka", "DeviceCMYK"}) EXPECT_EQ(str2ColorSpace(s), csCMYK) << s;
    for (const char* s : {"gray", "grayscale", "devicegray"}) EXPECT_EQ(str2ColorSpace(s), csGray) << s;
    for (const char* s : {"spot", "spotdevice"}) EXPECT_EQ(str2ColorSpace(s), csSpot) << s;
    EXPECT_EQ(str2ColorSpace("DeviceRGB"), csAuto);
    EXPECT_EQ(str2ColorSpace("none"), csAuto);
    EXPECT_EQ(str2ColorSpace(""), csAuto);
}

TEST(CommonWords, DefaultsInBracketsAndSpecialWords) {
    EXPECT_EQ(decoration2Arr(), (Words{"[none]", "none", "underline", "overline", "line-through", "wavy"}));
    EXPECT_EQ(decoration2Str(decUnset), "none");
    EXPECT_EQ(decoration2Str(decNone), "none");
    EXPECT_EQ(decoration2Str(decLineThrough), "line-through");
    EXPECT_EQ(str2Decoration("NONE"), decNone);
    EXPECT_EQ(str2Decoration("wavy"), decWavy);
    EXPECT_EQ(str2Decoration("blink"), decUnset);

    EXPECT_EQ(textTransform2Arr(), (Words{"[none]", "uppercase", "lowercase", "capitalize"}));
    EXPECT_EQ(str2TextTransform("Capitalize"), ttCapitalize);
    EXPECT_EQ(backgroundRepeat2Arr(), (Words{"[no-repeat]", "repeat", "repeat-x", "repeat-y"}));
    EXPECT_EQ(str2BackgroundRepeat("repeat-y"), brRepeatY);

    EXPECT_EQ(backgroundPosition2Arr(), (Words{"[auto]", "start", "center", "end"}));
    for (const char* s : {"start", "left", "TOP"}) EXPECT_EQ(str2BackgroundPosition(s), bpStart) << s;
    for (const char* s : {"center", "middle"}) EXPECT_EQ(str2BackgroundPosition(s), bpCenter) << s;
    for (const char* s : {"end", "right", "bottom"}) EXPECT_EQ(str2BackgroundPosition(s), bpEnd) << s;

    EXPECT_EQ(convertImages2Arr(), (Words{"[no]", "transform", "byprofile"}));
    EXPECT_EQ(convertImagesStr(ciByProfile), "byprofile");
    EXPECT_EQ(str2ConvertImages("Transform"), ciTransform);

    EXPECT_EQ(fontSubset2Arr(), (Words{"[cid]", "full", "standard"}));
    EXPECT_EQ(weight2Arr(), (Words{"[normal]", "bold"}));
    EXPECT_EQ(str2Weight("BOLD"), wBold);
    EXPECT_EQ(style2Arr(), (Words{"[normal]", "italic", "oblique"}));
    EXPECT_EQ(fontVariant2Str(fvSmallCaps), "small-caps");
    EXPECT_EQ(pageRepeat2Arr(), (Words{"[ignore]", "auto", "even"}));
    EXPECT_EQ(quoteCopy2Arr(), (Words{"number", "title"}));
    EXPECT_EQ(str2QuoteCopy("title"), qcTitle);
    EXPECT_EQ(breakMode2Str(bmCanNot), "CAN-NOT");
    EXPECT_EQ(str2BreakMode("revert"), bmRevert);
}

TEST(CommonWords, Clipping) {
    EXPECT_EQ(str2Clipping("yes"), clipYes);
    EXPECT_EQ(str2Clipping("TRUE"), clipYes);
    EXPECT_EQ(str2Clipping("no"), clipNo);
    EXPECT_EQ(str2Clipping("false"), clipNo);
    EXPECT_EQ(str2Clipping("maybe"), clipAuto);
    EXPECT_EQ(clipping2Str(clipNo), "false");
    EXPECT_EQ(clipping2Arr()[0], "[auto]");
}

TEST(Placements, FirstAndLast) {
    EXPECT_TRUE(isFirstPlace(plOnly));
    EXPECT_TRUE(isFirstPlace(plFirst));
    EXPECT_FALSE(isFirstPlace(plMiddle));
    EXPECT_FALSE(isFirstPlace(plLast));
    EXPECT_TRUE(isLastPlace(plOnly));
    EXPECT_TRUE(isLastPlace(plLast));
    EXPECT_FALSE(isLastPlace(plFirst));
}

TEST(Tags, SearchByLengthThenBytes) {
    EXPECT_EQ(str2Tag("unknown", tgNone), tgUnknown);
    EXPECT_EQ(str2Tag("", tgNone), tgUnknown);
    EXPECT_EQ(str2Tag("image", tgCanvas), tgCanvasImage);
    EXPECT_EQ(str2Tag("image", tgDocument), tgImage);
    EXPECT_EQ(str2Tag("text", tgNone), tgText);
    EXPECT_EQ(str2Tag("#text", tgNone), tgText);
    EXPECT_EQ(str2Tag("barcode", tgNone), tgBarcode);
    EXPECT_EQ(str2Tag("?", tgNone), tgUnknown);
    EXPECT_EQ(str2Tag("*", tgNone), tgAny);
    EXPECT_EQ(str2Tag("Region-Body", tgNone), tgRegionBody);
    EXPECT_EQ(str2Tag("with-variable", tgNone), tgWithVariable);
    // Every spelling reads back to its tag, apart from the second of each
    // pair that shares a spelling.
    for (int v = 1; v <= 70; ++v) {
        const Tag t = static_cast<Tag>(v);
        if (t == tgBarcode2 || t == tgCanvasImage) continue;
        EXPECT_EQ(str2Tag(tag2Str(t), tgNone), t) << v;
    }
}

TEST(Tags, Spellings) {
    EXPECT_EQ(tag2Str(tgDocument), "document");
    EXPECT_EQ(tag2Str(tgText), "#text");
    EXPECT_EQ(tag2Str(tgCanvasImage), "image");
    EXPECT_EQ(tag2Str(tgBarcode2), "barcode");
    EXPECT_EQ(tag2Str(tgEntry), "entry");
    EXPECT_EQ(toStr(tgTfooter), "tfooter");
    EXPECT_EQ(tag2Str(tgNone), "?");
    EXPECT_EQ(tag2Str(static_cast<Tag>(71)), "?");
    EXPECT_EQ(tag2Str(static_cast<Tag>(-3)), "?");
}

std::vector<int> members(bool (*pred)(Tag)) {
    std::vector<int> out;
    for (int v = -1; v <= 130; ++v)
        if (pred(static_cast<Tag>(v))) out.push_back(v);
    return out;
}

TEST(Tags, PredicatesAreExactSets) {
    using V = std::vector<int>;
    EXPECT_EQ(members(isRepeatable), (V{31, 32, 33, 34, 64, 66}));
    EXPECT_EQ(members(isTextModel), (V{14, 40, 45}));
    EXPECT_EQ(members(isCollectionChildElement), (V{14, 15, 40, 45, 53, 54, 56, 58, 59, 60, 61, 68}));
    EXPECT_EQ(members(isCollectionElement), (V{30, 31, 32, 33, 34, 35, 37, 38, 60, 68, 70}));
    EXPECT_EQ(members(isMainRegion), (V{31, 32, 33, 34, 35}));
    EXPECT_EQ(members(isRegion), (V{30, 31, 32, 33, 34, 35, 38}));
    EXPECT_EQ(members(isText), (V{14, 40, 41, 42, 45, 48, 49, 51, 52, 60, 68, 70}));
    EXPECT_EQ(members(notInlineText), (V{14, 40, 45, 49, 60, 68, 69, 70}));
    EXPECT_EQ(members(isList), (V{58, 59}));
}

}  // namespace
}  // namespace kivu
