// Backtracking regular expressions (PCRE2, JIT-compiled).  A pattern is
// compiled once, when its Regex is constructed; keep patterns in
// function-local statics so that each is compiled a single time per process.
// Matching is thread-safe: every call uses its own match data.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kivu {

class Regex {
public:
    enum Flags : uint32_t { None = 0, Caseless = 1, DotAll = 2, Multiline = 4, Extended = 8 };

    // Throws KivuException for a pattern that doesn't compile.
    explicit Regex(std::string_view pattern, uint32_t flags = None);
    // Flags by option letters: "i" caseless, "s" dot-all, "m" multi-line, "x" extended.
    Regex(std::string_view pattern, std::string_view letters);
    ~Regex();
    Regex(const Regex&) = delete;
    Regex& operator=(const Regex&) = delete;

    struct Match {
        size_t begin = 0;  // of the whole match, in the subject
        size_t end = 0;
        // Group 0 is the whole match; an unset group is std::nullopt.
        std::vector<std::optional<std::string_view>> groups;
        std::string_view group(size_t i) const {
            return i < groups.size() && groups[i] ? *groups[i] : std::string_view();
        }
    };

    // The first match at or after `start`.
    std::optional<Match> search(std::string_view subject, size_t start = 0) const;
    bool contains(std::string_view subject) const { return search(subject).has_value(); }
    // The whole subject must match.
    bool fullMatch(std::string_view subject) const;
    // Every non-overlapping match, left to right.
    std::vector<Match> findAll(std::string_view subject) const;
    // Pieces between matches; the leading piece is kept even when empty, a
    // trailing empty piece is dropped.
    std::vector<std::string> split(std::string_view subject) const;
    // Each match replaced by what the callback gives.
    std::string replaceAll(std::string_view subject, const std::function<std::string(const Match&)>& fn) const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

// A pattern given as text at run time (with the option letters of Regex),
// compiled on first use and kept for the life of the process: each distinct
// pattern is compiled once, whatever the thread.
const Regex& cachedRegex(std::string_view pattern, std::string_view letters);
// Splits `text` at every match of `pattern` compiled with `letters` (see
// Regex::split for the pieces).
std::vector<std::string> regSplit(std::string_view pattern, std::string_view text, std::string_view letters);

}  // namespace kivu
