// TImageGIF: a GIF file becomes an Image XObject of one byte per pixel.
// The LZW stream can't pass into PDF as it stands, so the pixels are decoded
// here (TLZWGif), frame by frame (TGIF), and written without a filter; the
// object store compresses them.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "kivuimg/img/imgformat.h"

namespace kivu {

// Decodes one LZW stream: the minimum code size, then the data sub-blocks.
class TLZWGif : public TReader {
public:
    explicit TLZWGif(std::unique_ptr<TBuffer> buffer);

    // All pixels up to the end code.  With `limit` above 0 decoding stops
    // once that many pixels are out: nothing behind them is used.  A corrupt
    // stream, or one that ends before its end code, raises "This suck!".
    std::unique_ptr<TBuffer> decode(uint64_t limit = 0);

    int minCodeSize() const { return minCodeSize_; }
    int codeSize() const { return codeSize_; }
    int nextCode() const { return nextCode_; }

    static constexpr int kTableSize = 4096;
    static constexpr int kStackSize = (1 << 13) - 1;
    static constexpr int kBlockSize = 279;

protected:
    // The next code, least significant bit first; -1 when the input is out.
    int _getCode();
    // The next pixel, or -2 at the end code, or -1 for a broken stream.
    int _lzwCommand();

private:
    void _resetTable();
    bool _push(int v) {
        if (stackTop_ >= kStackSize) return false;
        stack_[stackTop_++] = static_cast<uint16_t>(v);
        return true;
    }

    std::unique_ptr<TBuffer> buffer_;
    int maxBits_ = 12;
    int minCodeSize_ = 0;
    int codeSize_ = 0;
    int clearCode_ = 0;
    int nextCode_ = 0;
    int limit_ = 0;
    int endCode_ = 0;
    int64_t curBit_ = 0;
    int64_t lastBit_ = 0;
    bool done_ = false;
    int lastByte_ = 2;
    bool fresh_ = true;
    std::array<uint16_t, kTableSize> prefix_{};
    std::array<uint16_t, kTableSize> suffix_{};
    std::array<uint16_t, kStackSize> stack_{};
    std::array<uint8_t, kBlockSize> block_{};
    int stackTop_ = 0;
    int firstCode_ = 0;
    int oldCode_ = 0;
};

// One frame: its extensions, its descriptor, its colour table and pixels.
// Reads the buffer it is given, which it doesn't own.
class TGIF : public TReader {
public:
    explicit TGIF(TBuffer* buffer) : TReader(buffer) {}

    // A new frame reader over the same bytes, at this one's cursor.
    virtual std::unique_ptr<TGIF> next() const;
    // Reads extensions up to an image descriptor, then the frame.  False at
    // the trailer, at the end of the data, for a frame of no pixels and for
    // a broken colour table.
    virtual bool load();
    // Reads the frame as load() does but skips its data sub-blocks instead of
    // decoding them: the cursor ends where the next frame's blocks begin.
    bool scan();
    virtual bool localColor() const { return localColor_; }
    // One byte per pixel, rows in display order.
    virtual TBuffer* data() const { return dataBuf_.get(); }
    // The same block, for an object that takes it as its stream.
    const std::shared_ptr<TBuffer>& sharedData() const { return dataBuf_; }
    // The local colour table as RGB triples, built on the first call.
    virtual TBuffer* palette();
    virtual int width() const { return width_; }
    virtual int height() const { return height_; }
    virtual int getTableSize() const { return tableSize_; }
    virtual bool isTrans() const { return transparent_; }
    virtual uint8_t numTrans() const { return transIndex_; }

    const std::string& comment() const { return comment_; }
    int disposal() const { return disposal_; }
    bool userInput() const { return userInput_; }
    uint16_t delay() const { return delay_; }
    bool interlaced() const { return interlaced_; }
    bool sorted() const { return sorted_; }
    // The frame's place on the logical screen (the reader's left() is taken).
    int leftPos() const { return left_; }
    int topPos() const { return top_; }
    const std::vector<uint32_t>& colors() const { return colors_; }

private:
    // The extensions, the descriptor and the local colour table.
    bool _readHead();
    void _skipExt();
    void _deInterlace();

    int32_t disposal_ = 0;
    bool userInput_ = false;
    bool transparent_ = false;
    uint16_t delay_ = 0;
    uint8_t transIndex_ = 0;
    std::string comment_;
    uint16_t left_ = 0;
    uint16_t top_ = 0;
    uint16_t width_ = 0;
    uint16_t height_ = 0;
    bool localColor_ = false;
    bool interlaced_ = false;
    bool sorted_ = false;
    int32_t tableSize_ = 0;
    std::vector<uint32_t> colors_;
    std::unique_ptr<TBuffer> palette_;
    std::shared_ptr<TBuffer> dataBuf_;
};

// The logical screen as a browser shows an animation, four bytes (RGBA) a
// pixel, all transparent at first.  Each frame is drawn over what the frames
// before it left, after the disposal that the frame before it asked for: 2
// clears that frame's area, 3 (and 4, as browsers read it) brings back the
// screen as it was before that frame.  A frame's transparent index leaves the
// pixel below; other indices take the frame's colour table, else the
// global one (the last entry past its end), else a gray level.
class TGifCanvas {
public:
    TGifCanvas(uint64_t width, uint64_t height) : w_(width), h_(height), rgba_(width * height * 4, 0) {}

    void draw(const TGIF& frame, const std::vector<uint32_t>& global);
    // Frames drawn so far.
    int drawn() const { return drawn_; }
    uint64_t width() const { return w_; }
    uint64_t height() const { return h_; }
    const std::vector<uint8_t>& pixels() const { return rgba_; }

private:
    void _dispose();

    uint64_t w_, h_;
    std::vector<uint8_t> rgba_;
    std::vector<uint8_t> saved_;
    int drawn_ = 0;
    int disposal_ = 0;  // of the last frame drawn, with its area on the screen
    uint64_t x0_ = 0, y0_ = 0, x1_ = 0, y1_ = 0;
};

// One frame of an animation composed on its logical screen: RGB samples
// (the image's buffer), with a soft mask when some pixels are transparent.
class TImageGIFFrame : public TImageFormat {
public:
    // From the screen's RGBA pixels.
    TImageGIFFrame(int width, int height, std::span<const uint8_t> rgba);
    TImageGIFFrame(int width, int height, std::unique_ptr<TBuffer> rgb, std::shared_ptr<TBuffer> alpha);

    std::string ext() const override { return "GIF"; }
    ColorSpace colorSpace() override { return csRGB; }
    bool hasMask() override { return mask_ != nullptr; }
    // Nothing to read: the samples are made.
    void readSpecs() override {}
    uint64_t addObjectSpecs(TObjects* objects, const std::string& name, std::vector<SGradient>* gradients,
                            ColorSpace space, ConvertImages convert) override;
    // The alpha as a soft mask: its number is the main one + 1.
    void addObjectMask(TObjects* objects) override;
    std::unique_ptr<TImageFormat> getCopy() override;

private:
    std::shared_ptr<TBuffer> mask_;
};

class TImageGIF : public TImageFormat {
public:
    using TImageFormat::TImageFormat;

    std::string ext() const override { return "GIF"; }
    // A frame with a local table or a file with a global one.
    bool isIndexed() override;
    void readSpecs() override;
    uint64_t addObjectSpecs(TObjects* objects, const std::string& name, std::vector<SGradient>* gradients,
                            ColorSpace space, ConvertImages convert) override;
    // The palette that the main object names: its number is the main one + 1.
    void addObjectPalette(TObjects* objects) override;
    std::unique_ptr<TImageFormat> getCopy() override;
    // Every image descriptor with pixels and a whole colour table, in file
    // order, found without decoding: the first is the one emitted.
    int frameCount() override;
    // A frame that covers the logical screen, takes its colours as this
    // image's emission does and (but for the first) has no transparent
    // index is an image like this one emitting that frame: the first frame's
    // is this image's copy.  Any other is composed on the screen
    // (TGifCanvas) with the frames before it.  Frames asked for in order are
    // drawn once each.  A frame that can't be decoded raises.
    std::unique_ptr<TImageFormat> frame(int index) override;

    // The frame that is emitted: the last one that loaded.
    TGIF* frame() const { return frame_; }
    const std::vector<std::unique_ptr<TGIF>>& frames() const { return frames_; }
    bool globalColor() const { return globalColor_; }
    int colorResolution() const { return colorResolution_; }
    bool sorted() const { return sorted_; }
    int tableSize() const { return tableSize_; }
    int background() const { return background_; }
    int aspect() const { return aspect_; }
    const std::vector<uint32_t>& colors() const { return colors_; }
    // The global colour table as RGB triples; null without one.
    TBuffer* palette() const { return palette_.get(); }

private:
    // Where a frame's blocks begin behind the global colour table, and what
    // its descriptor says.
    struct SFrameSpan {
        uint64_t start;
        int left, top, width, height;
        bool localColor, transparent;
    };

    // The global palette when there is one, else the frame's.
    TBuffer* _usedPalette();
    void _findFrames();
    std::unique_ptr<TGIF> _loadFrame(int index);
    // An image like this one whose first frame is the one at `start`;
    // `single`: with no frames behind it.
    std::unique_ptr<TImageGIF> _copyAt(uint64_t start, bool single);
    std::unique_ptr<TImageFormat> _compose(int index);

    std::unique_ptr<TBuffer> rest_;
    bool globalColor_ = false;
    int32_t colorResolution_ = 0;
    bool sorted_ = false;
    int32_t tableSize_ = 0;
    int32_t background_ = 0;
    int32_t aspect_ = 0;
    std::vector<uint32_t> colors_;
    std::unique_ptr<TBuffer> palette_;
    std::vector<std::unique_ptr<TGIF>> frames_;
    TGIF* frame_ = nullptr;
    // The first frame's blocks begin here; an image made by frame() has
    // that one frame.
    uint64_t start_ = 0;
    bool single_ = false;
    std::vector<SFrameSpan> spans_;
    bool spansFound_ = false;
    std::unique_ptr<TGifCanvas> canvas_;
};

}  // namespace kivu
