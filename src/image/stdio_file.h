// A C stdio file that closes itself, with 64-bit seeks and reads that report what they
// delivered and zero whatever the file could not supply.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace mediakit {

class StdioFile {
public:
    StdioFile(const char* name, const char* mode) : f_(std::fopen(name, mode)) {}
    ~StdioFile() {
        if (f_) std::fclose(f_);
    }
    StdioFile(const StdioFile&) = delete;
    StdioFile& operator=(const StdioFile&) = delete;

    explicit operator bool() const { return f_ != nullptr; }

    /// Reads up to n bytes and zero-fills the rest of the n; returns the bytes read.
    size_t read_or_zero(void* out, size_t n);
    bool seek(uint64_t offset);
    bool write(const void* data, size_t n) { return std::fwrite(data, 1, n, f_) == n; }

private:
    std::FILE* f_;
};

}  // namespace mediakit
