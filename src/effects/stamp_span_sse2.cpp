// Stamp runs 16 bytes at a time. Every byte becomes d + floor((t - d) × w / 65536) with a
// 16-bit weight w per byte: alpha × 256 for an unmasked run (alpha 0..255, which is the
// rule's d + ((t - d) × alpha >> 8)), m0 × alpha for a masked one (alpha 0..256, at most
// 65280; 0 where the mask stops the pixel, which leaves it as it was). An unmasked alpha
// of 256 is a plain fill or copy. Any other alpha goes to the reference.
//
// Runs are cut into blocks of 16 bytes (unmasked) or 16 pixels (masked); the last, short
// block is blended in a copy on the stack so that nothing past the run is touched.
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

void colour_sse2(uint8_t* d, const uint8_t* pattern, int32_t alpha, int64_t n) {
    if (alpha < 0 || alpha > 256) return kStampSpanRef.colour(d, pattern, alpha, n);
    const size_t bytes = 3 * static_cast<size_t>(n);
    size_t k = 0;
    if (alpha == 256) {
        for (; k + 16 <= bytes; k += 16) store(d + k, colour_block(pattern, k));
        std::memcpy(d + k, pattern + k % 3, bytes - k);
        return;
    }
    const __m128i w = weight_vector(alpha * 256);
    for (; k + 16 <= bytes; k += 16) store(d + k, blend16(load(d + k), colour_block(pattern, k), w, w));
    if (k < bytes) {
        uint8_t tmp[16];
        std::memcpy(tmp, d + k, bytes - k);
        store(tmp, blend16(load(tmp), colour_block(pattern, k), w, w));
        std::memcpy(d + k, tmp, bytes - k);
    }
}

void image_sse2(uint8_t* d, const uint8_t* s, int32_t alpha, int64_t n) {
    if (alpha < 0 || alpha > 256) return kStampSpanRef.image(d, s, alpha, n);
    const size_t bytes = 3 * static_cast<size_t>(n);
    if (alpha == 256) {
        std::memcpy(d, s, bytes);
        return;
    }
    const __m128i w = weight_vector(alpha * 256);
    size_t k = 0;
    for (; k + 16 <= bytes; k += 16) store(d + k, blend16(load(d + k), load(s + k), w, w));
    if (k < bytes) {
        uint8_t td[16], ts[16];
        std::memcpy(td, d + k, bytes - k);
        std::memcpy(ts, s + k, bytes - k);
        store(td, blend16(load(td), load(ts), w, w));
        std::memcpy(d + k, td, bytes - k);
    }
}

// Eight per-pixel weights w0..w7 spread over the 24 bytes of their pixels, as three
// vectors of eight byte weights: (w0 w0 w0 w1 w1 w1 w2 w2) (w2 w3 w3 w3 w4 w4 w4 w5)
// (w5 w5 w6 w6 w6 w7 w7 w7).
inline void spread_weights(__m128i w, __m128i out[3]) {
    const __m128i a = _mm_shufflelo_epi16(w, _MM_SHUFFLE(1, 0, 0, 0));
    const __m128i b = _mm_shufflelo_epi16(w, _MM_SHUFFLE(2, 2, 1, 1));
    out[0] = _mm_unpacklo_epi64(a, b);
    const __m128i c = _mm_shufflelo_epi16(w, _MM_SHUFFLE(3, 3, 3, 2));
    const __m128i d = _mm_shufflehi_epi16(w, _MM_SHUFFLE(1, 0, 0, 0));
    out[1] = _mm_castpd_si128(_mm_move_sd(_mm_castsi128_pd(d), _mm_castsi128_pd(c)));
    const __m128i e = _mm_shufflehi_epi16(w, _MM_SHUFFLE(2, 2, 1, 1));
    const __m128i f = _mm_shufflehi_epi16(w, _MM_SHUFFLE(3, 3, 3, 2));
    out[2] = _mm_unpackhi_epi64(e, f);
}

// A masked run, 16 pixels (48 bytes, three blocks) at a time: the weights are worked out
// pixel by pixel, then spread over each pixel's three bytes. target(p, b, count) gives the
// target bytes of block b of the chunk at pixel p (chunks start at pixel boundaries).
template <class Weight, class Target>
void masked_run(uint8_t* d, int64_t n, Weight weight, Target target) {
    for (int64_t p = 0; p < n; p += 16) {
        const int count = static_cast<int>(std::min<int64_t>(16, n - p));
        // The weights go straight into the vectors: small stores read back as a vector
        // would stall the load.
        auto w = [&](int q) { return q < count ? static_cast<int>(weight(p + q)) : 0; };
        __m128i lo = _mm_cvtsi32_si128(w(0)), hi = _mm_cvtsi32_si128(w(8));
        lo = _mm_insert_epi16(lo, w(1), 1), hi = _mm_insert_epi16(hi, w(9), 1);
        lo = _mm_insert_epi16(lo, w(2), 2), hi = _mm_insert_epi16(hi, w(10), 2);
        lo = _mm_insert_epi16(lo, w(3), 3), hi = _mm_insert_epi16(hi, w(11), 3);
        lo = _mm_insert_epi16(lo, w(4), 4), hi = _mm_insert_epi16(hi, w(12), 4);
        lo = _mm_insert_epi16(lo, w(5), 5), hi = _mm_insert_epi16(hi, w(13), 5);
        lo = _mm_insert_epi16(lo, w(6), 6), hi = _mm_insert_epi16(hi, w(14), 6);
        lo = _mm_insert_epi16(lo, w(7), 7), hi = _mm_insert_epi16(hi, w(15), 7);
        __m128i wb[6];
        spread_weights(lo, wb);
        spread_weights(hi, wb + 3);
        uint8_t tmp[48] = {};
        const size_t bytes = 3 * static_cast<size_t>(count);
        uint8_t* out = count == 16 ? d + 3 * p : tmp;
        if (count < 16) std::memcpy(tmp, d + 3 * p, bytes);
        for (int b = 0; b < 3; ++b)
            store(out + 16 * b, blend16(load(out + 16 * b), target(p, b, count), wb[2 * b], wb[2 * b + 1]));
        if (count < 16) std::memcpy(d + 3 * p, tmp, bytes);
    }
}

void colour_mask_sse2(uint8_t* d, const uint8_t* pattern, const uint8_t* m, int32_t alpha, int64_t n) {
    if (alpha < 0 || alpha > 256) return kStampSpanRef.colour_mask(d, pattern, m, alpha, n);
    masked_run(
        d, n, [&](int64_t p) { return m[3 * p] * alpha; },
        [&](int64_t, int b, int) { return colour_block(pattern, 16 * static_cast<size_t>(b)); });
}

void image_mask_sse2(uint8_t* d, const uint8_t* s, const uint8_t* m, int32_t alpha, int64_t n) {
    if (alpha < 0 || alpha > 256) return kStampSpanRef.image_mask(d, s, m, alpha, n);
    uint8_t tail[48] = {};
    masked_run(
        d, n, [&](int64_t p) { return image_mask_passes(m + 3 * p) ? m[3 * p] * alpha : 0; },
        [&](int64_t p, int b, int count) {
            if (count == 16) return load(s + 3 * p + 16 * b);
            if (b == 0) std::memcpy(tail, s + 3 * p, 3 * static_cast<size_t>(count));
            return load(tail + 16 * b);
        });
}

}  // namespace

const StampSpanKernels kStampSpanSse2 = {colour_sse2, colour_mask_sse2, image_sse2, image_mask_sse2};

}  // namespace mediakit
