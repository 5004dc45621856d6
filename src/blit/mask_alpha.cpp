// The masked alpha blit: a source blended into the destination through a grey mask, with an
// overall strength on top. Clipped against all three images; the MMX switch picks between
// the mmx path (24-bit source and mask, each channel weighted by its own mask byte) and the
// per-pixel path (the mask pixel's first byte weighs all three channels).
#include "base/cpu.h"
#include "blit/frame.h"
#include "blit/mask_blend.h"
#include "blit/mmx_switch.h"
#include "blit/row24.h"
#include "image/bitmap_record.h"

namespace mediakit {
namespace {

void mask_alpha_blt(BitmapData* dst, int x, int y, int w, int h, const BitmapData* src, int sx,
                    int sy, const BitmapData* mask, int mx, int my, int strength) {
    if (strength == 0) return;
    BlitFrame f;
    if (!open_frame({{dst, x, y}, {src, sx, sy}, {mask, mx, my}}, w, h, &f)) return;
    const ImageView &s = f.view[1], &m = f.view[2];
    const bool mmx = mmx_in_use();
    // Masks of other depths draw nothing: their pixels are not whole bytes, or not laid out
    // as one or three bytes, and stepping through them could leave the mask's rows.
    if (m.bit_count != 8 && m.bit_count != 24) return;
    const MaskRows rows{f.start[0], f.start[1], nullptr,   f.start[2],         f.view[0].stride,
                        s.stride,   0,          m.stride,  m.bit_count / 8,    f.w, f.h};
    const int level = static_cast<int>(simd_level());
    // Strengths outside 1..256 are outside the contract; the reference gives them its
    // wrapping arithmetic, which the per-pixel vector kernels do not reproduce.
    MaskAlphaFn per_pixel = (strength >= 1 && strength <= 256) ? mask_alpha_pixel_kernel(level)
                                                               : mask_alpha_pixel_ref;
    if (s.bit_count == 24) {
        if (mmx && m.bit_count == 24)
            mask_alpha_mmx_kernel(level)(rows, strength);
        else
            per_pixel(rows, strength);
    } else if (s.bit_count == 8) {
        Palette256 palette;
        load_palette(src, &palette);
        through_palettes(rows.w, rows.h, {{rows.src, rows.src_stride, &palette}},
                         [&](int row, int column, int n, const uint8_t* const* colours) {
                             per_pixel(rows.chunk(row, column, n, colours[0]), strength);
                         });
    }
}

}  // namespace
}  // namespace mediakit

extern "C" void MEDIAKIT_CALL MaskAlphaBlt2(BitmapData* dst, int x, int y, int w, int h,
                                            const BitmapData* src, int sx, int sy,
                                            const BitmapData* mask, int mx, int my, int strength) {
    mediakit::mask_alpha_blt(dst, x, y, w, h, src, sx, sy, mask, mx, my, strength);
}

extern "C" void MEDIAKIT_CALL MaskAlphaBlt(BitmapData* dst, int x, int y, int w, int h,
                                           const BitmapData* src, int sx, int sy,
                                           const BitmapData* mask, int mx, int my) {
    mediakit::mask_alpha_blt(dst, x, y, w, h, src, sx, sy, mask, mx, my, 256);
}
