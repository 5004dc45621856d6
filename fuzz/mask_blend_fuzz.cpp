// The masked alpha blit and the timed transition on arbitrary records, rectangles,
// strengths and times, on either path and at any vector level.
#include "blit_fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzzing::Reader in{data, size};
    const uint8_t choice = in.byte();
    fuzzing::set_paths(choice);
    int32_t a[10];
    for (int32_t& v : a) v = in.coord();
    const int32_t value = in.byte() < 128 ? int16_t(in.u32()) : int32_t(in.u32());
    fuzzing::Record dst(in), src(in), src2(in), mask(in);
    if (choice & 0x80)
        MaskTimeAlphaBlt(&dst.bd, a[0], a[1], a[2], a[3], &src.bd, a[4], a[5], &src2.bd, a[6], a[7], &mask.bd, a[8], a[9], value);
    else
        MaskAlphaBlt2(&dst.bd, a[0], a[1], a[2], a[3], &src.bd, a[4], a[5], &mask.bd, a[8], a[9], value);
    return 0;
}
