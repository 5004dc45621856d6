// The RIFF WAVE file walk over arbitrary file contents, in loading and streaming mode: it
// must end, never read or write outside what it was given or allocated, free everything,
// and leave streaming at the first data byte. Blocks above 1 MiB are refused, so that lying
// sizes exercise the failed-allocation path instead of exhausting memory.
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "audio/wave_file.h"

namespace {

void* capped_alloc(size_t n) { return n > (1u << 20) ? nullptr : std::malloc(n); }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    auto* file = static_cast<uint8_t*>(std::malloc(size ? size : 1));
    std::memcpy(file, data, size);
    for (bool load : {true, false}) {
        mediakit::MemoryByteReader reader(file, size);
        WaveForFile record{};
        if (mediakit::walk_wave_file(reader, load, &record, capped_alloc)) {
            // Touch every byte the host would read.
            volatile uint8_t sink = 0;
            if (record.lpData)
                for (DWORD i = 0; i < record.dwDataSize; ++i) sink = sink + record.lpData[i];
            if (!load && reader.position() != record.llDataOffset) std::abort();
            if (load != (record.lpData != nullptr) && record.dwDataSize) std::abort();
        }
        mediakit::free_wave_blocks(&record);
    }
    std::free(file);
    return 0;
}
