// Vector steps of the 24-bit row kernels at the SSE2 level. Include it only from *_sse2.cpp
// files: every helper is static, so each of those files keeps its own copy built for SSE2.
//
// A group is 16 pixels, 48 bytes, three vectors; vector k holds bytes 16k..16k+15 of the
// group and its first pixel is 5k (16k / 3 rounded down).
#pragma once

#include <emmintrin.h>

#include <cstdint>

#include "blit/row24.h"

namespace mediakit {
namespace sse2 {

static inline __m128i load(const uint8_t* p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}
static inline void store(uint8_t* p, __m128i v) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v);
}

/// The weight's low 16 bits in every 16-bit lane: all that mix() uses of it.
static inline __m128i weight_lanes(int32_t w) {
    return _mm_set1_epi16(static_cast<short>(w));
}

/// The mixing rule on 16 bytes: a + bits 8..15 of (b - a) × w per byte. Unpacked with zeros
/// each byte is a lane 0..255; the lane difference and mullo wrap at 16 bits, which keeps
/// bits 8..15 of the product exact; after the logical shift every lane is 0..255, so the
/// pack never saturates; the byte add wraps as mix_floor keeps its low 8 bits.
static inline __m128i mix(__m128i a, __m128i b, __m128i w16) {
    const __m128i zero = _mm_setzero_si128();
    __m128i lo = _mm_mullo_epi16(
        _mm_sub_epi16(_mm_unpacklo_epi8(b, zero), _mm_unpacklo_epi8(a, zero)), w16);
    __m128i hi = _mm_mullo_epi16(
        _mm_sub_epi16(_mm_unpackhi_epi8(b, zero), _mm_unpackhi_epi8(a, zero)), w16);
    return _mm_add_epi8(a, _mm_packus_epi16(_mm_srli_epi16(lo, 8), _mm_srli_epi16(hi, 8)));
}

/// 0xFF in the bytes with lo ≤ v ≤ hi, given lo and span = hi - lo in every byte: v - lo
/// wraps round for v below lo, so it is at most span exactly for the bytes in range.
static inline __m128i in_range(__m128i v, __m128i lo, __m128i span) {
    __m128i offset = _mm_sub_epi8(v, lo);
    return _mm_cmpeq_epi8(_mm_min_epu8(offset, span), offset);
}

/// Bytes of yes where sel is 0xFF, of no where it is 0.
static inline __m128i select(__m128i sel, __m128i yes, __m128i no) {
    return _mm_or_si128(_mm_and_si128(sel, yes), _mm_andnot_si128(sel, no));
}

/// v moved N bytes towards higher addresses, the N bytes before it taken from prev.
template <int N>
static inline __m128i shift_up(__m128i v, __m128i prev) {
    return _mm_or_si128(_mm_slli_si128(v, N), _mm_srli_si128(prev, 16 - N));
}

/// v moved N bytes towards lower addresses, the N bytes after it taken from next.
template <int N>
static inline __m128i shift_down(__m128i v, __m128i next) {
    return _mm_or_si128(_mm_srli_si128(v, N), _mm_slli_si128(next, 16 - N));
}

static inline __m128i pixel_starts(int k) { return load(kRow24.pixel_start + 16 * k); }

/// Decisions held at the first byte of each pixel of a group (0 in the other bytes) copied
/// to the pixel's second and third bytes, which may lie in the next vector.
static MK_ALWAYS_INLINE void spread_from_starts(const __m128i at_start[3], __m128i out[3]) {
    const __m128i zero = _mm_setzero_si128();
    for (int k = 0; k < 3; ++k) {
        __m128i prev = k ? at_start[k - 1] : zero;
        out[k] = _mm_or_si128(at_start[k], _mm_or_si128(shift_up<1>(at_start[k], prev),
                                                        shift_up<2>(at_start[k], prev)));
    }
}

/// Byte masks of a group from one bit per pixel: kExpandBits.v[k][b] is vector k's mask
/// when b holds the bits of its six pixels 5k..5k+5.
struct ExpandBits {
    alignas(16) uint8_t v[3][64][16];
};

constexpr ExpandBits make_expand_bits() {
    ExpandBits t{};
    for (int k = 0; k < 3; ++k)
        for (int bits = 0; bits < 64; ++bits)
            for (int i = 0; i < 16; ++i)
                t.v[k][bits][i] = (bits >> ((16 * k + i) / 3 - 5 * k)) & 1 ? 0xFF : 0;
    return t;
}

alignas(16) inline constexpr ExpandBits kExpandBits = make_expand_bits();

/// The byte masks of a group from the 16 selection bytes of its pixels (one per pixel).
static MK_ALWAYS_INLINE void expand_pixels(__m128i per_pixel, __m128i out[3]) {
    int bits = _mm_movemask_epi8(per_pixel);
    for (int k = 0; k < 3; ++k) out[k] = load(kExpandBits.v[k][(bits >> (5 * k)) & 63]);
}

}  // namespace sse2
}  // namespace mediakit
