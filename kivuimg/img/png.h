// TImagePNG: a PNG file becomes an Image XObject without decoding its
// pixels.  The IDAT bytes go into the stream as they stand and PDF's PNG
// predictor undoes the row filters.  Only an alpha channel is inflated,
// split off into a soft mask and deflated again, filter bytes included.
// Under the standard rules 16-bit samples are kept at 16 bits and an
// Adam7-interlaced image is inflated, unfiltered and put in row order; the
// engine's rules refuse both.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "kivuimg/img/imgformat.h"

namespace kivu {

class TImagePNG : public TImageFormat {
public:
    using TImageFormat::TImageFormat;

    std::string ext() const override { return "PNG"; }
    // By colour type: 0 and 4 gray, 2 and 6 RGB, 3 spot (indexed).
    // Raises "PNG: Unknown color type" for any other.
    ColorSpace colorSpace() override;
    bool hasMask() override { return mask_ != nullptr; }
    bool isIndexed() override { return colorType_ == 3 && palette_ != nullptr; }
    void readSpecs() override;
    uint64_t addObjectSpecs(TObjects* objects, const std::string& name, std::vector<SGradient>* gradients,
                            ColorSpace space, ConvertImages convert) override;
    // The soft mask of an image with alpha: its number is the main one + 1.
    void addObjectMask(TObjects* objects) override;
    // The PLTE triples of an indexed image: its number is the main one + 1.
    void addObjectPalette(TObjects* objects) override;
    std::unique_ptr<TImageFormat> getCopy() override;

    int colorType() const { return colorType_; }
    const std::string& parms() const { return parms_; }
    const std::string& colorSpaceName() const { return colorSpaceName_; }
    // The IDAT bytes; after an alpha split, the deflated colour samples.
    TBuffer* data() const { return dataBuf_.get(); }
    TBuffer* mask() const { return mask_.get(); }
    TBuffer* palette() const { return palette_.get(); }
    // The colour key: one value for gray, three for RGB, 0 for an indexed
    // image.  Below 16 bits, the low byte of each 16-bit value.
    const std::vector<uint16_t>& transparency() const { return transparency_; }
    bool interlaced() const { return interlaced_; }

private:
    void _skip(uint64_t n);
    void _readHeader(bool standard);
    void _setDecodeParms();
    void _readChunks();
    void _readKey(std::string_view block);
    // The samples inflated to exactly `expected` bytes; the compressed ones are freed.
    std::vector<uint8_t> _inflate(uint64_t expected);
    // The interlaced samples as the filtered rows of the whole image.
    std::vector<uint8_t> _deInterlace();
    void _splitAlpha(std::vector<uint8_t> raw);

    int32_t colorType_ = 0;
    std::string parms_;
    std::string colorSpaceName_;
    std::shared_ptr<TBuffer> dataBuf_;
    std::shared_ptr<TBuffer> mask_;
    std::unique_ptr<TBuffer> palette_;
    std::vector<uint16_t> transparency_;
    bool interlaced_ = false;
};

}  // namespace kivu
