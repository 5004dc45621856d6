#include "blit/fast_blt.h"

#include "blit/clip.h"
#include "blit/copy.h"
#include "blit/mmx_switch.h"
#include "image/bitmap_record.h"
#include "platform/blit_calls.h"

namespace mediakit {

void fast_blt_mmx(BitmapData* dst, int x, int y, int w, int h, const BitmapData* src, int sx,
                  int sy) {
    ImageView d, s;
    if (!make_view(dst, &d) || d.bit_count != 24) return;
    if (!make_view(src, &s)) return;
    ClipBltEntry entries[2] = {{d.width, d.height, x, y}, {s.width, s.height, sx, sy}};
    if (!ClipBltRects(&w, &h, entries, 2)) return;
    if (s.bit_count != 24 || w <= 0 || h <= 0) return;
    x = entries[0].xOrigin;
    y = entries[0].yOrigin;
    sx = entries[1].xOrigin;
    sy = entries[1].yOrigin;
    CopyRect24MMX(rect_start(d, x, y, h), rect_start(s, sx, sy, h), w, h, d.stride,
                  s.stride);
}

}  // namespace mediakit

extern "C" void MEDIAKIT_CALL FastBlt(BitmapData* dst, int x, int y, int w, int h,
                                      const BitmapData* src, int sx, int sy) {
    if (!dst || !src) return;
    if (!mediakit::mmx_in_use()) {
        mediakit::blit_calls().BitBlt(dst->hdc, x, y, w, h, src->hdc, sx, sy, SRCCOPY);
        return;
    }
    mediakit::fast_blt_mmx(dst, x, y, w, h, src, sx, sy);
}
