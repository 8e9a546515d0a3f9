// TImageJPG: a JPEG file passes into PDF as it stands (DCTDecode); only its
// header is read, for size, components and colour space.
#pragma once

#include "kivuimg/commons/core/export.h"
#include "kivuimg/img/imgformat.h"

namespace kivu {

class KIVU_API TImageJPG : public TImageFormat {
public:
    using TImageFormat::TImageFormat;

    std::string ext() const override { return "JPG"; }
    ColorSpace colorSpace() override;
    // Reads the header through libjpeg; a broken header raises.
    void readSpecs() override;
    uint64_t addObjectSpecs(TObjects* objects, const std::string& name, std::vector<SGradient>* gradients,
                            ColorSpace space, ConvertImages convert) override;
    std::unique_ptr<TImageFormat> getCopy() override;

private:
    void _readResolution(int unit, unsigned x, unsigned y);
};

}  // namespace kivu
