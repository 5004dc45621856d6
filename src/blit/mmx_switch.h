// The process-wide switch between the blits' MMX paths and their per-pixel paths.
#pragma once

#include <atomic>
#include <cstdint>

namespace mediakit {

/// 1 when the processor has MMX; set once when the library is attached to a process.
extern std::atomic<int32_t> g_mmxAvailable;
/// 1 when the host has switched the MMX paths off.
extern std::atomic<int32_t> g_mmxDisabled;

/// Tests the processor for MMX; called once, when the library is attached to a process.
void init_mmx_switch();

/// Read once per blit call.
inline bool mmx_in_use() {
    return g_mmxAvailable.load(std::memory_order_relaxed) != 0 &&
           g_mmxDisabled.load(std::memory_order_relaxed) == 0;
}

}  // namespace mediakit
