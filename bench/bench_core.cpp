// Throughput of the byte block and its derivations, in bytes per second.
#include <benchmark/benchmark.h>

#include <vector>

#include "kivuimg/commons/core/buffer.h"
#include "kivuimg/commons/core/cstr.h"
#include "kivuimg/commons/funcs.h"
#include "kivuimg/img/jpg.h"
#include "kivuimg/img/libmain.h"

using namespace kivu;

namespace {

std::vector<uint8_t> payload(size_t n) {
    std::vector<uint8_t> v(n);
    uint32_t x = 12345;
    for (auto& b : v) {
        x = x * 1103515245u + 12345u;
        b = static_cast<uint8_t>((x >> 16) % 40);  // compressible, like content streams
    }
    return v;
}

void AppendSingleBytes(benchmark::State& state) {
    const size_t n = static_cast<size_t>(state.range(0));
    for (auto _ : state) {
        TBuffer b(48, 8192);
        for (size_t i = 0; i < n; ++i) b.addByte(static_cast<uint8_t>(i));
        benchmark::DoNotOptimize(b.ptr());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(n));
}
// Linear growth: bytes per second must not fall as the run gets longer.
BENCHMARK(AppendSingleBytes)->Arg(1 << 16)->Arg(1 << 20)->Arg(1 << 24);

void AppendRuns(benchmark::State& state) {
    const auto run = payload(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        TBuffer b(4096, 8192);
        for (int i = 0; i < 256; ++i) b.addBytes(run);
        benchmark::DoNotOptimize(b.ptr());
    }
    state.SetBytesProcessed(state.iterations() * 256 * static_cast<int64_t>(run.size()));
}
BENCHMARK(AppendRuns)->Arg(64)->Arg(4096);

void Md5(benchmark::State& state) {
    TBuffer b{std::span<const uint8_t>(payload(1 << 20))};
    for (auto _ : state) benchmark::DoNotOptimize(b.MD5());
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(b.size()));
}
BENCHMARK(Md5);

void Crc32(benchmark::State& state) {
    TBuffer b{std::span<const uint8_t>(payload(1 << 20))};
    for (auto _ : state) benchmark::DoNotOptimize(b.CRC32());
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(b.size()));
}
BENCHMARK(Crc32);

void Compress(benchmark::State& state) {
    const auto data = payload(1 << 20);
    for (auto _ : state) {
        TMemory m{std::span<const uint8_t>(data)};
        m.comp();
        benchmark::DoNotOptimize(m.ptr());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(data.size()));
}
BENCHMARK(Compress);

void Uncompress(benchmark::State& state) {
    const auto data = payload(1 << 20);
    TMemory z{std::span<const uint8_t>(data)};
    z.comp();
    for (auto _ : state) {
        TMemory m{z.bytes()};
        m.uncomp();
        benchmark::DoNotOptimize(m.ptr());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(data.size()));
}
BENCHMARK(Uncompress);

void JpegHeader(benchmark::State& state) {
    // The fallback picture: a small progressive JPEG, the worst case per byte
    // since starting decompression absorbs every scan.
    auto bytes = TBuffer::createByBase64CodedString(undefinedImageBase64());
    for (auto _ : state) {
        TImageJPG img(TBuffer::create(bytes->pointChunk(0, 0)));
        img.readSpecs();
        benchmark::DoNotOptimize(img.width());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes->size()));
}
BENCHMARK(JpegHeader);

}  // namespace
