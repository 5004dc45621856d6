// The exact integer arithmetic of the blits and the stamps, written once. Scalar references
// and the scalar tails of vector kernels call these; each vector step states the identity
// that makes it equal to them.
//
// Everything here is static inline (see base/x86_int.h for why).
#pragma once

#include <cstdint>

#include "base/x86_int.h"

namespace mediakit {

/// The mixing rule: a + (((b - a) × w) >> 8), with a signed product, an arithmetic
/// (flooring) shift and the low 8 bits kept. For w in 0..256 the result lies between a
/// and b: w = 0 gives a, w = 256 gives b, and steps round towards minus infinity.
static inline uint8_t mix_floor(int32_t a, int32_t b, int32_t w) {
    return static_cast<uint8_t>(a + (mul_wrap(b - a, w) >> 8));
}

}  // namespace mediakit
