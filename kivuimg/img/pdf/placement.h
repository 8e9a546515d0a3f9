// The one placement of the document writer: where a picture goes in its box
// by the fit mode, and the matrix that draws it there.  An image draws into
// the unit square; a form first maps its own drawing onto that square
// (TImageFormat::unitMatrix), so that pictures of every kind, on a page or
// inside a drawing, are placed by the same matrix.
#pragma once

#include <array>
#include <string>

#include "kivuimg/img/imgformat.h"
#include "kivuimg/img/pdfdocument.h"

namespace kivu::pdf {

// The picture's box in an area, and whether it reaches beyond the area.
struct SFitted {
    SPageBox box;
    bool clip = false;
};

// A picture of w x h points (as it is to be seen) in `area`, centred.
SFitted fitInto(const SPageBox& area, double w, double h, Fit fit);

// Whether an EXIF orientation turns the picture by a quarter.
inline bool turnsQuarter(int orientation) { return orientation >= 5 && orientation <= 8; }

// "a b c d e f cm" that draws the image into `box`, upright under the EXIF
// orientation; all zeros for a form without area.
std::string placementOperator(TImageFormat& image, const SPageBox& box, int orientation);

// The Matrix entry of a form drawn as a picture inside a drawing ("/I<n>
// Do" draws in the unit square, as an image does).
std::string unitMatrixEntry(TImageFormat& image);

}  // namespace kivu::pdf
