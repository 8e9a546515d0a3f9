#include "kivuimg/img/jpg.h"

#include <csetjmp>
#include <cstdio>

extern "C" {
#include <jpeglib.h>
}

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/indirectobj.h"
#include "kivuimg/commons/objects.h"

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

// A hostile progressive file can hold thousands of tiny scans; stop early.
constexpr int kMaxScans = 1000;

void onProgress(j_common_ptr cinfo) {
    if (cinfo->is_decompressor) {
        auto* d = reinterpret_cast<j_decompress_ptr>(cinfo);
        if (d->input_scan_number > kMaxScans) {
            auto* err = reinterpret_cast<ErrorManager*>(cinfo->err);
            std::snprintf(err->message, sizeof err->message, "JPEG has more than %d scans", kMaxScans);
            std::longjmp(err->jump, 1);
        }
    }
}

// Bound on libjpeg's own working memory (coefficient buffers of progressive files).
constexpr long kMaxDecoderMemory = 1024L << 20;

}  // namespace

ColorSpace TImageJPG::colorSpace() {
    if (components_ == 1) return csGray;
    if (components_ == 4) return csCMYK;
    return csRGB;
}

void TImageJPG::readSpecs() {
    jpeg_decompress_struct cinfo{};
    ErrorManager err{};
    jpeg_progress_mgr progress{};
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
    progress.progress_monitor = onProgress;
    cinfo.progress = &progress;
    const uint64_t n = buffer_ ? buffer_->size() : 0;
    jpeg_mem_src(&cinfo, buffer_ ? buffer_->ptr() : nullptr, static_cast<unsigned long>(n));
    jpeg_read_header(&cinfo, TRUE);
    const uint64_t w = cinfo.image_width, h = cinfo.image_height;
    const int colorSpace = cinfo.jpeg_color_space;
    bool tooLarge = false;
    const uint64_t limit = maxImagePixels();
    if (w && h && (w > limit || h > limit / w)) tooLarge = true;
    if (!tooLarge) jpeg_start_decompress(&cinfo);
    width_ = static_cast<int32_t>(tooLarge ? w : cinfo.output_width);
    height_ = static_cast<int32_t>(tooLarge ? h : cinfo.output_height);
    components_ = cinfo.output_components;
    bitsPerComponent_ = (colorSpace >= 1 && colorSpace <= 16) ? 8 : 0;
    jpeg_destroy_decompress(&cinfo);
    created = false;
    if (tooLarge) checkPixelCount(w, h);
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
    obj->setStream(buffer_.get(), "DCTDecode");
    return obj->num();
}

std::unique_ptr<TImageFormat> TImageJPG::getCopy() { return copyAs<TImageJPG>(); }

}  // namespace kivu
