#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <memory>
#include <thread>
#include <vector>

#include "blit/area_scale.h"
#include "blit/cpu.h"
#include "guarded.h"
#include "images.h"

namespace {

using mediakit::AreaScale;
using mediakit::SimdLevel;
using mktest::HeapImage;

// One channel value per source pixel of a single row; the other channels follow it.
void put_row(HeapImage& img, int y, const std::vector<int>& values) {
    for (size_t x = 0; x < values.size(); ++x)
        std::memset(img.at(static_cast<int>(x), y), values[x], 3);
}

std::vector<int> blue_row(HeapImage& img, int y) {
    std::vector<int> out;
    for (int x = 0; x < img.width(); ++x) out.push_back(*img.at(x, y));
    return out;
}

// Small cases worked by hand from the rule, through the export at every level. The
// destination starts at 77; -1 marks a pixel that no source cell reaches.
TEST(BilinearBlt, HandWorkedRows) {
    struct Row {
        std::vector<int> src;
        std::vector<int> expected;
    };
    const Row rows[] = {
        {{10, 20}, {15}},                          // halving
        {{0, 255, 0}, {85, 85}},                   // one whole pixel and half of the middle one
        {{7, 200}, {7, 7, 200, 200}},              // doubling repeats each pixel
        {{30, 60, 90}, {30, 60, 90}},              // equal sizes copy
        {{100, 0, 0, 0}, {25}},                    // four into one
        {{0, 100, 200, 50, 250}, {39, 174, 169}},  // covers 256+170, 86+256 (85 dropped), 171+256
        {{9, 99}, {-1, 9, 9, -1, 99, 99}},         // tripling: footprints ending before a middle
        {{40}, {-1, 40, 40, 40}},                  // 1 → 4: the first footprint ends at 64/256
    };
    for (int level = 0; level <= static_cast<int>(mediakit::best_simd_level()); ++level) {
        mediakit::set_simd_level_for_test(static_cast<SimdLevel>(level));
        for (size_t k = 0; k < std::size(rows); ++k) {
            const Row& r = rows[k];
            HeapImage src(static_cast<int>(r.src.size()), 1), dst(static_cast<int>(r.expected.size()), 1);
            put_row(src, 0, r.src);
            put_row(dst, 0, std::vector<int>(r.expected.size(), 77));
            BilinearBlt(dst.record(), 0, 0, dst.width(), 1, src.record(), 0, 0, src.width(), 1);
            std::vector<int> expected = r.expected;
            for (int& v : expected) v = v < 0 ? 77 : v;
            EXPECT_EQ(blue_row(dst, 0), expected)
                << "row " << k << ", level " << mediakit::simd_level_name(static_cast<SimdLevel>(level));
        }
    }
    mediakit::set_simd_level_for_test(mediakit::best_simd_level());
}

// Rows count upwards from the bottom: three source rows into two, the bottom destination
// row takes source rows 0 and half of 1 (from the bottom), the top one the other half
// of 1 and row 2.
TEST(BilinearBlt, RowsAreAnchoredAtTheBottom) {
    HeapImage src(1, 3), dst(1, 2);
    *src.at(0, 2) = 30;   // bottom row
    *src.at(0, 1) = 90;
    *src.at(0, 0) = 240;  // top row
    BilinearBlt(dst.record(), 0, 0, 1, 2, src.record(), 0, 0, 1, 3);
    EXPECT_EQ(*dst.at(0, 1), (30 * 256 + 90 * 128) / 384);
    EXPECT_EQ(*dst.at(0, 0), (90 * 128 + 240 * 256) / 384);
}

// Equal sizes copy exactly, also where 256 · w · sw no longer fits 32 bits (here 2.3e9).
TEST(BilinearBlt, EqualSizesCopy) {
    for (int w : {1, 7, 3000}) {
        HeapImage src(w, 3), dst(w, 3);
        BilinearBlt(dst.record(), 0, 0, w, 3, src.record(), 0, 0, w, 3);
        EXPECT_EQ(dst.snapshot(), src.snapshot()) << "width " << w;
    }
}

// Calls that must draw nothing at all.
TEST(BilinearBlt, RefusedCallsLeaveTheDestination) {
    HeapImage dst(8, 8), src(8, 8), dst8(8, 8, 8), src8(8, 8, 8);
    struct Call {
        BitmapData* dest;
        int x, y, w, h;
        const BitmapData* src;
        int sx, sy, sw, sh;
    };
    const Call calls[] = {
        {dst8.record(), 0, 0, 4, 4, src.record(), 0, 0, 4, 4},
        {dst.record(), 0, 0, 4, 4, src8.record(), 0, 0, 4, 4},
        {nullptr, 0, 0, 4, 4, src.record(), 0, 0, 4, 4},
        {dst.record(), 0, 0, 4, 4, nullptr, 0, 0, 4, 4},
        {dst.record(), 0, 0, 0, 4, src.record(), 0, 0, 4, 4},
        {dst.record(), 0, 0, 4, -1, src.record(), 0, 0, 4, 4},
        {dst.record(), 0, 0, 4, 4, src.record(), 0, 0, 0, 4},
        {dst.record(), 0, 0, 4, 4, src.record(), 0, 0, 4, -4},
        {dst.record(), 0, 0, 4, 4, src.record(), -1, 0, 4, 4},  // source leaves its image
        {dst.record(), 0, 0, 4, 4, src.record(), 0, -1, 4, 4},
        {dst.record(), 0, 0, 4, 4, src.record(), 5, 0, 4, 4},
        {dst.record(), 0, 0, 4, 4, src.record(), 0, 5, 4, 4},
        {dst.record(), 0, 0, 4, 4, src.record(), INT_MAX, 0, 4, 4},
        {dst.record(), 8, 0, 4, 4, src.record(), 0, 0, 4, 4},   // destination wholly outside
        {dst.record(), 0, -4, 4, 4, src.record(), 0, 0, 4, 4},
        {dst.record(), INT_MIN, 0, INT_MAX, 4, src.record(), 0, 0, 4, 4},
        {dst.record(), 0, 0, INT_MAX, INT_MAX, src.record(), 0, 0, 8, 8},  // visible, but 2^62 products
    };
    const std::vector<uint8_t> before = dst.snapshot(), before8 = dst8.snapshot();
    for (size_t k = 0; k < std::size(calls); ++k) {
        const Call& c = calls[k];
        BilinearBlt(c.dest, c.x, c.y, c.w, c.h, c.src, c.sx, c.sy, c.sw, c.sh);
        EXPECT_EQ(dst.snapshot(), before) << "call " << k;
        EXPECT_EQ(dst8.snapshot(), before8) << "call " << k;
    }
}

// A destination rectangle that leaves its image: the pixels inside get what the whole
// rectangle would give them, drawn on a canvas that holds all of it, and nothing else
// changes. The canvas is drawn twice, over black and over white, to tell the pixels that
// no source cell reaches.
TEST(BilinearBlt, DestinationClippingKeepsTheMapping) {
    for (uint64_t seed = 1; seed <= 300; ++seed) {
        mktest::Rng rng(seed);
        const int w = rng.range(1, 30), h = rng.range(1, 30);
        HeapImage src(rng.range(1, 40), rng.range(1, 40));
        const int sw = rng.range(1, src.width()), sh = rng.range(1, src.height());
        const int sx = rng.range(0, src.width() - sw), sy = rng.range(0, src.height() - sh);
        HeapImage dst(rng.range(1, 30), rng.range(1, 30));
        const int x = rng.range(-w, dst.width()), y = rng.range(-h, dst.height());
        const std::vector<uint8_t> before = dst.snapshot();

        HeapImage black(w, h), white(w, h);
        std::memset(black.bits(), 0, black.bytes());
        std::memset(white.bits(), 0xFF, white.bytes());
        BilinearBlt(black.record(), 0, 0, w, h, src.record(), sx, sy, sw, sh);
        BilinearBlt(white.record(), 0, 0, w, h, src.record(), sx, sy, sw, sh);
        BilinearBlt(dst.record(), x, y, w, h, src.record(), sx, sy, sw, sh);

        HeapImage expected(dst.width(), dst.height());
        std::memcpy(expected.bits(), before.data(), before.size());
        for (int cy = 0; cy < h; ++cy)
            for (int cx = 0; cx < w; ++cx)
                if (x + cx >= 0 && x + cx < dst.width() && y + cy >= 0 && y + cy < dst.height() &&
                    std::memcmp(black.at(cx, cy), white.at(cx, cy), 3) == 0)
                    std::memcpy(expected.at(x + cx, y + cy), black.at(cx, cy), 3);
        ASSERT_EQ(mktest::first_difference(expected.snapshot(), dst.bits(), dst.bytes()), "")
            << "seed " << seed << ": " << sw << "x" << sh << " → " << w << "x" << h << " at (" << x << "," << y << ")";
    }
}

// ---- Kernels against the reference -------------------------------------------------------

struct Buffers {
    std::unique_ptr<mktest::GuardedBuffer> src, dst;
    AreaScale a;
};

// A random call on raw buffers: strides with spare bytes (odd ones too), a drawn part of
// the destination rectangle as clipping would leave it, and both blocks ending at a
// guard page.
Buffers random_case(mktest::Rng& rng) {
    int w, h, sw, sh;
    switch (rng.range(0, 6)) {
        case 0: w = rng.range(1, 40), h = rng.range(1, 12), sw = rng.range(w, 5 * w), sh = rng.range(h, 5 * h); break;
        case 1: sw = rng.range(1, 12), sh = rng.range(1, 8), w = rng.range(sw, 9 * sw), h = rng.range(sh, 9 * sh); break;
        case 2: w = sw = rng.range(1, 40), h = sh = rng.range(1, 8); break;
        case 3: w = rng.range(1, 3), h = rng.range(1, 3), sw = rng.range(1, 3), sh = rng.range(1, 3); break;
        case 4:  // many strips, and columns of many pairs
            w = rng.range(200, 700), h = rng.range(1, 3), sw = rng.range(w / 2, 4 * w), sh = rng.range(1, 6); break;
        case 5:  // tall footprints: whole-row totals near 128 rows, and past it
            w = rng.range(1, 8), h = rng.range(1, 3), sw = rng.range(1, 30), sh = rng.range(100 * h, 140 * h); break;
        default:  // wide footprints: hundreds of cells per column, and the reference's share
            w = rng.range(1, 3), h = rng.range(1, 3), sw = rng.range(200, 2500), sh = rng.range(1, 40); break;
    }
    Buffers b;
    AreaScale& a = b.a;
    a.w = w, a.h = h, a.sw = sw, a.sh = sh;
    a.i_begin = rng.range(0, w - 1), a.i_end = rng.range(a.i_begin + 1, w);
    a.j_begin = rng.range(0, h - 1), a.j_end = rng.range(a.j_begin + 1, h);
    if (rng.range(0, 1)) a.i_begin = 0, a.i_end = w, a.j_begin = 0, a.j_end = h;
    const int dw = a.i_end - a.i_begin, dh = a.j_end - a.j_begin;
    a.src_stride = 3 * sw + rng.range(0, 7);
    a.dst_stride = 3 * dw + rng.range(0, 7);
    const size_t src_bytes = a.src_stride * (sh - 1) + 3 * sw, dst_bytes = a.dst_stride * (dh - 1) + 3 * dw;
    b.src = std::make_unique<mktest::GuardedBuffer>(src_bytes);
    b.dst = std::make_unique<mktest::GuardedBuffer>(dst_bytes);
    for (size_t i = 0; i < src_bytes; ++i) b.src->data()[i] = rng.biased_byte();
    for (size_t i = 0; i < dst_bytes; ++i) b.dst->data()[i] = rng.byte();
    a.src = b.src->data();
    a.dst = b.dst->data();
    return b;
}

class AreaScaleKernel : public testing::TestWithParam<SimdLevel> {
protected:
    void SetUp() override {
        if (GetParam() > mediakit::best_simd_level())
            GTEST_SKIP() << mediakit::simd_level_name(GetParam()) << " not available";
    }
};

TEST_P(AreaScaleKernel, MatchesTheReference) {
    const mediakit::AreaScaleFn kernel = mediakit::area_scale_kernel(static_cast<int>(GetParam()));
    int fitted = 0, large_weights = 0, cases = 0;
    for (uint64_t seed = 1; seed <= 1200; ++seed) {
        mktest::Rng rng(seed);
        Buffers b = random_case(rng);
        const AreaScale& a = b.a;
        const size_t n = b.dst->size();
        std::vector<uint8_t> expected(b.dst->data(), b.dst->data() + n);
        AreaScale ref = a;
        ref.dst = expected.data();
        mediakit::area_scale_ref(ref);
        kernel(a);
        ++cases;
        if (mediakit::area_scale_fits_kernels(a)) {
            ++fitted;
            large_weights += !mediakit::area_scale_small_weights(a);
        }
        ASSERT_EQ(mktest::first_difference(expected, b.dst->data(), n), "")
            << "seed " << seed << ": " << a.sw << "x" << a.sh << " → " << a.w << "x" << a.h << ", columns ["
            << a.i_begin << "," << a.i_end << "), rows [" << a.j_begin << "," << a.j_end << ")";
    }
    // Most cases must exercise the strip kernel itself, not its hand-over to the reference,
    // and some its double quotients.
    EXPECT_GT(fitted, cases * 3 / 4);
    EXPECT_GT(large_weights, cases / 20);
}

INSTANTIATE_TEST_SUITE_P(AllLevels, AreaScaleKernel, testing::Values(SimdLevel::kSse2, SimdLevel::kAvx2),
                         [](const auto& p) { return mediakit::simd_level_name(p.param); });

// Distinct records drawn on several threads at once come out as drawn alone.
TEST(BilinearBlt, DistinctRecordsOnSeveralThreads) {
    constexpr int kThreads = 4;
    HeapImage src(300, 200);
    std::vector<std::unique_ptr<HeapImage>> alone, together;
    for (int t = 0; t < kThreads; ++t) {
        alone.push_back(std::make_unique<HeapImage>(97 + t, 61 + t));
        together.push_back(std::make_unique<HeapImage>(97 + t, 61 + t));
        std::memcpy(together[t]->bits(), alone[t]->bits(), alone[t]->bytes());
        BilinearBlt(alone[t]->record(), 0, 0, 97 + t, 61 + t, src.record(), t, 0, 300 - t, 200);
    }
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            for (int k = 0; k < 20; ++k)
                BilinearBlt(together[t]->record(), 0, 0, 97 + t, 61 + t, src.record(), t, 0, 300 - t, 200);
        });
    for (std::thread& th : threads) th.join();
    for (int t = 0; t < kThreads; ++t) EXPECT_EQ(together[t]->snapshot(), alone[t]->snapshot()) << "thread " << t;
}

}  // namespace
