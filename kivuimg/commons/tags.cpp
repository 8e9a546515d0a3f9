#include "kivuimg/commons/tags.h"

#include <array>
#include <initializer_list>

#include "kivuimg/commons/enumtable.h"

namespace kivu {

namespace {

KIVU_ENUM_TABLE(Tag, {.names = {"?",
                                "document",
                                "*",
                                "files",
                                "file",
                                "output",
                                "style",
                                "variables",
                                "variable",
                                "var",
                                "quote",
                                "with-variable",
                                "author",
                                "title",
                                "canvas",
                                "path",
                                "pen",
                                "arrow",
                                "rectangle",
                                "caption",
                                "ellipse",
                                "circle",
                                "diamond",
                                "doc",
                                "subject",
                                "keywords",
                                "page",
                                "frame",
                                "toc",
                                "region",
                                "region-before",
                                "region-after",
                                "region-start",
                                "region-end",
                                "region-body",
                                "tab",
                                "topic",
                                "body",
                                "#text",
                                "p",
                                "b",
                                "i",
                                "u",
                                "h",
                                "fig",
                                "sup",
                                "sub",
                                "inline",
                                "leader",
                                "uni",
                                "ng",
                                "rn",
                                "br",
                                "barcode",
                                "barcode",
                                "image",
                                "image",
                                "ul",
                                "ol",
                                "li",
                                "table",
                                "columns",
                                "column",
                                "theader",
                                "tbody",
                                "tfooter",
                                "trow",
                                "collection",
                                "template",
                                "entry"},
                      .first = 1,
                      .other = "?",
                      .words = {{"text", tgText}},
                      .unknown = tgUnknown})

// A set of tags as bits: tag n is bit n % 64 of word n / 64.
using TagSet = std::array<uint64_t, 2>;

constexpr TagSet tagSet(std::initializer_list<Tag> tags) {
    TagSet set{0, 0};
    for (Tag t : tags) set[t / 64] |= uint64_t{1} << (t % 64);
    return set;
}

constexpr bool inSet(const TagSet& set, Tag tag) {
    const uint32_t n = static_cast<uint32_t>(tag);
    return n < 128 && ((set[n / 64] >> (n % 64)) & 1u) != 0;
}

constexpr TagSet kRepeatable = tagSet({tgRegionBefore, tgRegionAfter, tgRegionStart, tgRegionEnd, tgTheader,
                                       tgTfooter});
constexpr TagSet kTextModel = tagSet({tgTitle, tgP, tgFig});
constexpr TagSet kCollectionChild = tagSet({tgTitle, tgCanvas, tgP, tgFig, tgBr, tgBarcode, tgImage, tgUl, tgOl,
                                            tgLi, tgTable, tgCollection});
constexpr TagSet kCollection = tagSet({tgRegion, tgRegionBefore, tgRegionAfter, tgRegionStart, tgRegionEnd,
                                       tgRegionBody, tgTopic, tgBody, tgLi, tgCollection, tgEntry});
constexpr TagSet kMainRegion = tagSet({tgRegionBefore, tgRegionAfter, tgRegionStart, tgRegionEnd, tgRegionBody});
constexpr TagSet kRegion = tagSet({tgRegion, tgRegionBefore, tgRegionAfter, tgRegionStart, tgRegionEnd,
                                   tgRegionBody, tgBody});
constexpr TagSet kText = tagSet({tgTitle, tgP, tgB, tgI, tgFig, tgInline, tgLeader, tgNg, tgRn, tgLi,
                                 tgCollection, tgEntry});
constexpr TagSet kNotInlineText = tagSet({tgTitle, tgP, tgFig, tgLeader, tgLi, tgCollection, tgTemplate, tgEntry});
constexpr TagSet kList = tagSet({tgUl, tgOl});

}  // namespace

Tag str2Tag(const std::string& text, Tag parent) {
    const Tag tag = tableTag().fromStr(text);
    if (tag == tgImage && parent == tgCanvas) return tgCanvasImage;
    return tag;
}

std::string tag2Str(Tag tag) { return tableTag().toStr(tag); }
std::string toStr(Tag tag) { return tag2Str(tag); }

bool isRepeatable(Tag tag) { return inSet(kRepeatable, tag); }
bool isTextModel(Tag tag) { return inSet(kTextModel, tag); }
bool isCollectionChildElement(Tag tag) { return inSet(kCollectionChild, tag); }
bool isCollectionElement(Tag tag) { return inSet(kCollection, tag); }
bool isMainRegion(Tag tag) { return inSet(kMainRegion, tag); }
bool isRegion(Tag tag) { return inSet(kRegion, tag); }
bool isText(Tag tag) { return inSet(kText, tag); }
bool notInlineText(Tag tag) { return inSet(kNotInlineText, tag); }
bool isList(Tag tag) { return inSet(kList, tag); }

}  // namespace kivu
