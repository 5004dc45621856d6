// The strip kernel of the scaling blit with SSE2: rows widened to 16-bit channel totals,
// cells taken two at a time by a 16-bit multiply-add, one column at a time.
#include <emmintrin.h>

#include "blit/area_scale.h"

namespace mediakit {
namespace {

void sum_rows(const uint8_t* row, ptrdiff_t stride, int32_t rows, size_t n, uint16_t* out,
              const uint8_t* ahead, int32_t ahead_rows) {
    const __m128i zero = _mm_setzero_si128();
    size_t k = 0;
    for (; k + 16 <= n; k += 16) {
        if ((k & 63) == 0)
            for (int32_t t = 0; t < ahead_rows; ++t)
                _mm_prefetch(reinterpret_cast<const char*>(ahead + t * stride + k), _MM_HINT_T0);
        __m128i lo = zero, hi = zero;
        const uint8_t* p = row + k;
        for (int32_t t = 0; t < rows; ++t, p += stride) {
            const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
            lo = _mm_add_epi16(lo, _mm_unpacklo_epi8(bytes, zero));
            hi = _mm_add_epi16(hi, _mm_unpackhi_epi8(bytes, zero));
        }
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + k), lo);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + k + 8), hi);
    }
    for (; k < n; ++k) {
        uint32_t sum = 0;
        for (int32_t t = 0; t < rows; ++t) sum += row[t * stride + k];
        out[k] = static_cast<uint16_t>(sum);
    }
}

// Cells c and c + 1 from 16-bit totals at p = lanes + 3c, as {B0 B1 G0 G1 R0 R1 n n}:
// x = {B0 G0 R0 B1 G1 R1 B2 G2}, x >> 3 lanes = {B1 G1 R1 ...}, and interleaving the low
// halves pairs each channel of the two cells; the last two lanes are replaced by n.
static inline __m128i cell_pair(const uint16_t* p, __m128i keep, __m128i n) {
    const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    const __m128i pair = _mm_unpacklo_epi16(x, _mm_srli_si128(x, 6));
    return _mm_or_si128(_mm_and_si128(pair, keep), n);
}

static inline void store_bytes(__m128i quotients, uint8_t* q) {
    const __m128i v = _mm_packus_epi16(_mm_packs_epi32(quotients, quotients), quotients);
    const uint32_t bgr = static_cast<uint32_t>(_mm_cvtsi128_si32(v));
    q[0] = static_cast<uint8_t>(bgr);
    q[1] = static_cast<uint8_t>(bgr >> 8);
    q[2] = static_cast<uint8_t>(bgr >> 16);
}

// {B, G, R} sums over the weight sum W, truncating; nothing when W is 0.
//
// Doubles: sums and W are below 2^31 and exact, a quotient below 256 is rounded by less
// than 2^-45, and a fraction lies at least 1/W > 2^-31 from the next integer, so the
// truncated quotient is the integer one.
//
// Singles (W < 65536): sums are below 2^24 and exact; a quotient below 256 is rounded by
// at most one unit in its last place, 2^-16 (half that when rounding to nearest), while a
// fraction lies at least 1/W > 2^-16 from the next integer: again exact.
template <bool kSmall>
static inline void store_quotient(__m128i sums, uint8_t* q) {
    const __m128i weight = _mm_shuffle_epi32(sums, 0xFF);
    if (_mm_cvtsi128_si32(weight) == 0) return;
    if (kSmall) {
        store_bytes(_mm_cvttps_epi32(_mm_div_ps(_mm_cvtepi32_ps(sums), _mm_cvtepi32_ps(weight))), q);
    } else {
        const __m128d w = _mm_cvtepi32_pd(weight);
        const __m128i bg = _mm_cvttpd_epi32(_mm_div_pd(_mm_cvtepi32_pd(sums), w));
        const __m128i rw = _mm_cvttpd_epi32(_mm_div_pd(_mm_cvtepi32_pd(_mm_shuffle_epi32(sums, 0xEE)), w));
        store_bytes(_mm_unpacklo_epi64(bg, rw), q);
    }
}

template <bool kSmall>
void draw_strip_row(const ScaleStrip& s, const RowPlan& r, const CellTotals& whole,
                    const CellTotals* parts, uint8_t* out) {
    const __m128i keep = _mm_set_epi16(0, 0, -1, -1, -1, -1, -1, -1);
    const int16_t count = static_cast<int16_t>(r.whole_count);
    const __m128i whole_n = _mm_set_epi16(count, count, 0, 0, 0, 0, 0, 0);
    const __m128i one = _mm_set_epi16(1, 1, 0, 0, 0, 0, 0, 0);
    const __m128i cover[2] = {_mm_set1_epi16(static_cast<int16_t>(r.part_cover[0])),
                              _mm_set1_epi16(static_cast<int16_t>(r.part_cover[1]))};
    // Everything the loop reads is held locally: the byte stores through `out` could
    // otherwise alias the strip and force reloads after every pixel.
    const int32_t pairs = s.pairs, columns = s.columns, part_count = r.parts;
    const bool has_whole = r.whole_count != 0;
    const uint16_t* const whole_lanes = whole.lanes;
    const uint16_t* const part_lanes[2] = {parts[0].lanes, parts[1].lanes};
    for (int32_t c = 0; c < columns; ++c, out += 3) {
        // Pairs of one column lie two vectors apart.
        const __m128i* weights = reinterpret_cast<const __m128i*>(s.weights[s.weight_index(c, 0)]);
        const size_t at = 3 * static_cast<size_t>(s.first[c]);
        __m128i sums = _mm_setzero_si128();
        // Whole rows: the weight is cover_x, applied to totals of whole_count rows, so the
        // weight lanes add whole_count · cover_x to the weight sum.
        if (has_whole) {
            for (int32_t p = 0; p < pairs; ++p)
                sums = _mm_add_epi32(sums, _mm_madd_epi16(cell_pair(whole_lanes + at + 6 * p, keep, whole_n),
                                                          _mm_load_si128(weights + 2 * p)));
        }
        // Partial rows: (cover_x · cover_y) >> 8 per cell; the product is below 2^16 (a
        // partial cover is below 256), so the low 16 bits shifted right are exact.
        for (int k = 0; k < part_count; ++k) {
            const uint16_t* lanes = part_lanes[k];
            for (int32_t p = 0; p < pairs; ++p) {
                const __m128i w = _mm_srli_epi16(_mm_mullo_epi16(_mm_load_si128(weights + 2 * p), cover[k]), 8);
                sums = _mm_add_epi32(sums, _mm_madd_epi16(cell_pair(lanes + at + 6 * p, keep, one), w));
            }
        }
        store_quotient<kSmall>(sums, out);
    }
}

}  // namespace

void area_scale_sse2(const AreaScale& a) {
    static const StripKernels kKernels = {sum_rows, draw_strip_row<false>, draw_strip_row<true>};
    area_scale_strips(a, kKernels);
}

}  // namespace mediakit
