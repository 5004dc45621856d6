// The area-weighted scaling blit at each level. The two arguments are the source size, so
// the ratio printed is against memcpy of the source rows; the destination is a third of
// it each way (whole cells), or 2.4 times smaller (cells split between pixels).
#include "bench_support.h"
#include "blit/area_scale.h"
#include "base/cpu.h"

namespace {

void scale_at(benchmark::State& state, mediakit::SimdLevel level, int num, int den) {
    if (level > mediakit::best_simd_level()) {
        state.SkipWithError("level not available");
        return;
    }
    const int sw = int(state.range(0)), sh = int(state.range(1));
    const int w = sw * num / den, h = sh * num / den;
    mkbench::Pixels src(sw, sh, 1), dst(w, h, 2);
    mediakit::AreaScale a{w, h, sw, sh, 0, w, 0, h, dst.bytes.data(), dst.stride, src.bytes.data(), src.stride};
    const mediakit::AreaScaleFn kernel = mediakit::area_scale_kernel(int(level));
    for (auto _ : state) {
        kernel(a);
        benchmark::DoNotOptimize(dst.bytes.data());
        benchmark::ClobberMemory();
    }
    mkbench::count_pixels(state, sw, sh);
}

using mediakit::SimdLevel;
void BM_area_scale_third_scalar(benchmark::State& s) { scale_at(s, SimdLevel::kScalar, 1, 3); }
void BM_area_scale_third_sse2(benchmark::State& s) { scale_at(s, SimdLevel::kSse2, 1, 3); }
void BM_area_scale_third_avx2(benchmark::State& s) { scale_at(s, SimdLevel::kAvx2, 1, 3); }
void BM_area_scale_2_4_sse2(benchmark::State& s) { scale_at(s, SimdLevel::kSse2, 5, 12); }
void BM_area_scale_2_4_avx2(benchmark::State& s) { scale_at(s, SimdLevel::kAvx2, 5, 12); }

BENCHMARK(BM_area_scale_third_scalar)->Apply(mkbench::standard_sizes);
BENCHMARK(BM_area_scale_third_sse2)->Apply(mkbench::standard_sizes);
BENCHMARK(BM_area_scale_third_avx2)->Apply(mkbench::standard_sizes);
BENCHMARK(BM_area_scale_2_4_sse2)->Apply(mkbench::standard_sizes);
BENCHMARK(BM_area_scale_2_4_avx2)->Apply(mkbench::standard_sizes);

}  // namespace
