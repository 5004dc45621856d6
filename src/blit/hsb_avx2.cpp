// The hue and saturation steps with AVX2, four pixels at a time: channels in 32-bit
// lanes, the double steps of the plain rules in four double lanes, in the same order,
// and every branch of a rule computed and chosen by masks. Tails use the plain rules.
#include <immintrin.h>

#include <cstring>

#include "blit/hsb.h"

namespace mediakit {
namespace {

struct Quad {
    __m128i b, g, r;  // four pixels' channels, one per 32-bit lane
};

static inline Quad load_quad(const uint8_t* p) {
    uint32_t tail;
    std::memcpy(&tail, p + 8, 4);
    const __m128i bytes = _mm_unpacklo_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)),
                                             _mm_cvtsi32_si128(static_cast<int>(tail)));
    return {_mm_shuffle_epi8(bytes, _mm_setr_epi8(0, -1, -1, -1, 3, -1, -1, -1, 6, -1, -1, -1, 9, -1, -1, -1)),
            _mm_shuffle_epi8(bytes, _mm_setr_epi8(1, -1, -1, -1, 4, -1, -1, -1, 7, -1, -1, -1, 10, -1, -1, -1)),
            _mm_shuffle_epi8(bytes, _mm_setr_epi8(2, -1, -1, -1, 5, -1, -1, -1, 8, -1, -1, -1, 11, -1, -1, -1))};
}

// Stores the low 8 bits of each lane as the four pixels' bytes.
static inline void store_quad(uint8_t* p, __m128i b, __m128i g, __m128i r) {
    const __m128i low = _mm_set1_epi32(0xFF);
    const __m128i bg = _mm_packus_epi32(_mm_and_si128(b, low), _mm_and_si128(g, low));
    const __m128i rr = _mm_packus_epi32(_mm_and_si128(r, low), _mm_and_si128(r, low));
    // {b0..b3 g0..g3 r0..r3 ..} interleaved to {b0 g0 r0 b1 g1 r1 ..}.
    const __m128i bytes = _mm_shuffle_epi8(_mm_packus_epi16(bg, rr),
                                           _mm_setr_epi8(0, 4, 8, 1, 5, 9, 2, 6, 10, 3, 7, 11, -1, -1, -1, -1));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(p), bytes);
    const uint32_t tail = static_cast<uint32_t>(_mm_cvtsi128_si32(_mm_srli_si128(bytes, 8)));
    std::memcpy(p + 8, &tail, 4);
}

static inline __m256d to_double(__m128i v) { return _mm256_cvtepi32_pd(v); }

// A 32-bit lane mask widened to the double lanes.
static inline __m256d wide_mask(__m128i m) { return _mm256_castsi256_pd(_mm256_cvtepi32_epi64(m)); }

// round(v · 255) of each lane: v · 255 + 0.5 truncated; NaN and out-of-range values give
// 0x80000000, as trunc_i32 does.
static inline __m128i round255(__m256d v) {
    return _mm256_cvttpd_epi32(_mm256_add_pd(_mm256_mul_pd(v, _mm256_set1_pd(255)), _mm256_set1_pd(0.5)));
}

static inline __m128i pick(__m128i mask, __m128i yes, __m128i no) { return _mm_blendv_epi8(no, yes, mask); }

void hue_quad(uint8_t* p, const HsbArgs& args) {
    const Quad px = load_quad(p);
    const __m256d k = _mm256_set1_pd(kInv255), one = _mm256_set1_pd(1);
    const __m128i max_i = _mm_max_epi32(_mm_max_epi32(px.r, px.g), px.b);
    const __m128i min_i = _mm_min_epi32(_mm_min_epi32(px.r, px.g), px.b);
    // Bytes and their doubles order alike (byte · (1/255) is increasing), so the largest
    // double is the largest byte's, and a channel equals the maximum when its byte does.
    const __m256d r = _mm256_mul_pd(to_double(px.r), k), g = _mm256_mul_pd(to_double(px.g), k),
                  b = _mm256_mul_pd(to_double(px.b), k);
    const __m256d v = _mm256_mul_pd(to_double(max_i), k);
    const __m256d delta = _mm256_sub_pd(v, _mm256_mul_pd(to_double(min_i), k));
    // Greys (delta 0, which includes max 0) have S = 0 and hue 0; their lanes divide by 1
    // instead, and the results are replaced.
    const __m128i grey_i = _mm_cmpeq_epi32(max_i, min_i);
    const __m256d grey = wide_mask(grey_i);
    const __m256d max_safe = _mm256_blendv_pd(v, one, wide_mask(_mm_cmpeq_epi32(max_i, _mm_setzero_si128())));
    const __m256d delta_safe = _mm256_blendv_pd(delta, one, grey);
    __m256d s = _mm256_div_pd(delta, max_safe);
    const __m256d rc = _mm256_div_pd(_mm256_sub_pd(v, r), delta_safe);
    const __m256d gc = _mm256_div_pd(_mm256_sub_pd(v, g), delta_safe);
    const __m256d bc = _mm256_div_pd(_mm256_sub_pd(v, b), delta_safe);
    __m256d hc = _mm256_sub_pd(_mm256_add_pd(_mm256_set1_pd(4), gc), rc);
    hc = _mm256_blendv_pd(hc, _mm256_sub_pd(_mm256_add_pd(_mm256_set1_pd(2), rc), bc),
                          wide_mask(_mm_cmpeq_epi32(px.g, max_i)));
    hc = _mm256_blendv_pd(hc, _mm256_sub_pd(bc, gc), wide_mask(_mm_cmpeq_epi32(px.r, max_i)));
    hc = _mm256_mul_pd(hc, _mm256_set1_pd(kSixth));
    hc = _mm256_blendv_pd(hc, _mm256_add_pd(hc, one), _mm256_cmp_pd(hc, _mm256_setzero_pd(), _CMP_LT_OQ));
    hc = _mm256_andnot_pd(grey, hc);

    __m256d h = _mm256_add_pd(hc, _mm256_set1_pd(args.hue));
    __m128i flat = grey_i;  // lanes written as a grey of V
    if (args.absolute) {
        h = _mm256_set1_pd(args.hue);
        s = _mm256_set1_pd(args.saturation);
        flat = _mm_set1_epi32(args.saturation == 0 ? -1 : 0);
    }
    const __m256d h6 = _mm256_mul_pd(_mm256_sub_pd(h, _mm256_floor_pd(h)), _mm256_set1_pd(6));
    const __m256d f = _mm256_sub_pd(h6, _mm256_floor_pd(h6));
    const __m128i sector = _mm256_cvttpd_epi32(h6);
    const __m128i rv = round255(v);
    const __m128i rp = round255(_mm256_mul_pd(v, _mm256_sub_pd(one, s)));
    const __m128i rq = round255(_mm256_mul_pd(v, _mm256_sub_pd(one, _mm256_mul_pd(s, f))));
    const __m128i rt = round255(_mm256_mul_pd(v, _mm256_sub_pd(one, _mm256_mul_pd(s, _mm256_sub_pd(one, f)))));

    __m128i in[6];
    for (int i = 0; i < 6; ++i) in[i] = _mm_cmpeq_epi32(sector, _mm_set1_epi32(i));
    // Sectors outside 0..5 keep the pixel's own bytes.
    __m128i red = px.r, green = px.g, blue = px.b;
    red = pick(_mm_or_si128(in[0], in[5]), rv, red);
    red = pick(in[1], rq, red);
    red = pick(_mm_or_si128(in[2], in[3]), rp, red);
    red = pick(in[4], rt, red);
    green = pick(in[0], rt, green);
    green = pick(_mm_or_si128(in[1], in[2]), rv, green);
    green = pick(in[3], rq, green);
    green = pick(_mm_or_si128(in[4], in[5]), rp, green);
    blue = pick(_mm_or_si128(in[0], in[1]), rp, blue);
    blue = pick(in[2], rt, blue);
    blue = pick(_mm_or_si128(in[3], in[4]), rv, blue);
    blue = pick(in[5], rq, blue);
    store_quad(p, pick(flat, rv, blue), pick(flat, rv, green), pick(flat, rv, red));
}

// The largest channel of each lane (or with kLargest false the smallest) and which one it
// is: red only if strictly beyond green, blue only if strictly beyond that.
struct Extreme {
    __m128i value, red, green, blue;
};

template <bool kLargest>
Extreme extreme(const Quad& px) {
    const auto beyond = [](__m128i a, __m128i b) { return kLargest ? _mm_cmpgt_epi32(a, b) : _mm_cmplt_epi32(a, b); };
    Extreme e;
    const __m128i red_beyond_green = beyond(px.r, px.g);
    e.value = pick(red_beyond_green, px.r, px.g);
    e.blue = beyond(px.b, e.value);
    e.value = pick(e.blue, px.b, e.value);
    e.red = _mm_andnot_si128(e.blue, red_beyond_green);
    e.green = _mm_andnot_si128(_mm_or_si128(e.blue, red_beyond_green), _mm_set1_epi32(-1));
    return e;
}

void strengthen_quad(uint8_t* p, double saturation) {
    const Quad px = load_quad(p);
    const __m128i ones = _mm_set1_epi32(-1);
    const Extreme large = extreme<true>(px), small = extreme<false>(px);
    // The middle: the first of red, green, blue that is neither.
    const __m128i red_middle = _mm_andnot_si128(_mm_or_si128(large.red, small.red), ones);
    const __m128i green_middle =
        _mm_andnot_si128(_mm_or_si128(red_middle, _mm_or_si128(large.green, small.green)), ones);
    const __m128i middle = pick(red_middle, px.r, pick(green_middle, px.g, px.b));

    const __m128i leave = _mm_or_si128(
        _mm_or_si128(_mm_cmpeq_epi32(large.value, _mm_set1_epi32(255)), _mm_cmpeq_epi32(small.value, _mm_setzero_si128())),
        _mm_cmpeq_epi32(large.value, small.value));
    const __m128i room = _mm_min_epi32(_mm_sub_epi32(_mm_set1_epi32(255), large.value), small.value);
    // Lanes left alone divide by 1 instead of a possible 0.
    const __m256d span = to_double(pick(leave, _mm_set1_epi32(1), _mm_sub_epi32(large.value, small.value)));
    const __m256d ratio = _mm256_div_pd(to_double(_mm_sub_epi32(middle, small.value)), span);
    const __m256d half = _mm256_set1_pd(0.5);
    const __m128i d = _mm256_cvttpd_epi32(_mm256_add_pd(_mm256_mul_pd(to_double(room), _mm256_set1_pd(saturation)), half));
    const __m128i new_largest = _mm_add_epi32(large.value, d), new_smallest = _mm_sub_epi32(small.value, d);
    const __m128i new_middle = _mm_add_epi32(
        new_smallest,
        _mm256_cvttpd_epi32(_mm256_add_pd(_mm256_mul_pd(to_double(_mm_sub_epi32(new_largest, new_smallest)), ratio), half)));

    const __m128i blue_middle = _mm_andnot_si128(_mm_or_si128(red_middle, green_middle), ones);
    const __m128i red = pick(large.red, new_largest, pick(small.red, new_smallest, new_middle));
    const __m128i green = pick(large.green, new_largest, pick(small.green, new_smallest, new_middle));
    const __m128i blue = pick(large.blue, new_largest, pick(small.blue, new_smallest, pick(blue_middle, new_middle, px.b)));
    store_quad(p, pick(leave, px.b, blue), pick(leave, px.g, green), pick(leave, px.r, red));
}

void weaken_quad(uint8_t* p, double k) {
    const Quad px = load_quad(p);
    const __m256d avg = _mm256_mul_pd(to_double(_mm_add_epi32(_mm_add_epi32(px.b, px.g), px.r)), _mm256_set1_pd(kThird));
    const __m256d kk = _mm256_set1_pd(k), half = _mm256_set1_pd(0.5);
    __m128i out[3];
    const __m128i in[3] = {px.b, px.g, px.r};
    for (int c = 0; c < 3; ++c) {
        const __m256d move = _mm256_mul_pd(_mm256_sub_pd(avg, to_double(in[c])), kk);
        out[c] = _mm_add_epi32(in[c], _mm256_cvttpd_epi32(_mm256_add_pd(move, half)));
    }
    store_quad(p, out[0], out[1], out[2]);
}

template <class Quad4, class Pixel1>
void each_row(uint8_t* first, ptrdiff_t stride, int w, int h, Quad4 quad, Pixel1 pixel) {
    for (int row = 0; row < h; ++row, first += stride) {
        int x = 0;
        for (; x + 4 <= w; x += 4) quad(first + 3 * x);
        for (; x < w; ++x) pixel(first + 3 * x);
    }
}

}  // namespace

void hsb_hue_rows_avx2(uint8_t* first, ptrdiff_t stride, int w, int h, const HsbArgs& args) {
    each_row(first, stride, w, h, [&](uint8_t* p) { hue_quad(p, args); },
             [&](uint8_t* p) { hue_pixel(p, args); });
}

void hsb_strengthen_rows_avx2(uint8_t* first, ptrdiff_t stride, int w, int h, const HsbArgs& args) {
    const double s = args.saturation;
    each_row(first, stride, w, h, [s](uint8_t* p) { strengthen_quad(p, s); },
             [s](uint8_t* p) { strengthen_pixel(p, s); });
}

void hsb_weaken_rows_avx2(uint8_t* first, ptrdiff_t stride, int w, int h, const HsbArgs& args) {
    const double k = -args.saturation;
    each_row(first, stride, w, h, [k](uint8_t* p) { weaken_quad(p, k); },
             [k](uint8_t* p) { weaken_pixel(p, k); });
}

}  // namespace mediakit
