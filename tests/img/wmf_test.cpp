#include "kivuimg/img/wmf.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/indirectobj.h"
#include "kivuimg/commons/objects.h"
#include "kivuimg/img/libmain.h"
#include "tests/builders.h"

namespace kivu {
namespace {

using kivutest::WmfBuilder;

// Emits the image and answers its content stream.
std::string emit(TImageWMF& img, ColorSpace space = csAuto, ConvertImages convert = ciNo) {
    TObjects objects;
    img.addObjectSpecs(&objects, "wmf", nullptr, space, convert);
    img.addObjectMask(&objects);
    return img.data()->to_string();
}

std::string emit(const WmfBuilder& b, ColorSpace space = csAuto, ConvertImages convert = ciNo) {
    auto img = b.image();
    return emit(*img, space, convert);
}

bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

// ---- contract --------------------------------------------------------------

TEST(WmfTest, AnswersTheContractOfAFormImage) {
    auto img = WmfBuilder().eof().image();
    EXPECT_EQ(img->ext(), "WMF");
    EXPECT_TRUE(img->hasMask());
    EXPECT_TRUE(img->isFormObject());
    EXPECT_FALSE(img->isIndexed());
    EXPECT_FALSE(img->has2Pass());
    EXPECT_EQ(img->colorSpace(), csAuto);
    EXPECT_TRUE(std::isnan(img->minPDFVer()));
}

TEST(WmfTest, RegistryCreatesAMetafileForTheWmfExtension) {
    std::string name = "a.wmf";
    auto img = createImage(WmfBuilder().windowExt(460, 460).eof().buffer(), ".wmf", name);
    ASSERT_NE(img, nullptr);
    EXPECT_EQ(img->ext(), "WMF");
    EXPECT_EQ(name, "a.wmf");
}

// ---- first pass: size and window -------------------------------------------

TEST(WmfTest, SizeAndWindowComeFromTheRecordsBeforeTheDrawing) {
    struct Case {
        const char* what;
        WmfBuilder file;
        int width, height, x, y, origWidth, origHeight;
    };
    const Case cases[] = {
        // "10.00mm" for 460 units: 10 x 2.8346457 x 1.333 = 37.79.
        {"extent", WmfBuilder().windowExt(460, 920).eof(), 37, 75, 0, 0, 460, 920},
        {"negative extent", WmfBuilder().windowExt(-460, -920).eof(), 37, 75, 0, 0, -460, -920},
        {"standard file", WmfBuilder(false).windowOrg(-5, 7).windowExt(1000, 500).eof(), 82, 41, -5, 7, 1000, 500},
        {"placeable file", WmfBuilder(true).windowOrg(-5, 7).windowExt(1000, 500).eof(), 82, 41, -5, 7, 1000, 500},
        {"later record before drawing",
         WmfBuilder().windowExt(460, 460).windowOrg(1, 1).windowExt(920, 460).windowOrg(3, 4).eof(), 75, 37, 3, 4, 920,
         460},
        {"records after a drawing",
         WmfBuilder().windowExt(460, 460).windowOrg(1, 2).polygon({{0, 0}, {1, 1}, {2, 0}}).windowExt(4600, 4600)
             .windowOrg(100, 200).eof(),
         37, 37, 1, 2, 460, 460},
        {"records after a selection", WmfBuilder().windowExt(460, 460).select(0).windowExt(920, 920).eof(), 37, 37, 0,
         0, 460, 460},
        {"records behind the end", WmfBuilder().windowExt(460, 460).eof().windowExt(920, 920), 37, 37, 0, 0, 460, 460},
    };
    for (const Case& c : cases) {
        auto img = c.file.image();
        EXPECT_EQ(img->width(), c.width) << c.what;
        EXPECT_EQ(img->height(), c.height) << c.what;
        EXPECT_EQ(img->positionX(), c.x) << c.what;
        EXPECT_EQ(img->positionY(), c.y) << c.what;
        EXPECT_EQ(img->origWidth(), c.origWidth) << c.what;
        EXPECT_EQ(img->origHeight(), c.origHeight) << c.what;
    }
}

TEST(WmfTest, AFileWithoutRecordsHasNoSize) {
    auto img = WmfBuilder().image();
    EXPECT_EQ(img->width(), 0);
    EXPECT_EQ(img->height(), 0);
    auto tiny = std::make_unique<TImageWMF>(TBuffer::create(std::string_view("\xD7\xCD", 2)));
    tiny->readSpecs();
    EXPECT_EQ(tiny->width(), 0);
    EXPECT_EQ(emit(*tiny), "");
}

// ---- GDI object table ------------------------------------------------------

TEST(WmfTest, ANewObjectTakesTheLowestFreeSlot) {
    // Pens red, green, blue at 0, 1, 2; 2 and 0 go (and 9, 1 not in the
    // table, is ignored); white takes 0, grey takes 2, then black takes 3.
    auto img = WmfBuilder()
                   .pen(0, 20, 255, 0, 0)
                   .pen(0, 20, 0, 255, 0)
                   .pen(0, 20, 0, 0, 255)
                   .remove(2)
                   .remove(0)
                   .remove(9)
                   .remove(-1)
                   .pen(0, 20, 255, 255, 255)
                   .pen(0, 20, 128, 128, 128)
                   .pen(0, 20, 0, 0, 0)
                   .select(0)
                   .select(2)
                   .select(3)
                   .eof()
                   .image();
    EXPECT_EQ(emit(*img), "1.000 1.000 1.000 RG\n1.000 w\n0.502 0.502 0.502 RG\n1.000 w\n"
                          "0.000 0.000 0.000 RG\n1.000 w\n");
    ASSERT_EQ(img->gdiObjects().size(), 4u);
    EXPECT_EQ(img->gdiObjects().at(1).green, 255);
}

TEST(WmfTest, PenAndBrushRecordsFillTheirFields) {
    auto img = WmfBuilder()
                   .record(TImageWMF::kCreatePenIndirect, {2, 567, 9, 0x2211, 0x4433})
                   .brush(2, 0x10, 0x20, 0x30, 5)
                   .eof()
                   .image();
    emit(*img);
    const SGDIObject& pen = img->gdiObjects().at(0);
    EXPECT_EQ(pen.type, "P");
    EXPECT_EQ(pen.style, 2);
    EXPECT_FLOAT_EQ(pen.width, 567 / 56.692913f);
    EXPECT_EQ(pen.widthY, 9);
    EXPECT_EQ(pen.red, 0x11);
    EXPECT_EQ(pen.green, 0x22);
    EXPECT_EQ(pen.blue, 0x33);
    EXPECT_EQ(pen.extra, 0x44);
    const SGDIObject& brush = img->gdiObjects().at(1);
    EXPECT_EQ(brush.type, "B");
    EXPECT_EQ(brush.style, 2);
    EXPECT_TRUE(std::isnan(brush.width));
    EXPECT_EQ(brush.red, 0x10);
    EXPECT_EQ(brush.green, 0x20);
    EXPECT_EQ(brush.blue, 0x30);
    EXPECT_EQ(brush.hatch, 5);
}

TEST(WmfTest, EveryObjectRecordHoldsASlot) {
    WmfBuilder b;
    for (uint16_t f : {TImageWMF::kCreatePalette, TImageWMF::kCreateBrush, TImageWMF::kDibCreatePatternBrush,
                       TImageWMF::kCreatePatternBrush, TImageWMF::kCreateFontIndirect,
                       TImageWMF::kCreateBitmapIndirect, TImageWMF::kCreateBitmap, TImageWMF::kCreateRegion})
        b.placeholder(f);
    b.pen(0, 40, 0, 0, 255).select(8).eof();
    auto img = b.image();
    EXPECT_EQ(emit(*img), "0.000 0.000 1.000 RG\n2.000 w\n");
    ASSERT_EQ(img->gdiObjects().size(), 9u);
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(img->gdiObjects().at(i).type, "D");
        EXPECT_TRUE(std::isnan(img->gdiObjects().at(i).width));
        EXPECT_EQ(img->gdiObjects().at(i).red, 0);
    }
    EXPECT_EQ(img->gdiObjects().at(8).type, "P");
}

TEST(WmfTest, SelectingAMissingObjectFails) {
    auto img = WmfBuilder().pen(0, 1, 0, 0, 0).select(7).eof().image();
    TObjects objects;
    try {
        img->addObjectSpecs(&objects, "wmf", nullptr, csAuto, ciNo);
        FAIL() << "no exception";
    } catch (const KivuException& e) {
        EXPECT_STREQ(e.what(), "GDI object at index 7 not found");
    }
    auto negative = WmfBuilder().select(-3).eof().image();
    EXPECT_THROW(emit(*negative), KivuException);
    auto deleted = WmfBuilder().pen(0, 1, 0, 0, 0).remove(0).select(0).eof().image();
    EXPECT_THROW(emit(*deleted), KivuException);
}

TEST(WmfTest, SecondEmissionAddsTheObjectsAgain) {
    auto img = WmfBuilder().pen(0, 20, 0, 0, 0).brush(0, 1, 2, 3).select(1).eof().image();
    const std::string first = emit(*img);
    EXPECT_EQ(img->gdiObjects().size(), 2u);
    const std::string second = emit(*img);
    EXPECT_EQ(img->gdiObjects().size(), 4u);
    EXPECT_EQ(first, second);
}

// ---- second pass: operators -----------------------------------------------

TEST(WmfTest, OperatorsOfEachRecord) {
    struct Case {
        const char* what;
        WmfBuilder file;
        const char* content;
        ColorSpace space = csAuto;
        ConvertImages convert = ciNo;
    };
    const WmfBuilder red = WmfBuilder().pen(0, 20, 255, 0, 0).brush(0, 255, 0, 0).select(0).select(1).eof();
    const Case cases[] = {
        // Points A, B, C give "C m", "B l", "A l", then the operator.
        {"triangle", WmfBuilder().polygon({{1, 2}, {30, 40}, {-5, 600}}).eof(), "-5 600 m\n30 40 l\n1 2 l\nb\n"},
        {"signed coordinates", WmfBuilder().polygon({{-32768, 32767}, {-1, -2}}).eof(), "-1 -2 m\n-32768 32767 l\nb\n"},
        {"polyline closes and strokes", WmfBuilder().polyline({{0, 0}, {10, 0}, {10, 10}}).eof(),
         "10 10 m\n10 0 l\n0 0 l\ns\n"},
        {"polyline whatever pen and brush",
         WmfBuilder().pen(5, 0, 0, 0, 0).brush(1, 0, 0, 0).select(0).select(1).polyline({{1, 1}}).eof(), "1 1 m\ns\n"},
        {"empty polygon", WmfBuilder().polygon({}).eof(), "b\n"},
        {"negative point count", WmfBuilder().record(TImageWMF::kPolygon, {static_cast<uint16_t>(-2), 1, 1}).eof(),
         "b\n"},
        {"records behind the end", WmfBuilder().windowExt(460, 460).eof().polygon({{1, 1}}), ""},
        {"unknown and short records skipped by size",
         WmfBuilder().record(0x0201, {0x1234, 0x5678}).record(0x0B41, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10}).head(2, 0x0626)
             .polygon({{1, 2}}).eof(),
         "1 2 m\nb\n"},
        {"placeholder selected", WmfBuilder().placeholder(TImageWMF::kCreateFontIndirect).select(0).eof(), ""},
        {"even-odd, null pen",
         WmfBuilder().pen(5, 0, 0, 0, 0).brush(0, 0, 0, 255).select(0).select(1).fillMode(1).polygon({{0, 0}, {1, 1}})
             .eof(),
         "0.000 0.000 1.000 rg\n1 1 m\n0 0 l\nf*\n"},
        {"even-odd then winding", WmfBuilder().fillMode(1).polygon({{0, 0}}).fillMode(2).polygon({{0, 0}}).eof(),
         "0 0 m\nb*\n0 0 m\nb\n"},
        {"even-odd leaves s", WmfBuilder().brush(1, 0, 0, 0).select(0).fillMode(1).polygon({{0, 0}}).eof(),
         "0 0 m\ns\n"},
        {"even-odd leaves n",
         WmfBuilder().brush(1, 0, 0, 0).pen(5, 0, 0, 0, 0).select(0).select(1).fillMode(1).polygon({{0, 0}}).eof(),
         "0 0 m\nn\n"},
        {"pen width and colour", WmfBuilder().pen(0, 20, 255, 0, 0).select(0).eof(), "1.000 0.000 0.000 RG\n1.000 w\n"},
        {"inside-frame pen", WmfBuilder().pen(7, 0, 128, 64, 0).select(0).eof(), "0.502 0.251 0.000 RG\n0.000 w\n"},
        {"dash", WmfBuilder().pen(1, 20, 0, 0, 0).select(0).eof(),
         "0.000 0.000 0.000 RG\n1.000 w\n[8.504 2.835 ] 0 d\n"},
        {"dot", WmfBuilder().pen(2, 20, 0, 0, 0).select(0).eof(),
         "0.000 0.000 0.000 RG\n1.000 w\n[1.417 1.417 ] 0 d\n"},
        {"dash dot", WmfBuilder().pen(3, 20, 0, 0, 0).select(0).eof(),
         "0.000 0.000 0.000 RG\n1.000 w\n[5.669 2.835 1.417 2.835 ] 0 d\n"},
        {"dash dot dot", WmfBuilder().pen(4, 20, 0, 0, 0).select(0).eof(),
         "0.000 0.000 0.000 RG\n1.000 w\n[5.669 2.835 1.417 2.835 1.417 2.835 ] 0 d\n"},
        {"inside frame, no dash", WmfBuilder().pen(6, 20, 0, 0, 0).select(0).eof(), "0.000 0.000 0.000 RG\n1.000 w\n"},
        {"a solid pen keeps the dash before it",
         WmfBuilder().pen(1, 20, 0, 0, 0).pen(0, 20, 0, 0, 0).select(0).select(1).eof(),
         "0.000 0.000 0.000 RG\n1.000 w\n[8.504 2.835 ] 0 d\n0.000 0.000 0.000 RG\n1.000 w\n"},
        {"null brush strokes", WmfBuilder().brush(1, 9, 9, 9).select(0).polygon({{1, 1}}).eof(), "1 1 m\ns\n"},
        {"null brush and pen",
         WmfBuilder().brush(1, 9, 9, 9).pen(5, 9, 9, 9, 9).select(0).select(1).polygon({{1, 1}}).eof(), "1 1 m\nn\n"},
        {"a pen after the null pen",
         WmfBuilder().pen(5, 0, 0, 0, 0).pen(0, 0, 0, 0, 0).select(0).polygon({{1, 1}}).select(1).polygon({{2, 2}})
             .eof(),
         "1 1 m\nf\n0.000 0.000 0.000 RG\n0.000 w\n2 2 m\nb\n"},
        {"a brush after the null brush",
         WmfBuilder().brush(1, 0, 0, 0).brush(0, 0, 255, 0).select(0).select(1).polygon({{3, 3}}).eof(),
         "0.000 1.000 0.000 rg\n3 3 m\nb\n"},
        {"hatched brush fills", WmfBuilder().brush(2, 255, 0, 0, 3).select(0).eof(), "1.000 0.000 0.000 rg\n"},
        {"poly-polygon, one operator",
         WmfBuilder().fillMode(1).record(TImageWMF::kPolyPolygon, {2, 3, 2, 0, 0, 10, 0, 10, 10, 20, 20, 30, 30}).eof(),
         "10 10 m\n10 0 l\n0 0 l\n30 30 m\n20 20 l\nb*\n"},
        {"poly-polygon without points", WmfBuilder().record(TImageWMF::kPolyPolygon, {3, 0, 1, 1, 5, 6, 7, 8}).eof(),
         "5 6 m\n7 8 m\nb\n"},
        {"to CMYK", red, "0.000 1.000 1.000 0.000 K\n1.000 w\n0.000 1.000 1.000 0.000 k\n", csCMYK, ciTransform},
        {"to gray", red, "0.333 G\n1.000 w\n0.333 g\n", csGray, ciTransform},
        {"black in CMYK", WmfBuilder().brush(0, 0, 0, 0).select(0).eof(), "1.000 1.000 1.000 1.000 k\n", csCMYK,
         ciTransform},
        {"CMYK without conversion", red, "1.000 0.000 0.000 RG\n1.000 w\n1.000 0.000 0.000 rg\n", csCMYK, ciNo},
        {"RGB converted", red, "1.000 0.000 0.000 RG\n1.000 w\n1.000 0.000 0.000 rg\n", csRGB, ciTransform},
        {"auto converted", red, "1.000 0.000 0.000 RG\n1.000 w\n1.000 0.000 0.000 rg\n", csAuto, ciTransform},
    };
    for (const Case& c : cases) EXPECT_EQ(emit(c.file, c.space, c.convert), c.content) << c.what;

    // The emission keeps its name, space and mode.
    auto black = WmfBuilder().brush(0, 0, 0, 0).select(0).eof().image();
    TObjects objects;
    black->addObjectSpecs(&objects, "pic", nullptr, csCMYK, ciTransform);
    EXPECT_EQ(black->name(), "pic");
    EXPECT_EQ(black->space(), csCMYK);
    EXPECT_EQ(black->convert(), ciTransform);
}

// ---- the objects -----------------------------------------------------------

TEST(WmfTest, FormObjectAndItsGroup) {
    auto img = WmfBuilder().windowOrg(-10, 20).windowExt(460, -920).polygon({{1, 2}}).eof().image();
    TObjects objects;
    const uint64_t before = objects.add(0)->num();  // something the host made before
    const uint64_t num = img->addObjectSpecs(&objects, "wmf", nullptr, csAuto, ciNo);
    img->addObjectMask(&objects);
    EXPECT_EQ(num, before + 1);
    auto* form = objects.get(num);
    ASSERT_NE(form, nullptr);
    EXPECT_EQ(form->comment(), "Image/WMF");
    const auto ref = [](uint64_t n, const char* pattern) { return sformat(pattern, static_cast<unsigned long long>(n)); };
    const std::string pdf = form->toPDF()->to_string();
    for (const std::string& part : {ref(num, "%llu 0 obj\n"), std::string("/Type /XObject\n"),
                                    std::string("/Subtype /Form\n"),
                                    ref(num + 1, "/Group %llu 0 R"), std::string("/BBox [-10 20 450 -900]"),
                                    std::string("stream\n")})
        EXPECT_TRUE(contains(pdf, part)) << part << " in " << pdf;
    EXPECT_EQ(img->data()->to_string(), "1 2 m\nb\n");
    auto* group = objects.get(num + 1);
    ASSERT_NE(group, nullptr);
    const std::string g = group->toPDF()->to_string();
    for (const std::string& part :
         {ref(num + 1, "%llu 0 obj\n"), std::string("/Type /Group\n"), std::string("/S /Transparency\n")})
        EXPECT_TRUE(contains(g, part)) << part << " in " << g;
    EXPECT_FALSE(contains(g, "stream")) << g;
}

TEST(WmfTest, CopyHasTheSameSizeAndItsOwnBytes) {
    auto img = WmfBuilder().windowOrg(3, 4).windowExt(460, 920).eof().image();
    auto copy = img->getCopy();
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->ext(), "WMF");
    EXPECT_EQ(copy->width(), 37);
    EXPECT_EQ(copy->height(), 75);
    EXPECT_EQ(copy->positionX(), 3);
    EXPECT_EQ(copy->origHeight(), 920);
    EXPECT_NE(copy->buffer()->ptr(), img->buffer()->ptr());
}

// ---- bad input -------------------------------------------------------------

TEST(WmfTest, RecordClaimingMoreThanTheFileReadsZeros) {
    // A pen record cut after its style: the width and the colour read 0.
    WmfBuilder b;
    b.head(8, TImageWMF::kCreatePenIndirect).raw({1});
    auto img = b.image();
    emit(*img);
    ASSERT_EQ(img->gdiObjects().size(), 1u);
    EXPECT_EQ(img->gdiObjects().at(0).style, 1);
    EXPECT_EQ(img->gdiObjects().at(0).width, 0.0f);
    EXPECT_EQ(img->gdiObjects().at(0).red, 0);
}

TEST(WmfTest, PointCountBeyondTheRecordDrawsWhatTheRecordHolds) {
    WmfBuilder b;
    b.record(TImageWMF::kPolygon, {32767, 1, 2, 3, 4}).polyline({{5, 6}}).eof();
    EXPECT_EQ(emit(b), "3 4 m\n1 2 l\nb\n5 6 m\ns\n");
    // A record that claims four billion words at the end of the file.
    WmfBuilder huge;
    huge.head(0xFFFFFFFFu, TImageWMF::kPolygon).raw({32767, 7, 8, 9});
    EXPECT_EQ(emit(huge), "9 0 m\n7 8 l\nb\n");
    WmfBuilder poly;
    poly.head(0xFFFFFFFFu, TImageWMF::kPolyPolygon).raw({2, 32767, 32767, 1, 2, 3});
    EXPECT_EQ(emit(poly), "3 0 m\n1 2 l\nb\n");
}

TEST(WmfTest, StrayBytesAtTheEndFollowTheWalk) {
    // Part of a SETWINDOWEXT record's head.  Two or three bytes can't hold
    // the size, which reads 0: they are the function, and its parameters
    // read 0.  One byte, or four and five, leave function 0, which ends the walk.
    const int widths[] = {37, 37, 0, 0, 37, 37};
    for (size_t cut = 0; cut < 6; ++cut) {
        WmfBuilder b;
        b.windowExt(460, 460);
        std::vector<uint8_t> bytes = b.bytes();
        const uint8_t tail[] = {0x0C, 0x02, 0x00, 0x00, 0x00};
        bytes.insert(bytes.end(), tail, tail + cut);
        auto img = std::make_unique<TImageWMF>(TBuffer::create(std::span<const uint8_t>(bytes)));
        img->readSpecs();
        EXPECT_EQ(img->width(), widths[cut]) << cut;
    }
    // Behind a drawing the window doesn't change, and the drawing stays.
    WmfBuilder drawn;
    drawn.windowExt(460, 460).polygon({{1, 1}}).raw({0x020C});
    auto img = drawn.image();
    EXPECT_EQ(img->width(), 37);
    EXPECT_EQ(emit(*img), "1 1 m\nb\n");
}

TEST(WmfTest, ManyObjectsStayCheap) {
    WmfBuilder b;
    for (int i = 0; i < 20000; ++i) b.placeholder(TImageWMF::kCreateRegion);
    for (int i = 0; i < 20000; i += 2) b.remove(static_cast<int16_t>(i));
    b.pen(0, 20, 0, 0, 0).select(0).eof();
    auto img = b.image();
    EXPECT_EQ(emit(*img), "0.000 0.000 0.000 RG\n1.000 w\n");
    EXPECT_EQ(img->gdiObjects().size(), 10001u);
}

// ---- third-party files -----------------------------------------------------

TEST(WmfTest, CorpusFilesConvertOrFailCleanly) {
    const std::filesystem::path dir = std::filesystem::path(KIVU_SOURCE_DIR) / ".." / "shared" / "corpus" / "wmf";
    std::error_code ec;
    if (!std::filesystem::is_directory(dir, ec))
        GTEST_SKIP() << "WMF corpus not found at " << dir.string() << "; third-party files are not part of the project";
    int files = 0, converted = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(dir, ec)) {
        if (entry.path().extension() != ".wmf") continue;
        ++files;
        auto buffer = TBuffer::loadFromFile(entry.path().string());
        ASSERT_NE(buffer, nullptr) << entry.path();
        auto img = std::make_unique<TImageWMF>(std::move(buffer));
        img->readSpecs();
        EXPECT_GE(img->width(), 0);
        EXPECT_GE(img->height(), 0);
        try {
            TObjects objects;
            const uint64_t num = img->addObjectSpecs(&objects, "wmf", nullptr, csCMYK, ciTransform);
            img->addObjectMask(&objects);
            EXPECT_FALSE(objects.get(num)->toPDF()->to_string().empty());
            ++converted;
        } catch (const KivuException& e) {
            EXPECT_TRUE(startsWith(e.what(), "GDI object at index ")) << entry.path() << ": " << e.what();
        }
    }
    if (files == 0) GTEST_SKIP() << "no .wmf files in " << dir.string();
    EXPECT_GT(converted, 0);
}

}  // namespace
}  // namespace kivu
