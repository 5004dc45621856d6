// Key blit kernels at the SSE2 level: 16 pixels at a time, the selection worked out as a byte
// mask over the group's 48 bytes, then one select between the destination and the drawn
// colour; a group that nothing selects is skipped. The last pixels of a row (fewer than 16)
// go through the scalar pixel helpers.
#include "blit/key_blit.h"
#include "blit/row24_sse2.h"

namespace mediakit {
namespace {

using namespace sse2;

struct Params {
    __m128i lo, span, weight;
};

// Which bytes of the group get the drawn colour, from the mask.
template <int kMaskStep>
MK_ALWAYS_INLINE void mask_selection(const uint8_t* m, const Params& p, __m128i sel[3]) {
    if (kMaskStep == 1) {
        expand_pixels(in_range(load(m), p.lo, p.span), sel);
        return;
    }
    // A 24-bit mask lies pixel for pixel over the group: its value is each pixel's first byte.
    __m128i at_start[3];
    for (int k = 0; k < 3; ++k)
        at_start[k] = _mm_and_si128(in_range(load(m + 16 * k), p.lo, p.span), pixel_starts(k));
    spread_from_starts(at_start, sel);
}

// Which bytes of the group keep the destination because their pixel is black, from the
// zero bytes of the source.
MK_ALWAYS_INLINE void black_selection(const __m128i zero_bytes[3], __m128i keep[3]) {
    const __m128i* z = zero_bytes;
    const __m128i none = _mm_setzero_si128();  // the group's last pixel ends inside it
    // A pixel is black when its first byte and the two after it are zero.
    __m128i at_start[3];
    for (int k = 0; k < 3; ++k) {
        __m128i next = k < 2 ? z[k + 1] : none;
        __m128i all = _mm_and_si128(z[k], _mm_and_si128(shift_down<1>(z[k], next),
                                                        shift_down<2>(z[k], next)));
        at_start[k] = _mm_and_si128(all, pixel_starts(k));
    }
    spread_from_starts(at_start, keep);
}

template <bool kMix>
inline __m128i drawn(__m128i d, __m128i s, const Params& p) {
    return kMix ? mix(d, s, p.weight) : s;
}

// Writes a group: the drawn colour where sel is set, the destination elsewhere. A group with
// nothing selected is left as it is; a copy of a group selected whole needs no destination.
template <bool kMix>
MK_ALWAYS_INLINE void write_group(uint8_t* d, const uint8_t* s, const __m128i sel[3], const Params& p) {
    if (_mm_movemask_epi8(_mm_or_si128(sel[0], _mm_or_si128(sel[1], sel[2]))) == 0) return;
    bool whole = _mm_movemask_epi8(_mm_and_si128(sel[0], _mm_and_si128(sel[1], sel[2]))) == 0xFFFF;
    for (int k = 0; k < 3; ++k) {
        __m128i sv = load(s + 16 * k);
        if (whole && !kMix) {
            store(d + 16 * k, sv);
            continue;
        }
        __m128i dv = load(d + 16 * k);
        store(d + 16 * k, select(sel[k], drawn<kMix>(dv, sv, p), dv));
    }
}

template <int kMaskStep, bool kMix>
void mask_key_rows(const KeyBlitRect& r, const Params& p) {
    uint8_t* d = r.dst;
    const uint8_t* s = r.src;
    const uint8_t* m = r.mask;
    for (int row = 0; row < r.h; ++row, d += r.dst_stride, s += r.src_stride, m += r.mask_stride) {
        int x = 0;
        for (; x + 16 <= r.w; x += 16) {
            __m128i sel[3];
            mask_selection<kMaskStep>(m + kMaskStep * x, p, sel);
            write_group<kMix>(d + 3 * x, s + 3 * x, sel, p);
        }
        for (; x < r.w; ++x)
            if (mask_selects(m[kMaskStep * x], r.lo, r.hi))
                draw_key_pixel(d + 3 * x, s + 3 * x, r.strength);
    }
}

template <bool kMix>
void color_key_rows(const KeyBlitRect& r, const Params& p) {
    uint8_t* d = r.dst;
    const uint8_t* s = r.src;
    for (int row = 0; row < r.h; ++row, d += r.dst_stride, s += r.src_stride) {
        int x = 0;
        for (; x + 16 <= r.w; x += 16) {
            __m128i sv[3], z[3], keep[3];
            for (int k = 0; k < 3; ++k) {
                sv[k] = load(s + 3 * x + 16 * k);
                z[k] = _mm_cmpeq_epi8(sv[k], _mm_setzero_si128());
            }
            // Runs of colour (no zero byte) and of black (all zero) take no pixel test.
            if (_mm_movemask_epi8(_mm_and_si128(z[0], _mm_and_si128(z[1], z[2]))) == 0xFFFF) continue;
            bool any_zero = _mm_movemask_epi8(_mm_or_si128(z[0], _mm_or_si128(z[1], z[2]))) != 0;
            if (any_zero) black_selection(z, keep);
            for (int k = 0; k < 3; ++k) {
                uint8_t* dk = d + 3 * x + 16 * k;
                if (!any_zero && !kMix) {
                    store(dk, sv[k]);
                    continue;
                }
                __m128i dv = load(dk);
                __m128i colour = drawn<kMix>(dv, sv[k], p);
                store(dk, any_zero ? select(keep[k], dv, colour) : colour);
            }
        }
        for (; x < r.w; ++x)
            if (!is_key_black(s + 3 * x)) draw_key_pixel(d + 3 * x, s + 3 * x, r.strength);
    }
}

Params params_of(const KeyBlitRect& r) {
    return {_mm_set1_epi8(static_cast<char>(r.lo)),
            _mm_set1_epi8(static_cast<char>(r.hi - r.lo)), weight_lanes(r.strength)};
}

}  // namespace

void mask_key_rect_sse2(const KeyBlitRect& r) {
    Params p = params_of(r);
    bool copy = r.strength == 256;
    if (r.mask_step == 1)
        copy ? mask_key_rows<1, false>(r, p) : mask_key_rows<1, true>(r, p);
    else
        copy ? mask_key_rows<3, false>(r, p) : mask_key_rows<3, true>(r, p);
}

void color_key_rect_sse2(const KeyBlitRect& r) {
    Params p = params_of(r);
    r.strength == 256 ? color_key_rows<false>(r, p) : color_key_rows<true>(r, p);
}

}  // namespace mediakit
