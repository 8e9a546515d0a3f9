#include <gtest/gtest.h>

#include "kivuimg/commons/colorspaceobj.h"
#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/directobj.h"
#include "kivuimg/commons/extgstateobj.h"
#include "kivuimg/commons/indirectobj.h"
#include "kivuimg/commons/objects.h"
#include "kivuimg/commons/pexobj.h"

using namespace kivu;

namespace {
std::string text(TBaseObject* o) { return o->toPDF()->to_string(); }
}  // namespace

TEST(ObjectStore, Numbering) {
    TObjects store;
    EXPECT_EQ(store.add(0)->num(), 3u);
    EXPECT_EQ(store.add(7)->num(), 7u);
    EXPECT_EQ(store.add(0)->num(), 8u);
    try {
        store.add(7);
        FAIL();
    } catch (const KivuException& e) {
        EXPECT_STREQ(e.what(), "Object number 7 already exists.");
    }
    EXPECT_EQ(store.nextObjectNum(3), 9u);
    EXPECT_EQ(store.nextObjectNum(50), 50u);
    EXPECT_EQ(store.get(4), nullptr);
    EXPECT_EQ(store.getPEX(3), nullptr) << "object 3 is no PEX object";
    EXPECT_NE(store.getPEX(store.addPEX(0)->num()), nullptr);
    EXPECT_EQ(store.cur()->num(), 9u);
    TBaseObject* o = store.get(3);
    o->num(0);
    EXPECT_EQ(o->num(), 3u);
}

TEST(ObjectStore, Xref) {
    TObjects empty;
    EXPECT_EQ(empty.xref(), "xref\n0 1\n0000000000 65535 f \n");
    TObjects store;
    store.add(1)->offset(15);
    store.add(0)->offset(9);
    store.add(2)->offset(1234567);
    // The count comes from the number given last (2), not from the highest.
    EXPECT_EQ(store.xref(),
              "xref\n0 3\n0000000000 65535 f \n0000000015 00000 n \n0001234567 00000 n \n0000000009 00000 n \n");
}

TEST(ObjectStore, CustomObjectsAreShared) {
    TObjects store;
    auto a = store.createCustom(ObjectType::extGState);
    a->set("ca", "0.5000");
    auto b = store.createCustom(ObjectType::extGState);
    b->set("ca", "0.5000");
    EXPECT_EQ(a->comment(), "ExtGState object");
    EXPECT_EQ(store.addCustom(a, false), 1u);
    EXPECT_EQ(store.addCustom(b, false), 1u);
    EXPECT_NE(b, nullptr) << "an equal object stays with the caller";
    EXPECT_EQ(store.getListByObjectType(ObjectType::extGState).size(), 1u);
    EXPECT_EQ(store.addCustom(b, true), 2u);
    EXPECT_EQ(store.getListByObjectType(ObjectType::colorSpace).size(), 0u);

    std::unique_ptr<TBaseObject> plain = std::make_unique<TIndirectObject>(0, "");
    try {
        store.addCustom(plain, false);
        FAIL();
    } catch (const KivuException& e) {
        EXPECT_STREQ(e.what(), "Can't add common object to custom objects");
    }
    try {
        store.createCustom(static_cast<ObjectType>(9));
        FAIL();
    } catch (const KivuException& e) {
        EXPECT_STREQ(e.what(), "Can't create commons object here");
    }
    // A custom object gets its number from the host.
    const auto& list = store.customList(ObjectType::extGState);
    EXPECT_EQ(store.add(list[0]), 3u);
    EXPECT_EQ(text(store.get(3)), "3 0 obj\n<< /Type /ExtGState\n   /ca 0.5000\n>>\nendobj\n");
}

TEST(ObjectStore, CommentsCanBeHidden) {
    TObjects store;
    store.add(0)->comment("Image/JPEG");
    store.showComments(false);
    EXPECT_EQ(store.items().at(3)->comment(), "");
    store.showComments(true);
    EXPECT_EQ(store.get(3)->comment(), "") << "blanked for good";
}

TEST(ObjectText, DictionaryLines) {
    TIndirectObject o(5, "Image/X");
    o.args({"Type", "XObject"});
    o.args({"Subtype", "Image"});
    o.set("Width", "57");
    o.args("Empty");
    o.args("Raw").rawValue = "<< /A 1 >>";
    EXPECT_EQ(text(&o),
              "5 0 obj\n<< /Type /XObject\n   /Subtype /Image\n   /Width 57\n   /Empty\n   /Raw << /A 1 >>\n>>\n"
              "endobj\n");
    try {
        o.args({"Width", "Other"});
        FAIL();
    } catch (const KivuException& e) {
        EXPECT_STREQ(e.what(), "Indirect object argument 'Width' already exists");
    }
    EXPECT_EQ(o.entries().size(), 7u) << "nothing added by the refused list";
}

TEST(ObjectText, StreamWithFilterIsUnchanged) {
    TIndirectObject o(4, "");
    o.set("Width", "1");
    TMemory data(256, 8192);
    data += std::string_view("abc\n");
    o.setStream(&data, "DCTDecode");
    EXPECT_EQ(text(&o), "4 0 obj\n<< /Width 1\n   /Length 4\n   /Filter /DCTDecode\n>>\nstream\nabc\nendstream\nendobj\n");
    data.clear();
    data += std::string_view("xy");
    o.setStream(&data, "DCTDecode");
    EXPECT_NE(text(&o).find("stream\nxy\nendstream\n"), std::string::npos);
}

TEST(ObjectText, StreamWithoutFilterIsCompressedOnce) {
    TIndirectObject o(6, "");
    o.args({"Type", "XObject"});
    std::vector<uint8_t> same(1000, 'z');
    TMemory data{std::span<const uint8_t>(same)};
    o.setStream(&data, "");
    const std::string first = text(&o);
    EXPECT_EQ(first.rfind("6 0 obj\n<< /Type /XObject\n   /Length1 1000\n   /Length ", 0), 0u);
    EXPECT_EQ(o.filter(), "FlateDecode");
    EXPECT_LT(o.stream().size(), 100u);
    const std::string second = text(&o);
    EXPECT_EQ(second.find("Length1"), std::string::npos) << "the object now holds the compressed form";
    EXPECT_NE(second.find("/Filter /FlateDecode"), std::string::npos);
    TMemory back{std::span<const uint8_t>(o.stream())};
    back.uncomp();
    EXPECT_EQ(back.size(), 1000u);
}

TEST(ObjectText, HashAndCopy) {
    TIndirectObject a(1, "x"), b(2, "y");
    a.set("N", "1");
    b.set("N", "1");
    TMemory s1(16, 16), s2(16, 16);
    s1 += std::string_view("one");
    s2 += std::string_view("two");
    a.setStream(&s1, "F");
    b.setStream(&s2, "");
    EXPECT_EQ(a.hash(), b.hash()) << "streams take no part";
    TPEXObject p(1, "");
    p.set("N", "1");
    EXPECT_NE(p.hash(), a.hash());
    auto c = a.copy(9);
    EXPECT_EQ(c->num(), 9u);
    EXPECT_EQ(c->comment(), "x");
    EXPECT_EQ(c->hash(), a.hash());
    EXPECT_EQ(static_cast<TIndirectObject*>(c.get())->filter(), "") << "copied without its filter";
    TDirectObject d(3, "", "");
    EXPECT_EQ(d.hash(), "D41D8CD98F00B204E9800998ECF8427E");
}

TEST(ObjectText, PexDirectAndColorSpace) {
    TPEXObject p(5, "Font");
    *p.pex() += std::string_view("<< /Type /Font >>\n");
    EXPECT_EQ(text(&p), "5 0 obj % Font\n<< /Type /Font >>\nendobj\n");
    TPEXObject blank(5, "  ");
    EXPECT_EQ(text(&blank), "5 0 obj\nendobj\n");

    TDirectObject d(8, "", "[1 2 3]\n");
    EXPECT_EQ(text(&d), "8 0 obj\n[1 2 3]\nendobj\n");

    TColorSpaceObject none(9, "");
    EXPECT_EQ(text(&none), "9 0 obj\n[]\nendobj\n");
    TColorSpaceObject cs(10, "Spot");
    cs.args({"Separation", "Gold"});
    cs.args({"DeviceCMYK"});
    EXPECT_EQ(text(&cs), "10 0 obj % Spot\n[ /Separation /Gold\n   /DeviceCMYK\n]\nendobj\n");
    TColorSpaceObject arr(11, "");
    arr.set("Indexed", "x");
    arr.set("Base", "");
    EXPECT_EQ(text(&arr), "11 0 obj\n[ /Indexed x\n  /Base\n]\nendobj\n");
}

namespace {
// Keeps every piece that writePDF sends, and where it came from.
struct PieceSink : TObjectSink {
    std::string text;
    std::vector<const uint8_t*> starts;
    void write(std::span<const uint8_t> bytes) override {
        starts.push_back(bytes.data());
        text.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    }
};

// Two equal objects of every kind: one is written to a sink, the other by toPDF.
std::unique_ptr<TBaseObject> makeKind(int kind) {
    std::vector<uint8_t> bytes(3000);
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(i * 7 % 251);
    const TMemory data{std::span<const uint8_t>(bytes)};
    std::unique_ptr<TBaseObject> o;
    switch (kind) {
        case 0: o = std::make_unique<TIndirectObject>(3, ""); o->setStream(&data, "DCTDecode"); break;
        case 1: o = std::make_unique<TIndirectObject>(3, ""); o->setStream(&data, ""); break;
        case 2: o = std::make_unique<TIndirectObject>(3, ""); break;
        case 3: o = std::make_unique<TExtGStateObject>(3, "ExtGState object"); break;
        case 4: o = std::make_unique<TColorSpaceObject>(3, "Spot"); break;
        case 5: o = std::make_unique<TDirectObject>(3, "", "[1 2]\n"); break;
        default: o = std::make_unique<TPEXObject>(3, "Font"); break;
    }
    o->set("Width", "57");
    o->args({"Name", "Im1"});
    return o;
}
}  // namespace

TEST(ObjectText, WrittenToASinkAsToPDFGivesIt) {
    for (int kind = 0; kind <= 6; ++kind) {
        auto streamed = makeKind(kind), built = makeKind(kind);
        PieceSink sink;
        const uint64_t sent = streamed->writePDF(sink);
        EXPECT_EQ(sink.text, text(built.get())) << "kind " << kind;
        EXPECT_EQ(sent, sink.text.size()) << "kind " << kind;
        if (kind <= 1) {
            ASSERT_EQ(sink.starts.size(), 3u);
            EXPECT_EQ(sink.starts[1], streamed->stream().data()) << "the stream goes out from the object's block";
        }
    }
}

TEST(ObjectText, SharedStreamIsNotCopiedAndGoesWithRelease) {
    for (const std::string filter : {"DCTDecode", ""}) {
        auto block = std::make_shared<TMemory>(std::span<const uint8_t>(std::vector<uint8_t>(3000, 'q')));
        auto o = makeKind(2);
        o->shareStream(block, filter);
        EXPECT_EQ(o->stream().data(), block->ptr()) << "the object's stream is the block itself";
        const std::weak_ptr<TMemory> watch = block;
        block.reset();
        PieceSink sink;
        o->writePDF(sink);
        EXPECT_EQ(watch.expired(), filter.empty()) << "a raw block goes once compressed (" << filter << ")";
        o->releaseStream();
        EXPECT_TRUE(watch.expired()) << "released with the stream";
    }
}

TEST(ObjectText, ReleasedStreamIsGoneAndCannotBeWrittenAgain) {
    auto o = makeKind(0);
    PieceSink sink;
    o->writePDF(sink);
    o->offset(42);
    o->releaseStream();
    EXPECT_TRUE(o->stream().empty());
    EXPECT_EQ(o->offset(), 42u);
    EXPECT_EQ(o->entries().size(), 3u);
    try {
        o->toPDF();
        FAIL();
    } catch (const KivuException& e) {
        EXPECT_STREQ(e.what(), "The stream of object 3 was released when it was written");
    }
    auto plain = makeKind(2);
    plain->releaseStream();
    EXPECT_EQ(text(plain.get()), "3 0 obj\n<< /Width 57\n   /Name /Im1\n>>\nendobj\n") << "no stream, nothing to lose";
}
