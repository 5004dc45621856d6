// BilinearBlt and ReviseHSB on arbitrary records and arguments: no access outside the
// records, and every vector level's kernel equal to the plain one, byte for byte.
#include <vector>

#include "blit/area_scale.h"
#include "blit/hsb.h"
#include "blit_fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzzing::Reader in{data, size};
    const bool absolute = in.byte() & 1;
    int32_t c[8];
    for (int32_t& v : c) v = in.coord();
    const double hue = in.f64(), saturation = in.f64();
    fuzzing::Record dst(in), src(in);
    uint8_t* const bits = dst.bd.lpBits;
    const std::vector<uint8_t> before(bits, bits + dst.n);
    const int best = int(mediakit::best_simd_level());
    // The export at the scalar level, then each vector level's kernel on the same call.
    mediakit::set_simd_level_for_test(mediakit::SimdLevel::kScalar);
    BilinearBlt(&dst.bd, c[0], c[1], c[2], c[3], &src.bd, c[4], c[5], c[6], c[7]);
    mediakit::AreaScale a;
    if (dst.n && mediakit::prepare_area_scale(&dst.bd, c[0], c[1], c[2], c[3], &src.bd, c[4], c[5], c[6], c[7], &a)) {
        const std::vector<uint8_t> expected(bits, bits + dst.n);
        for (int level = 1; level <= best; ++level) {
            std::memcpy(bits, before.data(), dst.n);
            mediakit::area_scale_kernel(level)(a);
            if (std::memcmp(expected.data(), bits, dst.n) != 0) __builtin_trap();
        }
    }
    // The revision through the export on the fuzzed rectangle, then the kernels of every
    // level over the whole image.
    ReviseHSB(&dst.bd, c[0], c[1], c[2], c[3], hue, saturation, 0, absolute);
    mediakit::ImageView v;
    if (!dst.n || !mediakit::make_view(&dst.bd, &v) || v.bit_count != 24 || v.height <= 0) return 0;
    const mediakit::HsbArgs args = {hue, saturation, absolute};
    uint8_t* first = mediakit::rect_start(v, 0, 0, v.height);
    const std::vector<uint8_t> start(bits, bits + dst.n);
    mediakit::revise_hsb(first, v.stride, v.width, v.height, args, mediakit::hsb_kernels(0));
    const std::vector<uint8_t> expected(bits, bits + dst.n);
    for (int level = 1; level <= best; ++level) {
        std::memcpy(bits, start.data(), dst.n);
        mediakit::revise_hsb(first, v.stride, v.width, v.height, args, mediakit::hsb_kernels(level));
        if (std::memcmp(expected.data(), bits, dst.n) != 0) __builtin_trap();
    }
    return 0;
}
