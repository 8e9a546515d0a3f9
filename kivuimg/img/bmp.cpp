#include "kivuimg/img/bmp.h"

#include <algorithm>
#include <cstring>

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/indirectobj.h"
#include "kivuimg/commons/objects.h"
#include "kivuimg/img/rastersize.h"

namespace kivu {

namespace {

constexpr uint64_t kHeaderEnd = 54;  // file header (14) + the 40-byte info header

bool supportedBitCount(int bits) {
    return bits == 1 || bits == 4 || bits == 8 || bits == 16 || bits == 24 || bits == 32;
}

}  // namespace

void TImageBMP::readSpecs() {
    set_seek(std::min<uint64_t>(10, size()));
    const uint32_t offBits = readLe<uint32_t>();
    readLe<uint32_t>();  // biSize: the 40-byte header is assumed
    const int32_t biWidth = readLe<int32_t>();
    const int32_t biHeight = readLe<int32_t>();
    readLe<uint16_t>();  // biPlanes
    const uint16_t bitCount = readLe<uint16_t>();
    compression_ = readLe<uint32_t>();
    readLe<uint32_t>();  // biSizeImage
    // Pixels per metre; 0 (or less) states no resolution.
    const int32_t xPerMetre = readLe<int32_t>(), yPerMetre = readLe<int32_t>();
    resolutionX_ = std::max(xPerMetre, 0) * kMetresPerInch;
    resolutionY_ = std::max(yPerMetre, 0) * kMetresPerInch;

    // A negative width reads as a huge one and is refused by the size check.
    const uint64_t w = static_cast<uint32_t>(biWidth);
    const uint64_t h = biHeight < 0 ? -static_cast<int64_t>(biHeight) : biHeight;
    bitsPerComponent_ = bitCount;
    components_ = bitCount <= 8 ? 1 : 3;
    if (bitCount <= 15) _readColorTable(offBits);

    switch (compression_) {
        case 0:
        case 1:
        case 2:
        case 3: break;
        case 4: throw KivuException("JPeg compressed BMP image is not yet supported!");
        case 5: throw KivuException("PNG compressed BMP image is not yet supported!");
        default: throwf("Unsupported biCompression mode: %d", static_cast<int>(compression_));
    }
    checkRasterSize(w, h);
    width_ = static_cast<int32_t>(w);
    height_ = static_cast<int32_t>(h);
    if (!supportedBitCount(bitCount)) throw KivuException("Error parsing BMP image - Unsupported biBitCount");
    if (offBits > size()) throwf("BMP: Pixel data offset %u lies past the end of the file", offBits);

    // Rows of the source are padded to multiples of 4 bytes; the last one
    // needs no padding.
    const uint64_t rowBytes = (w * bitCount + 7) / 8;
    const uint64_t stride = (rowBytes + 3) & ~uint64_t(3);
    const uint64_t needed = h ? stride * (h - 1) + rowBytes : 0;

    set_seek(offBits);
    std::unique_ptr<TBuffer> decoded;
    std::span<const uint8_t> source;
    uint64_t zeros = 0;  // what line and bitmap ends of RLE data filled in
    if (compression_ == 1 || compression_ == 2) {
        decoded = compression_ == 1 ? _rle8Decode(stride * h, zeros) : _rle4Decode(stride * h, zeros);
        source = decoded->pointChunk(0, 0);
    } else {
        source = buffer_->pointChunk(offBits, 0);
    }
    // Rows past the end of the data read as 0, within bounds.
    if (source.size() < needed) checkZeros("BMP", zeros + needed - source.size(), source.size() - zeros);
    _unpackRows(source, rowBytes, stride, biHeight < 0);
}

// The colour table from offset 54 up to the pixels, as RGB triples.
void TImageBMP::_readColorTable(uint32_t offBits) {
    if (offBits <= kHeaderEnd) return;
    const auto table = buffer_->pointChunk(kHeaderEnd, offBits - kHeaderEnd);
    const uint64_t n = table.size() / 4;
    if (n == 0) return;
    palette_ = std::make_unique<TBuffer>(n * 3 + 1, 8192);
    for (uint64_t i = 0; i < n; ++i) {
        const uint8_t* e = table.data() + 4 * i;
        palette_->addByte(e[2]);
        palette_->addByte(e[1]);
        palette_->addByte(e[0]);
    }
}

// The rows into `data` top first, unpadded, true colour as RGB; what lies
// past the end of the source reads as 0.
void TImageBMP::_unpackRows(std::span<const uint8_t> source, uint64_t rowBytes, uint64_t stride, bool topDown) {
    const uint64_t w = static_cast<uint64_t>(width_), h = static_cast<uint64_t>(height_);
    const int bitCount = bitsPerComponent_;
    const bool packed = bitCount <= 8;
    const uint64_t outRow = packed ? rowBytes : 3 * w;
    dataBuf_ = std::make_unique<TBuffer>(outRow * h + 1, 8192);
    std::vector<uint8_t> padded(rowBytes);
    std::vector<uint8_t> converted(packed ? 0 : outRow);
    for (uint64_t y = 0; y < h; ++y) {
        const uint64_t at = (topDown ? y : h - 1 - y) * stride;
        const uint8_t* p;
        if (at < source.size() && source.size() - at >= rowBytes) {
            p = source.data() + at;
        } else {
            std::fill(padded.begin(), padded.end(), 0);
            if (at < source.size()) std::memcpy(padded.data(), source.data() + at, source.size() - at);
            p = padded.data();
        }
        if (packed) {
            dataBuf_->addBytes(std::span<const uint8_t>(p, rowBytes));
            continue;
        }
        uint8_t* o = converted.data();
        if (bitCount == 16) {
            // 5-5-5: each channel moved up by 3, its low bits 0.
            for (uint64_t x = 0; x < w; ++x, p += 2, o += 3) {
                const unsigned lo = p[0], hi = p[1];
                o[0] = static_cast<uint8_t>((hi * 2) & 0xF8);
                o[1] = static_cast<uint8_t>(((hi * 256 + lo) >> 2) & 0xF8);
                o[2] = static_cast<uint8_t>((lo * 8) & 0xFF);
            }
        } else {
            const uint64_t b = bitCount / 8;
            for (uint64_t x = 0; x < w; ++x, p += b, o += 3) {
                o[0] = p[2];
                o[1] = p[1];
                o[2] = p[0];
            }
        }
        dataBuf_->addBytes(converted);
    }
}

std::unique_ptr<TBuffer> TImageBMP::_rle8Decode(uint64_t limit, uint64_t& zeros) {
    auto out = std::make_unique<TBuffer>(1024, 8192);
    const uint64_t line = (static_cast<uint64_t>(width_) + 3) & ~uint64_t(3);
    auto full = [&] { return out->size() >= limit; };
    auto put = [&](uint8_t v, uint64_t n) {
        n = std::min(n, limit - std::min(limit, out->size()));
        for (uint64_t i = 0; i < n; ++i) out->addByte(v);
        return n;
    };
    // Every round takes at least one byte of input.
    while (!eof() && !full()) {
        const uint8_t count = readByte();
        const uint8_t value = readByte();
        if (count > 0) {
            put(value, count);
            continue;
        }
        switch (value) {
            case 0:  // end of line
            case 1:  // end of bitmap
                if (line && out->size() % line) {
                    const uint64_t n = std::min(line - out->size() % line, limit - out->size());
                    checkZeros("BMP", zeros + n, out->size() - zeros);
                    zeros += put(0, n);
                }
                break;
            case 2:  // delta: its offsets don't move the output
                readByte();
                readByte();
                break;
            default:  // absolute run
                for (int i = 0; i < value && !full(); ++i) out->addByte(readByte());
                if (value & 1) readByte();
                break;
        }
    }
    return out;
}

std::unique_ptr<TBuffer> TImageBMP::_rle4Decode(uint64_t limit, uint64_t& zeros) {
    const int64_t w = width_;
    const int64_t half = w / 2 + w % 2;
    const int64_t line = half + 3 - ((w - 1) / 2 % 4);
    const uint64_t maxPixels = 2 * limit;
    std::vector<uint8_t> pixels;
    uint64_t padded = 0;  // pixels that line and bitmap ends filled in
    auto full = [&] { return pixels.size() >= maxPixels; };
    auto put = [&](uint8_t v) {
        if (!full()) pixels.push_back(v);
    };
    while (!eof() && !full()) {
        const uint8_t count = readByte();
        const uint8_t value = readByte();
        if (count > 0) {
            for (int i = 0; i < count; ++i) put(i % 2 ? value & 0x0F : value >> 4);
            continue;
        }
        switch (value) {
            case 0:
            case 1: {
                if (line <= 0 || pixels.size() % line == 0) break;
                const uint64_t n = std::min<uint64_t>(line - pixels.size() % line, maxPixels - pixels.size());
                checkZeros("BMP", (padded + n) / 2, (pixels.size() - padded) / 2);
                pixels.resize(pixels.size() + n, 0);
                padded += n;
                break;
            }
            case 2:
                readByte();
                readByte();
                break;
            default: {
                uint8_t b = 0;
                for (int i = 0; i < value; ++i) {
                    if (i % 2 == 0) {
                        b = readByte();
                        put(b >> 4);
                    } else {
                        put(b & 0x0F);
                    }
                }
                if (((value + 1) / 2) & 1) readByte();
                break;
            }
        }
    }
    if (pixels.size() % 2) pixels.push_back(0);
    zeros = padded / 2;
    auto out = std::make_unique<TBuffer>(pixels.size() / 2 + 1, 8192);
    for (size_t i = 0; i < pixels.size(); i += 2) out->addByte(static_cast<uint8_t>((pixels[i] << 4) | pixels[i + 1]));
    return out;
}

uint64_t TImageBMP::addObjectSpecs(TObjects* objects, const std::string&, std::vector<SGradient>*, ColorSpace,
                                   ConvertImages) {
    TIndirectObject* obj = addImageObject(objects, "Image/BMP", width_, height_);
    const uint64_t n = obj->num();
    if (isIndexed()) {
        obj->set("ColorSpace", indexedColorSpace(*palette_, n + 1));
        obj->set("BitsPerComponent", sformat("%u", static_cast<unsigned>(bitsPerComponent_)));
    } else if (bitsPerComponent_ <= 8) {
        // 1, 4 or 8 bits a pixel and no colour table: the indices go out as gray.
        obj->args({"ColorSpace", "DeviceGray"});
        obj->set("BitsPerComponent", sformat("%u", static_cast<unsigned>(bitsPerComponent_)));
    } else {
        obj->args({"ColorSpace", "DeviceRGB"});
        obj->set("BitsPerComponent", "8");
    }
    obj->shareStream(dataBuf_, "");
    return n;
}

void TImageBMP::addObjectPalette(TObjects* objects) {
    if (!palette_) return;
    TIndirectObject* obj = objects->add(0);
    obj->comment("BMP/Palette");
    obj->setStream(palette_.get(), "");
}

std::unique_ptr<TImageFormat> TImageBMP::getCopy() { return copyAs<TImageBMP>(); }

}  // namespace kivu
