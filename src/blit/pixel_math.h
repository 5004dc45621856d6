// The exact integer arithmetic of the blits, written once. Scalar references and the
// scalar tails of vector kernels call these; each vector step states the identity that
// makes it equal to them.
//
// Everything here is static inline: a kernel file built for AVX2 gets its own copy and can
// never lend it to a file built for SSE2.
#pragma once

#include <cstdint>

namespace mediakit {

/// The 32-bit product of the processor: wraps instead of overflowing, for weights outside
/// the contract.
static inline int32_t mul_wrap(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}

/// The mixing rule: a + (((b - a) × w) >> 8), with a signed product, an arithmetic
/// (flooring) shift and the low 8 bits kept. For w in 0..256 the result lies between a
/// and b: w = 0 gives a, w = 256 gives b, and steps round towards minus infinity.
static inline uint8_t mix_floor(int32_t a, int32_t b, int32_t w) {
    return static_cast<uint8_t>(a + (mul_wrap(b - a, w) >> 8));
}

}  // namespace mediakit
