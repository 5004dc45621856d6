// The particles' random numbers: one linear congruential generator per thread,
// state = state × 214013 + 2531011 (mod 2^32), each draw (state >> 16) & 0x7FFF. Every
// thread starts at state 1, so a host that seeds the same way gets the same draws.
#pragma once

#include <cstdint>

namespace mediakit {

/// The next draw of the calling thread, 0 .. 32767.
int32_t thread_rand();

/// Seeds the calling thread's generator.
void thread_srand(uint32_t seed);

/// The calling thread's state, for tests.
uint32_t thread_rand_state();

}  // namespace mediakit
