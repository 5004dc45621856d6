// A BMP file image in memory, read within a known length: the headers and palette, the
// info block handed to the system, and the pixel copy that never reads past the image.
#pragma once

#include <cstddef>
#include <cstdint>

#include "image/bitmap_record.h"

namespace mediakit {

enum class BmpImageStatus {
    kOk,
    kNotBmp,     ///< shorter than a file header, wrong magic or a reserved word set
    kTruncated,  ///< the info header or palette runs past the end of the image
    kBadSize,    ///< top-down, or a pixel block larger than a record may hold
};

struct BmpMemoryImage {
    BITMAPFILEHEADER file;
    BITMAPINFOHEADER info;
    WORD palette_entries;
    const uint8_t* info_block;  ///< the info header and palette, info_block_bytes() long
    int64_t pixel_bytes;        ///< BytesPerLine × biHeight
};

BmpImageStatus read_bmp_image(const uint8_t* image, size_t length, BmpMemoryImage* out);

/// The most the system reads of a BITMAPINFO after its header: a full colour table, or the
/// colour masks.
constexpr size_t kColourTableMaxBytes = 256 * 4 + 16;
/// The system takes info headers of any size from 40 bytes on; larger than this is refused.
constexpr uint32_t kMaxInfoHeaderBytes = 64 * 1024;

/// Bytes of the info block to hand to the system: the header as long as its biSize says,
/// and room for a colour table. 0 for a header longer than kMaxInfoHeaderBytes.
size_t system_info_bytes(const BmpMemoryImage& bmp);

/// Copies n bytes of the image's info block for the system, zero past the end of the image.
void copy_system_info(const uint8_t* image, size_t length, uint8_t* out, size_t n);

/// Fills dst with the pixel block: the image's bytes from bfOffBits on, as far as the image
/// goes, then zeros.
void copy_pixel_block(const uint8_t* image, size_t length, const BmpMemoryImage& bmp,
                      uint8_t* dst, size_t dst_bytes);

}  // namespace mediakit
