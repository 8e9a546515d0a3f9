#include "kivuimg/img/gif.h"

#include <algorithm>
#include <cstring>

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/indirectobj.h"
#include "kivuimg/commons/objects.h"
#include "kivuimg/img/rastersize.h"

namespace kivu {

namespace {

// A colour table of `entries` entries into 0x00BBGGRR values, first file
// byte lowest.  An end of input inside the table stops it: false.
bool readColorTable(TReader& r, int entries, std::vector<uint32_t>& colors) {
    colors.clear();
    colors.reserve(static_cast<size_t>(entries));
    for (int i = 0; i < entries; ++i) {
        if (r.left() < 3) return false;
        const uint32_t red = r.readByte(), green = r.readByte(), blue = r.readByte();
        colors.push_back(red | (green << 8) | (blue << 16));
    }
    return true;
}

std::unique_ptr<TBuffer> paletteOf(const std::vector<uint32_t>& colors) {
    auto palette = std::make_unique<TBuffer>(colors.size() * 3 + 1, 8192);
    for (uint32_t c : colors) {
        palette->addByte(static_cast<uint8_t>(c));
        palette->addByte(static_cast<uint8_t>(c >> 8));
        palette->addByte(static_cast<uint8_t>(c >> 16));
    }
    return palette;
}

// Codes wider than this can't address the 4096 entries of the table.
constexpr int kMaxMinCodeSize = 11;
constexpr int64_t kBlockBits = TLZWGif::kBlockSize * 8;

}  // namespace

// ---------------------------------------------------------------- TLZWGif

TLZWGif::TLZWGif(std::unique_ptr<TBuffer> buffer) : TReader(buffer.get()), buffer_(std::move(buffer)) {
    minCodeSize_ = readByte();
    // A minimum code size above 11 gives no usable table; _lzwCommand
    // refuses such a stream before it reads a code.
    const int bits = std::min(minCodeSize_, kMaxMinCodeSize);
    codeSize_ = bits + 1;
    clearCode_ = 1 << bits;
    endCode_ = clearCode_ + 1;
    nextCode_ = clearCode_ + 2;
    limit_ = 2 * clearCode_;
    for (int i = 0; i < clearCode_; ++i) suffix_[i] = static_cast<uint16_t>(i);
}

void TLZWGif::_resetTable() {
    prefix_.fill(0);
    suffix_.fill(0);
    for (int i = 0; i < clearCode_; ++i) suffix_[i] = static_cast<uint16_t>(i);
    codeSize_ = minCodeSize_ + 1;
    limit_ = 2 * clearCode_;
    nextCode_ = clearCode_ + 2;
    stackTop_ = 0;
}

int TLZWGif::_getCode() {
    // Refill until the code fits: a code may straddle several short
    // sub-blocks (a one-byte block holds less than a 9- to 12-bit code).
    bool refilled = false;
    while (!(curBit_ + codeSize_ < lastBit_)) {
        if (done_) {
            if (!refilled) return -1;
            break;  // the last bits of the stream: assemble what is there
        }
        // The bytes that still hold unread bits carry over to the front.
        int64_t keepFrom = curBit_ >> 3;
        const int64_t end = lastBit_ >> 3;
        if (keepFrom < 0) keepFrom = 0;
        if (keepFrom > end) keepFrom = end;
        const int keep = static_cast<int>(end - keepFrom);
        std::memmove(block_.data(), block_.data() + keepFrom, static_cast<size_t>(keep));
        curBit_ -= keepFrom * 8;
        bool eof = false;
        const uint8_t count = readByte(eof);
        if (eof || count == 0) {
            done_ = true;
            lastByte_ = keep;
        } else {
            for (int i = 0; i < count; ++i) block_[keep + i] = readByte();
            lastByte_ = keep + count;
        }
        lastBit_ = static_cast<int64_t>(lastByte_) * 8;
        refilled = true;
    }
    // Short sub-blocks let the position creep forward; bits beyond the block
    // read as 0.
    int code = 0;
    const int64_t at = curBit_ >> 3;
    if (curBit_ >= 0 && at + 2 < TLZWGif::kBlockSize) {
        const uint32_t window = block_[at] | (block_[at + 1] << 8) | (static_cast<uint32_t>(block_[at + 2]) << 16);
        code = static_cast<int>((window >> (curBit_ & 7)) & ((1u << codeSize_) - 1));
    } else {
        for (int j = 0; j < codeSize_; ++j) {
            const int64_t bit = curBit_ + j;
            if (bit >= 0 && bit < kBlockBits && (block_[bit >> 3] >> (bit & 7)) & 1) code |= 1 << j;
        }
    }
    curBit_ += codeSize_;
    return code;
}

int TLZWGif::_lzwCommand() {
    if (minCodeSize_ > kMaxMinCodeSize) return -1;
    if (fresh_) {
        fresh_ = false;
        int code;
        do code = _getCode();
        while (code == clearCode_);
        firstCode_ = oldCode_ = code;
        return code;
    }
    if (stackTop_ > 0) return stack_[--stackTop_];

    int code = _getCode();
    if (code < 0) return code;
    if (code == clearCode_) {
        _resetTable();
        firstCode_ = oldCode_ = _getCode();
        return firstCode_;
    }
    if (code == endCode_) return -2;

    const int inCode = code;
    if (code >= nextCode_) {
        _push(firstCode_);
        code = oldCode_;
    }
    while (code >= clearCode_) {
        // A chain longer than the stack can only be a loop in the table.
        if (!_push(suffix_[code])) return -1;
        if (prefix_[code] == code) return -1;
        code = prefix_[code];
    }
    firstCode_ = suffix_[code];
    if (!_push(firstCode_)) return -1;
    if (nextCode_ < kTableSize) {
        prefix_[nextCode_] = static_cast<uint16_t>(oldCode_);
        suffix_[nextCode_] = static_cast<uint16_t>(firstCode_);
        ++nextCode_;
        if (nextCode_ >= limit_ && limit_ < kTableSize) {
            limit_ *= 2;
            ++codeSize_;
        }
    }
    oldCode_ = inCode;
    return stack_[--stackTop_];
}

std::unique_ptr<TBuffer> TLZWGif::decode(uint64_t limit) {
    // A frame's pixels fill its whole block (a short stream is padded with
    // zeros): it is taken at once, not grown step by step.
    auto out = std::make_unique<TBuffer>(8192, 8192);
    out->reserve(limit ? limit : 2 * size());
    for (;;) {
        if (limit && out->size() >= limit) return out;
        const int r = _lzwCommand();
        if (r < 0) {
            if (r == -2) return out;
            throw KivuException("This suck!");
        }
        out->addByte(static_cast<uint8_t>(r));
        // The rest of the string waits on the stack, last byte first.
        while (stackTop_ > 0 && (!limit || out->size() < limit)) out->addByte(static_cast<uint8_t>(stack_[--stackTop_]));
    }
}

// ---------------------------------------------------------------- TGIF

std::unique_ptr<TGIF> TGIF::next() const {
    auto frame = std::make_unique<TGIF>(owner_);
    frame->set_seek(tell());
    return frame;
}

TBuffer* TGIF::palette() {
    if (!palette_) palette_ = paletteOf(colors_);
    return palette_.get();
}

void TGIF::_skipExt() {
    const uint8_t label = readByte();
    if (label == 0xFE) {
        const uint8_t n = readByte();
        comment_ = std::string(read_string(n));
    } else if (label == 0xF9) {
        readByte();  // block size
        const uint8_t flags = readByte();
        disposal_ = (flags >> 2) & 7;
        userInput_ = flags & 2;
        transparent_ = flags & 1;
        delay_ = readLe<uint16_t>();
        transIndex_ = readByte();
    }
    for (;;) {
        bool end = false;
        const uint8_t n = readByte(end);
        if (end || n == 0) return;
        read_string(n);
    }
}

bool TGIF::_readHead() {
    for (;;) {
        bool end = false;
        const uint8_t b = readByte(end);
        if (end) return false;
        if (b == 0x21) {
            _skipExt();
            continue;
        }
        if (b == 0x2C) break;
        return false;
    }
    left_ = readLe<uint16_t>();
    top_ = readLe<uint16_t>();
    width_ = readLe<uint16_t>();
    height_ = readLe<uint16_t>();
    if (eof() || width_ == 0 || height_ == 0) return false;
    const uint8_t packed = readByte();
    localColor_ = packed & 0x80;
    interlaced_ = packed & 0x40;
    sorted_ = packed & 0x20;
    tableSize_ = 2 << (packed & 7);
    return !localColor_ || readColorTable(*this, tableSize_, colors_);
}

bool TGIF::scan() {
    if (!_readHead()) return false;
    readByte();  // the minimum code size
    for (;;) {
        bool end = false;
        const uint8_t n = readByte(end);
        if (end || n == 0) return true;
        set_seek(std::min(tell() + n, size()));
    }
}

bool TGIF::load() {
    if (!_readHead()) return false;
    const uint64_t pixels = static_cast<uint64_t>(width_) * height_;
    checkRasterSize(width_, height_);
    // The decoder reads the rest of the bytes where they lie, through a view.
    auto lzw = std::make_unique<TLZWGif>(std::make_unique<TBuffer>(const_cast<uint8_t*>(data_) + tell(), left()));
    set_seek(size());
    dataBuf_ = lzw->decode(pixels);
    // A stream that ends early leaves the rest of the frame 0, within the
    // bound on such zeros; beyond it the frame is as broken as one without
    // its end code.
    const uint64_t decoded = dataBuf_->size();
    if (decoded < pixels) {
        if (!zerosFit(pixels - decoded, decoded)) throw KivuException("This suck!");
        while (dataBuf_->size() < pixels) dataBuf_->addByte(0);
    }
    if (interlaced_) _deInterlace();
    return true;
}

// The rows stand in pass order: every 8th from 0, every 8th from 4, every
// 4th from 2, every 2nd from 1.  Display row y is found at its place in its
// pass, behind the rows of the passes before.  The rows are moved in place,
// one cycle of the permutation at a time, through a single spare row.
void TGIF::_deInterlace() {
    const uint64_t w = width_, h = height_;
    const uint64_t pass1 = (h + 7) / 8, pass2 = pass1 + (h + 3) / 8, pass3 = pass2 + (h + 1) / 4;
    auto from = [&](uint64_t y) {
        if (y % 8 == 0) return y / 8;
        if (y % 8 == 4) return pass1 + y / 8;
        if (y % 4 == 2) return pass2 + y / 4;
        return pass3 + y / 2;
    };
    uint8_t* rows = dataBuf_->ptr();
    std::vector<uint8_t> spare(w);
    std::vector<bool> placed(h, false);
    for (uint64_t start = 0; start < h; ++start) {
        if (placed[start]) continue;
        std::memcpy(spare.data(), rows + start * w, w);
        uint64_t y = start;
        for (uint64_t next = from(y); next != start; y = next, next = from(y)) {
            std::memcpy(rows + y * w, rows + next * w, w);
            placed[y] = true;
        }
        std::memcpy(rows + y * w, spare.data(), w);
        placed[y] = true;
    }
}

// ---------------------------------------------------------------- TImageGIF

bool TImageGIF::isIndexed() { return (frame_ && frame_->localColor()) || globalColor_; }

void TImageGIF::readSpecs() {
    const std::string version(read_string(6));
    if (version != "GIF87a" && version != "GIF89a") throwf("GIF: Invalid version '%s", version.c_str());
    width_ = readLe<uint16_t>();
    height_ = readLe<uint16_t>();
    const uint8_t packed = readByte();
    globalColor_ = packed & 0x80;
    colorResolution_ = (packed >> 4) & 7;
    sorted_ = packed & 8;
    tableSize_ = 2 << (packed & 7);
    background_ = static_cast<int8_t>(readByte());
    aspect_ = static_cast<int8_t>(readByte());
    if (globalColor_) {
        // A short table keeps what was read.
        readColorTable(*this, tableSize_, colors_);
        palette_ = paletteOf(colors_);
    }
    // The rest of the file, seen where it lies in the image's own block.
    rest_ = std::make_unique<TBuffer>(const_cast<uint8_t*>(data_) + tell(), left());
    set_seek(size());

    // Each frame hands everything behind its descriptor to the decoder, so
    // the first image is in practice the only one read.
    auto frame = std::make_unique<TGIF>(rest_.get());
    frame->set_seek(start_);
    while (frame->load()) {
        frame_ = frame.get();
        auto next = frame->next();
        frames_.push_back(std::move(frame));
        frame = std::move(next);
    }
    if (frames_.empty()) throw KivuException("GIF: Invalid GIF image");
    // One byte a pixel: a palette index, or a gray level without a table.
    bitsPerComponent_ = 8;
    components_ = 1;
}

TBuffer* TImageGIF::_usedPalette() { return palette_ ? palette_.get() : (frame_ ? frame_->palette() : nullptr); }

uint64_t TImageGIF::addObjectSpecs(TObjects* objects, const std::string&, std::vector<SGradient>*, ColorSpace,
                                   ConvertImages) {
    if (!frame_) throw KivuException("GIF: Invalid GIF image");
    TIndirectObject* obj = addImageObject(objects, "Image/GIF", frame_->width(), frame_->height());
    const uint64_t n = obj->num();
    if (isIndexed()) {
        const TBuffer* palette = _usedPalette();
        obj->set("ColorSpace", indexedColorSpace(*palette, n + 1));
    } else {
        obj->args({"ColorSpace", "DeviceGray"});
    }
    obj->set("BitsPerComponent", "8");
    if (frame_->isTrans() && frame_->getTableSize() >= 1) {
        const unsigned index = frame_->numTrans();
        obj->set("Mask", sformat("[%u %u ]", index, index));
    }
    obj->shareStream(frame_->sharedData(), "");
    return n;
}

void TImageGIF::addObjectPalette(TObjects* objects) {
    TBuffer* palette = _usedPalette();
    if (!palette) return;
    TIndirectObject* obj = objects->add(0);
    obj->setStream(palette, "");
}

std::unique_ptr<TImageFormat> TImageGIF::getCopy() { return _copyAt(start_, single_); }

std::unique_ptr<TImageGIF> TImageGIF::_copyAt(uint64_t start, bool single) {
    auto copy = std::make_unique<TImageGIF>(copyBuffer());
    copy->start_ = start;
    copy->single_ = single;
    copy->readSpecs();
    return copy;
}

void TImageGIF::_findFrames() {
    if (spansFound_) return;
    spansFound_ = true;
    for (uint64_t at = start_;;) {
        TGIF f(rest_.get());
        f.set_seek(at);
        if (!f.scan()) break;
        spans_.push_back({at, f.leftPos(), f.topPos(), f.width(), f.height(), f.localColor(), f.isTrans()});
        at = f.tell();
        if (single_) break;
    }
}

int TImageGIF::frameCount() {
    _findFrames();
    return static_cast<int>(spans_.size());
}

std::unique_ptr<TGIF> TImageGIF::_loadFrame(int index) {
    auto f = std::make_unique<TGIF>(rest_.get());
    f->set_seek(spans_[index].start);
    if (!f->load()) throw KivuException("GIF: Invalid GIF image");
    return f;
}

std::unique_ptr<TImageFormat> TImageGIF::frame(int index) {
    if (index < 0 || index >= frameCount()) return nullptr;
    const SFrameSpan& f = spans_[index];
    const bool covers = f.left == 0 && f.top == 0 && f.width == width_ && f.height == height_;
    if (covers && !(globalColor_ && f.localColor) && (index == 0 || !f.transparent)) return _copyAt(f.start, true);
    return _compose(index);
}

// The screen takes the first frame's extent where that reaches beyond it.
// A screen far larger than the first frame (by the bound on zeros for data
// that ends early) is refused: a few bytes would size its pixels.
std::unique_ptr<TImageFormat> TImageGIF::_compose(int index) {
    if (!canvas_ || canvas_->drawn() > index) {
        canvas_.reset();
        const TGIF& first = *frames_.front();
        const uint64_t w = std::max<uint64_t>(width_, first.leftPos() + first.width());
        const uint64_t h = std::max<uint64_t>(height_, first.topPos() + first.height());
        checkRasterSize(w, h);
        const uint64_t drawn = static_cast<uint64_t>(first.width()) * first.height();
        if (w * h > drawn && !zerosFit(w * h - drawn, drawn))
            throwf("GIF: Logical screen of %llu x %llu pixels for a first frame of %d x %d",
                   static_cast<unsigned long long>(w), static_cast<unsigned long long>(h), first.width(),
                   first.height());
        canvas_ = std::make_unique<TGifCanvas>(w, h);
    }
    while (canvas_->drawn() <= index) {
        if (canvas_->drawn() == 0) canvas_->draw(*frames_.front(), colors_);
        else canvas_->draw(*_loadFrame(canvas_->drawn()), colors_);
    }
    return std::make_unique<TImageGIFFrame>(static_cast<int>(canvas_->width()), static_cast<int>(canvas_->height()),
                                            std::span<const uint8_t>(canvas_->pixels()));
}

// ---------------------------------------------------------------- TGifCanvas

void TGifCanvas::_dispose() {
    if (disposal_ == 2) {
        uint8_t* p = rgba_.data();
        for (uint64_t y = y0_; y < y1_; ++y) std::fill(p + (y * w_ + x0_) * 4, p + (y * w_ + x1_) * 4, 0);
    } else if (disposal_ == 3 || disposal_ == 4) {
        rgba_.swap(saved_);
    }
}

void TGifCanvas::draw(const TGIF& frame, const std::vector<uint32_t>& global) {
    if (drawn_ > 0) _dispose();
    const uint64_t left = frame.leftPos(), top = frame.topPos(), fw = frame.width();
    x0_ = std::min(left, w_);
    y0_ = std::min(top, h_);
    x1_ = std::min(left + fw, w_);
    y1_ = std::min(top + frame.height(), h_);
    disposal_ = frame.disposal();
    if (disposal_ == 3 || disposal_ == 4) saved_ = rgba_;
    const std::vector<uint32_t>& table = frame.localColor() ? frame.colors() : global;
    const uint8_t* indices = frame.data()->ptr();
    for (uint64_t y = y0_; y < y1_ && x0_ < x1_; ++y) {
        const uint8_t* from = indices + (y - top) * fw + (x0_ - left);
        uint8_t* to = rgba_.data() + (y * w_ + x0_) * 4;
        for (uint64_t x = x0_; x < x1_; ++x, to += 4) {
            const uint8_t i = *from++;
            if (frame.isTrans() && i == frame.numTrans()) continue;
            const uint32_t c = table.empty() ? i * 0x010101u : table[std::min<size_t>(i, table.size() - 1)];
            to[0] = static_cast<uint8_t>(c);
            to[1] = static_cast<uint8_t>(c >> 8);
            to[2] = static_cast<uint8_t>(c >> 16);
            to[3] = 255;
        }
    }
    ++drawn_;
}

// ---------------------------------------------------------------- TImageGIFFrame

namespace {

// The colour of RGBA pixels, and their alpha unless every one is opaque.
std::unique_ptr<TBuffer> colourOf(std::span<const uint8_t> rgba) {
    std::vector<uint8_t> out(rgba.size() / 4 * 3);
    const uint8_t* p = rgba.data();
    for (uint8_t *o = out.data(), *end = o + out.size(); o < end; o += 3, p += 4) std::memcpy(o, p, 3);
    return TBuffer::create(std::span<const uint8_t>(out));
}

std::unique_ptr<TBuffer> alphaOf(std::span<const uint8_t> rgba) {
    std::vector<uint8_t> out(rgba.size() / 4);
    const uint8_t* p = rgba.data() + 3;
    uint8_t all = 255;
    for (uint8_t *o = out.data(), *end = o + out.size(); o < end; ++o, p += 4) all &= *o = *p;
    return all == 255 ? nullptr : TBuffer::create(std::span<const uint8_t>(out));
}

}  // namespace

TImageGIFFrame::TImageGIFFrame(int width, int height, std::span<const uint8_t> rgba)
    : TImageGIFFrame(width, height, colourOf(rgba), alphaOf(rgba)) {}

TImageGIFFrame::TImageGIFFrame(int width, int height, std::unique_ptr<TBuffer> rgb, std::shared_ptr<TBuffer> alpha)
    : TImageFormat(std::move(rgb)), mask_(std::move(alpha)) {
    width_ = width;
    height_ = height;
    bitsPerComponent_ = 8;
    components_ = 3;
    if (mask_) minVersion_ = 1.4f;
}

uint64_t TImageGIFFrame::addObjectSpecs(TObjects* objects, const std::string&, std::vector<SGradient>*, ColorSpace,
                                        ConvertImages) {
    TIndirectObject* obj = addImageObject(objects, "Image/GIF", width_, height_);
    obj->args({"ColorSpace", "DeviceRGB"});
    obj->set("BitsPerComponent", "8");
    if (mask_) obj->set("SMask", sformat("%llu 0 R", static_cast<unsigned long long>(obj->num() + 1)));
    obj->shareStream(buffer_, "");
    return obj->num();
}

void TImageGIFFrame::addObjectMask(TObjects* objects) {
    if (!mask_) return;
    addSoftMaskObject(objects, width_, height_, 8)->shareStream(mask_, "");
}

std::unique_ptr<TImageFormat> TImageGIFFrame::getCopy() {
    auto alpha = mask_ ? TBuffer::create(mask_->bytes()) : nullptr;
    return std::make_unique<TImageGIFFrame>(width_, height_, copyBuffer(), std::move(alpha));
}

}  // namespace kivu
