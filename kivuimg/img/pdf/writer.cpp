#include "kivuimg/img/pdf/writer.h"

#include <algorithm>
#include <cmath>

#include "kivuimg/commons/content.h"
#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/indirectobj.h"
#include "kivuimg/img/libmain.h"
#include "kivuimg/img/pdf/dates.h"
#include "kivuimg/img/pdf/placement.h"
#include "kivuimg/img/pdf/shadings.h"
#include "kivuimg/img/svg/standard/values.h"

namespace kivu::pdf {

namespace {

// Drawings inside drawings beyond this depth are not written.
constexpr int kMaxSubImageDepth = 16;

std::string ref(uint64_t num) { return sformat("%llu 0 R", static_cast<unsigned long long>(num)); }

std::string entry(const std::string& name, uint64_t num) { return " /" + name + " " + ref(num); }

}  // namespace

void TPageResources::add(const std::string& kind, const std::string& name, uint64_t num) {
    for (auto& [k, names] : kinds_)
        if (k == kind) {
            names.emplace_back(name, num);
            return;
        }
    kinds_.push_back({kind, {{name, num}}});
}

std::string TPageResources::text() const {
    std::string out = "<<";
    for (const auto& [kind, names] : kinds_) {
        out += " /" + kind + " <<";
        for (const auto& [name, num] : names) out += entry(name, num);
        out += " >>";
    }
    return out + " >>";
}

TPdfWriter::TPdfWriter(SDocumentOptions options)
    : options_(std::move(options)), fonts_(objects_, [this](const std::string& text) {
          if (options_.warn) options_.warn(text);
      }),
      imageSpaces_(options_.space) {}

TPdfWriter::~TPdfWriter() { abandon(); }

void TPdfWriter::open(const std::string& path) {
    if (catalog_) throwf("the document is open already, or written: a document is written once");
    out_.openFile(path);
    begin();
}

void TPdfWriter::open(TObjectSink& sink) {
    if (catalog_) throwf("the document is open already, or written: a document is written once");
    out_.openSink(sink);
    begin();
}

void TPdfWriter::begin() {
    started_ = true;
    // The header's version is patched in close(): reserve its place.
    out_.write(std::string("%PDF-1.4\n%\xE2\xE3\xCF\xD3\n"));
    catalog_ = objects_.add(1);
    pages_ = objects_.add(2);
    pending_ = objects_.order().size();
}

void TPdfWriter::writeObject(TBaseObject* obj) {
    obj->offset(out_.offset());
    obj->writePDF(out_);
    obj->releaseStream();
}

void TPdfWriter::writePending() {
    std::vector<uint64_t> waiting;
    for (uint64_t n : deferred_) {
        if (fonts_.deferred(n)) waiting.push_back(n);
        else if (TBaseObject* obj = objects_.get(n)) writeObject(obj);
    }
    deferred_ = std::move(waiting);
    const std::vector<uint64_t>& order = objects_.order();
    for (; pending_ < order.size(); ++pending_) {
        const uint64_t n = order[pending_];
        if (n <= 2) continue;
        if (fonts_.deferred(n)) deferred_.push_back(n);
        else if (TBaseObject* obj = objects_.get(n)) writeObject(obj);
    }
}

namespace {

// A resolution within 0.05% of a whole number of dots per inch is that
// number: dots per metre (PNG, BMP) can't hold 150 or 300 dpi exactly.
double wholeDpi(double dpi) {
    const double whole = std::round(dpi);
    return std::fabs(dpi - whole) <= 0.0005 * dpi ? whole : dpi;
}

}  // namespace

SPageBox TPdfWriter::pictureSize(TImageFormat& image, int orientation) const {
    // A drawing may claim no size at all: it keeps one point.
    const double rx = options_.imageResolution ? wholeDpi(image.resolutionX()) : 0;
    const double ry = options_.imageResolution ? wholeDpi(image.resolutionY()) : 0;
    double w = image.exactWidth() * 72.0 / (rx > 0 ? rx : options_.dpi);
    double h = image.exactHeight() * 72.0 / (ry > 0 ? ry : options_.dpi);
    if (!(w > 0)) w = 1;
    if (!(h > 0)) h = 1;
    if (turnsQuarter(orientation)) std::swap(w, h);
    return SPageBox{0, 0, w, h};
}

void TPdfWriter::needPage() const {
    if (!started_) throwf("the document is not open");
    if (!page_.open) throwf("no page to place the image on: add a page first");
}

void TPdfWriter::addPage(double width, double height) {
    if (!started_) throwf("the document is not open");
    if (!(width > 0) || !(height > 0) || !std::isfinite(width) || !std::isfinite(height))
        throwf("a page needs a positive width and height, not %g x %g", width, height);
    finishPage();
    page_ = SPage{true, width, height, {}, {}};
}

void TPdfWriter::dropPage() { page_ = SPage{}; }

bool TPdfWriter::fillOperator(const std::string& color, ColorSpace space, std::string& op) {
    op.clear();
    const std::string c = toLower(strip(color));
    if (c == "none" || c == "transparent") return true;
    stdsvg::SRgba rgba;
    if (!stdsvg::parseColor(c, rgba)) return false;
    // Over the white page.
    auto over = [&](float v) { return rgba.a * v + (1 - rgba.a); };
    const TRGBA rgb(over(rgba.r), over(rgba.g), over(rgba.b), 1.0f);
    op = space == csAuto || space == csRGB ? rgb.toPDF() : rgb.convert(space)->toPDF();
    return true;
}

void TPdfWriter::fillBox(const SPageBox& box, const std::string& color) {
    needPage();
    std::string op;
    if (!fillOperator(color, options_.space, op)) throwf("'%s' is no colour", color.c_str());
    if (op.empty()) return;
    page_.ops += "q\n" + op + "\n" + pdfNumber(box.x) + " " + pdfNumber(box.y) + " " + pdfNumber(box.w) + " " +
                 pdfNumber(box.h) + " re f\nQ\n";
}

void TPdfWriter::placeImage(TImageFormat& image, const SPageBox& area, Fit fit, int orientation) {
    needPage();
    const SPageBox size = pictureSize(image, orientation);
    const SFitted fitted = fitInto(area, size.w, size.h, fit);
    const std::string name = sformat("Im%zu", images_ + 1);
    const uint64_t number = writeImage(&image, name);
    ++images_;
    page_.resources.add("XObject", name, number);
    std::string clip;
    if (fitted.clip)
        clip = pdfNumber(area.x) + " " + pdfNumber(area.y) + " " + pdfNumber(area.w) + " " + pdfNumber(area.h) +
               " re W n\n";
    page_.ops += "q\n" + clip + placementOperator(image, fitted.box, orientation) + "\n/" + name + " Do\nQ\n";
    writePending();
}

uint64_t TPdfWriter::addContent(const std::string& ops) {
    TIndirectObject* content = objects_.add(0);
    TMemory stream(std::span<const uint8_t>(reinterpret_cast<const uint8_t*>(ops.data()), ops.size()));
    content->setStream(&stream, "");
    return content->num();
}

void TPdfWriter::finishPage() {
    if (!page_.open) return;
    const uint64_t content = addContent(page_.ops);
    TIndirectObject* page = objects_.add(0);
    page->args({"Type", "Page"});
    page->set("Parent", ref(2));
    page->set("MediaBox", "[0 0 " + pdfNumber(page_.width) + " " + pdfNumber(page_.height) + "]");
    page->set("Resources", page_.resources.text());
    page->set("Contents", ref(content));
    pageNumbers_.push_back(page->num());
    page_ = SPage{};
    writePending();
}

// The object behind a name the drawing recorded, written on first use; 0
// when the name stands for nothing this document has.
uint64_t TPdfWriter::resourceObject(const SResourceName& use) {
    const auto& shared = objects_.customList(ObjectType::extGState);
    const uint64_t k = use.index;
    const bool gradient = k > 0 && k <= gradients_.size();
    switch (use.source) {
        case ResourceSource::sharedState: {
            if (k == 0 || k > shared.size()) return 0;
            const auto& state = shared[k - 1];
            if (state->num() == 0) objects_.add(state);
            return state->num();
        }
        case ResourceSource::gradientShading: return gradient ? gradientShading(objects_, gradients_[k - 1]) : 0;
        case ResourceSource::gradientMask: return gradient ? gradientSoftMask(objects_, gradients_[k - 1]) : 0;
        case ResourceSource::gradientPattern: return gradient ? gradientPattern(objects_, gradients_[k - 1]) : 0;
        case ResourceSource::font: return fonts_.objectNumber(static_cast<int>(std::min<uint64_t>(k, INT32_MAX)));
        case ResourceSource::object: return k && objects_.get(k) ? k : 0;
        default: return 0;
    }
}

// The Resources of a drawing's forms: every name its content recorded.
// Objects are made in a fixed order (fonts, pictures, shared states,
// gradient masks, shadings, each by index) and the dictionary lists
// graphics states, shadings, patterns, fonts and pictures, so that equal
// drawings give equal documents.
std::string TPdfWriter::formResources(TImageFormat* image) {
    static const ResourceSource kMakeOrder[] = {ResourceSource::font, ResourceSource::object,
                                                ResourceSource::sharedState, ResourceSource::gradientMask,
                                                ResourceSource::gradientShading, ResourceSource::gradientPattern};
    static const char* const kCategories[] = {"ExtGState", "Shading", "Pattern", "Font", "XObject"};
    std::vector<SResourceName> names = image->resourceNames();
    auto rank = [](ResourceSource s) { return std::find(std::begin(kMakeOrder), std::end(kMakeOrder), s) - kMakeOrder; };
    std::stable_sort(names.begin(), names.end(), [&](const SResourceName& a, const SResourceName& b) {
        return rank(a.source) != rank(b.source) ? rank(a.source) < rank(b.source) : a.index < b.index;
    });
    std::map<std::string, std::string> entries;
    for (const SResourceName& use : names)
        if (const uint64_t number = resourceObject(use)) entries[use.category] += entry(use.name, number);
    std::string dict;
    for (const char* category : kCategories)
        if (entries.count(category)) dict += std::string(" /") + category + " <<" + entries[category] + " >>";
    return dict.empty() ? std::string() : "<<" + dict + " >>";
}

uint64_t TPdfWriter::writeImage(TImageFormat* image, const std::string& name) {
    deliverTwoPass(image);
    const ConvertImages convert = options_.space == csAuto ? ciNo : ciTransform;
    const uint64_t imageNum = image->addObjectSpecs(&objects_, name, &gradients_, options_.space, convert);
    // The mask or palette must take the very next number.
    if (image->hasMask()) image->addObjectMask(&objects_);
    if (image->isIndexed()) image->addObjectPalette(&objects_);
    if (options_.space != csAuto && !image->isFormObject()) convertSpace(image, imageNum);
    const std::string resources = formResources(image);
    if (!resources.empty())
        for (uint64_t holder : image->resourceHolders())
            if (TBaseObject* form = objects_.get(holder)) form->set("Resources", resources);
    const float v = image->minPDFVer();
    if (!std::isnan(v) && v > version_) version_ = v;
    return imageNum;
}

void TPdfWriter::convertSpace(TImageFormat* image, uint64_t number) {
    TBaseObject* obj = objects_.get(number);
    if (!obj) return;
    const std::string kept = imageSpaces_.convert(objects_, *obj);
    if (!kept.empty())
        warn("'" + image->src() + "' keeps its colour space " + kept + ": only device spaces and RGB palettes are converted");
}

void TPdfWriter::deliverTwoPass(TImageFormat* image) {
    if (!image->has2Pass()) return;
    for (const SRawFont& request : image->getRawFonts()) image->setFont(fonts_.answer(request));
    std::vector<SLinkSrcId> ids;
    for (const std::string& source : image->getSubImageSources()) {
        const uint64_t number = subImageNumber(source);
        if (number) ids.push_back(SLinkSrcId{number, source});
    }
    image->setSubImageIds(ids);
}

uint64_t TPdfWriter::subImageNumber(const std::string& source) {
    auto known = subImages_.find(source);
    if (known != subImages_.end()) return known->second;
    TImageFormat* image = libimg_getImage(source.c_str());
    if (!image || subImageDepth_ >= kMaxSubImageDepth) return 0;
    // Marked while it is written, so that a drawing that comes back to
    // itself gets no number instead of an endless descent.
    subImages_[source] = 0;
    ++subImageDepth_;
    uint64_t number = 0;
    try {
        number = writeImage(image, source);
    } catch (...) {
        // A later page may try again.
        --subImageDepth_;
        subImages_.erase(source);
        throw;
    }
    --subImageDepth_;
    // "/I<n> Do" draws in a unit square, as an Image XObject does: the
    // Form's matrix maps its box onto that square, upright.
    if (image->isFormObject()) objects_.get(number)->set("Matrix", unitMatrixEntry(*image));
    subImages_[source] = number;
    return number;
}

namespace {

// A PDF text string that survives any dictionary: a literal string for
// printable ASCII, else UTF-16BE with its byte-order mark, in hexadecimal.
std::string textString(const std::string& text) {
    const bool plain = std::all_of(text.begin(), text.end(), [](char c) { return c >= 0x20 && c < 0x7F; });
    if (plain) return TBuffer::escapedStringRaw(text)->to_string();
    std::string hex = "<FEFF";
    for (char16_t unit : utf8ToUtf16(text)) hex += sformat("%04X", static_cast<unsigned>(unit));
    return hex + ">";
}

}  // namespace

uint64_t TPdfWriter::addInfo() {
    const SDocumentInfo& about = options_.info;
    TIndirectObject* info = objects_.add(0);
    const std::pair<const char*, const std::string*> entries[] = {
        {"Title", &about.title}, {"Author", &about.author}, {"Subject", &about.subject},
        {"Keywords", &about.keywords}, {"Creator", &about.creator}};
    for (const auto& [key, value] : entries)
        if (!value->empty()) info->set(key, textString(*value));
    info->set("Producer", about.producer.empty() ? "(LibKivuImg)" : textString(about.producer));
    if (!about.creationDate.empty()) info->set("CreationDate", "(" + pdfDate(about.creationDate) + ")");
    else if (about.date) info->set("CreationDate", "(" + pdfDateNow() + ")");
    if (!about.modDate.empty()) info->set("ModDate", "(" + pdfDate(about.modDate) + ")");
    return info->num();
}

void TPdfWriter::close() {
    if (!started_) throwf("the document is not open");
    finishPage();
    fonts_.finish();
    // Shared graphics states and colour spaces get their numbers now.
    for (ObjectType type : {ObjectType::extGState, ObjectType::colorSpace})
        for (const auto& obj : objects_.customList(type))
            if (obj->num() == 0) objects_.add(obj);
    writePending();

    std::string kids = "[";
    for (size_t i = 0; i < pageNumbers_.size(); ++i) kids += (i ? " " : "") + ref(pageNumbers_[i]);
    pages_->args({"Type", "Pages"});
    pages_->set("Kids", kids + "]");
    pages_->set("Count", sformat("%zu", pageNumbers_.size()));
    catalog_->args({"Type", "Catalog"});
    catalog_->set("Pages", ref(2));
    // The version digit of "%PDF-1.4" sits at offset 7; where the output
    // can't go back to it (a sink) the catalogue says the version instead.
    const int minor = static_cast<int>(std::lround((version_ - 1.0f) * 10.0f));
    const bool newer = minor > 4 && minor <= 9;
    if (newer && !out_.seekable()) catalog_->set("Version", sformat("/1.%d", minor));
    writeObject(pages_);
    writeObject(catalog_);
    const uint64_t info = addInfo();
    writeObject(objects_.get(info));
    writeTrailer(info);
    if (newer && out_.seekable()) out_.patch(7, static_cast<char>('0' + minor));
    started_ = false;
    out_.close();
}

void TPdfWriter::writeTrailer(uint64_t info) {
    const uint64_t xrefAt = out_.offset();
    std::string tail = objects_.xref();
    uint64_t size = 0;
    for (uint64_t n : objects_.order()) size = std::max(size, n);
    tail += sformat("trailer\n<< /Size %llu /Root 1 0 R /Info %llu 0 R >>\nstartxref\n%llu\n%%%%EOF\n",
                    static_cast<unsigned long long>(size + 1), static_cast<unsigned long long>(info),
                    static_cast<unsigned long long>(xrefAt));
    out_.write(tail);
}

void TPdfWriter::abandon() {
    started_ = false;
    out_.abandon();
}

}  // namespace kivu::pdf
