// Metafile records per second: the first walk (readSpecs) and the emission
// (GDI table, colours, content operators) over a large generated metafile.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <span>
#include <vector>

#include "kivuimg/commons/core/buffer.h"
#include "kivuimg/commons/objects.h"
#include "kivuimg/img/wmf.h"
#include "tests/builders.h"

using namespace kivu;

namespace {

using MetafileWriter = kivutest::WmfBuilder;

// `cycles` repetitions of: pen, brush, select both, fill mode, a polygon of
// 8 points, a polyline of 6, a poly-polygon of 2 x 5, a hatched brush
// selected, then every object deleted; a window in front, EOF behind.
MetafileWriter generate(int cycles) {
    MetafileWriter w;
    w.record(TImageWMF::kSetWindowOrg, {0, 0});
    w.record(TImageWMF::kSetWindowExt, {4000, 6000});
    uint32_t x = 1;
    auto coord = [&x] {
        x = x * 1103515245u + 12345u;
        return static_cast<uint16_t>((x >> 16) % 6000);
    };
    for (int c = 0; c < cycles; ++c) {
        const auto shade = static_cast<uint16_t>(c * 2654435761u);
        w.record(TImageWMF::kCreatePenIndirect, {static_cast<uint16_t>(c % 6), 20, 0, shade, 0});
        w.record(TImageWMF::kCreateBrushIndirect, {0, static_cast<uint16_t>(~shade), 0x40, 0});
        w.record(TImageWMF::kSelectObject, {0});
        w.record(TImageWMF::kSelectObject, {1});
        w.record(TImageWMF::kSetPolyFillMode, {static_cast<uint16_t>(1 + c % 2)});
        std::vector<uint16_t> polygon{8};
        for (int i = 0; i < 16; ++i) polygon.push_back(coord());
        w.record(TImageWMF::kPolygon, polygon);
        std::vector<uint16_t> polyline{6};
        for (int i = 0; i < 12; ++i) polyline.push_back(coord());
        w.record(TImageWMF::kPolyline, polyline);
        std::vector<uint16_t> polypolygon{2, 5, 5};
        for (int i = 0; i < 20; ++i) polypolygon.push_back(coord());
        w.record(TImageWMF::kPolyPolygon, polypolygon);
        w.record(TImageWMF::kCreateBrushIndirect, {2, 0x00FF, 0, 3});
        w.record(TImageWMF::kSelectObject, {2});
        w.record(TImageWMF::kDeleteObject, {0});
        w.record(TImageWMF::kDeleteObject, {1});
        w.record(TImageWMF::kDeleteObject, {2});
    }
    w.record(TImageWMF::kEOF, {});
    return w;
}

const MetafileWriter& large() {
    static const MetafileWriter w = generate(20000);  // 260 002 records, 1.9 MB
    return w;
}

void WmfReadSpecs(benchmark::State& state) {
    const auto& w = large();
    TImageWMF img(TBuffer::create(std::span<const uint8_t>(w.bytes())));
    for (auto _ : state) {
        img.readSpecs();
        benchmark::DoNotOptimize(img.width());
    }
    state.counters["records/s"] = benchmark::Counter(static_cast<double>(w.records()) * state.iterations(),
                                                    benchmark::Counter::kIsRate);
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(w.bytes().size()));
}
BENCHMARK(WmfReadSpecs)->Unit(benchmark::kMillisecond);

void WmfEmit(benchmark::State& state) {
    const auto& w = large();
    const auto space = static_cast<ColorSpace>(state.range(0));
    int64_t out = 0;
    for (auto _ : state) {
        // A fresh image each time: a second emission would grow the GDI table.
        TImageWMF img(TBuffer::create(std::span<const uint8_t>(w.bytes())));
        img.readSpecs();
        TObjects objects;
        img.addObjectSpecs(&objects, "Im1", nullptr, space, space == csAuto ? ciNo : ciTransform);
        img.addObjectMask(&objects);
        out = static_cast<int64_t>(img.data()->size());
        benchmark::DoNotOptimize(out);
    }
    state.counters["records/s"] = benchmark::Counter(static_cast<double>(w.records()) * state.iterations(),
                                                    benchmark::Counter::kIsRate);
    state.counters["content_MB"] = static_cast<double>(out) / 1e6;
}
BENCHMARK(WmfEmit)->Arg(csAuto)->Arg(csCMYK)->Unit(benchmark::kMillisecond);

}  // namespace
