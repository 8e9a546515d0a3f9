#include "exif.h"

#include <cstring>

namespace kivutool {

namespace {

// A TIFF structure of either byte order; every read is checked against its end.
class Tiff {
public:
    explicit Tiff(std::span<const uint8_t> data) : data_(data), little_(data.size() >= 2 && data[0] == 'I') {}

    bool valid() const {
        return data_.size() >= 8 && ((data_[0] == 'I' && data_[1] == 'I') || (data_[0] == 'M' && data_[1] == 'M')) &&
               u16(2) == 42;
    }
    uint32_t u16(size_t at) const {
        if (at + 2 > data_.size()) return 0;
        return little_ ? data_[at] | data_[at + 1] << 8 : data_[at] << 8 | data_[at + 1];
    }
    uint32_t u32(size_t at) const {
        if (at + 4 > data_.size()) return 0;
        return little_ ? u16(at) | u16(at + 2) << 16 : u16(at) << 16 | u16(at + 2);
    }

private:
    std::span<const uint8_t> data_;
    bool little_;
};

// The orientation in the first image directory of the TIFF data, or 1.
int orientationIn(std::span<const uint8_t> tiffData) {
    const Tiff tiff(tiffData);
    if (!tiff.valid()) return 1;
    const size_t ifd = tiff.u32(4);
    const uint32_t entries = tiff.u16(ifd);
    for (uint32_t i = 0; i < entries && ifd + 2 + 12 * (i + 1) <= tiffData.size(); ++i) {
        const size_t at = ifd + 2 + 12 * i;
        if (tiff.u16(at) != 0x0112) continue;
        const uint32_t v = tiff.u16(at + 8);  // a SHORT stands in the value field's first two bytes
        return v >= 1 && v <= 8 ? static_cast<int>(v) : 1;
    }
    return 1;
}

}  // namespace

int exifOrientation(std::span<const uint8_t> jpeg) {
    if (jpeg.size() < 4 || jpeg[0] != 0xFF || jpeg[1] != 0xD8) return 1;
    size_t at = 2;
    // Segments up to the first scan: marker, big-endian length (counting itself), body.
    while (at + 4 <= jpeg.size() && jpeg[at] == 0xFF) {
        const uint8_t marker = jpeg[at + 1];
        if (marker == 0xDA || marker == 0xD9) break;
        const size_t length = static_cast<size_t>(jpeg[at + 2]) << 8 | jpeg[at + 3];
        if (length < 2 || at + 2 + length > jpeg.size()) break;
        const std::span<const uint8_t> body = jpeg.subspan(at + 4, length - 2);
        if (marker == 0xE1 && body.size() > 6 && std::memcmp(body.data(), "Exif\0\0", 6) == 0)
            return orientationIn(body.subspan(6));
        at += 2 + length;
    }
    return 1;
}

}  // namespace kivutool
