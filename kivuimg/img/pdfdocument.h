// TPdfDocument: a whole PDF document written by the library.  A host opens
// it on a file or a sink, adds pages, places images (any format the library
// reads, by name, by bytes or as a read TImageFormat) in boxes on them, and
// closes it.  The document answers everything a drawing's content names:
// graphics states, shadings and soft masks of its gradients, fonts (the
// standard 14, and embedded TrueType subsets for other text), and the
// pictures inside drawings.  Each page's objects are written as soon as the
// page is complete, so memory stays at about one image's worth.
//
// A file is written under a temporary name beside it and takes its own name
// only when close() succeeds: a failure, abandon() or the destructor leaves
// no partial file.  Every failure raises std::runtime_error with its reason.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>

#include "kivuimg/commons/consts.h"
#include "kivuimg/commons/core/export.h"
#include "kivuimg/commons/objects.h"
#include "kivuimg/img/imgformat.h"

namespace kivu {

namespace pdf {
class TPdfWriter;
}

// How a picture fills its box: into (the whole picture, as large as fits),
// fill (covers the box, cut at its edges), exact (stretched to the box),
// shrink (into, but never enlarged), enlarge (into, but never reduced).
enum class Fit { into, fill, exact, shrink, enlarge };

// A box on the page in points, from the page's lower left corner.
struct KIVU_API SPageBox {
    double x = 0, y = 0, w = 0, h = 0;
};

// The Info dictionary: what the host gives, the producer ("LibKivuImg"
// when empty), and the creation date: `creationDate` when given, else the
// time of close() unless `date` is off (for reproducible files).  Dates are
// ISO 8601 ("2026-11-24", "2026-11-24T09:30", "2026-11-24 09:30:15+01:00",
// "...Z") or PDF dates ("D:20261124093015+01'00'"); see pdfDate.
struct KIVU_API SDocumentInfo {
    std::string title, author, subject, keywords, creator, producer;
    std::string creationDate, modDate;
    bool date = true;
};

struct KIVU_API SDocumentOptions {
    // Pixels per inch of an image's natural size (pictureSize).
    double dpi = 96;
    // Whether an image whose file states its resolution (JFIF, EXIF, PNG
    // pHYs, BMP) takes that instead of `dpi`.
    bool imageResolution = false;
    // csAuto keeps every colour as it is; another space converts the
    // colours of drawings (WMF, SVG) to it.
    ColorSpace space = csAuto;
    SDocumentInfo info;
    // Where the document's warnings go (a text no installed font holds);
    // nowhere when empty.
    std::function<void(const std::string&)> warn;
};

class KIVU_API TPdfDocument {
public:
    explicit TPdfDocument(SDocumentOptions options = {});
    ~TPdfDocument();
    TPdfDocument(const TPdfDocument&) = delete;
    TPdfDocument& operator=(const TPdfDocument&) = delete;

    // The Info dictionary, as it will be written at close().
    void info(const SDocumentInfo& info);

    // Opens the document on a file (written under a temporary name until
    // close) or on a sink that takes the bytes as they come.
    void open(const std::string& path);
    void open(TObjectSink& sink);

    // Starts a page of width x height points; the page before it is written.
    void addPage(double width, double height);
    // Forgets the current page, and what was placed on it (a host that
    // starts the page again after a placement failed).
    void dropPage();
    // Places an image on the current page in `box` as `fit` says, turned by
    // `orientation` (an EXIF orientation: 1 as stored, 6 a quarter turn
    // clockwise, 3 a half turn, 8 a quarter turn counter-clockwise, 2 4 5 7
    // mirrored; see orientationOf).  The picture is clipped to the box when
    // it reaches beyond it.  The image's objects are made at once and may
    // hold its bytes until the page is written; the image may go then.
    void placeImage(TImageFormat& image, const SPageBox& box, Fit fit = Fit::into, int orientation = 1);
    // The same for an image file, url(...), or the name of a registered
    // image; a file that can't be read shows the library's fallback picture.
    void placeImage(const std::string& name, const SPageBox& box, Fit fit = Fit::into, int orientation = 1);
    // The same for the bytes of an image of format `ext` ("png", "svg", ...;
    // empty: told by the first bytes).
    void placeImageBytes(std::span<const uint8_t> bytes, const std::string& ext, const SPageBox& box,
                         Fit fit = Fit::into, int orientation = 1);

    // Paints `box` of the current page with a CSS colour ("white", "#ffe",
    // "rgb(10%, 20%, 30%)", "hsl(...)"; a colour with alpha is laid over the
    // white page), in the document's colour space; "none" and "transparent"
    // paint nothing.  Raises for a text that is no colour.
    void fillBox(const SPageBox& box, const std::string& color);

    // Writes the last page, the shared objects, the page tree, the Info
    // dictionary, xref and trailer; a file then takes its own name.
    void close();
    // Stops writing and removes the temporary file.
    void abandon();

    // An image's natural size in points at the document's dpi (at least one
    // point each way), width and height swapped when `orientation` turns it
    // by a quarter.
    SPageBox pictureSize(TImageFormat& image, int orientation = 1) const;
    // The box a picture of w x h points takes in `area` as `fit` says,
    // centred (under fill it reaches beyond the area; placeImage clips it).
    static SPageBox fitted(const SPageBox& area, double w, double h, Fit fit);
    // The EXIF orientation of a clockwise turn of 0, 90, 180 or 270 degrees.
    static int orientationOf(int degrees);
    // A date of SDocumentInfo as a PDF date ("D:20261124093015+01'00'");
    // raises for a text that is no date.
    static std::string pdfDate(const std::string& text);
    // Whether fillBox takes `color`.
    static bool isColor(const std::string& color);

    size_t pages() const;
    uint64_t bytesWritten() const;
    // The temporary file while the document is open on a path, else "": a
    // signal handler may remove it (the text stays put until close).
    const char* partialPath() const;

private:
    std::unique_ptr<pdf::TPdfWriter> writer_;
};

}  // namespace kivu
