#include "platform/memory_extent.h"

#include <cstdint>

#include "platform/call_table.h"

namespace mediakit {
namespace {

const MemoryCalls kSystem = {::VirtualQuery};
CallTable<MemoryCalls> table(&kSystem);

}  // namespace

const MemoryCalls& memory_calls() { return table.get(); }
void set_memory_calls_for_test(const MemoryCalls* calls) { table.set_for_test(calls); }

size_t readable_extent(const void* p, size_t limit) {
    const DWORD readable = PAGE_READONLY | PAGE_READWRITE | PAGE_WRITECOPY | PAGE_EXECUTE_READ |
                           PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;
    auto start = reinterpret_cast<uintptr_t>(p);
    uintptr_t at = start;
    while (at - start < limit) {
        MEMORY_BASIC_INFORMATION mbi;
        if (memory_calls().VirtualQuery(reinterpret_cast<void*>(at), &mbi, sizeof mbi) != sizeof mbi) break;
        if (mbi.State != MEM_COMMIT || !(mbi.Protect & readable) || (mbi.Protect & PAGE_GUARD)) break;
        uintptr_t end = reinterpret_cast<uintptr_t>(mbi.BaseAddress) + mbi.RegionSize;
        if (end <= at) break;  // the top of the address space
        at = end;
    }
    return at - start < limit ? at - start : limit;
}

}  // namespace mediakit
