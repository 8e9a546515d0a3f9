// CSS for drawings under the standard rules: style sheets (every <style>
// element of a document, CDATA or not), their rules with selector lists,
// and the declarations of rules and of "style" attributes.
//
// Selectors: type, universal, class, id and attribute selectors ([a],
// [a=v], [a~=v], [a|=v], [a^=v], [a$=v], [a*=v]), compounds of them, the
// descendant, child, next-sibling and later-sibling combinators, and the
// pseudo-classes :first-child, :last-child, :nth-child(an+b) and :not() of
// a simple selector; the dynamic ones (:hover, ...) never match.  A rule
// whose selector list holds anything else is dropped whole, as CSS says.
// At-rules are passed over.  A selector list keeps one body for all its
// selectors.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace kivu::stdsvg {

class TSvgNode;

struct SDeclaration {
    std::string property;  // lower case
    std::string value;     // trimmed, without "!important"
    bool important = false;
};

// A rule's body as the cascade uses it: of the declarations of properties
// this library knows, with values valid for them, the last of each
// property and importance.
struct SRuleDeclaration {
    uint8_t prop;
    bool important;
    std::string value;
};
using TDeclarations = std::vector<SDeclaration>;

// Appends the declarations of "a: b; c: d !important"; malformed ones are
// passed over.
void parseDeclarations(std::string_view text, TDeclarations& out);

struct SSelector;

struct SRule {
    std::shared_ptr<const SSelector> selector;
    uint32_t specificity = 0;  // ids << 16 | classes, attributes, pseudo-classes << 8 | types
    uint32_t order = 0;        // source order over the document's sheets
    std::shared_ptr<const std::vector<SRuleDeclaration>> body;
};

class TStyleSheet {
public:
    TStyleSheet();
    ~TStyleSheet();
    TStyleSheet(const TStyleSheet&) = delete;
    TStyleSheet& operator=(const TStyleSheet&) = delete;

    // Adds the rules of a sheet's text behind those read before.
    void parse(std::string_view text);
    // The rules whose selector matches `node`, by ascending specificity and
    // then source order: the order in which their declarations apply.
    void matching(const TSvgNode& node, std::vector<const SRule*>& out) const;
    size_t size() const { return rules_.size(); }
    // Bytes the rules hold, for the document's budget.
    size_t bytes() const { return bytes_; }

private:
    void _addRule(std::string_view prelude, std::string_view body);
    void _index(size_t rule);

    std::vector<SRule> rules_;
    // Rules by the key of their rightmost compound: id, class, type, or none.
    std::unordered_map<std::string, std::vector<size_t>> byId_, byClass_, byType_;
    std::vector<size_t> others_;
    uint32_t order_ = 0;
    size_t bytes_ = 0;
};

// Whether one selector text (no list) matches the node; false for a
// selector this engine can't read.  For tests and tools.
bool selectorMatches(std::string_view selector, const TSvgNode& node);

}  // namespace kivu::stdsvg
