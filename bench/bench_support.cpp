#include "bench_support.h"

#include <cstring>

namespace mkbench {

Pixels::Pixels(int w, int h, uint32_t seed)
    : width(w), height(h), stride((w * 3 + 3) & ~3), bytes(size_t(stride) * h) {
    uint32_t x = seed * 2654435761u + 1;
    for (uint8_t& b : bytes) {
        x ^= x << 13;
        x ^= x >> 17;
        x ^= x << 5;
        b = uint8_t(x);
    }
}

void count_pixels(benchmark::State& state, int width, int height) {
    state.SetItemsProcessed(int64_t(state.iterations()) * width * height);
    state.SetBytesProcessed(int64_t(state.iterations()) * width * height * 3);
}

void BM_memcpy_rows(benchmark::State& state) {
    int w = int(state.range(0)), h = int(state.range(1));
    Pixels src(w, h, 1), dst(w, h, 2);
    for (auto _ : state) {
        for (int y = 0; y < h; ++y)
            std::memcpy(dst.bytes.data() + size_t(y) * dst.stride, src.bytes.data() + size_t(y) * src.stride, size_t(w) * 3);
        benchmark::DoNotOptimize(dst.bytes.data());
        benchmark::ClobberMemory();
    }
    count_pixels(state, w, h);
}

void standard_sizes(benchmark::internal::Benchmark* b) {
    b->Args({640, 480})->Args({1920, 1080});
}

BENCHMARK(BM_memcpy_rows)->Apply(standard_sizes);

}  // namespace mkbench
