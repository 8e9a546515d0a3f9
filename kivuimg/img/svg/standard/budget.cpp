#include "kivuimg/img/svg/standard/budget.h"

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/core/settings.h"
#include "kivuimg/img/svg/imagesvg.h"

namespace kivu::stdsvg {

namespace {

thread_local std::shared_ptr<TSvgBudget> t_current;

}  // namespace

uint64_t maxSvgBytes() {
    return g_settings && g_settings->maxSvgBytes() ? g_settings->maxSvgBytes() : kDefaultSvgBytes;
}

TSvgBudget::TSvgBudget(uint64_t maxBytes, uint64_t maxVisits) : maxBytes_(maxBytes), maxVisits_(maxVisits) {}

std::shared_ptr<TSvgBudget> TSvgBudget::current(bool* made) {
    if (made) *made = !t_current;
    return t_current ? t_current : std::make_shared<TSvgBudget>(maxSvgBytes(), maxSvgElements());
}

void TSvgBudget::countTree(uint64_t bytes) {
    tree_ += bytes;
    if (tree_ > maxBytes_)
        throwf("SVG: the drawing holds more than %llu bytes of elements and text",
               static_cast<unsigned long long>(maxBytes_));
}

void TSvgBudget::countVisit() {
    if (++visits_ > maxVisits_)
        throwf("SVG: the drawing expands to more than %llu elements", static_cast<unsigned long long>(maxVisits_));
}

void TSvgBudget::countContent(uint64_t bytes) {
    content_ += bytes;
    if (content_ > maxBytes_)
        throwf("SVG: the drawing writes more than %llu bytes of content", static_cast<unsigned long long>(maxBytes_));
}

TSvgBudget::Scope::Scope(std::shared_ptr<TSvgBudget> budget) : previous_(std::move(t_current)) {
    t_current = std::move(budget);
}

TSvgBudget::Scope::~Scope() { t_current = std::move(previous_); }

}  // namespace kivu::stdsvg
