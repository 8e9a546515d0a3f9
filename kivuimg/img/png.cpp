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
    const std::string_view signature = read_string(8);
    if (signature.size() != 8 || std::memcmp(signature.data(), kSignature, 8) != 0)
        throw KivuException("Unsupported PNG file format");
    _skip(4);
    if (read_string(4) != "IHDR") throw KivuException("PNG: Incorrect PNG file");
    const uint32_t w = read<uint32_t>();
    const uint32_t h = read<uint32_t>();
    width_ = static_cast<int32_t>(w);
    height_ = static_cast<int32_t>(h);
    const int8_t depth = read<int8_t>();
    if (depth >= 9) throw KivuException("PNG: 16-bit depth not supported");
    // PNG knows only 1, 2, 4, 8 and 16; any other depth would give an image
    // that no PDF viewer can draw.  A file cut inside the header (the four
    // bytes that follow the depth aren't all there) reads as zeros instead.
    const bool cut = depth == 0 && left() < 4;
    if (depth != 1 && depth != 2 && depth != 4 && depth != 8 && !cut) throwf("PNG: Invalid bit depth %d", depth);
    bitsPerComponent_ = depth;
    colorType_ = read<uint8_t>();

    parms_ = "/Predictor 15 /Colors ";
    switch (colorSpace()) {
        case csSpot:
            colorSpaceName_ = "Indexed";
            parms_ += "1 ";
            components_ = 1;
            break;
        case csGray:
            colorSpaceName_ = "DeviceGray";
            parms_ += "1 ";
            components_ = 1;
            break;
        case csRGB:
            colorSpaceName_ = "DeviceRGB";
            parms_ += "3 ";
            components_ = 3;
            break;
        default: throw KivuException("PNG: Unknown color type");
    }
    parms_ += "/BitsPerComponent " + std::to_string(depth) + " ";
    parms_ += sformat("/Columns %d", width_);

    if (read<uint8_t>() != 0) throw KivuException("PNG: Unknown compression method");
    if (read<uint8_t>() != 0) throw KivuException("PNG: Unknown filer method");
    if (read<uint8_t>() != 0) throw KivuException("PNG: Interlacing not supported");
    _skip(4);
    checkRasterSize(w, h);

    dataBuf_ = std::make_unique<TBuffer>(size(), 8192);
    // Every round moves on or ends: a length that can't be read is 0, and a
    // chunk of length 0 ends the walk.
    for (;;) {
        const uint32_t n = read<uint32_t>();
        const std::string_view type = read_string(4);
        if (type == "PLTE") {
            const std::string_view bytes = read_string(n);
            // A PLTE without one whole entry is no palette: an indexed image
            // without one fails below.
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

    if (colorType_ >= 4) _splitAlpha();
    if (colorType_ == 3 && !palette_) throw KivuException("PNG: Missing palette");
}

// Inflates the samples, sends colour and alpha of each row to their own
// buffer with the row's filter byte in front of both, and deflates the two.
// PNG filters work byte against the same channel of the neighbouring pixel,
// so the filter bytes stay valid for both halves.  Depth 8 is assumed.
void TImagePNG::_splitAlpha() {
    const uint64_t w = static_cast<uint64_t>(width_), h = static_cast<uint64_t>(height_);
    const uint64_t pixelBytes = colorType_ == 4 ? 2 : 4;
    const uint64_t colorBytes = pixelBytes - 1;
    const uint64_t rowBytes = w * pixelBytes;
    const uint64_t stride = rowBytes + 1;
    const uint64_t expected = h * stride;

    // The header tells how much the samples inflate to; more is a bomb and raises.
    // The compressed samples are freed as soon as they are inflated.
    std::vector<uint8_t> raw;
    if (expected > 0 && dataBuf_->size() > 0) raw = TMemory::_uncomp(dataBuf_->bytes(), 0, 15, expected);
    dataBuf_.reset();
    const uint8_t* in = raw.data();
    const uint64_t have = raw.size();
    // Rows past the end of the samples read as 0, within bounds.
    if (have < expected) checkZeros("PNG", expected - have, have);

    std::vector<uint8_t> color(h * (w * colorBytes + 1));
    std::vector<uint8_t> alpha(h * (w + 1));
    uint8_t* c = color.data();
    uint8_t* a = alpha.data();
    for (uint64_t row = 0; row < h; ++row) {
        const uint64_t at = row * stride;
        if (at + stride <= have) {
            const uint8_t* p = in + at;
            *c++ = *p;
            *a++ = *p++;
            if (colorType_ == 4) {
                for (uint64_t x = 0; x < w; ++x, p += 2) {
                    *c++ = p[0];
                    *a++ = p[1];
                }
            } else {
                for (uint64_t x = 0; x < w; ++x, p += 4) {
                    c[0] = p[0];
                    c[1] = p[1];
                    c[2] = p[2];
                    c += 3;
                    *a++ = p[3];
                }
            }
        } else {
            // A short stream: what is missing reads as 0.
            auto get = [&](uint64_t i) -> uint8_t { return i < have ? in[i] : 0; };
            const uint8_t filter = get(at);
            *c++ = filter;
            *a++ = filter;
            for (uint64_t i = 0; i < rowBytes; ++i) {
                if (i % pixelBytes == colorBytes) *a++ = get(at + 1 + i);
                else *c++ = get(at + 1 + i);
            }
        }
    }
    std::vector<uint8_t>().swap(raw);
    dataBuf_ = TBuffer::create(std::span<const uint8_t>(TMemory::_comp(color, -1)));
    std::vector<uint8_t>().swap(color);
    mask_ = TBuffer::create(std::span<const uint8_t>(TMemory::_comp(alpha, -1)));
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
    obj->setStream(dataBuf_.get(), "FlateDecode");
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
    obj->setStream(mask_.get(), "FlateDecode");
}

void TImagePNG::addObjectPalette(TObjects* objects) {
    if (!palette_) return;
    TIndirectObject* obj = objects->add(0);
    obj->comment("PNG/Palette");
    obj->setStream(palette_.get(), "");
}

std::unique_ptr<TImageFormat> TImagePNG::getCopy() { return copyAs<TImagePNG>(); }

}  // namespace kivu
