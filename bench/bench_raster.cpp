// Throughput of the raster formats in MB per second of decoded pixels: what
// a host spends from the file's bytes to the image objects (readSpecs and
// addObjectSpecs, with the mask or palette).  Baselines: a plain copy of the
// same number of bytes, and for PNG with alpha the zlib floor of that path
// (inflating the IDAT data and deflating the same samples again).
#include <benchmark/benchmark.h>
#include <zlib.h>

#include <cstring>
#include <map>
#include <vector>

#include "kivuimg/commons/core/buffer.h"
#include "kivuimg/commons/objects.h"
#include "kivuimg/img/bmp.h"
#include "kivuimg/img/gif.h"
#include "kivuimg/img/png.h"

using namespace kivu;

namespace {

using Bytes = std::vector<uint8_t>;
constexpr int kW = 1024, kH = 768;

// A photo-like picture: smooth gradients with a little noise.
uint8_t sample(int x, int y, int c) {
    static uint32_t state = 1;
    state = state * 1103515245u + 12345u;
    return static_cast<uint8_t>((x * (c + 1) + y * (3 - c)) / 5 + ((state >> 16) & 7));
}

void be32(Bytes& out, uint32_t v) {
    for (int s = 24; s >= 0; s -= 8) out.push_back(static_cast<uint8_t>(v >> s));
}

void chunk(Bytes& out, const char* type, const Bytes& body) {
    be32(out, static_cast<uint32_t>(body.size()));
    out.insert(out.end(), type, type + 4);
    out.insert(out.end(), body.begin(), body.end());
    be32(out, 0);  // CRCs are not checked
}

Bytes deflateBytes(const Bytes& raw, int level) {
    uLongf n = compressBound(static_cast<uLong>(raw.size()));
    Bytes z(n);
    compress2(z.data(), &n, raw.data(), static_cast<uLong>(raw.size()), level);
    z.resize(n);
    return z;
}

// Rows with the Sub filter, as encoders choose for smooth pictures.
Bytes pngRaw(int channels) {
    Bytes raw;
    raw.reserve(static_cast<size_t>(kH) * (kW * channels + 1));
    for (int y = 0; y < kH; ++y) {
        raw.push_back(1);
        std::vector<uint8_t> row(kW * channels);
        for (int x = 0; x < kW; ++x)
            for (int c = 0; c < channels; ++c) row[x * channels + c] = c == 3 ? static_cast<uint8_t>(x ^ y) : sample(x, y, c);
        for (int i = kW * channels - 1; i >= channels; --i) row[i] = static_cast<uint8_t>(row[i] - row[i - channels]);
        raw.insert(raw.end(), row.begin(), row.end());
    }
    return raw;
}

Bytes png(int channels) {
    Bytes out{137, 80, 78, 71, 13, 10, 26, 10};
    Bytes ihdr;
    be32(ihdr, kW);
    be32(ihdr, kH);
    ihdr.insert(ihdr.end(), {8, static_cast<uint8_t>(channels == 4 ? 6 : 2), 0, 0, 0});
    chunk(out, "IHDR", ihdr);
    const Bytes z = deflateBytes(pngRaw(channels), 6);
    for (size_t at = 0; at < z.size(); at += 8192)
        chunk(out, "IDAT", Bytes(z.begin() + at, z.begin() + std::min(z.size(), at + 8192)));
    chunk(out, "IEND", {});
    return out;
}

// A plain LZW encoder with 8-bit codes at the start, 255-byte sub-blocks.
Bytes gif() {
    Bytes out{'G', 'I', 'F', '8', '9', 'a'};
    out.insert(out.end(), {kW & 255, kW >> 8, kH & 255, kH >> 8, 0xF7, 0, 0});
    for (int i = 0; i < 256; ++i) out.insert(out.end(), {static_cast<uint8_t>(i), static_cast<uint8_t>(255 - i), 7});
    out.insert(out.end(), {0x2C, 0, 0, 0, 0, kW & 255, kW >> 8, kH & 255, kH >> 8, 0, 8});
    Bytes bits;
    int64_t bit = 0;
    int size = 9, next = 258, limit = 512;
    bool first = true;
    auto put = [&](int code) {
        for (int j = 0; j < size; ++j, ++bit) {
            if (bit % 8 == 0) bits.push_back(0);
            if ((code >> j) & 1) bits.back() |= static_cast<uint8_t>(1 << (bit % 8));
        }
        if (code == 256) {
            size = 9, next = 258, limit = 512, first = true;
        } else if (code != 257) {
            if (first) first = false;
            else if (next < 4096 && ++next >= limit && limit < 4096) limit *= 2, ++size;
        }
    };
    put(256);
    std::map<std::pair<int, int>, int> table;
    int tnext = 258, w = -1;
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x) {
            const int c = (x / 16 + y / 16) % 64;
            if (w < 0) {
                w = c;
                continue;
            }
            auto it = table.find({w, c});
            if (it != table.end()) {
                w = it->second;
                continue;
            }
            put(w);
            table[{w, c}] = tnext++;
            if (tnext == 4095) {
                put(256);
                table.clear();
                tnext = 258;
            }
            w = c;
        }
    put(w);
    put(257);
    for (size_t at = 0; at < bits.size(); at += 255) {
        const size_t n = std::min<size_t>(255, bits.size() - at);
        out.push_back(static_cast<uint8_t>(n));
        out.insert(out.end(), bits.begin() + at, bits.begin() + at + n);
    }
    out.insert(out.end(), {0, 0x3B});
    return out;
}

void le(Bytes& b, uint32_t v, int n) {
    for (int i = 0; i < n; ++i) b.push_back(static_cast<uint8_t>(v >> (8 * i)));
}

Bytes bmp(int bits, int compression, const Bytes& pixels) {
    const int entries = bits <= 8 ? 256 : 0;
    Bytes b{'B', 'M'};
    le(b, 0, 4);
    le(b, 0, 4);
    le(b, 54 + 4 * entries, 4);
    le(b, 40, 4);
    le(b, kW, 4);
    le(b, kH, 4);
    le(b, 1, 2);
    le(b, bits, 2);
    le(b, compression, 4);
    for (int i = 0; i < 4; ++i) le(b, 0, 4);
    for (int i = 0; i < entries; ++i) b.insert(b.end(), {static_cast<uint8_t>(i), 0x40, 0x80, 0});
    b.insert(b.end(), pixels.begin(), pixels.end());
    return b;
}

Bytes bmp24() {
    Bytes px;
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x)
            for (int c = 0; c < 3; ++c) px.push_back(sample(x, y, c));
    return bmp(24, 0, px);
}

Bytes bmpRle8() {
    Bytes rle;
    for (int y = 0; y < kH; ++y) {
        for (int x = 0; x < kW; x += 32) rle.insert(rle.end(), {32, static_cast<uint8_t>((x + y) / 32)});
        rle.insert(rle.end(), {0, 0});
    }
    rle.insert(rle.end(), {0, 1});
    return bmp(8, 1, rle);
}

template <typename T>
void runImage(benchmark::State& state, const Bytes& file, size_t decodedBytes) {
    for (auto _ : state) {
        // The host's loading of the file is not the format's work.
        state.PauseTiming();
        T image(TBuffer::create(std::span<const uint8_t>(file)));
        state.ResumeTiming();
        image.readSpecs();
        TObjects objects;
        image.addObjectSpecs(&objects, "", nullptr, csAuto, ConvertImages{});
        if (image.hasMask()) image.addObjectMask(&objects);
        if (image.isIndexed()) image.addObjectPalette(&objects);
        benchmark::DoNotOptimize(objects.nextObjectNum(3));
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * decodedBytes));
}

void Raster_PngRgb(benchmark::State& state) {
    static const Bytes file = png(3);
    runImage<TImagePNG>(state, file, size_t(kW) * kH * 3);
}
void Raster_PngRgba(benchmark::State& state) {
    static const Bytes file = png(4);
    runImage<TImagePNG>(state, file, size_t(kW) * kH * 4);
}
void Raster_Gif(benchmark::State& state) {
    static const Bytes file = gif();
    runImage<TImageGIF>(state, file, size_t(kW) * kH);
}
void Raster_Bmp24(benchmark::State& state) {
    static const Bytes file = bmp24();
    runImage<TImageBMP>(state, file, size_t(kW) * kH * 3);
}
void Raster_Bmp8Rle(benchmark::State& state) {
    static const Bytes file = bmpRle8();
    runImage<TImageBMP>(state, file, size_t(kW) * kH);
}

// A plain copy of n bytes: the ceiling of any decoder that writes n bytes.
void Raster_CopyBaseline(benchmark::State& state) {
    const size_t n = static_cast<size_t>(state.range(0));
    Bytes src(n, 7), dst(n);
    for (auto _ : state) {
        std::memcpy(dst.data(), src.data(), n);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * n));
}

// The floor of the PNG alpha path: inflate the samples, deflate them again.
void Raster_PngRgbaZlibFloor(benchmark::State& state) {
    static const Bytes raw = pngRaw(4);
    static const Bytes z = deflateBytes(raw, 6);
    for (auto _ : state) {
        Bytes out(raw.size());
        uLongf n = out.size();
        uncompress(out.data(), &n, z.data(), static_cast<uLong>(z.size()));
        benchmark::DoNotOptimize(deflateBytes(out, Z_DEFAULT_COMPRESSION).size());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * size_t(kW) * kH * 4));
}

}  // namespace

BENCHMARK(Raster_PngRgb)->Unit(benchmark::kMillisecond);
BENCHMARK(Raster_PngRgba)->Unit(benchmark::kMillisecond);
BENCHMARK(Raster_PngRgbaZlibFloor)->Unit(benchmark::kMillisecond);
BENCHMARK(Raster_Gif)->Unit(benchmark::kMillisecond);
BENCHMARK(Raster_Bmp24)->Unit(benchmark::kMillisecond);
BENCHMARK(Raster_Bmp8Rle)->Unit(benchmark::kMillisecond);
BENCHMARK(Raster_CopyBaseline)->Arg(kW * kH)->Arg(kW * kH * 3)->Arg(kW * kH * 4)->Unit(benchmark::kMillisecond);
