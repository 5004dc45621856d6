#include "blit/fast_blt.h"

#include "blit/copy.h"
#include "blit/frame.h"
#include "blit/mmx_switch.h"
#include "image/bitmap_record.h"

namespace mediakit {

void fast_blt_mmx(BitmapData* dst, int x, int y, int w, int h, const BitmapData* src, int sx,
                  int sy) {
    BlitFrame f;
    if (!open_frame({{dst, x, y}, {src, sx, sy}}, w, h, &f) || f.view[1].bit_count != 24) return;
    CopyRect24MMX(f.start[0], f.start[1], f.w, f.h, f.view[0].stride, f.view[1].stride);
}

}  // namespace mediakit

extern "C" void MEDIAKIT_CALL FastBlt(BitmapData* dst, int x, int y, int w, int h,
                                      const BitmapData* src, int sx, int sy) {
    if (!dst || !src) return;
    if (!mediakit::mmx_in_use()) {
        mediakit::fast_blt_gdi(dst, x, y, w, h, src, sx, sy);
        return;
    }
    mediakit::fast_blt_mmx(dst, x, y, w, h, src, sx, sy);
}
