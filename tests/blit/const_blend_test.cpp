#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <string>
#include <vector>

#include "blit/const_blend.h"
#include "blit/row24.h"
#include "key_blend_support.h"

namespace {

using mediakit::SimdLevel;
using mktest::GuardedImage;
using mktest::Rng;
using Guard = mktest::GuardedBuffer::Guard;

int edgy_alpha(Rng& rng) {
    return mktest::edgy(rng, {0, 0, 1, 127, 128, 129, 254, 255, 255, 256, 256, 257, -1, 65536 + 128, INT_MIN, INT_MAX},
                        0, 256);
}

// Where the MMX switch stands: the processor flag and the host's wish.
struct Switch {
    int available, allowed;
    bool on() const { return available && allowed; }
};

Switch random_switch(Rng& rng) {
    Switch s{rng.range(0, 3) != 0, rng.range(0, 1)};
    mediakit::g_mmxAvailable = s.available;
    SetUsageMMX(s.allowed);
    return s;
}

struct Rect {
    int x, y, w, h;
};

Rect random_rect(Rng& rng, int width, int height, int widest) {
    return {mktest::random_origin(rng, width, 6), mktest::random_origin(rng, height, 6),
            mktest::random_extent(rng, widest + 3), mktest::random_extent(rng, height + 2)};
}

Guard guard_of(uint64_t seed) { return seed % 2 ? Guard::kAfter : Guard::kBefore; }

class ConstBlends : public mktest::AtSimdLevel {};
constexpr int kCases = 1500;

// dst = src1 moved towards src2 by alpha for every pixel inside all three images; on the
// switch path with 24-bit sources alpha 0 copies src1 and 255 and 256 copy src2.
TEST_P(ConstBlends, AlphaBlendMixesInsideEveryImageOnBothPaths) {
    mktest::ModelCheck check;
    for (uint64_t seed = 1; seed <= kCases; ++seed) {
        Rng rng(seed);
        int depth = rng.range(0, 3) ? 24 : 8, odd = rng.range(0, 9);
        int palette = std::vector<int>{-1, 0, 3, 200}[rng.range(0, 3)];
        int dw = mktest::random_width(rng), dh = rng.range(1, 5), aw = mktest::random_width(rng),
            ah = rng.range(1, 5), bw = mktest::random_width(rng), bh = rng.range(1, 5);
        GuardedImage dst(dw, dh, odd == 0 ? 8 : 24, rng, guard_of(seed));
        GuardedImage a(aw, ah, odd == 1 ? 32 : depth, rng, guard_of(seed), palette);
        GuardedImage b(bw, bh, odd == 2 ? 32 : odd == 3 ? 32 - depth : depth, rng, guard_of(seed), palette);
        Rect r = random_rect(rng, dw, dh, std::max(dw, std::max(aw, bw)));
        int ax = mktest::random_origin(rng, aw, 12), ay = mktest::random_origin(rng, ah, 12),
            bx = mktest::random_origin(rng, bw, 12), by = mktest::random_origin(rng, bh, 12);
        int alpha = edgy_alpha(rng);
        Switch sw = random_switch(rng);
        auto model = [&] {
            if (dst.bit_count() != 24 || a.bit_count() != b.bit_count() || (a.bit_count() != 24 && a.bit_count() != 8))
                return;
            bool copies = sw.on() && a.bit_count() == 24;
            for (int j = 0; j < r.h; ++j) {
                for (int i = 0; i < r.w; ++i) {
                    if (!inside(dst, r.x + i, r.y + j) || !inside(a, ax + i, ay + j) || !inside(b, bx + i, by + j))
                        continue;
                    uint8_t ca[3], cb[3], *d = dst.at(r.x + i, r.y + j);
                    a.colour(ax + i, ay + j, ca);
                    b.colour(bx + i, by + j, cb);
                    for (int k = 0; k < 3; ++k)
                        d[k] = copies && alpha == 0                       ? ca[k]
                               : copies && (alpha == 255 || alpha == 256) ? cb[k]
                                                                          : mktest::mixed(ca[k], cb[k], alpha);
                }
            }
        };
        ASSERT_TRUE(check(dst, model, [&] {
            AlphaBlendBlt(dst.record(), r.x, r.y, r.w, r.h, a.record(), ax, ay, b.record(), bx, by, alpha);
        })) << "seed " << seed << ", alpha " << alpha << ", switch " << sw.on() << ", depths " << dst.bit_count()
            << "/" << a.bit_count() << "/" << b.bit_count() << ", " << r.w << "x" << r.h << " at (" << r.x << ","
            << r.y << ") from (" << ax << "," << ay << ") and (" << bx << "," << by << ")";
    }
    EXPECT_TRUE(check.drew_enough(kCases));
}

// Both paths pull every pixel inside the destination towards the colour by alpha.
TEST_P(ConstBlends, FillAlphaPullsTowardsTheColourOnBothPaths) {
    mktest::ModelCheck check;
    for (uint64_t seed = 1; seed <= kCases; ++seed) {
        Rng rng(seed);
        int w = mktest::random_width(rng), h = rng.range(1, 5);
        GuardedImage dst(w, h, rng.range(0, 15) ? 24 : 32, rng, guard_of(seed));
        Rect r = random_rect(rng, w, h, w);
        COLORREF color = rng.byte() | rng.biased_byte() << 8 | rng.biased_byte() << 16 | rng.byte() << 24;
        const uint8_t bgr[3] = {uint8_t(color >> 16), uint8_t(color >> 8), uint8_t(color)};
        int alpha = edgy_alpha(rng);
        Switch sw = random_switch(rng);
        auto model = [&] {
            for (int j = 0; dst.bit_count() == 24 && j < r.h; ++j)
                for (int i = 0; i < r.w; ++i)
                    for (int k = 0; k < 3 && inside(dst, r.x + i, r.y + j); ++k)
                        dst.at(r.x + i, r.y + j)[k] = mktest::mixed(dst.at(r.x + i, r.y + j)[k], bgr[k], alpha);
        };
        ASSERT_TRUE(check(dst, model, [&] { FillAlpha(dst.record(), r.x, r.y, r.w, r.h, color, alpha); }))
            << "seed " << seed << ", alpha " << alpha << ", switch " << sw.on() << ", colour " << color << ", "
            << r.w << "x" << r.h << " at (" << r.x << "," << r.y << ") in " << w << "x" << h;
    }
    EXPECT_TRUE(check.drew_enough(kCases));
}

// Each row's run of w bytes from pixel x, cut to that row's bytes, in the rows of the image;
// nothing else, whatever the rectangle and depth (the blocks end or start at a guard page).
TEST_P(ConstBlends, AddColorValueBrightensOnlyInsideThePixelBlock) {
    mktest::ModelCheck check;
    for (uint64_t seed = 1; seed <= kCases; ++seed) {
        Rng rng(seed);
        int bits = std::vector<int>{1, 4, 8, 24, 24, 32}[rng.range(0, 5)];
        int w = mktest::random_width(rng), h = rng.range(1, 6);
        GuardedImage dst(w, h, bits, rng, guard_of(seed));
        int stride = dst.stride();
        int x = mktest::random_origin(rng, w + 2, 4), y = mktest::random_origin(rng, h, 4);
        int run = mktest::random_extent(rng, stride + 8), rows = mktest::random_extent(rng, h + 3);
        int value = mktest::edgy(rng, {0, 1, 10, 254, 255, 256, 266, -1}, 0, 255);
        auto model = [&] {
            int64_t bit = int64_t(x) * bits + 7;
            int64_t start = bit >= 0 ? bit / 8 : -((-bit + 7) / 8);  // rounded down
            for (int row = std::max(y, 0); row < std::min<int64_t>(int64_t(y) + rows, h); ++row) {
                uint8_t* line = dst.record()->lpBits + size_t(h - 1 - row) * stride;
                for (int64_t c = std::max<int64_t>(start, 0); c < std::min<int64_t>(start + run, stride); ++c)
                    line[c] = uint8_t(std::min(255, line[c] + (value & 0xFF)));
            }
        };
        ASSERT_TRUE(check(dst, model, [&] { AddColorValue(dst.record(), x, y, run, rows, value); }))
            << "seed " << seed << ", " << bits << "-bit " << w << "x" << h << ", x " << x << ", y " << y << ", w "
            << run << ", h " << rows << ", value " << value;
    }
    EXPECT_TRUE(check.drew_enough(kCases));
}

// Known pixels of 1×1 blits on both paths, worked out by hand.
TEST_P(ConstBlends, KnownPixels) {
    struct Row {
        int alpha, a, b, on_switch, plain;
    };
    const Row rows[] = {{255, 0, 255, 255, 254}, {255, 10, 200, 200, 199}, {128, 0, 255, 127, 127},
                        {128, 255, 0, 127, 127}, {0, 37, 200, 37, 37},     {256, 37, 200, 200, 200},
                        {1, 0, 255, 0, 0},       {1, 255, 0, 254, 254}};
    Rng rng(3);
    GuardedImage dst(2, 1, 24, rng), a(1, 1, 24, rng), b(1, 1, 24, rng);
    for (const Row& row : rows) {
        for (int on = 0; on < 2; ++on) {
            std::memset(a.at(0, 0), row.a, 3);
            std::memset(b.at(0, 0), row.b, 3);
            SetUsageMMX(on);
            AlphaBlendBlt(dst.record(), 0, 0, 1, 1, a.record(), 0, 0, b.record(), 0, 0, row.alpha);
            EXPECT_EQ(dst.at(0, 0)[2], on ? row.on_switch : row.plain) << row.alpha << " " << row.a << " " << row.b;
            // The fill pulls the pixel (a) towards the colour (b) the same way on both paths.
            std::memset(dst.at(0, 0), row.a, 3);
            FillAlpha(dst.record(), 0, 0, 1, 1, COLORREF(row.b * 0x010101), row.alpha);
            EXPECT_EQ(dst.at(0, 0)[0], row.plain) << "fill " << row.alpha << " " << row.a << " " << row.b;
        }
    }
    const uint8_t start[6] = {250, 244, 100, 255, 0, 9}, brighter[6] = {255, 254, 110, 255, 10, 19};
    std::memcpy(dst.at(0, 0), start, 6);
    AddColorValue(dst.record(), 0, 0, 6, 1, 10);
    AddColorValue(dst.record(), 0, 0, 6, 1, 256);
    EXPECT_EQ(0, std::memcmp(dst.at(0, 0), brighter, 6));
    FillAlpha(dst.record(), 0, 0, 2, 1, 0x000000FF, 256);
    const uint8_t red[6] = {0, 0, 255, 0, 0, 255};
    EXPECT_EQ(0, std::memcmp(dst.at(0, 0), red, 6));
}

MKTEST_ALL_LEVELS(ConstBlends);

// The vector kernels against the reference directly: every width 1..40 and some large ones,
// strides with spare bytes, rows flush against a guard page after or before them.
class ConstBlendKernels : public mktest::AtSimdLevel {};

TEST_P(ConstBlendKernels, MatchTheReferenceAndStayInside) {
    uint64_t seed = 0;
    for (int w : mktest::kernel_widths()) {
        for (int variant = 0; variant < 8; ++variant) {
            Rng rng(++seed);
            Guard guard = rng.range(0, 1) ? Guard::kAfter : Guard::kBefore;
            int h = rng.range(1, 3), alpha = edgy_alpha(rng);
            mktest::GuardedRows dst(h, 3 * w, rng.range(0, 5), guard, rng);
            mktest::GuardedRows a(h, 3 * w, rng.range(0, 5), guard, rng), b(h, 3 * w, rng.range(0, 5), guard, rng);
            std::vector<uint8_t> expected = dst.bytes();
            bool switch_form = variant == 5;
            if (variant < 4) {
                mediakit::BlendRect r{expected.data(), a.buffer.data(), b.buffer.data(), dst.stride, a.stride,
                                      b.stride, w, h, alpha, nullptr, nullptr};
                mediakit::blend_rect_ref(r);
                r.dst = dst.buffer.data();
                mediakit::blend_kernel(level())(r);
            } else if (variant < 6) {
                mediakit::FillRect r{expected.data(), dst.stride, w, h, {a.buffer.data()[0], a.buffer.data()[1], b.buffer.data()[0]}, alpha};
                mediakit::fill_rect_ref(r, switch_form);
                r.dst = dst.buffer.data();
                mediakit::fill_kernel(level())(r, switch_form);
            } else {
                mediakit::OffsetRect r{expected.data(), dst.stride, 3 * w, h, rng.biased_byte()};
                mediakit::offset_rect_ref(r);
                r.first = dst.buffer.data();
                mediakit::offset_kernel(level())(r);
            }
            ASSERT_EQ(mktest::first_difference(expected, dst.buffer.data(), expected.size()), "")
                << "variant " << variant << ", width " << w << ", alpha " << alpha << ", seed " << seed;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(VectorLevels, ConstBlendKernels, testing::Values(SimdLevel::kSse2, SimdLevel::kAvx2),
                         mktest::level_name);

// The switch path's arithmetic (16-bit lanes; the fill weighted by 256 - alpha from the
// colour's side) gives the plain rule's bytes: for every byte pair and strength 0..256, and
// for strengths outside that range too.
TEST(ConstBlendArithmetic, BothPathsFormsAgree) {
    std::vector<int> weights;
    for (int w = 0; w <= 256; ++w) weights.push_back(w);
    for (int w : {-256, -255, -1, 257, 511, 512, 65535, 65536, 65536 + 255, INT_MIN, INT_MIN + 1, INT_MAX})
        weights.push_back(w);
    for (int w : weights) {
        for (int a = 0; a < 256; ++a) {
            for (int b = 0; b < 256; ++b) {
                uint8_t plain = mediakit::mix_floor(a, b, w);
                ASSERT_EQ(mediakit::mix_lanes16(a, b, w), plain) << a << " " << b << " " << w;
                ASSERT_EQ(mediakit::mix_lanes16(b, a, mediakit::complement_weight(w)), plain) << a << " " << b << " " << w;
            }
        }
    }
}

// Null records, records without pixels and records whose stride cannot hold their width
// draw nothing and do not fault, in every export of the family.
TEST(ConstBlendRecords, UnusableRecordsDrawNothing) {
    Rng rng(4);
    GuardedImage good(8, 4, 24, rng), narrow(8, 4, 24, rng), empty(8, 4, 24, rng);
    narrow.record()->lpbmi->bmiHeader.biPlanes = 0;  // stride 0
    empty.record()->lpBits = nullptr;
    BitmapData blank{};
    std::vector<uint8_t> before = good.snapshot();
    for (BitmapData* bad : {static_cast<BitmapData*>(nullptr), &blank, narrow.record(), empty.record()}) {
        for (BitmapData* d : {bad, good.record()}) {
            AlphaBlendBlt(d, 0, 0, 8, 4, bad, 0, 0, good.record(), 0, 0, 100);
            AlphaBlendBlt(d, 0, 0, 8, 4, good.record(), 0, 0, bad, 0, 0, 100);
            MaskKeyBlt(d, 0, 0, 8, 4, bad, 0, 0, good.record(), 0, 0, 0);
            MaskKeyBlt2(d, 0, 0, 8, 4, good.record(), 0, 0, bad, 0, 0, 0, 100);
            MaskTimeKeyBlt(d, 0, 0, 8, 4, bad, 0, 0, bad, 0, 0, 300);
            ColorKeyBlt2(d, 0, 0, 8, 4, bad, 0, 0, 100);
        }
        FillAlpha(bad, 0, 0, 8, 4, 0xFFFFFF, 100);
        AddColorValue(bad, 0, 0, 24, 4, 100);
    }
    EXPECT_EQ(good.snapshot(), before);
}

}  // namespace
