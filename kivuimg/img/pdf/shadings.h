// The PDF objects behind the gradient names of a drawing's content, as a
// host writes them from the library's SGradient records:
//
//  "/Sh<k>"  an axial (type 2) or radial (type 3) shading in the record's
//            colour space; its function stitches (type 3) one exponential
//            (type 2, N 1) segment per pair of neighbouring stops;
//  "/TGS<k>" an ExtGState whose soft mask is a luminosity group drawing the
//            same shading geometry with the stops' alpha as gray.
//
// k is the record's position in the document's array, counted from 1.
// Each object is made once; the record keeps its number.
#pragma once

#include <cstdint>
#include <string>

#include "kivuimg/commons/graphics/gradient.h"
#include "kivuimg/commons/objects.h"

namespace kivu::pdf {

// The shading of a record: its object number.
uint64_t gradientShading(TObjects& objects, SGradient& record);
// The shading pattern of a record, at the record's matrix: its object number.
uint64_t gradientPattern(TObjects& objects, SGradient& record);
// The ExtGState with the record's soft mask: its object number.
uint64_t gradientSoftMask(TObjects& objects, SGradient& record);

// The stitching function of a record's colours (or of their alpha as gray):
// "<< /FunctionType 3 /Domain [0 1] /Functions [...] /Bounds [...] /Encode [...] >>".
std::string stitchingFunction(const SGradient& record, bool alphaAsGray);

}  // namespace kivu::pdf
