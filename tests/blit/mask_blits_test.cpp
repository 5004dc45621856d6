// The masked alpha blit and the timed transition through their exports: a plain model in
// image coordinates (every pixel of the rectangle that lies inside all images), each path's
// arithmetic at known values, the depth rules, and both settings of the MMX switch at every
// vector level.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <memory>
#include <iterator>

#include "blit/cpu.h"
#include "blit/mmx_switch.h"
#include "images.h"

namespace {

using mediakit::SimdLevel;
using mktest::HeapImage;
using mktest::Rng;
using Image = std::unique_ptr<HeapImage>;

int bits_of(HeapImage& img) { return img.record()->lpbmi->bmiHeader.biBitCount; }

bool inside(HeapImage& img, int x, int y) { return x >= 0 && y >= 0 && x < img.width() && y < img.height(); }

// Blue, green, red at (x, y); an 8-bit index beyond the colour table reads as black.
std::array<int, 3> colour(HeapImage& img, int x, int y) {
    if (bits_of(img) == 24) {
        const uint8_t* p = img.at(x, y);
        return {p[0], p[1], p[2]};
    }
    int index = *img.at(x, y, 1);
    if (index >= NumOfPalletColors(&img.record()->lpbmi->bmiHeader)) return {0, 0, 0};
    const RGBQUAD& q = img.record()->lpbmi->bmiColors[index];
    return {q.rgbBlue, q.rgbGreen, q.rgbRed};
}

const uint8_t* mask_pixel(HeapImage& mask, int x, int y) { return mask.at(x, y, bits_of(mask) / 8); }

int floor_div(int64_t a, int64_t b) { return static_cast<int>(a >= 0 ? a / b : -((-a + b - 1) / b)); }

Image make_image(Rng& rng, int bits, int w, int h) {
    auto img = std::make_unique<HeapImage>(w, h, bits, bits == 8 ? rng.range(1, 256) : -1);
    img->fill(rng);
    if (bits == 8) {
        auto* colours = reinterpret_cast<uint8_t*>(img->record()->lpbmi->bmiColors);
        for (int i = 0; i < 4 * NumOfPalletColors(&img->record()->lpbmi->bmiHeader); ++i) colours[i] = rng.biased_byte();
    }
    return img;
}
Image random_image(Rng& rng, int bits) { return make_image(rng, bits, rng.range(1, 40), rng.range(1, 10)); }

// Mostly inside the image, so that most rectangles meet every image; otherwise anywhere
// around it, before and beyond its edges.
int origin(Rng& rng, HeapImage& img) { return rng.range(0, 9) ? rng.range(0, img.width() - 1) : rng.range(-45, 45); }
int origin_y(Rng& rng, HeapImage& img) { return rng.range(0, 9) ? rng.range(0, img.height() - 1) : rng.range(-12, 12); }

Image copy_of(HeapImage& img) {
    auto c = std::make_unique<HeapImage>(img.width(), img.height(), bits_of(img));
    std::memcpy(c->bits(), img.bits(), img.bytes());
    return c;
}

class MaskBlits : public testing::TestWithParam<SimdLevel> {
protected:
    void SetUp() override {
        if (!mediakit::set_simd_level_for_test(GetParam()))
            GTEST_SKIP() << mediakit::simd_level_name(GetParam()) << " not available on this processor";
        mediakit::g_mmxAvailable = 1;  // as the entry point records it on any x86 processor
    }
    void TearDown() override {
        mediakit::set_simd_level_for_test(mediakit::best_simd_level());
        SetUsageMMX(1);
        mediakit::g_mmxAvailable = 0;
    }
};

struct AlphaCase {
    int x, y, w, h, sx, sy, mx, my, k;
};

void model_alpha(HeapImage& dst, HeapImage& src, HeapImage& mask, const AlphaCase& c, bool mmx_on) {
    const bool mmx = mmx_on && bits_of(src) == 24 && bits_of(mask) == 24;
    for (int j = 0; j < c.h; ++j) {
        for (int i = 0; i < c.w; ++i) {
            if (!inside(dst, c.x + i, c.y + j) || !inside(src, c.sx + i, c.sy + j) || !inside(mask, c.mx + i, c.my + j))
                continue;
            uint8_t* d = dst.at(c.x + i, c.y + j);
            std::array<int, 3> s = colour(src, c.sx + i, c.sy + j);
            const uint8_t* m = mask_pixel(mask, c.mx + i, c.my + j);
            for (int ch = 0; ch < 3; ++ch) {
                if (mmx) {
                    int weight = (c.k == 255 || c.k == 256) ? m[ch] : ((m[ch] * c.k) & 0xFFFF) >> 8;
                    d[ch] = static_cast<uint8_t>(d[ch] + floor_div((s[ch] - d[ch]) * weight, 256));
                } else {
                    d[ch] = static_cast<uint8_t>(d[ch] + floor_div(int64_t(s[ch] - d[ch]) * m[0] * c.k, 65536));
                }
            }
        }
    }
}

TEST_P(MaskBlits, AlphaBlitMatchesThePlainModel) {
    static const int kStrengths[] = {1, 128, 254, 255, 256, 256};
    int drawn = 0;
    for (uint64_t seed = 1; seed <= 1500; ++seed) {
        Rng rng(seed);
        const bool mmx_on = seed & 1;
        Image dst = random_image(rng, 24), src = random_image(rng, rng.range(0, 2) ? 24 : 8),
              mask = random_image(rng, rng.range(0, 1) ? 24 : 8);
        AlphaCase c{origin(rng, *dst), origin_y(rng, *dst), rng.range(-3, 45), rng.range(-3, 12),
                    origin(rng, *src), origin_y(rng, *src), origin(rng, *mask), origin_y(rng, *mask),
                    rng.range(0, 1) ? kStrengths[rng.range(0, 5)] : rng.range(1, 256)};
        Image expected = copy_of(*dst);
        model_alpha(*expected, *src, *mask, c, mmx_on);
        drawn += expected->snapshot() != dst->snapshot();
        SetUsageMMX(mmx_on);
        if (c.k == 256 && rng.range(0, 1))
            MaskAlphaBlt(dst->record(), c.x, c.y, c.w, c.h, src->record(), c.sx, c.sy, mask->record(), c.mx, c.my);
        else
            MaskAlphaBlt2(dst->record(), c.x, c.y, c.w, c.h, src->record(), c.sx, c.sy, mask->record(), c.mx, c.my, c.k);
        ASSERT_EQ(mktest::first_difference(expected->snapshot(), dst->bits(), dst->bytes()), "")
            << "seed " << seed << ", MMX switch " << mmx_on << ", source " << bits_of(*src) << "-bit, mask "
            << bits_of(*mask) << "-bit, " << c.w << "x" << c.h << " at (" << c.x << "," << c.y << ") from ("
            << c.sx << "," << c.sy << ") mask (" << c.mx << "," << c.my << "), strength " << c.k;
    }
    EXPECT_GT(drawn, 600);  // most cases draw something
}

struct TimeCase {
    int x, y, w, h, sx1, sy1, sx2, sy2, mx, my, t;
};

void model_time(HeapImage& dst, HeapImage& src1, HeapImage& src2, HeapImage& mask, const TimeCase& c, bool mmx_on) {
    const bool mmx = mmx_on && bits_of(src1) == 24 && bits_of(mask) == 24;
    for (int j = 0; j < c.h; ++j) {
        for (int i = 0; i < c.w; ++i) {
            if (!inside(dst, c.x + i, c.y + j) || !inside(src1, c.sx1 + i, c.sy1 + j) ||
                !inside(src2, c.sx2 + i, c.sy2 + j) || !inside(mask, c.mx + i, c.my + j))
                continue;
            uint8_t* d = dst.at(c.x + i, c.y + j);
            std::array<int, 3> p = colour(src1, c.sx1 + i, c.sy1 + j), q = colour(src2, c.sx2 + i, c.sy2 + j);
            const uint8_t* m = mask_pixel(mask, c.mx + i, c.my + j);
            for (int ch = 0; ch < 3; ++ch) {
                int64_t a = int64_t(c.t) - m[0];
                if (mmx) {
                    if (c.t >= 511) {
                        d[ch] = static_cast<uint8_t>(q[ch]);
                        continue;
                    }
                    a = std::min(255, std::max(0, int16_t(c.t) - m[ch]));  // the word lanes hold t's low 16 bits
                }
                d[ch] = static_cast<uint8_t>(a < 0 ? p[ch] : a > 255 ? q[ch] : p[ch] + floor_div((q[ch] - p[ch]) * a, 256));
            }
        }
    }
}

// Mask values lean to 0, 255 and the time itself, where the transition turns.
void fill_mask_near(Rng& rng, HeapImage& mask, int t) {
    const int centre = std::min(258, std::max(-3, t));
    for (size_t i = 0; i < mask.bytes(); ++i) {
        int r = rng.range(0, 3);
        mask.bits()[i] = r == 0 ? rng.biased_byte() : r == 1 ? rng.byte()
                                                          : static_cast<uint8_t>(std::min(255, std::max(0, centre + rng.range(-3, 3))));
    }
}

TEST_P(MaskBlits, TransitionMatchesThePlainModel) {
    static const int kTimes[] = {INT_MIN, -40000, -50, -1, 0, 1, 128, 255, 256, 300, 510, 511, 512, 70000};
    int drawn = 0;
    for (uint64_t seed = 1; seed <= 1500; ++seed) {
        Rng rng(seed);
        const bool mmx_on = seed & 1;
        const int src_bits = rng.range(0, 2) ? 24 : 8;
        Image dst = random_image(rng, 24), src1 = random_image(rng, src_bits), src2 = random_image(rng, src_bits),
              mask = random_image(rng, rng.range(0, 1) ? 24 : 8);
        TimeCase c{origin(rng, *dst),   origin_y(rng, *dst),  rng.range(-3, 45),   rng.range(-3, 12),
                   origin(rng, *src1),  origin_y(rng, *src1), origin(rng, *src2),  origin_y(rng, *src2),
                   origin(rng, *mask),  origin_y(rng, *mask), rng.range(0, 1) ? kTimes[rng.range(0, 13)] : rng.range(-20, 530)};
        fill_mask_near(rng, *mask, c.t);
        Image expected = copy_of(*dst);
        model_time(*expected, *src1, *src2, *mask, c, mmx_on);
        drawn += expected->snapshot() != dst->snapshot();
        SetUsageMMX(mmx_on);
        MaskTimeAlphaBlt(dst->record(), c.x, c.y, c.w, c.h, src1->record(), c.sx1, c.sy1, src2->record(), c.sx2,
                         c.sy2, mask->record(), c.mx, c.my, c.t);
        ASSERT_EQ(mktest::first_difference(expected->snapshot(), dst->bits(), dst->bytes()), "")
            << "seed " << seed << ", MMX switch " << mmx_on << ", sources " << src_bits << "-bit, mask "
            << bits_of(*mask) << "-bit, " << c.w << "x" << c.h << " at (" << c.x << "," << c.y << "), time " << c.t;
    }
    EXPECT_GT(drawn, 450);
}

// The destination may be the first source itself at the same origin.
TEST_P(MaskBlits, TransitionOverItsFirstSourceEqualsASeparateCopy) {
    for (uint64_t seed = 1; seed <= 300; ++seed) {
        Rng rng(seed);
        const bool mmx_on = seed & 1;
        Image first = make_image(rng, 24, rng.range(1, 70), rng.range(1, 6)), second = copy_of(*first);
        second->fill(rng);
        Image mask = make_image(rng, rng.range(0, 1) ? 24 : 8, first->width(), first->height());
        const int t = rng.range(-10, 520), x = rng.range(0, first->width() - 1), y = rng.range(0, first->height() - 1);
        fill_mask_near(rng, *mask, t);
        Image separate = copy_of(*first), dst = copy_of(*first);
        SetUsageMMX(mmx_on);
        MaskTimeAlphaBlt(dst->record(), x, y, 99, 99, separate->record(), x, y, second->record(), x, y, mask->record(), x, y, t);
        MaskTimeAlphaBlt(first->record(), x, y, 99, 99, first->record(), x, y, second->record(), x, y, mask->record(), x, y, t);
        ASSERT_EQ(mktest::first_difference(dst->snapshot(), first->bits(), first->bytes()), "")
            << "seed " << seed << ", MMX switch " << mmx_on << ", time " << t;
    }
}

// One pixel of each blit through a 24-bit mask, on each path. The per-pixel path takes the
// mask's first byte for all three channels, the MMX path each channel's own byte.
struct OnePixel {
    explicit OnePixel(const uint8_t (&m)[3], int first, int second) : dst(1, 1), src(1, 1), src2(1, 1), mask(1, 1) {
        std::memset(dst.bits(), first, 3);
        std::memset(src.bits(), second, 3);
        std::memset(src2.bits(), second, 3);
        std::memcpy(mask.bits(), m, 3);
    }
    std::array<int, 3> result() { return {dst.bits()[0], dst.bits()[1], dst.bits()[2]}; }
    HeapImage dst, src, src2, mask;
};

TEST_P(MaskBlits, OnePixelOfTheAlphaBlit) {
    struct Row {
        int d, s;
        uint8_t mask[3];
        int strength;
        std::array<int, 3> per_pixel, mmx;
    };
    const Row rows[] = {
        {0, 255, {255, 255, 255}, 256, {254, 254, 254}, {254, 254, 254}},  // 255 is not an exact copy
        {255, 0, {255, 255, 255}, 256, {0, 0, 0}, {0, 0, 0}},
        {0, 255, {255, 255, 255}, 128, {127, 127, 127}, {126, 126, 126}},  // mmx rounds mask × strength first
        {0, 255, {255, 255, 255}, 255, {253, 253, 253}, {254, 254, 254}},  // 255 is full strength on mmx
        {0, 255, {255, 0, 0}, 256, {254, 254, 254}, {254, 0, 0}},          // a coloured mask
        {100, 200, {128, 64, 0}, 256, {150, 150, 150}, {150, 125, 100}},
        {77, 200, {0, 0, 0}, 256, {77, 77, 77}, {77, 77, 77}},
        {77, 200, {200, 200, 200}, 0, {77, 77, 77}, {77, 77, 77}},  // strength 0 draws nothing
    };
    for (size_t i = 0; i < std::size(rows); ++i) {
        for (int mmx_on = 0; mmx_on < 2; ++mmx_on) {
            OnePixel px(rows[i].mask, rows[i].d, rows[i].s);
            SetUsageMMX(mmx_on);
            MaskAlphaBlt2(px.dst.record(), 0, 0, 1, 1, px.src.record(), 0, 0, px.mask.record(), 0, 0, rows[i].strength);
            EXPECT_EQ(px.result(), mmx_on ? rows[i].mmx : rows[i].per_pixel) << "row " << i << ", MMX switch " << mmx_on;
        }
    }
}

TEST_P(MaskBlits, OnePixelOfTheTransition) {
    struct Row {
        int t;
        uint8_t mask[3];
        int p, q;
        std::array<int, 3> per_pixel, mmx;
    };
    const Row rows[] = {
        {0, {0, 0, 0}, 10, 200, {10, 10, 10}, {10, 10, 10}},
        {0, {200, 200, 200}, 10, 200, {10, 10, 10}, {10, 10, 10}},
        {-50, {0, 0, 0}, 30, 90, {30, 30, 30}, {30, 30, 30}},
        {128, {0, 0, 0}, 0, 255, {127, 127, 127}, {127, 127, 127}},  // halfway
        {128, {200, 200, 200}, 0, 255, {0, 0, 0}, {0, 0, 0}},        // not started
        {300, {0, 0, 0}, 0, 255, {255, 255, 255}, {254, 254, 254}},  // mmx holds a at 255
        {510, {255, 255, 255}, 0, 255, {254, 254, 254}, {254, 254, 254}},
        {511, {255, 255, 255}, 0, 255, {255, 255, 255}, {255, 255, 255}},
        {70000, {0, 0, 0}, 200, 10, {10, 10, 10}, {10, 10, 10}},
        {128, {0, 255, 100}, 0, 255, {127, 127, 127}, {127, 0, 27}},  // a coloured mask
        {-40000, {0, 0, 0}, 0, 255, {0, 0, 0}, {254, 254, 254}},      // mmx: t's low 16 bits, 25536
    };
    for (size_t i = 0; i < std::size(rows); ++i) {
        for (int mmx_on = 0; mmx_on < 2; ++mmx_on) {
            OnePixel px(rows[i].mask, 99, 99);
            std::memset(px.src.bits(), rows[i].p, 3);
            std::memset(px.src2.bits(), rows[i].q, 3);
            SetUsageMMX(mmx_on);
            MaskTimeAlphaBlt(px.dst.record(), 0, 0, 1, 1, px.src.record(), 0, 0, px.src2.record(), 0, 0,
                             px.mask.record(), 0, 0, rows[i].t);
            EXPECT_EQ(px.result(), mmx_on ? rows[i].mmx : rows[i].per_pixel) << "row " << i << ", MMX switch " << mmx_on;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(AllLevels, MaskBlits,
                         testing::Values(SimdLevel::kScalar, SimdLevel::kSse2, SimdLevel::kAvx2),
                         [](const auto& p) { return mediakit::simd_level_name(p.param); });

// Destinations are 24-bit; sources 24-bit or 8-bit (both alike for the transition); masks
// 8- or 24-bit. Anything else leaves the destination as it was, on either path.
TEST(MaskBlitDepths, OnlyTheAcceptedDepthsDraw) {
    mediakit::g_mmxAvailable = 1;
    for (int mmx_on = 0; mmx_on < 2; ++mmx_on) {
        SetUsageMMX(mmx_on);
        for (int dst_bits : {8, 24, 32}) {
            for (int src_bits : {8, 16, 24, 32}) {
                for (int src2_bits : {8, 24}) {
                    for (int mask_bits : {1, 4, 8, 16, 24, 32}) {
                        Rng rng(dst_bits * 1000 + src_bits * 100 + src2_bits * 10 + mask_bits);
                        Image dst = make_image(rng, dst_bits, 9, 4), src = make_image(rng, src_bits, 9, 4),
                              src2 = make_image(rng, src2_bits, 9, 4), mask = make_image(rng, mask_bits, 9, 4);
                        std::memset(mask->bits(), 200, mask->bytes());
                        const bool accepted = dst_bits == 24 && (mask_bits == 8 || mask_bits == 24);
                        std::vector<uint8_t> before = dst->snapshot();
                        MaskAlphaBlt(dst->record(), 0, 0, 9, 4, src->record(), 0, 0, mask->record(), 0, 0);
                        EXPECT_EQ(dst->snapshot() != before, accepted && (src_bits == 8 || src_bits == 24))
                            << "alpha: " << dst_bits << " <- " << src_bits << " through " << mask_bits << ", MMX " << mmx_on;
                        std::memcpy(dst->bits(), before.data(), before.size());
                        MaskTimeAlphaBlt(dst->record(), 0, 0, 9, 4, src->record(), 0, 0, src2->record(), 0, 0,
                                         mask->record(), 0, 0, 300);
                        EXPECT_EQ(dst->snapshot() != before, accepted && src_bits == src2_bits)
                            << "transition: " << dst_bits << " <- " << src_bits << "/" << src2_bits << " through "
                            << mask_bits << ", MMX " << mmx_on;
                    }
                }
            }
        }
    }
    SetUsageMMX(1);
    mediakit::g_mmxAvailable = 0;
}

}  // namespace
