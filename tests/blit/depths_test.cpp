// Which depths each blit draws on, and records it cannot use (null, blank, no pixels, a
// stride too short for the width), over every export: anything refused draws nothing.
#include "blit_cases.h"

namespace {

using mktest::Call;
using mktest::GuardedImage;

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

// Each row: the flag passed, and what the switch held before it.
TEST(BlitDepths, SwitchReportsWhetherThePathsWereAllowed) {
    const std::pair<BOOL, BOOL> rows[] = {{1, 1}, {0, 1}, {1, 0}, {7, 1}, {0, 1}, {0, 0}, {-1, 0}, {1, 1}};
    for (const auto& [flag, expected] : rows) EXPECT_EQ(SetUsageMMX(flag), expected) << "flag " << flag;
}

}  // namespace
