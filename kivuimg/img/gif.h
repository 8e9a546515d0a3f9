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
    // The global palette when there is one, else the frame's.
    TBuffer* _usedPalette();

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
};

}  // namespace kivu
