// Throughput of the raster formats in MB per second of decoded pixels: what
// a host spends from the file's bytes to the image objects (readSpecs and
// addObjectSpecs, with the mask or palette).  Baselines: a plain copy of the
// same number of bytes, and for PNG with alpha the zlib floor of that path
// (inflating the IDAT data and deflating the same samples again).
#include <benchmark/benchmark.h>
#include <zlib.h>

#include <cstring>
#include <vector>

#include "kivuimg/commons/core/buffer.h"
#include "kivuimg/commons/objects.h"
#include "kivuimg/img/bmp.h"
#include "kivuimg/img/gif.h"
#include "kivuimg/img/png.h"
#include "tests/builders.h"

using namespace kivu;

namespace {

using kivutest::Bytes;
constexpr int kW = 1024, kH = 768;

// A photo-like picture: smooth gradients with a little noise.
uint8_t sample(int x, int y, int c) {
    static uint32_t state = 1;
    state = state * 1103515245u + 12345u;
    return static_cast<uint8_t>((x * (c + 1) + y * (3 - c)) / 5 + ((state >> 16) & 7));
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
    return kivutest::Png(kW, kH, 8, channels == 4 ? 6 : 2).data(kivutest::zlibDeflate(pngRaw(channels), 6)).end().bytes;
}

// A 256-colour picture of 16-pixel squares, one frame over the screen.
Bytes gif() {
    Bytes pixels(size_t(kW) * kH);
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x) pixels[size_t(y) * kW + x] = static_cast<uint8_t>((x / 16 + y / 16) % 64);
    return kivutest::Gif(kW, kH, 8).frame(kW, kH, kivutest::lzw(pixels, 8)).trailer().bytes;
}

Bytes bmp24() {
    Bytes px;
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x)
            for (int c = 0; c < 3; ++c) px.push_back(sample(x, y, c));
    return kivutest::bmp(kW, kH, 24, 0, px);
}

Bytes bmpRle8() {
    Bytes rle;
    for (int y = 0; y < kH; ++y) {
        for (int x = 0; x < kW; x += 32) rle.insert(rle.end(), {32, static_cast<uint8_t>((x + y) / 32)});
        rle.insert(rle.end(), {0, 0});
    }
    rle.insert(rle.end(), {0, 1});
    return kivutest::bmp(kW, kH, 8, 1, rle, 256);
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
    static const Bytes z = kivutest::zlibDeflate(raw, 6);
    for (auto _ : state) {
        Bytes out(raw.size());
        uLongf n = out.size();
        uncompress(out.data(), &n, z.data(), static_cast<uLong>(z.size()));
        benchmark::DoNotOptimize(kivutest::zlibDeflate(out, Z_DEFAULT_COMPRESSION).size());
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
