// TImageBMP: a Windows bitmap with the 40-byte header becomes an Image
// XObject.  The rows are unpacked at load time into the order PDF wants: top
// row first, no row padding, RGB byte order for true-colour pixels.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "kivuimg/img/imgformat.h"

namespace kivu {

class TImageBMP : public TImageFormat {
public:
    using TImageFormat::TImageFormat;

    std::string ext() const override { return "BMP"; }
    // Up to 15 bits a pixel with a colour table.
    bool isIndexed() override { return bitsPerComponent_ <= 15 && palette_ != nullptr; }
    void readSpecs() override;
    uint64_t addObjectSpecs(TObjects* objects, const std::string& name, std::vector<SGradient>* gradients,
                            ColorSpace space, ConvertImages convert) override;
    // The colour table as RGB triples: its number is the main one + 1.
    void addObjectPalette(TObjects* objects) override;
    std::unique_ptr<TImageFormat> getCopy() override;

    // The pixels as PDF wants them.
    TBuffer* data() const { return dataBuf_.get(); }
    // RGB triples; null for 16 bits and above and without a colour table.
    TBuffer* palette() const { return palette_.get(); }
    int compression() const { return compression_; }

protected:
    // The RLE decoders read from the cursor and stop after `limit` bytes of
    // output or at the end of the input.  `zeros` counts the bytes that line
    // and bitmap ends filled in; more of them than the data gives raises.
    std::unique_ptr<TBuffer> _rle8Decode(uint64_t limit, uint64_t& zeros);
    std::unique_ptr<TBuffer> _rle4Decode(uint64_t limit, uint64_t& zeros);

private:
    void _readColorTable(uint32_t offBits);
    void _unpackRows(std::span<const uint8_t> source, uint64_t rowBytes, uint64_t stride, bool topDown);

    std::shared_ptr<TBuffer> dataBuf_;
    std::unique_ptr<TBuffer> palette_;
    uint32_t compression_ = 0;
};

}  // namespace kivu
