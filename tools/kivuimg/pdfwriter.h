// Writes a complete PDF document with one page per image, the way a host
// engine uses the library: objects through TObjects, serialised by toPDF,
// offsets recorded, xref and trailer at the end.
#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "kivuimg/commons/consts.h"
#include "kivuimg/commons/graphics/gradient.h"
#include "kivuimg/commons/objects.h"
#include "kivuimg/img/imgformat.h"

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
    void writePending();
    void writeObject(kivu::TBaseObject* obj);
    std::string placement(kivu::TImageFormat* image, kivu::TBaseObject* form, double pageW, double pageH) const;
    std::string formResources(kivu::TBaseObject* form);

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
};

}  // namespace kivutool
