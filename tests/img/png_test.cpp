#include <gtest/gtest.h>

#include "tests/builders.h"
#include <zlib.h>

#include <cmath>
#include <string>
#include <vector>

#include "kivuimg/commons/core/buffer.h"
#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/indirectobj.h"
#include "kivuimg/commons/objects.h"
#include "kivuimg/img/png.h"

using namespace kivu;

namespace {

using kivutest::Bytes;
using Keys = std::vector<uint16_t>;

using kivutest::be32;
using kivutest::Png;
Bytes ihdr(uint32_t w, uint32_t h, uint8_t depth, uint8_t type, uint8_t comp = 0, uint8_t filter = 0,
           uint8_t interlace = 0) {
    return kivutest::pngHeader(w, h, depth, type, comp, filter, interlace);
}
Bytes deflate(const Bytes& raw) { return kivutest::zlibDeflate(raw); }

Bytes inflate(std::span<const uint8_t> z) {
    Bytes out(1 << 20);
    uLongf n = out.size();
    EXPECT_EQ(uncompress(out.data(), &n, z.data(), static_cast<uLong>(z.size())), Z_OK);
    out.resize(n);
    return out;
}

Png png(uint32_t w, uint32_t h, uint8_t depth, uint8_t type) { return Png(w, h, depth, type); }

std::unique_ptr<TImagePNG> read(const Bytes& bytes) { return kivutest::readImage<TImagePNG>(bytes); }
std::string failure(const Bytes& bytes) { return kivutest::readFailure<TImagePNG>(bytes); }

std::string span2str(std::span<const uint8_t> s) { return std::string(s.begin(), s.end()); }

std::string head(TBaseObject* o) { return kivutest::objectHead(o); }

}  // namespace

// ---------------------------------------------------------------- header failures

TEST(PngHeader, FailureTexts) {
    EXPECT_EQ(failure({137, 80, 78, 71, 13, 10, 26, 11}), "Unsupported PNG file format");
    EXPECT_EQ(failure({137, 80, 78}), "Unsupported PNG file format");
    Png notIhdr;
    notIhdr.add("IHDX", ihdr(1, 1, 8, 0));
    EXPECT_EQ(failure(notIhdr.bytes), "PNG: Incorrect PNG file");
    EXPECT_EQ(failure(png(1, 1, 16, 0).end().bytes), "PNG: 16-bit depth not supported");
    EXPECT_EQ(failure(png(1, 1, 9, 0).end().bytes), "PNG: 16-bit depth not supported");
    EXPECT_EQ(failure(png(1, 1, 3, 0).end().bytes), "PNG: Invalid bit depth 3");
    EXPECT_EQ(failure(png(1, 1, 0, 2).end().bytes), "PNG: Invalid bit depth 0");
    EXPECT_EQ(failure(png(1, 1, 200, 2).end().bytes), "PNG: Invalid bit depth -56");
    for (uint8_t type : {1, 5, 7, 255}) EXPECT_EQ(failure(png(1, 1, 8, type).end().bytes), "PNG: Unknown color type");
    auto with = [](uint8_t comp, uint8_t filter, uint8_t interlace) {
        Png p;
        p.add("IHDR", ihdr(1, 1, 8, 0, comp, filter, interlace)).end();
        return failure(p.bytes);
    };
    EXPECT_EQ(with(1, 0, 0), "PNG: Unknown compression method");
    EXPECT_EQ(with(0, 1, 0), "PNG: Unknown filer method");
    EXPECT_EQ(with(0, 0, 1), "PNG: Interlacing not supported");
    EXPECT_EQ(failure(png(1, 1, 8, 3).add("IDAT", deflate({0, 0})).end().bytes), "PNG: Missing palette");
    // Less than one whole entry is no palette.
    EXPECT_EQ(failure(png(1, 1, 8, 3).add("PLTE", {1, 2}).add("IDAT", deflate({0, 0})).end().bytes),
              "PNG: Missing palette");
}

TEST(PngHeader, FileCutInsideIhdrReadsAsZeroWidth) {
    Bytes b{137, 80, 78, 71, 13, 10, 26, 10, 0, 0, 0, 13, 'I', 'H', 'D', 'R', 0, 0};
    auto img = read(b);
    EXPECT_EQ(img->width(), 0);
    EXPECT_EQ(img->height(), 0);
    EXPECT_EQ(img->colorSpace(), csGray);
}

TEST(PngHeader, PixelLimit) {
    EXPECT_EQ(failure(png(70000, 70000, 8, 2).end().bytes),
              "Image of 70000 x 70000 pixels exceeds the limit of 268435456 pixels");
    // A zero height doesn't hide a width beyond the limit.
    EXPECT_NE(failure(png(0x80000000u, 0, 8, 6).end().bytes).find("exceeds the limit"), std::string::npos);
    EXPECT_EQ(failure(png(16384, 16384, 8, 2).end().bytes), "(no failure)");
}

TEST(PngHeader, ContractQueries) {
    auto img = read(png(3, 2, 8, 2).add("IDAT", deflate(Bytes(2 * 10))).end().bytes);
    EXPECT_EQ(img->ext(), "PNG");
    EXPECT_EQ(img->colorSpace(), csRGB);
    EXPECT_EQ(img->colorSpaceName(), "DeviceRGB");
    EXPECT_EQ(img->bitsPerComponent(), 8);
    EXPECT_FALSE(img->hasMask());
    EXPECT_FALSE(img->isIndexed());
    EXPECT_FALSE(img->has2Pass());
    EXPECT_TRUE(std::isnan(img->minPDFVer()));
    EXPECT_EQ(img->origWidth(), 3);
    EXPECT_EQ(img->positionX(), 0);
    const std::pair<uint8_t, ColorSpace> types[] = {{0, csGray}, {2, csRGB}, {3, csSpot}, {4, csGray}, {6, csRGB}};
    for (auto [type, space] : types) {
        Png p = png(1, 1, 8, type);
        if (type == 3) p.add("PLTE", {1, 2, 3});
        const size_t row = type == 4 ? 3 : type == 6 ? 5 : 4;
        auto i = read(p.add("IDAT", deflate(Bytes(row))).end().bytes);
        EXPECT_EQ(i->colorSpace(), space) << int(type);
    }
}

// ---------------------------------------------------------------- chunk walk

TEST(PngChunks, IdatBytesPassUnchangedAndJoinInFileOrder) {
    const Bytes z = deflate({0, 10, 20, 0, 30, 40});
    const Bytes a(z.begin(), z.begin() + 3), b(z.begin() + 3, z.end());
    auto img = read(png(2, 2, 8, 0).add("gAMA", {0, 0, 177, 143}).add("IDAT", a).add("tEXt", {'k', 0, 'v'})
                        .add("IDAT", b).end().bytes);
    EXPECT_EQ(span2str(img->data()->pointChunk(0, 0)), span2str(z));
}

TEST(PngChunks, ZeroLengthChunkEndsTheWalk) {
    const Bytes z = deflate({0, 1, 0, 2});
    auto img = read(png(1, 2, 8, 0).add("IDAT", z).add("zERo", {}).add("IDAT", {9, 9, 9}).end().bytes);
    EXPECT_EQ(img->data()->size(), z.size()) << "the IDAT behind the empty chunk is not read";
}

TEST(PngChunks, ChunkLengthPastTheEndStopsAtTheEnd) {
    Bytes b = png(1, 1, 8, 0).bytes;
    be32(b, 0x7FFFFFF0u);
    b.insert(b.end(), {'I', 'D', 'A', 'T', 1, 2, 3});
    auto img = read(b);
    EXPECT_EQ(span2str(img->data()->pointChunk(0, 0)), std::string("\x01\x02\x03", 3));
}

TEST(PngChunks, ColourKeys) {
    // Gray: the low byte of the 16-bit value.
    auto gray = read(png(1, 1, 8, 0).add("tRNS", {0x12, 0x34}).add("IDAT", deflate({0, 0})).end().bytes);
    EXPECT_EQ(gray->transparency(), Keys{0x34});
    // RGB: the low bytes of each sample.
    auto rgb = read(png(1, 1, 8, 2).add("tRNS", {1, 2, 3, 4, 5, 6}).add("IDAT", deflate(Bytes(4))).end().bytes);
    EXPECT_EQ(rgb->transparency(), (Keys{2, 4, 6}));
    // Indexed: the single value 0, whatever the block holds.
    auto idx = read(png(1, 1, 8, 3).add("PLTE", {1, 2, 3, 4, 5, 6}).add("tRNS", {255, 7})
                        .add("IDAT", deflate({0, 1})).end().bytes);
    EXPECT_EQ(idx->transparency(), Keys{0});
    // A block shorter than its colour type needs: the missing bytes read 0.
    auto shortKey = read(png(1, 1, 8, 2).add("tRNS", {9, 8, 7}).add("IDAT", deflate(Bytes(4))).end().bytes);
    EXPECT_EQ(shortKey->transparency(), (Keys{8, 0, 0}));
}

// ---------------------------------------------------------------- objects

TEST(PngObjects, GrayImageText) {
    const Bytes z = deflate({0, 10, 20, 0, 30, 40});
    auto img = read(png(2, 2, 8, 0).add("IDAT", z).end().bytes);
    TObjects objects;
    const uint64_t n = img->addObjectSpecs(&objects, "x", nullptr, csAuto, ConvertImages{});
    EXPECT_EQ(n, 3u);
    TBaseObject* o = objects.get(n);
    EXPECT_EQ(o->comment(), "Image/PNG");
    EXPECT_EQ(head(o), sformat("3 0 obj\n"
                               "<< /Subtype /Image\n"
                               "   /Width 2\n"
                               "   /Height 2\n"
                               "   /ColorSpace /DeviceGray\n"
                               "   /BitsPerComponent 8\n"
                               "   /DecodeParms <</Predictor 15 /Colors 1 /BitsPerComponent 8 /Columns 2>>\n"
                               "   /Length %zu\n"
                               "   /Filter /FlateDecode\n"
                               ">>\n"
                               "stream\n",
                               z.size()));
    EXPECT_EQ(span2str(o->stream()), span2str(z));
}

TEST(PngObjects, LowDepthGrayKeepsItsDepthAndKey) {
    for (uint8_t depth : {1, 2, 4}) {
        auto img = read(png(5, 1, depth, 0).add("tRNS", {0, 1}).add("IDAT", deflate({0, 0x80})).end().bytes);
        TObjects objects;
        TBaseObject* o = objects.get(img->addObjectSpecs(&objects, "", nullptr, csAuto, ConvertImages{}));
        const std::string t = head(o);
        EXPECT_NE(t.find(sformat("   /BitsPerComponent %d\n", depth)), std::string::npos) << t;
        EXPECT_NE(t.find(sformat("/DecodeParms <</Predictor 15 /Colors 1 /BitsPerComponent %d /Columns 5>>", depth)),
                  std::string::npos)
            << t;
        EXPECT_NE(t.find("   /Mask [1 1 ]\n"), std::string::npos) << t;
    }
}

TEST(PngObjects, RgbKeyHasThreePairs) {
    auto img = read(png(1, 1, 8, 2).add("tRNS", {0, 255, 0, 0, 0, 7}).add("IDAT", deflate(Bytes(4))).end().bytes);
    TObjects objects;
    const std::string t = head(objects.get(img->addObjectSpecs(&objects, "", nullptr, csAuto, ConvertImages{})));
    EXPECT_NE(t.find("   /ColorSpace /DeviceRGB\n"), std::string::npos);
    EXPECT_NE(t.find("/Colors 3 "), std::string::npos);
    EXPECT_NE(t.find("   /Mask [255 255 0 0 7 7 ]\n"), std::string::npos) << t;
}

TEST(PngObjects, IndexedImageAndPalette) {
    const Bytes plte{255, 0, 0, 0, 255, 0, 0, 0, 255};
    const Bytes z = deflate({0, 0x12});
    auto img = read(png(4, 1, 2, 3).add("PLTE", plte).add("tRNS", {0, 0, 0}).add("IDAT", z).end().bytes);
    EXPECT_TRUE(img->isIndexed());
    EXPECT_FALSE(img->hasMask());
    EXPECT_EQ(img->colorSpaceName(), "Indexed");
    TObjects objects;
    objects.add(0);
    const uint64_t n = img->addObjectSpecs(&objects, "", nullptr, csAuto, ConvertImages{});
    img->addObjectPalette(&objects);
    img->addObjectMask(&objects);  // nothing: no alpha
    EXPECT_EQ(n, 4u);
    EXPECT_EQ(objects.nextObjectNum(3), 6u);
    EXPECT_EQ(head(objects.get(4)), sformat("4 0 obj\n"
                                            "<< /Subtype /Image\n"
                                            "   /Width 4\n"
                                            "   /Height 1\n"
                                            "   /ColorSpace [/Indexed /DeviceRGB 2 5 0 R]\n"
                                            "   /BitsPerComponent 2\n"
                                            "   /DecodeParms <</Predictor 15 /Colors 1 /BitsPerComponent 2 /Columns 4>>\n"
                                            "   /Mask [0 0 ]\n"
                                            "   /Length %zu\n"
                                            "   /Filter /FlateDecode\n"
                                            ">>\n"
                                            "stream\n",
                                            z.size()));
    TBaseObject* pal = objects.get(5);
    EXPECT_EQ(pal->comment(), "PNG/Palette");
    const std::string t = head(pal);
    EXPECT_EQ(t.substr(0, 26), "5 0 obj\n<< /Length1 9\n   /");
    EXPECT_EQ(inflate(pal->stream()), plte) << "the palette goes out as its RGB triples";
}

TEST(PngObjects, RgbaSplitsIntoColourAndSoftMask) {
    // Two rows with different filters; the filter byte leads both halves.
    const Bytes raw{1, 10, 20, 30, 40, 1, 2, 3, 4,  //
                    2, 50, 60, 70, 80, 5, 6, 7, 8};
    auto img = read(png(2, 2, 8, 6).add("IDAT", deflate(raw)).end().bytes);
    EXPECT_TRUE(img->hasMask());
    EXPECT_FLOAT_EQ(img->minPDFVer(), 1.4f);
    EXPECT_EQ(inflate(img->data()->pointChunk(0, 0)), (Bytes{1, 10, 20, 30, 1, 2, 3, 2, 50, 60, 70, 5, 6, 7}));
    EXPECT_EQ(inflate(img->mask()->pointChunk(0, 0)), (Bytes{1, 40, 4, 2, 80, 8}));

    TObjects objects;
    const uint64_t n = img->addObjectSpecs(&objects, "", nullptr, csAuto, ConvertImages{});
    img->addObjectMask(&objects);
    const std::string t = head(objects.get(n));
    EXPECT_NE(t.find("   /ColorSpace /DeviceRGB\n"), std::string::npos);
    EXPECT_NE(t.find("   /SMask 4 0 R\n"), std::string::npos) << t;
    EXPECT_EQ(t.find("/Mask ["), std::string::npos);
    EXPECT_EQ(head(objects.get(n + 1)),
              sformat("4 0 obj\n"
                      "<< /Type /XObject\n"
                      "   /Subtype /Image\n"
                      "   /Width 2\n"
                      "   /Height 2\n"
                      "   /ColorSpace /DeviceGray\n"
                      "   /BitsPerComponent 8\n"
                      "   /DecodeParms <</Predictor 15 /Colors 1 /BitsPerComponent 8 /Columns 2>>\n"
                      "   /Length %zu\n"
                      "   /Filter /FlateDecode\n"
                      ">>\n"
                      "stream\n",
                      img->mask()->size()));
}

TEST(PngObjects, GrayAlphaSplitsEvenAndOddBytes) {
    const Bytes raw{4, 1, 2, 3, 4, 5, 6};
    auto img = read(png(3, 1, 8, 4).add("IDAT", deflate(raw)).end().bytes);
    EXPECT_EQ(inflate(img->data()->pointChunk(0, 0)), (Bytes{4, 1, 3, 5}));
    EXPECT_EQ(inflate(img->mask()->pointChunk(0, 0)), (Bytes{4, 2, 4, 6}));
    EXPECT_EQ(img->colorSpace(), csGray);
}

TEST(PngObjects, AlphaWithShortDataReadsZeros) {
    auto img = read(png(1, 3, 8, 6).add("IDAT", deflate({0, 1, 2, 3, 4})).end().bytes);
    EXPECT_EQ(inflate(img->data()->pointChunk(0, 0)), (Bytes{0, 1, 2, 3, 0, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(inflate(img->mask()->pointChunk(0, 0)), (Bytes{0, 4, 0, 0, 0, 0}));
}

TEST(PngObjects, DecompressionBombRaises) {
    // 4 x 4 RGBA needs 4 * 17 bytes; the stream inflates to a megabyte.
    auto img = std::make_unique<TImagePNG>(
        TBuffer::create(std::span<const uint8_t>(png(4, 4, 8, 6).add("IDAT", deflate(Bytes(1 << 20))).end().bytes)));
    try {
        img->readSpecs();
        FAIL() << "a bomb must raise";
    } catch (const KivuException& e) {
        EXPECT_NE(std::string(e.what()).find("exceeds the expected 68 bytes"), std::string::npos) << e.what();
    }
}

TEST(PngObjects, CopyHasItsOwnBuffer) {
    auto img = read(png(3, 2, 8, 6).add("IDAT", deflate(Bytes(2 * 13))).end().bytes);
    auto copy = img->getCopy();
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->ext(), "PNG");
    EXPECT_EQ(copy->width(), 3);
    EXPECT_EQ(copy->height(), 2);
    EXPECT_TRUE(copy->hasMask());
    EXPECT_NE(copy->buffer(), img->buffer());
    EXPECT_EQ(copy->buffer()->MD5(), img->buffer()->MD5());
}

// ---------------------------------------------------------------- the standard rules

TEST(PngStandard, WhatEachRuleSetReads) {
    const Bytes adam7 = ihdr(1, 1, 8, 0, 0, 0, 1), method2 = ihdr(1, 1, 8, 0, 0, 0, 2);
    struct Case {
        Bytes bytes;
        const char* engine;
        const char* standard;
    } cases[] = {
        {png(2, 1, 16, 0).add("IDAT", deflate(Bytes(5))).end().bytes, "PNG: 16-bit depth not supported", "(no failure)"},
        {png(1, 1, 16, 3).add("PLTE", {1, 2, 3}).end().bytes, "PNG: 16-bit depth not supported",
         "PNG: Invalid bit depth 16"},
        {png(1, 1, 4, 2).end().bytes, "(no failure)", "PNG: Invalid bit depth 4"},
        {Png().add("IHDR", adam7).add("IDAT", deflate({5, 9})).end().bytes, "PNG: Interlacing not supported",
         "PNG: Unknown row filter 5"},
        {Png().add("IHDR", method2).end().bytes, "PNG: Interlacing not supported", "PNG: Interlacing not supported"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(failure(c.bytes), c.engine);
        kivutest::UseRules standard(rulesStandard);
        EXPECT_EQ(failure(c.bytes), c.standard);
    }
}
