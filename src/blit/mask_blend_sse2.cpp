// SSE2 kernels of the masked blits. Pixels are blended as 16-bit lanes, sixteen bytes (or
// sixteen pixels) per step; the last bytes of a row go through the scalar rule, so no load
// reaches past the row's last pixel.
//
// Every path ends in the same step: out = a + delta, bytewise modulo 256, where delta is the
// low byte of the path's floored quotient. Only that byte matters because the rule keeps
// only the low byte of a + quotient.
#include <emmintrin.h>

#include <type_traits>

#include "blit/copy.h"
#include "blit/mask_blend.h"

namespace mediakit {
namespace {

__m128i load(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
void store(uint8_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }

// Bits 8..15 of (b − a) × w, taken from the low 16 bits of the product: with a flooring
// shift, ((b − a) × w) >> 8 has exactly those bits as its low byte.
__m128i delta_low_product(__m128i a, __m128i b, __m128i w) {
    return _mm_srli_epi16(_mm_mullo_epi16(_mm_sub_epi16(b, a), w), 8);
}

// The low byte of floor((b − a) × w / 2^16) for b − a in −255..255 and w in 0..65535.
// mulhi_epu16 reads b − a as unsigned, that is as b − a + 2^16 when it is negative, which
// adds exactly w to the high half; subtracting w there gives the signed-by-unsigned high
// half, floored.
__m128i delta_high_product(__m128i a, __m128i b, __m128i w) {
    __m128i diff = _mm_sub_epi16(b, a);
    __m128i high = _mm_mulhi_epu16(diff, w);
    high = _mm_sub_epi16(high, _mm_and_si128(_mm_srai_epi16(diff, 15), w));
    return _mm_and_si128(high, _mm_set1_epi16(0xFF));
}

// The operations. Each turns mask bytes into weights (weight_bytes where the weight fits a
// byte, then weight on 16-bit lanes), has its lane delta, and its scalar rule for the ends
// of rows.
//
// Alpha blit at full strength, on both paths: weight m itself, d + ((s − d) × m >> 8). On
// the mmx path strengths 255 and 256 give f = 256 and (mc × 256) >> 8 = mc; on the per-pixel
// path strength 256 is this rule as written.
struct AlphaFull {
    static constexpr bool kSkipZeroMask = true;
    __m128i weight_bytes(__m128i m) const { return m; }
    __m128i weight(__m128i m) const { return m; }
    __m128i delta(__m128i a, __m128i b, __m128i w) const { return delta_low_product(a, b, w); }
    uint8_t scalar(int32_t a, int32_t b, int32_t m) const { return mix_floor(a, b, m); }
};

// Alpha blit, mmx path: weight (mc × f) >> 8 on 16 bits; d + ((s − d) × weight >> 8).
struct AlphaMmx {
    static constexpr bool kSkipZeroMask = true;  // a zero mask leaves the destination as it is
    explicit AlphaMmx(int32_t strength) : f(mask_alpha_mmx_factor(strength)), lanes(_mm_set1_epi16(static_cast<short>(f))) {}
    __m128i weight_bytes(__m128i m) const { return m; }
    __m128i weight(__m128i m) const { return _mm_srli_epi16(_mm_mullo_epi16(m, lanes), 8); }
    __m128i delta(__m128i a, __m128i b, __m128i w) const { return delta_low_product(a, b, w); }
    uint8_t scalar(int32_t a, int32_t b, int32_t m) const { return mix_floor(a, b, mask_alpha_mmx_weight(m, f)); }
    uint16_t f;
    __m128i lanes;
};

// Alpha blit, per-pixel path: weight m × k (at most 255 × 256, unsigned 16 bits);
// d + ((s − d) × m × k >> 16). At k = 256 that is d + ((s − d) × m >> 8), as the rule says.
struct AlphaPixel {
    static constexpr bool kSkipZeroMask = true;
    explicit AlphaPixel(int32_t k_) : k(k_), lanes(_mm_set1_epi16(static_cast<short>(k_))) {}
    __m128i weight_bytes(__m128i m) const { return m; }
    __m128i weight(__m128i m) const { return _mm_mullo_epi16(m, lanes); }
    __m128i delta(__m128i a, __m128i b, __m128i w) const { return delta_high_product(a, b, w); }
    uint8_t scalar(int32_t a, int32_t b, int32_t m) const { return mask_alpha_pixel_channel(a, b, m, k); }
    int32_t k;
    __m128i lanes;
};

// Transition, mmx path (t < 511): weight = (low 16 bits of t) − mc with signed saturation,
// held to 0..255; p + ((q − p) × weight >> 8).
struct TimeMmx {
    static constexpr bool kSkipZeroMask = false;
    // With u the low 16 bits of t as a signed number, the weight clamp(u − mc, 0, 255) is,
    // in unsigned saturating bytes (⊖): for u ≤ 255, max(u, 0) ⊖ mc; for u > 255, where
    // u − mc > 0 always, 255 − (mc ⊖ L) with L = u − 255 held at 255.
    explicit TimeMmx(int32_t t_) : t(t_) {
        const int32_t u = static_cast<int16_t>(t_);
        rising = u <= 255;
        level = _mm_set1_epi8(static_cast<char>(rising ? (u < 0 ? 0 : u) : (u - 255 > 255 ? 255 : u - 255)));
    }
    __m128i weight_bytes(__m128i m) const {
        return rising ? _mm_subs_epu8(level, m) : _mm_xor_si128(_mm_subs_epu8(m, level), _mm_set1_epi8(-1));
    }
    __m128i weight(__m128i m) const { return m; }
    __m128i delta(__m128i a, __m128i b, __m128i w) const { return delta_low_product(a, b, w); }
    uint8_t scalar(int32_t a, int32_t b, int32_t m) const { return mix_floor(a, b, mask_time_mmx_weight(t, m)); }
    int32_t t;
    bool rising;
    __m128i level;
};

// Transition, per-pixel path: weight t − m held to 0..256 (0 keeps p, 256 gives q exactly).
// Times below −1 or above 511 weigh like −1 and 511, so t is held there first and t − m
// fits 16 bits.
struct TimePixel {
    static constexpr bool kSkipZeroMask = false;
    explicit TimePixel(int32_t t_)
        : t(t_), lanes(_mm_set1_epi16(static_cast<short>(t_ < -1 ? -1 : t_ > 511 ? 511 : t_))) {}
    __m128i weight_bytes(__m128i m) const { return m; }
    __m128i weight(__m128i m) const {
        __m128i a = _mm_sub_epi16(lanes, m);
        return _mm_min_epi16(_mm_max_epi16(a, _mm_setzero_si128()), _mm_set1_epi16(256));
    }
    __m128i delta(__m128i a, __m128i b, __m128i w) const { return delta_low_product(a, b, w); }
    uint8_t scalar(int32_t a, int32_t b, int32_t m) const { return mix_floor(a, b, mask_time_pixel_weight(t, m)); }
    int32_t t;
    __m128i lanes;
};

// Sixteen output bytes from sixteen bytes of a and b and their lane weights (low 8, high 8).
template <class Op>
__m128i blend16(const Op& op, __m128i a, __m128i b, __m128i w_lo, __m128i w_hi) {
    const __m128i zero = _mm_setzero_si128();
    __m128i lo = op.delta(_mm_unpacklo_epi8(a, zero), _mm_unpacklo_epi8(b, zero), w_lo);
    __m128i hi = op.delta(_mm_unpackhi_epi8(a, zero), _mm_unpackhi_epi8(b, zero), w_hi);
    // Each delta is 0..255, so the unsigned saturation of the pack changes nothing.
    return _mm_add_epi8(a, _mm_packus_epi16(lo, hi));
}

// The rows of one rectangle: out = op(a, b, mask). For the alpha blit a is the destination
// itself; for the transition a and b are the two sources.
struct Planes {
    uint8_t* out;
    const uint8_t* a;
    const uint8_t* b;
    const uint8_t* m;
    ptrdiff_t out_stride, a_stride, b_stride, m_stride;
    int w, h;
};

Planes alpha_planes(const MaskRows& r) {
    return {r.dst, r.dst, r.src, r.mask, r.dst_stride, r.dst_stride, r.src_stride, r.mask_stride, r.w, r.h};
}
Planes time_planes(const MaskRows& r) {
    return {r.dst, r.src, r.src2, r.mask, r.dst_stride, r.src_stride, r.src2_stride, r.mask_stride, r.w, r.h};
}

// mmx paths: byte i of a row is weighted by mask byte i, so a row is a plain byte stream.
template <class Op>
void channel_rows(const Planes& p, const Op& op) {
    const int n = 3 * p.w;
    const __m128i zero = _mm_setzero_si128();
    uint8_t* out = p.out;
    const uint8_t *a = p.a, *b = p.b, *m = p.m;
    for (int row = 0; row < p.h; ++row, out += p.out_stride, a += p.a_stride, b += p.b_stride, m += p.m_stride) {
        int i = 0;
        for (; i + 16 <= n; i += 16) {
            __m128i mv = load(m + i);
            if (Op::kSkipZeroMask && _mm_movemask_epi8(_mm_cmpeq_epi8(mv, zero)) == 0xFFFF) continue;
            __m128i wv = op.weight_bytes(mv);
            __m128i w_lo = op.weight(_mm_unpacklo_epi8(wv, zero));
            __m128i w_hi = op.weight(_mm_unpackhi_epi8(wv, zero));
            store(out + i, blend16(op, load(a + i), load(b + i), w_lo, w_hi));
        }
        for (; i < n; ++i) out[i] = op.scalar(a[i], b[i], m[i]);
    }
}

// Eight pixels' mask values (16-bit lanes m0..m7) spread over their 24 channel lanes:
// [m0 m0 m0 m1 m1 m1 m2 m2] [m2 m3 m3 m3 m4 m4 m4 m5] [m5 m5 m6 m6 m6 m7 m7 m7].
void spread3(__m128i m, __m128i* out) {
    __m128i low = _mm_unpacklo_epi64(m, m);   // m0 m1 m2 m3 m0 m1 m2 m3
    __m128i high = _mm_unpackhi_epi64(m, m);  // m4 m5 m6 m7 m4 m5 m6 m7
    out[0] = _mm_shufflehi_epi16(_mm_shufflelo_epi16(low, _MM_SHUFFLE(1, 0, 0, 0)), _MM_SHUFFLE(2, 2, 1, 1));
    out[1] = _mm_shufflehi_epi16(_mm_shufflelo_epi16(m, _MM_SHUFFLE(3, 3, 3, 2)), _MM_SHUFFLE(1, 0, 0, 0));
    out[2] = _mm_shufflehi_epi16(_mm_shufflelo_epi16(high, _MM_SHUFFLE(2, 2, 1, 1)), _MM_SHUFFLE(3, 3, 3, 2));
}

// The mask values of sixteen pixels as 48 channel lanes (six vectors of eight), from an
// 8-bit mask: one byte per pixel. Returns false when all sixteen are 0.
bool mask_lanes(const uint8_t* m, __m128i* lanes, std::integral_constant<int, 1>) {
    const __m128i zero = _mm_setzero_si128();
    __m128i mv = load(m);
    spread3(_mm_unpacklo_epi8(mv, zero), lanes);
    spread3(_mm_unpackhi_epi8(mv, zero), lanes + 3);
    return _mm_movemask_epi8(_mm_cmpeq_epi8(mv, zero)) != 0xFFFF;
}

// The same from a 24-bit mask, whose first (blue) byte weighs the whole pixel. The 48 mask
// bytes are kept only at the blue positions (0 mod 3), then each kept byte is copied into the
// next two positions by byte shifts; a pixel that straddles two vectors takes its copies from
// the top bytes of the previous one.
bool mask_lanes(const uint8_t* m, __m128i* lanes, std::integral_constant<int, 3>) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i blue[3] = {
        _mm_setr_epi8(-1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1),
        _mm_setr_epi8(0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0),
        _mm_setr_epi8(0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0, -1, 0, 0)};
    __m128i prev = zero, any = zero;
    for (int c = 0; c < 3; ++c) {
        __m128i kept = _mm_and_si128(load(m + 16 * c), blue[c]);
        __m128i spread = _mm_or_si128(kept, _mm_or_si128(_mm_slli_si128(kept, 1), _mm_slli_si128(kept, 2)));
        spread = _mm_or_si128(spread, _mm_or_si128(_mm_srli_si128(prev, 14), _mm_srli_si128(prev, 15)));
        lanes[2 * c] = _mm_unpacklo_epi8(spread, zero);
        lanes[2 * c + 1] = _mm_unpackhi_epi8(spread, zero);
        any = _mm_or_si128(any, kept);
        prev = kept;
    }
    return _mm_movemask_epi8(_mm_cmpeq_epi8(any, zero)) != 0xFFFF;
}

// Per-pixel paths: sixteen pixels (48 bytes) per step, every channel weighted by its pixel's
// mask value.
template <int Step, class Op>
void pixel_rows(const Planes& p, const Op& op) {
    uint8_t* out = p.out;
    const uint8_t *a = p.a, *b = p.b, *m = p.m;
    for (int row = 0; row < p.h; ++row, out += p.out_stride, a += p.a_stride, b += p.b_stride, m += p.m_stride) {
        int x = 0;
        for (; x + 16 <= p.w; x += 16) {
            __m128i lanes[6];
            bool any = mask_lanes(m + Step * x, lanes, std::integral_constant<int, Step>());
            if (Op::kSkipZeroMask && !any) continue;
            for (int c = 0; c < 3; ++c) {
                int i = 3 * x + 16 * c;
                store(out + i, blend16(op, load(a + i), load(b + i), op.weight(lanes[2 * c]),
                                       op.weight(lanes[2 * c + 1])));
            }
        }
        for (; x < p.w; ++x) {
            int32_t mv = m[Step * x];
            for (int c = 0; c < 3; ++c) out[3 * x + c] = op.scalar(a[3 * x + c], b[3 * x + c], mv);
        }
    }
}

template <class Op>
void pixel_rows_any_mask(const MaskRows& r, const Planes& p, const Op& op) {
    if (r.mask_step == 1)
        pixel_rows<1>(p, op);
    else
        pixel_rows<3>(p, op);
}

}  // namespace

void mask_alpha_pixel_sse2(const MaskRows& r, int32_t k) {
    if (k == 256)
        pixel_rows_any_mask(r, alpha_planes(r), AlphaFull());
    else
        pixel_rows_any_mask(r, alpha_planes(r), AlphaPixel(k));
}

void mask_alpha_mmx_sse2(const MaskRows& r, int32_t strength) {
    if (mask_alpha_mmx_factor(strength) == 256)
        channel_rows(alpha_planes(r), AlphaFull());
    else
        channel_rows(alpha_planes(r), AlphaMmx(strength));
}

void mask_time_pixel_sse2(const MaskRows& r, int32_t t) {
    pixel_rows_any_mask(r, time_planes(r), TimePixel(t));
}

void mask_time_mmx_sse2(const MaskRows& r, int32_t t) {
    if (t >= kMaskTimeEnd) {
        copy_rect24_sse2(r.dst, r.src2, r.w, r.h, r.dst_stride, r.src2_stride);
        return;
    }
    channel_rows(time_planes(r), TimeMmx(t));
}

}  // namespace mediakit
