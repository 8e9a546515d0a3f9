// Throughput of colour parsing, colour conversion and measure conversion.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "kivuimg/commons/graphics/color.h"
#include "kivuimg/commons/unit.h"

using namespace kivu;

namespace {

void parseColors(benchmark::State& state, std::vector<std::string> texts) {
    for (auto _ : state)
        for (const std::string& t : texts) {
            SColor c(t);
            benchmark::DoNotOptimize(c.space.get());
        }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(texts.size()));
}

void BM_ColorParseHex(benchmark::State& state) { parseColors(state, {"#abc", "#a0b1c2", "#a0b1c2d3"}); }
void BM_ColorParseName(benchmark::State& state) { parseColors(state, {"red", "lightgoldenrodyellow", "teal"}); }
void BM_ColorParseFunctional(benchmark::State& state) {
    parseColors(state, {"rgb(0.1, 0.2, 0.3)", "rgba(0.1, 0.2, 0.3, 0.5)", "cmyk(0.1, 0.2, 0.3, 0.4)", "gray(0.5)"});
}

void BM_ColorToPDF(benchmark::State& state) {
    const SColor c("rgba(0.1, 0.2, 0.3, 0.5)");
    for (auto _ : state) benchmark::DoNotOptimize(c.toPDF());
    state.SetItemsProcessed(state.iterations());
}

void BM_ColorConvertRGBToCMYK(benchmark::State& state) {
    const SColor c("#336699");
    for (auto _ : state) {
        SColor k = c.convert(csCMYK);
        benchmark::DoNotOptimize(k.space.get());
    }
    state.SetItemsProcessed(state.iterations());
}

void BM_UnitConvert(benchmark::State& state) {
    const std::vector<SUnit> units{SUnit("12pt"), SUnit("2.5cm"), SUnit("50%"), SUnit("7px"), SUnit("1in")};
    for (auto _ : state)
        for (const SUnit& u : units) {
            benchmark::DoNotOptimize(u.pt());
            benchmark::DoNotOptimize(u.px());
        }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(units.size()) * 2);
}

}  // namespace

BENCHMARK(BM_ColorParseHex);
BENCHMARK(BM_ColorParseName);
BENCHMARK(BM_ColorParseFunctional);
BENCHMARK(BM_ColorToPDF);
BENCHMARK(BM_ColorConvertRGBToCMYK);
BENCHMARK(BM_UnitConvert);
