#include "kivuimg/img/jpg.h"

#include <csetjmp>
#include <cstdio>

extern "C" {
#include <jpeglib.h>
}

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/indirectobj.h"
#include "kivuimg/commons/objects.h"
#include "kivuimg/img/exif.h"

namespace kivu {

namespace {

// libjpeg's standard error manager ends the process on a bad file.  This one
// jumps back to readSpecs, which raises the message as an exception.
struct ErrorManager {
    jpeg_error_mgr pub;
    jmp_buf jump;
    char message[JMSG_LENGTH_MAX];
};

void onError(j_common_ptr cinfo) {
    auto* err = reinterpret_cast<ErrorManager*>(cinfo->err);
    (*cinfo->err->format_message)(cinfo, err->message);
    std::longjmp(err->jump, 1);
}

void onMessage(j_common_ptr, int) {}  // warnings are not fatal and not printed

// Bound on libjpeg's own working memory.  Reading the header needs little:
// no scan is read, so no coefficient buffer is ever made.
constexpr long kMaxDecoderMemory = 64L << 20;

}  // namespace

ColorSpace TImageJPG::colorSpace() {
    if (components_ == 1) return csGray;
    if (components_ == 4) return csCMYK;
    return csRGB;
}

void TImageJPG::readSpecs() {
    jpeg_decompress_struct cinfo{};
    ErrorManager err{};
    cinfo.err = jpeg_std_error(&err.pub);
    err.pub.error_exit = onError;
    err.pub.emit_message = onMessage;
    volatile bool created = false;
    // Nothing with a destructor lives between here and the jumps back.
    if (setjmp(err.jump)) {
        if (created) jpeg_destroy_decompress(&cinfo);
        throw KivuException(std::string("JPEG: ") + err.message);
    }
    jpeg_CreateDecompress(&cinfo, JPEG_LIB_VERSION, sizeof(cinfo));
    created = true;
    cinfo.mem->max_memory_to_use = kMaxDecoderMemory;
    const uint64_t n = buffer_ ? buffer_->size() : 0;
    jpeg_mem_src(&cinfo, buffer_ ? buffer_->ptr() : nullptr, static_cast<unsigned long>(n));
    jpeg_read_header(&cinfo, TRUE);
    // The output sizes and components as decompression would give them, found
    // without starting it: a progressive file would otherwise have libjpeg
    // read every scan into coefficient buffers of the whole image.
    jpeg_calc_output_dimensions(&cinfo);
    const uint64_t w = cinfo.output_width, h = cinfo.output_height;
    width_ = static_cast<int32_t>(w);
    height_ = static_cast<int32_t>(h);
    components_ = cinfo.output_components;
    const int colorSpace = cinfo.jpeg_color_space;
    bitsPerComponent_ = (colorSpace >= 1 && colorSpace <= 16) ? 8 : 0;
    _readResolution(cinfo.saw_JFIF_marker ? cinfo.density_unit : 0, cinfo.X_density, cinfo.Y_density);
    jpeg_destroy_decompress(&cinfo);
    created = false;
    checkPixelCount(w, h);
}

// The JFIF density when it states one (unit 1 dots per inch, 2 per
// centimetre; 0 gives only the aspect ratio), else the EXIF resolution.
void TImageJPG::_readResolution(int unit, unsigned x, unsigned y) {
    const double perInch = unit == 1 ? 1 : unit == 2 ? kCentimetresPerInch : 0;
    if (perInch > 0 && (x || y)) {
        resolutionX_ = x * perInch;
        resolutionY_ = y * perInch;
        return;
    }
    const SResolution exif = exifResolution(buffer_ ? buffer_->bytes() : std::span<const uint8_t>());
    resolutionX_ = exif.x;
    resolutionY_ = exif.y;
}

uint64_t TImageJPG::addObjectSpecs(TObjects* objects, const std::string&, std::vector<SGradient>*, ColorSpace,
                                   ConvertImages) {
    TIndirectObject* obj = objects->add(0);
    obj->comment("Image/JPEG");
    obj->args({"Type", "XObject"});
    obj->args({"Subtype", "Image"});
    obj->set("Width", sformat("%d", width_));
    obj->set("Height", sformat("%d", height_));
    switch (colorSpace()) {
        case csCMYK:
            obj->args({"ColorSpace", "DeviceCMYK"});
            obj->set("Decode", "[1 0 1 0 1 0 1 0]");
            break;
        case csGray: obj->args({"ColorSpace", "DeviceGray"}); break;
        default: obj->args({"ColorSpace", "DeviceRGB"}); break;
    }
    obj->set("BitsPerComponent", sformat("%d", bitsPerComponent_));
    obj->shareStream(buffer_, "DCTDecode");
    return obj->num();
}

std::unique_ptr<TImageFormat> TImageJPG::getCopy() { return copyAs<TImageJPG>(); }

}  // namespace kivu
