#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>

#include "guarded.h"

namespace mktest {

GuardedBuffer::GuardedBuffer(size_t size, Guard guard) : size_(size) {
    size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    size_t body = (size + page - 1) / page * page;
    mapped_ = body + page;
    base_ = mmap(nullptr, mapped_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (base_ == MAP_FAILED) std::abort();
    auto* b = static_cast<uint8_t*>(base_);
    if (guard == Guard::kAfter) {
        mprotect(b + body, page, PROT_NONE);
        data_ = b + body - size;
    } else {
        mprotect(b, page, PROT_NONE);
        data_ = b + page;
    }
}

GuardedBuffer::~GuardedBuffer() { munmap(base_, mapped_); }

}  // namespace mktest
