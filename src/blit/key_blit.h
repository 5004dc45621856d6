// The key blits: a source pixel is drawn only where a test selects it. The masked key blits
// select by the mask value at the pixel (above a key, or below a time); the colour-key blits
// by the source colour itself (black is transparent). A selected pixel is copied at
// strength 256 and mixed towards the source at any other strength; the rest keep the
// destination's bytes.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/pixel_math.h"
#include "image/bitmap_record.h"

namespace mediakit {

/// One clipped rectangle of a key blit, by its lowest-addressed bytes; rows go upwards.
struct KeyBlitRect {
    uint8_t* dst;
    const uint8_t* src;  ///< blue, green, red; or 8-bit indices when palette is set
    const uint8_t* mask;  ///< masked key blits only
    ptrdiff_t dst_stride, src_stride, mask_stride;
    int w, h;  ///< both at least 1
    int mask_step;  ///< bytes per mask pixel: 1 for an 8-bit mask, 3 for a 24-bit one
    uint8_t lo, hi;  ///< the mask values that select a pixel: lo ≤ m ≤ hi
    int32_t strength;  ///< 256 copies the source colour; any other value mixes
    const Palette256* palette;  ///< the colour table of an 8-bit source, or null
};

/// Draws one rectangle. Kernels of the vector levels take 24-bit sources only.
using KeyBlitFn = void (*)(const KeyBlitRect& r);

void mask_key_rect_ref(const KeyBlitRect& r);
void mask_key_rect_sse2(const KeyBlitRect& r);
void mask_key_rect_avx2(const KeyBlitRect& r);
void color_key_rect_ref(const KeyBlitRect& r);
void color_key_rect_sse2(const KeyBlitRect& r);
void color_key_rect_avx2(const KeyBlitRect& r);

/// The kernel of a level (the scalar level is the reference and takes 8-bit sources too).
KeyBlitFn mask_key_kernel(int level);
KeyBlitFn color_key_kernel(int level);

/// The masked key blit on clipped-and-checked terms: pixels whose mask value m satisfies
/// lo ≤ m ≤ hi are drawn. Records are checked here; strength 0 is the caller's to refuse.
void mask_key_blt(BitmapData* dst, int x, int y, int w, int h, const BitmapData* src, int sx,
                  int sy, const BitmapData* mask, int mx, int my, int lo, int hi,
                  int32_t strength);

/// The colour-key blit on the same terms; alpha 0 is the caller's to refuse.
void color_key_blt(BitmapData* dst, int x, int y, int w, int h, const BitmapData* src, int sx,
                   int sy, int32_t alpha);

/// Whether a mask value selects its pixel.
static inline bool mask_selects(uint8_t m, uint8_t lo, uint8_t hi) { return lo <= m && m <= hi; }

/// Whether a source colour is the transparent key: blue, green and red all 0.
static inline bool is_key_black(const uint8_t* bgr) { return (bgr[0] | bgr[1] | bgr[2]) == 0; }

/// A selected pixel: the source colour copied at strength 256, otherwise each byte moved
/// towards it by the mixing rule.
static inline void draw_key_pixel(uint8_t* d, const uint8_t* s, int32_t strength) {
    if (strength == 256) {
        d[0] = s[0];
        d[1] = s[1];
        d[2] = s[2];
        return;
    }
    d[0] = mix_floor(d[0], s[0], strength);
    d[1] = mix_floor(d[1], s[1], strength);
    d[2] = mix_floor(d[2], s[2], strength);
}

}  // namespace mediakit
