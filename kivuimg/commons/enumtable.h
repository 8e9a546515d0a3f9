// The spelling family of every enumeration, written once.  Each enumeration
// is a table (EnumSpec) of its spellings; EnumTable answers the three
// operations of the family over it:
//   xxx2Str  value to its word,
//   str2Xxx  word to value: lower-cased, searched among the words sorted by
//            length and then by bytes; unknown text gives `unknown` (0 for all
//            but a few enumerations),
//   xxx2Arr  the spellings for a list box, value order, default in brackets.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "kivuimg/commons/core/cstr.h"

namespace kivu {

struct EnumSpec {
    // xxx2Arr: the spellings in value order, the default in square brackets.
    std::vector<std::string_view> list = {};
    // xxx2Str: the word of value `first` + i.
    std::vector<std::string_view> names = {};
    int32_t first = 0;
    // xxx2Str of a value without a word of its own.
    std::string_view other = "";
    // Whether `names` are also the words str2Xxx knows.
    bool namesAreWords = true;
    // More words that str2Xxx knows, with their values.
    std::vector<std::pair<std::string_view, int32_t>> words = {};
    // str2Xxx of a text it doesn't know.
    int32_t unknown = 0;
};

template <typename E>
class EnumTable {
public:
    explicit EnumTable(EnumSpec table) : spec_(std::move(table)) {
        if (spec_.namesAreWords)
            for (size_t i = 0; i < spec_.names.size(); ++i)
                sorted_.emplace_back(toLower(spec_.names[i]), spec_.first + static_cast<int32_t>(i));
        for (const auto& [word, value] : spec_.words) sorted_.emplace_back(toLower(word), value);
        // Stable, so that of two equal words the one listed first is found.
        std::stable_sort(sorted_.begin(), sorted_.end(),
                         [](const auto& a, const auto& b) { return shorterFirst(a.first, b.first) < 0; });
        sorted_.erase(std::unique(sorted_.begin(), sorted_.end(),
                                  [](const auto& a, const auto& b) { return a.first == b.first; }),
                      sorted_.end());
    }

    std::string toStr(E value) const {
        const int64_t i = static_cast<int64_t>(value) - spec_.first;
        if (i >= 0 && i < static_cast<int64_t>(spec_.names.size())) return std::string(spec_.names[i]);
        return std::string(spec_.other);
    }

    E fromStr(std::string_view text) const {
        const std::string key = toLower(text);
        size_t lo = 0, hi = sorted_.size();
        while (lo < hi) {
            const size_t mid = lo + (hi - lo) / 2;
            const int c = shorterFirst(sorted_[mid].first, key);
            if (c == 0) return static_cast<E>(sorted_[mid].second);
            if (c < 0)
                lo = mid + 1;
            else
                hi = mid;
        }
        return static_cast<E>(spec_.unknown);
    }

    std::vector<std::string> toArr() const { return {spec_.list.begin(), spec_.list.end()}; }

private:
    // Orders by length, and by bytes at equal length.
    static int shorterFirst(std::string_view a, std::string_view b) {
        if (a.size() != b.size()) return a.size() < b.size() ? -1 : 1;
        return a.compare(b);
    }

    EnumSpec spec_;
    std::vector<std::pair<std::string, int32_t>> sorted_;
};

// A function that gives the one table of an enumeration, built at first use.
#define KIVU_ENUM_TABLE(Enum, ...)                                 \
    const EnumTable<Enum>& table##Enum() {                         \
        static const EnumTable<Enum> table{EnumSpec __VA_ARGS__};  \
        return table;                                              \
    }

// The thin family functions over an enumeration's table.
#define KIVU_ENUM_STR(Enum, toStrName, fromStrName)                                            \
    std::string toStrName(Enum value) { return table##Enum().toStr(value); }                  \
    Enum fromStrName(const std::string& text) { return table##Enum().fromStr(text); }

#define KIVU_ENUM_ARR(Enum, arrName) \
    std::vector<std::string> arrName() { return table##Enum().toArr(); }

}  // namespace kivu
