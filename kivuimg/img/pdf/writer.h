// The document writer behind TPdfDocument: objects through TObjects, each
// page's objects written by writePDF as soon as the page is complete and
// their streams released, offsets recorded, xref and trailer at the end.
// It answers every name a drawing's content records (resourceNames): shared
// graphics states, gradient shadings, patterns and soft masks, fonts, and
// pictures inside drawings, which it writes through the drawing's first
// pass (fonts answered, sub-images numbered) before the drawing itself.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "kivuimg/commons/graphics/gradient.h"
#include "kivuimg/commons/objects.h"
#include "kivuimg/img/imgformat.h"
#include "kivuimg/img/pdf/fonts.h"
#include "kivuimg/img/pdf/imagespace.h"
#include "kivuimg/img/pdf/output.h"
#include "kivuimg/img/pdfdocument.h"

namespace kivu::pdf {

// The named resources of one page, by kind ("XObject", ...), each kind and
// name in the order of addition.
class TPageResources {
public:
    void add(const std::string& kind, const std::string& name, uint64_t num);
    // "<< /XObject << /Im1 5 0 R >> >>"
    std::string text() const;

private:
    using Names = std::vector<std::pair<std::string, uint64_t>>;
    std::vector<std::pair<std::string, Names>> kinds_;
};

class TPdfWriter {
public:
    explicit TPdfWriter(SDocumentOptions options);
    ~TPdfWriter();

    void info(const SDocumentInfo& info) { options_.info = info; }
    void open(const std::string& path);
    void open(TObjectSink& sink);
    void addPage(double width, double height);
    void dropPage();
    void placeImage(TImageFormat& image, const SPageBox& box, Fit fit, int orientation);
    void fillBox(const SPageBox& box, const std::string& color);
    // The fill operator of a CSS colour in `space` ("" for none); false
    // when `color` is no colour.
    static bool fillOperator(const std::string& color, ColorSpace space, std::string& op);
    void close();
    void abandon();

    SPageBox pictureSize(TImageFormat& image, int orientation) const;
    void warn(const std::string& text) const {
        if (options_.warn) options_.warn(text);
    }
    size_t pages() const { return pageNumbers_.size() + (page_.open ? 1 : 0); }
    uint64_t bytesWritten() const { return out_.offset(); }
    const char* partialPath() const { return out_.partialPath(); }

private:
    struct SPage {
        bool open = false;
        double width = 0, height = 0;
        std::string ops;
        TPageResources resources;
    };

    void begin();
    void needPage() const;
    // Writes the current page's content and page objects.
    void finishPage();
    // The image's objects: addObjectSpecs, its mask or palette straight
    // after, and a form's resources.  Answers the main object's number.
    uint64_t writeImage(TImageFormat* image, const std::string& name);
    // The image object in the document's colour space (TImageSpaces).
    void convertSpace(TImageFormat* image, uint64_t number);
    uint64_t addContent(const std::string& ops);
    // Writes every object made since the last call, in the order of creation,
    // and releases its stream.  Objects 1 and 2, and the fonts FontBook
    // holds back, wait for close().
    void writePending();
    void writeObject(TBaseObject* obj);
    std::string formResources(TImageFormat* image);
    uint64_t resourceObject(const SResourceName& use);
    uint64_t addInfo();
    void writeTrailer(uint64_t info);

    // The first pass of a drawing's two: its fonts answered, its sub-images
    // written and their numbers handed back.
    void deliverTwoPass(TImageFormat* image);
    // The object of a sub-image source, written on first use.
    uint64_t subImageNumber(const std::string& source);

    SDocumentOptions options_;
    TOutput out_;
    bool started_ = false;
    size_t pending_ = 0;              // index in objects_.order() of the first object not yet looked at
    std::vector<uint64_t> deferred_;  // objects passed over while FontBook defers them
    float version_ = 1.4f;
    TObjects objects_;
    TIndirectObject* catalog_ = nullptr;
    TIndirectObject* pages_ = nullptr;
    std::vector<uint64_t> pageNumbers_;
    SPage page_;
    size_t images_ = 0;
    std::vector<SGradient> gradients_;
    FontBook fonts_;
    TImageSpaces imageSpaces_;
    // Sub-image sources written so far, by name; each once per document.
    std::map<std::string, uint64_t> subImages_;
    int subImageDepth_ = 0;
};

}  // namespace kivu::pdf
