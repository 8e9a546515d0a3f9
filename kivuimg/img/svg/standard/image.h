// Pictures under the standard rules: the "image" element.  Its href is a
// data URI (Base64 or percent-encoded), a file beside the drawing (never
// outside the drawing's folder), or an http(s) address when the host allows
// the network.  The bytes are told by their first bytes (PNG, JPEG, GIF,
// BMP, WMF, SVG); the picture becomes a sub-image of the drawing that the
// host writes and names ("/I<n> Do"), placed in the element's viewport by
// preserveAspectRatio.
#pragma once

#include <memory>
#include <string>

#include "kivuimg/commons/core/buffer.h"
#include "kivuimg/img/svg/standard/painter.h"

namespace kivu::stdsvg {

// Reads (while collecting) or draws an "image" element.
void drawImage(TPainter& painter, const TSvgNode& node, const SState& state);

// The bytes an href names and their format's extension ("png", "jpg",
// "gif", "bmp", "wmf", "svg"); null when they can't be had or are none of
// these.  `why` tells the reason.
std::unique_ptr<TBuffer> pictureBytes(const std::string& href, const std::string& folder, bool network,
                                      std::string& ext, std::string& why);

// The extension of a picture by its first bytes, "" when unknown.
std::string sniffPicture(std::span<const uint8_t> bytes);

}  // namespace kivu::stdsvg
