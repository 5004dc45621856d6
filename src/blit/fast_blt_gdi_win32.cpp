#include "blit/fast_blt.h"

#include "platform/gdi32_calls.h"

namespace mediakit {

void fast_blt_gdi(BitmapData* dst, int x, int y, int w, int h, const BitmapData* src, int sx,
                  int sy) {
    gdi32().BitBlt(dst->hdc, x, y, w, h, src->hdc, sx, sy, SRCCOPY);
}

}  // namespace mediakit
