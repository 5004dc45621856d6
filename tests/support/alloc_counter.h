// Counts the heap allocations made while a counter is alive, on every thread: natively
// through the sanitizer runtime's allocation hooks. Where no hooks exist (the Windows
// build), available() is false.
#pragma once

#include <cstdint>

namespace mktest {

class AllocationCounter {
public:
    AllocationCounter();
    ~AllocationCounter();
    static bool available();
    uint64_t count() const;
};

}  // namespace mktest
