#include "kivuimg/img/svg/standard/css.h"

#include <algorithm>
#include <map>

#include "kivuimg/img/svg/standard/document.h"
#include "kivuimg/img/svg/standard/properties.h"
#include "kivuimg/img/svg/standard/values.h"

namespace kivu::stdsvg {

// ---- selectors --------------------------------------------------------------------

namespace {

enum class SimpleKind : uint8_t {
    type, universal, id, cls, attrExists, attrEquals, attrIncludes, attrDash, attrPrefix, attrSuffix,
    attrSubstring, firstChild, lastChild, nthChild, notSimple, never
};

struct SSimple {
    SimpleKind kind;
    std::string name;   // type, id, class or attribute name
    std::string value;  // attribute value
    int a = 0, b = 0;   // nth-child(an+b)
    std::vector<SSimple> inner;  // :not()
};

struct SCompound {
    std::vector<SSimple> parts;
    char combinator = 0;  // how it relates to the compound on its left: ' ', '>', '+', '~'; 0 for the first
};

}  // namespace

struct SSelector {
    std::vector<SCompound> compounds;  // left to right
};

namespace {

bool isNameChar(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_' ||
           static_cast<unsigned char>(c) >= 0x80 || c == '\\';
}

// A CSS identifier at `i`, escapes taken as the character behind them.
std::string identAt(std::string_view t, size_t& i) {
    std::string out;
    while (i < t.size() && isNameChar(t[i])) {
        if (t[i] == '\\' && i + 1 < t.size()) ++i;
        out += t[i++];
    }
    return out;
}

void skipBlanks(std::string_view t, size_t& i) {
    while (i < t.size() && isSpace(t[i])) ++i;
}

std::string quotedOrIdent(std::string_view t, size_t& i) {
    if (i < t.size() && (t[i] == '"' || t[i] == '\'')) {
        const char q = t[i++];
        const size_t end = t.find(q, i);
        if (end == std::string_view::npos) return {};
        std::string v(t.substr(i, end - i));
        i = end + 1;
        return v;
    }
    return identAt(t, i);
}

bool attributeSelector(std::string_view t, size_t& i, SSimple& s) {
    ++i;  // '['
    skipBlanks(t, i);
    s.name = identAt(t, i);
    // A namespace prefix ("xlink|href") names the local attribute.
    if (i < t.size() && t[i] == '|' && (i + 1 >= t.size() || t[i + 1] != '=')) {
        ++i;
        s.name = identAt(t, i);
    }
    if (s.name.empty()) return false;
    skipBlanks(t, i);
    if (i < t.size() && t[i] == ']') {
        s.kind = SimpleKind::attrExists;
        ++i;
        return true;
    }
    static const struct {
        const char* op;
        SimpleKind kind;
    } kOps[] = {{"~=", SimpleKind::attrIncludes}, {"|=", SimpleKind::attrDash},   {"^=", SimpleKind::attrPrefix},
                {"$=", SimpleKind::attrSuffix},   {"*=", SimpleKind::attrSubstring}, {"=", SimpleKind::attrEquals}};
    bool found = false;
    for (const auto& op : kOps) {
        const std::string_view o(op.op);
        if (t.substr(i, o.size()) == o) {
            s.kind = op.kind;
            i += o.size();
            found = true;
            break;
        }
    }
    if (!found) return false;
    skipBlanks(t, i);
    s.value = quotedOrIdent(t, i);
    skipBlanks(t, i);
    if (i < t.size() && (t[i] == 'i' || t[i] == 'I' || t[i] == 's' || t[i] == 'S')) ++i, skipBlanks(t, i);
    if (i >= t.size() || t[i] != ']') return false;
    ++i;
    return true;
}

// "an+b", "odd", "even", "3".
bool nthArguments(std::string_view text, int& a, int& b) {
    const std::string t = lowerAscii(trimSpace(text));
    if (t == "odd") return a = 2, b = 1, true;
    if (t == "even") return a = 2, b = 0, true;
    std::string compact;
    for (char c : t)
        if (!isSpace(c)) compact += c;
    const size_t n = compact.find('n');
    auto integer = [](std::string_view s, int& v) {
        double d;
        if (!parseNumber(s, d) || d != static_cast<int>(d)) return false;
        v = static_cast<int>(d);
        return true;
    };
    if (n == std::string::npos) return a = 0, integer(compact, b);
    const std::string head = compact.substr(0, n), tail = compact.substr(n + 1);
    if (head.empty() || head == "+") a = 1;
    else if (head == "-") a = -1;
    else if (!integer(head, a)) return false;
    b = 0;
    return tail.empty() || integer(tail, b);
}

bool simpleSelector(std::string_view t, size_t& i, SSimple& s);

bool pseudoClass(std::string_view t, size_t& i, SSimple& s) {
    ++i;  // ':'
    if (i < t.size() && t[i] == ':') return false;  // pseudo-elements never match an element
    const std::string name = lowerAscii(identAt(t, i));
    if (i < t.size() && t[i] == '(') {
        const size_t close = t.find(')', i);
        if (close == std::string_view::npos) return false;
        const std::string_view arg = t.substr(i + 1, close - i - 1);
        i = close + 1;
        if (name == "nth-child") return s.kind = SimpleKind::nthChild, nthArguments(arg, s.a, s.b);
        if (name == "not") {
            SSimple inner;
            size_t j = 0;
            const std::string_view a = trimSpace(arg);
            if (!simpleSelector(a, j, inner) || j != a.size()) return false;
            s.kind = SimpleKind::notSimple;
            s.inner.push_back(std::move(inner));
            return true;
        }
        return s.kind = SimpleKind::never, name == "lang" || name == "nth-of-type" || name == "nth-last-child";
    }
    if (name == "first-child") return s.kind = SimpleKind::firstChild, true;
    if (name == "last-child") return s.kind = SimpleKind::lastChild, true;
    static const char* const kDynamic[] = {"hover", "active", "focus", "visited", "link", "target", "checked",
                                           "disabled", "enabled", "focus-within", "focus-visible"};
    for (const char* d : kDynamic)
        if (name == d) return s.kind = SimpleKind::never, true;
    return false;
}

bool simpleSelector(std::string_view t, size_t& i, SSimple& s) {
    if (i >= t.size()) return false;
    const char c = t[i];
    if (c == '*') {
        ++i;
        s.kind = SimpleKind::universal;
        if (i < t.size() && t[i] == '|') ++i, s.kind = SimpleKind::universal;
        return true;
    }
    if (c == '#' || c == '.') {
        ++i;
        s.kind = c == '#' ? SimpleKind::id : SimpleKind::cls;
        s.name = identAt(t, i);
        return !s.name.empty();
    }
    if (c == '[') return attributeSelector(t, i, s);
    if (c == ':') return pseudoClass(t, i, s);
    if (!isNameChar(c)) return false;
    s.kind = SimpleKind::type;
    s.name = identAt(t, i);
    // "svg|rect": the namespace prefix is passed over.
    if (i < t.size() && t[i] == '|') {
        ++i;
        if (i < t.size() && t[i] == '*') return ++i, s.kind = SimpleKind::universal, true;
        s.name = identAt(t, i);
    }
    return !s.name.empty();
}

bool compileSelector(std::string_view text, SSelector& out, uint32_t& specificity) {
    const std::string_view t = trimSpace(text);
    size_t i = 0;
    uint32_t ids = 0, classes = 0, types = 0;
    char combinator = 0;
    while (i < t.size()) {
        SCompound compound;
        compound.combinator = out.compounds.empty() ? 0 : combinator;
        while (i < t.size() && !isSpace(t[i]) && t[i] != '>' && t[i] != '+' && t[i] != '~') {
            SSimple s;
            if (!simpleSelector(t, i, s)) return false;
            if (s.kind == SimpleKind::id) ++ids;
            else if (s.kind == SimpleKind::type) ++types;
            else if (s.kind != SimpleKind::universal) ++classes;
            compound.parts.push_back(std::move(s));
        }
        if (compound.parts.empty()) return false;
        out.compounds.push_back(std::move(compound));
        skipBlanks(t, i);
        combinator = ' ';
        if (i < t.size() && (t[i] == '>' || t[i] == '+' || t[i] == '~')) {
            combinator = t[i++];
            skipBlanks(t, i);
            if (i >= t.size()) return false;
        }
    }
    if (out.compounds.empty()) return false;
    specificity = std::min(ids, 255u) << 16 | std::min(classes, 255u) << 8 | std::min(types, 255u);
    return true;
}

// ---- matching ---------------------------------------------------------------------------

int elementPosition(const TSvgNode& node) {
    int n = 1;
    for (const TSvgNode* p = node.previousElement(); p; p = p->previousElement()) ++n;
    return n;
}

bool attributeMatches(const SSimple& s, const TSvgNode& node) {
    const std::string* v = node.attribute(s.name);
    if (!v) return false;
    const std::string_view a = *v, w = s.value;
    switch (s.kind) {
        case SimpleKind::attrExists: return true;
        case SimpleKind::attrEquals: return a == w;
        case SimpleKind::attrIncludes: return containsWord(a, w);
        case SimpleKind::attrDash: return a == w || (a.size() > w.size() && a.substr(0, w.size()) == w && a[w.size()] == '-');
        case SimpleKind::attrPrefix: return !w.empty() && a.substr(0, w.size()) == w;
        case SimpleKind::attrSuffix: return !w.empty() && a.size() >= w.size() && a.substr(a.size() - w.size()) == w;
        case SimpleKind::attrSubstring: return !w.empty() && a.find(w) != std::string_view::npos;
        default: return false;
    }
}

bool simpleMatches(const SSimple& s, const TSvgNode& node) {
    switch (s.kind) {
        case SimpleKind::type: return node.name == s.name;
        case SimpleKind::universal: return true;
        case SimpleKind::id: return node.id() == s.name;
        case SimpleKind::cls: return node.hasClass(s.name);
        case SimpleKind::firstChild: return node.parent && !node.previousElement();
        case SimpleKind::lastChild: return node.parent && !node.nextElement();
        case SimpleKind::nthChild: {
            const int pos = elementPosition(node);
            if (s.a == 0) return pos == s.b;
            const int k = pos - s.b;
            return k % s.a == 0 && k / s.a >= 0;
        }
        case SimpleKind::notSimple: return !simpleMatches(s.inner.front(), node);
        case SimpleKind::never: return false;
        default: return attributeMatches(s, node);
    }
}

bool compoundMatches(const SCompound& c, const TSvgNode& node) {
    for (const SSimple& s : c.parts)
        if (!simpleMatches(s, node)) return false;
    return true;
}

// Whether compounds [0, k] match with compound k on `node`.  Results are
// remembered per compound and element: a selector of many descendant
// combinators would otherwise try every chain of ancestors.
class TMatcher {
public:
    explicit TMatcher(const SSelector& sel) : sel_(sel) {}

    bool matches(size_t k, const TSvgNode& node) {
        const auto key = std::make_pair(k, &node);
        auto known = memo_.find(key);
        if (known != memo_.end()) return known->second;
        const bool result = _matches(k, node);
        memo_.emplace(key, result);
        return result;
    }

private:
    bool _matches(size_t k, const TSvgNode& node) {
        if (!compoundMatches(sel_.compounds[k], node)) return false;
        if (k == 0) return true;
        const char comb = sel_.compounds[k].combinator;
        if (comb == '>') return node.parent && matches(k - 1, *node.parent);
        if (comb == '+') {
            const TSvgNode* p = node.previousElement();
            return p && matches(k - 1, *p);
        }
        if (comb == '~') {
            for (const TSvgNode* p = node.previousElement(); p; p = p->previousElement())
                if (matches(k - 1, *p)) return true;
            return false;
        }
        for (const TSvgNode* p = node.parent; p; p = p->parent)
            if (matches(k - 1, *p)) return true;
        return false;
    }

    const SSelector& sel_;
    std::map<std::pair<size_t, const TSvgNode*>, bool> memo_;
};

bool selectorMatchesNode(const SSelector& sel, const TSvgNode& node) {
    if (sel.compounds.size() == 1) return compoundMatches(sel.compounds.front(), node);
    return TMatcher(sel).matches(sel.compounds.size() - 1, node);
}

// ---- sheet text -------------------------------------------------------------------------

// The text without comments, strings kept as they are.
std::string withoutComments(std::string_view t) {
    std::string out;
    out.reserve(t.size());
    for (size_t i = 0; i < t.size();) {
        if (t[i] == '/' && i + 1 < t.size() && t[i + 1] == '*') {
            const size_t end = t.find("*/", i + 2);
            i = end == std::string_view::npos ? t.size() : end + 2;
            out += ' ';
        } else if (t[i] == '"' || t[i] == '\'') {
            const size_t end = t.find(t[i], i + 1);
            const size_t stop = end == std::string_view::npos ? t.size() : end + 1;
            out.append(t.substr(i, stop - i));
            i = stop;
        } else {
            out += t[i++];
        }
    }
    return out;
}

// The index of the character that closes the block opened just before `i`
// (brackets balanced, strings skipped), or the text's size.
size_t blockEnd(std::string_view t, size_t i, char open = '{', char close = '}') {
    int depth = 1;
    for (; i < t.size(); ++i) {
        if (t[i] == '"' || t[i] == '\'') {
            const size_t end = t.find(t[i], i + 1);
            if (end == std::string_view::npos) return t.size();
            i = end;
        } else if (t[i] == open) {
            ++depth;
        } else if (t[i] == close && --depth == 0) {
            return i;
        }
    }
    return t.size();
}

// Splits at `sep` outside brackets and strings.
std::vector<std::string_view> splitTopLevel(std::string_view t, char sep) {
    std::vector<std::string_view> out;
    int depth = 0;
    size_t start = 0;
    for (size_t i = 0; i < t.size(); ++i) {
        const char c = t[i];
        if (c == '"' || c == '\'') {
            const size_t end = t.find(c, i + 1);
            if (end == std::string_view::npos) break;
            i = end;
        } else if (c == '(' || c == '[') {
            ++depth;
        } else if ((c == ')' || c == ']') && depth > 0) {
            --depth;
        } else if (c == sep && depth == 0) {
            out.push_back(t.substr(start, i - start));
            start = i + 1;
        }
    }
    out.push_back(t.substr(start));
    return out;
}

}  // namespace

void parseDeclarations(std::string_view text, TDeclarations& out) {
    const std::string clean = withoutComments(text);
    for (std::string_view piece : splitTopLevel(clean, ';')) {
        const size_t colon = piece.find(':');
        if (colon == std::string_view::npos) continue;
        SDeclaration d;
        d.property = lowerAscii(trimSpace(piece.substr(0, colon)));
        std::string_view value = trimSpace(piece.substr(colon + 1));
        const size_t bang = value.rfind('!');
        if (bang != std::string_view::npos && equalsIgnoreCase(trimSpace(value.substr(bang + 1)), "important")) {
            d.important = true;
            value = trimSpace(value.substr(0, bang));
        }
        if (d.property.empty() || value.empty()) continue;
        d.value = std::string(value);
        out.push_back(std::move(d));
    }
}

// ---- the sheet -----------------------------------------------------------------------------

TStyleSheet::TStyleSheet() = default;
TStyleSheet::~TStyleSheet() = default;

void TStyleSheet::parse(std::string_view text) {
    const std::string t = withoutComments(text);
    const std::string_view all(t);
    size_t i = 0;
    while (i < all.size()) {
        while (i < all.size() && isSpace(all[i])) ++i;
        if (all.substr(i, 4) == "<!--") i += 4;
        else if (all.substr(i, 3) == "-->") i += 3;
        if (i >= all.size()) break;
        const size_t open = all.find_first_of(all[i] == '@' ? "{;" : "{", i);
        if (open == std::string_view::npos) break;
        if (all[i] == '@') {
            // At-rules: a statement ends at ';', a block at its '}'.
            i = all[open] == ';' ? open + 1 : blockEnd(all, open + 1) + 1;
            continue;
        }
        const size_t close = blockEnd(all, open + 1);
        _addRule(all.substr(i, open - i), all.substr(open + 1, std::min(close, all.size()) - open - 1));
        i = close + 1;
    }
}

void TStyleSheet::_addRule(std::string_view prelude, std::string_view body) {
    std::vector<SRule> rules;
    for (std::string_view text : splitTopLevel(prelude, ',')) {
        auto selector = std::make_shared<SSelector>();
        SRule rule;
        if (!compileSelector(text, *selector, rule.specificity)) return;  // one bad selector drops the rule
        rule.selector = std::move(selector);
        rules.push_back(std::move(rule));
    }
    TDeclarations declarations;
    parseDeclarations(body, declarations);
    auto kept = std::make_shared<std::vector<SRuleDeclaration>>();
    for (auto it = declarations.rbegin(); it != declarations.rend(); ++it) {
        const Prop p = propertyByName(it->property);
        if (p == Prop::count || !validValue(p, it->value)) continue;
        const auto same = [&](const SRuleDeclaration& d) {
            return d.prop == static_cast<uint8_t>(p) && d.important == it->important;
        };
        if (std::none_of(kept->begin(), kept->end(), same))
            kept->push_back(SRuleDeclaration{static_cast<uint8_t>(p), it->important, it->value});
    }
    if (kept->empty()) return;
    bytes_ += body.size() + prelude.size();
    std::shared_ptr<const std::vector<SRuleDeclaration>> shared = std::move(kept);
    for (SRule& rule : rules) {
        rule.order = order_++;
        rule.body = shared;
        rules_.push_back(std::move(rule));
        _index(rules_.size() - 1);
    }
}

void TStyleSheet::_index(size_t k) {
    const SCompound& last = rules_[k].selector->compounds.back();
    for (const SSimple& s : last.parts) {
        if (s.kind == SimpleKind::id) return byId_[s.name].push_back(k);
        if (s.kind == SimpleKind::cls) return byClass_[s.name].push_back(k);
    }
    for (const SSimple& s : last.parts)
        if (s.kind == SimpleKind::type) return byType_[s.name].push_back(k);
    others_.push_back(k);
}

void TStyleSheet::matching(const TSvgNode& node, std::vector<const SRule*>& out) const {
    out.clear();
    if (rules_.empty()) return;
    std::vector<size_t> candidates(others_);
    auto add = [&](const std::unordered_map<std::string, std::vector<size_t>>& map, const std::string& key) {
        auto it = map.find(key);
        if (it != map.end()) candidates.insert(candidates.end(), it->second.begin(), it->second.end());
    };
    if (!node.id().empty()) add(byId_, std::string(node.id()));
    add(byType_, node.name);
    if (const std::string* cls = node.attribute("class"))
        for (std::string_view name : words(*cls)) add(byClass_, std::string(name));
    std::sort(candidates.begin(), candidates.end());
    candidates.erase(std::unique(candidates.begin(), candidates.end()), candidates.end());
    for (size_t k : candidates)
        if (selectorMatchesNode(*rules_[k].selector, node)) out.push_back(&rules_[k]);
    std::stable_sort(out.begin(), out.end(), [](const SRule* a, const SRule* b) {
        return a->specificity != b->specificity ? a->specificity < b->specificity : a->order < b->order;
    });
}

bool selectorMatches(std::string_view selector, const TSvgNode& node) {
    SSelector s;
    uint32_t specificity;
    return compileSelector(selector, s, specificity) && selectorMatchesNode(s, node);
}

}  // namespace kivu::stdsvg
