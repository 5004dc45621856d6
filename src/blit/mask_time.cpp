// The timed masked transition: one frame of a wipe from a first source to a second, where a
// pixel whose mask value is m starts to turn at time m and has turned 256 units later.
// Every destination pixel of the clipped rectangle is written; its old content takes no
// part, so the destination may be the first source itself at the same origin.
#include "base/cpu.h"
#include "blit/frame.h"
#include "blit/mask_blend.h"
#include "blit/mmx_switch.h"
#include "blit/row24.h"
#include "image/bitmap_record.h"

namespace mediakit {
namespace {

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
    Palette256 first, second;
    load_palette(src1, &first);
    load_palette(src2, &second);
    const PaletteRows sources[] = {{rows.src, rows.src_stride, &first}, {rows.src2, rows.src2_stride, &second}};
    const MaskTimeFn kernel = mask_time_pixel_kernel(level);
    through_palettes(rows.w, rows.h, sources, [&](int row, int column, int n, const uint8_t* const* colours) {
        MaskRows part = rows.chunk(row, column, n, colours[0]);
        part.src2 = colours[1];
        kernel(part, t);
    });
}

}  // namespace
}  // namespace mediakit

extern "C" void MEDIAKIT_CALL MaskTimeAlphaBlt(BitmapData* dst, int x, int y, int w, int h,
                                               const BitmapData* src1, int sx1, int sy1,
                                               const BitmapData* src2, int sx2, int sy2,
                                               const BitmapData* mask, int mx, int my, int t) {
    mediakit::mask_time_alpha_blt(dst, x, y, w, h, src1, sx1, sy1, src2, sx2, sy2, mask, mx, my, t);
}
