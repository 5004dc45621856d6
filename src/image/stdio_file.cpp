#include "image/stdio_file.h"

#include <cstring>

namespace mediakit {

size_t StdioFile::read_or_zero(void* out, size_t n) {
    size_t got = n ? std::fread(out, 1, n, f_) : 0;
    std::memset(static_cast<uint8_t*>(out) + got, 0, n - got);
    return got;
}

bool StdioFile::seek(uint64_t offset) {
#if defined(_WIN32)
    return fseeko64(f_, static_cast<off64_t>(offset), SEEK_SET) == 0;
#else
    return fseeko(f_, static_cast<off_t>(offset), SEEK_SET) == 0;
#endif
}

}  // namespace mediakit
