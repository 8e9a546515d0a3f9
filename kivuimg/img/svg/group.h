// TSvgGroup: the "g" element, a container that owns its children and draws
// them in order inside its own transformation.  It also serves as the base
// of "defs" and "symbol", and carries the searches through a subtree: by id,
// by sub-image source, and the delivery of fonts.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "kivuimg/img/rawfont.h"
#include "kivuimg/img/svg/element.h"

namespace kivu {

class TSvgSubImage;

class TSvgGroup : public TSvgElementOf<TSvgGroup, TSvgElement> {
public:
    using TSvgElementOf::TSvgElementOf;

    std::string nodeName() const override { return "g"; }
    void read(_xmlNode* node) override;
    void writeData(TContent& out, float scale) override;

    virtual void addElement(std::unique_ptr<TSvgElement> element);
    // True as soon as a container below answers true; no leaf acts on it.
    virtual bool setSubImage(const std::string& name, const std::string& newName);
    // The first child with that id, searching "g", "defs" and "symbol"
    // children too; clones are passed over.  Null when none.
    virtual TSvgElement* findElementById(const std::string& id);
    virtual TSvgSubImage* getSubImageBySourceName(const std::string& name);
    // Offers the font to every text below.
    virtual void setFont(const SRawFont& font);

    const std::vector<std::unique_ptr<TSvgElement>>& elements() const { return elements_; }

protected:
    // Builds and reads the children that a container of kind `where`
    // accepts; `resolveUses` replaces each `use` by a clone of its target.
    void readChildren(_xmlNode* node, SvgContainer where, bool resolveUses);
    // "g", "defs" and "symbol": the containers that searches go into.
    static bool isContainer(const TSvgElement& element);
    void copyValuesTo(TSvgElement& clone) override;

    std::vector<std::unique_ptr<TSvgElement>> elements_;

private:
    void addUse(std::unique_ptr<TSvgElement> use);
};

}  // namespace kivu
