#include "kivuimg/img/svg/text.h"

#include <libxml/tree.h>

#include <algorithm>

#include "kivuimg/commons/core/buffer.h"
#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/core/log.h"
#include "kivuimg/commons/funcs.h"
#include "kivuimg/commons/objects.h"
#include "kivuimg/commons/unit.h"
#include "kivuimg/img/svg/imagesvg.h"

namespace kivu {

TSvgText::TSvgText(TImageSVG* svgBase, bool dublicated) : TSvgElementOf(svgBase, dublicated), position_(0, 0) {}

TSvgText::TSvgText(TSvgElement* parent, bool dublicated) : TSvgElementOf(parent, dublicated), position_(0, 0) {}

TSvgText::~TSvgText() {
    // Unlinks the chain one run at a time, so that a long chain doesn't
    // destroy itself recursively.
    std::unique_ptr<TSvgText> run = std::move(next_);
    while (run) run = std::move(run->next_);
}

// ---- reading ---------------------------------------------------------------------

void TSvgText::read(_xmlNode* node) {
    readRun(node);
    if (!dynamic_cast<TSvgText*>(parent_)) return;
    TSvgText* last = this;
    for (_xmlNode* sibling = svgnode::nextNode(node); sibling && svgnode::lowerName(sibling) == "tspan";
         sibling = svgnode::nextNode(sibling)) {
        auto run = std::make_unique<TSvgText>(parent_, false);
        run->readRun(sibling);
        last->setNext(std::move(run));
        last = last->next_.get();
    }
}

void TSvgText::readRun(_xmlNode* node) {
    readAttributesAndStyle(node, true);
    readPosition();
    const std::string text = strip(svgnode::firstChildText(node));
    if (!text.empty()) {
        rawFont_.family = style_.fontFamily;
        rawFont_.weight = toLower(style_.fontWeight);
        rawFont_.style = toLower(style_.fontStyle);
        rawFont_.text = text;
        if (TImageSVG* doc = ptrSvgBase()) doc->addRawFont(rawFont_);
    }
    _xmlNode* child = svgnode::childNode(node);
    if (child && svgnode::lowerName(child) == "tspan") {
        auto run = std::make_unique<TSvgText>(static_cast<TSvgElement*>(this), false);
        run->read(child);
        setChild(std::move(run));
    }
}

// A run starts where the text or tspan around it starts; "x" and "y"
// replace a coordinate, "dx" and "dy" move it.
void TSvgText::readPosition() {
    if (auto* outer = dynamic_cast<TSvgText*>(parent_)) position_ = outer->textPos();
    if (hasAttribute("x")) position_.x = SUnit(attribute("x")).any();
    if (hasAttribute("y")) position_.y = SUnit(attribute("y")).any();
    if (hasAttribute("dx")) position_.x += SUnit(attribute("dx")).any();
    if (hasAttribute("dy")) position_.y += SUnit(attribute("dy")).any();
}

void TSvgText::dublicateAttributes(const Attributes& attributes) {
    for (const auto& [key, value] : attributes) {
        if (key == "id" || key == "href" || attributes_.count(key)) continue;
        attributes_.emplace(key, value);
    }
    if (TImageSVG* doc = ptrSvgBase()) style_ = doc->defineSvgStyle(attributes_, parentStyle(), true);
}

// ---- fonts and copies ----------------------------------------------------------------

bool TSvgText::setFont(const SRawFont& font) {
    // Every run that asked for this font takes the answer: equal runs in one
    // chain ask once.
    bool answered = false;
    for (TSvgText* run = this; run; run = run->next_.get()) {
        if (run->rawFont_ == font) {
            run->rawFont_ = font;
            answered = true;
        }
        if (run->child_ && run->child_->setFont(font)) answered = true;
    }
    return answered;
}

void TSvgText::copyRunValuesTo(TSvgText& clone) {
    clone.rawFont_ = rawFont_;
    clone.position_ = position_;
    if (child_) clone.child_.reset(static_cast<TSvgText*>(child_->copy(&clone, false).release()));
}

std::unique_ptr<TSvgText> TSvgText::copyRun(TImageSVG* svgBase, TSvgElement* parent) {
    auto clone = svgBase ? std::make_unique<TSvgText>(svgBase, false) : std::make_unique<TSvgText>(parent, false);
    clone->setStyle(style_);
    clone->setAttributes(attributes_);
    copyRunValuesTo(*clone);
    return clone;
}

void TSvgText::copyValuesTo(TSvgElement& clone) {
    auto& first = static_cast<TSvgText&>(clone);
    copyRunValuesTo(first);
    TSvgText* last = &first;
    for (TSvgText* run = next_.get(); run; run = run->next_.get()) {
        last->next_ = run->copyRun(first.svgBase_, first.parent_);
        last = last->next_.get();
    }
}

// ---- writing -------------------------------------------------------------------------

void TSvgText::writeData(TContent& out, float scale) {
    for (TSvgText* run = this; run; run = run->next_.get()) {
        run->writeRun(out, scale);
        if (run->child_) run->child_->writeData(out, scale);
    }
}

namespace {

// A shared graphics state with both alphas; answers its 1-based number.
uint64_t textState(TObjects* objects, float fillAlpha, float strokeAlpha) {
    if (!objects) throw KivuException("SVG: text is written only while the image is emitted");
    std::unique_ptr<TBaseObject> state = objects->createCustom(ObjectType::extGState);
    state->set("ca", sformat("%.6f", static_cast<double>(fillAlpha)));
    state->set("CA", sformat("%.6f", static_cast<double>(strokeAlpha)));
    state->set("BM", "/Normal");
    return objects->addCustom(state, false);
}

}  // namespace

void TSvgText::writeRun(TContent& out, float scale) {
    TImageSVG* doc = ptrSvgBase();
    if (!doc) return;
    const bool sized = !isNaNBits(style_.fontSize);
    int paint = -1;
    std::string fill, stroke;
    if (style_.fill.enabled() && sized) {
        fill = doc->getColorSpace(style_.fill).toPDF() + " ";
        paint = 0;
    }
    if (style_.stroke.enabled() && sized) {
        stroke = toUpper(doc->getColorSpace(style_.stroke).toPDF()) + " ";
        if (style_.strokeWidth > 0) {
            stroke += sformat("%.3f w 1 J 1 j ", static_cast<double>(style_.strokeWidth));
            paint = paint == -1 ? 1 : 2;
        }
    }
    if (paint == -1 || rawFont_.text.empty()) return;
    const uint64_t state = textState(doc->objects(), zeon(style_.fillOpacity), zeon(style_.strokeOpacity));
    doc->nameResource(sformat("F%d", rawFont_.fontId), "Font", ResourceSource::font,
                      static_cast<uint64_t>(std::max(rawFont_.fontId, 0)));
    doc->nameResource(sformat("GS%llu", static_cast<unsigned long long>(state)), "ExtGState",
                      ResourceSource::sharedState, state);
    const std::string font =
        sformat("/F%d %.3f Tf /GS%llu gs %d Tr %s %s ", rawFont_.fontId, static_cast<double>(style_.fontSize),
                static_cast<unsigned long long>(state), paint, fill.c_str(), stroke.c_str());
    const bool transformed = !style_.transform.empty();
    if (transformed) out.save("q ").raw(style_.transform);
    out.save("q 1 0 0 1 ").raw("0.00").raw(" 0 cm ").save("q ").raw("BT ").raw(font);
    out.num(position_.x * scale).num(-position_.y * scale).raw("Td ");
    out.out() += *encodedString();
    out.raw(" Tj ET ").restore("Q\n").restore("Q\n");
    if (transformed) out.restore("Q\n");
}

std::unique_ptr<TBuffer> TSvgText::encodedString() {
    switch (rawFont_.encoding) {
        case 0:
        case 2: return TBuffer::escapedWStringRaw(utf8ToUtf16(rawFont_.text), false);
        case 1: return TBuffer::escapedIndexStringRaw(_indexedString(rawFont_.text));
        default: return TBuffer::escapedStringISORaw(rawFont_.text);
    }
}

std::vector<uint8_t> TSvgText::_indexedString(const std::string& text) {
    std::vector<uint8_t> bytes;
    bool dropped = false;
    for (char16_t unit : utf8ToUtf16(text)) {
        if (unit <= 127) bytes.push_back(static_cast<uint8_t>(unit));
        else dropped = true;
    }
    TImageSVG* doc = ptrSvgBase();
    if (dropped && doc && doc->firstIndexedWarning())
        g_logExclamation(g_log,
                         "Characters above ASCII are not currently supported with TTF subsetting mode in svg "
                         "image, \n                        please use CID subsetting mode [%s]",
                         doc->docName().c_str());
    return bytes;
}

}  // namespace kivu
