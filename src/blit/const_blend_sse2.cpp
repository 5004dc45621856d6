// The alpha blend, fill and colour offset at the SSE2 level. They work on the bytes of a
// row as one stream, 16 at a time, with the scalar rule for the last 1..15 bytes.
#include "blit/const_blend.h"
#include "blit/row24_sse2.h"

namespace mediakit {
namespace {

using namespace sse2;

// The fill colour repeated byte by byte: the 16 bytes at offset i % 48 are the colour bytes
// of row bytes i..i+15, since 48 is a whole number of pixels.
struct ColourPattern {
    alignas(16) uint8_t bytes[64];
    explicit ColourPattern(const uint8_t colour[3]) {
        for (int j = 0; j < 64; ++j) bytes[j] = colour[j % 3];
    }
};

template <bool kSwitchForm>
void fill_rows(const FillRect& r) {
    const ColourPattern pattern(r.colour);
    const int32_t weight = kSwitchForm ? complement_weight(r.alpha) : r.alpha;
    const __m128i w16 = weight_lanes(weight);
    const int n = 3 * r.w;
    uint8_t* d = r.dst;
    for (int row = 0; row < r.h; ++row, d += r.stride) {
        int i = 0;
        for (int phase = 0; i + 16 <= n; i += 16, phase = phase == 32 ? 0 : phase + 16) {
            __m128i c = load(pattern.bytes + phase), p = load(d + i);
            store(d + i, kSwitchForm ? mix(c, p, w16) : mix(p, c, w16));
        }
        for (; i < n; ++i) {
            uint8_t c = r.colour[i % 3];
            d[i] = kSwitchForm ? mix_floor(c, d[i], weight) : mix_floor(d[i], c, weight);
        }
    }
}

}  // namespace

void blend_rect_sse2(const BlendRect& r) {
    const __m128i w16 = weight_lanes(r.alpha);
    const int n = 3 * r.w;
    uint8_t* d = r.dst;
    const uint8_t* a = r.a;
    const uint8_t* b = r.b;
    for (int row = 0; row < r.h; ++row, d += r.dst_stride, a += r.a_stride, b += r.b_stride) {
        int i = 0;
        for (; i + 32 <= n; i += 32) {
            __m128i lo = mix(load(a + i), load(b + i), w16);
            __m128i hi = mix(load(a + i + 16), load(b + i + 16), w16);
            store(d + i, lo);
            store(d + i + 16, hi);
        }
        if (i + 16 <= n) {
            store(d + i, mix(load(a + i), load(b + i), w16));
            i += 16;
        }
        for (; i < n; ++i) d[i] = mix_floor(a[i], b[i], r.alpha);
    }
}

void fill_rect_sse2(const FillRect& r, bool switch_form) {
    switch_form ? fill_rows<true>(r) : fill_rows<false>(r);
}

void offset_rect_sse2(const OffsetRect& r) {
    // offset_byte is the unsigned saturating add: 255 stays, sums above 255 stop there.
    const __m128i value = _mm_set1_epi8(static_cast<char>(r.value));
    uint8_t* p = r.first;
    for (int row = 0; row < r.rows; ++row, p += r.stride) {
        int i = 0;
        for (; i + 16 <= r.bytes; i += 16) store(p + i, _mm_adds_epu8(load(p + i), value));
        for (; i < r.bytes; ++i) p[i] = offset_byte(p[i], r.value);
    }
}

}  // namespace mediakit
