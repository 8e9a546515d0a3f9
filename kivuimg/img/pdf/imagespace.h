// Raster images in the document's colour space.  An indexed image's palette
// (RGB triples the library holds) is converted entry by entry and its base
// becomes the document's space.  Other samples stay as they are (a JPEG's
// DCT data, a PNG's IDAT, decoded BMP and GIF rows) and are drawn through a
// DeviceN space whose alternate is the document's space and whose tint
// transform is the conversion drawings get (TSpace::convert): gray is the
// mean of red, green and blue; CMYK takes k = min(c, m, y) and the rest
// over 1 - k.  The colorant names (R G B, W for gray, C M Y K) are none a
// device has, so every viewer and printer draws the alternate.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "kivuimg/commons/consts.h"
#include "kivuimg/commons/objects.h"

namespace kivu::pdf {

class TImageSpaces {
public:
    explicit TImageSpaces(ColorSpace target) : target_(target) {}

    // Converts an image object made by addObjectSpecs (its palette object
    // too, when it names one).  Answers the space it found and could not
    // convert ("/ICCBased ..."), or "" when the image is in the target space
    // now or has no colour space (a stencil mask).
    std::string convert(TObjects& objects, TBaseObject& image);

private:
    // "[/DeviceN [/R /G /B] /DeviceGray 12 0 R]" for a device space other
    // than the target; "" when the pair has no conversion.
    std::string deviceN(TObjects& objects, const std::string& source);
    // Converts the RGB triples of a palette object; false when it holds
    // something else.
    bool convertPalette(TBaseObject& palette) const;

    ColorSpace target_;
    std::map<std::string, uint64_t> functions_;  // tint transform objects by source space
};

}  // namespace kivu::pdf
