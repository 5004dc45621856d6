// The timed masked transition: one frame of a wipe from a first source to a second, where a
// pixel whose mask value is m starts to turn at time m and has turned 256 units later.
// Every destination pixel of the clipped rectangle is written; its old content takes no
// part, so the destination may be the first source itself at the same origin.
#include <algorithm>

#include "blit/cpu.h"
#include "blit/frame.h"
#include "blit/mask_blend.h"
#include "blit/mmx_switch.h"
#include "image/bitmap_record.h"

namespace mediakit {
namespace {

// 8-bit sources are turned into 24-bit colours this many pixels at a time, on the stack.
constexpr int kStrip = 128;

struct PaletteSource {
    const uint8_t* indices;
    ptrdiff_t stride;
    Palette256 palette;
};

void blend_palette_rows(const MaskRows& rows, const PaletteSource& first, const PaletteSource& second,
                        MaskTimeFn kernel, int32_t t) {
    uint8_t strip1[3 * kStrip], strip2[3 * kStrip];
    MaskRows part = rows;
    part.src = strip1;
    part.src2 = strip2;
    part.h = 1;
    for (int row = 0; row < rows.h; ++row) {
        for (int x = 0; x < rows.w; x += kStrip) {
            part.w = std::min(kStrip, rows.w - x);
            expand_palette_row(first.indices + row * first.stride + x, part.w, first.palette.entries, strip1);
            expand_palette_row(second.indices + row * second.stride + x, part.w, second.palette.entries, strip2);
            part.dst = rows.dst + row * rows.dst_stride + 3 * x;
            part.mask = rows.mask + row * rows.mask_stride + x * rows.mask_step;
            kernel(part, t);
        }
    }
}

void mask_time_alpha_blt(BitmapData* dst, int x, int y, int w, int h, const BitmapData* src1,
                         int sx1, int sy1, const BitmapData* src2, int sx2, int sy2,
                         const BitmapData* mask, int mx, int my, int t) {
    BlitFrame f;
    if (!open_frame({{dst, x, y}, {src1, sx1, sy1}, {src2, sx2, sy2}, {mask, mx, my}}, w, h, &f)) return;
    const ImageView &s1 = f.view[1], &s2 = f.view[2], &m = f.view[3];
    const bool mmx = mmx_in_use();
    // Masks of other depths draw nothing, as in the masked alpha blit.
    if (m.bit_count != 8 && m.bit_count != 24) return;
    if (s1.bit_count != s2.bit_count || (s1.bit_count != 24 && s1.bit_count != 8)) return;
    const MaskRows rows{f.start[0], f.start[1], f.start[2], f.start[3],      f.view[0].stride,
                        s1.stride,  s2.stride,  m.stride,   m.bit_count / 8, f.w, f.h};
    const int level = static_cast<int>(simd_level());
    if (s1.bit_count == 24) {
        if (mmx && m.bit_count == 24)
            mask_time_mmx_kernel(level)(rows, t);  // at t ≥ 511 a copy at the same level as CopyRect24MMX
        else
            mask_time_pixel_kernel(level)(rows, t);
        return;
    }
    PaletteSource first{rows.src, rows.src_stride, {}}, second{rows.src2, rows.src2_stride, {}};
    load_palette(src1, &first.palette);
    load_palette(src2, &second.palette);
    blend_palette_rows(rows, first, second, mask_time_pixel_kernel(level), t);
}

}  // namespace
}  // namespace mediakit

extern "C" void MEDIAKIT_CALL MaskTimeAlphaBlt(BitmapData* dst, int x, int y, int w, int h,
                                               const BitmapData* src1, int sx1, int sy1,
                                               const BitmapData* src2, int sx2, int sy2,
                                               const BitmapData* mask, int mx, int my, int t) {
    mediakit::mask_time_alpha_blt(dst, x, y, w, h, src1, sx1, sy1, src2, sx2, sy2, mask, mx, my, t);
}
