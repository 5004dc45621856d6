// Hue and saturation revision of a 24-bit rectangle in place: a hue step in doubles
// through the HSV model, then a saturation step that spreads or gathers each pixel's
// channels by integer arithmetic.
//
// The per-pixel rules are written here once, static inline, so that the plain loops and
// the scalar tails of the vector kernels share them. Doubles are SSE2 doubles in both
// builds (no x87 excess precision) and no step may be contracted into a fused
// multiply-add: the vector kernels repeat these operations in the same order.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "base/x86_int.h"

namespace mediakit {

constexpr double kInv255 = 0.00392156862745098;  // the double nearest 1/255
constexpr double kSixth = 0.16666666666666666;   // the double nearest 1/6
constexpr double kThird = 0.3333333333333333;    // the double nearest 1/3

/// round(v) = v + 0.5 truncated towards zero: half up for v ≥ 0, while -2.7 gives -2 and
/// -169.5 gives -169.
static inline int32_t round_half_up(double v) { return trunc_i32(v + 0.5); }

/// The arguments of one call. In absolute mode the hue step gives every pixel the hue
/// `hue` and the saturation `saturation`; otherwise it turns each pixel's hue by `hue`.
struct HsbArgs {
    double hue;
    double saturation;
    bool absolute;
};

/// The hue step on one pixel (bytes blue, green, red).
static inline void hue_pixel(uint8_t* px, const HsbArgs& args) {
    const double b = px[0] * kInv255, g = px[1] * kInv255, r = px[2] * kInv255;
    const double max = std::max(r, std::max(g, b)), min = std::min(r, std::min(g, b));
    const double delta = max - min, v = max;
    double s = 0, hc = 0;
    if (max != 0) {
        s = delta / max;
        if (s != 0) {
            const double rc = (max - r) / delta, gc = (max - g) / delta, bc = (max - b) / delta;
            if (r == max)
                hc = bc - gc;
            else if (g == max)
                hc = 2 + rc - bc;
            else
                hc = 4 + gc - rc;
            hc = hc * kSixth;
            if (hc < 0) hc = hc + 1;
        }
    }
    double h = hc + args.hue;
    if (args.absolute) {
        h = args.hue;
        s = args.saturation;
    }
    if (s == 0) {
        px[0] = px[1] = px[2] = static_cast<uint8_t>(round_half_up(v * 255));
        return;
    }
    const double h6 = (h - std::floor(h)) * 6;
    const double f = h6 - std::floor(h6);
    const int32_t sector = trunc_i32(h6);
    const double p = v * (1 - s), q = v * (1 - s * f), t = v * (1 - s * (1 - f));
    double red, green, blue;
    switch (sector) {
        case 0: red = v, green = t, blue = p; break;
        case 1: red = q, green = v, blue = p; break;
        case 2: red = p, green = v, blue = t; break;
        case 3: red = p, green = q, blue = v; break;
        case 4: red = t, green = p, blue = v; break;
        case 5: red = v, green = p, blue = q; break;
        default: return;  // a whole turn rounded up to 6 (or NaN): the pixel stays
    }
    px[0] = static_cast<uint8_t>(round_half_up(blue * 255));
    px[1] = static_cast<uint8_t>(round_half_up(green * 255));
    px[2] = static_cast<uint8_t>(round_half_up(red * 255));
}

/// Byte offsets of the largest and smallest channel with their tie rules, and of the
/// middle one: the first of red, green, blue that is neither.
struct ChannelOrder {
    int largest, smallest, middle;
};

static inline ChannelOrder channel_order(const uint8_t* px) {
    enum { kBlue = 0, kGreen = 1, kRed = 2 };
    ChannelOrder o;
    // Red is the larger only if strictly larger than green; blue only if strictly larger
    // than that. Likewise for the smaller.
    o.largest = px[kRed] > px[kGreen] ? kRed : kGreen;
    if (px[kBlue] > px[o.largest]) o.largest = kBlue;
    o.smallest = px[kRed] < px[kGreen] ? kRed : kGreen;
    if (px[kBlue] < px[o.smallest]) o.smallest = kBlue;
    o.middle = kRed;
    if (o.middle == o.largest || o.middle == o.smallest) o.middle = kGreen;
    if (o.middle == o.largest || o.middle == o.smallest) o.middle = kBlue;
    return o;
}

/// Strengthening (saturation > 0): the largest channel rises and the smallest falls by
/// round(room · saturation), room being how far both can move inside 0..255; the middle
/// keeps its relative place between them. Pixels with a channel at 255 or 0, and greys,
/// stay as they are.
static inline void strengthen_pixel(uint8_t* px, double saturation) {
    const ChannelOrder o = channel_order(px);
    const int32_t largest = px[o.largest], smallest = px[o.smallest], middle = px[o.middle];
    if (largest == 255 || smallest == 0 || largest == smallest) return;
    const int32_t room = std::min(255 - largest, smallest);
    const double ratio = static_cast<double>(middle - smallest) / (largest - smallest);
    const int32_t d = round_half_up(room * saturation);
    const int32_t new_largest = add_wrap(largest, d), new_smallest = sub_wrap(smallest, d);
    const int32_t new_middle =
        add_wrap(new_smallest, round_half_up(sub_wrap(new_largest, new_smallest) * ratio));
    px[o.largest] = static_cast<uint8_t>(new_largest);
    px[o.smallest] = static_cast<uint8_t>(new_smallest);
    px[o.middle] = static_cast<uint8_t>(new_middle);
}

/// Weakening (saturation < 0, k = -saturation): each channel c moves towards the
/// channel average by round((avg - c) · k).
static inline void weaken_pixel(uint8_t* px, double k) {
    const double avg = (px[0] + px[1] + px[2]) * kThird;
    for (int c = 0; c < 3; ++c)
        px[c] = static_cast<uint8_t>(add_wrap(px[c], round_half_up((avg - px[c]) * k)));
}

/// A step over a rectangle: h rows of w pixels upwards from `first`, stride apart.
using HsbRowsFn = void (*)(uint8_t* first, ptrdiff_t stride, int w, int h, const HsbArgs& args);

struct HsbKernels {
    HsbRowsFn hue;
    HsbRowsFn strengthen;  ///< args.saturation > 0
    HsbRowsFn weaken;      ///< args.saturation < 0
};

void hsb_hue_rows_ref(uint8_t* first, ptrdiff_t stride, int w, int h, const HsbArgs& args);
void hsb_strengthen_rows_ref(uint8_t* first, ptrdiff_t stride, int w, int h, const HsbArgs& args);
void hsb_weaken_rows_ref(uint8_t* first, ptrdiff_t stride, int w, int h, const HsbArgs& args);
void hsb_hue_rows_avx2(uint8_t* first, ptrdiff_t stride, int w, int h, const HsbArgs& args);
void hsb_strengthen_rows_avx2(uint8_t* first, ptrdiff_t stride, int w, int h, const HsbArgs& args);
void hsb_weaken_rows_avx2(uint8_t* first, ptrdiff_t stride, int w, int h, const HsbArgs& args);

/// The kernels of a level: the plain loops at the scalar and SSE2 levels, the 4-pixel
/// vector kernels at the AVX2 level.
const HsbKernels& hsb_kernels(int level);

/// Both steps over a clipped rectangle, hue first, with the kernels of the given level.
void revise_hsb(uint8_t* first, ptrdiff_t stride, int w, int h, const HsbArgs& args,
                const HsbKernels& kernels);

}  // namespace mediakit
