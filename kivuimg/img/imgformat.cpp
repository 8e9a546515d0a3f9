#include "kivuimg/img/imgformat.h"

#include <atomic>

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/graphics/gradient.h"
#include "kivuimg/commons/indirectobj.h"
#include "kivuimg/commons/objects.h"

namespace kivu {

namespace {
std::atomic<uint64_t> g_maxPixels{1ull << 28};
}

uint64_t maxImagePixels() { return g_maxPixels.load(); }
void maxImagePixels(uint64_t limit) { g_maxPixels.store(limit); }

void checkPixelCount(uint64_t width, uint64_t height) {
    const uint64_t limit = maxImagePixels();
    if (width && height && (width > limit || height > limit / width))
        throwf("Image of %llu x %llu pixels exceeds the limit of %llu pixels", static_cast<unsigned long long>(width),
               static_cast<unsigned long long>(height), static_cast<unsigned long long>(limit));
}

TImageFormat::TImageFormat(std::unique_ptr<TBuffer> buffer) : TReader(buffer.get()), buffer_(std::move(buffer)) {}

TImageFormat::~TImageFormat() = default;

std::vector<SGradient> TImageFormat::getGradiens() { return {}; }

bool TImageFormat::unitMatrix(std::array<double, 6>& m) {
    m = {1, 0, 0, 1, 0, 0};
    return true;
}

std::unique_ptr<TBuffer> TImageFormat::copyBuffer() const {
    return TBuffer::create(buffer_ ? buffer_->pointChunk(0, 0) : std::span<const uint8_t>());
}

void TImageFormat::useResource(const std::string& name, const char* category, ResourceSource source, uint64_t index) {
    if (!resourceSeen_.insert(name).second) return;
    resourceNames_.push_back(SResourceName{name, category, source, index});
}

void TImageFormat::clearResources() {
    resourceNames_.clear();
    resourceHolders_.clear();
    resourceSeen_.clear();
}

TIndirectObject* TImageFormat::addImageObject(TObjects* objects, const std::string& comment, int width, int height) {
    TIndirectObject* obj = objects->add(0);
    obj->comment(comment);
    obj->args({"Subtype", "Image"});
    obj->set("Width", sformat("%d", width));
    obj->set("Height", sformat("%d", height));
    return obj;
}

TIndirectObject* TImageFormat::addSoftMaskObject(TObjects* objects, int width, int height, int bits) {
    TIndirectObject* obj = objects->add(0);
    obj->args({"Type", "XObject"});
    obj->args({"Subtype", "Image"});
    obj->set("Width", sformat("%d", width));
    obj->set("Height", sformat("%d", height));
    obj->args({"ColorSpace", "DeviceGray"});
    obj->set("BitsPerComponent", sformat("%d", bits));
    return obj;
}

std::string TImageFormat::indexedColorSpace(const TMemory& palette, uint64_t paletteNum) {
    const uint64_t entries = palette.size() / 3;
    return sformat("[/Indexed /DeviceRGB %u %u 0 R]", static_cast<unsigned>(entries - 1),
                   static_cast<unsigned>(paletteNum));
}

}  // namespace kivu
