// RIFF WAVE images for tests, chunk by chunk, with sizes that may lie.
#pragma once

#include <algorithm>
#include <cstring>

#include "bmp_bytes.h"  // read_file, write_file, read_u32le

namespace mktest {

using Bytes = std::vector<uint8_t>;

/// A body of `size` zero bytes with little-endian 32-bit values at the given offsets
/// (bytes past the end are dropped).
inline Bytes body(size_t size, std::initializer_list<std::pair<size_t, uint32_t>> values = {}) {
    Bytes b(size);
    for (const auto& [at, v] : values)
        for (size_t i = 0; i < 4 && at + i < size; ++i) b[at + i] = uint8_t(v >> (8 * i));
    return b;
}

/// n bytes counting up from `first`.
inline Bytes ramp(size_t n, uint8_t first = 1) {
    Bytes b(n);
    for (size_t i = 0; i < n; ++i) b[i] = uint8_t(first + i);
    return b;
}

class Riff {
public:
    /// A chunk whose size field says `declared`, or honestly the body's length, in which
    /// case an odd body gets its pad byte.
    Riff& chunk(const char* id, const Bytes& b, int64_t declared = -1) {
        chunks_.insert(chunks_.end(), id, id + 4);
        Bytes size = body(4, {{0, uint32_t(declared < 0 ? b.size() : declared)}});
        chunks_.insert(chunks_.end(), size.begin(), size.end());
        chunks_.insert(chunks_.end(), b.begin(), b.end());
        if (declared < 0 && b.size() % 2) chunks_.push_back(0xEE);  // never a valid id byte
        return *this;
    }
    /// The image, with riffSize = length - 8 unless given.
    Bytes bytes(int64_t riff_size = -1) const {
        Bytes out = body(12 + chunks_.size(), {{0, 0x46464952}, {4, uint32_t(riff_size < 0 ? 4 + chunks_.size() : riff_size)}, {8, 0x45564157}});
        std::copy(chunks_.begin(), chunks_.end(), out.begin() + 12);  // after "RIFF", riffSize and "WAVE"
        return out;
    }

private:
    Bytes chunks_;
};

}  // namespace mktest
