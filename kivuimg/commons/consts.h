// Enumerations shared by the engine and the library, with their spellings.
// Every enumeration with spellings has the family xxx2Str (value to word),
// str2Xxx (word to value, any case, unknown text gives 0) and xxx2Arr (the
// spellings for a list box, value order, the default in square brackets).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kivuimg/commons/core/export.h"

namespace kivu {

enum ColorSpace : int32_t { csAuto = 0, csRGB = 1, csCMYK = 2, csGray = 3, csSpot = 4, csNone = 5 };

enum ConvertImages : int32_t { ciNo = 0, ciTransform = 1, ciByProfile = 2 };

// 0 is unset; 1 is an explicit "none".
enum Decoration : int32_t {
    decUnset = 0,
    decNone = 1,
    decUnderline = 2,
    decOverline = 3,
    decLineThrough = 4,
    decWavy = 5,
};

enum TextTransform : int32_t { ttNone = 0, ttUppercase = 1, ttLowercase = 2, ttCapitalize = 3 };

enum BackgroundRepeat : int32_t { brNoRepeat = 0, brRepeat = 1, brRepeatX = 2, brRepeatY = 3 };

enum BackgroundPosition : int32_t { bpAuto = 0, bpStart = 1, bpCenter = 2, bpEnd = 3 };

enum FontSubset : int32_t { fsCid = 0, fsFull = 1, fsStandard = 2 };

enum Weight : int32_t { wNormal = 0, wBold = 1 };

enum Style : int32_t { stNormal = 0, stItalic = 1, stOblique = 2 };

enum FontVariant : int32_t { fvNormal = 0, fvSmallCaps = 1 };

enum Clipping : int32_t { clipAuto = 0, clipYes = 1, clipNo = 2 };

enum PageRepeat : int32_t { prIgnore = 0, prAuto = 1, prEven = 2 };

enum QuoteCopy : int32_t { qcNumber = 0, qcTitle = 1 };

enum BreakMode : int32_t { bmCanNot = 0, bmReset = 1, bmRevert = 2 };

// Which rules drawings (SVG) are read and drawn by: the engine's own, as it
// has always drawn them, or the SVG and CSS recommendations as browsers
// follow them.
enum Rules : int32_t { rulesEngine = 0, rulesStandard = 1 };

// Where a piece stands in a run that may be split: the only piece, the
// first, one in the middle, the last.
enum Placement : int32_t { plOnly = 0, plFirst = 1, plMiddle = 2, plLast = 3 };

// "RGB", "CMYK", "GRAY", "SPOT"; any other value "RGB".
KIVU_API std::string colorSpace2Str(ColorSpace v);
// "rgb", "rgba", "rgbdevice"; "cmyk", "cmyka", "devicecmyk"; "gray",
// "grayscale", "devicegray"; "spot", "spotdevice".  Others give csAuto.
KIVU_API ColorSpace str2ColorSpace(const std::string& s);
KIVU_API std::vector<std::string> colorSpace2Arr();
// The PDF device space: "DeviceCMYK" (also for spot), "DeviceGray", "DeviceRGB".
KIVU_API std::string colorSpace2Device(ColorSpace v);

KIVU_API std::string decoration2Str(Decoration v);
KIVU_API Decoration str2Decoration(const std::string& s);
KIVU_API std::vector<std::string> decoration2Arr();

KIVU_API std::string textTransform2Str(TextTransform v);
KIVU_API TextTransform str2TextTransform(const std::string& s);
KIVU_API std::vector<std::string> textTransform2Arr();

KIVU_API std::string backgroundRepeat2Str(BackgroundRepeat v);
KIVU_API BackgroundRepeat str2BackgroundRepeat(const std::string& s);
KIVU_API std::vector<std::string> backgroundRepeat2Arr();

// str2BackgroundPosition also knows "left"/"top", "middle", "right"/"bottom".
KIVU_API std::string backgroundPosition2Str(BackgroundPosition v);
KIVU_API BackgroundPosition str2BackgroundPosition(const std::string& s);
KIVU_API std::vector<std::string> backgroundPosition2Arr();

KIVU_API std::string convertImagesStr(ConvertImages v);
KIVU_API ConvertImages str2ConvertImages(const std::string& s);
KIVU_API std::vector<std::string> convertImages2Arr();

KIVU_API std::string fontSubset2Str(FontSubset v);
KIVU_API FontSubset str2FontSubset(const std::string& s);
KIVU_API std::vector<std::string> fontSubset2Arr();

KIVU_API std::string weight2Str(Weight v);
KIVU_API Weight str2Weight(const std::string& s);
KIVU_API std::vector<std::string> weight2Arr();

KIVU_API std::string style2Str(Style v);
KIVU_API Style str2Style(const std::string& s);
KIVU_API std::vector<std::string> style2Arr();

KIVU_API std::string fontVariant2Str(FontVariant v);
KIVU_API FontVariant str2FontVariant(const std::string& s);
KIVU_API std::vector<std::string> fontVariant2Arr();

// "yes"/"true" give clipYes, "no"/"false" clipNo.
KIVU_API std::string clipping2Str(Clipping v);
KIVU_API Clipping str2Clipping(const std::string& s);
KIVU_API std::vector<std::string> clipping2Arr();

KIVU_API std::string pageRepeat2Str(PageRepeat v);
KIVU_API PageRepeat str2PageRepeat(const std::string& s);
KIVU_API std::vector<std::string> pageRepeat2Arr();

KIVU_API std::string quoteCopy2Str(QuoteCopy v);
KIVU_API QuoteCopy str2QuoteCopy(const std::string& s);
KIVU_API std::vector<std::string> quoteCopy2Arr();

KIVU_API std::string breakMode2Str(BreakMode v);
KIVU_API BreakMode str2BreakMode(const std::string& s);
KIVU_API std::vector<std::string> breakMode2Arr();

// "engine", "standard"; unknown text gives rulesEngine.
KIVU_API std::string rules2Str(Rules v);
KIVU_API Rules str2Rules(const std::string& s);
KIVU_API std::vector<std::string> rules2Arr();

KIVU_API bool isFirstPlace(Placement p);
KIVU_API bool isLastPlace(Placement p);

}  // namespace kivu
