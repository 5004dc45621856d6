// Values worked out by hand from each blit's rule, through the exports at every level:
// single pixels on both settings of the switch, hue and saturation colours, scaled rows.
// Then the depths each blit draws on, and records no blit can use (null, blank, no pixels,
// a stride too short for the width): anything refused draws nothing.
#include <array>
#include <limits>

#include "blit_cases.h"

namespace {

using mktest::Call;
using mktest::GuardedImage;
using Bgr = std::array<int, 3>;

constexpr Bgr G(int v) { return {v, v, v}; }

const mktest::Blit& blit(const std::string& name) {
    for (const mktest::Blit& b : mktest::blits())
        if (name == b.name) return b;
    std::abort();
}

class KnownValues : public mktest::AtSimdLevel {};

// One 1x1 call per row: destination d, sources s and s2, a 24-bit mask, the parameters, and
// the destination afterwards with the switch off and on.
TEST_P(KnownValues, SinglePixels) {
    struct Row {
        const char* blit;
        int d, s, s2;
        uint8_t mask[3];
        int v, u;
        Bgr off, on = {-1, -1, -1};  // on: the same as off unless given
    };
    const Row rows[] = {
        {"MaskAlphaBlt2", 0, 255, 0, {255, 255, 255}, 256, 0, G(254)},  // 255 is no copy
        {"MaskAlphaBlt2", 255, 0, 0, {255, 255, 255}, 256, 0, G(0)},
        {"MaskAlphaBlt2", 0, 255, 0, {255, 255, 255}, 128, 0, G(127), G(126)},
        {"MaskAlphaBlt2", 0, 255, 0, {255, 255, 255}, 255, 0, G(253), G(254)},
        {"MaskAlphaBlt2", 0, 255, 0, {255, 0, 0}, 256, 0, G(254), {254, 0, 0}},
        {"MaskAlphaBlt2", 100, 200, 0, {128, 64, 0}, 256, 0, G(150), {150, 125, 100}},
        {"MaskAlphaBlt2", 77, 200, 0, {200, 200, 200}, 0, 0, G(77)},
        {"MaskAlphaBlt", 0, 255, 0, {255, 255, 255}, 0, 0, G(254)},
        {"MaskTimeAlphaBlt", 99, 10, 200, {200, 200, 200}, 0, 0, G(10)},
        {"MaskTimeAlphaBlt", 99, 30, 90, {0, 0, 0}, -50, 0, G(30)},
        {"MaskTimeAlphaBlt", 99, 0, 255, {0, 0, 0}, 128, 0, G(127)},
        {"MaskTimeAlphaBlt", 99, 0, 255, {200, 200, 200}, 128, 0, G(0)},
        {"MaskTimeAlphaBlt", 99, 0, 255, {0, 0, 0}, 300, 0, G(255), G(254)},
        {"MaskTimeAlphaBlt", 99, 0, 255, {255, 255, 255}, 510, 0, G(254)},
        {"MaskTimeAlphaBlt", 99, 0, 255, {255, 255, 255}, 511, 0, G(255)},
        {"MaskTimeAlphaBlt", 99, 200, 10, {0, 0, 0}, 70000, 0, G(10)},
        {"MaskTimeAlphaBlt", 99, 0, 255, {0, 255, 100}, 128, 0, G(127), {127, 0, 27}},
        {"MaskTimeAlphaBlt", 99, 0, 255, {0, 0, 0}, -40000, 0, G(0), G(254)},  // word 25536
        {"AlphaBlendBlt", 9, 0, 255, {}, 255, 0, G(254), G(255)},
        {"AlphaBlendBlt", 9, 10, 200, {}, 255, 0, G(199), G(200)}, {"AlphaBlendBlt", 9, 0, 255, {}, 128, 0, G(127)},
        {"AlphaBlendBlt", 9, 255, 0, {}, 128, 0, G(127)}, {"AlphaBlendBlt", 9, 37, 200, {}, 0, 0, G(37)},
        {"AlphaBlendBlt", 9, 37, 200, {}, 256, 0, G(200)}, {"AlphaBlendBlt", 9, 255, 0, {}, 1, 0, G(254)},
        {"FillAlpha", 0, 0, 0, {}, 255, 0xFFFFFF, G(254)}, {"FillAlpha", 10, 0, 0, {}, 255, 0x0000C8, {0, 0, 199}},
        {"FillAlpha", 255, 0, 0, {}, 1, 0, G(254)}, {"FillAlpha", 37, 0, 0, {}, 256, 0xFF0000, {255, 0, 0}},
        {"AddColorValue", 244, 0, 0, {}, 10, 0, {254, 244, 244}},  // w counts bytes
        {"AddColorValue", 250, 0, 0, {}, 10, 0, {255, 250, 250}}, {"AddColorValue", 9, 0, 0, {}, 256, 0, G(9)},
        {"MaskKeyBlt2", 9, 7, 0, {1, 0, 255}, 0, 256, G(7)}, {"MaskKeyBlt2", 9, 7, 0, {0, 0, 255}, 0, 256, G(9)},
        {"MaskKeyBlt2", 9, 7, 0, {255, 0, 255}, 255, 256, G(9)}, {"MaskKeyBlt2", 9, 7, 0, {1, 0, 255}, 256, 256, G(7)},
        {"MaskKeyBlt2", 100, 200, 0, {10, 0, 255}, 9, 128, G(150)},
        {"MaskKeyBlt2", 255, 0, 0, {10, 0, 255}, 9, 0, G(255)}, {"MaskKeyBlt", 9, 7, 0, {10, 0, 255}, 9, 0, G(7)},
        {"MaskTimeKeyBlt", 9, 7, 0, {0, 0, 255}, 0, 0, G(9)}, {"MaskTimeKeyBlt", 9, 7, 0, {0, 0, 255}, 1, 0, G(7)},
        {"MaskTimeKeyBlt", 9, 7, 0, {1, 0, 255}, 1, 0, G(9)}, {"MaskTimeKeyBlt", 9, 7, 0, {255, 0, 255}, 256, 0, G(7)},
        {"MaskTimeKeyBlt", 9, 7, 0, {255, 0, 255}, 255, 0, G(9)}, {"ColorKeyBlt2", 100, 200, 0, {}, 0, 128, G(150)},
        {"ColorKeyBlt2", 200, 0, 0, {}, 0, 256, G(200)}, {"ColorKeyBlt", 200, 1, 0, {}, 0, 0, G(1)},
    };
    mktest::Rng rng(1);
    for (const Row& row : rows) {
        const mktest::Blit& b = blit(row.blit);
        for (int on = 0; on < 2; ++on) {
            Call c = mktest::fixed_call(b, 1, 1, row.v, row.u, on, [&](int k) {
                auto image = std::make_unique<GuardedImage>(1, 1, 24, rng);
                if (b.depths[k] == 'm') std::memcpy(image->at(0, 0), row.mask, 3);
                else std::memset(image->at(0, 0), k == 0 ? row.d : k == 1 ? row.s : row.s2, 3);
                return image;
            });
            SetUsageMMX(on);
            b.call(c);
            const uint8_t* p = c.im[0]->at(0, 0);
            EXPECT_EQ((Bgr{p[0], p[1], p[2]}), on && row.on[0] >= 0 ? row.on : row.off) << row.blit << " row " << (&row - rows) << ", switch " << on;
        }
    }
}

// Colours in and out, blue, green, red, each pixel five times in a row so that vector
// kernels take it in a group and alone. Arguments far outside their ranges keep the low 8
// bits of each result, and conversions out of the 32-bit range give 0x80000000.
TEST_P(KnownValues, HueAndSaturation) {
    const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
    struct Row {
        Bgr in;
        double hue, saturation;
        int absolute;
        Bgr out;
    };
    const Row rows[] = {
        {{0, 0, 255}, 1.0 / 3, 0, 0, {0, 255, 0}}, {{0, 128, 255}, 0.5, 0, 0, {255, 127, 0}}, {{50, 100, 200}, 2.0 / 3, 1, 1, {200, 0, 0}},
        {{50, 100, 200}, 0, 0.5, 1, {25, 92, 225}}, {{50, 100, 200}, 0, 1, 0, {0, 83, 250}}, {{50, 100, 200}, 0, 0.5, 0, {25, 92, 225}},
        {{0, 0, 255}, 0, -1, 0, {85, 85, 86}}, {{0, 0, 255}, 0, -0.5, 0, {43, 43, 171}}, {{10, 255, 40}, 0, 0.7, 0, {10, 255, 40}},
        {{0, 90, 40}, 0, 0.7, 0, {0, 90, 40}}, {{77, 77, 77}, 0, 0.8, 0, {77, 77, 77}}, {{60, 60, 30}, 0, 1, 0, {90, 90, 0}},
        {{30, 60, 60}, 0, 1, 0, {0, 90, 90}}, {{50, 100, 200}, 0.25, 0, 1, {200, 200, 200}}, {{50, 100, 200}, 1e300, 0, 0, {50, 50, 200}},
        {{50, 100, 200}, nan, 0, 0, {50, 100, 200}}, {{50, 100, 200}, inf, 0, 0, {50, 100, 200}}, {{90, 90, 90}, nan, 0, 0, {90, 90, 90}},
        {{50, 100, 200}, 0, nan, 0, {50, 100, 200}}, {{50, 100, 200}, 0, 3, 0, {156, 50, 94}}, {{0, 0, 255}, 0, -3, 0, {255, 255, 2}},
        {{50, 100, 200}, 0, 1e10, 0, {50, 100, 200}}, {{50, 100, 200}, 0, -inf, 0, {50, 100, 200}}, {{50, 100, 200}, 1.0 / 3, nan, 1, {0, 200, 0}},
        {{50, 100, 200}, 0, 0, 1, {50, 100, 200}},  // absolute hue 0, saturation 0: neither step
        {{10, 20, 30}, 1.0, 0, 0, {10, 20, 30}}, {{10, 20, 30}, -3.0, 0, 0, {10, 20, 30}},
    };
    mktest::Rng rng(2);
    for (const Row& r : rows) {
        GuardedImage img(5, 1, 24, rng);
        for (int x = 0; x < 5; ++x)
            for (int k = 0; k < 3; ++k) img.at(x, 0)[k] = uint8_t(r.in[k]);
        ReviseHSB(img.record(), 0, 0, 5, 1, r.hue, r.saturation, 0.9, r.absolute);
        for (int x = 0; x < 5; ++x)
            EXPECT_EQ((Bgr{img.at(x, 0)[0], img.at(x, 0)[1], img.at(x, 0)[2]}), r.out) << "row " << (&r - rows) << ", pixel " << x;
    }
}

// Rows of one channel value per pixel, scaled to the width of the result; 77 marks pixels
// no source cell reaches. Then the rows anchored at the bottom, and equal sizes copying
// also where 256 · w · sw no longer fits 32 bits.
TEST_P(KnownValues, ScaledRows) {
    const std::vector<int> rows[][2] = {
        {{10, 20}, {15}},           {{0, 255, 0}, {85, 85}},          {{7, 200}, {7, 7, 200, 200}},
        {{30, 60, 90}, {30, 60, 90}}, {{100, 0, 0, 0}, {25}},         {{0, 100, 200, 50, 250}, {39, 174, 169}},
        {{9, 99}, {77, 9, 9, 77, 99, 99}}, {{40}, {77, 40, 40, 40}},
    };
    mktest::Rng rng(3);
    for (const auto& r : rows) {
        const int sw = int(r[0].size()), w = int(r[1].size());
        GuardedImage src(sw, 1, 24, rng), dst(w, 1, 24, rng);
        for (int x = 0; x < sw; ++x) std::memset(src.at(x, 0), r[0][x], 3);
        for (int x = 0; x < w; ++x) std::memset(dst.at(x, 0), 77, 3);
        BilinearBlt(dst.record(), 0, 0, w, 1, src.record(), 0, 0, sw, 1);
        for (int x = 0; x < w; ++x) EXPECT_EQ(*dst.at(x, 0), r[1][x]) << "row " << (&r - rows) << ", pixel " << x;
    }
    GuardedImage src(1, 3, 24, rng), dst(1, 2, 24, rng), wide(3000, 2, 24, rng), copy(3000, 2, 24, rng);
    *src.at(0, 2) = 30, *src.at(0, 1) = 90, *src.at(0, 0) = 240;  // bottom row first
    BilinearBlt(dst.record(), 0, 0, 1, 2, src.record(), 0, 0, 1, 3);
    EXPECT_EQ(*dst.at(0, 1), (30 * 256 + 90 * 128) / 384);
    EXPECT_EQ(*dst.at(0, 0), (90 * 128 + 240 * 256) / 384);
    BilinearBlt(copy.record(), 0, 0, 3000, 2, wide.record(), 0, 0, 3000, 2);
    EXPECT_EQ(copy.snapshot(), wide.snapshot());
}

MKTEST_ALL_LEVELS(KnownValues);

// A 9x4 case of a blit with images of the given depths: the destination's bytes run 50,
// 100, 150, the others hold 200 (and so do their colour tables).
Call uniform_call(const mktest::Blit& b, const int* bits, mktest::Rng& rng) {
    return mktest::fixed_call(b, 9, 4, b.dv, b.du, false, [&](int k) {
        auto image = std::make_unique<GuardedImage>(9, 4, bits[k], rng);
        std::vector<uint8_t> bytes(image->bytes(), 200);
        for (size_t i = 0; k == 0 && i < bytes.size(); ++i) bytes[i] = uint8_t(50 * (1 + i % 3));
        image->restore(bytes);
        std::memset(image->record()->lpbmi->bmiColors, 200, 256 * sizeof(RGBQUAD));
        return image;
    });
}

TEST(BlitDepths, EachBlitDrawsOnItsDepthsOnly) {
    mediakit::g_mmxAvailable = 1;
    mktest::Rng rng(1);
    const int kDepths[] = {1, 8, 16, 24, 32};
    for (const mktest::Blit& b : mktest::blits()) {
        int combos = 1;
        for (int k = 0; k < b.n(); ++k) combos *= 5;
        for (int combo = 0; combo < combos; ++combo) {
            int bits[4];
            for (int k = 0, rest = combo; k < b.n(); ++k, rest /= 5) bits[k] = kDepths[rest % 5];
            for (int on = 0; on < 2; ++on) {
                Call c = uniform_call(b, bits, rng);
                const std::vector<uint8_t> before = c.im[0]->snapshot();
                SetUsageMMX(on);
                b.call(c);
                EXPECT_EQ(c.im[0]->snapshot() != before, b.accepts(bits)) << b.name << ", " << c.describe();
            }
        }
    }
    SetUsageMMX(1);
}

TEST(BlitDepths, UnusableRecordsDrawNothing) {
    mktest::Rng rng(2);
    const int bits[4] = {24, 24, 24, 24};
    for (const mktest::Blit& b : mktest::blits()) {
        for (int k = 0; k < b.n(); ++k) {
            for (int bad = 0; bad < 4; ++bad) {
                Call c = uniform_call(b, bits, rng);
                GuardedImage broken(9, 4, 24, rng);
                if (bad == 2) broken.record()->lpbmi->bmiHeader.biPlanes = 0;  // stride 0
                if (bad == 3) broken.record()->lpBits = nullptr;
                BitmapData blank{};
                c.rec[k] = bad == 0 ? nullptr : bad == 1 ? &blank : broken.record();
                const std::vector<uint8_t> before = c.im[0]->snapshot(), broken_before = broken.snapshot();
                b.call(c);
                EXPECT_EQ(c.im[0]->snapshot(), before) << b.name << ", image " << k << ", kind " << bad;
                EXPECT_EQ(broken.snapshot(), broken_before) << b.name << ", image " << k << ", kind " << bad;
            }
        }
    }
}

// Scaling calls that draw nothing: sizes of 0 or below, a source rectangle leaving its
// image, a destination wholly outside, products of 2^62 and more.
TEST(BlitDepths, RefusedScalingCalls) {
    mktest::Rng rng(3);
    GuardedImage dst(8, 8, 24, rng), src(8, 8, 24, rng);
    const int calls[][8] = {{0, 0, 0, 4, 0, 0, 4, 4},  {0, 0, 4, -1, 0, 0, 4, 4}, {0, 0, 4, 4, 0, 0, 0, 4},
                            {0, 0, 4, 4, 0, 0, 4, -4}, {0, 0, 4, 4, -1, 0, 4, 4}, {0, 0, 4, 4, 0, -1, 4, 4},
                            {0, 0, 4, 4, 5, 0, 4, 4},  {0, 0, 4, 4, 0, 5, 4, 4},  {0, 0, 4, 4, INT_MAX, 0, 4, 4},
                            {8, 0, 4, 4, 0, 0, 4, 4},  {0, -4, 4, 4, 0, 0, 4, 4}, {INT_MIN, 0, INT_MAX, 4, 0, 0, 4, 4},
                            {0, 0, INT_MAX, INT_MAX, 0, 0, 8, 8}};
    const std::vector<uint8_t> before = dst.snapshot();
    for (const auto& c : calls) {
        BilinearBlt(dst.record(), c[0], c[1], c[2], c[3], src.record(), c[4], c[5], c[6], c[7]);
        EXPECT_EQ(dst.snapshot(), before) << "call " << (&c - calls);
    }
}

// Each row: the flag passed, and what the switch held before it.
TEST(BlitDepths, SwitchReportsWhetherThePathsWereAllowed) {
    const std::pair<BOOL, BOOL> rows[] = {{1, 1}, {0, 1}, {1, 0}, {7, 1}, {0, 1}, {0, 0}, {-1, 0}, {1, 1}};
    for (const auto& [flag, expected] : rows) EXPECT_EQ(SetUsageMMX(flag), expected) << "flag " << flag;
}

}  // namespace
