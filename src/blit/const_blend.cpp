// The alpha blend, the alpha fill and the colour offset: references, the choice of kernel,
// and the exports.
#include "blit/const_blend.h"

#include <algorithm>
#include <cassert>

#include "blit/clip.h"
#include "blit/copy.h"
#include "base/cpu.h"
#include "blit/frame.h"
#include "blit/mmx_switch.h"
#include "blit/row24.h"

namespace mediakit {
namespace {

void blend_through_palettes(BlendFn kernel, const BlendRect& r) {
    const PaletteRows sources[] = {{r.a, r.a_stride, r.a_palette}, {r.b, r.b_stride, r.b_palette}};
    through_palettes(r.w, r.h, sources, [&](int row, int column, int n, const uint8_t* const* colours) {
        BlendRect part = r;
        part.a_palette = part.b_palette = nullptr;
        part.w = n;
        part.h = 1;
        part.dst = r.dst + row * r.dst_stride + 3 * column;
        part.a = colours[0];
        part.b = colours[1];
        kernel(part);
    });
}

void blend(const BlendRect& r, bool switch_path) {
    assert(r.w >= 1 && r.h >= 1);
    assert(!switch_path || !r.a_palette);
    int level = static_cast<int>(simd_level());
    if (level == 0) {
        switch_path ? blend_rect_switch_ref(r) : blend_rect_ref(r);
    } else if (switch_path && r.alpha == 0) {
        CopyRect24MMX(r.dst, r.a, r.w, r.h, r.dst_stride, r.a_stride);
    } else if (switch_path && (r.alpha == 255 || r.alpha == 256)) {
        CopyRect24MMX(r.dst, r.b, r.w, r.h, r.dst_stride, r.b_stride);
    } else if (r.a_palette) {
        blend_through_palettes(blend_kernel(level), r);
    } else {
        blend_kernel(level)(r);
    }
}

}  // namespace

void blend_rect_ref(const BlendRect& r) {
    uint8_t* d = r.dst;
    const uint8_t* a = r.a;
    const uint8_t* b = r.b;
    for (int row = 0; row < r.h; ++row, d += r.dst_stride, a += r.a_stride, b += r.b_stride) {
        for (int x = 0; x < r.w; ++x) {
            uint8_t ca[3], cb[3];
            if (r.a_palette) {
                expand_palette_row(a + x, 1, *r.a_palette, ca);
                expand_palette_row(b + x, 1, *r.b_palette, cb);
            } else {
                std::copy(a + 3 * x, a + 3 * x + 3, ca);
                std::copy(b + 3 * x, b + 3 * x + 3, cb);
            }
            for (int c = 0; c < 3; ++c) d[3 * x + c] = mix_floor(ca[c], cb[c], r.alpha);
        }
    }
}

void blend_rect_switch_ref(const BlendRect& r) {
    if (r.alpha == 0) {
        copy_rect24_ref(r.dst, r.a, r.w, r.h, r.dst_stride, r.a_stride);
        return;
    }
    if (r.alpha == 255 || r.alpha == 256) {
        copy_rect24_ref(r.dst, r.b, r.w, r.h, r.dst_stride, r.b_stride);
        return;
    }
    uint8_t* d = r.dst;
    const uint8_t* a = r.a;
    const uint8_t* b = r.b;
    for (int row = 0; row < r.h; ++row, d += r.dst_stride, a += r.a_stride, b += r.b_stride)
        for (int i = 0; i < 3 * r.w; ++i) d[i] = mix_lanes16(a[i], b[i], r.alpha);
}

void fill_rect_ref(const FillRect& r, bool switch_form) {
    uint8_t* d = r.dst;
    for (int row = 0; row < r.h; ++row, d += r.stride) {
        for (int i = 0; i < 3 * r.w; ++i) {
            uint8_t c = r.colour[i % 3];
            d[i] = switch_form ? mix_lanes16(c, d[i], complement_weight(r.alpha))
                               : mix_floor(d[i], c, r.alpha);
        }
    }
}

void offset_rect_ref(const OffsetRect& r) {
    uint8_t* p = r.first;
    for (int row = 0; row < r.rows; ++row, p += r.stride)
        for (int i = 0; i < r.bytes; ++i) p[i] = offset_byte(p[i], r.value);
}

BlendFn blend_kernel(int level) {
    static const BlendFn kByLevel[kSimdLevels] = {blend_rect_ref, blend_rect_sse2,
                                                  blend_rect_avx2};
    return kByLevel[level];
}

FillFn fill_kernel(int level) {
    static const FillFn kByLevel[kSimdLevels] = {fill_rect_ref, fill_rect_sse2, fill_rect_avx2};
    return kByLevel[level];
}

OffsetFn offset_kernel(int level) {
    static const OffsetFn kByLevel[kSimdLevels] = {offset_rect_ref, offset_rect_sse2,
                                                   offset_rect_avx2};
    return kByLevel[level];
}

void alpha_blend_blt(BitmapData* dst, int x, int y, int w, int h, const BitmapData* src1,
                     int sx1, int sy1, const BitmapData* src2, int sx2, int sy2, int32_t alpha,
                     bool switch_path) {
    BlitFrame f;
    if (!open_frame({{dst, x, y}, {src1, sx1, sy1}, {src2, sx2, sy2}}, w, h, &f)) return;
    const ImageView &a = f.view[1], &b = f.view[2];
    bool both24 = a.bit_count == 24 && b.bit_count == 24;
    bool both8 = a.bit_count == 8 && b.bit_count == 8;
    if (!both24 && !both8) return;
    Palette256 palette_a, palette_b;
    if (both8) {
        load_palette(src1, &palette_a);
        load_palette(src2, &palette_b);
    }
    const BlendRect r{f.start[0], f.start[1], f.start[2], f.view[0].stride, a.stride, b.stride, f.w, f.h, alpha,
                      both8 ? &palette_a : nullptr, both8 ? &palette_b : nullptr};
    // 8-bit sources mix by the plain rule whatever the switch says.
    blend(r, switch_path && both24);
}

void fill_alpha(BitmapData* dst, int x, int y, int w, int h, COLORREF color, int32_t alpha,
                bool switch_path) {
    ImageView d;
    if (!make_view(dst, &d) || d.bit_count != 24) return;
    // The fill enters itself as a second image the size of the caller's rectangle; it can
    // never narrow the rectangle, but it takes part in the clip like any image.
    ClipBltEntry entries[2] = {{d.width, d.height, x, y}, {w, h, 0, 0}};
    if (!ClipBltRects(&w, &h, entries, 2) || w <= 0 || h <= 0) return;
    FillRect r{};
    r.dst = rect_start(d, entries[0].xOrigin, entries[0].yOrigin, h);
    r.stride = d.stride;
    r.w = w;
    r.h = h;
    // COLORREF is 0x00BBGGRR; pixels hold blue, green, red.
    r.colour[0] = static_cast<uint8_t>(color >> 16);
    r.colour[1] = static_cast<uint8_t>(color >> 8);
    r.colour[2] = static_cast<uint8_t>(color);
    r.alpha = alpha;
    fill_kernel(static_cast<int>(simd_level()))(r, switch_path);
}

void add_color_value(BitmapData* dst, int x, int y, int w, int h, int value) {
    ImageView v;
    if (w <= 0 || h <= 0 || !make_view(dst, &v) || v.height <= 0 || v.stride <= 0) return;
    // Image rows y..y + h - 1 that exist; 64-bit sums, so no argument can overflow them.
    int64_t top = std::max<int64_t>(y, 0);
    int64_t bottom = std::min<int64_t>(static_cast<int64_t>(y) + h, v.height);
    // The run of each row: w bytes from pixel x, (x × bits + 7) >> 3 bytes into the row
    // (rounded down, also for a negative x), cut to the row's own stride bytes.
    int64_t bit = static_cast<int64_t>(x) * v.bit_count + 7;
    int64_t start = bit >= 0 ? bit / 8 : -((-bit + 7) / 8);
    int64_t first = std::max<int64_t>(start, 0);
    int64_t end = std::min<int64_t>(start + w, v.stride);
    if (top >= bottom || first >= end) return;
    OffsetRect r{};
    r.rows = static_cast<int>(bottom - top);
    r.first = v.bits + static_cast<ptrdiff_t>(v.height - bottom) * v.stride + first;
    r.stride = v.stride;
    r.bytes = static_cast<int>(end - first);
    r.value = static_cast<uint8_t>(value);
    offset_kernel(static_cast<int>(simd_level()))(r);
}

}  // namespace mediakit

extern "C" void MEDIAKIT_CALL AlphaBlendBlt(BitmapData* dst, int x, int y, int w, int h,
                                            const BitmapData* src1, int sx1, int sy1,
                                            const BitmapData* src2, int sx2, int sy2, int alpha) {
    mediakit::alpha_blend_blt(dst, x, y, w, h, src1, sx1, sy1, src2, sx2, sy2, alpha,
                              mediakit::mmx_in_use());
}

extern "C" void MEDIAKIT_CALL FillAlpha(BitmapData* dst, int x, int y, int w, int h,
                                        COLORREF color, int alpha) {
    mediakit::fill_alpha(dst, x, y, w, h, color, alpha, mediakit::mmx_in_use());
}

extern "C" void MEDIAKIT_CALL AddColorValue(BitmapData* dst, int x, int y, int w, int h,
                                            int value) {
    mediakit::add_color_value(dst, x, y, w, h, value);
}
