// The 24-bit rectangle copy at each vector level.
#include "bench_support.h"
#include "blit/copy.h"
#include "base/cpu.h"

namespace {

void copy_at(benchmark::State& state, mediakit::SimdLevel level) {
    if (level > mediakit::best_simd_level()) {
        state.SkipWithError("level not available");
        return;
    }
    int w = int(state.range(0)), h = int(state.range(1));
    mkbench::Pixels src(w, h, 1), dst(w, h, 2);
    mediakit::CopyRect24Fn copy = mediakit::copy_rect24_kernel(int(level));
    for (auto _ : state) {
        copy(dst.bytes.data(), src.bytes.data(), w, h, dst.stride, src.stride);
        benchmark::DoNotOptimize(dst.bytes.data());
        benchmark::ClobberMemory();
    }
    mkbench::count_pixels(state, w, h);
}

void BM_copy_rect24_scalar(benchmark::State& s) { copy_at(s, mediakit::SimdLevel::kScalar); }
void BM_copy_rect24_sse2(benchmark::State& s) { copy_at(s, mediakit::SimdLevel::kSse2); }
void BM_copy_rect24_avx2(benchmark::State& s) { copy_at(s, mediakit::SimdLevel::kAvx2); }

BENCHMARK(BM_copy_rect24_scalar)->Apply(mkbench::standard_sizes);
BENCHMARK(BM_copy_rect24_sse2)->Apply(mkbench::standard_sizes);
BENCHMARK(BM_copy_rect24_avx2)->Apply(mkbench::standard_sizes);

}  // namespace
