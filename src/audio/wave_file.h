// The RIFF WAVE walk over a file: format block, "fact" sample count, data (read into
// memory, or its offset for streaming) and the first "smpl" loop, read through a byte
// reader so that the same walk runs over a Win32 file handle and over memory.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/win32_types.h"
#include "mediakit.h"

namespace mediakit {

/// A file as the walk sees it: reads that report what they delivered, and 64-bit positions
/// that may be set past the end (reads there deliver nothing).
class WaveByteReader {
public:
    virtual size_t read(void* out, size_t n) = 0;
    virtual int64_t position() = 0;
    virtual void set_position(int64_t offset) = 0;

protected:
    ~WaveByteReader() = default;
};

/// Allocates the format and data blocks; whatever it returns is released with free().
using BlockAllocFn = void* (*)(size_t);

/// Walks an open file from offset 0 into a record that holds no blocks. Loading mode
/// (load true) reads the data body into lpData; streaming mode leaves the reader at the
/// first data byte (offset 0 without a "data" chunk). The walk ends at riffSize + 4 or at
/// the first chunk header the file cannot supply in full.
/// False for a wrong signature, a "fmt " chunk shorter than 14 bytes or a block that
/// cannot be allocated; the caller then releases the record.
bool walk_wave_file(WaveByteReader& file, bool load, WaveForFile* record, BlockAllocFn alloc);

/// Frees lpFormat and lpData and sets them to 0; leaves the other fields alone.
void free_wave_blocks(WaveForFile* record);

/// The reader over a whole file held in memory.
class MemoryByteReader final : public WaveByteReader {
public:
    MemoryByteReader(const uint8_t* bytes, size_t size) : bytes_(bytes), size_(size) {}
    size_t read(void* out, size_t n) override;
    int64_t position() override { return position_; }
    void set_position(int64_t offset) override { position_ = offset; }

private:
    const uint8_t* bytes_;
    size_t size_;
    int64_t position_ = 0;
};

}  // namespace mediakit
