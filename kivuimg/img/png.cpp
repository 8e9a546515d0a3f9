#include "kivuimg/img/png.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/indirectobj.h"
#include "kivuimg/commons/objects.h"
#include "kivuimg/img/rastersize.h"

namespace kivu {

namespace {

constexpr uint8_t kSignature[8] = {137, 80, 78, 71, 13, 10, 26, 10};

std::span<const uint8_t> asBytes(std::string_view s) {
    return std::span<const uint8_t>(reinterpret_cast<const uint8_t*>(s.data()), s.size());
}

// The byte at i of a block, 0 past its end.
uint8_t byteAt(std::string_view block, size_t i) { return i < block.size() ? static_cast<uint8_t>(block[i]) : 0; }

}  // namespace

ColorSpace TImagePNG::colorSpace() {
    switch (colorType_) {
        case 0:
        case 4: return csGray;
        case 2:
        case 6: return csRGB;
        case 3: return csSpot;
        default: throw KivuException("PNG: Unknown color type");
    }
}

// Moves on by n bytes, or to the end of the data.
void TImagePNG::_skip(uint64_t n) { set_seek(n < left() ? tell() + n : size()); }

void TImagePNG::readSpecs() {
    _readHeader();
    _setDecodeParms();
    if (read<uint8_t>() != 0) throw KivuException("PNG: Unknown compression method");
    if (read<uint8_t>() != 0) throw KivuException("PNG: Unknown filer method");
    if (read<uint8_t>() != 0) throw KivuException("PNG: Interlacing not supported");
    _skip(4);
    checkRasterSize(static_cast<uint32_t>(width_), static_cast<uint32_t>(height_));
    _readChunks();
    if (colorType_ >= 4) _splitAlpha();
    if (colorType_ == 3 && !palette_) throw KivuException("PNG: Missing palette");
}

// The signature and the IHDR chunk up to the colour type.
void TImagePNG::_readHeader() {
    const std::string_view signature = read_string(8);
    if (signature.size() != 8 || std::memcmp(signature.data(), kSignature, 8) != 0)
        throw KivuException("Unsupported PNG file format");
    _skip(4);
    if (read_string(4) != "IHDR") throw KivuException("PNG: Incorrect PNG file");
    width_ = static_cast<int32_t>(read<uint32_t>());
    height_ = static_cast<int32_t>(read<uint32_t>());
    const int8_t depth = read<int8_t>();
    if (depth >= 9) throw KivuException("PNG: 16-bit depth not supported");
    // PNG knows only 1, 2, 4, 8 and 16; any other depth would give an image
    // that no PDF viewer can draw.  A file cut inside the header (the four
    // bytes that follow the depth aren't all there) reads as zeros instead.
    const bool cut = depth == 0 && left() < 4;
    if (depth != 1 && depth != 2 && depth != 4 && depth != 8 && !cut) throwf("PNG: Invalid bit depth %d", depth);
    bitsPerComponent_ = depth;
    colorType_ = read<uint8_t>();
}

// The colour space, its components and the predictor's parameters.
void TImagePNG::_setDecodeParms() {
    int colors = 1;
    switch (colorSpace()) {
        case csSpot: colorSpaceName_ = "Indexed"; break;
        case csGray: colorSpaceName_ = "DeviceGray"; break;
        case csRGB:
            colorSpaceName_ = "DeviceRGB";
            colors = 3;
            break;
        default: throw KivuException("PNG: Unknown color type");
    }
    components_ = colors;
    parms_ = sformat("/Predictor 15 /Colors %d /BitsPerComponent %d /Columns %d", colors, bitsPerComponent_, width_);
}

// Walks the chunks to IEND: the palette, the transparency and the samples.
// The samples are gathered in one block as large as the rest of the file,
// cut to their size at the end: no block is grown and copied chunk by chunk.
// Every round moves on or ends: a length that can't be read is 0, and a
// chunk of length 0 ends the walk.
void TImagePNG::_readChunks() {
    dataBuf_ = std::make_shared<TBuffer>(65536, 8192);
    dataBuf_->reserve(left());
    for (;;) {
        const uint32_t n = read<uint32_t>();
        const std::string_view type = read_string(4);
        if (type == "PLTE") {
            const std::string_view bytes = read_string(n);
            // A PLTE without one whole entry is no palette: an indexed image
            // without one fails in readSpecs.
            if (bytes.size() >= 3) palette_ = TBuffer::create(asBytes(bytes));
            _skip(4);
        } else if (type == "tRNS") {
            const std::string_view block = read_string(n);
            if (colorType_ == 0) transparency_ = {byteAt(block, 1)};
            else if (colorType_ == 2) transparency_ = {byteAt(block, 1), byteAt(block, 3), byteAt(block, 5)};
            else transparency_ = {0};
            _skip(4);
        } else if (type == "IDAT") {
            dataBuf_->addBytes(asBytes(read_string(n)));
            _skip(4);
        } else if (type == "IEND") {
            break;
        } else {
            _skip(static_cast<uint64_t>(n) + 4);
        }
        if (n == 0) break;
    }
    dataBuf_->fit();
}

// Inflates the samples, sends colour and alpha of each row to their own
// block with the row's filter byte in front of both, and deflates the two.
// PNG filters work byte against the same channel of the neighbouring pixel,
// so the filter bytes stay valid for both halves.  Depth 8 is assumed.  The
// colour rows are packed in place at the front of the inflated samples (a
// pixel's colour never lies behind where it is read from), so only the
// alpha rows take a block of their own.
void TImagePNG::_splitAlpha() {
    const uint64_t w = static_cast<uint64_t>(width_), h = static_cast<uint64_t>(height_);
    const uint64_t pixelBytes = colorType_ == 4 ? 2 : 4;
    const uint64_t colorBytes = pixelBytes - 1;
    const uint64_t stride = w * pixelBytes + 1;
    const uint64_t expected = h * stride;

    // The header tells how much the samples inflate to; more is a bomb and
    // raises.  Room for one byte more lets a whole stream end without the
    // block growing, unless deflate (at most 1032 to 1) can't fill that much:
    // a short stream's block grows as it inflates.  The compressed samples
    // are freed as soon as they are inflated.
    std::vector<uint8_t> raw;
    const uint64_t given = dataBuf_->size();
    const uint64_t room = std::min(expected + 1, given * 1032 + 64);
    if (expected > 0 && given > 0) raw = TMemory::_uncomp(dataBuf_->bytes(), room, 15, expected);
    dataBuf_.reset();
    // Rows past the end of the samples read as 0, within bounds.
    if (raw.size() < expected) {
        checkZeros("PNG", expected - raw.size(), raw.size());
        raw.resize(expected, 0);
    }

    std::vector<uint8_t> alpha(h * (w + 1));
    uint8_t* c = raw.data();
    uint8_t* a = alpha.data();
    for (uint64_t row = 0; row < h; ++row) {
        const uint8_t* p = raw.data() + row * stride;
        *c++ = *p;
        *a++ = *p++;
        // Each pixel is read whole before its colour is written back.
        if (colorBytes == 1) {
            for (uint64_t x = 0; x < w; ++x, p += 2) {
                const uint8_t v = p[0], alphaByte = p[1];
                *c++ = v;
                *a++ = alphaByte;
            }
        } else {
            for (uint64_t x = 0; x < w; ++x, p += 4) {
                const uint8_t r = p[0], g = p[1], b = p[2], alphaByte = p[3];
                c[0] = r;
                c[1] = g;
                c[2] = b;
                c += 3;
                *a++ = alphaByte;
            }
        }
    }
    dataBuf_ = std::make_shared<TBuffer>(1024, 8192);
    dataBuf_->compFrom(std::span<const uint8_t>(raw.data(), h * (w * colorBytes + 1)), -1);
    std::vector<uint8_t>().swap(raw);
    mask_ = std::make_shared<TBuffer>(1024, 8192);
    mask_->compFrom(alpha, -1);
    minVersion_ = 1.4f;
}

uint64_t TImagePNG::addObjectSpecs(TObjects* objects, const std::string&, std::vector<SGradient>*, ColorSpace,
                                   ConvertImages) {
    TIndirectObject* obj = addImageObject(objects, "Image/PNG", width_, height_);
    const uint64_t n = obj->num();
    if (isIndexed()) {
        obj->set("ColorSpace", indexedColorSpace(*palette_, n + 1));
    } else {
        obj->args({"ColorSpace", colorSpaceName_});
    }
    obj->set("BitsPerComponent", sformat("%u", static_cast<unsigned>(bitsPerComponent_)));
    obj->set("DecodeParms", "<<" + parms_ + ">>");
    if (!transparency_.empty()) {
        std::string values;
        for (uint8_t v : transparency_) values += sformat("%u %u ", v, v);
        obj->set("Mask", "[" + values + "]");
    }
    if (mask_) obj->set("SMask", sformat("%u 0 R", static_cast<unsigned>(n + 1)));
    obj->shareStream(dataBuf_, "FlateDecode");
    return n;
}

void TImagePNG::addObjectMask(TObjects* objects) {
    if (!mask_) return;
    TIndirectObject* obj = objects->add(0);
    obj->args({"Type", "XObject"});
    obj->args({"Subtype", "Image"});
    obj->set("Width", sformat("%d", width_));
    obj->set("Height", sformat("%d", height_));
    obj->args({"ColorSpace", "DeviceGray"});
    obj->set("BitsPerComponent", "8");
    obj->set("DecodeParms", "<<" + sformat("/Predictor 15 /Colors 1 /BitsPerComponent 8 /Columns %d", width_) + ">>");
    obj->shareStream(mask_, "FlateDecode");
}

void TImagePNG::addObjectPalette(TObjects* objects) {
    if (!palette_) return;
    TIndirectObject* obj = objects->add(0);
    obj->comment("PNG/Palette");
    obj->setStream(palette_.get(), "");
}

std::unique_ptr<TImageFormat> TImagePNG::getCopy() { return copyAs<TImagePNG>(); }

}  // namespace kivu
