#include "kivuimg/css/consts.h"

#include <gtest/gtest.h>

namespace kivu {
namespace {

using Words = std::vector<std::string>;

TEST(LayoutWords, FamilyOnTextAlign) {
    EXPECT_EQ(str2TextAlign("CENTER"), str2TextAlign("center"));
    EXPECT_EQ(str2TextAlign("center"), taCenter);
    EXPECT_EQ(str2TextAlign("stretched"), taStretched);
    EXPECT_EQ(str2TextAlign("middle"), taLeft);
    EXPECT_EQ(textAlign2Str(taJustify), "justify");
    EXPECT_EQ(textAlign2Str(taLeft), "left");
    EXPECT_EQ(textAling2Arr(), (Words{"[left]", "center", "right", "justify", "stretched"}));
}

TEST(LayoutWords, ListsWithDefaultsInBrackets) {
    EXPECT_EQ(format2Arr(), (Words{"[general]", "number", "date", "time"}));
    EXPECT_EQ(pageBreak2Arr(), (Words{"[no]", "after", "before"}));
    EXPECT_EQ(nextColumn2Arr(), (Words{"[no]", "before", "after", "before-after"}));
    EXPECT_EQ(fontKerning2Arr(), (Words{"[auto]", "normal", "none"}));
    EXPECT_EQ(hyphens2Arr(), (Words{"[manual]", "auto", "none"}));
    EXPECT_EQ(hyphenatorMethod2Arr(), (Words{"[buildin]", "voikko"}));
    EXPECT_EQ(blockBreak2Arr(), (Words{"[break]", "avoid", "avoid-more"}));
    EXPECT_EQ(leaderPatterns2Arr(), (Words{"[dots]", "space", "rule"}));
    EXPECT_EQ(float2Arr(), (Words{"[none]", "left", "right", "center"}));
    EXPECT_EQ(clear2Arr(), (Words{"[none]", "left", "right", "center"}));
    EXPECT_EQ(followNext2Arr(), (Words{"[no]", "page", "column", "column-row"}));
    EXPECT_EQ(pageMode2Arr(), (Words{"[single]", "even"}));
    EXPECT_EQ(position2Arr(), (Words{"[static]", "absolute"}));
    EXPECT_EQ(verticalAlign2Arr(), (Words{"[top]", "middle", "bottom"}));
    EXPECT_EQ(baselineShift2Arr(), (Words{"[normal]", "super"}));
    EXPECT_EQ(arrowHead2Arr(), (Words{"[none]", "arrow", "triangle", "triangle-filled"}));
    EXPECT_EQ(arrowDraw2Arr(), (Words{"[square]", "round", "direct"}));
    EXPECT_EQ(arrowRoute2Arr(), (Words{"[shortest]", "longest"}));
    EXPECT_EQ(paperCorner2Arr(), (Words{"[left]", "right"}));
    EXPECT_EQ(numberGeneratorMode2Arr(),
              (Words{"[inc]", "dec", "page", "pages", "next-page", "prev-page", "toc", "reference"}));
    EXPECT_EQ(viewShape2Arr(), (Words{"[rectangle]", "ellipse", "diamond", "document", "documents", "none"}));
}

TEST(LayoutWords, WordsThatBeginAfterTheDefault) {
    EXPECT_EQ(format2Str(fmtGeneral), "");
    EXPECT_EQ(format2Str(fmtTime), "time");
    EXPECT_EQ(str2Format("DATE"), fmtDate);
    EXPECT_EQ(str2Format("general"), fmtGeneral);
    EXPECT_EQ(pageBreak2Str(pbBefore), "before");
    EXPECT_EQ(str2PageBreak("after"), pbAfter);
    EXPECT_EQ(nextColumn2Str(ncBeforeAfter), "before-after");
    EXPECT_EQ(followNext2Str(fnAlways), "always");
    EXPECT_EQ(followNext2Str(fnNo), "");
    EXPECT_EQ(verticalAlign2Str(vaBaseline), "baseline");
    EXPECT_EQ(str2VerticalAlign("baseline"), vaBaseline);
}

TEST(LayoutWords, EnumerationsWithoutList) {
    EXPECT_EQ(str2PageNumberMode("prev"), pnmPrev);
    EXPECT_EQ(pageNumberMode2Str(pnmLast), "last");
    EXPECT_EQ(str2WordWrap("break-word"), wwBreakWord);
    EXPECT_EQ(whiteSpace2Str(wsNowrap), "nowrap");
    EXPECT_EQ(str2TextLineGrids("Baseline"), tlgBaseline);
    EXPECT_EQ(display2Str(dispBlock), "block");
}

TEST(LayoutWords, ExtraWordsOfSomeTables) {
    EXPECT_EQ(str2Clear("all"), clAll);
    EXPECT_EQ(clear2Str(clAll), "");
    for (const char* s : {"yes", "true", "always", "ALWAYS"}) EXPECT_EQ(str2FollowNext(s), fnAlways) << s;
    EXPECT_EQ(str2FollowNext("column-row"), fnColumnRow);
    EXPECT_EQ(str2ArrowHead("filled"), ahTriangleFilled);
    EXPECT_EQ(str2ArrowHead("triangle-filled"), ahTriangleFilled);
    EXPECT_EQ(arrowHead2Str(ahTriangle), "triangle");

    EXPECT_EQ(str2NumberGeneratorMode("incremental"), ngmInc);
    EXPECT_EQ(str2NumberGeneratorMode("decremental"), ngmDec);
    EXPECT_EQ(str2NumberGeneratorMode("dec"), ngmDec);
    EXPECT_EQ(str2NumberGeneratorMode("pages"), ngmPages);
    EXPECT_EQ(str2NumberGeneratorMode("next-page"), ngmNextPage);
    EXPECT_EQ(str2NumberGeneratorMode("prev-page"), ngmPrevPage);
    EXPECT_EQ(str2NumberGeneratorMode("table-of-contents"), ngmToc);
    EXPECT_EQ(str2NumberGeneratorMode("ref"), ngmReference);
    EXPECT_EQ(str2NumberGeneratorMode("reference"), ngmReference);

    EXPECT_EQ(str2ViewShape("ellipse"), vsEllipse);
    EXPECT_EQ(str2ViewShape("doc"), vsDocument);
    EXPECT_EQ(str2ViewShape("docs"), vsDocuments);
    EXPECT_EQ(str2ViewShape("documents"), vsDocuments);
    EXPECT_EQ(str2ViewShape("none"), vsNone);
    EXPECT_EQ(str2ViewShape("hexagon"), vsRectangle);
}

TEST(ListStyle, WordsAndMarkers) {
    EXPECT_EQ(str2ListStyleType("-"), lstDash);
    EXPECT_EQ(str2ListStyleType("dash"), lstDash);
    EXPECT_EQ(str2ListStyleType("box"), lstSquare);
    EXPECT_EQ(str2ListStyleType("square"), lstSquare);
    EXPECT_EQ(str2ListStyleType("bulled"), lstDisc);
    EXPECT_EQ(str2ListStyleType("circle"), lstCircle);
    EXPECT_EQ(str2ListStyleType("decimal-leading-zero"), lstDecimalLeadingZero);
    EXPECT_EQ(str2ListStyleType("alpha"), lstLowerAlpha);
    EXPECT_EQ(str2ListStyleType("Upper-Alpha"), lstUpperAlpha);
    EXPECT_EQ(str2ListStyleType("ndash"), lstNone);
    EXPECT_EQ(listStyleType2Str(lstDash), "ndash");
    EXPECT_EQ(listStyleType2Str(lstSquare), "square");
    EXPECT_EQ(listStyleType2Str(lstDecimal), "1.");
    EXPECT_EQ(listStyleType2Str(lstUpperAlpha), "A.");
    EXPECT_EQ(listStyleType2Arr()[0], "none");
    EXPECT_EQ(listStyleType2Marker(lstNone), "");
    EXPECT_EQ(listStyleType2Marker(lstDash), "\xE2\x80\x93");
    EXPECT_EQ(listStyleType2Marker(lstDisc), "\xE2\x97\x8F");
    EXPECT_EQ(listStyleType2Marker(lstCircle), "\xE2\x97\x8B");
    EXPECT_EQ(listStyleType2Marker(lstSquare), "\xE2\x96\xA0");
    EXPECT_EQ(listStyleType2Marker(lstDecimalLeadingZero), "01.");
    EXPECT_EQ(listStyleType2Marker(lstLowerAlpha), "a.");
}

TEST(ReferenceOrientations, WordsAnglesAndDirection) {
    EXPECT_EQ(str2ReferenceOrientation("90N"), str2ReferenceOrientation("-90"));
    EXPECT_EQ(str2ReferenceOrientation("270n"), roMinus270);
    EXPECT_EQ(str2ReferenceOrientation("-270"), roMinus270);
    EXPECT_EQ(str2ReferenceOrientation("180"), ro180);
    EXPECT_EQ(str2ReferenceOrientation("270"), ro270);
    EXPECT_EQ(str2ReferenceOrientation("0"), ro0);
    EXPECT_EQ(str2ReferenceOrientation("sideways"), ro0);
    EXPECT_EQ(referenceOrientation2Str(ro0), "0");
    EXPECT_EQ(referenceOrientation2Str(roUnset), "0");
    EXPECT_EQ(referenceOrientation2Str(roMinus90), "-90");
    EXPECT_EQ(referenceOrientation2Str(roMinus270), "-270");
    EXPECT_EQ(referenceOrientation2Angle(ro0), 0);
    EXPECT_EQ(referenceOrientation2Angle(roMinus270), -270);
    EXPECT_EQ(referenceOrientation2Angle(ro270), 270);
    EXPECT_TRUE(isHorizDir(ro0));
    EXPECT_TRUE(isHorizDir(ro180));
    for (ReferenceOrientation r : {ro90, roMinus270, ro270, roMinus90}) EXPECT_FALSE(isHorizDir(r)) << r;
}

TEST(Barcodes, Spellings) {
    EXPECT_EQ(barcode2Str(bcNone), "none");
    EXPECT_EQ(barcode2Str(bcC39EPlus), "C39E+");
    EXPECT_EQ(barcode2Str(bcEAN13), "EAN13");
    EXPECT_EQ(str2Barcode("C39+"), bcC39Plus);
    EXPECT_EQ(str2Barcode("ean128b"), bcEAN128B);
    EXPECT_EQ(str2Barcode("I25B+"), bcI25BPlus);
    EXPECT_EQ(str2Barcode("CODABAR"), bcCODABAR);
    EXPECT_EQ(str2Barcode("QR"), bcNone);
    for (int v = 0; v <= 24; ++v) EXPECT_EQ(str2Barcode(barcode2Str(static_cast<Barcode>(v))), v);
}

TEST(Booleans, Words) {
    EXPECT_TRUE(str2Boolean("TRUE"));
    EXPECT_TRUE(str2Boolean("yes"));
    EXPECT_TRUE(str2Boolean("1"));
    EXPECT_FALSE(str2Boolean("2"));
    EXPECT_FALSE(str2Boolean("on"));
    EXPECT_FALSE(str2Boolean(""));
    EXPECT_EQ(boolean2Str(true), "true");
    EXPECT_EQ(boolean2Str(false), "false");
}

}  // namespace
}  // namespace kivu
