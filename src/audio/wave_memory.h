// The RIFF WAVE walk over an image in memory: the format block, the "fact" sample count
// and the data body, by address, the first chunk of each kind winning.
#pragma once

#include <cstdint>

#include "platform/win32_types.h"

namespace mediakit {

/// Where the walk stores what it finds; any of them may be null.
struct WaveImageOutputs {
    const WAVEFORMATEX** format;
    DWORD* sample_length;
    BYTE** data;
    DWORD* data_size;
};

/// Zeroes the outputs, then walks the chunks of the image up to 8 + riffSize, reading no
/// byte at or past `length`. 0 for a missing "RIFF"/"WAVE" signature or a "fmt " chunk
/// shorter than 14 bytes while a format is still wanted; otherwise 1, found or not.
int parse_wave_image(const uint8_t* image, uint64_t length, const WaveImageOutputs& out);

/// The four-character chunk identifiers as little-endian words.
constexpr uint32_t fourcc(char a, char b, char c, char d) {
    return uint32_t(uint8_t(a)) | uint32_t(uint8_t(b)) << 8 | uint32_t(uint8_t(c)) << 16 |
           uint32_t(uint8_t(d)) << 24;
}
constexpr uint32_t kRiffTag = fourcc('R', 'I', 'F', 'F');
constexpr uint32_t kWaveForm = fourcc('W', 'A', 'V', 'E');
constexpr uint32_t kFmtChunk = fourcc('f', 'm', 't', ' ');
constexpr uint32_t kDataChunk = fourcc('d', 'a', 't', 'a');
constexpr uint32_t kFactChunk = fourcc('f', 'a', 'c', 't');
constexpr uint32_t kSmplChunk = fourcc('s', 'm', 'p', 'l');

/// A "fmt " body shorter than this (up to nBlockAlign) is refused.
constexpr uint32_t kMinFormatBytes = 14;

/// Offset of the next chunk after a body of `size` bytes at `body`: odd bodies have a pad byte.
constexpr uint64_t next_chunk(uint64_t body, uint32_t size) { return body + ((uint64_t(size) + 1) & ~uint64_t(1)); }

}  // namespace mediakit
