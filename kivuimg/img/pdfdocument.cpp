#include "kivuimg/img/pdfdocument.h"

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/core/settings.h"
#include "kivuimg/img/jpg.h"
#include "kivuimg/img/libmain.h"
#include "kivuimg/img/pdf/dates.h"
#include "kivuimg/img/pdf/placement.h"
#include "kivuimg/img/pdf/writer.h"

namespace kivu {

namespace {

// Raises for a date of the Info dictionary that is no date, before
// anything is written.
void checkDates(const SDocumentInfo& info) {
    for (const std::string* date : {&info.creationDate, &info.modDate})
        if (!date->empty()) pdf::pdfDate(*date);
}

bool isFallback(const std::string& name) {
    return name == kNotFoundImage || name == kUnsupportedImage || name == kExceptionImage;
}

}  // namespace

TPdfDocument::TPdfDocument(SDocumentOptions options) {
    if (!(options.dpi > 0)) throwf("a document needs a positive dpi");
    if (!g_settings && !libimg_init(nullptr, 3)) throwf("the library could not start");
    checkDates(options.info);
    writer_ = std::make_unique<pdf::TPdfWriter>(std::move(options));
}

TPdfDocument::~TPdfDocument() = default;

namespace {

// ": reason" of a fallback picture, when the library recorded one.
std::string because(const TImageFormat& image) { return image.failure().empty() ? "" : ": " + image.failure(); }

}  // namespace

void TPdfDocument::info(const SDocumentInfo& info) {
    checkDates(info);
    writer_->info(info);
}
void TPdfDocument::open(const std::string& path) { writer_->open(path); }
void TPdfDocument::open(TObjectSink& sink) { writer_->open(sink); }
void TPdfDocument::addPage(double width, double height) { writer_->addPage(width, height); }
void TPdfDocument::dropPage() { writer_->dropPage(); }

void TPdfDocument::placeImage(TImageFormat& image, const SPageBox& box, Fit fit, int orientation) {
    writer_->placeImage(image, box, fit, orientation);
}

void TPdfDocument::placeImage(const std::string& name, const SPageBox& box, Fit fit, int orientation) {
    if (TImageFormat* known = libimg_getImage(name.c_str())) return placeImage(*known, box, fit, orientation);
    std::string read = name;
    std::unique_ptr<TImageFormat> image = readImage(read, nullptr);
    if (!image) {
        image = createUndefinedImage();
        image->readSpecs();
        read = kUnsupportedImage;
    }
    if (isFallback(read)) writer_->warn("'" + name + "' falls back to '" + read + "'" + because(*image));
    placeImage(*image, box, fit, orientation);
}

void TPdfDocument::placeImageBytes(std::span<const uint8_t> bytes, const std::string& ext, const SPageBox& box,
                                   Fit fit, int orientation) {
    const std::string format = ext.empty() ? sniffImageFormat(bytes) : toLower(ext);
    std::string name = "bytes." + (format.empty() ? std::string("unknown") : format);
    std::unique_ptr<TImageFormat> image = readImage(name, TBuffer::create(bytes));
    if (!image) {
        image = createUndefinedImage();
        image->readSpecs();
        name = kUnsupportedImage;
    }
    if (isFallback(name)) writer_->warn("image bytes fall back to '" + name + "'" + because(*image));
    placeImage(*image, box, fit, orientation);
}

void TPdfDocument::fillBox(const SPageBox& box, const std::string& color) { writer_->fillBox(box, color); }

std::string TPdfDocument::pdfDate(const std::string& text) { return pdf::pdfDate(text); }

bool TPdfDocument::isColor(const std::string& color) {
    std::string op;
    return pdf::TPdfWriter::fillOperator(color, csAuto, op);
}

void TPdfDocument::close() { writer_->close(); }
void TPdfDocument::abandon() { writer_->abandon(); }

SPageBox TPdfDocument::pictureSize(TImageFormat& image, int orientation) const {
    return writer_->pictureSize(image, orientation);
}

SPageBox TPdfDocument::fitted(const SPageBox& area, double w, double h, Fit fit) {
    return pdf::fitInto(area, w, h, fit).box;
}

int TPdfDocument::orientationOf(int degrees) {
    switch (((degrees % 360) + 360) % 360) {
        case 90: return 6;
        case 180: return 3;
        case 270: return 8;
        default: return 1;
    }
}

size_t TPdfDocument::pages() const { return writer_->pages(); }
uint64_t TPdfDocument::bytesWritten() const { return writer_->bytesWritten(); }
const char* TPdfDocument::partialPath() const { return writer_->partialPath(); }

}  // namespace kivu
