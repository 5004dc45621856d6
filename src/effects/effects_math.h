// The exact arithmetic of the stamps and the particles beyond what the blits share with
// them: 64-bit conversions, the 16-bit-shift mixing rule, and remainders and divisions that
// behave as the x86 processor's do, whatever the inputs.
//
// Everything here is static inline (see blit/pixel_math.h for why).
#pragma once

#include <cstdint>

#include "base/pixel_math.h"

namespace mediakit {

/// Double to 64-bit integer, rounding toward zero; for values the caller knows to lie well
/// inside the 64-bit range. A 32-bit x86 processor has no SSE2 conversion to 64 bits and
/// goes through the x87 unit, switching its rounding mode each time: values that fit in
/// 32 bits take the quick conversion instead.
static inline int64_t trunc_i64(double v) {
    if (v > -2147483648.0 && v < 2147483648.0) return static_cast<int32_t>(v);
    return static_cast<int64_t>(v);
}

/// The weighted mixing rule: a + (((b - a) × w) >> 16), with a wrapping signed product, a
/// flooring shift and the low 8 bits kept. With w = m × alpha (a mask byte times a
/// strength) this is a + ((b - a) × m × alpha >> 16): the product wraps the same way in
/// either order. With m = 255 and alpha = 256 a rising step stops one short of b (the
/// flooring shift takes a falling one all the way).
static inline uint8_t mix_floor16(int32_t a, int32_t b, int32_t w) {
    return static_cast<uint8_t>(a + (mul_wrap(b - a, w) >> 16));
}

/// Remainders whose divisor may be 0: the processor would fault there, so a zero divisor
/// gives 0 (the draw that fed it is still spent).
static inline uint32_t rem_u32(uint32_t r, uint32_t n) { return n ? r % n : 0; }
static inline int32_t rem_i32(int32_t r, int32_t n) {
    // r is a generator draw (0..32767), so r % -1 and INT32_MIN % -1 cannot arise.
    return n ? r % n : 0;
}

/// a / 3 rounded toward zero, for 0 ≤ a < 2^62; in 32 bits when a fits, where a 32-bit
/// processor divides by a constant with one multiplication instead of a library call.
static inline int64_t div3(int64_t a) {
    return a <= INT32_MAX ? static_cast<int64_t>(static_cast<uint32_t>(a) / 3u) : a / 3;
}

/// Floor and ceiling of a / 3 for any sign of a, |a| < 2^62.
static inline int64_t floor_div3(int64_t a) { return a >= 0 ? div3(a) : -div3(-a + 2); }
static inline int64_t ceil_div3(int64_t a) { return a >= 0 ? div3(a + 2) : -div3(-a); }

}  // namespace mediakit
