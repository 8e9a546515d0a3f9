// TSvgElement: one node of an SVG drawing, read once from libxml2 into a
// plain object.  After reading, nothing in the tree touches libxml2: each
// element gives its PDF content operators through getData.
//
// Every element is built under the document (svgBase) or under a container
// (parent); exactly one of the two is set.  Containers own their children,
// the document owns the top-level elements, and both pointers only observe.
// Clones made for a `use` are marked as duplicated and are never found by
// id, so no `use` can aim at a clone.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "kivuimg/commons/content.h"
#include "kivuimg/commons/core/memory.h"
#include "kivuimg/img/svg/style.h"

// libxml2's node, by its own name, so that this header needs no libxml2 header.
struct _xmlNode;

namespace kivu {

class TImageSVG;
class TSvgGroup;

using Attributes = std::map<std::string, std::string>;

class TSvgElement {
public:
    TSvgElement(TImageSVG* svgBase, bool dublicated);
    TSvgElement(TSvgElement* parent, bool dublicated);
    virtual ~TSvgElement();
    TSvgElement(const TSvgElement&) = delete;
    TSvgElement& operator=(const TSvgElement&) = delete;

    // The parent when it is a container (group, defs or symbol), else null.
    virtual TSvgGroup* group();
    virtual TSvgElement* parent() { return parent_; }
    virtual bool isDublicated() const { return dublicated_; }
    // The attribute "id", or "".
    virtual std::string ID() const;
    // The document, found through the parents; null for a detached element.
    virtual TImageSVG* ptrSvgBase();
    virtual SSVGStyle* style() { return &style_; }
    virtual void setStyle(const SSVGStyle& style) { style_ = style; }
    // Adds the entries of `attributes` that this element doesn't set (but
    // never "id" or "href"), then resolves the style again.
    virtual void dublicateAttributes(const Attributes& attributes);
    // The parent's style, or null at the top level.
    virtual SSVGStyle* parentStyle();
    virtual std::string nodeName() const = 0;
    virtual void readUses(_xmlNode*) {}
    // Reads the node: its attributes and resolved style, then what the class needs.
    virtual void read(_xmlNode* node);
    // A clone of this element and everything below it, under a document or
    // under a container.
    virtual std::unique_ptr<TSvgElement> copy(TImageSVG* svgBase, bool dublicated);
    virtual std::unique_ptr<TSvgElement> copy(TSvgElement* parent, bool dublicated);
    virtual const Attributes& attributes() const { return attributes_; }
    virtual void setAttributes(const Attributes& attributes) { attributes_ = attributes; }

    // The content operators of this element, `scale` applied to every
    // coordinate and length it writes.
    std::unique_ptr<TMemory> getData(float scale);
    // The same, written into a stream that is being built.
    virtual void writeData(TContent& out, float scale) = 0;

    // How deep the element stands: 0 at the top level.
    int depth() const { return depth_; }

protected:
    // Fills the attribute map from the node.
    void _getAttributes(_xmlNode* node);
    // The attribute, or "" when it is absent.
    std::string attribute(const std::string& name) const;
    bool hasAttribute(const std::string& name) const { return attributes_.count(name) != 0; }
    // The common start of reading: attributes, then the style of a drawn
    // (isText false) or text element.
    void readAttributesAndStyle(_xmlNode* node, bool isText);
    // The frame of every shape: " q ", the transform, the operators before
    // the path (from the document's svgStyle), the path that `path` writes,
    // the operators after it, " Q\n".
    template <typename Path>
    void writeShape(TContent& out, Path&& path) {
        const std::array<std::string, 2> style = shapeStyle();
        out.save(" q ").raw(style_.transform).raw(style[0]);
        path(out);
        out.raw(style[1]).restore(" Q\n");
    }
    std::array<std::string, 2> shapeStyle();
    // A new, empty element of the same class under the given base.
    virtual std::unique_ptr<TSvgElement> makeEmpty(TImageSVG* svgBase, TSvgElement* parent, bool dublicated) = 0;
    // Copies what the class reads beyond attributes and style into `clone`.
    virtual void copyValuesTo(TSvgElement& clone) { (void)clone; }

    TImageSVG* svgBase_ = nullptr;
    TSvgElement* parent_ = nullptr;
    bool dublicated_ = false;
    int depth_ = 0;
    Attributes attributes_;
    SSVGStyle style_;

private:
    std::unique_ptr<TSvgElement> copyUnder(TImageSVG* svgBase, TSvgElement* parent, bool dublicated);
};

// The subclasses' makeEmpty: a new instance of `Self` under either base.
template <typename Self, typename Base>
class TSvgElementOf : public Base {
public:
    using Base::Base;

protected:
    std::unique_ptr<TSvgElement> makeEmpty(TImageSVG* svgBase, TSvgElement* parent, bool dublicated) override {
        if (svgBase) return std::make_unique<Self>(svgBase, dublicated);
        return std::make_unique<Self>(parent, dublicated);
    }
};

// ---- libxml2 node helpers ----------------------------------------------------

namespace svgnode {

// A copy of a libxml2 string; "" for null.
std::string text(const unsigned char* chars);
// The node's name, lower-cased.
std::string lowerName(_xmlNode* node);
// The attributes by local name ("xlink:href" under "href"), each the text
// of its first child; a repeated name keeps the last value.
Attributes attributes(_xmlNode* node);
// The content of the node's first child (text or CDATA), or "".
std::string firstChildText(_xmlNode* node);
// The first child of element type, skipping all others; null when none.
_xmlNode* firstElement(_xmlNode* node);
// The first element child behind leading text and comments; null when the
// first child is of another type, or when something else comes first.
_xmlNode* childNode(_xmlNode* node);
// The same walk from the node's next sibling.
_xmlNode* nextNode(_xmlNode* node);
// The children of element type, in document order.
std::vector<_xmlNode*> elementChildren(_xmlNode* node);

}  // namespace svgnode

// Where an element name is read: the containers that accept it.
enum SvgContainer : uint8_t { inDocument = 1, inGroup = 2, inDefs = 4, inSymbol = 8 };

// Builds the element for a child node of a container, by its lower-cased
// name: null for names the container doesn't accept and for the names that
// act instead of building (gradients, style sheets), which it carries out on
// the document.  Exactly one of `svgBase` and `parent` is set.
std::unique_ptr<TSvgElement> createSvgElement(_xmlNode* node, SvgContainer where, TImageSVG* svgBase,
                                              TSvgElement* parent);

}  // namespace kivu
