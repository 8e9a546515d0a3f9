// The document tree of a drawing under the standard rules: the SVG
// elements and character data of the file, read once from libxml2 into
// plain nodes, with an id index and the cascade's declarations on every
// element.  Elements in other namespaces (editor metadata, foreign
// content) are left out; "xlink:href" is read as "href" unless "href"
// itself is given.  Entities of the document's own subset are expanded,
// nothing outside the bytes is read.
//
// The tree never changes once read: copies of the image share it, and
// every instance a `use` makes is drawn from the same nodes.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "kivuimg/img/svg/standard/budget.h"
#include "kivuimg/img/svg/standard/css.h"
#include "kivuimg/img/svg/standard/properties.h"

struct _xmlNode;
struct _xmlDoc;
struct _xmlTextReader;

namespace kivu::stdsvg {

enum class SvgTag : uint8_t {
    unknown, svg, g, defs, symbol, use, rect, circle, ellipse, line, polyline, polygon, path, text, tspan,
    textPath, image, a, switchTag, style, linearGradient, radialGradient, stop, pattern, clipPath, mask,
    marker, filter, title, desc, metadata, foreignObject
};

// The basic shapes and path: what has geometry of its own.
inline bool isShape(SvgTag t) {
    return t == SvgTag::rect || t == SvgTag::circle || t == SvgTag::ellipse || t == SvgTag::line ||
           t == SvgTag::polyline || t == SvgTag::polygon || t == SvgTag::path;
}

class TSvgNode {
public:
    SvgTag tag = SvgTag::unknown;
    std::string name;  // the element's local name; empty for character data
    bool isText = false;
    std::string text;  // character data
    TSvgNode* parent = nullptr;
    std::vector<std::unique_ptr<TSvgNode>> children;
    std::vector<std::pair<std::string, std::string>> attributes;
    // The cascade's winner for every property the element sets, by property.
    std::vector<SDecl> declarations;
    // The declarations of the "style" attribute, which some of those above
    // refer to.
    std::unique_ptr<TDeclarations> inlineStyle;
    uint32_t childIndex = 0;  // in the parent's children

    // The attribute's value, or null.
    const std::string* attribute(std::string_view name) const;
    std::string_view attributeOr(std::string_view name, std::string_view fallback = {}) const {
        const std::string* v = attribute(name);
        return v ? std::string_view(*v) : fallback;
    }
    std::string_view id() const { return attributeOr("id"); }
    bool hasClass(std::string_view name) const;
    const TSvgNode* previousElement() const;
    const TSvgNode* nextElement() const;
    // The element's declaration of a property, or null.
    const SDecl* declaration(Prop prop) const;
};

// What a document may hold.  Its bytes (the file's, and those of its
// elements, attributes, character data and style rules, each element
// counted at what it takes in memory) go against its budget.
struct SReadLimits {
    uint64_t maxBytes = 64ull << 20;  // the file's
    uint64_t maxElements = 1000000;
    int maxDepth = 200;
    uint32_t maxAttributes = 1000;
};

class TSvgDocument {
public:
    TSvgDocument();
    ~TSvgDocument();
    TSvgDocument(const TSvgDocument&) = delete;
    TSvgDocument& operator=(const TSvgDocument&) = delete;

    // Reads the file's bytes; raises KivuException with the reason when
    // they are not a drawing ("SVG: not well-formed at line 3", "SVG: the
    // root element is not svg", a limit passed).
    void read(std::span<const uint8_t> bytes, const SReadLimits& limits, TSvgBudget& budget);

    const TSvgNode* root() const { return root_.get(); }
    // The element with that id (the first in document order), or null.
    const TSvgNode* byId(std::string_view id) const;
    const TStyleSheet& styleSheet() const { return sheet_; }
    uint64_t elements() const { return elements_; }

private:
    // False when the parser stopped before the end.
    bool _stream(_xmlTextReader* reader);
    void _openElement(_xmlTextReader* reader, std::vector<TSvgNode*>& open, int depth, int& skip);
    std::unique_ptr<TSvgNode> _newElement(std::string name, TSvgNode* parent);
    void _attach(TSvgNode& parent, std::unique_ptr<TSvgNode> child);
    void _addAttribute(TSvgNode& out, std::string name, const char* ns, std::string value, bool& plainHref);
    void _finishAttributes(TSvgNode& out, bool plainHref);
    std::unique_ptr<TSvgNode> _build(_xmlNode* node, TSvgNode* parent, int depth);
    void _buildChildren(_xmlNode* first, TSvgNode& parent, int depth, bool entity);
    void _readAttributes(_xmlNode* node, TSvgNode& out);
    void _addText(TSvgNode& parent, std::string data);
    void _collectStyleSheets(const TSvgNode& node);
    void _cascade(TSvgNode& node);
    void _count(uint64_t bytes);

    std::unique_ptr<TSvgNode> root_;
    std::unordered_map<std::string_view, const TSvgNode*> ids_;
    TStyleSheet sheet_;
    SReadLimits limits_;
    _xmlDoc* doc_ = nullptr;
    TSvgBudget* budget_ = nullptr;  // while reading
    uint64_t elements_ = 0;
    uint64_t matches_ = 0;
};

// The text of an element's character data, entities and all, in order.
std::string textContent(const TSvgNode& node);

}  // namespace kivu::stdsvg
