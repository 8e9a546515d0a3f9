#include "pdfwriter.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <set>
#include <ctime>

#include <sys/stat.h>
#include <unistd.h>

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/indirectobj.h"
#include "exif.h"
#include "shadings.h"

using namespace kivu;

namespace kivutool {

namespace {

// The process's file-creation mask, for a file made by mkstemp (mode 0600)
// that should get the mode a plain fopen would give it.
mode_t currentUmask() {
    const mode_t mask = umask(0);
    umask(mask);
    return mask;
}

}  // namespace

void PageResources::add(const std::string& kind, const std::string& name, uint64_t num) {
    for (auto& [k, names] : kinds_)
        if (k == kind) {
            names.emplace_back(name, num);
            return;
        }
    kinds_.push_back({kind, {{name, num}}});
}

std::string PageResources::text() const {
    std::string out = "<<";
    for (const auto& [kind, names] : kinds_) {
        out += " /" + kind + " <<";
        for (const auto& [name, num] : names)
            out += sformat(" /%s %llu 0 R", name.c_str(), static_cast<unsigned long long>(num));
        out += " >>";
    }
    return out + " >>";
}

void FileSink::write(std::span<const uint8_t> bytes) {
    if (!bytes.empty() && std::fwrite(bytes.data(), 1, bytes.size(), file_) != bytes.size()) failed_ = true;
}

PdfWriter::PdfWriter(double dpi, ColorSpace space, ConvertImages convert, const PageLayout& layout,
                     const DocumentInfo& info)
    : dpi_(dpi), space_(space), convert_(convert), layout_(layout), info_(info) {}

PdfWriter::~PdfWriter() { abandon(); }

bool PdfWriter::open(const std::string& path) {
    path_ = path;
    if (path == "-") {
        out_ = stdout;
    } else {
        partial_ = path + ".partXXXXXX";
        const int fd = mkstemp(partial_.data());
        out_ = fd < 0 ? nullptr : fdopen(fd, "wb");
        if (!out_) {
            if (fd >= 0) ::close(fd);
            std::remove(partial_.c_str());
            partial_.clear();
            return false;
        }
        fchmod(fd, 0666 & ~currentUmask());
    }
    sink_.open(out_);
    // The header's version is patched in finish(): reserve its place.
    const char head[] = "%PDF-1.4\n%\xE2\xE3\xCF\xD3\n";
    sink_.write(std::span<const uint8_t>(reinterpret_cast<const uint8_t*>(head), sizeof head - 1));
    offset_ = sizeof head - 1;
    catalog_ = objects_.add(1);
    pages_ = objects_.add(2);
    pending_ = objects_.order().size();
    return true;
}

void PdfWriter::writeObject(TBaseObject* obj) {
    obj->offset(offset_);
    offset_ += obj->writePDF(sink_);
    obj->releaseStream();
}

void PdfWriter::writePending() {
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

// The four numbers of a form's "BBox" entry.
bool formBox(TBaseObject* form, double box[4]) {
    const std::string text = form ? form->args("BBox").value : std::string();
    return std::sscanf(text.c_str(), "[%lf %lf %lf %lf]", &box[0], &box[1], &box[2], &box[3]) == 4;
}

std::string PdfWriter::placement(TImageFormat* image, TBaseObject* form, const Box& b, int orientation) const {
    if (!image->isFormObject()) return imageMatrix(b, orientation);
    double box[4];
    if (image->ext() == "SVG" && formBox(form, box)) {
        // The drawing's box lies below the x axis, its top edge at box[1]:
        // scale it onto the page box, upright.
        const double w = box[2] - box[0], h = box[1] - box[3];
        if (!(w > 0) || !(h > 0)) return "0 0 0 0 0 0 cm";
        const double sx = b.w / w, sy = b.h / h;
        return pdfNumber(sx) + " 0 0 " + pdfNumber(sy) + " " + pdfNumber(b.x - box[0] * sx) + " " +
               pdfNumber(b.y - box[3] * sy) + " cm";
    }
    const double ox = image->positionX(), oy = image->positionY();
    const double ex = image->origWidth(), ey = image->origHeight();
    if (ex == 0 || ey == 0) return "0 0 0 0 0 0 cm";
    if (image->ext() == "WMF") {
        // Metafile axes run down the page: scale the window onto the box and
        // turn y over, so that the drawing stands upright.
        const double sx = b.w / ex, sy = b.h / ey;
        return pdfNumber(sx) + " 0 0 " + pdfNumber(-sy) + " " + pdfNumber(b.x - ox * sx) + " " +
               pdfNumber(b.y + b.h + oy * sy) + " cm";
    }
    return "0 0 0 0 0 0 cm";
}

namespace {

std::string entry(const std::string& name, uint64_t num) {
    return sformat(" /%s %llu 0 R", name.c_str(), static_cast<unsigned long long>(num));
}

}  // namespace

// The object behind a name the drawing recorded, written on first use; 0
// when the name stands for nothing this document has.
uint64_t PdfWriter::resourceObject(const SResourceName& use) {
    const auto& shared = objects_.customList(ObjectType::extGState);
    const uint64_t k = use.index;
    switch (use.source) {
        case ResourceSource::sharedState: {
            if (k == 0 || k > shared.size()) return 0;
            const auto& state = shared[k - 1];
            if (state->num() == 0) objects_.add(state);
            return state->num();
        }
        case ResourceSource::gradientShading:
            return k > 0 && k <= gradients_.size() ? gradientShading(objects_, gradients_[k - 1]) : 0;
        case ResourceSource::gradientMask:
            return k > 0 && k <= gradients_.size() ? gradientSoftMask(objects_, gradients_[k - 1]) : 0;
        case ResourceSource::gradientPattern:
            return k > 0 && k <= gradients_.size() ? gradientPattern(objects_, gradients_[k - 1]) : 0;
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
std::string PdfWriter::formResources(TImageFormat* image) {
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

uint64_t PdfWriter::writeImage(TImageFormat* image, const std::string& name) {
    deliverTwoPass(image);
    const uint64_t imageNum = image->addObjectSpecs(&objects_, name, &gradients_, space_, convert_);
    // The mask or palette must take the very next number.
    if (image->hasMask()) image->addObjectMask(&objects_);
    if (image->isIndexed()) image->addObjectPalette(&objects_);
    const std::string resources = formResources(image);
    if (!resources.empty())
        for (uint64_t holder : image->resourceHolders())
            if (TBaseObject* form = objects_.get(holder)) form->set("Resources", resources);
    const float v = image->minPDFVer();
    if (!std::isnan(v) && v > version_) version_ = v;
    return imageNum;
}

uint64_t PdfWriter::addContent(const std::string& ops) {
    TIndirectObject* content = objects_.add(0);
    TMemory stream(std::span<const uint8_t>(reinterpret_cast<const uint8_t*>(ops.data()), ops.size()));
    content->setStream(&stream, "");
    return content->num();
}

void PdfWriter::addPageObject(double width, double height, const PageResources& resources, uint64_t content) {
    TIndirectObject* page = objects_.add(0);
    page->args({"Type", "Page"});
    page->set("Parent", "2 0 R");
    page->set("MediaBox", "[0 0 " + pdfNumber(width) + " " + pdfNumber(height) + "]");
    page->set("Resources", resources.text());
    page->set("Contents", sformat("%llu 0 R", static_cast<unsigned long long>(content)));
    pageNumbers_.push_back(page->num());
}

void PdfWriter::addPage(std::unique_ptr<TImageFormat> image) {
    const std::string resName = sformat("Im%zu", pageNumbers_.size() + 1);
    // The EXIF orientation is read before the image's bytes go.
    const TBuffer* bytes = image->buffer();
    const int orientation =
        layout_.autoOrient && image->ext() == "JPG" && bytes ? exifOrientation(bytes->bytes()) : 1;
    const uint64_t imageNum = writeImage(image.get(), resName);
    PageResources resources;
    resources.add("XObject", resName, imageNum);
    TBaseObject* form = image->isFormObject() ? objects_.get(imageNum) : nullptr;
    // A drawing may claim no size at all: it keeps one point.
    double w = image->exactWidth() * 72.0 / dpi_;
    double h = image->exactHeight() * 72.0 / dpi_;
    if (!(w > 0)) w = 1;
    if (!(h > 0)) h = 1;
    if (turnsQuarter(orientation)) std::swap(w, h);
    const PagePlan plan = planPage(layout_, w, h);
    std::string clip;
    if (plan.clip) {
        const Box& a = plan.area;
        clip = pdfNumber(a.x) + " " + pdfNumber(a.y) + " " + pdfNumber(a.w) + " " + pdfNumber(a.h) + " re W n\n";
    }
    const std::string ops =
        "q\n" + clip + placement(image.get(), form, plan.box, orientation) + "\n/" + resName + " Do\nQ\n";
    const uint64_t content = addContent(ops);
    image.reset();
    addPageObject(plan.pageW, plan.pageH, resources, content);
    writePending();
}

namespace {

// A PDF date of the local time: "D:YYYYMMDDHHmmSS+HH'mm'".
std::string pdfDate() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    char stamp[32], zone[8];
    std::strftime(stamp, sizeof stamp, "D:%Y%m%d%H%M%S", &local);
    std::strftime(zone, sizeof zone, "%z", &local);
    std::string z = zone;
    if (z.size() == 5) return std::string(stamp) + z.substr(0, 3) + "'" + z.substr(3) + "'";
    return std::string(stamp) + "Z";
}

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

uint64_t PdfWriter::addInfo() {
    TIndirectObject* info = objects_.add(0);
    const std::pair<const char*, const std::string*> entries[] = {
        {"Title", &info_.title}, {"Author", &info_.author}, {"Subject", &info_.subject},
        {"Keywords", &info_.keywords}, {"Creator", &info_.creator}};
    for (const auto& [key, value] : entries)
        if (!value->empty()) info->set(key, textString(*value));
    info->set("Producer", "(LibKivuImg)");
    if (info_.date) info->set("CreationDate", "(" + pdfDate() + ")");
    return info->num();
}

bool PdfWriter::finish() {
    fonts_.finish();
    // Shared graphics states and colour spaces get their numbers now.
    for (ObjectType type : {ObjectType::extGState, ObjectType::colorSpace})
        for (const auto& obj : objects_.customList(type))
            if (obj->num() == 0) objects_.add(obj);
    writePending();

    std::string kids = "[";
    for (size_t i = 0; i < pageNumbers_.size(); ++i)
        kids += (i ? " " : "") + sformat("%llu 0 R", static_cast<unsigned long long>(pageNumbers_[i]));
    kids += "]";
    pages_->args({"Type", "Pages"});
    pages_->set("Kids", kids);
    pages_->set("Count", sformat("%zu", pageNumbers_.size()));
    catalog_->args({"Type", "Catalog"});
    catalog_->set("Pages", "2 0 R");
    // The version digit of "%PDF-1.4" sits at offset 7; where the output
    // can't go back to it (a pipe) the catalogue says the version instead.
    const int minor = static_cast<int>(std::lround((version_ - 1.0f) * 10.0f));
    const bool seekable = std::ftell(out_) >= 0;
    if (minor > 4 && minor <= 9 && !seekable) catalog_->set("Version", sformat("/1.%d", minor));
    writeObject(pages_);
    writeObject(catalog_);
    const uint64_t info = addInfo();
    writeObject(objects_.get(info));

    const uint64_t xrefAt = offset_;
    std::string tail = objects_.xref();
    uint64_t size = 0;
    for (uint64_t n : objects_.order()) size = std::max(size, n);
    tail += sformat("trailer\n<< /Size %llu /Root 1 0 R /Info %llu 0 R >>\nstartxref\n%llu\n%%%%EOF\n",
                    static_cast<unsigned long long>(size + 1), static_cast<unsigned long long>(info),
                    static_cast<unsigned long long>(xrefAt));
    sink_.write(std::span<const uint8_t>(reinterpret_cast<const uint8_t*>(tail.data()), tail.size()));
    if (minor > 4 && minor <= 9 && seekable) {
        std::fseek(out_, 7, SEEK_SET);
        std::fputc('0' + minor, out_);
    }
    return close();
}

bool PdfWriter::close() {
    const bool wrote = !sink_.failed() && std::fflush(out_) == 0 && !std::ferror(out_);
    const bool closed = out_ == stdout || std::fclose(out_) == 0;
    out_ = nullptr;
    if (partial_.empty()) return wrote && closed;
    const bool renamed = wrote && closed && std::rename(partial_.c_str(), path_.c_str()) == 0;
    if (!renamed) std::remove(partial_.c_str());
    partial_.clear();
    return renamed;
}

void PdfWriter::abandon() {
    if (out_ && out_ != stdout) std::fclose(out_);
    out_ = nullptr;
    if (!partial_.empty()) std::remove(partial_.c_str());
    partial_.clear();
}

}  // namespace kivutool
