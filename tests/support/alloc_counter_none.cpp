#include "alloc_counter.h"

namespace mktest {

AllocationCounter::AllocationCounter() = default;
AllocationCounter::~AllocationCounter() = default;
bool AllocationCounter::available() { return false; }
uint64_t AllocationCounter::count() const { return 0; }

}  // namespace mktest
