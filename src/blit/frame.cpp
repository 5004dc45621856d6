#include "blit/frame.h"

#include "blit/clip.h"

namespace mediakit {

bool open_frame(std::initializer_list<FrameImage> images, int w, int h, BlitFrame* f) {
    ClipBltEntry entries[kMaxFrameImages];
    int n = 0;
    for (const FrameImage& image : images) {
        if (n == kMaxFrameImages) return false;
        ImageView& v = f->view[n];
        if (!make_view(image.record, &v) || (n == 0 && v.bit_count != 24)) return false;
        entries[n++] = {v.width, v.height, image.x, image.y};
    }
    if (!ClipBltRects(&w, &h, entries, n) || w <= 0 || h <= 0) return false;
    for (int i = 0; i < n; ++i) f->start[i] = rect_start(f->view[i], entries[i].xOrigin, entries[i].yOrigin, h);
    f->w = w;
    f->h = h;
    return true;
}

}  // namespace mediakit
