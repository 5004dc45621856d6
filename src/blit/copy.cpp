#include "blit/copy.h"

#include <cassert>

#include "base/cpu.h"

namespace mediakit {

void copy_rect24_ref(uint8_t* dst, const uint8_t* src, int w, int h, ptrdiff_t dst_stride,
                     ptrdiff_t src_stride) {
    for (int row = 0; row < h; ++row, dst += dst_stride, src += src_stride) {
        for (int x = 0; x < w; ++x) {
            dst[3 * x] = src[3 * x];
            dst[3 * x + 1] = src[3 * x + 1];
            dst[3 * x + 2] = src[3 * x + 2];
        }
    }
}

CopyRect24Fn copy_rect24_kernel(int level) {
    static const CopyRect24Fn kByLevel[kSimdLevels] = {copy_rect24_ref, copy_rect24_sse2,
                                                       copy_rect24_avx2};
    return kByLevel[level];
}

void CopyRect24MMX(uint8_t* dst, const uint8_t* src, int w, int h, int dstStride, int srcStride) {
    assert(w >= 1 && h >= 1);
    copy_rect24_kernel(static_cast<int>(simd_level()))(dst, src, w, h, dstStride, srcStride);
}

}  // namespace mediakit
