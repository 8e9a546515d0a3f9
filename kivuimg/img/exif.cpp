#include "kivuimg/img/exif.h"

#include <cstring>

#include "kivuimg/img/imgformat.h"

namespace kivu {

namespace {

// A TIFF structure of either byte order; a read past its end answers 0.
class Tiff {
public:
    explicit Tiff(std::span<const uint8_t> data) : data_(data), little_(data.size() >= 2 && data[0] == 'I') {}

    bool valid() const {
        return data_.size() >= 8 && ((data_[0] == 'I' && data_[1] == 'I') || (data_[0] == 'M' && data_[1] == 'M')) &&
               u16(2) == 42;
    }
    uint32_t u16(uint64_t at) const {
        if (at > data_.size() || data_.size() - at < 2) return 0;
        return little_ ? data_[at] | data_[at + 1] << 8 : data_[at] << 8 | data_[at + 1];
    }
    uint32_t u32(uint64_t at) const {
        if (at > data_.size() || data_.size() - at < 4) return 0;
        return little_ ? u16(at) | u16(at + 2) << 16 : u16(at) << 16 | u16(at + 2);
    }
    // The offset of the entry of `tag` in the first image directory, or 0.
    // The walk ends at the directory's count or at the end of the data.
    uint64_t entry(uint32_t tag) const {
        const uint64_t ifd = u32(4);
        const uint32_t entries = u16(ifd);
        for (uint64_t i = 0, at = ifd + 2; i < entries && at + 12 <= data_.size(); ++i, at += 12)
            if (u16(at) == tag) return at;
        return 0;
    }
    // The RATIONAL value of `tag` (type 5, numerator and denominator at the
    // offset its entry holds); 0 when absent, of another type or not positive.
    double rational(uint32_t tag) const {
        const uint64_t at = entry(tag);
        if (!at || u16(at + 2) != 5) return 0;
        const uint64_t value = u32(at + 8);
        const uint32_t num = u32(value), den = u32(value + 4);
        return den ? static_cast<double>(num) / den : 0;
    }

private:
    std::span<const uint8_t> data_;
    bool little_;
};

// The TIFF data of the first APP1 segment that holds EXIF, or nothing.
std::span<const uint8_t> exifData(std::span<const uint8_t> jpeg) {
    if (jpeg.size() < 4 || jpeg[0] != 0xFF || jpeg[1] != 0xD8) return {};
    uint64_t at = 2;
    // Segments up to the first scan: marker, big-endian length (counting itself), body.
    while (at + 4 <= jpeg.size() && jpeg[at] == 0xFF) {
        const uint8_t marker = jpeg[at + 1];
        if (marker == 0xDA || marker == 0xD9) break;
        const uint64_t length = static_cast<uint64_t>(jpeg[at + 2]) << 8 | jpeg[at + 3];
        if (length < 2 || at + 2 + length > jpeg.size()) break;
        const std::span<const uint8_t> body = jpeg.subspan(at + 4, length - 2);
        if (marker == 0xE1 && body.size() > 6 && std::memcmp(body.data(), "Exif\0\0", 6) == 0) return body.subspan(6);
        at += 2 + length;
    }
    return {};
}

}  // namespace

int exifOrientation(std::span<const uint8_t> jpeg) {
    const Tiff tiff(exifData(jpeg));
    if (!tiff.valid()) return 1;
    const uint64_t at = tiff.entry(0x0112);
    const uint32_t v = at ? tiff.u16(at + 8) : 1;  // a SHORT stands in the value field's first two bytes
    return v >= 1 && v <= 8 ? static_cast<int>(v) : 1;
}

SResolution exifResolution(std::span<const uint8_t> jpeg) {
    const Tiff tiff(exifData(jpeg));
    if (!tiff.valid()) return {};
    const uint64_t unitAt = tiff.entry(0x0128);
    const uint32_t unit = unitAt ? tiff.u16(unitAt + 8) : 2;
    const double perInch = unit == 2 ? 1 : unit == 3 ? kCentimetresPerInch : 0;
    return {tiff.rational(0x011A) * perInch, tiff.rational(0x011B) * perInch};
}

}  // namespace kivu
