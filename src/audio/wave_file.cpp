// The file walk reads each body through the reader and then sets the position to the next
// chunk computed from the body's start, so a short read never shifts the chunk grid.
// Offsets are 64-bit: limit = riffSize + 4 is an offset in the file, never a wrapped one.
#include "audio/wave_file.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "audio/wave_memory.h"
#include "base/le_bytes.h"

namespace mediakit {
namespace {

/// The sampler body up to the first loop: start at 44, end at 48.
constexpr size_t kSamplerHeadBytes = 60;
constexpr size_t kFirstLoopEnd = 52;

/// Reads n bytes into a fresh block; what the file cannot supply is zero. A zero-size body
/// still gets a block, so that a null block always means the allocation failed.
uint8_t* read_block(WaveByteReader& file, uint32_t n, BlockAllocFn alloc) {
    auto* block = static_cast<uint8_t*>(alloc(n ? n : 1));
    if (!block) return nullptr;
    size_t got = file.read(block, n);
    std::memset(block + got, 0, n - got);
    return block;
}

class Walk {
public:
    Walk(WaveByteReader& file, bool load, WaveForFile* record, BlockAllocFn alloc)
        : file_(file), load_(load), r_(record), alloc_(alloc) {}

    // One chunk whose body starts at the current position; false fails the open. An
    // output counts as taken while it is nonzero, as in the memory walk.
    bool chunk(uint32_t id, uint32_t size, int64_t body) {
        switch (id) {
            case kFmtChunk: return format(size);
            case kDataChunk: return data(size, body);
            case kFactChunk: fact(size); return true;
            case kSmplChunk: sampler(size); return true;
            default: return true;
        }
    }

private:
    bool format(uint32_t size) {
        if (size < kMinFormatBytes) return false;
        if (r_->lpFormat) return true;  // a later "fmt " is skipped
        r_->lpFormat = reinterpret_cast<WAVEFORMATEX*>(read_block(file_, size, alloc_));
        return r_->lpFormat != nullptr;
    }

    bool data(uint32_t size, int64_t body) {
        if (r_->dwDataSize) return true;  // a later "data" is skipped unless this one is empty
        std::free(r_->lpData);
        r_->lpData = nullptr;
        r_->dwDataSize = size;
        r_->llDataOffset = body;
        if (!load_) return true;
        r_->lpData = read_block(file_, size, alloc_);
        return r_->lpData != nullptr;
    }

    void fact(uint32_t size) {
        uint8_t value[4];
        if (!r_->dwSampleLength && size >= 4 && file_.read(value, 4) == 4)
            r_->dwSampleLength = read_u32le(value);
    }

    // A sampler body too short for a whole first loop leaves the loop at 0.
    void sampler(uint32_t size) {
        if (r_->dwLoopStart || r_->dwLoopEnd) return;
        uint8_t head[kSamplerHeadBytes];
        size_t got = file_.read(head, std::min<size_t>(size, sizeof head));
        if (got < kFirstLoopEnd) return;
        r_->dwLoopStart = read_u32le(head + 44);
        r_->dwLoopEnd = read_u32le(head + 48);
    }

    WaveByteReader& file_;
    bool load_;
    WaveForFile* r_;
    BlockAllocFn alloc_;
};

}  // namespace

bool walk_wave_file(WaveByteReader& file, bool load, WaveForFile* record, BlockAllocFn alloc) {
    uint8_t head[12] = {};
    file.read(head, sizeof head);  // a short file keeps zeros and fails the signature test
    if (read_u32le(head) != kRiffTag || read_u32le(head + 8) != kWaveForm) return false;

    // riffSize + 4, not + 8: the walk stops 4 bytes short of the end of the RIFF body.
    const int64_t limit = int64_t(read_u32le(head + 4)) + 4;
    Walk walk(file, load, record, alloc);
    for (int64_t at = file.position(); at < limit; at = file.position()) {
        uint8_t header[8];
        // End of file inside a chunk header ends the walk, with what was found so far.
        if (file.read(header, sizeof header) != sizeof header) break;
        const uint32_t size = read_u32le(header + 4);
        const int64_t body = file.position();
        if (!walk.chunk(read_u32le(header), size, body)) return false;
        file.set_position(int64_t(next_chunk(uint64_t(body), size)));
    }
    if (!load) file.set_position(record->llDataOffset);
    return true;
}

void free_wave_blocks(WaveForFile* record) {
    std::free(record->lpFormat);
    std::free(record->lpData);
    record->lpFormat = nullptr;
    record->lpData = nullptr;
}

size_t MemoryByteReader::read(void* out, size_t n) {
    if (position_ < 0 || uint64_t(position_) >= size_) return 0;
    size_t got = std::min<uint64_t>(n, size_ - uint64_t(position_));
    std::memcpy(out, bytes_ + position_, got);
    position_ += int64_t(got);
    return got;
}

}  // namespace mediakit
