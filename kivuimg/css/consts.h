// The layout words of the document engine.  Each enumeration has the family
// xxx2Str / str2Xxx / xxx2Arr (see commons/enumtable.h); the enumerations
// without a list for a user interface have no xxx2Arr.
//
// Where a row's words begin after its default (Format, PageBreak,
// NextColumn, FollowNext), xxx2Str of the default is "".  A value without a
// word of its own spells "" as well (for instance Clear's clAll).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kivu {

enum Format : int32_t { fmtGeneral = 0, fmtNumber = 1, fmtDate = 2, fmtTime = 3 };
enum PageBreak : int32_t { pbNo = 0, pbAfter = 1, pbBefore = 2 };
enum NextColumn : int32_t { ncNo = 0, ncBefore = 1, ncAfter = 2, ncBeforeAfter = 3 };
enum PageNumberMode : int32_t { pnmNext = 0, pnmLast = 1, pnmPrev = 2 };
enum TextAlign : int32_t { taLeft = 0, taCenter = 1, taRight = 2, taJustify = 3, taStretched = 4 };
enum FontKerning : int32_t { fkAuto = 0, fkNormal = 1, fkNone = 2 };
enum Hyphens : int32_t { hyManual = 0, hyAuto = 1, hyNone = 2 };
enum HyphenatorMethod : int32_t { hmBuildin = 0, hmVoikko = 1 };
enum WordWrap : int32_t { wwNormal = 0, wwBreakWord = 1 };
enum WhiteSpace : int32_t { wsNormal = 0, wsNowrap = 1 };
enum BlockBreak : int32_t { bbBreak = 0, bbAvoid = 1, bbAvoidMore = 2 };
enum LeaderPattern : int32_t { lpDots = 0, lpSpace = 1, lpRule = 2 };
enum Float : int32_t { flNone = 0, flLeft = 1, flRight = 2, flCenter = 3 };
enum Clear : int32_t { clNone = 0, clLeft = 1, clRight = 2, clCenter = 3, clAll = 4 };
enum FollowNext : int32_t { fnNo = 0, fnPage = 1, fnColumn = 2, fnColumnRow = 3, fnAlways = 4 };
enum PageMode : int32_t { pmSingle = 0, pmEven = 1 };
enum TextLineGrids : int32_t { tlgNone = 0, tlgBaseline = 1 };
enum Position : int32_t { posStatic = 0, posAbsolute = 1 };
enum VerticalAlign : int32_t { vaTop = 0, vaMiddle = 1, vaBottom = 2, vaBaseline = 3 };
enum BaselineShift : int32_t { bsNormal = 0, bsSuper = 1 };
enum Display : int32_t { dispNone = 0, dispBlock = 1 };
enum ArrowHead : int32_t { ahNone = 0, ahArrow = 1, ahTriangle = 2, ahTriangleFilled = 3 };
enum ArrowDraw : int32_t { adSquare = 0, adRound = 1, adDirect = 2 };
enum ArrowRoute : int32_t { arShortest = 0, arLongest = 1 };
enum PaperCorner : int32_t { pcLeft = 0, pcRight = 1 };
enum NumberGeneratorMode : int32_t {
    ngmInc = 0,
    ngmDec = 1,
    ngmPage = 2,
    ngmPages = 3,
    ngmNextPage = 4,
    ngmPrevPage = 5,
    ngmToc = 6,
    ngmReference = 7,
};
enum ViewShape : int32_t {
    vsRectangle = 0,
    vsEllipse = 1,
    vsDiamond = 2,
    vsDocument = 3,
    vsDocuments = 4,
    vsNone = 5,
};
enum ListStyleType : int32_t {
    lstNone = 0,
    lstDash = 1,
    lstDisc = 2,
    lstCircle = 3,
    lstSquare = 4,
    lstDecimal = 5,
    lstDecimalLeadingZero = 6,
    lstLowerAlpha = 7,
    lstUpperAlpha = 8,
};
// Value 1 is 0 degrees; 0 is not a direction and reads as 0 degrees.
enum ReferenceOrientation : int32_t {
    roUnset = 0,
    ro0 = 1,
    ro90 = 2,
    roMinus270 = 3,
    ro180 = 4,
    ro270 = 5,
    roMinus90 = 6,
};
enum Barcode : int32_t {
    bcNone = 0,
    bcC39 = 1,
    bcC39Plus = 2,
    bcC39E = 3,
    bcC39EPlus = 4,
    bcC128A = 5,
    bcC128B = 6,
    bcC128C = 7,
    bcEAN128A = 8,
    bcEAN128B = 9,
    bcEAN128C = 10,
    bcC93 = 11,
    bcS25 = 12,
    bcS25Plus = 13,
    bcI25 = 14,
    bcI25Plus = 15,
    bcI25B = 16,
    bcI25BPlus = 17,
    bcMSI = 18,
    bcMSIPlus = 19,
    bcCODABAR = 20,
    bcCODE11 = 21,
    bcISBN = 22,
    bcISSN = 23,
    bcEAN13 = 24,
};

std::string format2Str(Format v);
Format str2Format(const std::string& s);
std::vector<std::string> format2Arr();

std::string pageBreak2Str(PageBreak v);
PageBreak str2PageBreak(const std::string& s);
std::vector<std::string> pageBreak2Arr();

std::string nextColumn2Str(NextColumn v);
NextColumn str2NextColumn(const std::string& s);
std::vector<std::string> nextColumn2Arr();

std::string pageNumberMode2Str(PageNumberMode v);
PageNumberMode str2PageNumberMode(const std::string& s);

std::string textAlign2Str(TextAlign v);
TextAlign str2TextAlign(const std::string& s);
std::vector<std::string> textAling2Arr();

std::string fontKerning2Str(FontKerning v);
FontKerning str2FontKerning(const std::string& s);
std::vector<std::string> fontKerning2Arr();

std::string hyphens2Str(Hyphens v);
Hyphens str2Hyphens(const std::string& s);
std::vector<std::string> hyphens2Arr();

std::string hyphenatorMethod2Str(HyphenatorMethod v);
HyphenatorMethod str2HyphenatorMethod(const std::string& s);
std::vector<std::string> hyphenatorMethod2Arr();

std::string wordWrap2Str(WordWrap v);
WordWrap str2WordWrap(const std::string& s);

std::string whiteSpace2Str(WhiteSpace v);
WhiteSpace str2WhiteSpace(const std::string& s);

std::string blockBreak2Str(BlockBreak v);
BlockBreak str2BlockBreak(const std::string& s);
std::vector<std::string> blockBreak2Arr();

std::string leaderPattern2Str(LeaderPattern v);
LeaderPattern str2LeaderPattern(const std::string& s);
std::vector<std::string> leaderPatterns2Arr();

std::string float2Str(Float v);
Float str2Float(const std::string& s);
std::vector<std::string> float2Arr();

// str2Clear also knows "all".
std::string clear2Str(Clear v);
Clear str2Clear(const std::string& s);
std::vector<std::string> clear2Arr();

// str2FollowNext also knows "yes" and "true", both fnAlways.
std::string followNext2Str(FollowNext v);
FollowNext str2FollowNext(const std::string& s);
std::vector<std::string> followNext2Arr();

std::string pageMode2Str(PageMode v);
PageMode str2PageMode(const std::string& s);
std::vector<std::string> pageMode2Arr();

std::string textLineGrids2Str(TextLineGrids v);
TextLineGrids str2TextLineGrids(const std::string& s);

std::string position2Str(Position v);
Position str2Position(const std::string& s);
std::vector<std::string> position2Arr();

std::string verticalAlign2Str(VerticalAlign v);
VerticalAlign str2VerticalAlign(const std::string& s);
std::vector<std::string> verticalAlign2Arr();

std::string baselineShift2Str(BaselineShift v);
BaselineShift str2BaselineShift(const std::string& s);
std::vector<std::string> baselineShift2Arr();

std::string display2Str(Display v);
Display str2Display(const std::string& s);

// str2ArrowHead also takes "filled" for ahTriangleFilled.
std::string arrowHead2Str(ArrowHead v);
ArrowHead str2ArrowHead(const std::string& s);
std::vector<std::string> arrowHead2Arr();

std::string arrowDraw2Str(ArrowDraw v);
ArrowDraw str2ArrowDraw(const std::string& s);
std::vector<std::string> arrowDraw2Arr();

std::string arrowRoute2Str(ArrowRoute v);
ArrowRoute str2ArrowRoute(const std::string& s);
std::vector<std::string> arrowRoute2Arr();

std::string paperCorner2Str(PaperCorner v);
PaperCorner str2PaperCorner(const std::string& s);
std::vector<std::string> paperCorner2Arr();

// str2NumberGeneratorMode also knows "incremental", "decremental",
// "table-of-contents" and "ref".
std::string numberGeneratorMode2Str(NumberGeneratorMode v);
NumberGeneratorMode str2NumberGeneratorMode(const std::string& s);
std::vector<std::string> numberGeneratorMode2Arr();

// str2ViewShape also knows "doc" and "docs".
std::string viewShape2Str(ViewShape v);
ViewShape str2ViewShape(const std::string& s);
std::vector<std::string> viewShape2Arr();

// listStyleType2Str spells values 5 to 8 by their marker text; the list gives
// the style names.  str2ListStyleType knows "-", "dash", "box", "square",
// "disc", "bulled", "circle", "none", "decimal", "decimal-leading-zero",
// "lower-alpha", "upper-alpha" and "alpha".
std::string listStyleType2Str(ListStyleType v);
ListStyleType str2ListStyleType(const std::string& s);
std::vector<std::string> listStyleType2Arr();
// The marker text of a list item; "" for none and unknown values.
std::string listStyleType2Marker(ListStyleType v);

// Unknown text gives ro0 (0 degrees).
std::string referenceOrientation2Str(ReferenceOrientation v);
ReferenceOrientation str2ReferenceOrientation(const std::string& s);
int32_t referenceOrientation2Angle(ReferenceOrientation v);
// True for 0 and 180 degrees only.
bool isHorizDir(ReferenceOrientation v);

std::string barcode2Str(Barcode v);
Barcode str2Barcode(const std::string& s);

// True for "true" and "yes" in any case, and for "1".
bool str2Boolean(const std::string& s);
std::string boolean2Str(bool b);

}  // namespace kivu
