// Embedded pictures: data URIs into the registry under content names, the
// host's numbers, and the exact placement under every preserveAspectRatio.
#include "kivuimg/img/svg/subimage.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/img/libmain.h"
#include "kivuimg/img/svg/imagesvg.h"
#include "tests/builders.h"

namespace kivu {
namespace {

using kivutest::dataUri;
using kivutest::emitSvg;
using kivutest::greyBmp;
using kivutest::readSvg;
using kivutest::svgDocument;

class SvgSubImage : public ::testing::Test {
protected:
    void TearDown() override { libimg_resetResources(); }
};

std::string imageElement(const std::string& uri, const std::string& attributes = "") {
    return "<image " + attributes + " xlink:href=\"" + uri + "\"/>";
}

// The picture's cm line at documentScale 0.75, for its size and place in
// the drawing's units.
std::string placed(float w, float h, float px, float py, unsigned id) {
    const float s = 0.75f;
    return sformat(" q %.3f 0 0 %.3f %.3f %.3f cm /I%u Do Q", w * s, h * s, px * s, -(py + h) * s, id);
}

// The content of one image element whose picture has the number 7.
std::string imageContent(const std::vector<uint8_t>& picture, const std::string& attributes) {
    auto img = readSvg(svgDocument(imageElement(dataUri("image/bmp", picture), attributes)));
    img->setSubImageIds({SLinkSrcId{7, img->getSubImageSources().at(0)}});
    return emitSvg(*img).content;
}

// Box 100 x 100 at (10, 20); a wide picture (40 x 20) and a tall one (20 x 40).
TEST_F(SvgSubImage, PlacementUnderEveryAspectRatio) {
    const auto wide = greyBmp(40, 20), tall = greyBmp(20, 40), square = greyBmp(30, 30);
    struct Case {
        const char* aspect;  // "" leaves the attribute out
        const std::vector<uint8_t>* picture;
        float w, h, px, py;
        bool clip;
    } cases[] = {
        {"", &wide, 100, 50, 10, 45, false},
        {"xMidYMid meet", &wide, 100, 50, 10, 45, false},
        {"xmidymin", &wide, 100, 50, 10, 20, false},
        {"xminymax meet", &wide, 100, 50, 10, 70, false},
        {"xmaxymid meet", &tall, 50, 100, 60, 20, false},
        {"xminymid", &tall, 50, 100, 10, 20, false},
        {"xmaxymin meet", &tall, 50, 100, 60, 20, false},
        {"xmidymax meet", &tall, 50, 100, 35, 20, false},
        {"xmaxymax", &tall, 50, 100, 60, 20, false},
        // Mixed case is not one of the lower-case words: centred.
        {"xMaxYMax meet", &tall, 50, 100, 35, 20, false},
        {"xminymin slice", &wide, 200, 100, -40, 20, true},  // "xminymin" is no row of its own
        {"xmidymin slice", &wide, 200, 100, -40, 20, true},
        {"xmaxymid slice", &wide, 200, 100, -90, 20, true},
        {"xMidYMid slice", &tall, 100, 200, 10, -30, true},
        {"xmidymax slice", &tall, 100, 200, 10, -80, true},
        {"xminymid  foo", &tall, 50, 100, 10, 20, false},  // a second word other than slice is meet
        {"none", &tall, 100, 100, 10, 20, false},
        {"none slice", &wide, 100, 100, 10, 20, false},
        {"xmaxymax slice", &square, 100, 100, 10, 20, true},  // the box's own shape needs no scaling
    };
    const std::string clip = " q 0 w 7.500 -90.000 m 7.500 -15.000 l 82.500 -15.000 l 82.500 -90.000 l 7.500 -90.000 l  W n ";
    for (const Case& c : cases) {
        std::string attributes = "x=\"10\" y=\"20\" width=\"100\" height=\"100\"";
        if (*c.aspect) attributes += std::string(" preserveAspectRatio=\"") + c.aspect + "\"";
        const std::string content = imageContent(*c.picture, attributes);
        const std::string body = std::string(c.clip ? clip : "") + "\n" + placed(c.w, c.h, c.px, c.py, 7) + "\n" +
                                 (c.clip ? "Q" : "");
        EXPECT_NE(content.find(body), std::string::npos) << c.aspect << "\n" << content;
        EXPECT_TRUE(kivutest::balancedSaves(content)) << c.aspect;
    }
}

TEST_F(SvgSubImage, WholeElement) {
    // The default style frames the picture; a transform wraps the placement.
    const std::string content =
        imageContent(greyBmp(2, 1), "width=\"20\" height=\"10\" transform=\"scale(2)\" preserveAspectRatio=\"none\"");
    auto img = readSvg(svgDocument(""));
    EXPECT_EQ(content, " q 0.000 0.000 0.000 rg  /GS1 gs  /GS2 gs  \nq " + img->transformationsToPDF("scale(2)") +
                           placed(20, 10, 0, 0, 7) + "\nQ\n f \n Q\n");
}

TEST_F(SvgSubImage, SourcesAndNumbers) {
    const auto picture = greyBmp(3, 2);
    const std::string uri = dataUri("image/bmp", picture);
    auto img = readSvg(svgDocument(imageElement(uri) + "<g>" + imageElement(uri, "x=\"5\"") + "</g>"));
    // The same picture twice: one source, named by its content, registered once.
    const std::string name = "subimage-" + TBuffer::create(std::span<const uint8_t>(picture))->MD5() + ".bmp";
    ASSERT_EQ(img->getSubImageSources(), std::vector<std::string>{name});
    EXPECT_TRUE(img->has2Pass());
    ASSERT_NE(libimg_getImage(name.c_str()), nullptr);
    EXPECT_EQ(libimg_getImage(name.c_str())->width(), 3);
    EXPECT_EQ(img->getSubImageBySourceName(name), img->getSubImageBySourceName(name));
    ASSERT_NE(img->getSubImageBySourceName(name), nullptr);
    // A source the host gave no number is written as /I0.
    auto copy = img->getCopy();
    EXPECT_EQ(kivutest::countOperator(emitSvg(*img).content, "/I0"), 2u);
    static_cast<TImageSVG&>(*copy).setSubImageIds({SLinkSrcId{12, name}});
    EXPECT_EQ(kivutest::countOperator(emitSvg(static_cast<TImageSVG&>(*copy)).content, "/I12"), 2u);
}

TEST_F(SvgSubImage, SwapRenamesSourceAndElement) {
    const std::string jpeg = "data:image/jpeg;base64," + std::string(undefinedImageBase64());
    auto img = readSvg(svgDocument(imageElement(jpeg)));
    const std::string name = img->getSubImageSources().at(0);
    EXPECT_TRUE(endsWith(name, ".jpeg"));
    img->swapSubImage("unknown", "x");
    EXPECT_EQ(img->getSubImageSources().at(0), name);
    img->swapSubImage(name, "other.jpg");
    EXPECT_EQ(img->getSubImageSources(), std::vector<std::string>{"other.jpg"});
    ASSERT_NE(img->getSubImageBySourceName("other.jpg"), nullptr);
    EXPECT_EQ(img->getSubImageBySourceName(name), nullptr);
    // Nothing is registered under the new name.
    EXPECT_THROW(emitSvg(*img), KivuException);
}

TEST_F(SvgSubImage, PicturesThatCantBeHad) {
    const std::string missing = "No image found by iD ''";
    struct Case {
        const char* what;
        std::string href;
        std::string failure;  // of the emission; "" when reading stopped before the element
    } cases[] = {
        {"short", "image.png", missing},
        {"a link to a file", "http://example.com/pictures/a/long/path/image.png", missing},
        {"unknown type", "data:image/webp;base64,UklGRiQAAABXRUJQVlA4IBgAAAAwAQCdASoBAAEAAwA0JaQAA3AA/vuUAAA=", missing},
        // The bytes are no picture: the registry has nothing under the name.
        {"garbage", dataUri("image/png", std::string(64, 'x')), "No image found by iD 'subimage-"},
        {"reader fails", dataUri("image/gif", std::string("GIF89a\x01\x00", 8)), "No image found by iD 'subimage-"},
        // Not Base64: the decoder's exception ends the reading there.
        {"not base64", "data:image/png;base64,***not*base64***not*base64***not*base64", ""},
    };
    for (const Case& c : cases) {
        auto img = readSvg(svgDocument("<rect width=\"1\" height=\"1\"/>" + imageElement(c.href)));
        if (c.failure.empty()) {
            EXPECT_EQ(img->elements().size(), 1u) << c.what;
            EXPECT_TRUE(img->getSubImageSources().empty()) << c.what;
            continue;
        }
        try {
            emitSvg(*img);
            ADD_FAILURE() << c.what << ": no failure";
        } catch (const KivuException& e) {
            EXPECT_TRUE(startsWith(e.what(), c.failure)) << c.what << ": " << e.what();
        }
    }
}

// A drawing inside a drawing inside ... : reading stops descending at the
// nesting limit, where the innermost drawing stays empty.
TEST_F(SvgSubImage, NestedDrawingsAreBounded) {
    std::string svg = svgDocument("<rect width=\"5\" height=\"5\"/>");
    const int levels = kMaxSvgNesting + 4;
    for (int i = 0; i < levels; ++i) svg = svgDocument(imageElement(dataUri("image/svg+xml", svg), "width=\"9\" height=\"9\""));
    auto img = readSvg(svg);
    int depth = 0;
    TImageFormat* level = img.get();
    while (!level->getSubImageSources().empty()) {
        level = libimg_getImage(level->getSubImageSources()[0].c_str());
        ASSERT_NE(level, nullptr);
        ++depth;
    }
    EXPECT_EQ(depth, kMaxSvgNesting);
    EXPECT_EQ(static_cast<TImageSVG*>(level)->elements().size(), 0u);
}

}  // namespace
}  // namespace kivu
