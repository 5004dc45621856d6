// BMP file images built byte by byte for tests, with every header field settable, and the
// loaders' rule for what a record must hold after loading such bytes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "image/bitmap_record.h"

namespace mktest {

struct BmpFields {
    uint16_t magic = 0x4D42;
    uint16_t reserved1 = 0, reserved2 = 0;
    uint32_t size_field = 0;  ///< 0: the real file size
    int32_t width = 4, height = 3;
    uint16_t planes = 1, bit_count = 24;
    uint32_t clr_used = 0;
    uint32_t off_bits = 0xFFFFFFFF;  ///< all ones: right after the palette
    uint32_t info_size = 40;
    int palette_entries = -1;  ///< entries written after the header; -1: NumOfPalletColors
    uint32_t gap = 0;          ///< bytes between palette and pixels
    uint32_t seed = 1;         ///< palette and pixel bytes
};

std::vector<uint8_t> make_bmp(const BmpFields& fields);

/// What LoadBitmapData must leave in a record for a file of these bytes: the header, the
/// 40-byte info header and palette from offset 14, the pixels from bfOffBits (or right after
/// the palette when it is 0), with every byte the file lacks zero. Empty `ok` for a file
/// whose load must fail.
struct ExpectedRecord {
    bool ok = false;
    std::vector<uint8_t> file_header, info_block, pixels;
};
ExpectedRecord expected_heap_load(const std::vector<uint8_t>& file);

/// Compares a record with what a load must give; "" when it matches.
std::string check_record(const ExpectedRecord& expected, const BitmapData& bd);

std::vector<uint8_t> read_file(const std::string& path);
void write_file(const std::string& path, const std::vector<uint8_t>& bytes);

}  // namespace mktest
