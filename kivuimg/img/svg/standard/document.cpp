#include "kivuimg/img/svg/standard/document.h"

#include <libxml/entities.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlerror.h>
#include <libxml/xmlreader.h>

#include <algorithm>
#include <unordered_set>
#include <climits>
#include <cstring>

#include "kivuimg/commons/core/cstr.h"

namespace kivu::stdsvg {

namespace {

// How often style rules may match elements in one document.
constexpr uint64_t kMaxRuleMatches = 4000000;

constexpr const char* kSvgNamespace = "http://www.w3.org/2000/svg";
constexpr const char* kXlinkNamespace = "http://www.w3.org/1999/xlink";
constexpr const char* kXmlNamespace = "http://www.w3.org/XML/1998/namespace";

struct STagName {
    const char* name;
    SvgTag tag;
};

constexpr STagName kTags[] = {
    {"svg", SvgTag::svg},         {"g", SvgTag::g},
    {"defs", SvgTag::defs},       {"symbol", SvgTag::symbol},
    {"use", SvgTag::use},         {"rect", SvgTag::rect},
    {"circle", SvgTag::circle},   {"ellipse", SvgTag::ellipse},
    {"line", SvgTag::line},       {"polyline", SvgTag::polyline},
    {"polygon", SvgTag::polygon}, {"path", SvgTag::path},
    {"text", SvgTag::text},       {"tspan", SvgTag::tspan},
    {"textPath", SvgTag::textPath}, {"image", SvgTag::image},
    {"a", SvgTag::a},             {"switch", SvgTag::switchTag},
    {"style", SvgTag::style},     {"linearGradient", SvgTag::linearGradient},
    {"radialGradient", SvgTag::radialGradient}, {"stop", SvgTag::stop},
    {"pattern", SvgTag::pattern}, {"clipPath", SvgTag::clipPath},
    {"mask", SvgTag::mask},       {"marker", SvgTag::marker},
    {"filter", SvgTag::filter},   {"title", SvgTag::title},
    {"desc", SvgTag::desc},       {"metadata", SvgTag::metadata},
    {"foreignObject", SvgTag::foreignObject},
};

SvgTag tagOf(std::string_view name) {
    for (const STagName& t : kTags)
        if (name == t.name) return t.tag;
    return SvgTag::unknown;
}

std::string text(const xmlChar* chars) { return chars ? std::string(reinterpret_cast<const char*>(chars)) : ""; }

bool inSvgNamespace(const xmlNode* node) {
    return !node->ns || !node->ns->href || std::strcmp(reinterpret_cast<const char*>(node->ns->href), kSvgNamespace) == 0;
}

// Elements whose character data is drawn or read.
bool keepsCharacterData(SvgTag tag) {
    return tag == SvgTag::text || tag == SvgTag::tspan || tag == SvgTag::textPath || tag == SvgTag::style ||
           tag == SvgTag::a;
}

// The text of a node list: text, CDATA, and the replacement text of the
// document's own (internal) entities, one level deep.
std::string listText(xmlDoc* doc, const xmlNode* first) {
    std::string out;
    for (const xmlNode* n = first; n; n = n->next) {
        if (n->type == XML_TEXT_NODE || n->type == XML_CDATA_SECTION_NODE) {
            out += text(n->content);
        } else if (n->type == XML_ENTITY_REF_NODE) {
            const xmlEntity* e = xmlGetDocEntity(doc, n->name);
            if (e && e->etype == XML_INTERNAL_GENERAL_ENTITY) out += text(e->content);
        }
    }
    return out;
}

}  // namespace

// ---- nodes ---------------------------------------------------------------------

const std::string* TSvgNode::attribute(std::string_view name) const {
    for (const auto& [key, value] : attributes)
        if (key == name) return &value;
    return nullptr;
}

bool TSvgNode::hasClass(std::string_view c) const {
    const std::string* list = attribute("class");
    return list && !c.empty() && containsWord(*list, c);
}

const TSvgNode* TSvgNode::previousElement() const {
    if (!parent) return nullptr;
    for (uint32_t i = childIndex; i-- > 0;)
        if (!parent->children[i]->isText) return parent->children[i].get();
    return nullptr;
}

const TSvgNode* TSvgNode::nextElement() const {
    if (!parent) return nullptr;
    for (size_t i = childIndex + 1; i < parent->children.size(); ++i)
        if (!parent->children[i]->isText) return parent->children[i].get();
    return nullptr;
}

const SDecl* TSvgNode::declaration(Prop prop) const {
    for (const SDecl& d : declarations)
        if (d.prop == prop) return &d;
    return nullptr;
}

std::string textContent(const TSvgNode& node) {
    std::string out;
    for (const auto& child : node.children)
        if (child->isText) out += child->text;
    return out;
}

// ---- reading -----------------------------------------------------------------------

TSvgDocument::TSvgDocument() = default;
TSvgDocument::~TSvgDocument() = default;

void TSvgDocument::_count(uint64_t bytes) { budget_->countTree(bytes); }

namespace {

// The first error the parser reports.
struct SReaderErrors {
    std::string first;
    int line = 0;
};

void onReaderError(void* arg, xmlErrorPtr e) {
    auto* errors = static_cast<SReaderErrors*>(arg);
    if (!e || e->level < XML_ERR_ERROR || !errors->first.empty()) return;
    errors->first = e->message ? strip(std::string(e->message)) : "error";
    errors->line = e->line;
}

// Whether some tag of the text holds more than `limit` attributes, told by
// the equals signs between its brackets: the parser's check for repeated
// attributes takes time by the square of their number, so such a file is
// refused before it is parsed.
bool tooManyAttributes(std::span<const uint8_t> bytes, uint32_t limit) {
    uint32_t count = 0;
    bool inTag = false;
    for (uint8_t c : bytes) {
        if (c == '<') inTag = true, count = 0;
        else if (c == '>') inTag = false;
        else if (inTag && c == '=' && ++count > limit) return true;
    }
    return false;
}

}  // namespace

void TSvgDocument::read(std::span<const uint8_t> bytes, const SReadLimits& limits, TSvgBudget& budget) {
    limits_ = limits;
    budget_ = &budget;
    if (bytes.empty()) throw KivuException("SVG: empty file");
    if (bytes.size() > limits_.maxBytes)
        throwf("SVG: the file of %zu bytes is larger than the limit of %llu", bytes.size(),
               static_cast<unsigned long long>(limits_.maxBytes));
    if (tooManyAttributes(bytes, limits_.maxAttributes))
        throwf("SVG: an element holds more than %u attributes", limits_.maxAttributes);
    // Read as a stream, so that the parser's own tree never stands whole
    // beside this one.  No network, nothing outside the bytes, no entity
    // substituted by the parser: the document's own entities are expanded
    // here, each expansion counted.
    xmlTextReaderPtr reader = xmlReaderForMemory(reinterpret_cast<const char*>(bytes.data()),
                                                 static_cast<int>(std::min<size_t>(bytes.size(), INT_MAX)), nullptr,
                                                 nullptr, XML_PARSE_NONET | XML_PARSE_NOWARNING);
    if (!reader) throw KivuException("SVG: out of memory");
    SReaderErrors errors;
    xmlTextReaderSetStructuredErrorHandler(reader, onReaderError, &errors);
    try {
        const bool complete = _stream(reader);
        if (!errors.first.empty())
            throwf("SVG: not well-formed at line %d (%s)", errors.line, errors.first.c_str());
        if (!complete)
            throwf("SVG: not well-formed at line %d", xmlTextReaderGetParserLineNumber(reader));
    } catch (...) {
        xmlFreeTextReader(reader);
        doc_ = nullptr;
        throw;
    }
    xmlFreeTextReader(reader);
    doc_ = nullptr;
    if (!root_) throw KivuException("SVG: the root element is not svg");
    _collectStyleSheets(*root_);
    _count(sheet_.bytes());
    _cascade(*root_);
    budget_ = nullptr;
}

bool TSvgDocument::_stream(_xmlTextReader* reader) {
    std::vector<TSvgNode*> open;
    int skip = -1;  // the depth of a foreign element whose subtree is passed over
    int rc;
    while ((rc = xmlTextReaderRead(reader)) == 1) {
        // The document through the node: asking the reader for it would make
        // it keep every node.
        if (xmlNode* current = xmlTextReaderCurrentNode(reader)) doc_ = current->doc;
        const int type = xmlTextReaderNodeType(reader), depth = xmlTextReaderDepth(reader);
        if (skip >= 0) {
            if (type == XML_READER_TYPE_END_ELEMENT && depth == skip) skip = -1;
            continue;
        }
        switch (type) {
            case XML_READER_TYPE_ELEMENT: _openElement(reader, open, depth, skip); break;
            case XML_READER_TYPE_END_ELEMENT:
                if (!open.empty()) open.pop_back();
                break;
            case XML_READER_TYPE_TEXT:
            case XML_READER_TYPE_CDATA:
            case XML_READER_TYPE_WHITESPACE:
            case XML_READER_TYPE_SIGNIFICANT_WHITESPACE:
                if (!open.empty() && keepsCharacterData(open.back()->tag))
                    _addText(*open.back(), text(xmlTextReaderConstValue(reader)));
                break;
            case XML_READER_TYPE_ENTITY_REFERENCE:
                if (!open.empty()) _buildChildren(xmlTextReaderCurrentNode(reader), *open.back(), depth, true);
                break;
            default: break;
        }
    }
    return rc == 0;
}

void TSvgDocument::_openElement(_xmlTextReader* reader, std::vector<TSvgNode*>& open, int depth, int& skip) {
    const xmlChar* ns = xmlTextReaderConstNamespaceUri(reader);
    const bool empty = xmlTextReaderIsEmptyElement(reader) == 1;
    const bool svg = !ns || std::strcmp(reinterpret_cast<const char*>(ns), kSvgNamespace) == 0;
    if (open.empty() && (root_ || !svg || text(xmlTextReaderConstLocalName(reader)) != "svg"))
        throw KivuException("SVG: the root element is not svg");
    if (!svg) {
        if (!empty) skip = depth;
        return;
    }
    if (depth > limits_.maxDepth) throwf("SVG: elements nest deeper than %d levels", limits_.maxDepth);
    auto node = _newElement(text(xmlTextReaderConstLocalName(reader)), open.empty() ? nullptr : open.back());
    bool plainHref = false;
    uint32_t count = 0;
    while (xmlTextReaderMoveToNextAttribute(reader) == 1) {
        if (++count > limits_.maxAttributes)
            throwf("SVG: an element holds more than %u attributes", limits_.maxAttributes);
        const xmlChar* uri = xmlTextReaderConstNamespaceUri(reader);
        _addAttribute(*node, text(xmlTextReaderConstLocalName(reader)),
                      uri ? reinterpret_cast<const char*>(uri) : nullptr, text(xmlTextReaderConstValue(reader)),
                      plainHref);
    }
    xmlTextReaderMoveToElement(reader);
    _finishAttributes(*node, plainHref);
    TSvgNode* at = node.get();
    if (open.empty()) root_ = std::move(node);
    else _attach(*open.back(), std::move(node));
    if (!empty) open.push_back(at);
}

std::unique_ptr<TSvgNode> TSvgDocument::_newElement(std::string name, TSvgNode* parent) {
    if (++elements_ > limits_.maxElements)
        throwf("SVG: the drawing holds more than %llu elements", static_cast<unsigned long long>(limits_.maxElements));
    auto out = std::make_unique<TSvgNode>();
    out->name = std::move(name);
    out->tag = tagOf(out->name);
    out->parent = parent;
    _count(sizeof(TSvgNode) + out->name.size());
    return out;
}

void TSvgDocument::_attach(TSvgNode& parent, std::unique_ptr<TSvgNode> child) {
    child->childIndex = static_cast<uint32_t>(parent.children.size());
    parent.children.push_back(std::move(child));
}

void TSvgDocument::_addAttribute(TSvgNode& out, std::string name, const char* ns, std::string value,
                                 bool& plainHref) {
    if (ns && std::strcmp(ns, kXlinkNamespace) == 0) {
        if (name != "href") return;
        name = "xlink:href";
    } else if (ns && std::strcmp(ns, kXmlNamespace) == 0) {
        name = "xml:" + name;
    } else if (ns) {
        return;  // an editor's own attribute, or a namespace declaration
    }
    if (name == "href") plainHref = true;
    _count(sizeof(std::pair<std::string, std::string>) + name.size() + value.size());
    out.attributes.emplace_back(std::move(name), std::move(value));
}

// "href" wins over "xlink:href"; either is read as "href".  The id enters the index.
void TSvgDocument::_finishAttributes(TSvgNode& out, bool plainHref) {
    if (plainHref) std::erase_if(out.attributes, [](const auto& kv) { return kv.first == "xlink:href"; });
    for (auto& kv : out.attributes)
        if (kv.first == "xlink:href") kv.first = "href";
    if (const std::string* id = out.attribute("id"))
        if (!id->empty()) ids_.try_emplace(std::string_view(*id), &out);
}

void TSvgDocument::_readAttributes(_xmlNode* node, TSvgNode& out) {
    uint32_t count = 0;
    bool plainHref = false;
    for (xmlAttr* a = node->properties; a; a = a->next) {
        if (++count > limits_.maxAttributes)
            throwf("SVG: an element holds more than %u attributes", limits_.maxAttributes);
        const char* ns = a->ns && a->ns->href ? reinterpret_cast<const char*>(a->ns->href) : nullptr;
        _addAttribute(out, text(a->name), ns, listText(doc_, a->children), plainHref);
    }
    _finishAttributes(out, plainHref);
}

void TSvgDocument::_addText(TSvgNode& parent, std::string data) {
    if (data.empty()) return;
    _count(data.size() + (!parent.children.empty() && parent.children.back()->isText ? 0 : sizeof(TSvgNode)));
    // Neighbouring pieces (text, CDATA, entities) make one node.
    if (!parent.children.empty() && parent.children.back()->isText) {
        parent.children.back()->text += data;
        return;
    }
    auto t = std::make_unique<TSvgNode>();
    t->isText = true;
    t->text = std::move(data);
    t->parent = &parent;
    _attach(parent, std::move(t));
}

std::unique_ptr<TSvgNode> TSvgDocument::_build(_xmlNode* node, TSvgNode* parent, int depth) {
    if (depth > limits_.maxDepth) throwf("SVG: elements nest deeper than %d levels", limits_.maxDepth);
    auto out = _newElement(text(node->name), parent);
    _readAttributes(node, *out);
    _buildChildren(node->children, *out, depth, false);
    return out;
}

// The children of a node of the parser's tree (or, for `entity`, the
// content of the internal entity that the node refers to), as if their
// text stood there.
void TSvgDocument::_buildChildren(_xmlNode* first, TSvgNode& parent, int depth, bool entity) {
    if (entity) {
        const xmlEntity* e = first ? xmlGetDocEntity(doc_, first->name) : nullptr;
        if (!e || e->etype != XML_INTERNAL_GENERAL_ENTITY) return;
        // Every expansion costs: entities that multiply one another end at the budget.
        _count(16);
        if (depth + 1 > limits_.maxDepth) throwf("SVG: entities nest deeper than %d levels", limits_.maxDepth);
        if (!e->children) {
            if (keepsCharacterData(parent.tag)) _addText(parent, text(e->content));
            return;
        }
        first = e->children;
        ++depth;
    }
    const bool keepData = keepsCharacterData(parent.tag);
    for (xmlNode* c = first; c; c = c->next) {
        if (c->type == XML_ELEMENT_NODE) {
            if (inSvgNamespace(c)) _attach(parent, _build(c, &parent, depth + 1));
        } else if (c->type == XML_ENTITY_REF_NODE) {
            _buildChildren(c, parent, depth, true);
        } else if (keepData && (c->type == XML_TEXT_NODE || c->type == XML_CDATA_SECTION_NODE)) {
            _addText(parent, text(c->content));
        }
    }
}

const TSvgNode* TSvgDocument::byId(std::string_view id) const {
    auto it = ids_.find(id);
    return it == ids_.end() ? nullptr : it->second;
}

// ---- style -------------------------------------------------------------------------------

void TSvgDocument::_collectStyleSheets(const TSvgNode& node) {
    for (const auto& child : node.children) {
        if (child->isText) continue;
        if (child->tag == SvgTag::style) {
            const std::string type = lowerAscii(trimSpace(child->attributeOr("type")));
            if (type.empty() || type == "text/css") sheet_.parse(textContent(*child));
            continue;
        }
        _collectStyleSheets(*child);
    }
}

namespace {

// A declaration that competes in the cascade: origin level (presentation
// attribute 0, sheet 1, style attribute 2, and 3 and 4 the same with
// !important), specificity and order break ties.
struct SCandidate {
    Prop prop;
    std::string_view value;
    uint32_t level, specificity, order;
    bool beats(const SCandidate& o) const {
        if (level != o.level) return level > o.level;
        if (specificity != o.specificity) return specificity > o.specificity;
        return order >= o.order;
    }
};

void offer(std::vector<SCandidate>& winners, const SCandidate& c, bool checked = false) {
    if (!checked && !validValue(c.prop, c.value)) return;
    for (SCandidate& w : winners)
        if (w.prop == c.prop) {
            if (c.beats(w)) w = c;
            return;
        }
    winners.push_back(c);
}

}  // namespace

void TSvgDocument::_cascade(TSvgNode& node) {
    std::vector<SCandidate> winners;
    uint32_t order = 0;
    for (const auto& [name, value] : node.attributes) {
        const Prop p = propertyByName(name);
        if (p != Prop::count && propertyInfo(p).presentation) offer(winners, {p, value, 0, 0, order++});
    }
    std::vector<const SRule*> rules;
    sheet_.matching(node, rules);
    // Style sheets whose rules match every element cost by their product: bounded.
    matches_ += rules.size();
    if (matches_ > kMaxRuleMatches)
        throwf("SVG: the style sheets match elements more than %llu times", static_cast<unsigned long long>(kMaxRuleMatches));
    // A body that several selectors share counts once, at its strongest rule.
    std::unordered_set<const void*> bodies;
    for (auto it = rules.rbegin(); it != rules.rend(); ++it) {
        const SRule* rule = *it;
        if (!bodies.insert(rule->body.get()).second) continue;
        for (const SRuleDeclaration& d : *rule->body)
            offer(winners, {static_cast<Prop>(d.prop), d.value, d.important ? 3u : 1u, rule->specificity, rule->order},
                  true);
    }
    if (const std::string* style = node.attribute("style")) {
        auto inline_ = std::make_unique<TDeclarations>();
        parseDeclarations(*style, *inline_);
        for (const SDeclaration& d : *inline_) {
            const Prop p = propertyByName(d.property);
            if (p != Prop::count) offer(winners, {p, d.value, d.important ? 4u : 2u, 0, 0});
        }
        node.inlineStyle = std::move(inline_);
    }
    node.declarations.reserve(winners.size());
    for (const SCandidate& w : winners) node.declarations.push_back(SDecl{w.prop, w.value});
    for (auto& child : node.children)
        if (!child->isText) _cascade(*child);
}

}  // namespace kivu::stdsvg
