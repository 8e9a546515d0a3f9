#include "kivuimg/img/svg/element.h"

#include <libxml/tree.h>

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/img/svg/circle.h"
#include "kivuimg/img/svg/defs.h"
#include "kivuimg/img/svg/ellipse.h"
#include "kivuimg/img/svg/group.h"
#include "kivuimg/img/svg/imagesvg.h"
#include "kivuimg/img/svg/line.h"
#include "kivuimg/img/svg/path.h"
#include "kivuimg/img/svg/polygon.h"
#include "kivuimg/img/svg/polyline.h"
#include "kivuimg/img/svg/rect.h"
#include "kivuimg/img/svg/subimage.h"
#include "kivuimg/img/svg/symbol.h"
#include "kivuimg/img/svg/text.h"
#include "kivuimg/img/svg/use.h"

namespace kivu {

// ---- TSvgElement -------------------------------------------------------------

TSvgElement::TSvgElement(TImageSVG* svgBase, bool dublicated) : svgBase_(svgBase), dublicated_(dublicated) {
    if (svgBase_) svgBase_->countElement();
}

TSvgElement::TSvgElement(TSvgElement* parent, bool dublicated)
    : parent_(parent), dublicated_(dublicated), depth_(parent ? parent->depth_ + 1 : 0) {
    if (depth_ > kMaxSvgDepth) throwf("SVG: elements nest deeper than %d levels", kMaxSvgDepth);
    if (TImageSVG* doc = ptrSvgBase()) doc->countElement();
}

TSvgElement::~TSvgElement() = default;

TSvgGroup* TSvgElement::group() { return dynamic_cast<TSvgGroup*>(parent_); }

std::string TSvgElement::ID() const { return attribute("id"); }

TImageSVG* TSvgElement::ptrSvgBase() {
    if (svgBase_) return svgBase_;
    TSvgElement* top = parent_;
    if (!top) return nullptr;
    while (top->parent_) top = top->parent_;
    return top->svgBase_;
}

SSVGStyle* TSvgElement::parentStyle() { return parent_ ? parent_->style() : nullptr; }

std::string TSvgElement::attribute(const std::string& name) const {
    auto it = attributes_.find(name);
    return it == attributes_.end() ? std::string() : it->second;
}

void TSvgElement::_getAttributes(_xmlNode* node) { attributes_ = svgnode::attributes(node); }

void TSvgElement::readAttributesAndStyle(_xmlNode* node, bool isText) {
    _getAttributes(node);
    if (TImageSVG* doc = ptrSvgBase()) style_ = doc->defineSvgStyle(attributes_, parentStyle(), isText);
}

void TSvgElement::read(_xmlNode* node) { readAttributesAndStyle(node, false); }

void TSvgElement::dublicateAttributes(const Attributes& attributes) {
    for (const auto& [key, value] : attributes) {
        if (key == "id" || key == "href" || attributes_.count(key)) continue;
        attributes_.emplace(key, value);
    }
    if (TImageSVG* doc = ptrSvgBase()) style_ = doc->defineSvgStyle(attributes_, parentStyle(), false);
}

std::unique_ptr<TSvgElement> TSvgElement::copyUnder(TImageSVG* svgBase, TSvgElement* parent, bool dublicated) {
    std::unique_ptr<TSvgElement> clone = makeEmpty(svgBase, parent, dublicated);
    clone->setStyle(style_);
    clone->setAttributes(attributes_);
    copyValuesTo(*clone);
    return clone;
}

std::unique_ptr<TSvgElement> TSvgElement::copy(TImageSVG* svgBase, bool dublicated) {
    return copyUnder(svgBase, nullptr, dublicated);
}

std::unique_ptr<TSvgElement> TSvgElement::copy(TSvgElement* parent, bool dublicated) {
    return copyUnder(nullptr, parent, dublicated);
}

std::array<std::string, 2> TSvgElement::shapeStyle() {
    TImageSVG* doc = ptrSvgBase();
    return doc ? doc->svgStyle(this) : std::array<std::string, 2>{};
}

std::unique_ptr<TMemory> TSvgElement::getData(float scale) {
    auto memory = std::make_unique<TMemory>(8192, 512);
    TContent out(*memory);
    writeData(out, scale);
    return memory;
}

// ---- libxml2 node helpers ----------------------------------------------------

namespace svgnode {

std::string text(const unsigned char* chars) {
    return chars ? std::string(reinterpret_cast<const char*>(chars)) : std::string();
}

std::string lowerName(_xmlNode* node) { return node ? toLower(text(node->name)) : std::string(); }

Attributes attributes(_xmlNode* node) {
    Attributes out;
    if (!node || node->type != XML_ELEMENT_NODE) return out;
    for (xmlAttr* a = node->properties; a; a = a->next) {
        // Only a text child is taken: an entity reference stays unexpanded.
        const xmlNode* first = a->children;
        const bool isText = first && (first->type == XML_TEXT_NODE || first->type == XML_CDATA_SECTION_NODE);
        out[text(a->name)] = isText ? text(first->content) : std::string();
    }
    return out;
}

std::string firstChildText(_xmlNode* node) {
    if (!node || !node->children) return std::string();
    const xmlNode* first = node->children;
    if (first->type != XML_TEXT_NODE && first->type != XML_CDATA_SECTION_NODE) return std::string();
    return text(first->content);
}

_xmlNode* firstElement(_xmlNode* node) {
    if (!node) return nullptr;
    for (xmlNode* c = node->children; c; c = c->next)
        if (c->type == XML_ELEMENT_NODE) return c;
    return nullptr;
}

namespace {

// From `start` on: an element is the answer; text and comments are passed
// over; anything else ends the walk.
_xmlNode* elementBehindText(_xmlNode* start) {
    for (xmlNode* c = start; c; c = c->next) {
        if (c->type == XML_ELEMENT_NODE) return c;
        if (c->type != XML_TEXT_NODE && c->type != XML_COMMENT_NODE) return nullptr;
    }
    return nullptr;
}

}  // namespace

_xmlNode* childNode(_xmlNode* node) {
    if (!node || !node->children) return nullptr;
    xmlNode* first = node->children;
    if (first->type == XML_ELEMENT_NODE) return first;
    if (first->type != XML_TEXT_NODE) return nullptr;
    return elementBehindText(first->next);
}

_xmlNode* nextNode(_xmlNode* node) { return node ? elementBehindText(node->next) : nullptr; }

std::vector<_xmlNode*> elementChildren(_xmlNode* node) {
    std::vector<_xmlNode*> out;
    if (!node) return out;
    for (xmlNode* c = node->children; c; c = c->next)
        if (c->type == XML_ELEMENT_NODE) out.push_back(c);
    return out;
}

}  // namespace svgnode

// ---- the element table ---------------------------------------------------------

namespace {

using Factory = std::unique_ptr<TSvgElement> (*)(TImageSVG*, TSvgElement*);

template <typename T>
std::unique_ptr<TSvgElement> make(TImageSVG* svgBase, TSvgElement* parent) {
    if (svgBase) return std::make_unique<T>(svgBase, false);
    return std::make_unique<T>(parent, false);
}

struct SElementKind {
    const char* name;
    uint8_t where;  // SvgContainer bits
    Factory make;   // null: the name acts on the document instead (gradients)
};

constexpr uint8_t kEverywhere = inDocument | inGroup | inDefs | inSymbol;

// Which container reads which name, and what it builds.  Style sheets are
// read by the document itself, at its top level only.
const SElementKind kElementKinds[] = {
    {"g", kEverywhere, &make<TSvgGroup>},
    {"use", inDocument | inGroup, &make<TSvgUse>},
    {"defs", inDocument | inGroup | inSymbol, &make<TSvgDefs>},
    {"line", kEverywhere, &make<TSvgLine>},
    {"path", kEverywhere, &make<TSvgPath>},
    {"rect", kEverywhere, &make<TSvgRect>},
    {"text", kEverywhere, &make<TSvgText>},
    {"image", kEverywhere, &make<TSvgSubImage>},
    {"circle", kEverywhere, &make<TSvgCircle>},
    {"symbol", inDocument | inGroup | inDefs, &make<TSvgSymbol>},
    {"ellipse", kEverywhere, &make<TSvgEllipse>},
    {"polygon", kEverywhere, &make<TSvgPolygon>},
    {"polyline", kEverywhere, &make<TSvgPolyline>},
    {"lineargradient", kEverywhere, nullptr},
    {"radialgradient", kEverywhere, nullptr},
};

TImageSVG* documentOf(TImageSVG* svgBase, TSvgElement* parent) {
    return svgBase ? svgBase : (parent ? parent->ptrSvgBase() : nullptr);
}

}  // namespace

std::unique_ptr<TSvgElement> createSvgElement(_xmlNode* node, SvgContainer where, TImageSVG* svgBase,
                                              TSvgElement* parent) {
    const std::string name = svgnode::lowerName(node);
    for (const SElementKind& kind : kElementKinds) {
        if (name != kind.name || !(kind.where & where)) continue;
        if (kind.make) return kind.make(svgBase, parent);
        TImageSVG* doc = documentOf(svgBase, parent);
        if (!doc) return nullptr;
        if (name == "lineargradient") doc->addGradient(node, gtLinear);
        else if (name == "radialgradient") doc->addGradient(node, gtRadial);
        return nullptr;
    }
    return nullptr;
}

}  // namespace kivu
