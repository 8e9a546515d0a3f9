#include <gtest/gtest.h>

#include <cstring>
#include <zlib.h>

#include "kivuimg/commons/core/buffer.h"
#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/core/memory.h"
#include "kivuimg/commons/core/outside.h"
#include "kivuimg/commons/core/reader.h"

using namespace kivu;

namespace {

std::unique_ptr<TBuffer> bytes(std::initializer_list<uint8_t> b) {
    std::vector<uint8_t> v(b);
    return TBuffer::create(std::span<const uint8_t>(v));
}

std::unique_ptr<TBuffer> tenBytes() {
    auto b = std::make_unique<TBuffer>(256, 8192);
    for (uint8_t i = 0; i < 10; ++i) b->addByte(i);
    return b;
}

}  // namespace

TEST(Memory, AppendRulesAndViews) {
    TMemory m(256, 8192);
    EXPECT_FALSE(m.addBytes({})) << "an empty run answers false";
    EXPECT_EQ(m.last(), 0);
    EXPECT_EQ(m.getAt(0), 0);
    m += std::string_view("0123456789");
    EXPECT_EQ(m.size(), 10u);
    EXPECT_EQ(m.pointChunk(m.size(), 0).size(), 0u);
    EXPECT_EQ(m.pointChunk(0, 0).size(), 10u);
    EXPECT_EQ(m.pointChunk(3, 1000).size(), 7u);
    EXPECT_EQ(m.getChunk(8, 5), (std::vector<uint8_t>{'8', '9'}));
    EXPECT_EQ(m.getAt(m.size()), 0);
    m.backward(m.size());
    EXPECT_EQ(m.size(), 10u) << "stepping back over everything changes nothing";
    m.backward(m.size() - 1);
    EXPECT_EQ(m.to_string(), "0");
}

TEST(Memory, LongRunsOfSingleBytesKeepTheirContent) {
    TMemory m(48, 8192);
    for (int i = 0; i < 1'000'000; ++i) ASSERT_TRUE(m.addByte(static_cast<uint8_t>(i * 7)));
    ASSERT_EQ(m.size(), 1'000'000u);
    for (int i = 0; i < 1'000'000; i += 9973) ASSERT_EQ(m.getAt(i), static_cast<uint8_t>(i * 7));
}

TEST(Memory, AppendingFromItselfSurvivesGrowth) {
    TMemory m(4, 8192);
    m += std::string_view("abcdef");
    m += m;
    EXPECT_EQ(m.to_string(), "abcdefabcdef");
    // A run inside the block, appended while the block grows under it.
    for (int i = 0; i < 6; ++i) m.addBytes(m.pointChunk(2, 3));
    EXPECT_EQ(m.to_string(), "abcdefabcdefcdecdecdecdecdecde");
}

TEST(Memory, ForeignBlocksNeverGrow) {
    uint8_t area[4] = {1, 2, 3, 4};
    TMemory m(area, 4);
    EXPECT_FALSE(m.addByte(5));
    EXPECT_FALSE(m.addChars("x"));
    EXPECT_EQ(m.size(), 4u);
    EXPECT_EQ(m.last(), 4);
}

TEST(Memory, CompressionRoundTripAndErrors) {
    TMemory m(1024, 8192);
    for (int i = 0; i < 5000; ++i) m.addByte(static_cast<uint8_t>(i % 13));
    const std::string md5 = m.MD5();
    ASSERT_TRUE(m.comp());
    EXPECT_LT(m.size(), 5000u);
    ASSERT_TRUE(m.uncomp());
    EXPECT_EQ(m.size(), 5000u);
    EXPECT_EQ(m.MD5(), md5);

    TMemory bad(256, 8192);
    bad += std::string_view("no zlib stream here");
    try {
        bad.uncomp();
        FAIL() << "expected an exception";
    } catch (const KivuException& e) {
        EXPECT_STREQ(e.what(), "Error: -3");
    }
    EXPECT_EQ(bad.to_string(), "no zlib stream here") << "content stays after a failed expansion";
}

TEST(Memory, ExpansionLimitStopsBombs) {
    std::vector<uint8_t> zeros(1 << 20, 0);
    TMemory m{std::span<const uint8_t>(zeros)};
    ASSERT_TRUE(m.comp());
    EXPECT_THROW(m.uncomp(1000), KivuException);
    ASSERT_TRUE(m.uncomp(1 << 20));
    EXPECT_EQ(m.size(), 1u << 20);
}

TEST(Memory, Md5KnownValues) {
    TMemory m(256, 8192);
    EXPECT_EQ(m.MD5(), "D41D8CD98F00B204E9800998ECF8427E");
    m += std::string_view("The quick brown fox jumps over the lazy dog");
    EXPECT_EQ(m.MD5(), "9E107D9D372BB6826BD81D3542A419D6");
}

TEST(Memory, CleanBase64) {
    EXPECT_EQ(TMemory::cleanBase64CodedData("data:image/png;base64,AA\r\nBB"), "AABB");
    EXPECT_EQ(TMemory::cleanBase64CodedData("base64,AA"), "base64,AA");
    EXPECT_EQ(TMemory::cleanBase64CodedData("x;base64,"), "");
    EXPECT_EQ(TMemory::cleanBase64CodedData(" Q Q\t=\n="), "QQ==");
}

TEST(Outside, FixedCapacityAndRefusedConstructors) {
    uint8_t area[8];
    std::memset(area, 0xAB, sizeof area);
    {
        TOutside o(area, 8);
        EXPECT_EQ(o.size(), 8u);
        o.clear();
        for (int i = 0; i < 8; ++i) ASSERT_TRUE(o.addByte(static_cast<uint8_t>(i)));
        try {
            o.addByte(9);
            FAIL();
        } catch (const KivuException& e) {
            EXPECT_STREQ(e.what(), "Memory buffer is full, reserve more memory in settings.");
        }
        o.clear();
        const uint8_t run[9] = {0};
        EXPECT_THROW(o.addBytes(run), KivuException);
    }
    EXPECT_EQ(area[7], 7) << "the memory is written in place and never freed";
    try {
        TOutside bad(256, 8192);
        FAIL();
    } catch (const KivuException& e) {
        EXPECT_STREQ(e.what(), "Create Outsize buffer only with memory pointer and size1");
    }
    EXPECT_THROW(TOutside(std::span<const uint8_t>()), KivuException);
}

TEST(Outside, NoCapacityAndNoReallocation) {
    uint8_t area[32] = {0};
    TOutside none(area, 0);
    EXPECT_THROW(none.addByte(1), KivuException) << "a block of 0 bytes over foreign memory takes nothing";
    EXPECT_THROW(none.addChars("x"), KivuException);
    // Expanding or loading more than the capacity raises instead of taking
    // memory of its own.
    const std::vector<uint8_t> sevens(1000, 7);
    TMemory z{std::span<const uint8_t>(sevens)};
    ASSERT_TRUE(z.comp());
    ASSERT_LT(z.size(), sizeof area);
    std::memcpy(area, z.ptr(), z.size());
    TOutside packed(area, z.size());
    EXPECT_THROW(packed.uncomp(), KivuException);
    const std::string path = ::testing::TempDir() + "kivu_outside_test.bin";
    ASSERT_EQ(TBuffer::create(std::string(40, 'x'))->save(path, false), 1);
    EXPECT_THROW(packed.load(path), KivuException);
    ASSERT_EQ(TBuffer::create("1234")->save(path, false), 1);
    ASSERT_TRUE(packed.load(path));
    EXPECT_EQ(packed.to_string(), "1234");
    EXPECT_EQ(area[0], '1') << "loaded in place";
}

TEST(Buffer, Base64AndFiles) {
    auto b = TBuffer::createByBase64CodedString("data:text/plain;base64,SGVs\nbG8=");
    EXPECT_EQ(b->to_string(), "Hello");
    EXPECT_THROW(TBuffer::createByBase64CodedString("SG*s"), KivuException);
    EXPECT_EQ(base64Encode(b->bytes()), "SGVsbG8=");

    const std::string path = ::testing::TempDir() + "kivu_buffer_test.bin";
    ASSERT_EQ(b->save(path, false), 1);
    ASSERT_EQ(b->save(path, true), 1);
    auto back = TBuffer::loadFromFile(path);
    ASSERT_TRUE(back);
    EXPECT_EQ(back->to_string(), "HelloHello");
    EXPECT_EQ(TBuffer::loadFromFile(path + ".missing"), nullptr);
    EXPECT_EQ(b->save("/nonexistent-dir/x", false), -1);
}

TEST(Buffer, DerivedSelections) {
    auto b = tenBytes();
    auto v = [](const std::unique_ptr<TBuffer>& x) { return x->getChunk(0, 0); };
    EXPECT_EQ(v(b->getEveryAndRest(3)), (std::vector<uint8_t>{3, 7, 8, 9}));
    EXPECT_EQ(v(b->getAllDropEvery(3)), (std::vector<uint8_t>{0, 1, 2, 4, 5, 6, 8, 9}));
    EXPECT_EQ(v(b->getEvens()), (std::vector<uint8_t>{0, 2, 4, 6, 8}));
    EXPECT_EQ(v(b->getOdds()), (std::vector<uint8_t>{1, 3, 5, 7, 9}));
    EXPECT_EQ(v(b->reverse()), (std::vector<uint8_t>{9, 8, 7, 6, 5, 4, 3, 2, 1, 0}));
    b->spliceUint32(2, 0xA1B2C3D4);
    EXPECT_EQ(b->getAt(2), 0xA1);
    EXPECT_EQ(b->getAt(5), 0xD4);
    b->spliceUint32(6, 0xFFFFFFFF);  // not below size() - 4: nothing happens
    EXPECT_EQ(b->getAt(6), 6);
}

TEST(Buffer, Crc32IsByteReversed) {
    EXPECT_EQ(TBuffer::create("123456789")->CRC32(), 0x2639F4CBu);
    EXPECT_EQ(TBuffer(256, 8192).CRC32(), 0u);
}

TEST(Buffer, PdfStringEscapes) {
    EXPECT_EQ(TBuffer::escapedStringRaw("a(b)")->to_string(), "(a\\(b\\))");
    EXPECT_EQ(TBuffer::escapedStringRaw("x\ny\\")->to_string(), "(x\\\ny\\\\)");
    EXPECT_EQ(TBuffer::escapedHexRaw("AZ")->to_string(), "<415A>");
    const uint8_t raw[] = {'(', 200, 10};
    EXPECT_EQ(TBuffer::escapedIndexStringRaw(raw)->to_string(), std::string("(\\(\xC8\\\n)", 7));
    EXPECT_EQ(TBuffer::escapedStringISORaw("\xE2\x82\xAC\xC3\xA9")->to_string(), "(\x80\xE9)");

    const std::string w = escaped("A\xC2\xAD(\xC3\xA9")->to_string();  // A, soft hyphen, (, e-acute
    EXPECT_EQ(w, std::string("(\xFE\xFF\x00\x41\x00\\(\x00\xE9)", 11));
    EXPECT_EQ(escaped("plain")->to_string(), "(plain)");
    // Bytes of two-byte units that a reader would drop, fold or take as the
    // string's end keep their unit: U+0428 (low byte "("), LF, U+4E0D (low
    // byte CR), U+5C0F (high byte backslash).
    EXPECT_EQ(TBuffer::escapedWStringRaw(u"\u0428\n\u4E0D\u5C0F", false)->to_string(),
              std::string("(\x04\\(\x00\\n\x4E\\r\\\\\x0F)", 14));
    EXPECT_TRUE(fitsWindows1252("caf\xC3\xA9 \xE2\x82\xAC ?"));
    EXPECT_FALSE(fitsWindows1252("\xCE\xA8"));  // Greek capital psi
    EXPECT_FALSE(fitsWindows1252("\xFF"));      // not UTF-8

    TBuffer b(64, 8192);
    b.addUshort(0x1234);
    b.addUint(0x56789ABC);
    EXPECT_EQ(b.getChunk(0, 0), (std::vector<uint8_t>{0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC}));
}

TEST(Reader, ValueReadersStopAtTheEnd) {
    auto b = tenBytes();
    TReader r(b.get());
    r.set_seek(b->size() - 3);
    EXPECT_EQ(r.read<int32_t>(), 0);
    EXPECT_EQ(r.tell(), 7u);
    r.set_seek(b->size() - 4);
    EXPECT_EQ(r.read<int32_t>(), 0x06070809);
    r.set_seek(0);
    EXPECT_EQ(r.readLe<uint16_t>(), 0x0100);
    EXPECT_EQ(r.readLe<int32_t>(), 0x05040302);
    EXPECT_EQ(r.read<uint16_t>(), 0x0607);

    r.set_seek(b->size() - 1);
    EXPECT_FALSE(r.inc(1)) << "landing exactly on the end is not a move";
    EXPECT_EQ(r.tell(), 9u);
    EXPECT_FALSE(r.eof());
    EXPECT_FALSE(r.inc(0));
    r.set_seek(b->size());
    EXPECT_TRUE(r.eof());
    r.set_seek(b->size() + 1);
    EXPECT_EQ(r.tell(), 10u);
    bool eof = false;
    EXPECT_EQ(r.readByte(eof), 0);
    EXPECT_TRUE(eof);
    EXPECT_EQ(r.read_truecolor(), -1);
    r.set_seek(1);
    EXPECT_EQ(r.read_truecolor(), 0x010203);
}

TEST(Reader, LinesStringsAndSearch) {
    auto b = TBuffer::create("a\r\nb\rc\nd");
    TReader r(b.get());
    EXPECT_EQ(r.read_line(0), "a");
    EXPECT_EQ(r.read_line(0), "b");
    EXPECT_EQ(r.read_line(0), "c");
    EXPECT_EQ(r.read_line(0), std::string("d\0", 2));
    TBuffer empty(48, 8192);
    TReader e(&empty);
    EXPECT_EQ(e.read_line(0), std::string("\0", 1));

    auto t = TBuffer::create("xxabcabc  \t");
    TReader s(t.get());
    s.set_seek(3);
    EXPECT_EQ(s.match_pos("abc"), 5) << "absolute position";
    EXPECT_EQ(s.tell(), 3u);
    EXPECT_EQ(s.read_string(2), "bc");
    EXPECT_EQ(s.read_bytes(100).size(), 6u);
    s.set_seek(0);
    EXPECT_EQ(s.span_chars("b"), 4u);
    EXPECT_EQ(s.tell(), 4u);
    EXPECT_EQ(s.span_chars("z"), 8u) << "bytes passed plus the read at the end";
    s.set_seek(8);
    EXPECT_FALSE(s.leap_whitespaces());
    EXPECT_TRUE(s.eof());
    auto rest = TReader(t.get()).read_buffer(-1);
    EXPECT_EQ(rest->size(), t->size());
}
