#include "platform/memory_extent.h"

#include <cstdint>

#include "platform/kernel32_calls.h"

namespace mediakit {

size_t readable_extent(const void* p, size_t limit) {
    const DWORD readable = PAGE_READONLY | PAGE_READWRITE | PAGE_WRITECOPY | PAGE_EXECUTE_READ |
                           PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;
    auto start = reinterpret_cast<uintptr_t>(p);
    uintptr_t at = start;
    while (at - start < limit) {
        MEMORY_BASIC_INFORMATION mbi;
        if (kernel32().VirtualQuery(reinterpret_cast<void*>(at), &mbi, sizeof mbi) != sizeof mbi) break;
        if (mbi.State != MEM_COMMIT || !(mbi.Protect & readable) || (mbi.Protect & PAGE_GUARD)) break;
        uintptr_t end = reinterpret_cast<uintptr_t>(mbi.BaseAddress) + mbi.RegionSize;
        if (end <= at) break;  // the top of the address space
        at = end;
    }
    return at - start < limit ? at - start : limit;
}

}  // namespace mediakit
