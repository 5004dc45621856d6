// Kernels of the masked blits: the masked alpha blit (a source weighted by a grey mask and
// a strength) and the timed transition (a mask says when each pixel turns from the first
// source to the second). Each blit has two paths with their own arithmetic:
//
//   "mmx"    24-bit mask, each channel weighted by the mask byte of that same channel;
//   "pixel"  8- or 24-bit mask, every channel weighted by the first byte of the mask pixel.
//
// Each path has a scalar reference written from the rule and SSE2 and AVX2 kernels that
// equal it byte for byte. Kernels take 24-bit sources; 8-bit palette sources are expanded
// into 24-bit strips by the callers first.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/pixel_math.h"
#include "platform/win32_types.h"

namespace mediakit {

/// Row pointers and strides of one clipped rectangle, computed once. Every pointer is the
/// lowest-addressed byte of its rectangle; rows are walked upwards (adding the stride).
struct MaskRows {
    uint8_t* dst;
    const uint8_t* src;   ///< the source; the first source of the transition
    const uint8_t* src2;  ///< the second source of the transition (unused by the alpha blit)
    const uint8_t* mask;
    ptrdiff_t dst_stride, src_stride, src2_stride, mask_stride;
    int mask_step;  ///< bytes per mask pixel, 1 or 3 (the mmx paths: always 3)
    int w, h;       ///< both ≥ 1

    /// The n pixels from column x of one row, with `colours` standing in for the source's
    /// row (the 24-bit colours of an 8-bit source).
    MaskRows chunk(int row, int x, int n, const uint8_t* colours) const {
        MaskRows part = *this;
        part.dst = dst + row * dst_stride + 3 * x;
        part.src = colours;
        part.mask = mask + row * mask_stride + x * mask_step;
        part.w = n;
        part.h = 1;
        return part;
    }
};

/// k: the strength (1..256 in the contract). The per-pixel vector kernels need 1 ≤ k ≤ 256;
/// the references and the mmx kernels take any value. t: the time of the transition.
using MaskAlphaFn = void (*)(const MaskRows& rows, int32_t k);
using MaskTimeFn = void (*)(const MaskRows& rows, int32_t t);

void mask_alpha_pixel_ref(const MaskRows& rows, int32_t k);
void mask_alpha_pixel_sse2(const MaskRows& rows, int32_t k);
void mask_alpha_pixel_avx2(const MaskRows& rows, int32_t k);
void mask_alpha_mmx_ref(const MaskRows& rows, int32_t k);
void mask_alpha_mmx_sse2(const MaskRows& rows, int32_t k);
void mask_alpha_mmx_avx2(const MaskRows& rows, int32_t k);
void mask_time_pixel_ref(const MaskRows& rows, int32_t t);
void mask_time_pixel_sse2(const MaskRows& rows, int32_t t);
void mask_time_pixel_avx2(const MaskRows& rows, int32_t t);
void mask_time_mmx_ref(const MaskRows& rows, int32_t t);
void mask_time_mmx_sse2(const MaskRows& rows, int32_t t);
void mask_time_mmx_avx2(const MaskRows& rows, int32_t t);

/// The kernels of a level (the scalar level is the reference).
MaskAlphaFn mask_alpha_pixel_kernel(int level);
MaskAlphaFn mask_alpha_mmx_kernel(int level);
MaskTimeFn mask_time_pixel_kernel(int level);
MaskTimeFn mask_time_mmx_kernel(int level);

/// At or after this time the transition shows the second source everywhere; the mmx path
/// then copies it.
constexpr int32_t kMaskTimeEnd = 511;

// ---- The per-channel arithmetic, shared by the references and the kernels' scalar tails.

/// Per-pixel masked blend of one channel at strength k, mask byte m (m = 0 leaves d):
///   k = 256: d + (((s − d) × m) >> 8)
///   else:    d + (((s − d) × m × k) >> 16)
/// signed 32-bit products that wrap, flooring shifts, the low byte kept. For 0 ≤ m ≤ 255
/// and 1 ≤ k ≤ 256 the result lies between d and s.
static inline uint8_t mask_alpha_pixel_channel(int32_t d, int32_t s, int32_t m, int32_t k) {
    if (k == 256) return mix_floor(d, s, m);
    return static_cast<uint8_t>(d + (mul_wrap(mul_wrap(s - d, m), k) >> 16));
}

/// The mmx path weighs a channel by m′ = (mc × f) >> 8, the product taken on 16 bits. At
/// full strength (255 counts as full) f = 256 and m′ = mc; otherwise f is the strength's low
/// 16 bits, as the processor's word lanes hold it. Either way 0 ≤ m′ ≤ 255.
static inline uint16_t mask_alpha_mmx_factor(int32_t strength) {
    return (strength == 255 || strength == 256) ? 256 : static_cast<uint16_t>(strength);
}
static inline int32_t mask_alpha_mmx_weight(int32_t mc, uint16_t f) {
    return static_cast<int32_t>((static_cast<uint32_t>(mc) * f) & 0xFFFFu) >> 8;
}

/// Per-pixel transition weight of a pixel with mask value m at time t: a = t − m, where
/// a < 0 shows the first source and a > 255 the second exactly. With the weight clamped to
/// 0..256, mix_floor(p, q, weight) gives p, q and the blend alike. The difference is formed
/// in 64 bits so that every negative time shows the first source.
static inline int32_t mask_time_pixel_weight(int32_t t, int32_t m) {
    int64_t a = static_cast<int64_t>(t) - m;
    return a < 0 ? 0 : a > 255 ? 256 : static_cast<int32_t>(a);
}

/// Transition weight of a channel on the mmx path (t < 511): the low 16 bits of t minus the
/// mask byte with signed 16-bit saturation, then clamped to 0..255. (The saturation only
/// ever acts on differences that the clamp turns into 0 anyway.)
static inline int32_t mask_time_mmx_weight(int32_t t, int32_t mc) {
    int32_t a = static_cast<int16_t>(t) - mc;
    return a < 0 ? 0 : a > 255 ? 255 : a;
}

}  // namespace mediakit
