// Builders shared by the tests and the benchmarks: files of every format
// made byte by byte (PNG chunks, GIF with a plain LZW encoder, BMP,
// metafile records), SVG documents made from a few lines of text, their
// emission through a store as a host does it, and a reader of content
// streams that checks the nesting of q and Q.
#pragma once

#include <zlib.h>

#include <algorithm>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <initializer_list>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "kivuimg/commons/core/buffer.h"
#include "kivuimg/commons/core/settings.h"
#include "kivuimg/commons/graphics/gradient.h"
#include "kivuimg/commons/objects.h"
#include "kivuimg/img/libmain.h"
#include "kivuimg/img/svg/imagesvg.h"
#include "kivuimg/img/wmf.h"

namespace kivutest {

using Bytes = std::vector<uint8_t>;

// ---- reading ----------------------------------------------------------------------

// An image of class Image over the bytes, specs read.
template <typename Image>
std::unique_ptr<Image> readImage(const Bytes& bytes) {
    auto img = std::make_unique<Image>(kivu::TBuffer::create(std::span<const uint8_t>(bytes)));
    img->readSpecs();
    return img;
}

// The message readSpecs raises, or "(no failure)".
template <typename Image>
std::string readFailure(const Bytes& bytes) {
    try {
        readImage<Image>(bytes);
    } catch (const std::exception& e) {
        return e.what();
    }
    return "(no failure)";
}

// An object's text up to and including "stream\n": its dictionary.
inline std::string objectHead(kivu::TBaseObject* o) {
    const std::string t = o->toPDF()->to_string();
    const size_t at = t.find("stream\n");
    return at == std::string::npos ? t : t.substr(0, at + 7);
}

// The rules the library reads by while this lives: the library started
// over a scratch home, and stopped at the end.
struct UseRules {
    explicit UseRules(kivu::Rules rules) {
        std::filesystem::create_directories(home);
        kivu::TSettings::createDefaultConfigFile(home.string());
        if (libimg_init(home.c_str(), 3)) kivu::g_settings->rules(rules);
    }
    ~UseRules() {
        lib_uninit();
        std::filesystem::remove_all(home);
    }
    std::filesystem::path home = std::filesystem::temp_directory_path() / ("kivu_rules_" + std::to_string(uintptr_t(this)));
};

// ---- PNG --------------------------------------------------------------------------

inline void be32(Bytes& out, uint32_t v) {
    for (int s = 24; s >= 0; s -= 8) out.push_back(static_cast<uint8_t>(v >> s));
}

// zlib's stream of the bytes at the level.
inline Bytes zlibDeflate(const Bytes& raw, int level = 9) {
    uLongf n = compressBound(static_cast<uLong>(raw.size()));
    Bytes z(n);
    compress2(z.data(), &n, raw.data(), static_cast<uLong>(raw.size()), level);
    z.resize(n);
    return z;
}

inline Bytes pngHeader(uint32_t w, uint32_t h, uint8_t depth, uint8_t type, uint8_t comp = 0, uint8_t filter = 0,
                       uint8_t interlace = 0) {
    Bytes b;
    be32(b, w);
    be32(b, h);
    b.insert(b.end(), {depth, type, comp, filter, interlace});
    return b;
}

// A PNG file chunk by chunk, each with its CRC.
struct Png {
    Bytes bytes{137, 80, 78, 71, 13, 10, 26, 10};
    Png() = default;
    Png(uint32_t w, uint32_t h, uint8_t depth, uint8_t type) { add("IHDR", pngHeader(w, h, depth, type)); }
    Png& add(const std::string& type, const Bytes& body) {
        be32(bytes, static_cast<uint32_t>(body.size()));
        Bytes crcd(type.begin(), type.end());
        crcd.insert(crcd.end(), body.begin(), body.end());
        bytes.insert(bytes.end(), crcd.begin(), crcd.end());
        be32(bytes, static_cast<uint32_t>(crc32(0, crcd.data(), static_cast<uInt>(crcd.size()))));
        return *this;
    }
    // The compressed samples cut into IDAT chunks of at most `chunk` bytes.
    Png& data(const Bytes& z, size_t chunk = 8192) {
        for (size_t at = 0; at < z.size(); at += chunk)
            add("IDAT", Bytes(z.begin() + at, z.begin() + std::min(z.size(), at + chunk)));
        return *this;
    }
    Png& end() { return add("IEND", {}); }
};

// ---- GIF --------------------------------------------------------------------------

// Writes codes least significant bit first, at the width that the decoder
// will read them with: the decoder adds a table entry for every code but the
// first behind a clear code, and widens its codes when the table reaches a
// power of two.
class GifCodeWriter {
public:
    explicit GifCodeWriter(int minCodeSize) : min_(minCodeSize), clear_(1 << minCodeSize) { reset(); }
    int clear() const { return clear_; }
    int end() const { return clear_ + 1; }
    int size() const { return size_; }

    void put(int code) {
        for (int j = 0; j < size_; ++j, ++bit_) {
            if (bit_ % 8 == 0) bytes_.push_back(0);
            if ((code >> j) & 1) bytes_.back() |= static_cast<uint8_t>(1 << (bit_ % 8));
        }
        if (code == clear_) return reset();
        if (code == end()) return;
        if (first_) {
            first_ = false;
        } else if (next_ < 4096 && ++next_ >= limit_ && limit_ < 4096) {
            limit_ *= 2;
            ++size_;
        }
    }
    // The stream as the image data wants it: code size, sub-blocks, terminator.
    Bytes stream(int blockSize = 255) const {
        Bytes out{static_cast<uint8_t>(min_)};
        for (size_t at = 0; at < bytes_.size(); at += blockSize) {
            const size_t n = std::min<size_t>(blockSize, bytes_.size() - at);
            out.push_back(static_cast<uint8_t>(n));
            out.insert(out.end(), bytes_.begin() + at, bytes_.begin() + at + n);
        }
        out.push_back(0);
        return out;
    }

private:
    void reset() {
        size_ = min_ + 1;
        next_ = clear_ + 2;
        limit_ = 2 * clear_;
        first_ = true;
    }
    int min_, clear_, size_ = 0, next_ = 0, limit_ = 0;
    bool first_ = true;
    int64_t bit_ = 0;
    Bytes bytes_;
};

// The codes as given, in one stream.
inline Bytes gifCodes(int minCodeSize, std::initializer_list<int> list) {
    GifCodeWriter w(minCodeSize);
    for (int c : list) w.put(c);
    return w.stream();
}

// A plain LZW encoder: clear first, a new clear when the table is full.
inline Bytes lzw(const Bytes& pixels, int minCodeSize, int blockSize = 255) {
    GifCodeWriter out(minCodeSize);
    out.put(out.clear());
    std::map<std::pair<int, int>, int> table;
    int next = out.clear() + 2;
    int w = -1;
    for (uint8_t c : pixels) {
        if (w >= 0) {
            auto it = table.find({w, c});
            if (it != table.end()) {
                w = it->second;
                continue;
            }
            out.put(w);
            table[{w, c}] = next++;
            if (next == 4095) {
                out.put(out.clear());
                table.clear();
                next = out.clear() + 2;
            }
        }
        w = c;
    }
    if (w >= 0) out.put(w);
    out.put(out.end());
    return out.stream(blockSize);
}

inline void le16(Bytes& b, int v) {
    b.push_back(static_cast<uint8_t>(v));
    b.push_back(static_cast<uint8_t>(v >> 8));
}

// A colour table whose entry i is (i + salt, 2i, 255 - i).
inline Bytes gifTable(int entries, int salt = 0) {
    Bytes t;
    for (int i = 0; i < entries; ++i)
        t.insert(t.end(), {static_cast<uint8_t>(i + salt), static_cast<uint8_t>(2 * i), static_cast<uint8_t>(255 - i)});
    return t;
}

// A GIF file block by block: the screen with an optional global table,
// then extensions and frames (each at left, top with an optional local table).
struct Gif {
    Bytes bytes;
    int left = 1, top = 2;
    explicit Gif(int w, int h, int globalBits = 0, const char* version = "GIF89a") {
        bytes.assign(version, version + 6);
        le16(bytes, w);
        le16(bytes, h);
        bytes.push_back(globalBits ? static_cast<uint8_t>(0x80 | 0x70 | (globalBits - 1)) : 0);
        bytes.push_back(0);
        bytes.push_back(0);
        if (globalBits) {
            const Bytes t = gifTable(1 << globalBits);
            bytes.insert(bytes.end(), t.begin(), t.end());
        }
    }
    Gif& control(bool transparent, uint8_t index) {
        bytes.insert(bytes.end(), {0x21, 0xF9, 4, static_cast<uint8_t>(transparent ? 1 : 0), 10, 0, index, 0});
        return *this;
    }
    Gif& comment(const std::string& text) {
        bytes.insert(bytes.end(), {0x21, 0xFE, static_cast<uint8_t>(text.size())});
        bytes.insert(bytes.end(), text.begin(), text.end());
        bytes.push_back(0);
        return *this;
    }
    Gif& frame(int w, int h, const Bytes& stream, int localBits = 0, bool interlaced = false, int salt = 100) {
        bytes.push_back(0x2C);
        le16(bytes, left);
        le16(bytes, top);
        le16(bytes, w);
        le16(bytes, h);
        bytes.push_back(static_cast<uint8_t>((localBits ? 0x80 | (localBits - 1) : 0) | (interlaced ? 0x40 : 0)));
        if (localBits) {
            const Bytes t = gifTable(1 << localBits, salt);
            bytes.insert(bytes.end(), t.begin(), t.end());
        }
        bytes.insert(bytes.end(), stream.begin(), stream.end());
        return *this;
    }
    Gif& trailer() {
        bytes.push_back(0x3B);
        return *this;
    }
};

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

// ---- BMP -------------------------------------------------------------------------

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

// ---- metafiles --------------------------------------------------------------------

// Builds a metafile record by record: an optional placeable header, the
// 18-byte standard header, then records of 16-bit words.
class WmfBuilder {
public:
    explicit WmfBuilder(bool placeable = false) {
        if (placeable) {
            u32(kivu::TImageWMF::kPlaceableMark);
            for (int i = 0; i < 18; ++i) bytes_.push_back(0);  // handle, bbox, inch, reserved, checksum
        }
        // type 1, header size 9 words, version 0x0300, then size, objects, max record: not read.
        for (uint16_t w : {1, 9, 0x0300, 0, 0, 0, 0, 0, 0}) u16(w);
    }

    // A record with its size counted from the words given.
    WmfBuilder& record(uint16_t function, std::initializer_list<uint16_t> words) {
        return record(function, std::vector<uint16_t>(words));
    }
    WmfBuilder& record(uint16_t function, const std::vector<uint16_t>& words) {
        u32(static_cast<uint32_t>(3 + words.size()));
        u16(function);
        for (uint16_t w : words) u16(w);
        ++records_;
        return *this;
    }
    // A record head that claims `words` words whatever follows it.
    WmfBuilder& head(uint32_t words, uint16_t function) {
        u32(words);
        u16(function);
        return *this;
    }
    WmfBuilder& raw(std::initializer_list<uint16_t> words) {
        for (uint16_t w : words) u16(w);
        return *this;
    }

    WmfBuilder& windowExt(int16_t x, int16_t y) { return record(kivu::TImageWMF::kSetWindowExt, {w(y), w(x)}); }
    WmfBuilder& windowOrg(int16_t x, int16_t y) { return record(kivu::TImageWMF::kSetWindowOrg, {w(y), w(x)}); }
    WmfBuilder& pen(uint16_t style, uint16_t width, uint8_t r, uint8_t g, uint8_t b) {
        return record(kivu::TImageWMF::kCreatePenIndirect,
                      {style, width, 0, static_cast<uint16_t>(r | g << 8), static_cast<uint16_t>(b)});
    }
    WmfBuilder& brush(uint16_t style, uint8_t r, uint8_t g, uint8_t b, uint16_t hatch = 0) {
        return record(kivu::TImageWMF::kCreateBrushIndirect,
                      {style, static_cast<uint16_t>(r | g << 8), static_cast<uint16_t>(b), hatch});
    }
    WmfBuilder& placeholder(uint16_t function) { return record(function, {0, 0}); }
    WmfBuilder& select(int16_t index) { return record(kivu::TImageWMF::kSelectObject, {w(index)}); }
    WmfBuilder& remove(int16_t index) { return record(kivu::TImageWMF::kDeleteObject, {w(index)}); }
    WmfBuilder& fillMode(uint16_t mode) { return record(kivu::TImageWMF::kSetPolyFillMode, {mode}); }
    WmfBuilder& poly(uint16_t function, std::initializer_list<std::pair<int16_t, int16_t>> points) {
        std::vector<uint16_t> words{static_cast<uint16_t>(points.size())};
        for (auto [x, y] : points) {
            words.push_back(w(x));
            words.push_back(w(y));
        }
        return record(function, words);
    }
    WmfBuilder& polygon(std::initializer_list<std::pair<int16_t, int16_t>> points) {
        return poly(kivu::TImageWMF::kPolygon, points);
    }
    WmfBuilder& polyline(std::initializer_list<std::pair<int16_t, int16_t>> points) {
        return poly(kivu::TImageWMF::kPolyline, points);
    }
    WmfBuilder& eof() { return record(kivu::TImageWMF::kEOF, {}); }

    std::unique_ptr<kivu::TBuffer> buffer() const {
        return kivu::TBuffer::create(std::span<const uint8_t>(bytes_));
    }
    std::unique_ptr<kivu::TImageWMF> image() const {
        auto img = std::make_unique<kivu::TImageWMF>(buffer());
        img->readSpecs();
        return img;
    }
    const Bytes& bytes() const { return bytes_; }
    int64_t records() const { return records_; }

private:
    static uint16_t w(int16_t v) { return static_cast<uint16_t>(v); }
    void u16(uint16_t v) { le16(bytes_, v); }
    void u32(uint32_t v) {
        u16(static_cast<uint16_t>(v));
        u16(static_cast<uint16_t>(v >> 16));
    }

    Bytes bytes_;
    int64_t records_ = 0;
};

// ---- data URIs --------------------------------------------------------------------

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
