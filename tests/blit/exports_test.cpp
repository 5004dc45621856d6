// The blits through their exports in image coordinates. One walker visits every pixel of a
// rectangle that lies inside all images taking part and hands it to the blit's own rule;
// everything else, row padding included, must stay as it was. Random images (8-bit palette
// sources of any table length, 8- and 24-bit masks, blocks against a guard page), origins
// outside every image, sizes down to negative ones, both settings of the switch.
#include "blit/fast_blt.h"
#include "blit_cases.h"

namespace {

using mktest::Blit;
using mktest::Call;
using mktest::GuardedImage;
using mktest::Rng;

// What the walker hands a rule: the destination pixel, each other image's colour and bytes.
struct Px {
    uint8_t* d;
    uint8_t c[4][3];
    const uint8_t* raw[4];
    int x, y;
};

template <class Rule>
void walk(Call& c, Rule rule) {
    for (int j = 0; j < c.h; ++j)
        for (int i = 0; i < c.w; ++i) {
            bool in = true;
            for (int k = 0; k < c.n; ++k) in = in && c.im[k]->inside(c.x[k] + i, c.y[k] + j);
            if (!in) continue;
            Px p{c.im[0]->at(c.x[0] + i, c.y[0] + j), {}, {}, c.x[0] + i, c.y[0] + j};
            for (int k = 1; k < c.n; ++k) {
                c.im[k]->colour(c.x[k] + i, c.y[k] + j, p.c[k]);
                p.raw[k] = c.im[k]->at(c.x[k] + i, c.y[k] + j);
            }
            rule(p);
        }
}

void mix_all(Px& p, const uint8_t* s, int strength) {
    for (int k = 0; k < 3; ++k) p.d[k] = strength == 256 ? s[k] : mktest::mixed(p.d[k], s[k], strength);
}

// Each blit's rule, by its name in the shared table.
void model(const Blit& b, Call& c) {
    const std::string name = b.rule;
    const int v = c.v, u = c.u;
    const bool on = c.on, src24 = c.n > 1 && c.im[1]->bits() == 24, mask24 = c.im[c.n - 1]->bits() == 24;
    walk(c, [&](Px& p) {
        if (name == "FastBlt") {
            std::memcpy(p.d, p.c[1], 3);
        } else if (name == "AlphaBlendBlt") {
            for (int k = 0; k < 3; ++k)
                p.d[k] = on && src24 && v == 0                   ? p.c[1][k]
                         : on && src24 && (v == 255 || v == 256) ? p.c[2][k]
                                                                 : mktest::mixed(p.c[1][k], p.c[2][k], v);
        } else if (name == "FillAlpha") {
            const uint8_t bgr[3] = {uint8_t(u >> 16), uint8_t(u >> 8), uint8_t(u)};
            for (int k = 0; k < 3; ++k) p.d[k] = mktest::mixed(p.d[k], bgr[k], v);
        } else if (name == "MaskAlphaBlt2") {
            // The switch path with 24-bit source and mask weighs each channel by its own
            // mask byte times the strength's word (255 counts as full); the other path
            // weighs all three by the first byte.
            for (int k = 0; k < 3; ++k) {
                const int64_t diff = p.c[1][k] - p.d[k], m = p.raw[2][mask24 ? k : 0];
                p.d[k] += on && src24 && mask24
                              ? ((diff * ((v == 255 || v == 256) ? m : ((m * v) & 0xFFFF) >> 8)) >> 8)
                              : ((diff * p.raw[2][0] * v) >> 16);
            }
        } else if (name == "MaskTimeAlphaBlt") {
            const bool mmx = on && src24 && mask24;
            for (int k = 0; k < 3; ++k) {
                int64_t a = int64_t(v) - p.raw[3][0];
                if (mmx) a = v >= 511 ? 256 : std::clamp(int16_t(v) - p.raw[3][k], 0, 255);
                p.d[k] = a < 0 ? p.c[1][k] : a > 255 ? p.c[2][k] : uint8_t(p.c[1][k] + (((p.c[2][k] - p.c[1][k]) * a) >> 8));
            }
        } else if (name == "MaskKeyBlt2") {
            if (p.raw[2][0] > (v & 0xFF)) mix_all(p, p.c[1], u);
        } else if (name == "MaskTimeKeyBlt") {
            if (v > p.raw[2][0]) mix_all(p, p.c[1], 256);
        } else if (name == "ColorKeyBlt2") {
            if (p.c[1][0] | p.c[1][1] | p.c[1][2]) mix_all(p, p.c[1], u);
        } else if (name == "ReviseHSB") {  // each pixel as it would come out alone
            ReviseHSB(c.im[0]->record(), p.x, p.y, 1, 1, v / 64.0, u / 64.0, 0, u & 1);
        }
    });
}

class Exports : public mktest::AtSimdLevel {};

TEST_P(Exports, DrawTheRuleInsideEveryImageAndNothingElse) {
    for (const Blit& b : mktest::blits()) {
        if (!*b.rule) continue;
        int drawn = 0;
        for (uint64_t seed = 1; seed <= 700; ++seed) {
            Rng rng(seed);
            Call c = mktest::random_call(b, rng, seed % 2 ? mktest::Guard::kAfter : mktest::Guard::kBefore);
            std::vector<uint8_t> before = c.im[0]->snapshot();
            model(b, c);
            std::vector<uint8_t> expected = c.im[0]->snapshot();
            drawn += expected != before;
            c.im[0]->restore(before);
            SetUsageMMX(c.on);
            b.call(c);
            ASSERT_EQ(mktest::first_difference(expected, c.im[0]->snapshot().data(), expected.size()), "")
                << b.name << ", seed " << seed << ", " << c.describe();
        }
        EXPECT_GT(drawn, 140) << b.name;  // enough cases draw for the comparison to mean much
    }
}

// Each row's run of w bytes from pixel x, cut to that row's bytes, in the rows of the
// image; nothing else, whatever the rectangle and depth.
TEST_P(Exports, AddColorValueBrightensOnlyInsideThePixelBlock) {
    for (uint64_t seed = 1; seed <= 1000; ++seed) {
        Rng rng(seed);
        const int bits = std::vector<int>{1, 4, 8, 24, 24, 32}[rng.range(0, 5)], w = rng.range(1, 40), h = rng.range(1, 6);
        GuardedImage dst(w, h, bits, rng, seed % 2 ? mktest::Guard::kAfter : mktest::Guard::kBefore);
        const int stride = BytesPerLine(&dst.record()->lpbmi->bmiHeader);
        const int x = mktest::random_origin(rng, w + 2, 4), y = mktest::random_origin(rng, h, 4);
        const int run = mktest::random_extent(rng, stride + 8), rows = mktest::random_extent(rng, h + 3);
        const int value = mktest::edgy(rng, {0, 1, 10, 254, 255, 256, 266, -1}, 0, 255);
        std::vector<uint8_t> expected = dst.snapshot();
        const int64_t start = ((int64_t(x) * bits + 7) >> 3);
        for (int64_t row = std::max(y, 0); row < std::min<int64_t>(int64_t(y) + rows, h); ++row)
            for (int64_t i = std::max<int64_t>(start, 0); i < std::min<int64_t>(start + run, stride); ++i) {
                uint8_t& e = expected[size_t(h - 1 - row) * stride + i];
                e = uint8_t(std::min(255, e + (value & 0xFF)));
            }
        AddColorValue(dst.record(), x, y, run, rows, value);
        ASSERT_EQ(mktest::first_difference(expected, dst.snapshot().data(), expected.size()), "") << "seed " << seed;
    }
}

// The destination of the scaling blit may leave its image: the pixels inside get what the
// whole rectangle would give them (drawn over black and over white to tell the pixels no
// source cell reaches), and nothing else changes.
TEST_P(Exports, ScalingClipsWithoutChangingTheMapping) {
    for (uint64_t seed = 1; seed <= 300; ++seed) {
        Rng rng(seed);
        const int w = rng.range(1, 30), h = rng.range(1, 30);
        GuardedImage src(rng.range(1, 40), rng.range(1, 40), 24, rng), dst(rng.range(1, 30), rng.range(1, 30), 24, rng);
        GuardedImage black(w, h, 24, rng), white(w, h, 24, rng);
        const int sw = rng.range(1, src.width()), sh = rng.range(1, src.height());
        const int sx = rng.range(0, src.width() - sw), sy = rng.range(0, src.height() - sh);
        const int x = rng.range(-w, dst.width()), y = rng.range(-h, dst.height());
        black.restore(std::vector<uint8_t>(black.bytes(), 0));
        white.restore(std::vector<uint8_t>(white.bytes(), 255));
        BilinearBlt(black.record(), 0, 0, w, h, src.record(), sx, sy, sw, sh);
        BilinearBlt(white.record(), 0, 0, w, h, src.record(), sx, sy, sw, sh);
        std::vector<uint8_t> before = dst.snapshot();
        for (int j = 0; j < h; ++j)
            for (int i = 0; i < w; ++i)
                if (dst.inside(x + i, y + j) && std::memcmp(black.at(i, j), white.at(i, j), 3) == 0)
                    std::memcpy(dst.at(x + i, y + j), black.at(i, j), 3);
        std::vector<uint8_t> expected = dst.snapshot();
        dst.restore(before);
        BilinearBlt(dst.record(), x, y, w, h, src.record(), sx, sy, sw, sh);
        ASSERT_EQ(mktest::first_difference(expected, dst.snapshot().data(), expected.size()), "") << "seed " << seed;
    }
}

MKTEST_ALL_LEVELS(Exports);

}  // namespace
