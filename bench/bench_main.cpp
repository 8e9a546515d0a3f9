// The one entry point of kivuimg_bench: every bench/*.cpp only registers benchmarks.
#include <benchmark/benchmark.h>

BENCHMARK_MAIN();
