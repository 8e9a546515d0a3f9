#include <gtest/gtest.h>

#include "tests/builders.h"

#include <random>
#include <string>
#include <vector>

#include "kivuimg/commons/core/buffer.h"
#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/indirectobj.h"
#include "kivuimg/commons/objects.h"
#include "kivuimg/img/gif.h"

using namespace kivu;

namespace {

using kivutest::Bytes;

using kivutest::Gif;
using kivutest::lzw;
using CodeWriter = kivutest::GifCodeWriter;

std::unique_ptr<TImageGIF> read(const Bytes& bytes) { return kivutest::readImage<TImageGIF>(bytes); }
std::string failure(const Bytes& bytes) { return kivutest::readFailure<TImageGIF>(bytes); }

Bytes pixelsOf(const TImageGIF& img) {
    auto s = img.frame()->data()->pointChunk(0, 0);
    return Bytes(s.begin(), s.end());
}

Bytes decode(const Bytes& stream, uint64_t limit = 0) {
    TLZWGif d(TBuffer::create(std::span<const uint8_t>(stream)));
    auto out = d.decode(limit);
    auto s = out->pointChunk(0, 0);
    return Bytes(s.begin(), s.end());
}

std::string decodeFailure(const Bytes& stream) {
    try {
        decode(stream);
    } catch (const std::exception& e) {
        return e.what();
    }
    return "(no failure)";
}

Bytes codes(int minCodeSize, std::initializer_list<int> list) { return kivutest::gifCodes(minCodeSize, list); }
std::string head(TBaseObject* o) { return kivutest::objectHead(o); }

}  // namespace

// ---------------------------------------------------------------- LZW

TEST(GifLzw, RoundTripsThroughAPlainEncoder) {
    std::mt19937 rng(7);
    for (int minCodeSize : {2, 4, 8}) {
        Bytes pixels(20000);
        // Runs and noise, so that chains, KwKwK codes and full tables all occur.
        for (size_t i = 0; i < pixels.size(); ++i)
            pixels[i] = static_cast<uint8_t>((i / 37 % 3 ? rng() : i / 500) % (1u << minCodeSize));
        EXPECT_EQ(decode(lzw(pixels, minCodeSize)), pixels) << minCodeSize;
        // Short sub-blocks: a code may straddle two or three of them.
        for (int block : {1, 2, 3})
            EXPECT_EQ(decode(lzw(pixels, minCodeSize, block)), pixels) << block << "-byte sub-blocks, " << minCodeSize;
    }
}

TEST(GifLzw, LeadingClearCodesAreSkipped) { EXPECT_EQ(decode(codes(2, {4, 4, 4, 1, 2, 5})), (Bytes{1, 2})); }

TEST(GifLzw, KwKwKCodePushesFirstCodeFirst) {
    // Code 6 is the next free entry when it is read: it stands for 1, 1.
    EXPECT_EQ(decode(codes(2, {4, 1, 6, 5})), (Bytes{1, 1, 1}));
    EXPECT_EQ(decode(codes(2, {4, 3, 2, 6, 8, 5})), (Bytes{3, 2, 3, 2, 3, 2, 3}));
}

TEST(GifLzw, ClearCodeInTheMiddleResetsTable) {
    EXPECT_EQ(decode(codes(2, {4, 1, 2, 6, 4, 3, 3, 6, 5})), (Bytes{1, 2, 1, 2, 3, 3, 3, 3}));
}

TEST(GifLzw, TableStopsGrowingAt4096) {
    CodeWriter w(2);
    w.put(w.clear());
    for (int i = 0; i < 5000; ++i) w.put(i % 4);
    EXPECT_EQ(w.size(), 12);
    w.put(w.end());
    TLZWGif d(TBuffer::create(std::span<const uint8_t>(w.stream())));
    EXPECT_EQ(d.decode()->size(), 5000u);
    EXPECT_EQ(d.nextCode(), 4096);
    EXPECT_EQ(d.codeSize(), 12);
}

TEST(GifLzw, BrokenStreamsRaise) {
    // Entry 7 is made from the code read before it, 7 itself: a loop.
    EXPECT_EQ(decodeFailure(codes(2, {4, 1, 7, 6, 7, 5})), "This suck!");
    // No end code.
    EXPECT_EQ(decodeFailure(codes(2, {4, 1, 2})), "This suck!");
    EXPECT_EQ(decodeFailure({}), "This suck!");
    EXPECT_EQ(decodeFailure({2}), "This suck!");
    // Two entries that name each other: 11 -> 12 -> 11 ...  The stack bound stops it.
    EXPECT_EQ(decodeFailure(codes(3, {8, 1, 12, 11, 12, 11, 9})), "This suck!");
    // A minimum code size that can't address the table.
    for (int size : {12, 13, 255}) {
        Bytes s = codes(2, {4, 1, 5});
        s[0] = static_cast<uint8_t>(size);
        EXPECT_EQ(decodeFailure(s), "This suck!") << size;
    }
}

TEST(GifLzw, LimitStopsAnEndlessStream) {
    CodeWriter w(2);
    w.put(w.clear());
    for (int i = 0; i < 100000; ++i) w.put(1);
    // No end code: unlimited, the stream is broken; limited, it is never read that far.
    EXPECT_EQ(decodeFailure(w.stream()), "This suck!");
    EXPECT_EQ(decode(w.stream(), 10), Bytes(10, 1));
}

// ---------------------------------------------------------------- file

TEST(GifFile, FailureTexts) {
    EXPECT_EQ(failure(Gif(1, 1, 0, "GIF88a").frame(1, 1, codes(2, {4, 1, 5})).bytes), "GIF: Invalid version 'GIF88a");
    EXPECT_EQ(failure({'G', 'I', 'F'}), "GIF: Invalid version 'GIF");
    EXPECT_EQ(failure(Gif(1, 1).trailer().bytes), "GIF: Invalid GIF image");
    EXPECT_EQ(failure(Gif(1, 1).bytes), "GIF: Invalid GIF image");
    EXPECT_EQ(failure(Gif(4, 4).frame(0, 4, codes(2, {4, 1, 5})).trailer().bytes), "GIF: Invalid GIF image");
    EXPECT_EQ(failure(Gif(4, 4).frame(4, 0, codes(2, {4, 1, 5})).trailer().bytes), "GIF: Invalid GIF image");
    EXPECT_EQ(failure(Gif(8, 1).frame(8, 1, codes(2, {4, 1, 7, 6, 7, 5})).bytes), "This suck!");
    // A local table cut short is no frame.
    Gif cut(4, 4);
    cut.frame(4, 4, {}, 3);
    cut.bytes.resize(cut.bytes.size() - 5);
    EXPECT_EQ(failure(cut.bytes), "GIF: Invalid GIF image");
}

TEST(GifFile, HeaderAndFrame) {
    const Bytes pixels{0, 1, 2, 3, 3, 2};
    auto img = read(Gif(10, 20, 2).frame(3, 2, lzw(pixels, 2)).trailer().bytes);
    EXPECT_EQ(img->ext(), "GIF");
    EXPECT_EQ(img->width(), 10) << "the logical screen";
    EXPECT_EQ(img->height(), 20);
    EXPECT_TRUE(img->globalColor());
    EXPECT_EQ(img->colorResolution(), 7);
    EXPECT_EQ(img->tableSize(), 4);
    EXPECT_EQ(img->colors()[1], 0x00FE0201u) << "0x00BBGGRR";
    EXPECT_EQ(img->frames().size(), 1u);
    EXPECT_EQ(img->frame()->width(), 3);
    EXPECT_EQ(img->frame()->height(), 2);
    EXPECT_EQ(img->frame()->leftPos(), 1);
    EXPECT_EQ(img->frame()->topPos(), 2);
    EXPECT_EQ(pixelsOf(*img), pixels);
    EXPECT_TRUE(img->isIndexed());
    EXPECT_FALSE(img->hasMask());
    EXPECT_EQ(img->colorSpace(), csAuto);
    EXPECT_EQ(img->bitsPerComponent(), 8);
}

TEST(GifFile, ObjectsOfAnIndexedFrame) {
    auto img = read(Gif(10, 20, 2).control(true, 5).frame(3, 2, lzw({0, 1, 2, 3, 3, 2}, 2)).trailer().bytes);
    TObjects objects;
    const uint64_t n = img->addObjectSpecs(&objects, "", nullptr, csAuto, ConvertImages{});
    img->addObjectPalette(&objects);
    TBaseObject* o = objects.get(n);
    EXPECT_EQ(o->comment(), "Image/GIF");
    const std::string t = head(o);
    EXPECT_EQ(t.substr(0, t.find("   /Length ")), "3 0 obj\n"
                                                  "<< /Subtype /Image\n"
                                                  "   /Width 3\n"
                                                  "   /Height 2\n"
                                                  "   /ColorSpace [/Indexed /DeviceRGB 3 4 0 R]\n"
                                                  "   /BitsPerComponent 8\n"
                                                  "   /Mask [5 5 ]\n"
                                                  "   /Length1 6\n");
    TBaseObject* pal = objects.get(4);
    EXPECT_EQ(pal->comment(), "");
    EXPECT_EQ(head(pal).substr(0, 22), "4 0 obj\n<< /Length1 12");
}

TEST(GifFile, GlobalPaletteWinsOverLocal) {
    auto img = read(Gif(2, 1, 1).frame(2, 1, lzw({0, 1}, 2), 3, false, 50).trailer().bytes);
    ASSERT_TRUE(img->frame()->localColor());
    TObjects objects;
    const uint64_t n = img->addObjectSpecs(&objects, "", nullptr, csAuto, ConvertImages{});
    img->addObjectPalette(&objects);
    EXPECT_NE(head(objects.get(n)).find("[/Indexed /DeviceRGB 1 4 0 R]"), std::string::npos);
    // The palette object holds the global table: two entries.
    EXPECT_EQ(head(objects.get(4)).substr(0, 21), "4 0 obj\n<< /Length1 6");
}

TEST(GifFile, LocalPaletteWithoutGlobal) {
    auto img = read(Gif(2, 1).frame(2, 1, lzw({0, 1}, 2), 3, false, 50).trailer().bytes);
    EXPECT_TRUE(img->isIndexed());
    EXPECT_EQ(img->palette(), nullptr);
    const auto pal = img->frame()->palette()->pointChunk(0, 0);
    ASSERT_EQ(pal.size(), 24u);
    EXPECT_EQ(pal[0], 50);
    EXPECT_EQ(pal[23], 248);
    TObjects objects;
    EXPECT_NE(head(objects.get(img->addObjectSpecs(&objects, "", nullptr, csAuto, ConvertImages{})))
                  .find("[/Indexed /DeviceRGB 7 4 0 R]"),
              std::string::npos);
}

TEST(GifFile, NoColourTableIsGray) {
    auto img = read(Gif(2, 1).frame(2, 1, lzw({0, 1}, 2)).trailer().bytes);
    EXPECT_FALSE(img->isIndexed());
    TObjects objects;
    const std::string t = head(objects.get(img->addObjectSpecs(&objects, "", nullptr, csAuto, ConvertImages{})));
    EXPECT_NE(t.find("   /ColorSpace /DeviceGray\n"), std::string::npos) << t;
    EXPECT_EQ(t.find("/Mask"), std::string::npos);
}

TEST(GifFile, ExtensionsBeforeTheFrame) {
    Gif g(2, 1, 1);
    g.comment("hello");
    // An application extension with two data sub-blocks.
    g.bytes.insert(g.bytes.end(), {0x21, 0xFF, 3, 'A', 'B', 'C', 2, 1, 0, 0});
    g.control(true, 1).frame(2, 1, lzw({1, 0}, 2)).trailer();
    auto img = read(g.bytes);
    EXPECT_EQ(img->frame()->comment(), "hello");
    EXPECT_TRUE(img->frame()->isTrans());
    EXPECT_EQ(img->frame()->numTrans(), 1);
    EXPECT_EQ(img->frame()->delay(), 10);
    EXPECT_EQ(pixelsOf(*img), (Bytes{1, 0}));
}

TEST(GifFile, InterlacedRowsComeInDisplayOrder) {
    const int h = 11;
    // Pass order 0 8 | 4 | 2 6 10 | 1 3 5 7 9; each row holds its own number.
    const int order[h] = {0, 8, 4, 2, 6, 10, 1, 3, 5, 7, 9};
    Bytes stored;
    for (int y : order) stored.insert(stored.end(), {static_cast<uint8_t>(y), static_cast<uint8_t>(y)});
    auto img = read(Gif(2, h).frame(2, h, lzw(stored, 4), 0, true).trailer().bytes);
    Bytes expected;
    for (int y = 0; y < h; ++y) expected.insert(expected.end(), {static_cast<uint8_t>(y), static_cast<uint8_t>(y)});
    EXPECT_EQ(pixelsOf(*img), expected);
    // Only passes that start inside the image are walked.
    auto two = read(Gif(1, 2).frame(1, 2, lzw({7, 9}, 4), 0, true).trailer().bytes);
    EXPECT_EQ(pixelsOf(*two), (Bytes{7, 9}));
}

TEST(GifFile, FrameDataIsBoundedByItsSize) {
    // Too few pixels before the end code: the rest of the frame is 0.
    EXPECT_EQ(pixelsOf(*read(Gif(3, 2).frame(3, 2, lzw({1, 2}, 2)).trailer().bytes)), (Bytes{1, 2, 0, 0, 0, 0}));
    // Too many: the frame keeps its own.
    EXPECT_EQ(pixelsOf(*read(Gif(2, 1).frame(2, 1, lzw(Bytes(5000, 3), 2)).trailer().bytes)), (Bytes{3, 3}));
}

TEST(GifFile, PixelLimit) {
    EXPECT_EQ(failure(Gif(1, 1).frame(65535, 65535, codes(2, {4, 1, 5})).trailer().bytes),
              "Image of 65535 x 65535 pixels exceeds the limit of 268435456 pixels");
}

TEST(GifFile, CopyHasItsOwnBuffer) {
    auto img = read(Gif(2, 1, 1).frame(2, 1, lzw({1, 0}, 2)).trailer().bytes);
    auto copy = img->getCopy();
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->width(), 2);
    EXPECT_NE(copy->buffer(), img->buffer());
    EXPECT_TRUE(copy->isIndexed());
}

// ---------------------------------------------------------------- frames
// (composed frames: against Pillow's in tests/img/test_raster_pages.py)

TEST(GifFrames, StillFrameIsTheImageItself) {
    Gif g(3, 1, 2);
    g.left = g.top = 0;
    g.frame(3, 1, lzw({1, 2, 3}, 2)).bytes.push_back('G');  // a byte that begins no block ends the frames
    auto gif = read(g.frame(3, 1, lzw({0, 0, 0}, 2)).trailer().bytes);
    ASSERT_EQ(gif->frameCount(), 1);
    TObjects a, b;
    EXPECT_EQ(a.get(gif->addObjectSpecs(&a, "", nullptr, csAuto, ciNo))->toPDF()->to_string(),
              b.get(gif->frame(0)->addObjectSpecs(&b, "", nullptr, csAuto, ciNo))->toPDF()->to_string());
    EXPECT_EQ(gif->frame(1), nullptr);
}

TEST(GifFrames, BrokenFramesAndScreens) {
    // A broken second frame is counted without decoding; asked for, it
    // raises, shown as it stands or composed.
    for (bool transparent : {false, true}) {
        Gif g(8, 1, 2);
        g.left = g.top = 0;
        g.frame(8, 1, lzw(Bytes(8, 1), 2)).control(transparent, 0).frame(8, 1, codes(2, {4, 1, 7, 6, 7, 5})).trailer();
        auto gif = read(g.bytes);
        EXPECT_EQ(gif->frameCount(), 2);
        EXPECT_THROW(gif->frame(1), KivuException);
    }
    // A frame wholly beside the screen leaves it as it was.
    Gif beside(2, 1, 2);
    beside.left = beside.top = 0;
    beside.frame(2, 1, lzw({1, 1}, 2)).left = 64;
    EXPECT_EQ(read(beside.control(true, 0).frame(1, 1, lzw({2}, 2)).trailer().bytes)->frame(1)->width(), 2);
    // A screen that a first frame of one pixel would have to fill.
    EXPECT_THROW(read(Gif(65535, 20, 2).frame(1, 1, lzw({1}, 2)).trailer().bytes)->frame(0), KivuException);
}
