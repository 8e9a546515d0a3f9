#include "kivuimg/img/png.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/core/settings.h"
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

uint32_t be32At(std::string_view block, size_t i) {
    return static_cast<uint32_t>(byteAt(block, i)) << 24 | byteAt(block, i + 1) << 16 | byteAt(block, i + 2) << 8 |
           byteAt(block, i + 3);
}

// Samples a pixel of each colour type has.
unsigned samplesOf(int colorType) {
    switch (colorType) {
        case 2: return 3;
        case 4: return 2;
        case 6: return 4;
        default: return 1;
    }
}

// The seven passes of Adam7: first column and row, and the steps between.
struct SAdam7Pass {
    unsigned x0, y0, dx, dy;
};
constexpr SAdam7Pass kAdam7[7] = {{0, 0, 8, 8}, {4, 0, 8, 8}, {0, 4, 4, 8}, {2, 0, 4, 4},
                                  {0, 2, 2, 4}, {1, 0, 2, 2}, {0, 1, 1, 2}};

// Pixels (or rows) of a pass along a side of `side` pixels.
uint64_t passSide(uint64_t side, unsigned first, unsigned step) {
    return side > first ? (side - first + step - 1) / step : 0;
}

uint8_t paeth(int a, int b, int c) {
    const int p = a + b - c, pa = std::abs(p - a), pb = std::abs(p - b), pc = std::abs(p - c);
    return static_cast<uint8_t>(pa <= pb && pa <= pc ? a : pb <= pc ? b : c);
}

// Undoes the row filters of `rows` rows in place, each a filter byte and
// `rowBytes` bytes; a filter compares a byte with the one `bpp` bytes to
// its left and with the byte above it.  The filter bytes become 0.
void unfilter(uint8_t* p, uint64_t rows, uint64_t rowBytes, uint64_t bpp) {
    for (uint64_t r = 0; r < rows; ++r, p += rowBytes + 1) {
        uint8_t* x = p + 1;
        const uint8_t* up = r ? x - rowBytes - 1 : nullptr;  // the row above the first reads as 0
        switch (p[0]) {
            case 0: break;
            case 1:
                for (uint64_t i = bpp; i < rowBytes; ++i) x[i] += x[i - bpp];
                break;
            case 2:
                for (uint64_t i = 0; up && i < rowBytes; ++i) x[i] += up[i];
                break;
            case 3:
                for (uint64_t i = 0; i < rowBytes; ++i) x[i] += ((i >= bpp ? x[i - bpp] : 0) + (up ? up[i] : 0)) >> 1;
                break;
            case 4:
                for (uint64_t i = 0; i < rowBytes; ++i)
                    x[i] += paeth(i >= bpp ? x[i - bpp] : 0, up ? up[i] : 0, up && i >= bpp ? up[i - bpp] : 0);
                break;
            default: throwf("PNG: Unknown row filter %d", p[0]);
        }
        p[0] = 0;
    }
}

// The `count` pixels of a pass row into an image row at columns x0, x0 + dx, ...
void placeRow(const uint8_t* src, uint8_t* dst, uint64_t count, unsigned x0, unsigned dx, unsigned bits) {
    if (bits >= 8) {
        const unsigned n = bits / 8;
        for (uint64_t c = 0, x = x0; c < count; ++c, x += dx) std::memcpy(dst + x * n, src + c * n, n);
        return;
    }
    const unsigned mask = (1u << bits) - 1;
    for (uint64_t c = 0, x = x0; c < count; ++c, x += dx) {
        const uint64_t from = c * bits, to = x * bits;
        const unsigned v = (src[from / 8] >> (8 - bits - from % 8)) & mask;
        dst[to / 8] |= static_cast<uint8_t>(v << (8 - bits - to % 8));
    }
}

// Splits pixels of `Color` colour bytes and `Alpha` alpha bytes: the colour
// rows are packed in place at the front of `raw` (a pixel's colour never lies
// behind where it is read from), the alpha rows go to `alpha`; each row keeps
// its filter byte in front of both halves.
template <size_t Color, size_t Alpha>
void splitRows(uint8_t* raw, uint8_t* alpha, uint64_t w, uint64_t h) {
    const uint8_t* p = raw;
    uint8_t* c = raw;
    uint8_t* a = alpha;
    for (uint64_t row = 0; row < h; ++row) {
        *c++ = *p;
        *a++ = *p++;
        for (uint64_t x = 0; x < w; ++x, p += Color + Alpha, c += Color, a += Alpha) {
            uint8_t pixel[Color + Alpha];  // read whole before its colour is written back
            std::memcpy(pixel, p, Color + Alpha);
            std::memcpy(c, pixel, Color);
            std::memcpy(a, pixel + Color, Alpha);
        }
    }
}

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
    const bool standard = currentRules() == rulesStandard;
    _readHeader(standard);
    _setDecodeParms();
    if (read<uint8_t>() != 0) throw KivuException("PNG: Unknown compression method");
    if (read<uint8_t>() != 0) throw KivuException("PNG: Unknown filer method");
    const uint8_t interlace = read<uint8_t>();
    if (interlace != 0 && !(standard && interlace == 1)) throw KivuException("PNG: Interlacing not supported");
    interlaced_ = interlace == 1;
    _skip(4);
    checkRasterSize(static_cast<uint32_t>(width_), static_cast<uint32_t>(height_));
    _readChunks();
    if (colorType_ == 3 && !palette_) throw KivuException("PNG: Missing palette");
    if (interlaced_) {
        std::vector<uint8_t> rows = _deInterlace();
        if (colorType_ >= 4) {
            _splitAlpha(std::move(rows));
        } else {
            dataBuf_ = std::make_shared<TBuffer>(1024, 8192);
            dataBuf_->compFrom(rows, -1);
        }
    } else if (colorType_ >= 4) {
        // Depth 8 is assumed below 16.
        const uint64_t pixelBytes = (colorType_ == 4 ? 2 : 4) * (bitsPerComponent_ == 16 ? 2 : 1);
        _splitAlpha(_inflate(static_cast<uint64_t>(height_) * (static_cast<uint64_t>(width_) * pixelBytes + 1)));
    }
    if (bitsPerComponent_ == 16) minVersion_ = 1.5f;
}

// The signature and the IHDR chunk up to the colour type.
void TImagePNG::_readHeader(bool standard) {
    const std::string_view signature = read_string(8);
    if (signature.size() != 8 || std::memcmp(signature.data(), kSignature, 8) != 0)
        throw KivuException("Unsupported PNG file format");
    _skip(4);
    if (read_string(4) != "IHDR") throw KivuException("PNG: Incorrect PNG file");
    width_ = static_cast<int32_t>(read<uint32_t>());
    height_ = static_cast<int32_t>(read<uint32_t>());
    const int8_t depth = read<int8_t>();
    const bool sixteen = standard && depth == 16;
    if (depth >= 9 && !sixteen) throw KivuException("PNG: 16-bit depth not supported");
    // PNG knows only 1, 2, 4, 8 and 16; any other depth would give an image
    // that no PDF viewer can draw.  A file cut inside the header (the four
    // bytes that follow the depth aren't all there) reads as zeros instead.
    const bool cut = depth == 0 && left() < 4;
    if (depth != 1 && depth != 2 && depth != 4 && depth != 8 && !sixteen && !cut)
        throwf("PNG: Invalid bit depth %d", depth);
    bitsPerComponent_ = depth;
    colorType_ = read<uint8_t>();
    // The standard rules also refuse a depth that the colour type doesn't
    // allow: 16 bits of palette, colour or alpha samples of less than 8.
    const bool wide = colorType_ == 2 || colorType_ == 4 || colorType_ == 6;
    if (standard && ((colorType_ == 3 && depth == 16) || (wide && depth < 8 && !cut)))
        throwf("PNG: Invalid bit depth %d", depth);
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
            _readKey(read_string(n));
            _skip(4);
        } else if (type == "pHYs") {
            // Pixels per unit along x and y; unit 1 is the metre, 0 gives
            // only the aspect ratio.
            const std::string_view b = read_string(n);
            if (b.size() >= 9 && b[8] == 1) {
                resolutionX_ = be32At(b, 0) * kMetresPerInch;
                resolutionY_ = be32At(b, 4) * kMetresPerInch;
            }
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

// The colour key of tRNS by colour type: the gray value, the three RGB
// values, or index 0 for any other type.  Values stand in 16 bits; below a
// depth of 16 their low bytes are taken.  Missing bytes read as 0.
void TImagePNG::_readKey(std::string_view block) {
    auto value = [&](size_t i) -> uint16_t {
        const uint16_t low = byteAt(block, 2 * i + 1);
        return bitsPerComponent_ == 16 ? static_cast<uint16_t>(byteAt(block, 2 * i) << 8 | low) : low;
    };
    if (colorType_ == 0) transparency_ = {value(0)};
    else if (colorType_ == 2) transparency_ = {value(0), value(1), value(2)};
    else transparency_ = {0};
}

// The header tells how much the samples inflate to; more is a bomb and
// raises.  Room for one byte more lets a whole stream end without the block
// growing, unless deflate (at most 1032 to 1) can't fill that much: a short
// stream's block grows as it inflates.  Data that ends early reads as 0,
// within bounds.
std::vector<uint8_t> TImagePNG::_inflate(uint64_t expected) {
    std::vector<uint8_t> raw;
    const uint64_t given = dataBuf_->size();
    const uint64_t room = std::min(expected + 1, given * 1032 + 64);
    if (expected > 0 && given > 0) {
        try {
            raw = TMemory::_uncomp(dataBuf_->bytes(), room, 15, expected);
        } catch (const KivuException& e) {
            // zlib's code alone would not say which file's data is broken.
            throwf("PNG: the image data can't be inflated (%s)", e.what());
        }
    }
    dataBuf_.reset();
    if (raw.size() < expected) {
        checkZeros("PNG", expected - raw.size(), raw.size());
        raw.resize(expected, 0);
    }
    return raw;
}

// Adam7 stores seven reduced images one after the other, each with rows and
// filters of its own.  Each is inflated and unfiltered, and its pixels go
// to their places in the rows of the whole image, which are filtered again
// (Up) for PDF's predictor.
std::vector<uint8_t> TImagePNG::_deInterlace() {
    const uint64_t w = static_cast<uint64_t>(width_), h = static_cast<uint64_t>(height_);
    const unsigned bits = static_cast<unsigned>(bitsPerComponent_) * samplesOf(colorType_);
    const uint64_t bpp = std::max(1u, bits / 8), rowBytes = (w * bits + 7) / 8;
    uint64_t expected = 0;
    for (const SAdam7Pass& p : kAdam7) {
        const uint64_t pw = passSide(w, p.x0, p.dx), ph = passSide(h, p.y0, p.dy);
        if (pw && ph) expected += ph * ((pw * bits + 7) / 8 + 1);
    }
    std::vector<uint8_t> passes = _inflate(expected);
    std::vector<uint8_t> rows(h * (rowBytes + 1), 0);
    uint8_t* at = passes.data();
    for (const SAdam7Pass& p : kAdam7) {
        const uint64_t pw = passSide(w, p.x0, p.dx), ph = passSide(h, p.y0, p.dy);
        if (!pw || !ph) continue;  // an empty pass has no rows, not even filter bytes
        const uint64_t passRow = (pw * bits + 7) / 8;
        unfilter(at, ph, passRow, bpp);
        for (uint64_t r = 0; r < ph; ++r, at += passRow + 1)
            placeRow(at + 1, rows.data() + (p.y0 + r * p.dy) * (rowBytes + 1) + 1, pw, p.x0, p.dx, bits);
    }
    // Filter Up for the deflate that follows: each byte less the one above it.
    for (uint64_t y = h; y-- > 1;) {
        uint8_t* row = rows.data() + y * (rowBytes + 1);
        const uint8_t* up = row - rowBytes - 1;
        row[0] = 2;
        for (uint64_t i = 1; i <= rowBytes; ++i) row[i] -= up[i];
    }
    return rows;
}

// Sends colour and alpha of each row of the inflated samples to their own
// block with the row's filter byte in front of both, and deflates the two.
// PNG filters work byte against the same byte of the neighbouring pixel, so
// the filter bytes stay valid for both halves.
void TImagePNG::_splitAlpha(std::vector<uint8_t> raw) {
    const uint64_t w = static_cast<uint64_t>(width_), h = static_cast<uint64_t>(height_);
    const uint64_t sample = bitsPerComponent_ == 16 ? 2 : 1;
    const uint64_t colorBytes = (colorType_ == 4 ? 1 : 3) * sample;
    std::vector<uint8_t> alpha(h * (w * sample + 1));
    if (colorType_ == 4)
        (sample == 1 ? splitRows<1, 1> : splitRows<2, 2>)(raw.data(), alpha.data(), w, h);
    else
        (sample == 1 ? splitRows<3, 1> : splitRows<6, 2>)(raw.data(), alpha.data(), w, h);
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
        for (unsigned v : transparency_) values += sformat("%u %u ", v, v);
        obj->set("Mask", "[" + values + "]");
    }
    if (mask_) obj->set("SMask", sformat("%u 0 R", static_cast<unsigned>(n + 1)));
    obj->shareStream(dataBuf_, "FlateDecode");
    return n;
}

void TImagePNG::addObjectMask(TObjects* objects) {
    if (!mask_) return;
    const int depth = bitsPerComponent_ == 16 ? 16 : 8;
    TIndirectObject* obj = addSoftMaskObject(objects, width_, height_, depth);
    obj->set("DecodeParms",
             "<<" + sformat("/Predictor 15 /Colors 1 /BitsPerComponent %d /Columns %d", depth, width_) + ">>");
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
