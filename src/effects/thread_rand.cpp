#include "effects/thread_rand.h"

namespace mediakit {
namespace {

thread_local uint32_t t_state = 1;

}  // namespace

int32_t thread_rand() {
    t_state = t_state * 214013u + 2531011u;
    return static_cast<int32_t>((t_state >> 16) & 0x7FFF);
}

void thread_srand(uint32_t seed) { t_state = seed; }

uint32_t thread_rand_state() { return t_state; }

}  // namespace mediakit
