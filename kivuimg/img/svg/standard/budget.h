// What one document may cost under the standard rules, shared with every
// drawing embedded in it (`data:image/svg+xml` pictures, pictures beside
// it), so that a drawing of drawings costs no more than one drawing:
// the bytes its trees hold (elements, attributes, character data, style
// rules, embedded pictures), the elements it visits while drawing (the
// instances of `use`, markers and patterns each time) and the bytes it
// writes into content streams.
//
// A drawing read while another one is being read or written takes that
// one's budget; the outermost one makes a new budget.
#pragma once

#include <cstdint>
#include <memory>

namespace kivu::stdsvg {

// The default of both byte limits: of tree and of content.
inline constexpr uint64_t kDefaultSvgBytes = 64ull << 20;

// The byte limit of each new document (tree and content alike): the
// settings' (`maxSvgBytes`), else the default.
uint64_t maxSvgBytes();

class TSvgBudget {
public:
    TSvgBudget(uint64_t maxBytes, uint64_t maxVisits);

    // The budget of the document being read or written on this thread, or
    // a new one (`made` then set).
    static std::shared_ptr<TSvgBudget> current(bool* made = nullptr);

    // Each raises KivuException with the limit passed.
    void countTree(uint64_t bytes);
    void countVisit();
    void countContent(uint64_t bytes);
    // Starts counting a new emission's visits and content.
    void restartDrawing() { visits_ = 0, content_ = 0; }

    uint64_t treeBytes() const { return tree_; }

    // Makes `budget` the current one while it lives.
    class Scope {
    public:
        explicit Scope(std::shared_ptr<TSvgBudget> budget);
        ~Scope();
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

    private:
        std::shared_ptr<TSvgBudget> previous_;
    };

private:
    uint64_t maxBytes_, maxVisits_;
    uint64_t tree_ = 0, visits_ = 0, content_ = 0;
};

}  // namespace kivu::stdsvg
