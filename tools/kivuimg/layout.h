// Page layout of the kivuimg tool: page sizes, borders, the fit mode and
// orientation as the options give them, and the page each picture gets.
// The document places the picture in the area.  All lengths are in points.
#pragma once

#include <string>

#include "kivuimg/img/pdfdocument.h"

namespace kivutool {

using kivu::Fit;

struct PageLayout {
    bool pageSize = false;  // without one, the page is the picture plus its borders
    double pageW = 0, pageH = 0;
    Fit fit = Fit::into;
    double borderX = 0, borderY = 0;
    bool landscape = false;
    bool autoOrient = false;
};

// A length with an optional unit: "12", "12pt", "10mm", "2.5cm", "1in".
bool parseLength(const std::string& text, double& points);
// "A4", "A3", "A5", "Letter", "Legal" (any case) or "WxH" of two lengths.
bool parsePageSize(const std::string& text, double& width, double& height);
// "W" or "W:H" (H = W when absent).
bool parseBorder(const std::string& text, double& x, double& y);
bool parseFit(const std::string& text, Fit& fit);

// A page for a picture of w x h points (as it is to be seen, turned already
// when its orientation turns it): its size, and the area inside the borders
// where the picture goes.
struct PagePlan {
    double pageW = 0, pageH = 0;
    kivu::SPageBox area;
};

PagePlan planPage(const PageLayout& layout, double w, double h);

}  // namespace kivutool
