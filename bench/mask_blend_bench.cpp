// The masked alpha blit and the timed transition, each path at each vector level, on images
// of the standard sizes. The mask is varied bytes, so no step is skipped as all-zero.
#include <vector>

#include "bench_support.h"
#include "base/cpu.h"
#include "blit/mask_blend.h"

namespace {

using mediakit::SimdLevel;

enum class Blit { kAlphaMmx, kAlphaPixel, kTimeMmx, kTimePixel };

void mask_at(benchmark::State& state, Blit blit, int mask_step, SimdLevel level) {
    if (level > mediakit::best_simd_level()) {
        state.SkipWithError("level not available");
        return;
    }
    int w = int(state.range(0)), h = int(state.range(1));
    mkbench::Pixels dst(w, h, 2), src(w, h, 1), src2(w, h, 3), mask24(w, h, 4);
    const int mask_stride = mask_step == 3 ? mask24.stride : (w + 3) & ~3;
    std::vector<uint8_t> mask8(size_t(mask_stride) * h);
    for (size_t i = 0; i < mask8.size(); ++i) mask8[i] = mask24.bytes[3 * i % mask24.bytes.size()];
    mediakit::MaskRows rows{dst.bytes.data(), src.bytes.data(), src2.bytes.data(),
                            mask_step == 3 ? mask24.bytes.data() : mask8.data(),
                            dst.stride, src.stride, src2.stride, mask_stride, mask_step, w, h};
    const int lv = int(level);
    for (auto _ : state) {
        switch (blit) {
            case Blit::kAlphaMmx: mediakit::mask_alpha_mmx_kernel(lv)(rows, 200); break;
            case Blit::kAlphaPixel: mediakit::mask_alpha_pixel_kernel(lv)(rows, 200); break;
            case Blit::kTimeMmx: mediakit::mask_time_mmx_kernel(lv)(rows, 300); break;
            case Blit::kTimePixel: mediakit::mask_time_pixel_kernel(lv)(rows, 300); break;
        }
        benchmark::DoNotOptimize(dst.bytes.data());
        benchmark::ClobberMemory();
    }
    mkbench::count_pixels(state, w, h);
}

#define MASK_BENCH(name, blit, step)                                                              \
    void BM_##name##_scalar(benchmark::State& s) { mask_at(s, blit, step, SimdLevel::kScalar); } \
    void BM_##name##_sse2(benchmark::State& s) { mask_at(s, blit, step, SimdLevel::kSse2); }     \
    void BM_##name##_avx2(benchmark::State& s) { mask_at(s, blit, step, SimdLevel::kAvx2); }     \
    BENCHMARK(BM_##name##_scalar)->Apply(mkbench::standard_sizes);                                \
    BENCHMARK(BM_##name##_sse2)->Apply(mkbench::standard_sizes);                                  \
    BENCHMARK(BM_##name##_avx2)->Apply(mkbench::standard_sizes)

// MaskAlphaBlt2 at strength 200 and MaskTimeAlphaBlt at t = 300 (every pixel mid-turn or
// turned; the mmx path's copy shortcut starts at 511).
MASK_BENCH(MaskAlphaBlt2_mmx_m24, Blit::kAlphaMmx, 3);
MASK_BENCH(MaskAlphaBlt2_pixel_m24, Blit::kAlphaPixel, 3);
MASK_BENCH(MaskAlphaBlt2_pixel_m8, Blit::kAlphaPixel, 1);
MASK_BENCH(MaskTimeAlphaBlt_mmx_m24, Blit::kTimeMmx, 3);
MASK_BENCH(MaskTimeAlphaBlt_pixel_m24, Blit::kTimePixel, 3);
MASK_BENCH(MaskTimeAlphaBlt_pixel_m8, Blit::kTimePixel, 1);

}  // namespace
