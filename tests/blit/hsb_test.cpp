#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "blit/cpu.h"
#include "blit/hsb.h"
#include "guarded.h"
#include "images.h"

namespace {

using mediakit::SimdLevel;
using mktest::HeapImage;
using Bgr = std::array<int, 3>;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

// The pixel five times in a row, so that vector kernels take it both four at a time and
// alone; every copy must come out the same.
Bgr revise_one(Bgr in, double hue, double saturation, int absolute) {
    HeapImage img(5, 1);
    for (int x = 0; x < 5; ++x)
        for (int c = 0; c < 3; ++c) img.at(x, 0)[c] = static_cast<uint8_t>(in[c]);
    ReviseHSB(img.record(), 0, 0, 5, 1, hue, saturation, 0.0, absolute);
    for (int x = 1; x < 5; ++x)
        if (std::memcmp(img.at(x, 0), img.at(0, 0), 3) != 0) return {-1, -1, -1};
    return {img.at(0, 0)[0], img.at(0, 0)[1], img.at(0, 0)[2]};
}

class EveryLevel : public testing::TestWithParam<SimdLevel> {
protected:
    void SetUp() override {
        if (!mediakit::set_simd_level_for_test(GetParam()))
            GTEST_SKIP() << mediakit::simd_level_name(GetParam()) << " not available";
    }
    void TearDown() override { mediakit::set_simd_level_for_test(mediakit::best_simd_level()); }
};

using ReviseHsbCases = EveryLevel;

// Known pixels, blue, green, red. The last rows pin down arguments far outside their
// ranges: only the low 8 bits of each result are kept, and a conversion out of the 32-bit
// range gives 0x80000000.
TEST_P(ReviseHsbCases, KnownPixels) {
    struct Row {
        Bgr in;
        double hue, saturation;
        int absolute;
        Bgr out;
    };
    const Row rows[] = {
        {{0, 0, 255}, 1.0 / 3, 0, 0, {0, 255, 0}},          // red turned a third: green
        {{0, 128, 255}, 0.5, 0, 0, {255, 127, 0}},
        {{50, 100, 200}, 2.0 / 3, 1, 1, {200, 0, 0}},       // absolute blue; strengthening then leaves it
        {{50, 100, 200}, 0, 0.5, 1, {25, 92, 225}},         // absolute hue 0: no hue step at all
        {{50, 100, 200}, 0, 1, 0, {0, 83, 250}},
        {{50, 100, 200}, 0, 0.5, 0, {25, 92, 225}},
        {{0, 0, 255}, 0, -1, 0, {85, 85, 86}},               // round(-169.5) is -169
        {{0, 0, 255}, 0, -0.5, 0, {43, 43, 171}},
        {{10, 255, 40}, 0, 0.7, 0, {10, 255, 40}},           // a channel at 255
        {{0, 90, 40}, 0, 0.7, 0, {0, 90, 40}},               // a channel at 0
        {{77, 77, 77}, 0, 0.8, 0, {77, 77, 77}},             // grey
        {{60, 60, 30}, 0, 1, 0, {90, 90, 0}},                // tie for the largest
        {{30, 60, 60}, 0, 1, 0, {0, 90, 90}},
        {{50, 100, 200}, 0.25, 0, 1, {200, 200, 200}},       // absolute hue, S = 0 gives a grey of V
        {{50, 100, 200}, 1e300, 0, 0, {50, 50, 200}},        // a huge turn is whole: hue 0
        {{50, 100, 200}, kNaN, 0, 0, {50, 100, 200}},        // NaN hue: sector 0x80000000, unchanged
        {{50, 100, 200}, kInf, 0, 0, {50, 100, 200}},
        {{90, 90, 90}, kNaN, 0, 0, {90, 90, 90}},            // greys are rewritten as themselves
        {{50, 100, 200}, 0, kNaN, 0, {50, 100, 200}},        // NaN saturation: neither step
        {{50, 100, 200}, 0, 3, 0, {156, 50, 94}},            // 350, -100, 50 to 8 bits
        {{0, 0, 255}, 0, -3, 0, {255, 255, 2}},              // 255 - 509 to 8 bits
        {{50, 100, 200}, 0, 1e10, 0, {50, 100, 200}},        // d = 0x80000000 wraps back
        {{50, 100, 200}, 0, -kInf, 0, {50, 100, 200}},       // every move 0x80000000
        {{50, 100, 200}, 1.0 / 3, kNaN, 1, {0, 200, 0}},     // p, q, t NaN: 0x80000000 → 0
    };
    for (size_t k = 0; k < std::size(rows); ++k) {
        const Row& r = rows[k];
        EXPECT_EQ(revise_one(r.in, r.hue, r.saturation, r.absolute), r.out) << "row " << k;
    }
}

// Claims over every colour: a whole relative turn gives each pixel back, and no relative
// turn changes a grey.
TEST_P(ReviseHsbCases, WholeTurnsAndGreys) {
    HeapImage all(4096, 4096);
    for (int i = 0; i < 1 << 24; ++i) {
        uint8_t* p = all.at(i & 4095, i >> 12);
        p[0] = static_cast<uint8_t>(i), p[1] = static_cast<uint8_t>(i >> 8), p[2] = static_cast<uint8_t>(i >> 16);
    }
    const std::vector<uint8_t> before = all.snapshot();
    ReviseHSB(all.record(), 0, 0, 4096, 4096, 1.0, 0, 0, 0);
    ASSERT_EQ(mktest::first_difference(before, all.bits(), all.bytes()), "");
    // Other whole turns on a quarter of the colours.
    for (double turn : {-1.0, 3.0}) {
        ReviseHSB(all.record(), 0, 0, 4096, 1024, turn, 0, 0, 0);
        ASSERT_EQ(mktest::first_difference(before, all.bits(), all.bytes()), "") << "turn " << turn;
    }
    HeapImage greys(256, 1);
    for (int v = 0; v < 256; ++v) std::memset(greys.at(v, 0), v, 3);
    const std::vector<uint8_t> grey_bytes = greys.snapshot();
    for (double turn : {0.1, 0.5, -0.3, 7.25, 1e9}) {
        ReviseHSB(greys.record(), 0, 0, 256, 1, turn, 0, 0, 0);
        EXPECT_EQ(greys.snapshot(), grey_bytes) << "turn " << turn;
    }
}

// Only the part of the rectangle inside the image changes, each pixel as it would alone;
// an origin beyond the far edge changes nothing.
TEST_P(ReviseHsbCases, ClipsToTheImage) {
    for (uint64_t seed = 1; seed <= 300; ++seed) {
        mktest::Rng rng(seed);
        HeapImage img(rng.range(1, 20), rng.range(1, 12));
        const int x = rng.range(-25, 22), y = rng.range(-14, 14), w = rng.range(-2, 30), h = rng.range(-2, 20);
        const double hue = rng.range(-100, 100) / 64.0, saturation = rng.range(-64, 64) / 64.0;
        const int absolute = rng.range(0, 3) == 0;
        HeapImage expected(img.width(), img.height());
        std::memcpy(expected.bits(), img.bits(), img.bytes());
        if (x <= img.width() && y <= img.height()) {
            for (int py = std::max(y, 0); py < std::min(y + h, img.height()); ++py)
                for (int px = std::max(x, 0); px < std::min(x + w, img.width()); ++px)
                    ReviseHSB(expected.record(), px, py, 1, 1, hue, saturation, 0, absolute);
        }
        ReviseHSB(img.record(), x, y, w, h, hue, saturation, 0, absolute);
        ASSERT_EQ(mktest::first_difference(expected.snapshot(), img.bits(), img.bytes()), "")
            << "seed " << seed << ": " << w << "x" << h << " at (" << x << "," << y << ")";
    }
}

// The SSE2 level runs the plain loops.
INSTANTIATE_TEST_SUITE_P(AllLevels, ReviseHsbCases, testing::Values(SimdLevel::kScalar, SimdLevel::kAvx2),
                         [](const auto& p) { return mediakit::simd_level_name(p.param); });

TEST(ReviseHsb, RefusedCallsChangeNothing) {
    HeapImage img(6, 6), img8(6, 6, 8);
    const std::vector<uint8_t> before = img.snapshot(), before8 = img8.snapshot();
    ReviseHSB(nullptr, 0, 0, 6, 6, 0.5, 0.5, 0, 0);
    ReviseHSB(img8.record(), 0, 0, 6, 6, 0.5, 0.5, 0, 0);
    ReviseHSB(img.record(), 0, 0, 0, 6, 0.5, 0.5, 0, 0);
    ReviseHSB(img.record(), 0, 0, 6, -3, 0.5, 0.5, 0, 0);
    ReviseHSB(img.record(), 7, 0, 6, 6, 0.5, 0.5, 0, 0);
    ReviseHSB(img.record(), INT_MIN, INT_MIN, INT_MAX, INT_MAX, 0.5, 0.5, 0, 0);
    ReviseHSB(img.record(), 0, 0, 6, 6, 0, 0, 0.9, 1);  // both steps skipped; brightness ignored
    EXPECT_EQ(img.snapshot(), before);
    EXPECT_EQ(img8.snapshot(), before8);
}

// ---- Vector kernels against the plain loops ---------------------------------------------

// Arguments with few bits (k/64, whole degrees, percents) put many results exactly on a
// rounding boundary, where one unit in the last place decides the byte.
double random_fraction(mktest::Rng& rng, int scale) {
    switch (rng.range(0, 2)) {
        case 0: return rng.range(-3 * 64, 3 * 64) / 64.0 / 3 * scale;
        case 1: return rng.range(-360, 360) / (360.0 / scale);
        default: return (static_cast<double>(rng.next() >> 11) / (1ull << 53) - 0.5) * 2 * scale;
    }
}

double random_hue(mktest::Rng& rng) {
    const double odd[] = {1.0 / 3, 0.5, 1.0, -1.0, 2.0 / 3, 1e-17, -1e-17, 5.0 / 6,
                          kNaN,    kInf, -kInf, 1e300, 2147483648.5, -3e9, 0.0};
    if (rng.range(0, 3) == 0) return odd[rng.range(0, static_cast<int>(std::size(odd)) - 1)];
    return random_fraction(rng, 3);
}

double random_saturation(mktest::Rng& rng) {
    const double odd[] = {1.0, -1.0, 0.0, 0.5, -0.5, kNaN, kInf, -kInf, 3.0, -3.0, 1e10, 1e-300};
    if (rng.range(0, 3) == 0) return odd[rng.range(0, static_cast<int>(std::size(odd)) - 1)];
    return random_fraction(rng, 1);
}

TEST(HsbKernels, Avx2MatchesThePlainLoops) {
    if (mediakit::best_simd_level() < SimdLevel::kAvx2) GTEST_SKIP() << "avx2 not available";
    const mediakit::HsbKernels& ref = mediakit::hsb_kernels(static_cast<int>(SimdLevel::kScalar));
    const mediakit::HsbKernels& fast = mediakit::hsb_kernels(static_cast<int>(SimdLevel::kAvx2));
    ASSERT_NE(ref.hue, fast.hue);
    for (uint64_t seed = 1; seed <= 3000; ++seed) {
        mktest::Rng rng(seed);
        const int w = rng.range(1, 40), h = rng.range(1, 8);
        const ptrdiff_t stride = 3 * w + rng.range(0, 5);
        const size_t bytes = stride * (h - 1) + 3 * w;
        mktest::GuardedBuffer buffer(bytes);
        const bool biased = rng.range(0, 1);
        for (size_t i = 0; i < bytes; ++i) buffer.data()[i] = biased ? rng.biased_byte() : rng.byte();
        // Greys and near-greys, where the tie rules and the zero divisions live.
        if (rng.range(0, 3) == 0)
            for (int px = 0; px < w; ++px) {
                uint8_t* p = buffer.data() + 3 * px;
                p[1] = p[0];
                p[2] = static_cast<uint8_t>(p[0] + rng.range(-1, 1));
            }
        const mediakit::HsbArgs args = {random_hue(rng), random_saturation(rng), rng.range(0, 1) == 1};
        std::vector<uint8_t> expected(buffer.data(), buffer.data() + bytes);
        mediakit::revise_hsb(expected.data(), stride, w, h, args, ref);
        mediakit::revise_hsb(buffer.data(), stride, w, h, args, fast);
        ASSERT_EQ(mktest::first_difference(expected, buffer.data(), bytes), "")
            << "seed " << seed << ": " << w << "x" << h << ", hue " << args.hue << ", saturation "
            << args.saturation << (args.absolute ? ", absolute" : "");
    }
}

}  // namespace
