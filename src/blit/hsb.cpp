// Hue and saturation revision: the plain loops, the choice of kernels and the export.
#include "blit/hsb.h"

#include "base/cpu.h"
#include "blit/frame.h"
#include "image/bitmap_record.h"

namespace mediakit {
namespace {

template <void (*kPixel)(uint8_t*, const HsbArgs&)>
void each_pixel(uint8_t* first, ptrdiff_t stride, int w, int h, const HsbArgs& args) {
    for (int row = 0; row < h; ++row, first += stride)
        for (int x = 0; x < w; ++x) kPixel(first + 3 * x, args);
}

void strengthen(uint8_t* px, const HsbArgs& args) { strengthen_pixel(px, args.saturation); }
void weaken(uint8_t* px, const HsbArgs& args) { weaken_pixel(px, -args.saturation); }

}  // namespace

void hsb_hue_rows_ref(uint8_t* first, ptrdiff_t stride, int w, int h, const HsbArgs& args) {
    each_pixel<hue_pixel>(first, stride, w, h, args);
}

void hsb_strengthen_rows_ref(uint8_t* first, ptrdiff_t stride, int w, int h, const HsbArgs& args) {
    each_pixel<strengthen>(first, stride, w, h, args);
}

void hsb_weaken_rows_ref(uint8_t* first, ptrdiff_t stride, int w, int h, const HsbArgs& args) {
    each_pixel<weaken>(first, stride, w, h, args);
}

const HsbKernels& hsb_kernels(int level) {
    static const HsbKernels kRef = {hsb_hue_rows_ref, hsb_strengthen_rows_ref, hsb_weaken_rows_ref};
    static const HsbKernels kAvx2 = {hsb_hue_rows_avx2, hsb_strengthen_rows_avx2,
                                     hsb_weaken_rows_avx2};
    return level >= static_cast<int>(SimdLevel::kAvx2) ? kAvx2 : kRef;
}

void revise_hsb(uint8_t* first, ptrdiff_t stride, int w, int h, const HsbArgs& args,
                const HsbKernels& kernels) {
    // The hue step covers the whole rectangle before the saturation step starts. A NaN
    // hue is not 0 and runs the step; a NaN saturation is neither above nor below 0.
    if (args.hue != 0) kernels.hue(first, stride, w, h, args);
    if (args.saturation > 0)
        kernels.strengthen(first, stride, w, h, args);
    else if (args.saturation < 0)
        kernels.weaken(first, stride, w, h, args);
}

}  // namespace mediakit

extern "C" void MEDIAKIT_CALL ReviseHSB(BitmapData* dest, int x, int y, int w, int h, double hue,
                                        double saturation, double brightness, int absolute) {
    (void)brightness;  // accepted for the calling shape; it has no effect
    mediakit::BlitFrame f;
    if (!mediakit::open_frame({{dest, x, y}}, w, h, &f)) return;
    const mediakit::HsbArgs args = {hue, saturation, absolute != 0};
    mediakit::revise_hsb(f.start[0], f.view[0].stride, f.w, f.h, args,
                         mediakit::hsb_kernels(static_cast<int>(mediakit::simd_level())));
}
