// TImageFormat: the abstract image.  An image is a cursor over the TBuffer
// that holds its file, and owns that buffer.  The host and the registry deal
// with images only through this contract.
#pragma once

#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

#include "kivuimg/commons/consts.h"
#include "kivuimg/commons/core/buffer.h"
#include "kivuimg/commons/core/export.h"
#include "kivuimg/commons/core/reader.h"
#include "kivuimg/commons/linksrcid.h"
#include "kivuimg/img/rawfont.h"

namespace kivu {

class TObjects;
class TIndirectObject;
struct SGradient;

// What a name in a drawing's content stands for.  A drawing records every
// name it writes while addObjectSpecs runs (SResourceName), so that a host
// fills the Resources of its forms without reading their content.
enum class ResourceSource : int32_t {
    sharedState = 0,  // the index-th shared graphics state of the store (customList(extGState), from 1)
    gradientShading,  // the shading of the index-th gradient record (from 1)
    gradientMask,     // the soft-mask graphics state of the index-th gradient record
    gradientPattern,  // a shading pattern of the index-th gradient record, at the record's matrix
    font,             // the font the host answered with fontId index (0: the host's default font)
    object,           // the object numbered index in the store (a picture, a form, a pattern)
};

struct KIVU_API SResourceName {
    std::string name;      // as the content writes it, without the slash: "GS3", "Sh1", "F2", "I14"
    std::string category;  // its entry in Resources: "ExtGState", "Shading", "Pattern", "Font", "XObject"
    ResourceSource source = ResourceSource::object;
    uint64_t index = 0;
    bool operator==(const SResourceName&) const = default;
};

// Dots per metre or per centimetre times these give dots per inch.
inline constexpr double kMetresPerInch = 0.0254;
inline constexpr double kCentimetresPerInch = 2.54;

// Images whose pixel count exceeds this limit are refused by every format.
KIVU_API uint64_t maxImagePixels();
KIVU_API void maxImagePixels(uint64_t limit);
// Raises "Image of %u x %u pixels exceeds the limit of %llu pixels" when
// width x height is above the limit.
void checkPixelCount(uint64_t width, uint64_t height);

class KIVU_API TImageFormat : public TReader {
public:
    explicit TImageFormat(std::unique_ptr<TBuffer> buffer);
    ~TImageFormat() override;

    virtual std::string src() const { return src_; }
    virtual void src(const std::string& s) { src_ = s; }
    // Why this image is the fallback picture in place of the one asked for
    // ("no such file", "is a directory", "empty", "SVG: not well-formed at
    // line 3 (...)"); empty for an image that was read.
    const std::string& failure() const { return failure_; }
    void failure(const std::string& reason) { failure_ = reason; }
    virtual std::string ext() const = 0;
    virtual bool has2Pass() { return false; }
    virtual std::vector<SRawFont> getRawFonts() { return {}; }
    virtual void setFont(const SRawFont&) {}
    virtual void addSubImageSource(const std::string&) {}
    virtual void swapSubImage(const std::string&, const std::string&) {}
    virtual std::vector<std::string> getSubImageSources() { return {}; }
    virtual void setSubImageIds(const std::vector<SLinkSrcId>&) {}
    virtual bool hasMask() { return false; }
    virtual ColorSpace colorSpace() { return csAuto; }
    virtual void readSpecs() = 0;
    virtual std::vector<SGradient> getGradiens();
    // Adds the main object to `objects` and answers its number.  Throws to the host.
    virtual uint64_t addObjectSpecs(TObjects* objects, const std::string& name, std::vector<SGradient>* gradients,
                                    ColorSpace space, ConvertImages convert) = 0;
    virtual void addObjectMask(TObjects*) {}
    virtual void addObjectPalette(TObjects*) {}
    virtual bool isIndexed() { return false; }
    virtual int width() { return width_; }
    virtual int height() { return height_; }
    // The size in pixels where it need not be whole (drawings).
    virtual double exactWidth() { return width(); }
    virtual double exactHeight() { return height(); }
    virtual int origWidth() { return width(); }
    virtual int origHeight() { return height(); }
    virtual int positionX() { return 0; }
    virtual int positionY() { return 0; }
    virtual bool isFormObject() { return false; }
    // The matrix (a b c d e f) that draws the image's content into the unit
    // square, upright, as PDF draws an image: the identity for an image; for
    // a form, the map of its drawing's box onto that square.  False when a
    // form covers no area.
    virtual bool unitMatrix(std::array<double, 6>& m);
    // A new image over a copy of the bytes, specs read; null by default.
    virtual std::unique_ptr<TImageFormat> getCopy() { return nullptr; }
    virtual float minPDFVer() { return minVersion_; }
    // The resolution the file states, in dots per inch; 0 when it states
    // none (or only an aspect ratio).
    virtual double resolutionX() { return resolutionX_; }
    virtual double resolutionY() { return resolutionY_; }
    // The frames of an animation: 1 for a still image.
    virtual int frameCount() { return 1; }
    // A new image that emits frame `index` as a browser shows it at that
    // moment; null for formats without frames and for an index out of range.
    // Raises when the frame's data can't be read.
    virtual std::unique_ptr<TImageFormat> frame(int index) { return nullptr; }

    // The names the content of the last addObjectSpecs uses, each once, in
    // the order of first use.  Empty for raster images.
    const std::vector<SResourceName>& resourceNames() const { return resourceNames_; }
    // The objects of the last addObjectSpecs whose content uses those names:
    // the main Form, then any form, mask group or pattern the drawing made.
    // Each takes the same Resources.
    const std::vector<uint64_t>& resourceHolders() const { return resourceHolders_; }

    int bitsPerComponent() const { return bitsPerComponent_; }
    int components() const { return components_; }
    TBuffer* buffer() const { return buffer_.get(); }

protected:
    std::unique_ptr<TBuffer> copyBuffer() const;
    // Records a name the content uses; a name already recorded is kept once.
    void useResource(const std::string& name, const char* category, ResourceSource source, uint64_t index);
    void addResourceHolder(uint64_t number) { resourceHolders_.push_back(number); }
    // Forgets the names and holders of an earlier emission.
    void clearResources();
    // The main object of a raster image: the next number, its comment, and
    // Subtype, Width and Height.
    static TIndirectObject* addImageObject(TObjects* objects, const std::string& comment, int width, int height);
    // A soft mask's object: the next number, Type, Subtype, Width, Height,
    // ColorSpace DeviceGray and BitsPerComponent.
    static TIndirectObject* addSoftMaskObject(TObjects* objects, int width, int height, int bits);
    // "[/Indexed /DeviceRGB hival N 0 R]" for an RGB palette in object N.
    static std::string indexedColorSpace(const TMemory& palette, uint64_t paletteNum);
    // getCopy of the formats that copy their bytes: a new Image over a copy
    // of the buffer, specs read.
    template <typename Image>
    std::unique_ptr<TImageFormat> copyAs() const {
        auto copy = std::make_unique<Image>(copyBuffer());
        copy->readSpecs();
        return copy;
    }

    // Shared with the objects that take the file as their stream (JPEG).
    std::shared_ptr<TBuffer> buffer_;
    std::string src_;
    int32_t width_ = 0;
    int32_t height_ = 0;
    int32_t bitsPerComponent_ = 0;
    int32_t components_ = 0;
    float minVersion_ = std::numeric_limits<float>::quiet_NaN();
    double resolutionX_ = 0;
    double resolutionY_ = 0;

private:
    std::string failure_;
    std::vector<SResourceName> resourceNames_;
    std::vector<uint64_t> resourceHolders_;
    std::unordered_set<std::string> resourceSeen_;
};

}  // namespace kivu
