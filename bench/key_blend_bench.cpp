// The key, blend and fill blits through their exports, at each vector level, on records the
// size of the destination that memcpy copies in the same run.
#include <cstring>

#include "bench_support.h"
#include "base/cpu.h"
#include "blit/mmx_switch.h"
#include "image/bitmap_record.h"

namespace {

using mediakit::SimdLevel;

// A 24- or 8-bit record over varied pixels.
struct Record {
    Record(int w, int h, int bits, uint32_t seed) : pixels(w, h, seed) {
        info.biSize = 40;
        info.biWidth = w;
        info.biHeight = h;
        info.biPlanes = 1;
        info.biBitCount = WORD(bits);
        std::memset(colours, 0, sizeof colours);
        std::memcpy(colours, &info, sizeof info);
        bd.lpbmi = reinterpret_cast<BITMAPINFO*>(colours);
        bd.lpBits = pixels.bytes.data();
    }
    BITMAPINFOHEADER info{};
    alignas(4) uint8_t colours[40 + 256 * 4];
    mkbench::Pixels pixels;  // a 24-bit stride, enough for 8 bits too
    BitmapData bd{};
};

// Source pixels made black: in runs of 37 pixels in a third of each row, as around sprites,
// or every other pixel, so that no group of pixels is all colour or all black.
enum class Black { kNone, kRuns, kEveryOther };

void blacken(Record& r, Black black) {
    for (int y = 0; y < r.pixels.height && black != Black::kNone; ++y)
        for (int x = 0; x < r.pixels.width; ++x)
            if (black == Black::kRuns ? (x / 37 + y / 23) % 3 == 0 : x % 2 == 0)
                std::memset(r.pixels.bytes.data() + size_t(y) * r.pixels.stride + 3 * x, 0, 3);
}

// Times one call per iteration at a level, with the MMX switch on or off.
template <class Call>
void run(benchmark::State& state, SimdLevel level, bool switch_on, Call call, Black black = Black::kNone) {
    if (!mediakit::set_simd_level_for_test(level)) {
        state.SkipWithError("level not available");
        return;
    }
    mediakit::g_mmxAvailable = 1;
    SetUsageMMX(switch_on);
    int w = int(state.range(0)), h = int(state.range(1));
    Record dst(w, h, 24, 2), src(w, h, 24, 1), other(w, h, 24, 3), mask(w, h, 8, 4);
    blacken(src, black);
    for (auto _ : state) {
        call(&dst.bd, w, h, &src.bd, &other.bd, &mask.bd);
        benchmark::DoNotOptimize(dst.bd.lpBits);
        benchmark::ClobberMemory();
    }
    mkbench::count_pixels(state, w, h);
    mediakit::set_simd_level_for_test(mediakit::best_simd_level());
    SetUsageMMX(1);
}

void alpha_blend(BitmapData* d, int w, int h, BitmapData* s, BitmapData* o, BitmapData*) {
    AlphaBlendBlt(d, 0, 0, w, h, s, 0, 0, o, 0, 0, 100);
}
void fill_alpha(BitmapData* d, int w, int h, BitmapData*, BitmapData*, BitmapData*) {
    FillAlpha(d, 0, 0, w, h, 0x204080, 100);
}
void color_key(BitmapData* d, int w, int h, BitmapData* s, BitmapData*, BitmapData*) {
    ColorKeyBlt(d, 0, 0, w, h, s, 0, 0);
}
void mask_key(BitmapData* d, int w, int h, BitmapData* s, BitmapData*, BitmapData* m) {
    MaskKeyBlt(d, 0, 0, w, h, s, 0, 0, m, 0, 0, 128);
}
void mask_time_key(BitmapData* d, int w, int h, BitmapData* s, BitmapData*, BitmapData* m) {
    MaskTimeKeyBlt(d, 0, 0, w, h, s, 0, 0, m, 0, 0, 128);
}

#define MK_LEVEL_BENCH(name, ...)                                                           \
    void BM_##name##_sse2(benchmark::State& s) { run(s, SimdLevel::kSse2, __VA_ARGS__); } \
    void BM_##name##_avx2(benchmark::State& s) { run(s, SimdLevel::kAvx2, __VA_ARGS__); } \
    BENCHMARK(BM_##name##_sse2)->Apply(mkbench::standard_sizes);                          \
    BENCHMARK(BM_##name##_avx2)->Apply(mkbench::standard_sizes)

MK_LEVEL_BENCH(AlphaBlendBlt_mmx, true, alpha_blend);
MK_LEVEL_BENCH(AlphaBlendBlt_plain, false, alpha_blend);
MK_LEVEL_BENCH(FillAlpha_mmx, true, fill_alpha);
MK_LEVEL_BENCH(FillAlpha_plain, false, fill_alpha);
MK_LEVEL_BENCH(ColorKeyBlt_sprites, true, color_key, Black::kRuns);
MK_LEVEL_BENCH(ColorKeyBlt_every_other, true, color_key, Black::kEveryOther);
// A mask of random bytes: every group of pixels is partly selected.
MK_LEVEL_BENCH(MaskKeyBlt, true, mask_key);
MK_LEVEL_BENCH(MaskTimeKeyBlt, true, mask_time_key);

}  // namespace
