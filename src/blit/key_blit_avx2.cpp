// Key blit kernels at the AVX2 level: groups of 32 pixels in three 32-byte vectors, then one
// group of 16 in 16-byte vectors, then the last pixels of the row through the scalar pixel
// helpers. The selection is worked out as a byte mask over the group, then one blend; a
// group that nothing selects is skipped.
#include "blit/key_blit.h"
#include "blit/row24_avx2.h"

namespace mediakit {
namespace {

using namespace avx2;

template <class T>
struct Params {
    typename T::V lo, span, weight;
    explicit Params(const KeyBlitRect& r)
        : lo(T::splat8(r.lo)), span(T::splat8(static_cast<uint8_t>(r.hi - r.lo))),
          weight(T::splat16(r.strength)) {}
};

// Which bytes of the group get the drawn colour, from the mask.
template <class T, int kMaskStep>
MK_ALWAYS_INLINE void mask_selection(const uint8_t* m, const Params<T>& p, typename T::V sel[3]) {
    if (kMaskStep == 1) {
        T::expand_pixels(in_range<T>(T::load(m), p.lo, p.span), sel);
        return;
    }
    // A 24-bit mask lies pixel for pixel over the group: its value is each pixel's first byte.
    typename T::V at_start[3];
    for (int k = 0; k < 3; ++k)
        at_start[k] = T::and_(in_range<T>(T::load(m + T::kBytes * k), p.lo, p.span),
                              pixel_starts<T>(k));
    spread_from_starts<T>(at_start, sel);
}

// Which bytes of the group keep the destination because their pixel is black, from the
// zero bytes of the source.
template <class T>
MK_ALWAYS_INLINE void black_selection(const typename T::V z[3], typename T::V keep[3]) {
    // A pixel is black when its first byte and the two after it are zero; the group's last
    // pixel ends inside it.
    typename T::V at_start[3];
    for (int k = 0; k < 3; ++k) {
        typename T::V next = k < 2 ? z[k + 1] : T::zero();
        typename T::V all = T::and_(z[k], T::and_(T::template shift_down<1>(z[k], next),
                                                  T::template shift_down<2>(z[k], next)));
        at_start[k] = T::and_(all, pixel_starts<T>(k));
    }
    spread_from_starts<T>(at_start, keep);
}

template <class T, bool kMix>
typename T::V drawn(typename T::V d, typename T::V s, const Params<T>& p) {
    return kMix ? mix<T>(d, s, p.weight) : s;
}

// One group of T::kBytes pixels: the drawn colour where the mask selects, the destination
// elsewhere. A group with nothing selected is left as it is; a copy of a group selected
// whole needs no destination.
template <class T, int kMaskStep, bool kMix>
MK_ALWAYS_INLINE void mask_key_group(uint8_t* d, const uint8_t* s, const uint8_t* m, const Params<T>& p) {
    typename T::V sel[3];
    mask_selection<T, kMaskStep>(m, p, sel);
    if (T::bits(T::or_(sel[0], T::or_(sel[1], sel[2]))) == 0) return;
    bool whole = T::bits(T::and_(sel[0], T::and_(sel[1], sel[2]))) == T::kAllBytes;
    for (int k = 0; k < 3; ++k) {
        typename T::V sv = T::load(s + T::kBytes * k);
        if (whole && !kMix) {
            T::store(d + T::kBytes * k, sv);
            continue;
        }
        typename T::V dv = T::load(d + T::kBytes * k);
        T::store(d + T::kBytes * k, T::select(sel[k], drawn<T, kMix>(dv, sv, p), dv));
    }
}

// One group of T::kBytes pixels: the drawn colour except where the source is black. Runs of
// colour (no zero byte) and of black (all zero) take no pixel test.
template <class T, bool kMix>
MK_ALWAYS_INLINE void color_key_group(uint8_t* d, const uint8_t* s, const Params<T>& p) {
    typename T::V sv[3], z[3], keep[3];
    for (int k = 0; k < 3; ++k) {
        sv[k] = T::load(s + T::kBytes * k);
        z[k] = T::eq(sv[k], T::zero());
    }
    if (T::bits(T::and_(z[0], T::and_(z[1], z[2]))) == T::kAllBytes) return;
    bool any_zero = T::bits(T::or_(z[0], T::or_(z[1], z[2]))) != 0;
    if (any_zero) black_selection<T>(z, keep);
    for (int k = 0; k < 3; ++k) {
        uint8_t* dk = d + T::kBytes * k;
        if (!any_zero && !kMix) {
            T::store(dk, sv[k]);
            continue;
        }
        typename T::V dv = T::load(dk);
        typename T::V colour = drawn<T, kMix>(dv, sv[k], p);
        T::store(dk, any_zero ? T::select(keep[k], dv, colour) : colour);
    }
}

template <int kMaskStep, bool kMix>
void mask_key_rows(const KeyBlitRect& r) {
    const Params<Wide> wide(r);
    const Params<Narrow> narrow(r);
    uint8_t* d = r.dst;
    const uint8_t* s = r.src;
    const uint8_t* m = r.mask;
    for (int row = 0; row < r.h; ++row, d += r.dst_stride, s += r.src_stride, m += r.mask_stride) {
        int x = 0;
        for (; x + 32 <= r.w; x += 32)
            mask_key_group<Wide, kMaskStep, kMix>(d + 3 * x, s + 3 * x, m + kMaskStep * x, wide);
        if (x + 16 <= r.w) {
            mask_key_group<Narrow, kMaskStep, kMix>(d + 3 * x, s + 3 * x, m + kMaskStep * x,
                                                    narrow);
            x += 16;
        }
        for (; x < r.w; ++x)
            if (mask_selects(m[kMaskStep * x], r.lo, r.hi))
                draw_key_pixel(d + 3 * x, s + 3 * x, r.strength);
    }
    _mm256_zeroupper();
}

template <bool kMix>
void color_key_rows(const KeyBlitRect& r) {
    const Params<Wide> wide(r);
    const Params<Narrow> narrow(r);
    uint8_t* d = r.dst;
    const uint8_t* s = r.src;
    for (int row = 0; row < r.h; ++row, d += r.dst_stride, s += r.src_stride) {
        int x = 0;
        for (; x + 32 <= r.w; x += 32) color_key_group<Wide, kMix>(d + 3 * x, s + 3 * x, wide);
        if (x + 16 <= r.w) {
            color_key_group<Narrow, kMix>(d + 3 * x, s + 3 * x, narrow);
            x += 16;
        }
        for (; x < r.w; ++x)
            if (!is_key_black(s + 3 * x)) draw_key_pixel(d + 3 * x, s + 3 * x, r.strength);
    }
    _mm256_zeroupper();
}

}  // namespace

void mask_key_rect_avx2(const KeyBlitRect& r) {
    bool copy = r.strength == 256;
    if (r.mask_step == 1)
        copy ? mask_key_rows<1, false>(r) : mask_key_rows<1, true>(r);
    else
        copy ? mask_key_rows<3, false>(r) : mask_key_rows<3, true>(r);
}

void color_key_rect_avx2(const KeyBlitRect& r) {
    r.strength == 256 ? color_key_rows<false>(r) : color_key_rows<true>(r);
}

}  // namespace mediakit
