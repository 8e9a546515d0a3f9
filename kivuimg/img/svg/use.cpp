#include "kivuimg/img/svg/use.h"

#include "kivuimg/commons/core/log.h"

namespace kivu {

void TSvgUse::read(_xmlNode* node) {
    _getAttributes(node);
    const std::string href = attribute("href");
    if (href.size() >= 2) {
        href_ = href[0] == '#' ? href.substr(1) : href;
        return;
    }
    g_logExclamation(g_log, "Reference to element is missing at use");
}

std::unique_ptr<TSvgElement> TSvgUse::dublicate(TSvgElement& element, TImageSVG* svgBase) {
    std::unique_ptr<TSvgElement> clone = element.copy(svgBase, true);
    if (clone) clone->dublicateAttributes(attributes_);
    return clone;
}

std::unique_ptr<TSvgElement> TSvgUse::dublicate(TSvgElement& element, TSvgElement* parent) {
    std::unique_ptr<TSvgElement> clone = element.copy(parent, true);
    if (clone) clone->dublicateAttributes(attributes_);
    return clone;
}

}  // namespace kivu
