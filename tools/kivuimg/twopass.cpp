// The host's side of a drawing's two passes.  After readSpecs a drawing
// (SVG) may ask for fonts (getRawFonts) and hold sub-images
// (getSubImageSources).  Before its addObjectSpecs the host answers every
// font request through setFont, writes every sub-image from the library's
// registry as an XObject of its own, and hands the numbers back through
// setSubImageIds; the content then names them "/F<k>" and "/I<number>", and
// the Form's resources resolve those names.
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/img/libmain.h"
#include "pdfwriter.h"

using namespace kivu;

namespace kivutool {

namespace {

// Drawings inside drawings beyond this depth are not written.
constexpr int kMaxSubImageDepth = 16;

// A number for a matrix entry: eight decimals, trailing zeros dropped.
std::string exact(double v) {
    if (!std::isfinite(v)) return "0";
    std::string s = sformat("%.8f", v);
    while (s.back() == '0') s.pop_back();
    if (s.back() == '.') s.pop_back();
    return s == "-0" ? "0" : s;
}

// The matrix that maps a Form's drawing onto the unit square, upright, as
// "/I<n> Do" expects of an image: from the box below the x axis of an SVG,
// or from the window of a metafile, whose y axis runs down.
std::string unitMatrix(TImageFormat* image, TBaseObject* form) {
    double box[4] = {0, 0, 0, 0};
    const std::string text = form->args("BBox").value;
    if (image->ext() == "SVG" && std::sscanf(text.c_str(), "[%lf %lf %lf %lf]", &box[0], &box[1], &box[2], &box[3]) == 4) {
        const double a = 1 / (box[2] - box[0]), d = 1 / (box[1] - box[3]);
        return "[" + exact(a) + " 0 0 " + exact(d) + " " + exact(-box[0] * a) + " " + exact(-box[3] * d) + "]";
    }
    const double ox = image->positionX(), oy = image->positionY(), ex = image->origWidth(), ey = image->origHeight();
    return "[" + exact(1 / ex) + " 0 0 " + exact(-1 / ey) + " " + exact(-ox / ex) + " " + exact(1 + oy / ey) + "]";
}

}  // namespace

void PdfWriter::deliverTwoPass(TImageFormat* image) {
    if (!image->has2Pass()) return;
    for (const SRawFont& request : image->getRawFonts()) image->setFont(fonts_.answer(request));
    std::vector<SLinkSrcId> ids;
    for (const std::string& source : image->getSubImageSources()) {
        const uint64_t number = subImageNumber(source);
        if (number) ids.push_back(SLinkSrcId{number, source});
    }
    image->setSubImageIds(ids);
}

uint64_t PdfWriter::subImageNumber(const std::string& source) {
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
    if (image->isFormObject()) {
        // "/I<n> Do" draws in a unit square, as an Image XObject does: the
        // Form's matrix maps its box onto that square, upright.
        TBaseObject* form = objects_.get(number);
        form->set("Matrix", unitMatrix(image, form));
    }
    subImages_[source] = number;
    return number;
}

}  // namespace kivutool
