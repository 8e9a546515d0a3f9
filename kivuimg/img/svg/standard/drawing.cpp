#include "kivuimg/img/svg/standard/drawing.h"

#include <algorithm>

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/core/log.h"
#include "kivuimg/commons/core/settings.h"
#include "kivuimg/commons/indirectobj.h"
#include "kivuimg/commons/objects.h"
#include "kivuimg/img/libmain.h"
#include "kivuimg/img/svg/imagesvg.h"
#include "kivuimg/img/svg/standard/document.h"

namespace kivu::stdsvg {

namespace {

// CSS pixels into the Form's space: points, y up.
const SMatrix kPixelsToForm{0.75, 0, 0, -0.75, 0, 0};

}  // namespace

TStandardDrawing::TStandardDrawing(TImageSVG& image)
    : image_(image), pictureOf_(std::make_shared<std::map<const TSvgNode*, std::string>>()) {}

TStandardDrawing::~TStandardDrawing() = default;

void TStandardDrawing::read(std::span<const uint8_t> bytes, const std::string& folder) {
    folder_ = folder;
    budget_ = TSvgBudget::current(&owner_);
    const TSvgBudget::Scope scope(budget_);
    auto doc = std::make_shared<TSvgDocument>();
    SReadLimits limits;
    limits.maxElements = maxSvgElements();
    limits.maxBytes = maxSvgBytes();
    // A gzip stream (.svgz) is read as its expansion, under the same limit.
    std::vector<uint8_t> inflated;
    if (bytes.size() >= 2 && bytes[0] == 0x1F && bytes[1] == 0x8B) {
        try {
            inflated = TMemory::_uncomp(bytes, 0, 15 + 16, limits.maxBytes);
        } catch (const KivuException& e) {
            throwf("SVG: the compressed drawing can't be read (%s)", e.what());
        }
        bytes = inflated;
    }
    doc->read(bytes, limits, *budget_);
    doc_ = doc;
    size_ = rootSize(*doc->root());
    if (size_.placement.drawn) {
        if (owner_) budget_->restartDrawing();
        TPainter painter(*doc_, *this);
        painter.collect(kPixelsToForm * size_.placement.matrix, size_.placement.inner);
    }
}

std::unique_ptr<TStandardDrawing> TStandardDrawing::copyFor(TImageSVG& image) const {
    auto copy = std::make_unique<TStandardDrawing>(image);
    copy->doc_ = doc_;
    copy->size_ = size_;
    copy->folder_ = folder_;
    copy->budget_ = std::make_shared<TSvgBudget>(maxSvgBytes(), maxSvgElements());
    copy->owner_ = true;
    copy->fonts_ = fonts_;
    copy->answers_ = answers_;
    copy->sources_ = sources_;
    copy->pictureOf_ = pictureOf_;
    copy->objectsOf_ = objectsOf_;
    return copy;
}

SBox TStandardDrawing::formBox() const { return SBox{0, 0, size_.width * 0.75, -size_.height * 0.75}; }

// ---- fonts and pictures --------------------------------------------------------------

void TStandardDrawing::requestFont(const SRawFont& request) {
    if (answers_.count(request)) return;
    answers_.emplace(request, request);
    fonts_.push_back(request);
}

void TStandardDrawing::setFont(const SRawFont& answer) {
    auto it = answers_.find(answer);
    if (it != answers_.end()) it->second = answer;
}

const SRawFont* TStandardDrawing::fontAnswer(const SRawFont& request) {
    auto it = answers_.find(request);
    return it == answers_.end() ? nullptr : &it->second;
}

std::string TStandardDrawing::addPicture(const TSvgNode& element, std::unique_ptr<TBuffer> bytes,
                                         const std::string& ext) {
    // A picture lives as long as the document that embeds it: its bytes count.
    budget_->countTree(bytes->size());
    const std::string name = "subimage-" + bytes->MD5() + "." + ext;
    if (!libimg_getImage(name.c_str())) loadImage(name, std::move(bytes));
    if (!libimg_getImage(name.c_str())) return "";
    (*pictureOf_)[&element] = name;
    if (std::find(sources_.begin(), sources_.end(), name) == sources_.end()) sources_.push_back(name);
    return name;
}

std::string TStandardDrawing::pictureSource(const TSvgNode& element) {
    auto it = pictureOf_->find(&element);
    return it == pictureOf_->end() ? std::string() : it->second;
}

TImageFormat* TStandardDrawing::picture(const std::string& source) { return libimg_getImage(source.c_str()); }

uint64_t TStandardDrawing::pictureObject(const std::string& source) {
    for (const SLinkSrcId& link : objectsOf_)
        if (link.src == source) return link.id;
    return 0;
}

void TStandardDrawing::swapPicture(const std::string& name, const std::string& newName) {
    for (std::string& s : sources_)
        if (s == name) s = newName;
    for (auto& [node, source] : *pictureOf_)
        if (source == name) source = newName;
}

bool TStandardDrawing::networkAllowed() { return g_settings && g_settings->allowNetwork(); }

void TStandardDrawing::warnOnce(const std::string& message) {
    if (std::find(warned_.begin(), warned_.end(), message) != warned_.end()) return;
    warned_.push_back(message);
    g_logExclamation(g_log, "%s - [%s]", message.c_str(), image_.docName().c_str());
}

// ---- writing -----------------------------------------------------------------------------

SColor TStandardDrawing::targetColor(const SColor& color) { return image_.getColorSpace(color); }

void TStandardDrawing::nameResource(const std::string& name, const char* category, ResourceSource source,
                                    uint64_t index) {
    image_.nameResource(name, category, source, index);
}

void TStandardDrawing::addResourceHolder(uint64_t number) { image_.holdResources(number); }

void TStandardDrawing::countContent(uint64_t bytes) { budget_->countContent(bytes); }

void TStandardDrawing::countVisit() { budget_->countVisit(); }

uint64_t TStandardDrawing::emit(TObjects* objects, std::vector<SGradient>* gradients, ColorSpace target) {
    objects_ = objects, gradients_ = gradients, target_ = target;
    TIndirectObject* form = objects->add(0);
    form->comment("Image/SVG");
    const uint64_t number = form->num();
    image_.holdResources(number);
    form->args({"Type", "XObject"});
    form->args({"Subtype", "Form"});
    form->set("Group", sformat("%llu 0 R", static_cast<unsigned long long>(number + 1)));
    form->set("BBox", boxText(formBox()));
    TIndirectObject* group = objects->add(0);
    group->comment("SVG/Transparency");
    group->args({"Type", "Group"});
    group->args({"S", "Transparency"});
    // The object takes the stream as it stands: no copy.
    auto stream = std::make_shared<TBuffer>(4096, 8192);
    if (doc_ && size_.placement.drawn) {
        const TSvgBudget::Scope scope(budget_);
        if (owner_) budget_->restartDrawing();
        TCanvas canvas(*this, *stream, formBox());
        TPainter painter(*doc_, *this);
        painter.paint(canvas, kPixelsToForm * size_.placement.matrix, size_.placement.inner);
    }
    form->shareStream(std::move(stream), "");
    objects_ = nullptr, gradients_ = nullptr;
    return number;
}

}  // namespace kivu::stdsvg
