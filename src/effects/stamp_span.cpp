// The reference runs: the rules pixel by pixel, each byte read just before it is needed.
#include "effects/stamp_span.h"

#include "effects/effects_math.h"

namespace mediakit {
namespace {

void colour_ref(uint8_t* d, const uint8_t* bgr, int32_t alpha, int64_t n) {
    for (int64_t k = 0; k < 3 * n; k += 3)
        for (int i = 0; i < 3; ++i) d[k + i] = mix_floor(d[k + i], bgr[i], alpha);
}

void colour_mask_ref(uint8_t* d, const uint8_t* bgr, const uint8_t* m, int32_t alpha, int64_t n) {
    for (int64_t k = 0; k < 3 * n; k += 3) {
        if (m[k] == 0) continue;
        const int32_t weight = mul_wrap(m[k], alpha);
        for (int i = 0; i < 3; ++i) d[k + i] = mix_floor16(d[k + i], bgr[i], weight);
    }
}

void image_ref(uint8_t* d, const uint8_t* s, int32_t alpha, int64_t n) {
    for (int64_t k = 0; k < 3 * n; ++k) d[k] = mix_floor(d[k], s[k], alpha);
}

void image_mask_ref(uint8_t* d, const uint8_t* s, const uint8_t* m, int32_t alpha, int64_t n) {
    for (int64_t k = 0; k < 3 * n; k += 3) {
        if (!image_mask_passes(m + k)) continue;
        const int32_t weight = mul_wrap(m[k], alpha);
        for (int i = 0; i < 3; ++i) d[k + i] = mix_floor16(d[k + i], s[k + i], weight);
    }
}

}  // namespace

const StampSpanKernels kStampSpanRef = {colour_ref, colour_mask_ref, image_ref, image_mask_ref};

const StampSpanKernels& stamp_span_kernels(int level) {
    return level == 0 ? kStampSpanRef : kStampSpanSse2;
}

}  // namespace mediakit
