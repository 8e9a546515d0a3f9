// The tags of the engine's documents, with their spellings and the
// predicates that group them.
#pragma once

#include <cstdint>
#include <string>

namespace kivu {

enum Tag : int32_t {
    tgNone = 0,
    tgUnknown = 1,  // "?"
    tgDocument = 2,
    tgAny = 3,  // "*"
    tgFiles = 4,
    tgFile = 5,
    tgOutput = 6,
    tgStyle = 7,
    tgVariables = 8,
    tgVariable = 9,
    tgVar = 10,
    tgQuote = 11,
    tgWithVariable = 12,
    tgAuthor = 13,
    tgTitle = 14,
    tgCanvas = 15,
    tgPath = 16,
    tgPen = 17,
    tgArrow = 18,
    tgRectangle = 19,
    tgCaption = 20,
    tgEllipse = 21,
    tgCircle = 22,
    tgDiamond = 23,
    tgDoc = 24,
    tgSubject = 25,
    tgKeywords = 26,
    tgPage = 27,
    tgFrame = 28,
    tgToc = 29,
    tgRegion = 30,
    tgRegionBefore = 31,
    tgRegionAfter = 32,
    tgRegionStart = 33,
    tgRegionEnd = 34,
    tgRegionBody = 35,
    tgTab = 36,
    tgTopic = 37,
    tgBody = 38,
    tgText = 39,  // "#text"
    tgP = 40,
    tgB = 41,
    tgI = 42,
    tgU = 43,
    tgH = 44,
    tgFig = 45,
    tgSup = 46,
    tgSub = 47,
    tgInline = 48,
    tgLeader = 49,
    tgUni = 50,
    tgNg = 51,
    tgRn = 52,
    tgBr = 53,
    tgBarcode = 54,
    tgBarcode2 = 55,  // spelled "barcode" as well
    tgImage = 56,
    tgCanvasImage = 57,  // "image" inside a canvas
    tgUl = 58,
    tgOl = 59,
    tgLi = 60,
    tgTable = 61,
    tgColumns = 62,
    tgColumn = 63,
    tgTheader = 64,
    tgTbody = 65,
    tgTfooter = 66,
    tgTrow = 67,
    tgCollection = 68,
    tgTemplate = 69,
    tgEntry = 70,
};

// The tag of a spelling, in any case; unknown text gives tgUnknown.  "text"
// reads as "#text", "barcode" as tgBarcode, and "image" as tgCanvasImage
// under a canvas and tgImage elsewhere.
Tag str2Tag(const std::string& text, Tag parent);
// The spelling of a tag; a value outside 2..70 spells "?".
std::string tag2Str(Tag tag);
std::string toStr(Tag tag);

bool isRepeatable(Tag tag);
bool isTextModel(Tag tag);
bool isCollectionChildElement(Tag tag);
bool isCollectionElement(Tag tag);
bool isMainRegion(Tag tag);
bool isRegion(Tag tag);
bool isText(Tag tag);
bool notInlineText(Tag tag);
bool isList(Tag tag);

}  // namespace kivu
