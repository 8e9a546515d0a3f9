#include "kivuimg/img/svg/imagesvg.h"

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <atomic>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <limits>

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/core/log.h"
#include "kivuimg/commons/core/regex.h"
#include "kivuimg/commons/core/settings.h"
#include "kivuimg/commons/funcs.h"
#include "kivuimg/commons/indirectobj.h"
#include "kivuimg/commons/objects.h"
#include "kivuimg/img/svg/group.h"
#include "kivuimg/img/svg/pathgeom.h"
#include "kivuimg/img/svg/standard/drawing.h"
#include "kivuimg/img/svg/subimage.h"
#include "kivuimg/img/svg/text.h"
#include "kivuimg/img/svg/transform.h"
#include "kivuimg/img/svg/use.h"

namespace kivu {

namespace {

std::atomic<uint64_t> g_maxSvgElements{1000000};

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
// Millimetres per CSS pixel, and the divisor of the scale: two constants
// that differ, kept as the converter has always used them.
constexpr float kMmPerPx = 0.26458332f;
constexpr float kScaleDivisor = 0.2645f;

// The message that tells a budget failure from the failures readSpecs logs.
constexpr const char* kBudgetMessage = "SVG: the drawing holds more than %llu elements";

// A size attribute ("width", "height") in millimetres, NaN when absent or
// blank.  A unit sets the document's unit (mm, or pixels for any other).
float sizeInMm(const Attributes& attributes, const char* name, Unit& documentUnit, bool setUnit) {
    auto it = attributes.find(name);
    if (it == attributes.end() || strip(it->second).empty()) return kNaN;
    const std::string& value = it->second;
    if (kivu::unit(value) != uNone) {
        if (setUnit) documentUnit = kivu::unit(value) == uMm ? uMm : uPx;
        return SUnit(value).mm();
    }
    if (setUnit) documentUnit = uPx;
    return SUnit::number(value) * kMmPerPx;
}

}  // namespace

uint64_t maxSvgElements() { return g_maxSvgElements.load(); }
void maxSvgElements(uint64_t limit) { g_maxSvgElements.store(limit); }

TImageSVG::TImageSVG(std::unique_ptr<TBuffer> buffer)
    : TImageFormat(std::move(buffer)), gradientsInfo_(std::make_shared<std::map<std::string, SGradientInfo>>()) {}

TImageSVG::~TImageSVG() = default;

void TImageSVG::countElement() {
    if (++elementCount_ <= maxSvgElements()) return;
    overBudget_ = true;
    throwf(kBudgetMessage, static_cast<unsigned long long>(maxSvgElements()));
}

// ---- reading ---------------------------------------------------------------------

// The file's lines, each stripped at both ends, the empty ones dropped, each
// ended by one newline: indentation goes, line breaks inside text stay.
std::string TImageSVG::rebuiltText() {
    const std::string_view all(reinterpret_cast<const char*>(buffer_->ptr()), buffer_->size());
    std::string text;
    text.reserve(all.size() + 1);
    size_t pos = 0;
    while (pos < all.size()) {
        size_t end = all.find_first_of("\r\n", pos);
        if (end == std::string_view::npos) end = all.size();
        const std::string line = strip(all.substr(pos, end - pos));
        if (!line.empty()) text.append(line).push_back('\n');
        pos = end;
        if (pos < all.size() && all[pos] == '\r') ++pos;
        if (pos < all.size() && all[pos] == '\n') ++pos;
    }
    return text;
}

namespace {

// How many SVG documents this thread is reading, one inside the other: a
// drawing's sub-images may be drawings themselves.
thread_local int t_svgReadDepth = 0;

struct SReadDepth {
    SReadDepth() { ++t_svgReadDepth; }
    ~SReadDepth() { --t_svgReadDepth; }
};

}  // namespace

void TImageSVG::readSpecs() {
    // A drawing inside drawings beyond the limit stays empty: a document
    // can't multiply itself through the drawings it embeds.
    if (t_svgReadDepth >= kMaxSvgNesting) {
        g_logExclamation(g_log, "SVG: embedded drawings nest deeper than %d levels - [%s]", kMaxSvgNesting,
                         docName_.c_str());
        return;
    }
    const SReadDepth nested;
    if (currentRules() == rulesStandard) return _readStandard();
    const std::string text = rebuiltText();
    xmlCheckVersion(20903);
    // No network, and no entity is substituted: a document reaches nothing
    // outside its own bytes.
    xmlDocPtr doc = xmlReadMemory(text.data(), static_cast<int>(std::min<size_t>(text.size(), INT32_MAX)), nullptr,
                                  nullptr, XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
    if (!doc) {
        g_logExclamation(g_log, "SVG: Invalid SVG file - [%s]", docName_.c_str());
        return;
    }
    try {
        xmlNodePtr root = xmlDocGetRootElement(doc);
        if (!root || svgnode::text(root->name) != "svg") throw KivuException("Invalid SVG file");
        Attributes attributes = svgnode::attributes(root);
        if (attributes.count("version")) version_ = attributes["version"];
        _setSvgViewBox(attributes);
        _readElements(root);
        _linkGradientXRefs();
    } catch (const std::exception& e) {
        g_logExclamation(g_log, "SVG: %s - [%s]", e.what(), docName_.c_str());
        if (overBudget_) {
            xmlFreeDoc(doc);
            throw;
        }
    }
    xmlFreeDoc(doc);
}

// The drawing by the standard rules; the Form's box is [0 0 w -h] in points.
void TImageSVG::_readStandard() {
    standard_ = std::make_unique<stdsvg::TStandardDrawing>(*this);
    std::string folder;
    std::error_code ec;
    if (!src_.empty() && fileExists(src_)) folder = std::filesystem::absolute(src_, ec).parent_path().string();
    standard_->read(buffer_ ? buffer_->bytes() : std::span<const uint8_t>(), folder);
    // The tree holds all the drawing needs: the file's bytes go.
    if (buffer_) {
        buffer_->clear();
        buffer_->fit();
    }
    width_ = static_cast<int32_t>(std::lround(standard_->width()));
    height_ = static_cast<int32_t>(std::lround(standard_->height()));
    unit_ = uPx;
    documentScale_ = 0.75f, documentScaleY_ = 1.0f;
    positionX_ = positionY_ = 0;
    origWidth_ = static_cast<float>(standard_->width() * 0.75);
    origHeight_ = -static_cast<float>(standard_->height() * 0.75);
}

double TImageSVG::exactWidth() { return standard_ ? standard_->width() : width(); }
double TImageSVG::exactHeight() { return standard_ ? standard_->height() : height(); }

void TImageSVG::_setSvgViewBox(const Attributes& attributes) {
    attributes_ = attributes;
    float vbX = 0, vbY = 0, vbW = kNaN, vbH = kNaN;
    auto viewBox = attributes.find("viewBox");
    if (viewBox != attributes.end()) {
        std::vector<std::string> pieces;
        size_t start = 0;
        for (size_t at; (at = viewBox->second.find(' ', start)) != std::string::npos; start = at + 1)
            pieces.push_back(viewBox->second.substr(start, at - start));
        pieces.push_back(viewBox->second.substr(start));
        if (pieces.size() == 4) {
            vbX = SUnit::number(pieces[0]), vbY = SUnit::number(pieces[1]);
            vbW = SUnit::number(pieces[2]), vbH = SUnit::number(pieces[3]);
        }
    }
    const float widthMm = sizeInMm(attributes, "width", unit_, true);
    const float heightMm = sizeInMm(attributes, "height", unit_, unit_ == uNone);
    float outW, outH;
    if (!isNaNBits(vbW) && !isNaNBits(vbH)) {
        outW = vbW * kMmPerPx, outH = vbH * kMmPerPx;
        if (!isNaNBits(widthMm) || !isNaNBits(heightMm)) {
            const bool byWidth = !isNaNBits(widthMm);
            const float f = byWidth ? widthMm / kScaleDivisor / vbW : heightMm / kScaleDivisor / vbH;
            documentScale_ *= f;
            documentScaleY_ = f;
            outW = byWidth ? widthMm : vbW;
            outH = isNaNBits(heightMm) ? vbH : heightMm;
        }
        positionX_ = vbX * documentScale_, positionY_ = -vbY * documentScale_;
        origWidth_ = vbW * documentScale_, origHeight_ = -vbH * documentScale_;
    } else {
        outW = isNaNBits(widthMm) ? 100.0f : widthMm;
        outH = isNaNBits(heightMm) ? 100.0f : heightMm;
        positionX_ = positionY_ = 0;
        origWidth_ = outW / kScaleDivisor * documentScale_;
        origHeight_ = -(outH / kScaleDivisor) * documentScale_;
    }
    width_ = SUnit(sformat("%.2fmm", static_cast<double>(outW))).px();
    height_ = SUnit(sformat("%.2fmm", static_cast<double>(outH))).px();
}

void TImageSVG::_readElements(_xmlNode* root) {
    for (_xmlNode* node : svgnode::elementChildren(root)) {
        if (svgnode::lowerName(node) == "style") {
            if (node->children) _parseCSS(svgnode::firstChildText(node));
            continue;
        }
        std::unique_ptr<TSvgElement> element = createSvgElement(node, inDocument, this, nullptr);
        if (!element) continue;
        element->read(node);
        if (element->nodeName() != "use") {
            addElement(std::move(element));
            continue;
        }
        auto* use = static_cast<TSvgUse*>(element.get());
        if (TSvgElement* target = findElementById(use->href())) addElement(use->dublicate(*target, this));
        else
            g_logExclamation(g_log, "Element not found to duplicate with reference '#%s' in svg",
                             use->href().c_str());
    }
}

void TImageSVG::addElement(std::unique_ptr<TSvgElement> element) {
    if (element) elements_.push_back(std::move(element));
}

TSvgElement* TImageSVG::findElementById(const std::string& id) {
    for (const auto& element : elements_) {
        if (element->isDublicated()) continue;
        if (element->ID() == id) return element.get();
        if (element->nodeName() == "g")
            if (TSvgElement* found = static_cast<TSvgGroup&>(*element).findElementById(id)) return found;
    }
    return nullptr;
}

float TImageSVG::_convertValue(const std::string& text, bool& isPercent) {
    isPercent = text.find('%', 1) != std::string::npos;
    std::string number = text;
    if (isPercent) std::erase(number, '%');
    if (!isNumeric(number)) return 0.0f;
    try {
        return toFloat(number);
    } catch (const KivuException&) {
        return 0.0f;
    }
}

float TImageSVG::convertValueX(const std::string& text) {
    bool percent = false;
    const float v = _convertValue(text, percent);
    return percent && v > 0 ? static_cast<float>(width_) * v / 100.0f : v;
}

float TImageSVG::convertValueY(const std::string& text) {
    bool percent = false;
    const float v = _convertValue(text, percent);
    return percent && v > 0 ? static_cast<float>(height_) * v / 100.0f : v;
}

std::vector<std::string> TImageSVG::regSplit(const std::string& pattern, const std::string& subject,
                                             const std::string& flags) {
    return kivu::regSplit(pattern, subject, flags);
}

std::string TImageSVG::transformationsToPDF(const std::string& text) {
    return kivu::transformationsToPDF(text, documentScale_);
}

// ---- view box and copies ------------------------------------------------------------

void TImageSVG::setViewbox(float positionX, float positionY, float origWidth, float origHeight, float scaleX,
                           float scaleY) {
    positionX_ = positionX, positionY_ = positionY, origWidth_ = origWidth, origHeight_ = origHeight;
    documentScale_ = scaleX, documentScaleY_ = scaleY;
}

int TImageSVG::origWidth() { return static_cast<int>(std::trunc(origWidth_)); }
int TImageSVG::origHeight() { return static_cast<int>(std::trunc(origHeight_)); }
int TImageSVG::positionX() { return static_cast<int>(std::trunc(positionX_)); }
int TImageSVG::positionY() { return static_cast<int>(std::trunc(positionY_)); }

bool TImageSVG::unitMatrix(std::array<double, 6>& m) {
    // The box as the form's BBox writes it, three decimals.
    auto written = [](double v) { return std::round(v * 1000) / 1000; };
    double x0 = positionX_, y0 = positionY_, x1 = positionX_ + origWidth_, y1 = positionY_ + origHeight_;
    if (standard_) {
        const stdsvg::SBox b = standard_->formBox();
        x0 = b.x0, y0 = b.y0, x1 = b.x1, y1 = b.y1;
    }
    x0 = written(x0), y0 = written(y0), x1 = written(x1), y1 = written(y1);
    const double w = x1 - x0, h = y0 - y1;
    if (!(w > 0) || !(h > 0)) return false;
    m = {1 / w, 0, 0, 1 / h, -x0 / w, -y1 / h};
    return true;
}

void TImageSVG::setGradientsInfo(const std::shared_ptr<std::map<std::string, SGradientInfo>>& info) {
    if (info) gradientsInfo_ = info;
}

std::unique_ptr<TImageFormat> TImageSVG::getCopy() {
    auto copy = std::make_unique<TImageSVG>(std::make_unique<TBuffer>(0, 8192));
    copy->width_ = width_, copy->height_ = height_;
    if (standard_) copy->standard_ = standard_->copyFor(*copy);
    copy->unit_ = unit_;
    copy->attributes_ = attributes_;
    copy->classes_ = classes_;
    copy->setViewbox(positionX_, positionY_, origWidth_, origHeight_, documentScale_, documentScaleY_);
    copy->setGradientsInfo(gradientsInfo_);
    for (const SRawFont& font : rawFonts_) copy->addRawFont(font);
    for (const std::string& source : subImageSources_) copy->addSubImageSource(source);
    for (const auto& element : elements_) copy->addElement(element->copy(copy.get(), false));
    return copy;
}

SPoint TImageSVG::overFlow(const SPoint& point) {
    static const Regex kLeadingNumber("([0-9\\.]*)(.*)");
    auto overflow = attributes_.find("overflow");
    if (overflow == attributes_.end() || overflow->second != "hidden") return point;
    auto width = attributes_.find("width"), height = attributes_.find("height");
    if (width == attributes_.end() || height == attributes_.end()) return point;
    auto leading = [&](const std::string& text) {
        return toFloat(kLeadingNumber.replaceAll(text, [](const Regex::Match& m) { return std::string(m.group(1)); }));
    };
    const float w = leading(width->second), h = leading(height->second);
    const float x = point.x < 0 ? 0.0f : std::min(point.x, std::floor(w));
    const float y = point.y > 0 ? 0.0f : std::max(point.y, std::floor(-h));
    return SPoint(x, y);
}

// ---- emission ---------------------------------------------------------------------------

uint64_t TImageSVG::addObjectSpecs(TObjects* objects, const std::string& name, std::vector<SGradient>* gradients,
                                   ColorSpace space, ConvertImages convert) {
    objects_ = objects;
    gradients_ = gradients;
    convertImages_ = convert;
    docName_ = name;
    colorSpace_ = convert != ciNo && space != csAuto ? space : csAuto;
    if (standard_) {
        clearResources();
        return standard_->emit(objects, gradients, colorSpace_);
    }
    gradientsForOutput_.clear();
    for (const auto& [id, info] : *gradientsInfo_) gradientsForOutput_.emplace(id, info.makeCopy(colorSpace_));

    clearResources();
    TIndirectObject* form = objects->add(0);
    form->comment("Image/SVG");
    const uint64_t number = form->num();
    addResourceHolder(number);
    form->args({"Type", "XObject"});
    form->args({"Subtype", "Form"});
    form->set("Group", sformat("%llu 0 R", static_cast<unsigned long long>(number + 1)));
    form->set("BBox", sformat("[%.3f %.3f %.3f %.3f]", static_cast<double>(positionX_),
                              static_cast<double>(positionY_), static_cast<double>(positionX_ + origWidth_),
                              static_cast<double>(positionY_ + origHeight_)));
    TBuffer stream(2048, 8192);
    TContent out(stream);
    // The tree is consumed in document order; each element goes as soon as
    // it is written.  When one fails, those not yet written stay.
    size_t done = 0;
    try {
        for (; done < elements_.size(); ++done) {
            elements_[done]->writeData(out, documentScale_);
            elements_[done].reset();
        }
    } catch (...) {
        elements_.erase(elements_.begin(), elements_.begin() + static_cast<std::ptrdiff_t>(done));
        throw;
    }
    elements_.clear();
    form->setStream(&stream, "");
    return number;
}

void TImageSVG::addObjectMask(TObjects* objects) {
    if (standard_) return;
    TIndirectObject* group = objects->add(0);
    group->comment("SVG/Transparency");
    group->args({"Type", "Group"});
    group->args({"S", "Transparency"});
}

// ---- fonts and sub-images -----------------------------------------------------------------

bool TImageSVG::has2Pass() {
    if (standard_) return !standard_->fontRequests().empty() || !standard_->pictureSources().empty();
    return !subImageSources_.empty() || !rawFonts_.empty();
}

std::vector<SRawFont> TImageSVG::getRawFonts() { return standard_ ? standard_->fontRequests() : rawFonts_; }

std::vector<std::string> TImageSVG::getSubImageSources() {
    return standard_ ? standard_->pictureSources() : subImageSources_;
}

void TImageSVG::setSubImageIds(const std::vector<SLinkSrcId>& ids) {
    if (standard_) standard_->setPictureObjects(ids);
    else subImageIds_ = ids;
}

void TImageSVG::addRawFont(const SRawFont& font) {
    for (const SRawFont& known : rawFonts_)
        if (known == font) return;
    rawFonts_.push_back(font);
}

void TImageSVG::setFont(const SRawFont& font) {
    if (standard_) return standard_->setFont(font);
    for (const auto& element : elements_) {
        if (auto* text = dynamic_cast<TSvgText*>(element.get())) text->setFont(font);
        else if (auto* group = dynamic_cast<TSvgGroup*>(element.get())) group->setFont(font);
    }
}

bool TImageSVG::firstIndexedWarning() {
    if (indexedWarned_) return false;
    indexedWarned_ = true;
    return true;
}

void TImageSVG::addSubImageSource(const std::string& name) {
    for (const std::string& known : subImageSources_)
        if (known == name) return;
    subImageSources_.push_back(name);
}

uint64_t TImageSVG::getSubImageIDBySourceName(const std::string& name) {
    for (const SLinkSrcId& link : subImageIds_)
        if (link.src == name) return link.id;
    return 0;
}

TSvgSubImage* TImageSVG::getSubImageBySourceName(const std::string& name) {
    for (const auto& element : elements_) {
        if (auto* image = dynamic_cast<TSvgSubImage*>(element.get()))
            if (image->href() == name) return image;
        if (auto* group = dynamic_cast<TSvgGroup*>(element.get()))
            if (TSvgSubImage* found = group->getSubImageBySourceName(name)) return found;
    }
    return nullptr;
}

void TImageSVG::swapSubImage(const std::string& name, const std::string& newName) {
    if (standard_) return standard_->swapPicture(name, newName);
    for (std::string& source : subImageSources_) {
        if (source != name) continue;
        source = newName;
        if (TSvgSubImage* image = getSubImageBySourceName(name)) image->sourceName(newName);
        return;
    }
}

// ---- curve geometry ----------------------------------------------------------------------------

std::array<float, 4> TImageSVG::calcBeizerBBox(const SPoint& start, const SCurve& curve) {
    return bezierBox(start, curve);
}

std::string TImageSVG::arcTo(const SPoint& start, const SPoint& end, const SPoint& radii, float rotation,
                             float largeArc, float sweep, std::map<int, std::vector<float>>& extents) {
    return arcToCurves(start, end, radii, rotation, largeArc, sweep, documentScale_, extents);
}

}  // namespace kivu
