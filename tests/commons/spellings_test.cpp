// The spelling families of the enumerations: a table a family of words read
// (in their case and upper-cased), the value each gives and the word that
// value writes back; and the list box, whose words, brackets taken off, read
// back as the values in order.
#include <gtest/gtest.h>

#include <cctype>
#include <type_traits>

#include "kivuimg/commons/consts.h"
#include "kivuimg/commons/graphics/line.h"
#include "kivuimg/commons/graphics/rect.h"
#include "kivuimg/commons/tags.h"
#include "kivuimg/css/consts.h"

namespace kivu {
namespace {

template <typename E>
struct Row {
    const char* word;
    E value;
    const char* back;
};

template <typename E>
void family(E (*read)(const std::string&), std::string (*write)(E), const std::vector<std::string>& list,
            std::type_identity_t<std::vector<Row<E>>> rows) {
    for (const Row<E>& r : rows) {
        std::string upper = r.word;
        for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        EXPECT_EQ(read(r.word), r.value) << r.word;
        EXPECT_EQ(read(upper), r.value) << upper;
        EXPECT_EQ(write(r.value), r.back) << r.word;
    }
    for (size_t i = 0; i < list.size(); ++i) {
        std::string word = list[i];
        if (i == 0) {
            ASSERT_TRUE(word.size() > 2 && word.front() == '[' && word.back() == ']') << word;
            word = word.substr(1, word.size() - 2);
        }
        EXPECT_EQ(read(word), static_cast<E>(i)) << word;
    }
}

TEST(Spellings, SharedFamilies) {
    family(str2ColorSpace, colorSpace2Str, colorSpace2Arr(),
           {{"rgba", csRGB, "RGB"}, {"rgbdevice", csRGB, "RGB"}, {"cmyka", csCMYK, "CMYK"},
            {"DeviceCMYK", csCMYK, "CMYK"}, {"grayscale", csGray, "GRAY"}, {"devicegray", csGray, "GRAY"},
            {"spotdevice", csSpot, "SPOT"}, {"DeviceRGB", csAuto, "RGB"}, {"none", csAuto, "RGB"},
            {"", csAuto, "RGB"}});
    EXPECT_EQ(colorSpace2Str(csNone), "RGB");
    for (auto [cs, device] : std::vector<std::pair<ColorSpace, const char*>>{
             {csCMYK, "DeviceCMYK"}, {csSpot, "DeviceCMYK"}, {csGray, "DeviceGray"}, {csAuto, "DeviceRGB"},
             {csNone, "DeviceRGB"}})
        EXPECT_EQ(colorSpace2Device(cs), device) << cs;

    family(str2Decoration, decoration2Str, {},
           {{"none", decNone, "none"}, {"wavy", decWavy, "wavy"}, {"line-through", decLineThrough, "line-through"},
            {"blink", decUnset, "none"}});
    EXPECT_EQ(decoration2Arr()[0], "[none]");
    family(str2TextTransform, textTransform2Str, textTransform2Arr(), {{"capitalize", ttCapitalize, "capitalize"}});
    family(str2BackgroundRepeat, backgroundRepeat2Str, backgroundRepeat2Arr(), {{"repeat-y", brRepeatY, "repeat-y"}});
    family(str2BackgroundPosition, backgroundPosition2Str, backgroundPosition2Arr(),
           {{"left", bpStart, "start"}, {"top", bpStart, "start"}, {"middle", bpCenter, "center"},
            {"right", bpEnd, "end"}, {"bottom", bpEnd, "end"}});
    family(str2ConvertImages, convertImagesStr, convertImages2Arr(), {{"byprofile", ciByProfile, "byprofile"}});
    family(str2FontSubset, fontSubset2Str, fontSubset2Arr(), {});
    family(str2Weight, weight2Str, weight2Arr(), {{"bold", wBold, "bold"}});
    family(str2Style, style2Str, style2Arr(), {});
    family(str2FontVariant, fontVariant2Str, fontVariant2Arr(), {{"small-caps", fvSmallCaps, "small-caps"}});
    family(str2Clipping, clipping2Str, clipping2Arr(),
           {{"yes", clipYes, "true"}, {"true", clipYes, "true"}, {"false", clipNo, "false"},
            {"maybe", clipAuto, "auto"}});
    family(str2PageRepeat, pageRepeat2Str, pageRepeat2Arr(), {});
    family(str2QuoteCopy, quoteCopy2Str, {}, {{"title", qcTitle, "title"}});
    family(str2BreakMode, breakMode2Str, {}, {{"can-not", bmCanNot, "CAN-NOT"}, {"revert", bmRevert, "REVERT"}});
    // Two lists without a default in brackets.
    EXPECT_EQ(quoteCopy2Arr(), (std::vector<std::string>{"number", "title"}));
    EXPECT_EQ(breakMode2Arr(), (std::vector<std::string>{"CAN-NOT", "RESET", "REVERT"}));
    family(str2Rules, rules2Str, rules2Arr(), {{"standard", rulesStandard, "standard"}});

    family(str2LineStyle, lineStyle2Str, {}, {{"insert", lsInsert, "insert"}, {"dotted", lsDotted, "dotted"},
                                              {"wavy", lsNone, "none"}});
    family(str2LineCapStyle, lineCapStyle2Str, {}, {{"square", lcSquare, "square"}, {"round", lcRound, "round"}});
    family(str2LineJoinStyle, lineJoinStyle2Str, {}, {{"bevel", ljBevel, "bevel"}, {"miter", ljMiter, "miter"}});
    family(str2CornerType, cornerType2Str, {}, {{"arc", ctArc, "arc"}, {"sharp", ctSharp, "sharp"}});
    // The operators of caps and joins.
    EXPECT_EQ(lineCapStyle2PDF(lcButt) + lineCapStyle2PDF(lcSquare), "0 J2 J");
    EXPECT_EQ(lineJoinStyle2PDF(ljMiter) + lineJoinStyle2PDF(ljRound) + lineJoinStyle2PDF(ljBevel), " 0 j1 j2 j");
}

TEST(Spellings, LayoutFamilies) {
    family(str2TextAlign, textAlign2Str, textAling2Arr(),
           {{"center", taCenter, "center"}, {"stretched", taStretched, "stretched"}, {"middle", taLeft, "left"}});
    family(str2Format, format2Str, format2Arr(), {{"date", fmtDate, "date"}, {"general", fmtGeneral, ""}});
    family(str2PageBreak, pageBreak2Str, pageBreak2Arr(), {{"after", pbAfter, "after"}});
    family(str2NextColumn, nextColumn2Str, nextColumn2Arr(), {{"before-after", ncBeforeAfter, "before-after"}});
    family(str2PageNumberMode, pageNumberMode2Str, {}, {{"prev", pnmPrev, "prev"}, {"last", pnmLast, "last"}});
    family(str2FontKerning, fontKerning2Str, fontKerning2Arr(), {});
    family(str2Hyphens, hyphens2Str, hyphens2Arr(), {});
    family(str2HyphenatorMethod, hyphenatorMethod2Str, hyphenatorMethod2Arr(), {});
    family(str2WordWrap, wordWrap2Str, {}, {{"break-word", wwBreakWord, "break-word"}});
    family(str2WhiteSpace, whiteSpace2Str, {}, {{"nowrap", wsNowrap, "nowrap"}});
    family(str2BlockBreak, blockBreak2Str, blockBreak2Arr(), {});
    family(str2LeaderPattern, leaderPattern2Str, leaderPatterns2Arr(), {});
    family(str2Float, float2Str, float2Arr(), {});
    family(str2Clear, clear2Str, clear2Arr(), {{"all", clAll, ""}});
    family(str2FollowNext, followNext2Str, followNext2Arr(),
           {{"yes", fnAlways, "always"}, {"true", fnAlways, "always"}, {"always", fnAlways, "always"},
            {"column-row", fnColumnRow, "column-row"}, {"no", fnNo, ""}});
    family(str2PageMode, pageMode2Str, pageMode2Arr(), {});
    family(str2TextLineGrids, textLineGrids2Str, {}, {{"baseline", tlgBaseline, "baseline"}});
    family(str2Position, position2Str, position2Arr(), {});
    family(str2VerticalAlign, verticalAlign2Str, verticalAlign2Arr(), {{"baseline", vaBaseline, "baseline"}});
    family(str2BaselineShift, baselineShift2Str, baselineShift2Arr(), {});
    family(str2Display, display2Str, {}, {{"block", dispBlock, "block"}});
    family(str2ArrowHead, arrowHead2Str, arrowHead2Arr(),
           {{"filled", ahTriangleFilled, "triangle-filled"}, {"triangle", ahTriangle, "triangle"}});
    family(str2ArrowDraw, arrowDraw2Str, arrowDraw2Arr(), {});
    family(str2ArrowRoute, arrowRoute2Str, arrowRoute2Arr(), {});
    family(str2PaperCorner, paperCorner2Str, paperCorner2Arr(), {});
    family(str2NumberGeneratorMode, numberGeneratorMode2Str, numberGeneratorMode2Arr(),
           {{"incremental", ngmInc, "inc"}, {"decremental", ngmDec, "dec"}, {"table-of-contents", ngmToc, "toc"},
            {"ref", ngmReference, "reference"}});
    family(str2ViewShape, viewShape2Str, viewShape2Arr(),
           {{"doc", vsDocument, "document"}, {"docs", vsDocuments, "documents"},
            {"hexagon", vsRectangle, "rectangle"}});
    // The list gives style names; the word of a numbered style is its marker.
    family(str2ListStyleType, listStyleType2Str, {},
           {{"-", lstDash, "ndash"}, {"dash", lstDash, "ndash"}, {"box", lstSquare, "square"},
            {"bulled", lstDisc, "disc"}, {"circle", lstCircle, "circle"}, {"decimal", lstDecimal, "1."},
            {"alpha", lstLowerAlpha, "a."}, {"upper-alpha", lstUpperAlpha, "A."}, {"ndash", lstNone, "none"}});
    EXPECT_EQ(listStyleType2Arr()[0], "none");
    for (auto [type, marker] : std::vector<std::pair<ListStyleType, const char*>>{
             {lstNone, ""}, {lstDash, "\xE2\x80\x93"}, {lstDisc, "\xE2\x97\x8F"}, {lstCircle, "\xE2\x97\x8B"},
             {lstSquare, "\xE2\x96\xA0"}, {lstDecimalLeadingZero, "01."}, {lstLowerAlpha, "a."}})
        EXPECT_EQ(listStyleType2Marker(type), marker) << type;
    family(str2ReferenceOrientation, referenceOrientation2Str, {},
           {{"90n", roMinus90, "-90"}, {"270n", roMinus270, "-270"}, {"180", ro180, "180"}, {"270", ro270, "270"},
            {"0", ro0, "0"}, {"sideways", ro0, "0"}});
    EXPECT_EQ(referenceOrientation2Str(roUnset), "0");
    for (auto [ro, angle] : std::vector<std::pair<ReferenceOrientation, int>>{
             {roUnset, 0}, {ro0, 0}, {ro90, 90}, {roMinus270, -270}, {ro180, 180}, {ro270, 270}, {roMinus90, -90}})
        EXPECT_EQ(referenceOrientation2Angle(ro), angle) << ro;
    for (int v = ro0; v <= roMinus90; ++v)
        EXPECT_EQ(isHorizDir(static_cast<ReferenceOrientation>(v)), v == ro0 || v == ro180) << v;
    family(str2Barcode, barcode2Str, {},
           {{"C39+", bcC39Plus, "C39+"}, {"C39E+", bcC39EPlus, "C39E+"}, {"ean128b", bcEAN128B, "EAN128B"},
            {"qr", bcNone, "none"}});
    for (int v = 0; v <= 24; ++v) EXPECT_EQ(str2Barcode(barcode2Str(static_cast<Barcode>(v))), v);
    for (const char* yes : {"true", "YES", "1"}) EXPECT_TRUE(str2Boolean(yes)) << yes;
    for (const char* no : {"2", "on", ""}) EXPECT_FALSE(str2Boolean(no)) << no;
    EXPECT_EQ(boolean2Str(true) + boolean2Str(false), "truefalse");
}

TEST(Spellings, TagsAndPlacements) {
    // Every tag reads back from its word, but for the second of a pair that shares one.
    for (int v = 1; v <= 70; ++v) {
        const Tag t = static_cast<Tag>(v);
        if (t != tgBarcode2 && t != tgCanvasImage) EXPECT_EQ(str2Tag(tag2Str(t), tgNone), t) << v;
    }
    EXPECT_EQ(str2Tag("image", tgCanvas), tgCanvasImage);
    EXPECT_EQ(tag2Str(tgCanvasImage), "image");
    EXPECT_EQ(tag2Str(tgBarcode2), "barcode");
    EXPECT_EQ(str2Tag("#text", tgNone), tgText);
    EXPECT_EQ(str2Tag("Region-Body", tgNone), tgRegionBody);
    for (const char* unknown : {"unknown", "", "?"}) EXPECT_EQ(str2Tag(unknown, tgNone), tgUnknown) << unknown;
    EXPECT_EQ(str2Tag("*", tgNone), tgAny);
    for (int v : {0, 71, -3}) EXPECT_EQ(tag2Str(static_cast<Tag>(v)), "?") << v;
    EXPECT_EQ(toStr(tgTfooter), "tfooter");

    auto members = [](bool (*pred)(Tag)) {
        std::vector<int> out;
        for (int v = -1; v <= 130; ++v)
            if (pred(static_cast<Tag>(v))) out.push_back(v);
        return out;
    };
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

    for (int p = plOnly; p <= plLast; ++p) {
        EXPECT_EQ(isFirstPlace(static_cast<Placement>(p)), p == plOnly || p == plFirst) << p;
        EXPECT_EQ(isLastPlace(static_cast<Placement>(p)), p == plOnly || p == plLast) << p;
    }
}

}  // namespace
}  // namespace kivu
