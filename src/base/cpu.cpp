#include "base/cpu.h"

#include <cpuid.h>

#include <atomic>

namespace mediakit {
namespace {

bool os_saves_ymm() {
    // XGETBV with ECX = 0: bits 1 and 2 say the system saves SSE and AVX state.
    unsigned eax, edx;
    __asm__ volatile("xgetbv" : "=a"(eax), "=d"(edx) : "c"(0));
    return (eax & 6) == 6;
}

SimdLevel detect() {
    unsigned a, b, c, d;
    if (!__get_cpuid(1, &a, &b, &c, &d) || !(d & bit_SSE2)) return SimdLevel::kScalar;
    bool avx = (c & bit_OSXSAVE) && (c & bit_AVX) && os_saves_ymm();
    if (avx && __get_cpuid_count(7, 0, &a, &b, &c, &d) && (b & bit_AVX2)) return SimdLevel::kAvx2;
    return SimdLevel::kSse2;
}

std::atomic<int>& active_level() {
    static std::atomic<int> level{static_cast<int>(best_simd_level())};
    return level;
}

}  // namespace

bool cpu_has_mmx() {
    unsigned a, b, c, d;
    return __get_cpuid(1, &a, &b, &c, &d) && (d & bit_MMX);
}

SimdLevel best_simd_level() {
    static const SimdLevel best = detect();
    return best;
}

SimdLevel simd_level() { return static_cast<SimdLevel>(active_level().load(std::memory_order_relaxed)); }

bool set_simd_level_for_test(SimdLevel level) {
    if (static_cast<int>(level) > static_cast<int>(best_simd_level())) return false;
    active_level().store(static_cast<int>(level), std::memory_order_relaxed);
    return true;
}

const char* simd_level_name(SimdLevel level) {
    switch (level) {
        case SimdLevel::kScalar: return "scalar";
        case SimdLevel::kSse2: return "sse2";
        case SimdLevel::kAvx2: return "avx2";
    }
    return "?";
}

}  // namespace mediakit
