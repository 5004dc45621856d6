// The key blits: references, the choice of kernel, and the exports. 8-bit sources reach the
// vector kernels as rows looked up in their colour table, a chunk at a time, on the stack.
#include "blit/key_blit.h"

#include <cassert>

#include "base/cpu.h"
#include "blit/frame.h"
#include "blit/row24.h"

namespace mediakit {
namespace {

// The source colour of pixel x: three bytes of a 24-bit row, or the colour table entry an
// 8-bit row's byte indexes, as blue, green, red.
const uint8_t* source_colour(const KeyBlitRect& r, const uint8_t* row, int x, uint8_t* scratch) {
    if (!r.palette) return row + 3 * x;
    expand_palette_row(row + x, 1, *r.palette, scratch);
    return scratch;
}

void through_palette(KeyBlitFn kernel, const KeyBlitRect& r) {
    through_palettes(r.w, r.h, {{r.src, r.src_stride, r.palette}}, [&](int row, int column, int n, const uint8_t* const* colours) {
        KeyBlitRect part = r;
        part.palette = nullptr;
        part.w = n;
        part.h = 1;
        part.dst = r.dst + row * r.dst_stride + 3 * column;
        part.src = colours[0];
        if (r.mask) part.mask = r.mask + row * r.mask_stride + column * r.mask_step;
        kernel(part);
    });
}

void draw(KeyBlitFn (*kernel_of)(int), const KeyBlitRect& r) {
    assert(r.w >= 1 && r.h >= 1);
    int level = static_cast<int>(simd_level());
    KeyBlitFn kernel = kernel_of(level);
    if (level == 0 || !r.palette)
        kernel(r);
    else
        through_palette(kernel, r);
}

}  // namespace

void mask_key_rect_ref(const KeyBlitRect& r) {
    uint8_t* d = r.dst;
    const uint8_t* s = r.src;
    const uint8_t* m = r.mask;
    uint8_t scratch[3];
    for (int row = 0; row < r.h; ++row, d += r.dst_stride, s += r.src_stride, m += r.mask_stride) {
        for (int x = 0; x < r.w; ++x) {
            if (mask_selects(m[x * r.mask_step], r.lo, r.hi))
                draw_key_pixel(d + 3 * x, source_colour(r, s, x, scratch), r.strength);
        }
    }
}

void color_key_rect_ref(const KeyBlitRect& r) {
    uint8_t* d = r.dst;
    const uint8_t* s = r.src;
    uint8_t scratch[3];
    for (int row = 0; row < r.h; ++row, d += r.dst_stride, s += r.src_stride) {
        for (int x = 0; x < r.w; ++x) {
            const uint8_t* colour = source_colour(r, s, x, scratch);
            if (!is_key_black(colour)) draw_key_pixel(d + 3 * x, colour, r.strength);
        }
    }
}

KeyBlitFn mask_key_kernel(int level) {
    static const KeyBlitFn kByLevel[kSimdLevels] = {mask_key_rect_ref, mask_key_rect_sse2,
                                                    mask_key_rect_avx2};
    return kByLevel[level];
}

KeyBlitFn color_key_kernel(int level) {
    static const KeyBlitFn kByLevel[kSimdLevels] = {color_key_rect_ref, color_key_rect_sse2,
                                                    color_key_rect_avx2};
    return kByLevel[level];
}

void mask_key_blt(BitmapData* dst, int x, int y, int w, int h, const BitmapData* src, int sx,
                  int sy, const BitmapData* mask, int mx, int my, int lo, int hi,
                  int32_t strength) {
    BlitFrame f;
    if (!open_frame({{dst, x, y}, {src, sx, sy}, {mask, mx, my}}, w, h, &f)) return;
    const ImageView &s = f.view[1], &m = f.view[2];
    if (s.bit_count != 24 && s.bit_count != 8) return;
    // Masks of other depths would be walked 3 bytes a pixel from a row start of their own
    // depth, past the end of their rows: they draw nothing.
    if (m.bit_count != 8 && m.bit_count != 24) return;
    if (lo > hi) return;
    Palette256 palette;
    if (s.bit_count == 8) load_palette(src, &palette);
    const KeyBlitRect r{f.start[0], f.start[1], f.start[2], f.view[0].stride, s.stride, m.stride, f.w, f.h,
                        m.bit_count == 8 ? 1 : 3, static_cast<uint8_t>(lo), static_cast<uint8_t>(hi), strength,
                        s.bit_count == 8 ? &palette : nullptr};
    draw(mask_key_kernel, r);
}

void color_key_blt(BitmapData* dst, int x, int y, int w, int h, const BitmapData* src, int sx,
                   int sy, int32_t alpha) {
    BlitFrame f;
    if (!open_frame({{dst, x, y}, {src, sx, sy}}, w, h, &f)) return;
    const ImageView& s = f.view[1];
    if (s.bit_count != 24 && s.bit_count != 8) return;
    Palette256 palette;
    if (s.bit_count == 8) load_palette(src, &palette);
    const KeyBlitRect r{f.start[0], f.start[1], nullptr, f.view[0].stride, s.stride, 0, f.w, f.h,
                        0, 0, 0, alpha, s.bit_count == 8 ? &palette : nullptr};
    draw(color_key_kernel, r);
}

}  // namespace mediakit

// Drawn where the mask value is above the key's low byte: key 255 draws nothing.
extern "C" void MEDIAKIT_CALL MaskKeyBlt2(BitmapData* dst, int x, int y, int w, int h,
                                          const BitmapData* src, int sx, int sy,
                                          const BitmapData* mask, int mx, int my, int key,
                                          int strength) {
    if (strength == 0) return;
    int lowest = (key & 0xFF) + 1;
    mediakit::mask_key_blt(dst, x, y, w, h, src, sx, sy, mask, mx, my, lowest, 255, strength);
}

extern "C" void MEDIAKIT_CALL MaskKeyBlt(BitmapData* dst, int x, int y, int w, int h,
                                         const BitmapData* src, int sx, int sy,
                                         const BitmapData* mask, int mx, int my, int key) {
    MaskKeyBlt2(dst, x, y, w, h, src, sx, sy, mask, mx, my, key, 256);
}

// Drawn where the mask value is below the time: t ≤ 0 draws nothing, t ≥ 256 every pixel.
extern "C" void MEDIAKIT_CALL MaskTimeKeyBlt(BitmapData* dst, int x, int y, int w, int h,
                                             const BitmapData* src, int sx, int sy,
                                             const BitmapData* mask, int mx, int my, int time) {
    if (time <= 0) return;
    int highest = time > 255 ? 255 : time - 1;
    mediakit::mask_key_blt(dst, x, y, w, h, src, sx, sy, mask, mx, my, 0, highest, 256);
}

extern "C" void MEDIAKIT_CALL ColorKeyBlt2(BitmapData* dst, int x, int y, int w, int h,
                                           const BitmapData* src, int sx, int sy, int alpha) {
    if (alpha == 0) return;
    mediakit::color_key_blt(dst, x, y, w, h, src, sx, sy, alpha);
}

extern "C" void MEDIAKIT_CALL ColorKeyBlt(BitmapData* dst, int x, int y, int w, int h,
                                          const BitmapData* src, int sx, int sy) {
    ColorKeyBlt2(dst, x, y, w, h, src, sx, sy, 256);
}
