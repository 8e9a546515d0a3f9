// Gradients: SGradientInfo is a gradient as an image file defines it,
// SGradient the record an image hands to the host for output as a PDF
// shading, TGradients a plain list of such records.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include "kivuimg/commons/consts.h"
#include "kivuimg/commons/core/export.h"
#include "kivuimg/commons/graphics/color.h"

namespace kivu {

enum GradientType : int32_t { gtLinear = 0, gtRadial = 1 };

// One stop.
struct KIVU_API SGradColor {
    SColor color;  // with its alpha
    // 0 to 1 as read; unrolling a spread may take it outside that range.
    float offset = 0.0f;

    bool operator==(const SGradColor& other) const = default;
    size_t toHash() const;
};

// A gradient definition as read from the image.
struct KIVU_API SGradientInfo {
    std::string id;
    std::string gradientTransform;
    std::string gradientUnits;
    std::string spreadMethod;
    std::vector<SGradColor> stops;  // in file order
    std::map<std::string, std::string> attributes;  // geometry, as text
    ColorSpace colorSpace = csAuto;  // of the stops
    GradientType type = gtLinear;
    std::string xref;  // text of "href"

    // A copy whose stops are new colours transformed to `space`; this
    // definition's own stops stay as they are.
    SGradientInfo makeCopy(ColorSpace space) const;

    bool operator==(const SGradientInfo& other) const = default;
    size_t toHash() const;
};

// One output record for the host.
struct KIVU_API SGradient {
    std::vector<SGradColor> colors;  // offsets normalised to 0..1
    // Axis start x, y, end x, y, then start and end radius (NaN when axial).
    std::array<float, 6> coords{std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::quiet_NaN(),
                                std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::quiet_NaN(),
                                std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::quiet_NaN()};
    // Where a shading pattern of the record ("gradientPattern" names) maps
    // the coordinates: pattern space to the Form's space, as PDF's Matrix.
    std::array<float, 6> matrix{1, 0, 0, 1, 0, 0};
    ColorSpace colorSpace = csAuto;
    int32_t shadingType = 2;  // PDF ShadingType: 2 axial, 3 radial
    bool active = false;
    std::array<bool, 2> extend{true, true};  // PDF Extend pair
    // Some colour has alpha below 1: the host must supply the soft-mask ExtGState too.
    bool hasAlpha = false;
    uint64_t shadingObject = 0;  // for the host
    uint64_t alphaObject = 0;    // for the host
    uint64_t patternObject = 0;  // for the host
    bool done = false;           // for the host

    bool operator==(const SGradient& other) const = default;
    size_t toHash() const;
};

class KIVU_API TGradients {
public:
    virtual ~TGradients() = default;

    // Appends a copy.
    virtual void add(const SGradient& gradient);
    virtual int32_t count() const;
    virtual bool hasItems() const;
    virtual std::vector<SGradient>& items();

private:
    std::vector<SGradient> items_;
};

}  // namespace kivu
