// Integer steps that behave as the x86 processor's do, whatever the inputs: the pixel,
// stamp and particle arithmetic is defined by them, so native and 32-bit Windows builds
// agree and no input is undefined behaviour.
//
// Everything here is static inline: a kernel file built for AVX2 gets its own copy and can
// never lend it to a file built for SSE2.
#pragma once

#include <cstdint>

namespace mediakit {

/// 32-bit sums, differences and products that wrap like the processor's.
static inline int32_t add_wrap(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}
static inline int32_t sub_wrap(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}
static inline int32_t mul_wrap(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}

/// Double to 32-bit integer, rounding toward zero, as the processor's truncating conversion
/// does: a NaN or a value whose truncation lies outside the 32-bit range gives INT32_MIN
/// (0x80000000), where a plain C++ conversion would be undefined.
static inline int32_t trunc_i32(double v) {
    if (v > -2147483649.0 && v < 2147483648.0) return static_cast<int32_t>(v);
    return INT32_MIN;
}

}  // namespace mediakit
