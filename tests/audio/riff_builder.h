// RIFF WAVE images for tests, chunk by chunk, with sizes that may lie.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "bmp_bytes.h"  // read_file, write_file

namespace mktest {

class RiffBuilder {
public:
    /// A chunk whose size field is its body's length; an odd body gets its pad byte.
    RiffBuilder& chunk(const char* id, const std::vector<uint8_t>& body);
    /// A chunk whose size field says `declared`, whatever the body holds; no pad byte.
    RiffBuilder& chunk_declared(const char* id, uint32_t declared, const std::vector<uint8_t>& body);
    RiffBuilder& raw(const std::vector<uint8_t>& bytes);

    /// The offset the next chunk's body will have.
    size_t next_body_offset() const { return 12 + chunks_.size() + 8; }

    /// The image with riffSize = length - 8, or the given riffSize.
    std::vector<uint8_t> bytes() const;
    std::vector<uint8_t> bytes(uint32_t riff_size) const;

private:
    std::vector<uint8_t> chunks_;
};

/// A "fmt " body of `size` bytes (at least 14): tag, channels, rate, block align and bits
/// as given, the rest zero.
std::vector<uint8_t> format_body(uint16_t tag, uint16_t channels, uint32_t rate, uint16_t bits,
                                 size_t size = 16);
/// n bytes counting up from `first`.
std::vector<uint8_t> ramp(size_t n, uint8_t first = 1);
/// The little-endian 32-bit value at an offset of an image.
uint32_t read_u32le_at(const std::vector<uint8_t>& bytes, size_t at);
/// Little-endian 32-bit values at the given offsets of a body of `size` zero bytes (bytes
/// past the end are dropped).
std::vector<uint8_t> body_with_u32(size_t size, std::initializer_list<std::pair<size_t, uint32_t>> values);

}  // namespace mktest
