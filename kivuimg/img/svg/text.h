// TSvgText: the "text" and "tspan" elements, drawn as PDF text objects.
//
// The library has no fonts of its own.  While a run of text is read it
// announces an SRawFont (family, weight, style and the run's text) to the
// document; the host answers through setFont with a font resource number
// and the form in which the run's string is to be written, and getData then
// writes "/F<n>" and the string in that form.
//
// A "tspan" is a TSvgText too.  The first "tspan" inside a run is its
// `child`; the "tspan" that follows a "tspan" is its `next`.  Nesting goes
// through `child` and is bounded by the element depth; a `next` chain can be
// as long as the document has siblings, so every walk along it (reading,
// copying, writing, delivering fonts, destroying) is a loop, not a recursion.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "kivuimg/commons/core/buffer.h"
#include "kivuimg/commons/graphics/point.h"
#include "kivuimg/img/rawfont.h"
#include "kivuimg/img/svg/element.h"

namespace kivu {

class TSvgText : public TSvgElementOf<TSvgText, TSvgElement> {
public:
    TSvgText(TImageSVG* svgBase, bool dublicated);
    TSvgText(TSvgElement* parent, bool dublicated);
    ~TSvgText() override;

    std::string nodeName() const override { return "text"; }
    // Reads the run, its first "tspan" (as `child`) and, when this run
    // stands in a text, the "tspan" siblings that follow (as `next`).
    void read(_xmlNode* node) override;
    void dublicateAttributes(const Attributes& attributes) override;
    // This run's text object, then its child's, then those of the runs
    // along `next`.
    void writeData(TContent& out, float scale) override;

    // Where the run starts, in the drawing's units.
    virtual SPoint textPos() const { return position_; }
    virtual void setPos(const SPoint& position) { position_ = position; }
    virtual void setChild(std::unique_ptr<TSvgText> child) { child_ = std::move(child); }
    virtual void setNext(std::unique_ptr<TSvgText> next) { next_ = std::move(next); }
    // The first run of this chain (this one, then the child's, then along
    // `next`) whose request equals `font` takes its font number and
    // encoding; true when one did.
    virtual bool setFont(const SRawFont& font);

    const SRawFont& rawFont() const { return rawFont_; }
    TSvgText* child() const { return child_.get(); }
    TSvgText* next() const { return next_.get(); }

protected:
    void copyValuesTo(TSvgElement& clone) override;

private:
    // Attributes, style, position and font request of this run, and its child.
    void readRun(_xmlNode* node);
    void readPosition();
    // A copy of this run and its child, without `next`, under either base.
    std::unique_ptr<TSvgText> copyRun(TImageSVG* svgBase, TSvgElement* parent);
    void copyRunValuesTo(TSvgText& clone);
    // The text object of this run alone; nothing when it isn't painted.
    void writeRun(TContent& out, float scale);
    // The run's string in the form its encoding names.
    std::unique_ptr<TBuffer> encodedString();
    // The UTF-16 units up to 127 as bytes; the others are dropped, with a
    // warning once per document.
    std::vector<uint8_t> _indexedString(const std::string& text);

    SRawFont rawFont_;
    SPoint position_;
    std::unique_ptr<TSvgText> child_;
    std::unique_ptr<TSvgText> next_;
};

}  // namespace kivu
