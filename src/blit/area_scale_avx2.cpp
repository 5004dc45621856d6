// The strip kernel of the scaling blit with AVX2: the SSE2 kernel's arithmetic, two
// destination columns per 256-bit register (one in each 128-bit half).
#include <immintrin.h>

#include <cstring>

#include "blit/area_scale.h"

namespace mediakit {
namespace {

void sum_rows(const uint8_t* row, ptrdiff_t stride, int32_t rows, size_t n, uint16_t* out,
              const uint8_t* ahead, int32_t ahead_rows) {
    size_t k = 0;
    for (; k + 32 <= n; k += 32) {
        if ((k & 63) == 0)
            for (int32_t t = 0; t < ahead_rows; ++t)
                _mm_prefetch(reinterpret_cast<const char*>(ahead + t * stride + k), _MM_HINT_T0);
        __m256i lo = _mm256_setzero_si256(), hi = _mm256_setzero_si256();
        const uint8_t* p = row + k;
        for (int32_t t = 0; t < rows; ++t, p += stride) {
            lo = _mm256_add_epi16(lo, _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))));
            hi = _mm256_add_epi16(hi, _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 16))));
        }
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + k), lo);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + k + 16), hi);
    }
    for (; k < n; ++k) {
        uint32_t sum = 0;
        for (int32_t t = 0; t < rows; ++t) sum += row[t * stride + k];
        out[k] = static_cast<uint16_t>(sum);
    }
}

// Cells c and c + 1 of one column in each half, as {B0 B1 G0 G1 R0 R1 n n}: the byte
// shuffle picks lanes 0, 3, 1, 4, 2, 5 of {B0 G0 R0 B1 G1 R1 ..} and zeroes the last two,
// which then take n.
static inline __m256i cell_pairs(const uint16_t* lo, const uint16_t* hi, __m256i order, __m256i n) {
    const __m256i x = _mm256_inserti128_si256(
        _mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(lo))),
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(hi)), 1);
    return _mm256_or_si256(_mm256_shuffle_epi8(x, order), n);
}

// Both halves' {B, G, R} sums over their weight sums, truncating (exact: see the SSE2
// kernel), stored for the columns whose weight sum is not 0. A weight sum of 0 divides
// by 1 instead, so that no lane divides by zero.
template <bool kSmall>
static inline void store_quotients(__m256i sums, uint8_t* q, bool both) {
    const __m256i weight = _mm256_shuffle_epi32(sums, 0xFF);
    const __m256i divisor = _mm256_max_epi32(weight, _mm256_set1_epi32(1));
    __m256i quotients;
    if (kSmall) {
        quotients = _mm256_cvttps_epi32(_mm256_div_ps(_mm256_cvtepi32_ps(sums), _mm256_cvtepi32_ps(divisor)));
    } else {
        const __m128i lo = _mm256_cvttpd_epi32(_mm256_div_pd(_mm256_cvtepi32_pd(_mm256_castsi256_si128(sums)),
                                                             _mm256_cvtepi32_pd(_mm256_castsi256_si128(divisor))));
        const __m128i hi = _mm256_cvttpd_epi32(_mm256_div_pd(_mm256_cvtepi32_pd(_mm256_extracti128_si256(sums, 1)),
                                                             _mm256_cvtepi32_pd(_mm256_extracti128_si256(divisor, 1))));
        quotients = _mm256_inserti128_si256(_mm256_castsi128_si256(lo), hi, 1);
    }
    // Each half packed to bytes {B G R 1 ..}, then the two pixels side by side as
    // {B G R B' G' R'}.
    const __m256i packed = _mm256_packus_epi16(_mm256_packs_epi32(quotients, quotients), quotients);
    const __m128i pixels = _mm_shuffle_epi8(
        _mm256_castsi256_si128(_mm256_permutevar8x32_epi32(packed, _mm256_setr_epi32(0, 4, 0, 0, 0, 0, 0, 0))),
        _mm_setr_epi8(0, 1, 2, 4, 5, 6, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1));
    const int zero = _mm256_movemask_ps(_mm256_castsi256_ps(_mm256_cmpeq_epi32(weight, _mm256_setzero_si256())));
    const uint32_t first4 = static_cast<uint32_t>(_mm_cvtsi128_si32(pixels));
    const uint16_t last2 = static_cast<uint16_t>(_mm_extract_epi16(pixels, 2));
    if (both && zero == 0) {
        std::memcpy(q, &first4, 4);
        std::memcpy(q + 4, &last2, 2);
        return;
    }
    // A pixel that no cell weighs keeps its bytes; an odd last column has no partner.
    if (!(zero & 1)) std::memcpy(q, &first4, 3);
    if (both && !(zero & 0x10)) {
        q[3] = static_cast<uint8_t>(first4 >> 24);
        std::memcpy(q + 4, &last2, 2);
    }
}

template <bool kSmall>
void draw_strip_row(const ScaleStrip& s, const RowPlan& r, const CellTotals& whole,
                    const CellTotals* parts, uint8_t* out) {
    const __m256i order = _mm256_broadcastsi128_si256(
        _mm_setr_epi8(0, 1, 6, 7, 2, 3, 8, 9, 4, 5, 10, 11, -1, -1, -1, -1));
    const int16_t count = static_cast<int16_t>(r.whole_count);
    const __m256i whole_n = _mm256_broadcastsi128_si256(_mm_set_epi16(count, count, 0, 0, 0, 0, 0, 0));
    const __m256i one = _mm256_broadcastsi128_si256(_mm_set_epi16(1, 1, 0, 0, 0, 0, 0, 0));
    const __m256i cover[2] = {_mm256_set1_epi16(static_cast<int16_t>(r.part_cover[0])),
                              _mm256_set1_epi16(static_cast<int16_t>(r.part_cover[1]))};
    // Everything the loop reads is held locally: the byte stores through `out` could
    // otherwise alias the strip and force reloads after every pixel.
    const int32_t pairs = s.pairs, columns = s.columns, part_count = r.parts;
    const bool has_whole = r.whole_count != 0;
    const uint16_t* const whole_lanes = whole.lanes;
    const uint16_t* const part_lanes[2] = {parts[0].lanes, parts[1].lanes};
    const int32_t* first = s.first;
    // Pair p of columns 2m and 2m + 1: 32 bytes at weight_index(2m, p) = (m·pairs + p)·2.
    const __m256i* weights = reinterpret_cast<const __m256i*>(s.weights[0]);
    // Two columns at a time. An odd last column is paired with itself, its partner's
    // weights are 0, and only its own half is stored.
    for (int32_t c = 0; c < columns; c += 2, first += 2, weights += pairs, out += 6) {
        const bool both = c + 1 < columns;
        const size_t at_lo = 3 * static_cast<size_t>(first[0]);
        const size_t at_hi = 3 * static_cast<size_t>(first[both ? 1 : 0]);
        __m256i sums = _mm256_setzero_si256();
        if (has_whole) {
            for (int32_t p = 0; p < pairs; ++p) {
                const __m256i x = cell_pairs(whole_lanes + at_lo + 6 * p, whole_lanes + at_hi + 6 * p, order, whole_n);
                sums = _mm256_add_epi32(sums, _mm256_madd_epi16(x, _mm256_load_si256(weights + p)));
            }
        }
        for (int k = 0; k < part_count; ++k) {
            const uint16_t* lanes = part_lanes[k];
            for (int32_t p = 0; p < pairs; ++p) {
                const __m256i w = _mm256_srli_epi16(_mm256_mullo_epi16(_mm256_load_si256(weights + p), cover[k]), 8);
                const __m256i x = cell_pairs(lanes + at_lo + 6 * p, lanes + at_hi + 6 * p, order, one);
                sums = _mm256_add_epi32(sums, _mm256_madd_epi16(x, w));
            }
        }
        store_quotients<kSmall>(sums, out, both);
    }
}

}  // namespace

void area_scale_avx2(const AreaScale& a) {
    static const StripKernels kKernels = {sum_rows, draw_strip_row<false>, draw_strip_row<true>};
    area_scale_strips(a, kKernels);
}

}  // namespace mediakit
