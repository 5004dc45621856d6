// Stamp runs 16 bytes at a time. Every byte becomes d + floor((t - d) × w / 65536) with a
// 16-bit weight w per byte: alpha × 256 for an unmasked run (alpha 0..255, which is the
// rule's d + ((t - d) × alpha >> 8)), m0 × alpha for a masked one (alpha 0..256, at most
// 65280; 0 where the mask stops the pixel, which leaves it as it was). An unmasked alpha
// of 256 is a plain fill or copy. Any other alpha goes to the reference.
//
// Runs are cut into blocks of 16 bytes (unmasked) or chunks of 16 pixels (masked). A run
// that does not end on a block ends with one more block, overlapping the one before it,
// that was loaded and blended from the run's original bytes before anything was stored:
// it stores the same values again where it overlaps, and nothing past the run is touched.
// Runs shorter than one block go to the reference.
#include <emmintrin.h>

#include <algorithm>
#include <cstring>

#include "effects/stamp_span.h"

namespace mediakit {
namespace {

// floor(a × w / 65536) for a in -255..255 and w in 0..65535. _mm_mulhi_epi16 reads a w of
// 32768 or more as w - 65536, which takes a off the floored product; the lanes whose
// weight has its top bit set get a added back.
inline __m128i scaled(__m128i a, __m128i w) {
    return _mm_add_epi16(_mm_mulhi_epi16(a, w), _mm_and_si128(a, _mm_srai_epi16(w, 15)));
}

// 16 bytes of d moved towards t, with the weights of bytes 0..7 and 8..15.
inline __m128i blend16(__m128i d, __m128i t, __m128i wlo, __m128i whi) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i dlo = _mm_unpacklo_epi8(d, zero), dhi = _mm_unpackhi_epi8(d, zero);
    const __m128i alo = _mm_sub_epi16(_mm_unpacklo_epi8(t, zero), dlo);
    const __m128i ahi = _mm_sub_epi16(_mm_unpackhi_epi8(t, zero), dhi);
    // The results lie between d and t, so the saturating pack keeps them as they are.
    return _mm_packus_epi16(_mm_add_epi16(dlo, scaled(alo, wlo)), _mm_add_epi16(dhi, scaled(ahi, whi)));
}

inline __m128i load(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
inline void store(uint8_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }

inline __m128i weight_vector(int32_t w) {
    return _mm_set1_epi16(static_cast<int16_t>(static_cast<uint16_t>(w)));
}

// The 16 target bytes of a block starting at byte k of a colour run: the colour repeats
// every three bytes, so they are the 16 bytes of the pattern from k % 3.
inline __m128i colour_block(const uint8_t* pattern, size_t k) { return load(pattern + k % 3); }

// An unmasked run: target(k) gives the 16 target bytes from byte k.
template <class Target>
void constant_run(uint8_t* d, size_t bytes, __m128i w, Target target) {
    const size_t last = bytes - 16;
    const __m128i tail = blend16(load(d + last), target(last), w, w);
    for (size_t k = 0; k < last; k += 16) store(d + k, blend16(load(d + k), target(k), w, w));
    store(d + last, tail);
}

void colour_sse2(uint8_t* d, const uint8_t* pattern, int32_t alpha, int64_t n) {
    if (alpha < 0 || alpha > 256 || n < 6) return kStampSpanRef.colour(d, pattern, alpha, n);
    const size_t bytes = 3 * static_cast<size_t>(n);
    if (alpha == 256) {
        for (size_t k = 0; k + 16 <= bytes; k += 16) store(d + k, colour_block(pattern, k));
        store(d + bytes - 16, colour_block(pattern, bytes - 16));
        return;
    }
    constant_run(d, bytes, weight_vector(alpha * 256), [&](size_t k) { return colour_block(pattern, k); });
}

void image_sse2(uint8_t* d, const uint8_t* s, int32_t alpha, int64_t n) {
    if (alpha < 0 || alpha > 256 || n < 6) return kStampSpanRef.image(d, s, alpha, n);
    const size_t bytes = 3 * static_cast<size_t>(n);
    if (alpha == 256) {
        std::memcpy(d, s, bytes);
        return;
    }
    constant_run(d, bytes, weight_vector(alpha * 256), [&](size_t k) { return load(s + k); });
}

// The weights of the 16 pixels from pixel p, eight to a vector. They go straight into
// vector lanes: small stores read back as a vector would stall the load.
template <class Weight>
inline void chunk_weights(int64_t p, Weight weight, __m128i* lo, __m128i* hi) {
    auto w = [&](int q) { return static_cast<int>(weight(p + q)); };
    __m128i a = _mm_cvtsi32_si128(w(0)), b = _mm_cvtsi32_si128(w(8));
    a = _mm_insert_epi16(a, w(1), 1), b = _mm_insert_epi16(b, w(9), 1);
    a = _mm_insert_epi16(a, w(2), 2), b = _mm_insert_epi16(b, w(10), 2);
    a = _mm_insert_epi16(a, w(3), 3), b = _mm_insert_epi16(b, w(11), 3);
    a = _mm_insert_epi16(a, w(4), 4), b = _mm_insert_epi16(b, w(12), 4);
    a = _mm_insert_epi16(a, w(5), 5), b = _mm_insert_epi16(b, w(13), 5);
    a = _mm_insert_epi16(a, w(6), 6), b = _mm_insert_epi16(b, w(14), 6);
    a = _mm_insert_epi16(a, w(7), 7), b = _mm_insert_epi16(b, w(15), 7);
    *lo = a;
    *hi = b;
}

// Pixel weights w0..w15 (lo: w0..w7, hi: w8..w15) spread over the bytes of block b of
// their 48 bytes, as the weights of its bytes 0..7 and 8..15: block 0 is
// (w0 w0 w0 w1 w1 w1 w2 w2) (w2 w3 w3 w3 w4 w4 w4 w5), block 1 (w5 w5 w6 w6 w6 w7 w7 w7)
// (w8 w8 w8 w9 ...), block 2 (... w13) (w13 w13 w14 w14 w14 w15 w15 w15). Each block
// works out only its own two vectors, which keeps eight registers enough on 32-bit x86.
inline void block_weights(__m128i lo, __m128i hi, int b, __m128i* wlo, __m128i* whi) {
    // (x0 x0 x0 x1 x1 x1 x2 x2), (x2 x3 x3 x3 x4 x4 x4 x5), (x5 x5 x6 x6 x6 x7 x7 x7) of x.
    auto first = [](__m128i x) {
        return _mm_unpacklo_epi64(_mm_shufflelo_epi16(x, _MM_SHUFFLE(1, 0, 0, 0)),
                                  _mm_shufflelo_epi16(x, _MM_SHUFFLE(2, 2, 1, 1)));
    };
    auto second = [](__m128i x) {
        return _mm_castpd_si128(_mm_move_sd(_mm_castsi128_pd(_mm_shufflehi_epi16(x, _MM_SHUFFLE(1, 0, 0, 0))),
                                            _mm_castsi128_pd(_mm_shufflelo_epi16(x, _MM_SHUFFLE(3, 3, 3, 2)))));
    };
    auto third = [](__m128i x) {
        return _mm_unpackhi_epi64(_mm_shufflehi_epi16(x, _MM_SHUFFLE(2, 2, 1, 1)),
                                  _mm_shufflehi_epi16(x, _MM_SHUFFLE(3, 3, 3, 2)));
    };
    switch (b) {
        case 0: *wlo = first(lo), *whi = second(lo); break;
        case 1: *wlo = third(lo), *whi = first(hi); break;
        default: *wlo = second(hi), *whi = third(hi); break;
    }
}

// Block b of the 16-pixel chunk at pixel p, blended.
template <class Target>
inline __m128i chunk_block(const uint8_t* d, int64_t p, int b, __m128i lo, __m128i hi, Target target) {
    const size_t k = 3 * static_cast<size_t>(p) + 16 * static_cast<size_t>(b);
    __m128i wlo, whi;
    block_weights(lo, hi, b, &wlo, &whi);
    return blend16(load(d + k), target(k), wlo, whi);
}

// A masked run of at least 16 pixels, 16 pixels (three blocks) at a time. target(k) gives
// the 16 target bytes from byte k; chunks start at pixel boundaries.
template <class Weight, class Target>
void masked_run(uint8_t* d, int64_t n, Weight weight, Target target) {
    const int64_t last = n - 16;
    __m128i lo, hi;
    chunk_weights(last, weight, &lo, &hi);
    const __m128i tail0 = chunk_block(d, last, 0, lo, hi, target);
    const __m128i tail1 = chunk_block(d, last, 1, lo, hi, target);
    const __m128i tail2 = chunk_block(d, last, 2, lo, hi, target);
    for (int64_t p = 0; p < last; p += 16) {
        chunk_weights(p, weight, &lo, &hi);
        for (int b = 0; b < 3; ++b) store(d + 3 * p + 16 * b, chunk_block(d, p, b, lo, hi, target));
    }
    store(d + 3 * last, tail0);
    store(d + 3 * last + 16, tail1);
    store(d + 3 * last + 32, tail2);
}

void colour_mask_sse2(uint8_t* d, const uint8_t* pattern, const uint8_t* m, int32_t alpha, int64_t n) {
    if (alpha < 0 || alpha > 256 || n < 16) return kStampSpanRef.colour_mask(d, pattern, m, alpha, n);
    masked_run(
        d, n, [&](int64_t p) { return m[3 * p] * alpha; },
        [&](size_t k) { return colour_block(pattern, k); });
}

void image_mask_sse2(uint8_t* d, const uint8_t* s, const uint8_t* m, int32_t alpha, int64_t n) {
    if (alpha < 0 || alpha > 256 || n < 16) return kStampSpanRef.image_mask(d, s, m, alpha, n);
    masked_run(
        d, n, [&](int64_t p) { return image_mask_passes(m + 3 * p) ? m[3 * p] * alpha : 0; },
        [&](size_t k) { return load(s + k); });
}

}  // namespace

const StampSpanKernels kStampSpanSse2 = {colour_sse2, colour_mask_sse2, image_sse2, image_mask_sse2};

}  // namespace mediakit
