// Little-endian fields of file images (BMP headers, RIFF chunks), decoded from bytes at
// fixed offsets, never by casting a struct over the input.
#pragma once

#include <cstdint>

namespace mediakit {

inline uint16_t read_u16le(const uint8_t* p) { return static_cast<uint16_t>(p[0] | p[1] << 8); }

inline uint32_t read_u32le(const uint8_t* p) {
    return p[0] | p[1] << 8 | p[2] << 16 | static_cast<uint32_t>(p[3]) << 24;
}

}  // namespace mediakit
