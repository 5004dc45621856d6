// Blits with one constant per call that work byte by byte, blind to pixel boundaries but for
// the phase of a colour: the alpha blend of two images, the alpha fill, the colour offset.
//
// The alpha blend and the fill have two paths, chosen per call by the MMX switch. Both mix
// with the rule a + (((b - a) × w) >> 8) (low 8 bits kept); the switch path of the blend
// copies instead of mixing at strengths 0, 255 and 256, and the switch path of the fill
// mixes the other way round, from the colour towards the pixel with weight 256 - alpha.
#pragma once

#include <cstddef>
#include <cstdint>

#include "image/bitmap_record.h"

namespace mediakit {

/// One clipped rectangle of the alpha blend: dst ← a mixed towards b by alpha.
struct BlendRect {
    uint8_t* dst;
    const uint8_t* a;  ///< blue, green, red; or 8-bit indices when a_palette is set
    const uint8_t* b;
    ptrdiff_t dst_stride, a_stride, b_stride;
    int w, h;  ///< both at least 1
    int32_t alpha;
    const Palette256* a_palette;  ///< both set (8-bit sources) or both null
    const Palette256* b_palette;
};

/// One clipped rectangle of the fill, changed in place.
struct FillRect {
    uint8_t* dst;
    ptrdiff_t stride;
    int w, h;  ///< both at least 1
    uint8_t colour[3];  ///< blue, green, red
    int32_t alpha;
};

/// A block of byte runs brightened in place: rows of `bytes` bytes, `rows` of them.
struct OffsetRect {
    uint8_t* first;
    ptrdiff_t stride;
    int bytes, rows;  ///< both at least 1
    uint8_t value;
};

using BlendFn = void (*)(const BlendRect& r);
/// switch_form: the pixel's byte p becomes c + (((p - c) × (256 - alpha)) >> 8) with c the
/// colour's byte; otherwise p + (((c - p) × alpha) >> 8).
using FillFn = void (*)(const FillRect& r, bool switch_form);
using OffsetFn = void (*)(const OffsetRect& r);

/// References. The plain blend takes 8-bit sources too; the switch path's blend (copies at
/// 0, 255 and 256, the 16-bit lane mix otherwise) and the vector kernels take 24-bit ones.
/// The blend kernels only mix: the frame makes the switch path's copies.
void blend_rect_ref(const BlendRect& r);
void blend_rect_switch_ref(const BlendRect& r);
void fill_rect_ref(const FillRect& r, bool switch_form);
void offset_rect_ref(const OffsetRect& r);

void blend_rect_sse2(const BlendRect& r);
void blend_rect_avx2(const BlendRect& r);
void fill_rect_sse2(const FillRect& r, bool switch_form);
void fill_rect_avx2(const FillRect& r, bool switch_form);
void offset_rect_sse2(const OffsetRect& r);
void offset_rect_avx2(const OffsetRect& r);

/// The kernel of a level; the scalar level is the plain reference.
BlendFn blend_kernel(int level);
FillFn fill_kernel(int level);
OffsetFn offset_kernel(int level);

/// The exports' work with the switch already read.
void alpha_blend_blt(BitmapData* dst, int x, int y, int w, int h, const BitmapData* src1,
                     int sx1, int sy1, const BitmapData* src2, int sx2, int sy2, int32_t alpha,
                     bool switch_path);
void fill_alpha(BitmapData* dst, int x, int y, int w, int h, COLORREF color, int32_t alpha,
                bool switch_path);
/// Brightens the runs of w bytes from pixel x in rows y..y + h - 1, each clipped to its own
/// row's bytes (row padding included) and to the image's rows: nothing outside the pixel
/// block is touched, whatever the rectangle.
void add_color_value(BitmapData* dst, int x, int y, int w, int h, int value);

/// A byte brightened by value: 255 stays 255, other sums stop at 255.
static inline uint8_t offset_byte(uint8_t b, uint8_t value) {
    if (b == 255) return 255;
    int sum = b + value;
    return static_cast<uint8_t>(sum < 255 ? sum : 255);
}

}  // namespace mediakit
