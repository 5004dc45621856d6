// Vector steps of the 24-bit row kernels at the AVX2 level. Include it only from *_avx2.cpp
// files: everything here is static or file-local, so each of those files keeps its own copy
// built for AVX2.
//
// The same steps come in two widths with one interface, so that a kernel written once as a
// template does a row's groups of 32 pixels with Wide (three 32-byte vectors) and then one
// group of 16 with Narrow (three 16-byte vectors). Vector k of a group holds its bytes
// kBytes × k .. kBytes × k + kBytes - 1.
#pragma once

#include <immintrin.h>

#include <cstdint>

#include "blit/row24.h"

namespace mediakit {
namespace avx2 {
namespace {

struct Narrow {
    using V = __m128i;
    static constexpr int kBytes = 16;

    static V load(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const V*>(p)); }
    static void store(uint8_t* p, V v) { _mm_storeu_si128(reinterpret_cast<V*>(p), v); }
    static V zero() { return _mm_setzero_si128(); }
    static V splat8(uint8_t b) { return _mm_set1_epi8(static_cast<char>(b)); }
    static V splat16(int32_t w) { return _mm_set1_epi16(static_cast<short>(w)); }
    static V and_(V a, V b) { return _mm_and_si128(a, b); }
    static V or_(V a, V b) { return _mm_or_si128(a, b); }
    static V eq(V a, V b) { return _mm_cmpeq_epi8(a, b); }
    static V sub8(V a, V b) { return _mm_sub_epi8(a, b); }
    static V min8(V a, V b) { return _mm_min_epu8(a, b); }
    static V adds8(V a, V b) { return _mm_adds_epu8(a, b); }
    static V select(V sel, V yes, V no) { return _mm_blendv_epi8(no, yes, sel); }
    /// One bit per byte; kAllBytes when every byte's top bit is set.
    static int bits(V v) { return _mm_movemask_epi8(v); }
    static constexpr int kAllBytes = 0xFFFF;
    static V unpacklo(V a) { return _mm_unpacklo_epi8(a, zero()); }
    static V unpackhi(V a) { return _mm_unpackhi_epi8(a, zero()); }
    static V sub16(V a, V b) { return _mm_sub_epi16(a, b); }
    static V mul16(V a, V b) { return _mm_mullo_epi16(a, b); }
    static V shr16_8(V a) { return _mm_srli_epi16(a, 8); }
    static V pack(V lo, V hi) { return _mm_packus_epi16(lo, hi); }
    static V add8(V a, V b) { return _mm_add_epi8(a, b); }

    /// v moved N bytes towards higher addresses, the N bytes before it taken from prev.
    template <int N>
    static V shift_up(V v, V prev) { return _mm_alignr_epi8(v, prev, 16 - N); }
    /// v moved N bytes towards lower addresses, the N bytes after it taken from next.
    template <int N>
    static V shift_down(V v, V next) { return _mm_alignr_epi8(next, v, N); }

    /// The byte masks of a group from one selection byte per pixel: byte g of the group
    /// takes the byte of its pixel g / 3.
    static void expand_pixels(V per_pixel, V out[3]) {
        for (int k = 0; k < 3; ++k)
            out[k] = _mm_shuffle_epi8(per_pixel, load(kRow24.pixel_of + 16 * k));
    }
};

struct Wide {
    using V = __m256i;
    static constexpr int kBytes = 32;

    static V load(const uint8_t* p) { return _mm256_loadu_si256(reinterpret_cast<const V*>(p)); }
    static void store(uint8_t* p, V v) { _mm256_storeu_si256(reinterpret_cast<V*>(p), v); }
    static V zero() { return _mm256_setzero_si256(); }
    static V splat8(uint8_t b) { return _mm256_set1_epi8(static_cast<char>(b)); }
    static V splat16(int32_t w) { return _mm256_set1_epi16(static_cast<short>(w)); }
    static V and_(V a, V b) { return _mm256_and_si256(a, b); }
    static V or_(V a, V b) { return _mm256_or_si256(a, b); }
    static V eq(V a, V b) { return _mm256_cmpeq_epi8(a, b); }
    static V sub8(V a, V b) { return _mm256_sub_epi8(a, b); }
    static V min8(V a, V b) { return _mm256_min_epu8(a, b); }
    static V adds8(V a, V b) { return _mm256_adds_epu8(a, b); }
    static V select(V sel, V yes, V no) { return _mm256_blendv_epi8(no, yes, sel); }
    static int bits(V v) { return _mm256_movemask_epi8(v); }
    static constexpr int kAllBytes = -1;
    // Unpacking, packing and byte shifts work within each 16-byte lane; every use below
    // pairs an unpack with the pack of the same lane, so bytes come back where they were.
    static V unpacklo(V a) { return _mm256_unpacklo_epi8(a, zero()); }
    static V unpackhi(V a) { return _mm256_unpackhi_epi8(a, zero()); }
    static V sub16(V a, V b) { return _mm256_sub_epi16(a, b); }
    static V mul16(V a, V b) { return _mm256_mullo_epi16(a, b); }
    static V shr16_8(V a) { return _mm256_srli_epi16(a, 8); }
    static V pack(V lo, V hi) { return _mm256_packus_epi16(lo, hi); }
    static V add8(V a, V b) { return _mm256_add_epi8(a, b); }

    // Across the lane boundary: permute2x128 with 0x21 gives [first.high, second.low], the
    // 16 bytes that straddle the two vectors; alignr then shifts each lane of the pair.
    template <int N>
    static V shift_up(V v, V prev) {
        return _mm256_alignr_epi8(v, _mm256_permute2x128_si256(prev, v, 0x21), 16 - N);
    }
    template <int N>
    static V shift_down(V v, V next) {
        return _mm256_alignr_epi8(_mm256_permute2x128_si256(v, next, 0x21), v, N);
    }

    /// Byte g of the 96-byte group takes selection byte g / 3 of the 32. The shuffle only
    /// reaches within a lane, so each output lane gets the lane holding its pixels first:
    /// vector 0 covers pixels 0..10 (all in the low lane), vector 1 pixels 10..21 (low lane,
    /// then high lane), vector 2 pixels 21..31 (all high).
    static void expand_pixels(V per_pixel, V out[3]) {
        V low_twice = _mm256_permute4x64_epi64(per_pixel, 0x44);
        V high_twice = _mm256_permute4x64_epi64(per_pixel, 0xEE);
        out[0] = _mm256_shuffle_epi8(low_twice, load(kRow24.pixel_of));
        out[1] = _mm256_shuffle_epi8(per_pixel, load(kRow24.pixel_of + 32));
        out[2] = _mm256_shuffle_epi8(high_twice, load(kRow24.pixel_of + 64));
    }
};

/// The mixing rule per byte: a + bits 8..15 of (b - a) × w, w16 holding the weight's low 16
/// bits in every 16-bit lane. Unpacked with zeros each byte is a lane 0..255; the lane
/// difference and mullo wrap at 16 bits, which keeps bits 8..15 of the product exact; after
/// the logical shift every lane is 0..255, so the pack never saturates; the byte add wraps
/// as mix_floor keeps its low 8 bits.
template <class T>
typename T::V mix(typename T::V a, typename T::V b, typename T::V w16) {
    typename T::V lo = T::mul16(T::sub16(T::unpacklo(b), T::unpacklo(a)), w16);
    typename T::V hi = T::mul16(T::sub16(T::unpackhi(b), T::unpackhi(a)), w16);
    return T::add8(a, T::pack(T::shr16_8(lo), T::shr16_8(hi)));
}

/// 0xFF in the bytes with lo ≤ v ≤ hi, given lo and span = hi - lo in every byte: v - lo
/// wraps round for v below lo, so it is at most span exactly for the bytes in range.
template <class T>
typename T::V in_range(typename T::V v, typename T::V lo, typename T::V span) {
    typename T::V offset = T::sub8(v, lo);
    return T::eq(T::min8(offset, span), offset);
}

template <class T>
typename T::V pixel_starts(int k) {
    return T::load(kRow24.pixel_start + T::kBytes * k);
}

/// Decisions held at the first byte of each pixel of a group (0 in the other bytes) copied
/// to the pixel's second and third bytes, which may lie in the next vector.
template <class T>
MK_ALWAYS_INLINE void spread_from_starts(const typename T::V at_start[3], typename T::V out[3]) {
    for (int k = 0; k < 3; ++k) {
        typename T::V prev = k ? at_start[k - 1] : T::zero();
        out[k] = T::or_(at_start[k], T::or_(T::template shift_up<1>(at_start[k], prev),
                                            T::template shift_up<2>(at_start[k], prev)));
    }
}

}  // namespace
}  // namespace avx2
}  // namespace mediakit
