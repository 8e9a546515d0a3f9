#include "kivuimg/img/svg/group.h"

#include "kivuimg/commons/core/log.h"
#include "kivuimg/img/svg/subimage.h"
#include "kivuimg/img/svg/text.h"
#include "kivuimg/img/svg/use.h"

namespace kivu {

void TSvgGroup::read(_xmlNode* node) {
    readAttributesAndStyle(node, false);
    readChildren(node, inGroup, true);
}

void TSvgGroup::readChildren(_xmlNode* node, SvgContainer where, bool resolveUses) {
    for (_xmlNode* child : svgnode::elementChildren(node)) {
        std::unique_ptr<TSvgElement> element = createSvgElement(child, where, nullptr, this);
        if (!element) continue;
        element->read(child);
        if (resolveUses && element->nodeName() == "use") addUse(std::move(element));
        else addElement(std::move(element));
    }
}

void TSvgGroup::addUse(std::unique_ptr<TSvgElement> element) {
    auto* use = static_cast<TSvgUse*>(element.get());
    // Only what stands earlier in this same group can be referred to.
    if (TSvgElement* target = findElementById(use->href())) {
        addElement(use->dublicate(*target, this));
        return;
    }
    g_logExclamation(g_log, "Element not found to duplicate with reference '#%s' in group", use->href().c_str());
}

void TSvgGroup::addElement(std::unique_ptr<TSvgElement> element) {
    if (element) elements_.push_back(std::move(element));
}

bool TSvgGroup::isContainer(const TSvgElement& element) {
    const std::string name = element.nodeName();
    return name == "g" || name == "defs" || name == "symbol";
}

TSvgElement* TSvgGroup::findElementById(const std::string& id) {
    for (const auto& element : elements_) {
        if (element->isDublicated()) continue;
        if (element->ID() == id) return element.get();
        if (isContainer(*element))
            if (TSvgElement* found = static_cast<TSvgGroup&>(*element).findElementById(id)) return found;
    }
    return nullptr;
}

bool TSvgGroup::setSubImage(const std::string& name, const std::string& newName) {
    for (const auto& element : elements_)
        if (isContainer(*element) && static_cast<TSvgGroup&>(*element).setSubImage(name, newName)) return true;
    return false;
}

TSvgSubImage* TSvgGroup::getSubImageBySourceName(const std::string& name) {
    for (const auto& element : elements_) {
        if (auto* image = dynamic_cast<TSvgSubImage*>(element.get()))
            if (image->href() == name) return image;
        if (isContainer(*element))
            if (TSvgSubImage* found = static_cast<TSvgGroup&>(*element).getSubImageBySourceName(name)) return found;
    }
    return nullptr;
}

void TSvgGroup::setFont(const SRawFont& font) {
    for (const auto& element : elements_) {
        if (auto* text = dynamic_cast<TSvgText*>(element.get())) text->setFont(font);
        else if (isContainer(*element)) static_cast<TSvgGroup&>(*element).setFont(font);
    }
}

void TSvgGroup::writeData(TContent& out, float scale) {
    const bool transformed = !style_.transform.empty();
    if (transformed) out.save("q ").raw(style_.transform);
    for (const auto& element : elements_) element->writeData(out, scale);
    if (transformed) out.restore("Q\n");
}

void TSvgGroup::copyValuesTo(TSvgElement& clone) {
    auto& group = static_cast<TSvgGroup&>(clone);
    for (const auto& element : elements_) group.addElement(element->copy(&group, false));
}

}  // namespace kivu
