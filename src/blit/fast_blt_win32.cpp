// FastBlt: the MMX path on the records' pixels, or GDI's BitBlt between their device
// contexts with the caller's values when the MMX paths are off.
#include "blit/fast_blt.h"
#include "blit/mmx_switch.h"
#include "platform/blit_calls.h"

extern "C" void MEDIAKIT_CALL FastBlt(BitmapData* dst, int x, int y, int w, int h,
                                      const BitmapData* src, int sx, int sy) {
    if (!dst || !src) return;
    if (!mediakit::mmx_in_use()) {
        mediakit::blit_calls().BitBlt(dst->hdc, x, y, w, h, src->hdc, sx, sy, SRCCOPY);
        return;
    }
    mediakit::fast_blt_mmx(dst, x, y, w, h, src, sx, sy);
}
