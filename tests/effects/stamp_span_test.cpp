#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "blit/cpu.h"
#include "effects/stamp_span.h"
#include "guarded.h"
#include "rng.h"

namespace {

using mediakit::SimdLevel;

class StampSpanKernel : public testing::TestWithParam<SimdLevel> {
protected:
    void SetUp() override {
        if (GetParam() > mediakit::best_simd_level())
            GTEST_SKIP() << mediakit::simd_level_name(GetParam()) << " not available";
    }
    const mediakit::StampSpanKernels& kernels() const { return mediakit::stamp_span_kernels(int(GetParam())); }
};

// Every run length 1..40 and some long ones, every kind of run, strengths from the edges
// of the range and beyond it, masks leaning to 0 and 255, and buffers ending at a guard
// page (the mask one byte after the run's last pixel, which the image test reads).
TEST_P(StampSpanKernel, MatchesTheReferenceAndStaysInside) {
    std::vector<int> lengths;
    for (int n = 1; n <= 40; ++n) lengths.push_back(n);
    for (int n : {47, 48, 49, 64, 100, 257}) lengths.push_back(n);
    const int alphas[] = {0, 1, 2, 127, 128, 129, 200, 255, 256, 257, 300, -1, -256, 70000};
    uint64_t seed = 0;
    for (int n : lengths) {
        for (int alpha : alphas) {
            for (int kind = 0; kind < 4; ++kind) {
                mktest::Rng rng(++seed);
                const size_t bytes = 3 * size_t(n);
                mktest::GuardedBuffer d(bytes), s(bytes), m(bytes + 1);
                for (size_t i = 0; i < bytes; ++i) d.data()[i] = rng.biased_byte(), s.data()[i] = rng.biased_byte();
                for (size_t i = 0; i <= bytes; ++i) m.data()[i] = rng.range(0, 3) ? rng.biased_byte() : 0;
                uint8_t bgr[48];
                for (int i = 0; i < 3; ++i) bgr[i] = rng.biased_byte();
                for (int i = 3; i < 48; ++i) bgr[i] = bgr[i - 3];
                std::vector<uint8_t> expected(d.data(), d.data() + bytes);
                const auto& ref = mediakit::kStampSpanRef;
                switch (kind) {
                    case 0: ref.colour(expected.data(), bgr, alpha, n), kernels().colour(d.data(), bgr, alpha, n); break;
                    case 1:
                        ref.colour_mask(expected.data(), bgr, m.data(), alpha, n);
                        kernels().colour_mask(d.data(), bgr, m.data(), alpha, n);
                        break;
                    case 2: ref.image(expected.data(), s.data(), alpha, n), kernels().image(d.data(), s.data(), alpha, n); break;
                    default:
                        ref.image_mask(expected.data(), s.data(), m.data(), alpha, n);
                        kernels().image_mask(d.data(), s.data(), m.data(), alpha, n);
                }
                ASSERT_EQ(std::memcmp(expected.data(), d.data(), bytes), 0)
                    << "kind " << kind << ", length " << n << ", alpha " << alpha << ", seed " << seed;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(AllLevels, StampSpanKernel, testing::Values(SimdLevel::kSse2, SimdLevel::kAvx2),
                         [](const auto& p) { return mediakit::simd_level_name(p.param); });

}  // namespace
