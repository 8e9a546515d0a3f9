#include <gtest/gtest.h>

#include "tests/builders.h"

#include <string>
#include <vector>

#include "kivuimg/commons/core/buffer.h"
#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/indirectobj.h"
#include "kivuimg/commons/objects.h"
#include "kivuimg/img/bmp.h"

using namespace kivu;

namespace {

using kivutest::Bytes;

using kivutest::bmp;

std::unique_ptr<TImageBMP> read(const Bytes& bytes) { return kivutest::readImage<TImageBMP>(bytes); }
std::string failure(const Bytes& bytes) { return kivutest::readFailure<TImageBMP>(bytes); }

Bytes pixels(const TImageBMP& img) {
    auto s = img.data()->pointChunk(0, 0);
    return Bytes(s.begin(), s.end());
}

std::string head(TBaseObject* o) { return kivutest::objectHead(o); }

}  // namespace

// ---------------------------------------------------------------- rows

TEST(BmpRows, BottomUpAndTopDown) {
    // Two rows of one 24-bit pixel; each row padded to 4 bytes.
    const Bytes rows{1, 2, 3, 0xEE, 4, 5, 6, 0xEE};
    auto up = read(bmp(1, 2, 24, 0, rows));
    auto down = read(bmp(1, -2, 24, 0, rows));
    EXPECT_EQ(up->height(), 2);
    EXPECT_EQ(down->height(), 2);
    EXPECT_EQ(pixels(*up), (Bytes{6, 5, 4, 3, 2, 1})) << "last file row first, BGR turned to RGB";
    EXPECT_EQ(pixels(*down), (Bytes{3, 2, 1, 6, 5, 4}));
}

TEST(BmpRows, ThirtyTwoBitsDropTheFourthByte) {
    EXPECT_EQ(pixels(*read(bmp(2, 1, 32, 0, {1, 2, 3, 4, 5, 6, 7, 8}))), (Bytes{3, 2, 1, 7, 6, 5}));
}

TEST(BmpRows, SixteenBitsAreFiveFiveFive) {
    // 0x7FFF: every channel 0xF8, the low bits stay 0.  0x7C00 red, 0x03E0 green, 0x001F blue.
    EXPECT_EQ(pixels(*read(bmp(4, 1, 16, 0, {0xFF, 0x7F, 0x00, 0x7C, 0xE0, 0x03, 0x1F, 0x00}))),
              (Bytes{0xF8, 0xF8, 0xF8, 0xF8, 0, 0, 0, 0xF8, 0, 0, 0, 0xF8}));
    // Bit fields are ignored: a 5-6-5 pixel reads as 5-5-5.
    EXPECT_EQ(pixels(*read(bmp(1, 1, 16, 3, {0x00, 0xF8, 0, 0}))), (Bytes{0xF0, 0x00, 0x00}));
}

TEST(BmpRows, BitFieldsOnTwentyFourBitsReadAsPlain) {
    const Bytes rows{1, 2, 3, 0};
    EXPECT_EQ(pixels(*read(bmp(1, 1, 24, 3, rows))), pixels(*read(bmp(1, 1, 24, 0, rows))));
}

TEST(BmpRows, PackedRowsKeepTheirBytesWithoutPadding) {
    // 1 bit, width 10: two bytes a row, padded to 4 in the file.
    auto one = read(bmp(10, 2, 1, 0, {0xAA, 0xC0, 9, 9, 0x55, 0x40, 9, 9}, 2));
    EXPECT_EQ(pixels(*one), (Bytes{0x55, 0x40, 0xAA, 0xC0}));
    // 4 bits, width 3.
    auto four = read(bmp(3, 1, 4, 0, {0x12, 0x30, 9, 9}, 16));
    EXPECT_EQ(pixels(*four), (Bytes{0x12, 0x30}));
}

TEST(BmpRows, ShortFileReadsZeros) {
    auto img = read(bmp(2, 2, 24, 0, {1, 2, 3, 4, 5, 6, 0, 0, 7}));
    EXPECT_EQ(pixels(*img), (Bytes{0, 0, 7, 0, 0, 0, 3, 2, 1, 6, 5, 4}));
}

TEST(BmpRows, ZerosForMissingDataAreBounded) {
    // Rows of 1024 bytes.  Without data 1 MiB of zeros still reads; beyond
    // it the zeros may be no more than the bytes the data gives.
    EXPECT_EQ(read(bmp(1024, 1024, 8, 0, {}))->data()->size(), 1u << 20);
    EXPECT_EQ(failure(bmp(1024, 1025, 8, 0, {})), "BMP: Image data ends early: 0 of 1049600 bytes");
    const Bytes given(1024 * 1025, 1);
    EXPECT_EQ(read(bmp(1024, 2049, 8, 0, given))->data()->size(), 1024u * 2049);
    EXPECT_EQ(failure(bmp(1024, 2051, 8, 0, given)), "BMP: Image data ends early: 1049600 of 2100224 bytes");
}

// ---------------------------------------------------------------- RLE

TEST(BmpRle, Rle8RunsLinesAndAbsoluteRuns) {
    // Width 5: lines of 8 bytes.  Row 0 (bottom): run of 3 x 7, end of line.
    // Row 1: absolute run of 3 (odd: one pad byte), end of bitmap.
    const Bytes rle{3, 7, 0, 0, 0, 3, 1, 2, 3, 0xFF, 0, 1};
    auto img = read(bmp(5, 2, 8, 1, rle, 256));
    EXPECT_EQ(pixels(*img), (Bytes{1, 2, 3, 0, 0, 7, 7, 7, 0, 0}));
}

TEST(BmpRle, Rle8DeltaLeavesItsBytesOut) {
    const Bytes rle{2, 9, 0, 2, 5, 5, 2, 8, 0, 1};
    auto img = read(bmp(4, 1, 8, 1, rle, 16));
    EXPECT_EQ(pixels(*img), (Bytes{9, 9, 8, 8})) << "the pixels behind the delta go on where the last ones ended";
}

TEST(BmpRle, Rle4RunsAndAbsoluteRuns) {
    // Width 8 (lines of 4 pixels by the line rule): run of 5 pixels of 0x12
    // alternating 1 2 1 2 1, absolute run of 3 pixels (two bytes, even: no pad).
    const Bytes rle{5, 0x12, 0, 3, 0x34, 0x50, 0, 1};
    auto img = read(bmp(8, 1, 4, 2, rle, 16));
    EXPECT_EQ(pixels(*img), (Bytes{0x12, 0x12, 0x13, 0x45}));
    // An absolute run over an odd number of bytes skips one.
    auto odd = read(bmp(8, 1, 4, 2, {0, 5, 0x12, 0x34, 0x50, 0xFF, 2, 0x77}, 16));
    EXPECT_EQ(pixels(*odd), (Bytes{0x12, 0x34, 0x57, 0x70}));
}

TEST(BmpRle, HostileRunsAreBoundedByTheImage) {
    // A 1 x 1 image whose stream asks for 255 x 4000 pixels and endless line ends.
    Bytes rle;
    for (int i = 0; i < 4000; ++i) rle.insert(rle.end(), {255, 1, 0, 0});
    auto img = read(bmp(1, 1, 8, 1, rle, 2));
    EXPECT_EQ(pixels(*img), Bytes{1});
    auto four = read(bmp(1, 1, 4, 2, rle, 2));
    EXPECT_EQ(pixels(*four), Bytes{0x01}) << "high nibble first";
    // A stream that is only line ends pads with zeros, and stops at the image size.
    auto lines = read(bmp(3, 2, 8, 1, Bytes(10000, 0), 2));
    EXPECT_EQ(pixels(*lines), Bytes(6, 0));
}

// ---------------------------------------------------------------- objects

TEST(BmpObjects, IndexedImageAndPalette) {
    auto img = read(bmp(2, 1, 8, 0, {0, 255, 0, 0}, 256));
    EXPECT_TRUE(img->isIndexed());
    EXPECT_EQ(img->ext(), "BMP");
    EXPECT_EQ(img->bitsPerComponent(), 8);
    TObjects objects;
    const uint64_t n = img->addObjectSpecs(&objects, "", nullptr, csAuto, ConvertImages{});
    img->addObjectPalette(&objects);
    TBaseObject* o = objects.get(n);
    EXPECT_EQ(o->comment(), "Image/BMP");
    const std::string t = head(o);
    EXPECT_EQ(t.substr(0, t.find("   /Length ")), "3 0 obj\n"
                                                  "<< /Subtype /Image\n"
                                                  "   /Width 2\n"
                                                  "   /Height 1\n"
                                                  "   /ColorSpace [/Indexed /DeviceRGB 255 4 0 R]\n"
                                                  "   /BitsPerComponent 8\n"
                                                  "   /Length1 2\n");
    TBaseObject* pal = objects.get(4);
    EXPECT_EQ(pal->comment(), "BMP/Palette");
    EXPECT_EQ(head(pal).substr(0, 23), "4 0 obj\n<< /Length1 768");
    // Entries go out red, green, blue.
    EXPECT_EQ(img->palette()->getAt(3), 0x30);
    EXPECT_EQ(img->palette()->getAt(5), 1);
}

TEST(BmpObjects, TrueColourImage) {
    auto img = read(bmp(1, 1, 24, 0, {1, 2, 3, 0}));
    EXPECT_FALSE(img->isIndexed());
    EXPECT_EQ(img->palette(), nullptr);
    EXPECT_TRUE(std::isnan(img->minPDFVer()));
    TObjects objects;
    const std::string t = head(objects.get(img->addObjectSpecs(&objects, "", nullptr, csAuto, ConvertImages{})));
    EXPECT_NE(t.find("   /ColorSpace /DeviceRGB\n   /BitsPerComponent 8\n   /Length1 3\n"), std::string::npos) << t;
}

TEST(BmpObjects, PackedPixelsWithoutColourTableGoOutAsGray) {
    auto img = read(bmp(8, 1, 1, 0, {0xF0, 0, 0, 0}));
    EXPECT_FALSE(img->isIndexed());
    TObjects objects;
    const std::string t = head(objects.get(img->addObjectSpecs(&objects, "", nullptr, csAuto, ConvertImages{})));
    EXPECT_NE(t.find("   /ColorSpace /DeviceGray\n   /BitsPerComponent 1\n"), std::string::npos) << t;
}

TEST(BmpObjects, CopyHasItsOwnBuffer) {
    auto img = read(bmp(1, 1, 24, 0, {1, 2, 3, 0}));
    auto copy = img->getCopy();
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->width(), 1);
    EXPECT_NE(copy->buffer(), img->buffer());
}

// ---------------------------------------------------------------- failures

TEST(BmpFailures, Texts) {
    EXPECT_EQ(failure(bmp(1, 1, 24, 4, {})), "JPeg compressed BMP image is not yet supported!");
    EXPECT_EQ(failure(bmp(1, 1, 24, 5, {})), "PNG compressed BMP image is not yet supported!");
    EXPECT_EQ(failure(bmp(1, 1, 24, 6, {})), "Unsupported biCompression mode: 6");
    EXPECT_EQ(failure(bmp(1, 1, 2, 0, {0, 0, 0, 0}, 4)), "Error parsing BMP image - Unsupported biBitCount");
    EXPECT_EQ(failure(bmp(1, 1, 30000, 0, {0, 0, 0, 0})), "Error parsing BMP image - Unsupported biBitCount");
    EXPECT_EQ(failure(bmp(1, 1, 0, 0, {0, 0, 0, 0})), "Error parsing BMP image - Unsupported biBitCount");
}

TEST(BmpFailures, HostileHeaders) {
    EXPECT_EQ(failure(bmp(3000000, 2000000, 24, 0, {})),
              "Image of 3000000 x 2000000 pixels exceeds the limit of 268435456 pixels");
    // A negative width reads as a huge one.
    EXPECT_EQ(failure(bmp(-127, 64, 24, 0, {})), "Image of 4294967169 x 64 pixels exceeds the limit of 268435456 pixels");
    EXPECT_NE(failure(bmp(0, INT32_MIN, 24, 0, {})).find("exceeds the limit"), std::string::npos);
    Bytes far = bmp(1, 1, 24, 0, {1, 2, 3, 0});
    far[10] = 0xF0;
    far[11] = 0xFF;
    EXPECT_EQ(failure(far), "BMP: Pixel data offset 65520 lies past the end of the file");
    // A file cut inside its header: the missing fields read 0.
    EXPECT_EQ(failure({'B', 'M', 1}), "Error parsing BMP image - Unsupported biBitCount");
    // Zero sizes give an empty image.
    EXPECT_EQ(pixels(*read(bmp(0, 5, 24, 0, {}))), Bytes{});
}
