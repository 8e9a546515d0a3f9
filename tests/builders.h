// Builders shared by the tests, the benchmarks and the fuzz targets'
// starting corpora: documents made from a few lines of text, their
// emission through a store as a host does it, and a reader of content
// streams that checks the nesting of q and Q.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "kivuimg/commons/core/buffer.h"
#include "kivuimg/commons/graphics/gradient.h"
#include "kivuimg/commons/objects.h"
#include "kivuimg/img/svg/imagesvg.h"

namespace kivutest {

// ---- SVG documents -----------------------------------------------------------------

// An SVG file: the root with `rootAttributes` around `body`.
inline std::string svgDocument(const std::string& body,
                               const std::string& rootAttributes = "width=\"100\" height=\"100\"") {
    return "<svg xmlns=\"http://www.w3.org/2000/svg\" xmlns:xlink=\"http://www.w3.org/1999/xlink\" " +
           rootAttributes + ">\n" + body + "\n</svg>\n";
}

// An SVG image over the text, read.
inline std::unique_ptr<kivu::TImageSVG> readSvg(const std::string& text) {
    auto img = std::make_unique<kivu::TImageSVG>(kivu::TBuffer::create(std::string_view(text)));
    img->readSpecs();
    return img;
}

// One emission as a host makes it: the store, the gradient records, the
// Form's number and its content.
struct SvgEmission {
    std::unique_ptr<kivu::TObjects> objects = std::make_unique<kivu::TObjects>();
    std::vector<kivu::SGradient> gradients;
    uint64_t form = 0;
    std::string content;
};

inline SvgEmission emitSvg(kivu::TImageSVG& img, kivu::ColorSpace space = kivu::csAuto,
                           kivu::ConvertImages convert = kivu::ciNo) {
    SvgEmission e;
    e.form = img.addObjectSpecs(e.objects.get(), "Im1", &e.gradients, space, convert);
    img.addObjectMask(e.objects.get());
    const auto& stream = e.objects->get(e.form)->stream();
    e.content.assign(stream.begin(), stream.end());
    return e;
}

// Answers every font request of a drawing as a host does: request k (from
// 1) gets font number k, all in the one string form given.
inline void answerFonts(kivu::TImageSVG& img, uint8_t encoding) {
    int id = 0;
    for (kivu::SRawFont font : img.getRawFonts()) {
        font.fontId = ++id;
        font.encoding = encoding;
        img.setFont(font);
    }
}

// The content of an SVG document's Form, read and emitted in one step.
inline std::string svgContent(const std::string& body,
                              const std::string& rootAttributes = "width=\"100\" height=\"100\"") {
    auto img = readSvg(svgDocument(body, rootAttributes));
    return emitSvg(*img).content;
}

// The content of one shape with the default style (black fill, opacities
// 1) at the default scale of 0.75, around the path's operators.
inline std::string filledShape(const std::string& path) {
    return " q 0.000 0.000 0.000 rg  /GS1 gs  /GS2 gs  " + path + " f \n Q\n";
}

// ---- pictures ---------------------------------------------------------------------------

// A Windows bitmap: the 40-byte header, a colour table of `entries` and the
// pixel bytes as given.
inline std::vector<uint8_t> bmp(int32_t w, int32_t h, uint16_t bits, uint32_t compression,
                                const std::vector<uint8_t>& pixels, int entries = 0) {
    std::vector<uint8_t> b{'B', 'M'};
    auto le = [&](uint32_t v, int n) {
        for (int i = 0; i < n; ++i) b.push_back(static_cast<uint8_t>(v >> (8 * i)));
    };
    const uint32_t off = 54 + 4 * static_cast<uint32_t>(entries);
    le(off + static_cast<uint32_t>(pixels.size()), 4);
    le(0, 4);
    le(off, 4);
    le(40, 4);
    le(static_cast<uint32_t>(w), 4);
    le(static_cast<uint32_t>(h), 4);
    le(1, 2);
    le(bits, 2);
    le(compression, 4);
    le(static_cast<uint32_t>(pixels.size()), 4);
    le(2835, 4);
    le(2835, 4);
    le(0, 4);
    le(0, 4);
    for (int i = 0; i < entries; ++i) b.insert(b.end(), {static_cast<uint8_t>(i), 0x20, 0x30, 0});
    b.insert(b.end(), pixels.begin(), pixels.end());
    return b;
}

// A 24-bit bitmap of one grey, w x h pixels.
inline std::vector<uint8_t> greyBmp(int32_t w, int32_t h) {
    const size_t row = (static_cast<size_t>(w) * 3 + 3) / 4 * 4;
    return bmp(w, h, 24, 0, std::vector<uint8_t>(row * static_cast<size_t>(h), 0x80));
}

// A data URI of the bytes: "data:<type>;base64,...".
inline std::string dataUri(const std::string& type, const std::vector<uint8_t>& bytes) {
    return "data:" + type + ";base64," + kivu::base64Encode(bytes);
}
inline std::string dataUri(const std::string& type, const std::string& text) {
    return dataUri(type, std::vector<uint8_t>(text.begin(), text.end()));
}

// ---- content streams ------------------------------------------------------------------

// The tokens of a content stream, split at white space.
inline std::vector<std::string> contentTokens(std::string_view content) {
    std::vector<std::string> out;
    size_t i = 0;
    while (i < content.size()) {
        while (i < content.size() && std::string_view(" \n\r\t").find(content[i]) != std::string_view::npos) ++i;
        const size_t start = i;
        while (i < content.size() && std::string_view(" \n\r\t").find(content[i]) == std::string_view::npos) ++i;
        if (i > start) out.emplace_back(content.substr(start, i - start));
    }
    return out;
}

// Whether every q of the stream has its Q, and no Q comes without a q.
inline bool balancedSaves(std::string_view content) {
    int depth = 0;
    for (const std::string& t : contentTokens(content)) {
        if (t == "q") ++depth;
        else if (t == "Q" && --depth < 0) return false;
    }
    return depth == 0;
}

// How many times the operator stands in the stream.
inline size_t countOperator(std::string_view content, const std::string& op) {
    size_t n = 0;
    for (const std::string& t : contentTokens(content)) n += t == op;
    return n;
}

}  // namespace kivutest
