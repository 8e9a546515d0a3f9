// Page layout of the kivuimg tool: page sizes, how a picture fits its page,
// borders, orientation, and the cm operator that draws a picture into its
// box, upright under an EXIF orientation.  All lengths are in points.
#pragma once

#include <string>

namespace kivutool {

enum class Fit { into, fill, exact, shrink, enlarge };

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

// Where a picture goes on its page.
struct Box {
    double x = 0, y = 0, w = 0, h = 0;
};

struct PagePlan {
    double pageW = 0, pageH = 0;
    Box box;          // the picture's box
    bool clip = false;  // the box reaches beyond the area inside the borders
    Box area;         // the area inside the borders
};

// The page and the picture's box for a picture of w x h points (as it is to
// be seen, turned already when its orientation turns it).
PagePlan planPage(const PageLayout& layout, double w, double h);

// "a b c d e f cm" that maps an image's unit square onto the box so that a
// JPEG with EXIF orientation 1..8 stands upright.
std::string imageMatrix(const Box& box, int orientation);
// Whether the orientation turns the picture by a quarter (width and height swap).
inline bool turnsQuarter(int orientation) { return orientation >= 5 && orientation <= 8; }

// A PDF number: three decimals, trailing zeros dropped, no "-0".
std::string pdfNumber(double v);

}  // namespace kivutool
