// AVX2 kernels of the masked blits: the arithmetic of the SSE2 kernels on 32 bytes per step.
// Bytes are widened to 16-bit lanes within each 128-bit half and packed back within it, so a
// 32-byte step is two independent 16-byte halves. A step of one half (the upper half unused)
// covers what remains of 16 bytes or more; the last bytes of a row go through the scalar
// rule, so no load reaches past the row's last pixel.
//
// Every path ends in out = a + delta, bytewise modulo 256, where delta is the low byte of the
// path's floored quotient: the rule keeps only the low byte of a + quotient.
#include <immintrin.h>

#include <array>

#include "blit/copy.h"
#include "blit/mask_blend.h"

namespace mediakit {
namespace {

__m256i load32(const uint8_t* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }
void store32(uint8_t* p, __m256i v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v); }
// Sixteen bytes in the lower half; the upper half is not looked at.
__m256i load16(const uint8_t* p) {
    return _mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
}
void store16(uint8_t* p, __m256i v) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm256_castsi256_si128(v));
}
__m256i pair(const uint8_t* lower, const uint8_t* upper) {
    return _mm256_inserti128_si256(load16(lower), _mm_loadu_si128(reinterpret_cast<const __m128i*>(upper)), 1);
}

// Bits 8..15 of (b − a) × w from the low 16 bits of the product: with a flooring shift,
// ((b − a) × w) >> 8 has exactly those bits as its low byte.
__m256i delta_low_product(__m256i a, __m256i b, __m256i w) {
    return _mm256_srli_epi16(_mm256_mullo_epi16(_mm256_sub_epi16(b, a), w), 8);
}

// The low byte of floor((b − a) × w / 2^16) for b − a in −255..255 and w in 0..65535:
// mulhi_epu16 reads a negative b − a as b − a + 2^16, which adds exactly w to the high half.
__m256i delta_high_product(__m256i a, __m256i b, __m256i w) {
    __m256i diff = _mm256_sub_epi16(b, a);
    __m256i high = _mm256_mulhi_epu16(diff, w);
    high = _mm256_sub_epi16(high, _mm256_and_si256(_mm256_srai_epi16(diff, 15), w));
    return _mm256_and_si256(high, _mm256_set1_epi16(0xFF));
}

// The operations; see the SSE2 kernels for the identities behind each weight.
//
// Alpha blit at full strength, on both paths: weight m itself, d + ((s − d) × m >> 8). On
// the mmx path strengths 255 and 256 give f = 256 and (mc × 256) >> 8 = mc; on the per-pixel
// path strength 256 is this rule as written.
struct AlphaFull {
    static constexpr bool kSkipZeroMask = true;
    __m256i weight_bytes(__m256i m) const { return m; }
    __m256i weight(__m256i m) const { return m; }
    __m256i delta(__m256i a, __m256i b, __m256i w) const { return delta_low_product(a, b, w); }
    uint8_t scalar(int32_t a, int32_t b, int32_t m) const { return mix_floor(a, b, m); }
};

struct AlphaMmx {
    static constexpr bool kSkipZeroMask = true;
    explicit AlphaMmx(int32_t strength)
        : f(mask_alpha_mmx_factor(strength)), lanes(_mm256_set1_epi16(static_cast<short>(f))) {}
    __m256i weight_bytes(__m256i m) const { return m; }
    __m256i weight(__m256i m) const { return _mm256_srli_epi16(_mm256_mullo_epi16(m, lanes), 8); }
    __m256i delta(__m256i a, __m256i b, __m256i w) const { return delta_low_product(a, b, w); }
    uint8_t scalar(int32_t a, int32_t b, int32_t m) const { return mix_floor(a, b, mask_alpha_mmx_weight(m, f)); }
    uint16_t f;
    __m256i lanes;
};

struct AlphaPixel {
    static constexpr bool kSkipZeroMask = true;
    explicit AlphaPixel(int32_t k_) : k(k_), lanes(_mm256_set1_epi16(static_cast<short>(k_))) {}
    __m256i weight_bytes(__m256i m) const { return m; }
    __m256i weight(__m256i m) const { return _mm256_mullo_epi16(m, lanes); }
    __m256i delta(__m256i a, __m256i b, __m256i w) const { return delta_high_product(a, b, w); }
    uint8_t scalar(int32_t a, int32_t b, int32_t m) const { return mask_alpha_pixel_channel(a, b, m, k); }
    int32_t k;
    __m256i lanes;
};

struct TimeMmx {
    static constexpr bool kSkipZeroMask = false;
    // With u the low 16 bits of t as a signed number, the weight clamp(u − mc, 0, 255) is,
    // in unsigned saturating bytes (⊖): for u ≤ 255, max(u, 0) ⊖ mc; for u > 255, where
    // u − mc > 0 always, 255 − (mc ⊖ L) with L = u − 255 held at 255.
    explicit TimeMmx(int32_t t_) : t(t_) {
        const int32_t u = static_cast<int16_t>(t_);
        rising = u <= 255;
        level = _mm256_set1_epi8(static_cast<char>(rising ? (u < 0 ? 0 : u) : (u - 255 > 255 ? 255 : u - 255)));
    }
    __m256i weight_bytes(__m256i m) const {
        return rising ? _mm256_subs_epu8(level, m) : _mm256_xor_si256(_mm256_subs_epu8(m, level), _mm256_set1_epi8(-1));
    }
    __m256i weight(__m256i m) const { return m; }
    __m256i delta(__m256i a, __m256i b, __m256i w) const { return delta_low_product(a, b, w); }
    uint8_t scalar(int32_t a, int32_t b, int32_t m) const { return mix_floor(a, b, mask_time_mmx_weight(t, m)); }
    int32_t t;
    bool rising;
    __m256i level;
};

struct TimePixel {
    static constexpr bool kSkipZeroMask = false;
    explicit TimePixel(int32_t t_)
        : t(t_), lanes(_mm256_set1_epi16(static_cast<short>(t_ < -1 ? -1 : t_ > 511 ? 511 : t_))) {}
    __m256i weight_bytes(__m256i m) const { return m; }
    __m256i weight(__m256i m) const {
        __m256i a = _mm256_sub_epi16(lanes, m);
        return _mm256_min_epi16(_mm256_max_epi16(a, _mm256_setzero_si256()), _mm256_set1_epi16(256));
    }
    __m256i delta(__m256i a, __m256i b, __m256i w) const { return delta_low_product(a, b, w); }
    uint8_t scalar(int32_t a, int32_t b, int32_t m) const { return mix_floor(a, b, mask_time_pixel_weight(t, m)); }
    int32_t t;
    __m256i lanes;
};

// Output bytes from bytes of a and b and one mask value per byte (mbytes), lane for lane.
template <class Op>
__m256i blend32(const Op& op, __m256i a, __m256i b, __m256i mbytes) {
    const __m256i zero = _mm256_setzero_si256();
    mbytes = op.weight_bytes(mbytes);
    __m256i lo = op.delta(_mm256_unpacklo_epi8(a, zero), _mm256_unpacklo_epi8(b, zero),
                          op.weight(_mm256_unpacklo_epi8(mbytes, zero)));
    __m256i hi = op.delta(_mm256_unpackhi_epi8(a, zero), _mm256_unpackhi_epi8(b, zero),
                          op.weight(_mm256_unpackhi_epi8(mbytes, zero)));
    // Each delta is 0..255, so the unsigned saturation of the pack changes nothing.
    return _mm256_add_epi8(a, _mm256_packus_epi16(lo, hi));
}

// True when every mask value of the step is 0 (bits: 32 bytes, or the lower 16).
bool all_zero(__m256i mbytes, uint32_t bits) {
    uint32_t zeros = static_cast<uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(mbytes, _mm256_setzero_si256())));
    return (zeros & bits) == bits;
}

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

// Writes the lower half, or both, of one step at byte offset i.
template <class Op>
void step(const Op& op, uint8_t* out, const uint8_t* a, const uint8_t* b, int i,
          __m256i mbytes, bool full) {
    if (Op::kSkipZeroMask && all_zero(mbytes, full ? 0xFFFFFFFFu : 0xFFFFu)) return;
    if (full)
        store32(out + i, blend32(op, load32(a + i), load32(b + i), mbytes));
    else
        store16(out + i, blend32(op, load16(a + i), load16(b + i), mbytes));
}

// mmx paths: byte i of a row is weighted by mask byte i, so a row is a plain byte stream.
template <class Op>
void channel_rows(const Planes& p, const Op& op) {
    const int n = 3 * p.w;
    uint8_t* out = p.out;
    const uint8_t *a = p.a, *b = p.b, *m = p.m;
    for (int row = 0; row < p.h; ++row, out += p.out_stride, a += p.a_stride, b += p.b_stride, m += p.m_stride) {
        int i = 0;
        for (; i + 32 <= n; i += 32) step(op, out, a, b, i, load32(m + i), true);
        if (i + 16 <= n) {
            step(op, out, a, b, i, load16(m + i), false);
            i += 16;
        }
        for (; i < n; ++i) out[i] = op.scalar(a[i], b[i], m[i]);
    }
}

// Per-pixel paths. Sixteen pixels are 48 bytes, three 16-byte pieces; a piece's bytes take
// their mask values through a byte shuffle of a 16-byte window of the mask that holds every
// pixel the piece touches. The windows lie inside the sixteen pixels' own mask bytes: for an
// 8-bit mask all three pieces share bytes 0..15; for a 24-bit mask the pieces start at bytes
// 0, 15 and 30 and each byte takes the first (blue) byte of its pixel.
constexpr int kWindow24[3] = {0, 15, 30};

template <int Step>
constexpr std::array<uint8_t, 16> piece_index(int piece) {
    std::array<uint8_t, 16> index{};
    for (int i = 0; i < 16; ++i) {
        int pixel = (16 * piece + i) / 3;
        index[i] = static_cast<uint8_t>(Step == 1 ? pixel : 3 * pixel - kWindow24[piece]);
    }
    return index;
}

template <int Step>
struct PieceIndices {
    // Pieces (0, 1), (2, 0) and (1, 2) in the lower and upper halves: the three 32-byte
    // steps of 32 pixels, whose second sixteen repeat the pattern of the first.
    __m256i steps[3];
    PieceIndices() {
        static constexpr std::array<uint8_t, 16> kPiece[3] = {piece_index<Step>(0), piece_index<Step>(1),
                                                              piece_index<Step>(2)};
        const int halves[3][2] = {{0, 1}, {2, 0}, {1, 2}};
        for (int s = 0; s < 3; ++s) steps[s] = pair(kPiece[halves[s][0]].data(), kPiece[halves[s][1]].data());
    }
};

// The mask window of piece j (0..5) of 32 pixels starting at m.
template <int Step>
const uint8_t* window(const uint8_t* m, int j) {
    return Step == 1 ? m + 16 * (j / 3) : m + 48 * (j / 3) + kWindow24[j % 3];
}

template <int Step, class Op>
void pixel_rows(const Planes& p, const Op& op) {
    const PieceIndices<Step> index;
    uint8_t* out = p.out;
    const uint8_t *a = p.a, *b = p.b, *m = p.m;
    for (int row = 0; row < p.h; ++row, out += p.out_stride, a += p.a_stride, b += p.b_stride, m += p.m_stride) {
        int x = 0;
        for (; x + 32 <= p.w; x += 32) {
            const uint8_t* mx = m + Step * x;
            for (int s = 0; s < 3; ++s) {
                __m256i windows = pair(window<Step>(mx, 2 * s), window<Step>(mx, 2 * s + 1));
                step(op, out, a, b, 3 * x + 32 * s, _mm256_shuffle_epi8(windows, index.steps[s]), true);
            }
        }
        if (x + 16 <= p.w) {
            // Pieces 0 and 1 as one step, piece 2 in the lower half of another.
            const uint8_t* mx = m + Step * x;
            __m256i windows = pair(window<Step>(mx, 0), window<Step>(mx, 1));
            step(op, out, a, b, 3 * x, _mm256_shuffle_epi8(windows, index.steps[0]), true);
            step(op, out, a, b, 3 * x + 32, _mm256_shuffle_epi8(load16(window<Step>(mx, 2)), index.steps[1]), false);
            x += 16;
        }
        for (; x < p.w; ++x) {
            int32_t mv = m[Step * x];
            for (int c = 0; c < 3; ++c) out[3 * x + c] = op.scalar(a[3 * x + c], b[3 * x + c], mv);
        }
    }
    _mm256_zeroupper();
}

template <class Op>
void pixel_rows_any_mask(const MaskRows& r, const Planes& p, const Op& op) {
    if (r.mask_step == 1)
        pixel_rows<1>(p, op);
    else
        pixel_rows<3>(p, op);
}

}  // namespace

void mask_alpha_pixel_avx2(const MaskRows& r, int32_t k) {
    if (k == 256)
        pixel_rows_any_mask(r, alpha_planes(r), AlphaFull());
    else
        pixel_rows_any_mask(r, alpha_planes(r), AlphaPixel(k));
}

void mask_alpha_mmx_avx2(const MaskRows& r, int32_t strength) {
    if (mask_alpha_mmx_factor(strength) == 256)
        channel_rows(alpha_planes(r), AlphaFull());
    else
        channel_rows(alpha_planes(r), AlphaMmx(strength));
    _mm256_zeroupper();
}

void mask_time_pixel_avx2(const MaskRows& r, int32_t t) {
    pixel_rows_any_mask(r, time_planes(r), TimePixel(t));
}

void mask_time_mmx_avx2(const MaskRows& r, int32_t t) {
    if (t >= kMaskTimeEnd) {
        copy_rect24_avx2(r.dst, r.src2, r.w, r.h, r.dst_stride, r.src2_stride);
        return;
    }
    channel_rows(time_planes(r), TimeMmx(t));
    _mm256_zeroupper();
}

}  // namespace mediakit
