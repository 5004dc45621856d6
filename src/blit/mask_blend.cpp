// The scalar references of the masked blits, one per path and written from the rule, and
// the tables that pick a level's kernels.
#include "blit/mask_blend.h"

#include <cassert>

#include "blit/copy.h"
#include "base/cpu.h"

namespace mediakit {

void mask_alpha_pixel_ref(const MaskRows& r, int32_t k) {
    uint8_t* d = r.dst;
    const uint8_t* s = r.src;
    const uint8_t* m = r.mask;
    for (int row = 0; row < r.h; ++row, d += r.dst_stride, s += r.src_stride, m += r.mask_stride) {
        for (int x = 0; x < r.w; ++x) {
            int32_t mv = m[x * r.mask_step];
            if (mv == 0) continue;
            for (int c = 0; c < 3; ++c)
                d[3 * x + c] = mask_alpha_pixel_channel(d[3 * x + c], s[3 * x + c], mv, k);
        }
    }
}

void mask_alpha_mmx_ref(const MaskRows& r, int32_t strength) {
    assert(r.mask_step == 3);
    const bool full = strength == 255 || strength == 256;
    uint8_t* d = r.dst;
    const uint8_t* s = r.src;
    const uint8_t* m = r.mask;
    for (int row = 0; row < r.h; ++row, d += r.dst_stride, s += r.src_stride, m += r.mask_stride) {
        for (int x = 0; x < r.w; ++x) {
            for (int c = 0; c < 3; ++c) {
                int32_t mc = m[3 * x + c];
                // (mc × k) >> 8 with the product held in 16 bits.
                int32_t weight = full ? mc : ((mc * static_cast<uint16_t>(strength)) & 0xFFFF) >> 8;
                d[3 * x + c] = mix_floor(d[3 * x + c], s[3 * x + c], weight);
            }
        }
    }
}

void mask_time_pixel_ref(const MaskRows& r, int32_t t) {
    uint8_t* d = r.dst;
    const uint8_t* p = r.src;
    const uint8_t* q = r.src2;
    const uint8_t* m = r.mask;
    for (int row = 0; row < r.h; ++row, d += r.dst_stride, p += r.src_stride,
             q += r.src2_stride, m += r.mask_stride) {
        for (int x = 0; x < r.w; ++x) {
            int64_t a = static_cast<int64_t>(t) - m[x * r.mask_step];
            for (int c = 0; c < 3; ++c) {
                int32_t pc = p[3 * x + c], qc = q[3 * x + c];
                d[3 * x + c] = a < 0 ? pc : a > 255 ? qc : mix_floor(pc, qc, static_cast<int32_t>(a));
            }
        }
    }
}

void mask_time_mmx_ref(const MaskRows& r, int32_t t) {
    assert(r.mask_step == 3);
    if (t >= kMaskTimeEnd) {
        copy_rect24_ref(r.dst, r.src2, r.w, r.h, r.dst_stride, r.src2_stride);
        return;
    }
    uint8_t* d = r.dst;
    const uint8_t* p = r.src;
    const uint8_t* q = r.src2;
    const uint8_t* m = r.mask;
    for (int row = 0; row < r.h; ++row, d += r.dst_stride, p += r.src_stride,
             q += r.src2_stride, m += r.mask_stride) {
        for (int i = 0; i < 3 * r.w; ++i) {
            // The low 16 bits of t, less the channel's own mask byte, held to 0..255.
            int32_t a = static_cast<int16_t>(t) - m[i];
            a = a < 0 ? 0 : a > 255 ? 255 : a;
            d[i] = mix_floor(p[i], q[i], a);
        }
    }
}

MaskAlphaFn mask_alpha_pixel_kernel(int level) {
    static const MaskAlphaFn kByLevel[kSimdLevels] = {mask_alpha_pixel_ref, mask_alpha_pixel_sse2,
                                                      mask_alpha_pixel_avx2};
    return kByLevel[level];
}

MaskAlphaFn mask_alpha_mmx_kernel(int level) {
    static const MaskAlphaFn kByLevel[kSimdLevels] = {mask_alpha_mmx_ref, mask_alpha_mmx_sse2,
                                                      mask_alpha_mmx_avx2};
    return kByLevel[level];
}

MaskTimeFn mask_time_pixel_kernel(int level) {
    static const MaskTimeFn kByLevel[kSimdLevels] = {mask_time_pixel_ref, mask_time_pixel_sse2,
                                                     mask_time_pixel_avx2};
    return kByLevel[level];
}

MaskTimeFn mask_time_mmx_kernel(int level) {
    static const MaskTimeFn kByLevel[kSimdLevels] = {mask_time_mmx_ref, mask_time_mmx_sse2,
                                                     mask_time_mmx_avx2};
    return kByLevel[level];
}

}  // namespace mediakit
