// Memory placed flush against an inaccessible page, so that a read or write one byte past
// the end (or before the start) faults at once, natively and under Wine alike.
#pragma once

#include <cstddef>
#include <cstdint>

namespace mktest {

class GuardedBuffer {
public:
    enum class Guard { kAfter, kBefore };
    GuardedBuffer(size_t size, Guard guard = Guard::kAfter);
    ~GuardedBuffer();
    GuardedBuffer(const GuardedBuffer&) = delete;
    GuardedBuffer& operator=(const GuardedBuffer&) = delete;

    uint8_t* data() { return data_; }
    size_t size() const { return size_; }

private:
    void* base_;
    size_t mapped_;
    uint8_t* data_;
    size_t size_;
};

}  // namespace mktest
