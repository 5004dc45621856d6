#include <windows.h>

#include <cstdlib>

#include "guarded.h"

namespace mktest {

GuardedBuffer::GuardedBuffer(size_t size, Guard guard) : size_(size) {
    SYSTEM_INFO si;
    GetSystemInfo(&si);
    size_t page = si.dwPageSize;
    size_t body = (size + page - 1) / page * page;
    mapped_ = body + page;
    base_ = VirtualAlloc(nullptr, mapped_, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
    if (!base_) std::abort();
    auto* b = static_cast<uint8_t*>(base_);
    DWORD old;
    if (guard == Guard::kAfter) {
        VirtualProtect(b + body, page, PAGE_NOACCESS, &old);
        data_ = b + body - size;
    } else {
        VirtualProtect(b, page, PAGE_NOACCESS, &old);
        data_ = b + page;
    }
}

GuardedBuffer::~GuardedBuffer() { VirtualFree(base_, 0, MEM_RELEASE); }

}  // namespace mktest
