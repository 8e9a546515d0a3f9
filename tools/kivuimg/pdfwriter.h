// Writes a complete PDF document with one page per image, the way a host
// engine uses the library: objects through TObjects, each page's objects
// written by writePDF as soon as the page is complete and their streams
// released, offsets recorded, xref and trailer at the end.  Memory stays at
// about one image's worth whatever the number of pages.
#pragma once

#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "kivuimg/commons/consts.h"
#include "kivuimg/commons/graphics/gradient.h"
#include "kivuimg/commons/objects.h"
#include "kivuimg/img/imgformat.h"
#include "fonts.h"
#include "layout.h"

namespace kivutool {

// The named resources of one page, by kind ("XObject", "ExtGState",
// "Shading", "Font", ...), each kind and name in the order of addition.
class PageResources {
public:
    void add(const std::string& kind, const std::string& name, uint64_t num);
    // "<< /XObject << /Im1 5 0 R >> >>"
    std::string text() const;

private:
    using Names = std::vector<std::pair<std::string, uint64_t>>;
    std::vector<std::pair<std::string, Names>> kinds_;
};

// Sends object text to a file and counts the bytes; remembers a failed write.
class FileSink : public kivu::TObjectSink {
public:
    void open(FILE* f) { file_ = f; }
    void write(std::span<const uint8_t> bytes) override;
    bool failed() const { return failed_; }

private:
    FILE* file_ = nullptr;
    bool failed_ = false;
};

// The document's Info dictionary: what the user gives, the producer, and
// the creation date unless `date` is off (for reproducible files).
struct DocumentInfo {
    std::string title, author, subject, keywords, creator;
    bool date = true;
};

class PdfWriter {
public:
    PdfWriter(double dpi, kivu::ColorSpace space, kivu::ConvertImages convert, const PageLayout& layout = {},
              const DocumentInfo& info = {});
    ~PdfWriter();

    // Opens the output ("-": standard output); false when it can't be
    // created.  A file is written under a temporary name beside it and takes
    // its own name only when finish() succeeds, so a failure leaves no
    // partial file.
    bool open(const std::string& path);
    // Adds one page showing the image over the whole page and writes its
    // objects; raises what addObjectSpecs raises.  The image is freed as soon
    // as its objects are made: they share its file or samples, which go when
    // the objects are written and released.
    void addPage(std::unique_ptr<kivu::TImageFormat> image);
    // Writes the shared objects, the page tree, the catalogue, xref and trailer.
    bool finish();
    // Removes a half-written file.
    void abandon();

    size_t pages() const { return pageNumbers_.size(); }
    uint64_t bytesWritten() const { return offset_; }

private:
    // The image's objects: addObjectSpecs, its mask or palette straight
    // after, and a form's resources.  Answers the main object's number.
    uint64_t writeImage(kivu::TImageFormat* image, const std::string& name);
    uint64_t addContent(const std::string& ops);
    void addPageObject(double width, double height, const PageResources& resources, uint64_t content);
    // Writes every object made since the last call, in the order of creation,
    // and releases its stream.  Objects 1 and 2, and the fonts FontBook
    // holds back, wait for finish().
    void writePending();
    void writeObject(kivu::TBaseObject* obj);
    // The cm operator that draws the image into its box on the page.
    std::string placement(kivu::TImageFormat* image, kivu::TBaseObject* form, const Box& box, int orientation) const;
    // The Info dictionary's object, written last.
    uint64_t addInfo();
    // Flushes and closes the output; a file takes its own name.  False when
    // anything failed to be written.
    bool close();
    std::string formResources(kivu::TImageFormat* image);
    uint64_t resourceObject(const kivu::SResourceName& use);

    // The first pass of a drawing's two (twopass.cpp): its fonts answered,
    // its sub-images written and their numbers handed back.
    void deliverTwoPass(kivu::TImageFormat* image);
    // The object of a sub-image source, written on first use.
    uint64_t subImageNumber(const std::string& source);

    double dpi_;
    kivu::ColorSpace space_;
    kivu::ConvertImages convert_;
    PageLayout layout_;
    DocumentInfo info_;
    std::string path_;     // the file asked for; "-" for standard output
    std::string partial_;  // the temporary file written until finish()
    FILE* out_ = nullptr;
    FileSink sink_;
    uint64_t offset_ = 0;
    size_t pending_ = 0;             // index in objects_.order() of the first object not yet looked at
    std::vector<uint64_t> deferred_;  // objects passed over while FontBook defers them
    float version_ = 1.4f;
    kivu::TObjects objects_;
    kivu::TIndirectObject* catalog_ = nullptr;
    kivu::TIndirectObject* pages_ = nullptr;
    std::vector<uint64_t> pageNumbers_;
    std::vector<kivu::SGradient> gradients_;
    FontBook fonts_{objects_};
    // Sub-image sources written so far, by name; each once per document.
    std::map<std::string, uint64_t> subImages_;
    int subImageDepth_ = 0;
};

}  // namespace kivutool
