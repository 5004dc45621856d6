#include <sanitizer/allocator_interface.h>

#include <atomic>

#include "alloc_counter.h"

namespace mktest {
namespace {

std::atomic<bool> g_counting{false};
std::atomic<uint64_t> g_count{0};

void on_malloc(const volatile void*, size_t) {
    if (g_counting.load(std::memory_order_relaxed)) g_count.fetch_add(1, std::memory_order_relaxed);
}
void on_free(const volatile void*) {}

}  // namespace

AllocationCounter::AllocationCounter() {
    static const bool installed = __sanitizer_install_malloc_and_free_hooks(on_malloc, on_free) != 0;
    (void)installed;
    g_count = 0;
    g_counting = true;
}
AllocationCounter::~AllocationCounter() { g_counting = false; }
bool AllocationCounter::available() { return true; }
uint64_t AllocationCounter::count() const { return g_count.load(); }

}  // namespace mktest
