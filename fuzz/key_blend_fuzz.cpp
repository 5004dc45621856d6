// The key, blend and fill blits on arbitrary records, rectangles, strengths and keys, at any
// vector level and either setting of the switch.
#include "blit_fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzzing::Reader in{data, size};
    fuzzing::set_paths(in.byte());
    int32_t a[9];
    for (int32_t& v : a) v = in.coord();
    const int32_t k = in.byte() < 128 ? in.byte() * 2 : int32_t(in.u32());
    fuzzing::Record dst(in), src(in), mask(in);
    BitmapData *d = &dst.bd, *s = &src.bd, *m = &mask.bd;
    switch (in.byte() % 8) {
        case 0: MaskKeyBlt(d, a[0], a[1], a[2], a[3], s, a[4], a[5], m, a[6], a[7], k); break;
        case 1: MaskKeyBlt2(d, a[0], a[1], a[2], a[3], s, a[4], a[5], m, a[6], a[7], a[8], k); break;
        case 2: MaskTimeKeyBlt(d, a[0], a[1], a[2], a[3], s, a[4], a[5], m, a[6], a[7], k); break;
        case 3: AlphaBlendBlt(d, a[0], a[1], a[2], a[3], s, a[4], a[5], m, a[6], a[7], k); break;
        case 4: FillAlpha(d, a[0], a[1], a[2], a[3], COLORREF(a[8]), k); break;
        case 5: ColorKeyBlt(d, a[0], a[1], a[2], a[3], s, a[4], a[5]); break;
        case 6: ColorKeyBlt2(d, a[0], a[1], a[2], a[3], s, a[4], a[5], k); break;
        case 7: AddColorValue(d, a[0], a[1], a[2], a[3], k); break;
    }
    return 0;
}
