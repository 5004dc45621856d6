// The vector kernels of the masked blits against their path's reference, byte for byte, on
// rows that end flush against an inaccessible page.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "blit/cpu.h"
#include "blit/mask_blend.h"
#include "guarded.h"
#include "images.h"
#include "rng.h"

namespace {

using mediakit::MaskRows;
using mediakit::SimdLevel;
using mktest::GuardedBuffer;
using mktest::Rng;

enum class Kind { kAlphaPixel, kAlphaMmx, kTimePixel, kTimeMmx };
const char* const kKindNames[] = {"alpha per-pixel", "alpha mmx", "time per-pixel", "time mmx"};

bool is_time(Kind kind) { return kind == Kind::kTimePixel || kind == Kind::kTimeMmx; }
bool is_mmx(Kind kind) { return kind == Kind::kAlphaMmx || kind == Kind::kTimeMmx; }

void run(Kind kind, int level, const MaskRows& rows, int32_t value) {
    switch (kind) {
        case Kind::kAlphaPixel: return mediakit::mask_alpha_pixel_kernel(level)(rows, value);
        case Kind::kAlphaMmx: return mediakit::mask_alpha_mmx_kernel(level)(rows, value);
        case Kind::kTimePixel: return mediakit::mask_time_pixel_kernel(level)(rows, value);
        case Kind::kTimeMmx: return mediakit::mask_time_mmx_kernel(level)(rows, value);
    }
}

// Strengths and times where the arithmetic turns: full strength and one below, the ends of
// the transition, and values outside the contract (the 16-bit word of the mmx paths).
int32_t pick_value(Kind kind, Rng& rng) {
    static const int32_t kStrengths[] = {1, 2, 127, 128, 254, 255, 256};
    static const int32_t kOdd[] = {-1, 257, 65535, 65791, 65792, -65281, INT32_MIN, INT32_MAX};
    static const int32_t kTimes[] = {INT32_MIN, -40000, -32769, -256, -1, 0, 1, 128, 255, 256,
                                     257, 300, 510, 511, 512, 767, 32768, 70000};
    if (is_time(kind))
        return rng.range(0, 2) ? kTimes[rng.range(0, 17)] : rng.range(-300, 800);
    if (kind == Kind::kAlphaMmx && rng.range(0, 4) == 0) return kOdd[rng.range(0, 7)];
    return rng.range(0, 1) ? kStrengths[rng.range(0, 6)] : rng.range(1, 256);
}

// Mask bytes lean to 0 and 255 and, for the transition, to the time itself.
uint8_t mask_byte(Rng& rng, int32_t value, bool time) {
    switch (rng.range(0, 5)) {
        case 0: return 0;
        case 1: return 255;
        case 2:
            if (time) return static_cast<uint8_t>(std::min(255, std::max(0, std::max(-10, std::min(value, 300)) + rng.range(-3, 3))));
            return rng.byte();
        default: return rng.byte();
    }
}

// A block of h rows of `row` bytes at `stride`, the last row ending at the guard page.
struct Plane {
    Plane(Rng& rng, int row, int h, ptrdiff_t stride_)
        : stride(stride_), bytes(stride_ * (h - 1) + row), mem(bytes) {
        for (size_t i = 0; i < bytes; ++i) mem.data()[i] = rng.biased_byte();
    }
    ptrdiff_t stride;
    size_t bytes;
    GuardedBuffer mem;
};

class MaskKernel : public testing::TestWithParam<SimdLevel> {
protected:
    void SetUp() override {
        if (GetParam() > mediakit::best_simd_level())
            GTEST_SKIP() << mediakit::simd_level_name(GetParam()) << " not available on this processor";
    }
};

TEST_P(MaskKernel, MatchesItsPathsReferenceInsideTheRows) {
    std::vector<int> widths;
    for (int w = 1; w <= 40; ++w) widths.push_back(w);
    for (int w : {47, 48, 63, 64, 65, 95, 96, 97, 640, 1921}) widths.push_back(w);
    uint64_t seed = 0;
    for (Kind kind : {Kind::kAlphaPixel, Kind::kAlphaMmx, Kind::kTimePixel, Kind::kTimeMmx}) {
        for (int w : widths) {
            for (int round = 0; round < 12; ++round) {
                Rng rng(++seed);
                const int h = rng.range(1, 4), step = is_mmx(kind) || rng.range(0, 1) ? 3 : 1;
                const int32_t value = pick_value(kind, rng);
                Plane dst(rng, 3 * w, h, 3 * w + rng.range(0, 7)), src(rng, 3 * w, h, 3 * w + rng.range(0, 9)),
                    src2(rng, 3 * w, h, 3 * w + rng.range(0, 5));
                Plane mask(rng, step * w, h, step * w + rng.range(0, 6));
                for (size_t i = 0; i < mask.bytes; ++i) mask.mem.data()[i] = mask_byte(rng, value, is_time(kind));
                MaskRows rows{dst.mem.data(), src.mem.data(), src2.mem.data(), mask.mem.data(),
                              dst.stride,     src.stride,     src2.stride,     mask.stride,
                              step,           w,              h};
                std::vector<uint8_t> expected(dst.mem.data(), dst.mem.data() + dst.bytes);
                MaskRows ref_rows = rows;
                ref_rows.dst = expected.data();
                run(kind, 0, ref_rows, value);
                run(kind, static_cast<int>(GetParam()), rows, value);
                ASSERT_EQ(mktest::first_difference(expected, dst.mem.data(), dst.bytes), "")
                    << kKindNames[static_cast<int>(kind)] << ", width " << w << ", height " << h << ", mask step "
                    << step << ", value " << value << ", seed " << seed;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(AllLevels, MaskKernel, testing::Values(SimdLevel::kSse2, SimdLevel::kAvx2),
                         [](const auto& p) { return mediakit::simd_level_name(p.param); });

}  // namespace
