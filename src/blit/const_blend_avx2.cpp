// The alpha blend, fill and colour offset at the AVX2 level. They work on the bytes of a
// row as one stream: 32 at a time, then 16, then the scalar rule for the last 1..15 bytes.
#include "blit/const_blend.h"
#include "blit/row24_avx2.h"

namespace mediakit {
namespace {

using namespace avx2;

// The fill colour repeated byte by byte: the bytes at offset i % 96 are the colour bytes of
// row bytes i onwards, since 96 is a whole number of pixels.
struct ColourPattern {
    alignas(32) uint8_t bytes[128];
    explicit ColourPattern(const uint8_t colour[3]) {
        for (int j = 0; j < 128; ++j) bytes[j] = colour[j % 3];
    }
};

template <bool kSwitchForm>
void fill_rows(const FillRect& r) {
    const ColourPattern pattern(r.colour);
    const int32_t weight = kSwitchForm ? complement_weight(r.alpha) : r.alpha;
    const Wide::V wide_w16 = Wide::splat16(weight);
    const Narrow::V narrow_w16 = Narrow::splat16(weight);
    const int n = 3 * r.w;
    uint8_t* d = r.dst;
    for (int row = 0; row < r.h; ++row, d += r.stride) {
        int i = 0, phase = 0;
        for (; i + 32 <= n; i += 32, phase = phase == 64 ? 0 : phase + 32) {
            Wide::V c = Wide::load(pattern.bytes + phase), p = Wide::load(d + i);
            Wide::store(d + i, kSwitchForm ? mix<Wide>(c, p, wide_w16) : mix<Wide>(p, c, wide_w16));
        }
        if (i + 16 <= n) {
            Narrow::V c = Narrow::load(pattern.bytes + phase), p = Narrow::load(d + i);
            Narrow::store(d + i, kSwitchForm ? mix<Narrow>(c, p, narrow_w16)
                                             : mix<Narrow>(p, c, narrow_w16));
            i += 16;
        }
        for (; i < n; ++i) {
            uint8_t c = r.colour[i % 3];
            d[i] = kSwitchForm ? mix_floor(c, d[i], weight) : mix_floor(d[i], c, weight);
        }
    }
    _mm256_zeroupper();
}

}  // namespace

void blend_rect_avx2(const BlendRect& r) {
    const Wide::V wide_w16 = Wide::splat16(r.alpha);
    const Narrow::V narrow_w16 = Narrow::splat16(r.alpha);
    const int n = 3 * r.w;
    uint8_t* d = r.dst;
    const uint8_t* a = r.a;
    const uint8_t* b = r.b;
    for (int row = 0; row < r.h; ++row, d += r.dst_stride, a += r.a_stride, b += r.b_stride) {
        int i = 0;
        for (; i + 32 <= n; i += 32)
            Wide::store(d + i, mix<Wide>(Wide::load(a + i), Wide::load(b + i), wide_w16));
        if (i + 16 <= n) {
            Narrow::store(d + i, mix<Narrow>(Narrow::load(a + i), Narrow::load(b + i), narrow_w16));
            i += 16;
        }
        for (; i < n; ++i) d[i] = mix_floor(a[i], b[i], r.alpha);
    }
    _mm256_zeroupper();
}

void fill_rect_avx2(const FillRect& r, bool switch_form) {
    switch_form ? fill_rows<true>(r) : fill_rows<false>(r);
}

void offset_rect_avx2(const OffsetRect& r) {
    // offset_byte is the unsigned saturating add: 255 stays, sums above 255 stop there.
    const Wide::V wide = Wide::splat8(r.value);
    const Narrow::V narrow = Narrow::splat8(r.value);
    uint8_t* p = r.first;
    for (int row = 0; row < r.rows; ++row, p += r.stride) {
        int i = 0;
        for (; i + 32 <= r.bytes; i += 32) Wide::store(p + i, Wide::adds8(Wide::load(p + i), wide));
        if (i + 16 <= r.bytes) {
            Narrow::store(p + i, Narrow::adds8(Narrow::load(p + i), narrow));
            i += 16;
        }
        for (; i < r.bytes; ++i) p[i] = offset_byte(p[i], r.value);
    }
    _mm256_zeroupper();
}

}  // namespace mediakit
