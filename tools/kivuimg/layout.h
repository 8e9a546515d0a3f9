// Page layout of the kivuimg tool: page sizes, borders, the fit mode and
// orientation as the options give them, the picture's own box (--imgsize as
// img2pdf means it, --width/--height/--zoom as rsvg-convert does), and the
// page each picture gets.  The document places the picture in the area.
// All lengths are in points.
#pragma once

#include <string>

#include "kivuimg/img/pdfdocument.h"

namespace kivutool {

using kivu::Fit;

// One side of --imgsize: points, or the image's pixels at `value` dots per
// inch ("300dpi"); 0: not given.
struct Side {
    double value = 0;
    bool dpi = false;
};

struct PageLayout {
    bool pageSize = false;  // without one, the page is the picture plus its borders
    double pageW = 0, pageH = 0;
    Fit fit = Fit::into;
    bool fitGiven = false;
    double borderX = 0, borderY = 0;
    bool landscape = false;
    bool autoOrient = false;  // each page turned to its picture's orientation
    Side imgW, imgH;          // --imgsize
    double width = 0, height = 0, zoom = 0;  // --width, --height, --zoom; 0: not given
    bool keepAspect = false;
};

// A length with an optional unit: "12", "12pt", "16px", "10mm", "2.5cm",
// "1in"; a bare number is in `bareUnit` points.
bool parseLength(const std::string& text, double& points, double bareUnit = 1);
// "A0" to "A6", "B0" to "B6", "Letter", "Legal", "Tabloid", "Ledger" (any
// case) or "WxH" of two lengths; "^T" after it turns it (landscape).
bool parsePageSize(const std::string& text, double& width, double& height);
// A page size, or "WxH", "Wx" or "xH" of lengths or "Ndpi" values.
bool parseImageSize(const std::string& text, Side& width, Side& height);
// "W" or "W:H" (H = W when absent).
bool parseBorder(const std::string& text, double& x, double& y);
bool parseFit(const std::string& text, Fit& fit);

// A picture as the page plans see it: its natural size in points and in
// pixels, turned already when its orientation turns it.
struct Picture {
    double w = 0, h = 0;
    double pixelsW = 0, pixelsH = 0;
};

// A page for a picture: its size, the area where the picture goes and how
// it fills it.
struct PagePlan {
    double pageW = 0, pageH = 0;
    kivu::SPageBox area;
    Fit fit = Fit::into;
};

PagePlan planPage(const PageLayout& layout, const Picture& picture);

}  // namespace kivutool
