#include "kivuimg/commons/consts.h"

#include "kivuimg/commons/enumtable.h"

namespace kivu {

namespace {

KIVU_ENUM_TABLE(ColorSpace, {.list = {"[auto]", "rgb", "cmyk", "gray", "spot"},
                             .names = {"RGB", "CMYK", "GRAY", "SPOT"},
                             .first = 1,
                             .other = "RGB",
                             .namesAreWords = false,
                             .words = {{"rgb", csRGB},
                                       {"rgba", csRGB},
                                       {"rgbdevice", csRGB},
                                       {"cmyk", csCMYK},
                                       {"cmyka", csCMYK},
                                       {"devicecmyk", csCMYK},
                                       {"gray", csGray},
                                       {"grayscale", csGray},
                                       {"devicegray", csGray},
                                       {"spot", csSpot},
                                       {"spotdevice", csSpot}}})

KIVU_ENUM_TABLE(Decoration, {.list = {"[none]", "none", "underline", "overline", "line-through", "wavy"},
                             .names = {"none", "underline", "overline", "line-through", "wavy"},
                             .first = 1,
                             .other = "none"})

KIVU_ENUM_TABLE(TextTransform, {.list = {"[none]", "uppercase", "lowercase", "capitalize"},
                                .names = {"none", "uppercase", "lowercase", "capitalize"}})

KIVU_ENUM_TABLE(BackgroundRepeat, {.list = {"[no-repeat]", "repeat", "repeat-x", "repeat-y"},
                                   .names = {"no-repeat", "repeat", "repeat-x", "repeat-y"}})

KIVU_ENUM_TABLE(BackgroundPosition, {.list = {"[auto]", "start", "center", "end"},
                                     .names = {"auto", "start", "center", "end"},
                                     .words = {{"left", bpStart},
                                               {"top", bpStart},
                                               {"middle", bpCenter},
                                               {"right", bpEnd},
                                               {"bottom", bpEnd}}})

KIVU_ENUM_TABLE(ConvertImages, {.list = {"[no]", "transform", "byprofile"}, .names = {"no", "transform", "byprofile"}})

KIVU_ENUM_TABLE(FontSubset, {.list = {"[cid]", "full", "standard"}, .names = {"cid", "full", "standard"}})

KIVU_ENUM_TABLE(Weight, {.list = {"[normal]", "bold"}, .names = {"normal", "bold"}})

KIVU_ENUM_TABLE(Style, {.list = {"[normal]", "italic", "oblique"}, .names = {"normal", "italic", "oblique"}})

KIVU_ENUM_TABLE(FontVariant, {.list = {"[normal]", "small-caps"}, .names = {"normal", "small-caps"}})

KIVU_ENUM_TABLE(Clipping, {.list = {"[auto]", "true", "false"},
                           .names = {"auto", "true", "false"},
                           .words = {{"yes", clipYes}, {"no", clipNo}}})

KIVU_ENUM_TABLE(Rules, {.list = {"[engine]", "standard"}, .names = {"engine", "standard"}})

KIVU_ENUM_TABLE(PageRepeat, {.list = {"[ignore]", "auto", "even"}, .names = {"ignore", "auto", "even"}})

KIVU_ENUM_TABLE(QuoteCopy, {.list = {"number", "title"}, .names = {"number", "title"}})

KIVU_ENUM_TABLE(BreakMode, {.list = {"CAN-NOT", "RESET", "REVERT"}, .names = {"CAN-NOT", "RESET", "REVERT"}})

}  // namespace

KIVU_ENUM_STR(ColorSpace, colorSpace2Str, str2ColorSpace)
KIVU_ENUM_ARR(ColorSpace, colorSpace2Arr)
KIVU_ENUM_STR(Decoration, decoration2Str, str2Decoration)
KIVU_ENUM_ARR(Decoration, decoration2Arr)
KIVU_ENUM_STR(TextTransform, textTransform2Str, str2TextTransform)
KIVU_ENUM_ARR(TextTransform, textTransform2Arr)
KIVU_ENUM_STR(BackgroundRepeat, backgroundRepeat2Str, str2BackgroundRepeat)
KIVU_ENUM_ARR(BackgroundRepeat, backgroundRepeat2Arr)
KIVU_ENUM_STR(BackgroundPosition, backgroundPosition2Str, str2BackgroundPosition)
KIVU_ENUM_ARR(BackgroundPosition, backgroundPosition2Arr)
KIVU_ENUM_STR(ConvertImages, convertImagesStr, str2ConvertImages)
KIVU_ENUM_ARR(ConvertImages, convertImages2Arr)
KIVU_ENUM_STR(FontSubset, fontSubset2Str, str2FontSubset)
KIVU_ENUM_ARR(FontSubset, fontSubset2Arr)
KIVU_ENUM_STR(Weight, weight2Str, str2Weight)
KIVU_ENUM_ARR(Weight, weight2Arr)
KIVU_ENUM_STR(Style, style2Str, str2Style)
KIVU_ENUM_ARR(Style, style2Arr)
KIVU_ENUM_STR(FontVariant, fontVariant2Str, str2FontVariant)
KIVU_ENUM_ARR(FontVariant, fontVariant2Arr)
KIVU_ENUM_STR(Clipping, clipping2Str, str2Clipping)
KIVU_ENUM_ARR(Clipping, clipping2Arr)
KIVU_ENUM_STR(PageRepeat, pageRepeat2Str, str2PageRepeat)
KIVU_ENUM_ARR(PageRepeat, pageRepeat2Arr)
KIVU_ENUM_STR(QuoteCopy, quoteCopy2Str, str2QuoteCopy)
KIVU_ENUM_ARR(QuoteCopy, quoteCopy2Arr)
KIVU_ENUM_STR(BreakMode, breakMode2Str, str2BreakMode)
KIVU_ENUM_ARR(BreakMode, breakMode2Arr)
KIVU_ENUM_STR(Rules, rules2Str, str2Rules)
KIVU_ENUM_ARR(Rules, rules2Arr)

std::string colorSpace2Device(ColorSpace v) {
    switch (v) {
        case csCMYK:
        case csSpot: return "DeviceCMYK";
        case csGray: return "DeviceGray";
        default: return "DeviceRGB";
    }
}

bool isFirstPlace(Placement p) { return p == plOnly || p == plFirst; }
bool isLastPlace(Placement p) { return p == plOnly || p == plLast; }

}  // namespace kivu
