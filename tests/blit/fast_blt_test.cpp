#include <gtest/gtest.h>

#include <cstring>

#include "blit/cpu.h"
#include "blit/fast_blt.h"
#include "images.h"

namespace {

using mediakit::SimdLevel;
using mktest::HeapImage;

// The copy pixel by pixel: every pixel of the rectangle that lies inside both images.
void reference_copy(HeapImage& dst, int x, int y, int w, int h, HeapImage& src, int sx, int sy) {
    for (int j = 0; j < h; ++j) {
        for (int i = 0; i < w; ++i) {
            int dx = x + i, dy = y + j, ux = sx + i, uy = sy + j;
            if (dx < 0 || dy < 0 || dx >= dst.width() || dy >= dst.height()) continue;
            if (ux < 0 || uy < 0 || ux >= src.width() || uy >= src.height()) continue;
            std::memcpy(dst.at(dx, dy), src.at(ux, uy), 3);
        }
    }
}

class FastBltMmxPath : public testing::TestWithParam<SimdLevel> {
protected:
    void SetUp() override {
        if (!mediakit::set_simd_level_for_test(GetParam()))
            GTEST_SKIP() << mediakit::simd_level_name(GetParam()) << " not available";
    }
    void TearDown() override { mediakit::set_simd_level_for_test(mediakit::best_simd_level()); }
};

TEST_P(FastBltMmxPath, CopiesExactlyTheClippedRectangle) {
    for (uint64_t seed = 1; seed <= 1500; ++seed) {
        mktest::Rng rng(seed);
        HeapImage dst(rng.range(1, 40), rng.range(1, 12)), src(rng.range(1, 40), rng.range(1, 12));
        dst.fill(rng);
        src.fill(rng);
        int w = rng.range(-3, 45), h = rng.range(-3, 14);
        int x = rng.range(-45, 42), y = rng.range(-14, 13), sx = rng.range(-45, 42), sy = rng.range(-14, 13);
        std::vector<uint8_t> before = dst.snapshot();
        HeapImage expected(dst.width(), dst.height());
        std::memcpy(expected.bits(), before.data(), before.size());
        reference_copy(expected, x, y, w, h, src, sx, sy);
        mediakit::fast_blt_mmx(dst.record(), x, y, w, h, src.record(), sx, sy);
        ASSERT_EQ(mktest::first_difference(expected.snapshot(), dst.bits(), dst.bytes()), "")
            << "seed " << seed << ": " << w << "×" << h << " at (" << x << "," << y << ") from ("
            << sx << "," << sy << ")";
    }
}

TEST_P(FastBltMmxPath, DrawsNothingUnlessBothImagesAre24Bit) {
    for (int dst_bits : {8, 24, 32}) {
        for (int src_bits : {8, 24, 32}) {
            HeapImage dst(9, 4, dst_bits), src(9, 4, src_bits);
            mktest::Rng rng(dst_bits * 100 + src_bits);
            src.fill(rng);
            std::vector<uint8_t> before = dst.snapshot();
            mediakit::fast_blt_mmx(dst.record(), 0, 0, 3, 3, src.record(), 0, 0);
            bool copied = dst.snapshot() != before;
            EXPECT_EQ(copied, dst_bits == 24 && src_bits == 24) << dst_bits << " ← " << src_bits;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(AllLevels, FastBltMmxPath,
                         testing::Values(SimdLevel::kScalar, SimdLevel::kSse2, SimdLevel::kAvx2),
                         [](const auto& p) { return mediakit::simd_level_name(p.param); });

TEST(MmxSwitch, ReportsWhetherThePathsWereAllowed) {
    // Each row: the flag passed, the result expected from what the switch held before.
    const std::pair<BOOL, BOOL> rows[] = {{1, 1}, {0, 1}, {1, 0}, {7, 1}, {0, 1}, {0, 0}, {-1, 0}, {1, 1}};
    for (const auto& [flag, expected] : rows) EXPECT_EQ(SetUsageMMX(flag), expected) << "flag " << flag;
}

}  // namespace
