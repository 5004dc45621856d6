// The walk keeps its offsets in 64 bits, so a chunk size near 4 GiB moves past the end of
// the image instead of wrapping around to an earlier chunk.
#include "audio/wave_memory.h"

#include "base/le_bytes.h"
#include "mediakit.h"

namespace mediakit {

int parse_wave_image(const uint8_t* image, uint64_t length, const WaveImageOutputs& out) {
    if (out.format) *out.format = nullptr;
    if (out.data) *out.data = nullptr;
    if (out.data_size) *out.data_size = 0;
    if (out.sample_length) *out.sample_length = 0;
    if (length < 12 || read_u32le(image) != kRiffTag || read_u32le(image + 8) != kWaveForm) return 0;

    const uint64_t end = 8 + uint64_t(read_u32le(image + 4));
    // An output counts as taken while it is nonzero, so the first chunk of each kind wins,
    // and a "data" chunk of size 0 lets a later one replace it.
    // A chunk header is read only when all 8 bytes lie within the supplied length.
    for (uint64_t p = 12; p < end && p <= length && length - p >= 8;) {
        const uint32_t id = read_u32le(image + p);
        const uint32_t size = read_u32le(image + p + 4);
        const uint64_t body = p + 8;
        if (id == kFmtChunk) {
            if (out.format && !*out.format) {
                if (size < kMinFormatBytes) return 0;
                *out.format = reinterpret_cast<const WAVEFORMATEX*>(image + body);
            }
        } else if (id == kDataChunk) {
            if ((out.data && !*out.data) || (out.data_size && !*out.data_size)) {
                if (out.data) *out.data = const_cast<BYTE*>(image + body);
                if (out.data_size) *out.data_size = size;
            }
        } else if (id == kFactChunk) {
            if (out.sample_length && !*out.sample_length && length - body >= 4)
                *out.sample_length = read_u32le(image + body);
        }
        p = next_chunk(body, size);
    }
    return 1;
}

}  // namespace mediakit

using namespace mediakit;

extern "C" void MEDIAKIT_CALL wav_SetWaveFormat(WORD channels, WORD bitsPerSample, DWORD samplesPerSec,
                                                WAVEFORMATEX* format) {
    if (!format) return;
    format->wFormatTag = WAVE_FORMAT_PCM;
    format->nChannels = channels;
    format->nSamplesPerSec = samplesPerSec;
    format->wBitsPerSample = bitsPerSample;
    // Kept in 16 bits, fraction dropped: 1 channel of 4 bits gives 0.
    format->nBlockAlign = static_cast<WORD>(uint32_t(channels) * bitsPerSample / 8);
    format->nAvgBytesPerSec = uint32_t(format->nBlockAlign) * samplesPerSec;
    format->cbSize = 0;
}

