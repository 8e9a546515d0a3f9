// TSvgSubImage: the "image" element.  Its picture arrives as a Base64 data
// URI in "href"; reading decodes it, names it by its content ("subimage-",
// the MD5 of the decoded bytes, the extension of its type), registers it in
// the library's image registry and announces the name to the document.  The
// host gives every announced source an object number (setSubImageIds), and
// getData draws the picture as "/I<number> Do" inside the element's box,
// fitted by "preserveAspectRatio".  The picture's bytes never pass through
// the SVG converter into the PDF: the host writes them.
#pragma once

#include <string>

#include "kivuimg/img/svg/element.h"

namespace kivu {

class TSvgSubImage : public TSvgElementOf<TSvgSubImage, TSvgElement> {
public:
    using TSvgElementOf::TSvgElementOf;

    std::string nodeName() const override { return "image"; }
    // Reads the attributes (no style) and, for a data URI longer than 32
    // characters of a known type, decodes and registers the picture.  A
    // link to a file is not followed.  A data URI whose payload is not
    // Base64 raises the decoder's exception.
    void read(_xmlNode* node) override;
    // Raises "No image found by iD '%s'" when the registry has no picture
    // under the element's source name.
    void writeData(TContent& out, float scale) override;

    // The source name: "" until a picture was read.
    virtual const std::string& href() const { return href_; }
    virtual void sourceName(const std::string& name) { href_ = name; }

protected:
    void copyValuesTo(TSvgElement& clone) override;

private:
    std::string href_;
};

}  // namespace kivu
