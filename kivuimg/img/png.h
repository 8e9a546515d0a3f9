// TImagePNG: a PNG file becomes an Image XObject without decoding its
// pixels.  The IDAT bytes go into the stream as they stand and PDF's PNG
// predictor undoes the row filters.  Only an alpha channel is inflated,
// split off into a soft mask and deflated again, filter bytes included.
#pragma once

#include <memory>
#include <string>
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
    const std::vector<uint8_t>& transparency() const { return transparency_; }

private:
    void _skip(uint64_t n);
    void _readHeader();
    void _setDecodeParms();
    void _readChunks();
    void _splitAlpha();

    int32_t colorType_ = 0;
    std::string parms_;
    std::string colorSpaceName_;
    std::shared_ptr<TBuffer> dataBuf_;
    std::shared_ptr<TBuffer> mask_;
    std::unique_ptr<TBuffer> palette_;
    std::vector<uint8_t> transparency_;
};

}  // namespace kivu
