// The hue step and the two saturation steps over a whole image, plain and with AVX2.
#include "bench_support.h"
#include "base/cpu.h"
#include "blit/hsb.h"

namespace {

enum class Step { kHue, kStrengthen, kWeaken };

void step_at(benchmark::State& state, mediakit::SimdLevel level, Step step) {
    if (level > mediakit::best_simd_level()) {
        state.SkipWithError("level not available");
        return;
    }
    const int w = int(state.range(0)), h = int(state.range(1));
    const mkbench::Pixels original(w, h, 1);
    mkbench::Pixels img = original;
    const mediakit::HsbKernels& k = mediakit::hsb_kernels(int(level));
    const mediakit::HsbArgs args = {0.37, step == Step::kWeaken ? -0.4 : 0.4, false};
    const mediakit::HsbRowsFn fn = step == Step::kHue ? k.hue : step == Step::kStrengthen ? k.strengthen : k.weaken;
    for (auto _ : state) {
        // Repeated strengthening would drive every pixel to a channel at 0 or 255, which
        // the step leaves alone: each run starts from the original pixels, untimed.
        state.PauseTiming();
        img.bytes = original.bytes;
        state.ResumeTiming();
        fn(img.bytes.data(), img.stride, w, h, args);
        benchmark::DoNotOptimize(img.bytes.data());
        benchmark::ClobberMemory();
    }
    mkbench::count_pixels(state, w, h);
}

using mediakit::SimdLevel;
void BM_hsb_hue_scalar(benchmark::State& s) { step_at(s, SimdLevel::kScalar, Step::kHue); }
void BM_hsb_hue_avx2(benchmark::State& s) { step_at(s, SimdLevel::kAvx2, Step::kHue); }
void BM_hsb_strengthen_scalar(benchmark::State& s) { step_at(s, SimdLevel::kScalar, Step::kStrengthen); }
void BM_hsb_strengthen_avx2(benchmark::State& s) { step_at(s, SimdLevel::kAvx2, Step::kStrengthen); }
void BM_hsb_weaken_scalar(benchmark::State& s) { step_at(s, SimdLevel::kScalar, Step::kWeaken); }
void BM_hsb_weaken_avx2(benchmark::State& s) { step_at(s, SimdLevel::kAvx2, Step::kWeaken); }

BENCHMARK(BM_hsb_hue_scalar)->Apply(mkbench::standard_sizes);
BENCHMARK(BM_hsb_hue_avx2)->Apply(mkbench::standard_sizes);
BENCHMARK(BM_hsb_strengthen_scalar)->Apply(mkbench::standard_sizes);
BENCHMARK(BM_hsb_strengthen_avx2)->Apply(mkbench::standard_sizes);
BENCHMARK(BM_hsb_weaken_scalar)->Apply(mkbench::standard_sizes);
BENCHMARK(BM_hsb_weaken_avx2)->Apply(mkbench::standard_sizes);

}  // namespace
