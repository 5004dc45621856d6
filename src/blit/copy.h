// The plain 24-bit rectangle copy shared by FastBlt and the blits whose work is partly a
// copy. Rows are walked from the lowest address upwards, each left to right; overlapping
// rectangles within one record are not handled.
#pragma once

#include <cstddef>
#include <cstdint>

namespace mediakit {

using CopyRect24Fn = void (*)(uint8_t* dst, const uint8_t* src, int w, int h,
                              ptrdiff_t dst_stride, ptrdiff_t src_stride);

void copy_rect24_ref(uint8_t* dst, const uint8_t* src, int w, int h, ptrdiff_t dst_stride,
                     ptrdiff_t src_stride);
void copy_rect24_sse2(uint8_t* dst, const uint8_t* src, int w, int h, ptrdiff_t dst_stride,
                      ptrdiff_t src_stride);
void copy_rect24_avx2(uint8_t* dst, const uint8_t* src, int w, int h, ptrdiff_t dst_stride,
                      ptrdiff_t src_stride);

/// The kernel of a level (the scalar level is the reference).
CopyRect24Fn copy_rect24_kernel(int level);

/// Copies w × h 24-bit pixels, w ≥ 1 and h ≥ 1, at the level the processor allows.
void CopyRect24MMX(uint8_t* dst, const uint8_t* src, int w, int h, int dstStride, int srcStride);

/// Copies up to 15 bytes with no access outside [p, p + n): the short rows of the vector
/// kernels. Static, so that each kernel's file keeps its own copy built for its own ISA.
static inline void copy_small(uint8_t* dst, const uint8_t* src, size_t n) {
    for (; n >= 4; n -= 4, dst += 4, src += 4) __builtin_memcpy(dst, src, 4);
    for (; n; --n) *dst++ = *src++;
}

}  // namespace mediakit
