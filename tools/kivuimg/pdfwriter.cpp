#include "pdfwriter.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <set>

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/core/regex.h"
#include "kivuimg/commons/indirectobj.h"
#include "shadings.h"

using namespace kivu;

namespace kivutool {

namespace {

std::string num(double v) {
    // PDF numbers: three decimals, trailing zeros dropped.
    std::string s = sformat("%.3f", v);
    while (!s.empty() && s.back() == '0') s.pop_back();
    if (!s.empty() && s.back() == '.') s.pop_back();
    if (s == "-0") s = "0";
    return s;
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

PdfWriter::PdfWriter(double dpi, ColorSpace space, ConvertImages convert)
    : dpi_(dpi), space_(space), convert_(convert) {}

PdfWriter::~PdfWriter() {
    if (out_) std::fclose(out_);
}

bool PdfWriter::open(const std::string& path) {
    path_ = path;
    out_ = std::fopen(path.c_str(), "wb");
    if (!out_) return false;
    sink_.open(out_);
    // The header's version is patched in finish(): reserve its place.
    const char head[] = "%PDF-1.4\n%\xE2\xE3\xCF\xD3\n";
    std::fwrite(head, 1, sizeof head - 1, out_);
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

std::string PdfWriter::placement(TImageFormat* image, TBaseObject* form, double pageW, double pageH) const {
    if (!image->isFormObject()) return num(pageW) + " 0 0 " + num(pageH) + " 0 0 cm";
    double box[4];
    if (image->ext() == "SVG" && formBox(form, box)) {
        // The drawing's box lies below the x axis, its top edge at box[1]:
        // scale it onto the page, upright.
        const double w = box[2] - box[0], h = box[1] - box[3];
        if (!(w > 0) || !(h > 0)) return "0 0 0 0 0 0 cm";
        const double sx = pageW / w, sy = pageH / h;
        return num(sx) + " 0 0 " + num(sy) + " " + num(-box[0] * sx) + " " + num(-box[3] * sy) + " cm";
    }
    const double ox = image->positionX(), oy = image->positionY();
    const double ex = image->origWidth(), ey = image->origHeight();
    if (ex == 0 || ey == 0) return "0 0 0 0 0 0 cm";
    if (image->ext() == "WMF") {
        // Metafile axes run down the page: scale the window onto the page and
        // turn y over, so that the drawing stands upright.
        const double sx = pageW / ex, sy = pageH / ey;
        return num(sx) + " 0 0 " + num(-sy) + " " + num(-ox * sx) + " " + num(pageH + oy * sy) + " cm";
    }
    return "0 0 0 0 0 0 cm";
}

namespace {

// The numbers k of the names "<prefix><k> <op>" in a content stream, each once.
std::set<uint64_t> namesUsed(std::string_view content, const char* prefix, const char* op) {
    const Regex& pattern = cachedRegex(sformat("/%s(\\d+) %s", prefix, op), "");
    std::set<uint64_t> found;
    for (const Regex::Match& m : pattern.findAll(content))
        found.insert(std::strtoull(std::string(m.group(1)).c_str(), nullptr, 10));
    return found;
}

std::string entry(const char* prefix, uint64_t k, uint64_t num) {
    return sformat(" /%s%llu %llu 0 R", prefix, static_cast<unsigned long long>(k), static_cast<unsigned long long>(num));
}

}  // namespace

// The names a form's content uses: shared graphics states ("/GS<k> gs",
// the store's k-th shared state, which gets its number here), and the
// shadings and soft masks of gradient records ("/Sh<k> sh", "/TGS<k> gs",
// the document's k-th record).
std::string PdfWriter::formResources(TBaseObject* form) {
    const auto& stream = form->stream();
    const std::string_view content(reinterpret_cast<const char*>(stream.data()), stream.size());
    const std::string fonts = fontResources(content), xobjects = xobjectResources(content);
    const auto& shared = objects_.customList(ObjectType::extGState);
    std::string states, shadings;
    for (uint64_t k : namesUsed(content, "GS", "gs")) {
        if (k == 0 || k > shared.size()) continue;
        const auto& state = shared[k - 1];
        if (state->num() == 0) objects_.add(state);
        states += entry("GS", k, state->num());
    }
    for (uint64_t k : namesUsed(content, "TGS", "gs"))
        if (k > 0 && k <= gradients_.size()) states += entry("TGS", k, gradientSoftMask(objects_, gradients_[k - 1]));
    for (uint64_t k : namesUsed(content, "Sh", "sh"))
        if (k > 0 && k <= gradients_.size()) shadings += entry("Sh", k, gradientShading(objects_, gradients_[k - 1]));
    std::string dict;
    if (!states.empty()) dict += " /ExtGState <<" + states + " >>";
    if (!shadings.empty()) dict += " /Shading <<" + shadings + " >>";
    dict += fonts + xobjects;
    return dict.empty() ? std::string() : "<<" + dict + " >>";
}

uint64_t PdfWriter::writeImage(TImageFormat* image, const std::string& name) {
    deliverTwoPass(image);
    const uint64_t imageNum = image->addObjectSpecs(&objects_, name, &gradients_, space_, convert_);
    // The mask or palette must take the very next number.
    if (image->hasMask()) image->addObjectMask(&objects_);
    if (image->isIndexed()) image->addObjectPalette(&objects_);
    if (TBaseObject* form = image->isFormObject() ? objects_.get(imageNum) : nullptr) {
        const std::string resources = formResources(form);
        if (!resources.empty()) form->set("Resources", resources);
    }
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
    page->set("MediaBox", "[0 0 " + num(width) + " " + num(height) + "]");
    page->set("Resources", resources.text());
    page->set("Contents", sformat("%llu 0 R", static_cast<unsigned long long>(content)));
    pageNumbers_.push_back(page->num());
}

void PdfWriter::addPage(std::unique_ptr<TImageFormat> image) {
    const std::string resName = sformat("Im%zu", pageNumbers_.size() + 1);
    const uint64_t imageNum = writeImage(image.get(), resName);
    PageResources resources;
    resources.add("XObject", resName, imageNum);
    TBaseObject* form = image->isFormObject() ? objects_.get(imageNum) : nullptr;
    // A drawing may claim no size at all: its page keeps one point.
    double pageW = image->width() * 72.0 / dpi_;
    double pageH = image->height() * 72.0 / dpi_;
    if (!(pageW > 0)) pageW = 1;
    if (!(pageH > 0)) pageH = 1;
    const std::string ops = "q\n" + placement(image.get(), form, pageW, pageH) + "\n/" + resName + " Do\nQ\n";
    const uint64_t content = addContent(ops);
    image.reset();
    addPageObject(pageW, pageH, resources, content);
    writePending();
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
    writeObject(pages_);
    writeObject(catalog_);

    const uint64_t xrefAt = offset_;
    std::string tail = objects_.xref();
    uint64_t size = 0;
    for (uint64_t n : objects_.order()) size = std::max(size, n);
    tail += sformat("trailer\n<< /Size %llu /Root 1 0 R >>\nstartxref\n%llu\n%%%%EOF\n",
                    static_cast<unsigned long long>(size + 1), static_cast<unsigned long long>(xrefAt));
    std::fwrite(tail.data(), 1, tail.size(), out_);
    // The version digit of "%PDF-1.4" sits at offset 7.
    const int minor = static_cast<int>(std::lround((version_ - 1.0f) * 10.0f));
    if (minor > 4 && minor <= 9) {
        std::fseek(out_, 7, SEEK_SET);
        std::fputc('0' + minor, out_);
    }
    const bool wrote = !sink_.failed() && !std::ferror(out_);
    const bool closed = std::fclose(out_) == 0;
    out_ = nullptr;
    return wrote && closed;
}

void PdfWriter::abandon() {
    if (out_) {
        std::fclose(out_);
        out_ = nullptr;
    }
    if (!path_.empty()) std::remove(path_.c_str());
}

}  // namespace kivutool
