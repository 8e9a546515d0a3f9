#define PCRE2_CODE_UNIT_WIDTH 8
#include "kivuimg/commons/core/regex.h"

#include <pcre2.h>

#include <map>
#include <mutex>

#include "kivuimg/commons/core/cstr.h"

namespace kivu {

struct Regex::Impl {
    pcre2_code* code = nullptr;
    uint32_t pairs = 1;  // the whole match and each capture group
    ~Impl() {
        if (code) pcre2_code_free(code);
    }
};

namespace {

uint32_t lettersToFlags(std::string_view letters) {
    uint32_t f = Regex::None;
    for (char c : letters) {
        switch (c) {
            case 'i': f |= Regex::Caseless; break;
            case 's': f |= Regex::DotAll; break;
            case 'm': f |= Regex::Multiline; break;
            case 'x': f |= Regex::Extended; break;
            default: break;
        }
    }
    return f;
}

// Match data for one call.  A block with room for 32 groups is kept per
// thread and reused, so that a match costs no allocation; a pattern with
// more groups gets a block of its own.
class MatchData {
public:
    MatchData(const pcre2_code* code, uint32_t pairs) {
        if (pairs <= kShared) {
            thread_local std::unique_ptr<pcre2_match_data, void (*)(pcre2_match_data*)> shared(
                pcre2_match_data_create(kShared, nullptr), pcre2_match_data_free);
            md = shared.get();
        } else {
            md = own = pcre2_match_data_create_from_pattern(code, nullptr);
        }
    }
    ~MatchData() {
        if (own) pcre2_match_data_free(own);
    }
    MatchData(const MatchData&) = delete;
    MatchData& operator=(const MatchData&) = delete;

    pcre2_match_data* md = nullptr;

private:
    static constexpr uint32_t kShared = 32;
    pcre2_match_data* own = nullptr;
};

}  // namespace

Regex::Regex(std::string_view pattern, uint32_t flags) : impl_(std::make_unique<Impl>()) {
    uint32_t opts = 0;
    if (flags & Caseless) opts |= PCRE2_CASELESS;
    if (flags & DotAll) opts |= PCRE2_DOTALL;
    if (flags & Multiline) opts |= PCRE2_MULTILINE;
    if (flags & Extended) opts |= PCRE2_EXTENDED;
    int err = 0;
    PCRE2_SIZE off = 0;
    impl_->code = pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern.data()), pattern.size(), opts, &err, &off, nullptr);
    if (!impl_->code) {
        PCRE2_UCHAR buf[256];
        pcre2_get_error_message(err, buf, sizeof buf);
        throwf("Invalid regular expression '%.*s': %s", static_cast<int>(pattern.size()), pattern.data(),
               reinterpret_cast<const char*>(buf));
    }
    uint32_t groups = 0;
    pcre2_pattern_info(impl_->code, PCRE2_INFO_CAPTURECOUNT, &groups);
    impl_->pairs = groups + 1;
    // JIT is an optimisation: where it isn't available the interpreter runs.
    pcre2_jit_compile(impl_->code, PCRE2_JIT_COMPLETE);
}

Regex::Regex(std::string_view pattern, std::string_view letters) : Regex(pattern, lettersToFlags(letters)) {}

Regex::~Regex() = default;

std::optional<Regex::Match> Regex::search(std::string_view subject, size_t start) const {
    if (start > subject.size()) return std::nullopt;
    MatchData m(impl_->code, impl_->pairs);
    if (!m.md) return std::nullopt;
    const int rc = pcre2_match(impl_->code, reinterpret_cast<PCRE2_SPTR>(subject.data()), subject.size(), start, 0,
                               m.md, nullptr);
    if (rc < 0) return std::nullopt;
    const PCRE2_SIZE* ov = pcre2_get_ovector_pointer(m.md);
    const uint32_t pairs = impl_->pairs;
    Match out;
    out.begin = ov[0];
    out.end = ov[1];
    out.groups.resize(pairs);
    for (uint32_t i = 0; i < pairs; ++i) {
        if (i < static_cast<uint32_t>(rc) && ov[2 * i] != PCRE2_UNSET)
            out.groups[i] = subject.substr(ov[2 * i], ov[2 * i + 1] - ov[2 * i]);
    }
    return out;
}

bool Regex::fullMatch(std::string_view subject) const {
    auto m = search(subject);
    return m && m->begin == 0 && m->end == subject.size();
}

std::vector<Regex::Match> Regex::findAll(std::string_view subject) const {
    std::vector<Match> out;
    size_t pos = 0;
    while (pos <= subject.size()) {
        auto m = search(subject, pos);
        if (!m) break;
        pos = m->end > m->begin ? m->end : m->end + 1;
        out.push_back(std::move(*m));
    }
    return out;
}

std::vector<std::string> Regex::split(std::string_view subject) const {
    std::vector<std::string> out;
    size_t last = 0;
    for (const auto& m : findAll(subject)) {
        if (m.end == m.begin) continue;
        out.emplace_back(subject.substr(last, m.begin - last));
        last = m.end;
    }
    if (last < subject.size()) out.emplace_back(subject.substr(last));
    return out;
}

std::string Regex::replaceAll(std::string_view subject, const std::function<std::string(const Match&)>& fn) const {
    std::string out;
    size_t last = 0;
    for (const auto& m : findAll(subject)) {
        out.append(subject.substr(last, m.begin - last));
        out += fn(m);
        last = m.end;
    }
    out.append(subject.substr(last));
    return out;
}

const Regex& cachedRegex(std::string_view pattern, std::string_view letters) {
    static std::mutex lock;
    static std::map<std::string, std::unique_ptr<Regex>, std::less<>> cache;
    std::string key(letters);
    key += '\x01';
    key += pattern;
    std::lock_guard<std::mutex> guard(lock);
    auto it = cache.find(key);
    if (it == cache.end()) it = cache.emplace(std::move(key), std::make_unique<Regex>(pattern, letters)).first;
    return *it->second;
}

std::vector<std::string> regSplit(std::string_view pattern, std::string_view text, std::string_view letters) {
    return cachedRegex(pattern, letters).split(text);
}

}  // namespace kivu
