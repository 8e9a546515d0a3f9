// Writes a complete PDF document with one page per image, the way a host
// engine uses the library: objects through TObjects, serialised by toPDF,
// offsets recorded, xref and trailer at the end.
#pragma once

#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "kivuimg/commons/consts.h"
#include "kivuimg/commons/graphics/gradient.h"
#include "kivuimg/commons/objects.h"
#include "kivuimg/img/imgformat.h"
#include "fonts.h"

namespace kivutool {

struct PageImage {
    kivu::TImageFormat* image = nullptr;  // observed; owned by the registry or the caller
    std::string resourceName;             // name handed to addObjectSpecs
};

class PdfWriter {
public:
    PdfWriter(double dpi, kivu::ColorSpace space, kivu::ConvertImages convert);
    ~PdfWriter();

    // Opens the output; false when it can't be created.
    bool open(const std::string& path);
    // Adds one page showing the image over the whole page; raises what
    // addObjectSpecs raises.
    void addPage(kivu::TImageFormat* image);
    // Writes the shared objects, the page tree, the catalogue, xref and trailer.
    bool finish();
    // Removes a half-written file.
    void abandon();

private:
    // The image's objects: addObjectSpecs, its mask or palette straight
    // after, and a form's resources.  Answers the main object's number.
    uint64_t writeImage(kivu::TImageFormat* image, const std::string& name);
    void writePending();
    void writeObject(kivu::TBaseObject* obj);
    std::string placement(kivu::TImageFormat* image, kivu::TBaseObject* form, double pageW, double pageH) const;
    std::string formResources(kivu::TBaseObject* form);

    // The first pass of a drawing's two (twopass.cpp): its fonts answered,
    // its sub-images written and their numbers handed back.
    void deliverTwoPass(kivu::TImageFormat* image);
    // The object of a sub-image source, written on first use.
    uint64_t subImageNumber(const std::string& source);
    // Resource entries for the "/F<k>" and "/I<k>" names of a content stream.
    std::string fontResources(std::string_view content);
    std::string xobjectResources(std::string_view content);

    double dpi_;
    kivu::ColorSpace space_;
    kivu::ConvertImages convert_;
    std::string path_;
    FILE* out_ = nullptr;
    uint64_t offset_ = 0;
    float version_ = 1.4f;
    kivu::TObjects objects_;
    kivu::TIndirectObject* catalog_ = nullptr;
    kivu::TIndirectObject* pages_ = nullptr;
    std::vector<uint64_t> pageNumbers_;
    std::vector<uint64_t> written_;
    std::vector<kivu::SGradient> gradients_;
    FontBook fonts_{objects_};
    // Sub-image sources written so far, by name; each once per document.
    std::map<std::string, uint64_t> subImages_;
    int subImageDepth_ = 0;
};

}  // namespace kivutool
