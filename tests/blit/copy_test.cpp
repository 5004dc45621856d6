#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "blit/copy.h"
#include "blit/cpu.h"
#include "guarded.h"
#include "rng.h"

namespace {

using mediakit::SimdLevel;

class CopyKernel : public testing::TestWithParam<SimdLevel> {
protected:
    void SetUp() override {
        if (GetParam() > mediakit::best_simd_level())
            GTEST_SKIP() << mediakit::simd_level_name(GetParam()) << " not available";
    }
    mediakit::CopyRect24Fn kernel() const { return mediakit::copy_rect24_kernel(static_cast<int>(GetParam())); }
};

// Every width 1..40 and some large ones, strides with spare bytes, and the last row of both
// images flush against a guard page: the kernel touches exactly the rectangle.
TEST_P(CopyKernel, MatchesTheReferenceAndStaysInside) {
    std::vector<int> widths;
    for (int w = 1; w <= 40; ++w) widths.push_back(w);
    for (int w : {63, 64, 85, 128, 640, 1921}) widths.push_back(w);
    uint64_t seed = 0;
    for (int w : widths) {
        for (int pad : {0, 1, 3, 7}) {
            mktest::Rng rng(++seed);
            int h = rng.range(1, 5);
            ptrdiff_t dst_stride = 3 * w + pad, src_stride = 3 * w + rng.range(0, 9);
            size_t dst_bytes = dst_stride * (h - 1) + 3 * w, src_bytes = src_stride * (h - 1) + 3 * w;
            mktest::GuardedBuffer src(src_bytes), dst(dst_bytes);
            for (size_t i = 0; i < src_bytes; ++i) src.data()[i] = rng.byte();
            for (size_t i = 0; i < dst_bytes; ++i) dst.data()[i] = rng.byte();
            std::vector<uint8_t> expected(dst.data(), dst.data() + dst_bytes);
            mediakit::copy_rect24_ref(expected.data(), src.data(), w, h, dst_stride, src_stride);
            kernel()(dst.data(), src.data(), w, h, dst_stride, src_stride);
            ASSERT_EQ(std::memcmp(expected.data(), dst.data(), dst_bytes), 0)
                << "width " << w << ", stride pad " << pad << ", seed " << seed;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(AllLevels, CopyKernel,
                         testing::Values(SimdLevel::kSse2, SimdLevel::kAvx2),
                         [](const auto& p) { return mediakit::simd_level_name(p.param); });

}  // namespace
