// What the processor offers, found once: the MMX bit that the switch reports, and the
// vector level the fast kernels run at. Kernels never test processor flags themselves.
#pragma once

namespace mediakit {

enum class SimdLevel : int { kScalar = 0, kSse2 = 1, kAvx2 = 2 };
constexpr int kSimdLevels = 3;

bool cpu_has_mmx();

/// The best level this processor and operating system support.
SimdLevel best_simd_level();

/// The level the kernels use: the best one, unless a test pinned another.
SimdLevel simd_level();

/// Pins the kernels to a level the processor supports (returns false otherwise).
bool set_simd_level_for_test(SimdLevel level);

const char* simd_level_name(SimdLevel level);

}  // namespace mediakit
