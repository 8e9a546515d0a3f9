#include "kivuimg/css/consts.h"

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/enumtable.h"

namespace kivu {

namespace {

KIVU_ENUM_TABLE(Format, {.list = {"[general]", "number", "date", "time"},
                         .names = {"number", "date", "time"},
                         .first = 1})
KIVU_ENUM_TABLE(PageBreak, {.list = {"[no]", "after", "before"}, .names = {"after", "before"}, .first = 1})
KIVU_ENUM_TABLE(NextColumn, {.list = {"[no]", "before", "after", "before-after"},
                             .names = {"before", "after", "before-after"},
                             .first = 1})
KIVU_ENUM_TABLE(PageNumberMode, {.names = {"next", "last", "prev"}})
KIVU_ENUM_TABLE(TextAlign, {.list = {"[left]", "center", "right", "justify", "stretched"},
                            .names = {"left", "center", "right", "justify", "stretched"}})
KIVU_ENUM_TABLE(FontKerning, {.list = {"[auto]", "normal", "none"}, .names = {"auto", "normal", "none"}})
KIVU_ENUM_TABLE(Hyphens, {.list = {"[manual]", "auto", "none"}, .names = {"manual", "auto", "none"}})
KIVU_ENUM_TABLE(HyphenatorMethod, {.list = {"[buildin]", "voikko"}, .names = {"buildin", "voikko"}})
KIVU_ENUM_TABLE(WordWrap, {.names = {"normal", "break-word"}})
KIVU_ENUM_TABLE(WhiteSpace, {.names = {"normal", "nowrap"}})
KIVU_ENUM_TABLE(BlockBreak, {.list = {"[break]", "avoid", "avoid-more"}, .names = {"break", "avoid", "avoid-more"}})
KIVU_ENUM_TABLE(LeaderPattern, {.list = {"[dots]", "space", "rule"}, .names = {"dots", "space", "rule"}})
KIVU_ENUM_TABLE(Float, {.list = {"[none]", "left", "right", "center"}, .names = {"none", "left", "right", "center"}})
KIVU_ENUM_TABLE(Clear, {.list = {"[none]", "left", "right", "center"},
                        .names = {"none", "left", "right", "center"},
                        .words = {{"all", clAll}}})
KIVU_ENUM_TABLE(FollowNext, {.list = {"[no]", "page", "column", "column-row"},
                             .names = {"page", "column", "column-row", "always"},
                             .first = 1,
                             .words = {{"yes", fnAlways}, {"true", fnAlways}}})
KIVU_ENUM_TABLE(PageMode, {.list = {"[single]", "even"}, .names = {"single", "even"}})
KIVU_ENUM_TABLE(TextLineGrids, {.names = {"none", "baseline"}})
KIVU_ENUM_TABLE(Position, {.list = {"[static]", "absolute"}, .names = {"static", "absolute"}})
KIVU_ENUM_TABLE(VerticalAlign, {.list = {"[top]", "middle", "bottom"}, .names = {"top", "middle", "bottom", "baseline"}})
KIVU_ENUM_TABLE(BaselineShift, {.list = {"[normal]", "super"}, .names = {"normal", "super"}})
KIVU_ENUM_TABLE(Display, {.names = {"none", "block"}})
KIVU_ENUM_TABLE(ArrowHead, {.list = {"[none]", "arrow", "triangle", "triangle-filled"},
                            .names = {"none", "arrow", "triangle", "triangle-filled"},
                            .words = {{"filled", ahTriangleFilled}}})
KIVU_ENUM_TABLE(ArrowDraw, {.list = {"[square]", "round", "direct"}, .names = {"square", "round", "direct"}})
KIVU_ENUM_TABLE(ArrowRoute, {.list = {"[shortest]", "longest"}, .names = {"shortest", "longest"}})
KIVU_ENUM_TABLE(PaperCorner, {.list = {"[left]", "right"}, .names = {"left", "right"}})
KIVU_ENUM_TABLE(NumberGeneratorMode,
                {.list = {"[inc]", "dec", "page", "pages", "next-page", "prev-page", "toc", "reference"},
                 .names = {"inc", "dec", "page", "pages", "next-page", "prev-page", "toc", "reference"},
                 .words = {{"incremental", ngmInc},
                           {"decremental", ngmDec},
                           {"table-of-contents", ngmToc},
                           {"ref", ngmReference}}})
KIVU_ENUM_TABLE(ViewShape, {.list = {"[rectangle]", "ellipse", "diamond", "document", "documents", "none"},
                            .names = {"rectangle", "ellipse", "diamond", "document", "documents", "none"},
                            .words = {{"doc", vsDocument}, {"docs", vsDocuments}}})
KIVU_ENUM_TABLE(ListStyleType,
                {.list = {"none", "dash", "disc", "circle", "square", "decimal", "decimal-leading-zero",
                          "lower-alpha", "upper-alpha"},
                 .names = {"none", "ndash", "disc", "circle", "square", "1.", "01.", "a.", "A."},
                 .namesAreWords = false,
                 .words = {{"-", lstDash},
                           {"dash", lstDash},
                           {"box", lstSquare},
                           {"square", lstSquare},
                           {"disc", lstDisc},
                           {"bulled", lstDisc},
                           {"circle", lstCircle},
                           {"none", lstNone},
                           {"decimal", lstDecimal},
                           {"decimal-leading-zero", lstDecimalLeadingZero},
                           {"lower-alpha", lstLowerAlpha},
                           {"upper-alpha", lstUpperAlpha},
                           {"alpha", lstLowerAlpha}}})
KIVU_ENUM_TABLE(ReferenceOrientation, {.names = {"90", "-270", "180", "270", "-90"},
                                       .first = 2,
                                       .other = "0",
                                       .words = {{"270N", roMinus270}, {"90N", roMinus90}},
                                       .unknown = ro0})
KIVU_ENUM_TABLE(Barcode, {.names = {"none", "C39", "C39+", "C39E", "C39E+", "C128A", "C128B", "C128C", "EAN128A",
                                    "EAN128B", "EAN128C", "C93", "S25", "S25+", "I25", "I25+", "I25B", "I25B+", "MSI",
                                    "MSI+", "CODABAR", "CODE11", "ISBN", "ISSN", "EAN13"}})

}  // namespace

KIVU_ENUM_STR(Format, format2Str, str2Format)
KIVU_ENUM_ARR(Format, format2Arr)
KIVU_ENUM_STR(PageBreak, pageBreak2Str, str2PageBreak)
KIVU_ENUM_ARR(PageBreak, pageBreak2Arr)
KIVU_ENUM_STR(NextColumn, nextColumn2Str, str2NextColumn)
KIVU_ENUM_ARR(NextColumn, nextColumn2Arr)
KIVU_ENUM_STR(PageNumberMode, pageNumberMode2Str, str2PageNumberMode)
KIVU_ENUM_STR(TextAlign, textAlign2Str, str2TextAlign)
KIVU_ENUM_ARR(TextAlign, textAling2Arr)
KIVU_ENUM_STR(FontKerning, fontKerning2Str, str2FontKerning)
KIVU_ENUM_ARR(FontKerning, fontKerning2Arr)
KIVU_ENUM_STR(Hyphens, hyphens2Str, str2Hyphens)
KIVU_ENUM_ARR(Hyphens, hyphens2Arr)
KIVU_ENUM_STR(HyphenatorMethod, hyphenatorMethod2Str, str2HyphenatorMethod)
KIVU_ENUM_ARR(HyphenatorMethod, hyphenatorMethod2Arr)
KIVU_ENUM_STR(WordWrap, wordWrap2Str, str2WordWrap)
KIVU_ENUM_STR(WhiteSpace, whiteSpace2Str, str2WhiteSpace)
KIVU_ENUM_STR(BlockBreak, blockBreak2Str, str2BlockBreak)
KIVU_ENUM_ARR(BlockBreak, blockBreak2Arr)
KIVU_ENUM_STR(LeaderPattern, leaderPattern2Str, str2LeaderPattern)
KIVU_ENUM_ARR(LeaderPattern, leaderPatterns2Arr)
KIVU_ENUM_STR(Float, float2Str, str2Float)
KIVU_ENUM_ARR(Float, float2Arr)
KIVU_ENUM_STR(Clear, clear2Str, str2Clear)
KIVU_ENUM_ARR(Clear, clear2Arr)
KIVU_ENUM_STR(FollowNext, followNext2Str, str2FollowNext)
KIVU_ENUM_ARR(FollowNext, followNext2Arr)
KIVU_ENUM_STR(PageMode, pageMode2Str, str2PageMode)
KIVU_ENUM_ARR(PageMode, pageMode2Arr)
KIVU_ENUM_STR(TextLineGrids, textLineGrids2Str, str2TextLineGrids)
KIVU_ENUM_STR(Position, position2Str, str2Position)
KIVU_ENUM_ARR(Position, position2Arr)
KIVU_ENUM_STR(VerticalAlign, verticalAlign2Str, str2VerticalAlign)
KIVU_ENUM_ARR(VerticalAlign, verticalAlign2Arr)
KIVU_ENUM_STR(BaselineShift, baselineShift2Str, str2BaselineShift)
KIVU_ENUM_ARR(BaselineShift, baselineShift2Arr)
KIVU_ENUM_STR(Display, display2Str, str2Display)
KIVU_ENUM_STR(ArrowHead, arrowHead2Str, str2ArrowHead)
KIVU_ENUM_ARR(ArrowHead, arrowHead2Arr)
KIVU_ENUM_STR(ArrowDraw, arrowDraw2Str, str2ArrowDraw)
KIVU_ENUM_ARR(ArrowDraw, arrowDraw2Arr)
KIVU_ENUM_STR(ArrowRoute, arrowRoute2Str, str2ArrowRoute)
KIVU_ENUM_ARR(ArrowRoute, arrowRoute2Arr)
KIVU_ENUM_STR(PaperCorner, paperCorner2Str, str2PaperCorner)
KIVU_ENUM_ARR(PaperCorner, paperCorner2Arr)
KIVU_ENUM_STR(NumberGeneratorMode, numberGeneratorMode2Str, str2NumberGeneratorMode)
KIVU_ENUM_ARR(NumberGeneratorMode, numberGeneratorMode2Arr)
KIVU_ENUM_STR(ViewShape, viewShape2Str, str2ViewShape)
KIVU_ENUM_ARR(ViewShape, viewShape2Arr)
KIVU_ENUM_STR(ListStyleType, listStyleType2Str, str2ListStyleType)
KIVU_ENUM_ARR(ListStyleType, listStyleType2Arr)
KIVU_ENUM_STR(ReferenceOrientation, referenceOrientation2Str, str2ReferenceOrientation)
KIVU_ENUM_STR(Barcode, barcode2Str, str2Barcode)

std::string listStyleType2Marker(ListStyleType v) {
    switch (v) {
        case lstDash: return "\u2013";
        case lstDisc: return "\u25CF";
        case lstCircle: return "\u25CB";
        case lstSquare: return "\u25A0";
        case lstDecimal: return "1.";
        case lstDecimalLeadingZero: return "01.";
        case lstLowerAlpha: return "a.";
        case lstUpperAlpha: return "A.";
        default: return "";
    }
}

int32_t referenceOrientation2Angle(ReferenceOrientation v) {
    switch (v) {
        case ro90: return 90;
        case roMinus270: return -270;
        case ro180: return 180;
        case ro270: return 270;
        case roMinus90: return -90;
        default: return 0;
    }
}

bool isHorizDir(ReferenceOrientation v) {
    const int32_t angle = referenceOrientation2Angle(v);
    return angle == 0 || angle == 180;
}

bool str2Boolean(const std::string& s) {
    const std::string lower = toLower(s);
    return lower == "true" || lower == "yes" || s == "1";
}

std::string boolean2Str(bool b) { return b ? "true" : "false"; }

}  // namespace kivu
