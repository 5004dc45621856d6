// Images and the memcpy baseline shared by the benchmarks. Every benchmark takes the image
// width and height as its two arguments, so bench/run.sh can pair it with the memcpy of the
// same rows.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <vector>

namespace mkbench {

/// A 24-bit bottom-up pixel block with the record stride, filled with varied bytes.
struct Pixels {
    Pixels(int width, int height, uint32_t seed);
    int width, height, stride;
    std::vector<uint8_t> bytes;
};

/// memcpy of the destination rows: the baseline every kernel is compared with.
void BM_memcpy_rows(benchmark::State& state);

/// Marks the run as w × h pixels and 3 × w × h bytes per iteration.
void count_pixels(benchmark::State& state, int width, int height);

/// The sizes every compositing benchmark runs at.
void standard_sizes(benchmark::internal::Benchmark* b);

}  // namespace mkbench
