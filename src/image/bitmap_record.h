// The image record as the library's own code sees it: the public record plus the layout
// rules (palette size, stride, pixel block size) that every image reader and blit uses.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/le_bytes.h"
#include "platform/win32_types.h"
#include "mediakit.h"

namespace mediakit {

constexpr WORD kBmpMagic = 0x4D42;  // "BM" in file order
constexpr size_t kFileHeaderBytes = 14;
constexpr size_t kInfoHeaderBytes = 40;
constexpr size_t kHeadersBytes = kFileHeaderBytes + kInfoHeaderBytes;

/// Largest pixel block a record may have. A 32-bit process cannot hold more, and the
/// native build keeps the same limit so that both builds accept the same files.
constexpr int64_t kMaxPixelBlockBytes = INT32_MAX;

/// Size of an lpbmi block: the info header and n palette entries.
constexpr size_t info_block_bytes(WORD palette_entries) {
    return kInfoHeaderBytes + 4u * palette_entries;
}

/// The loaders' acceptance test, also the saver's: magic "BM" and both reserved words 0.
bool is_bmp_header(const BITMAPFILEHEADER& header);

/// BytesPerLine × biHeight in 64 bits, or -1 when that is negative (a top-down image or a
/// stride that wrapped) or larger than kMaxPixelBlockBytes.
int64_t pixel_block_bytes(const BITMAPINFOHEADER& info);

BITMAPFILEHEADER decode_file_header(const uint8_t* p);  ///< 14 bytes
BITMAPINFOHEADER decode_info_header(const uint8_t* p);  ///< 40 bytes

/// A 24-bit (or other depth) record as the blits address it.
struct ImageView {
    uint8_t* bits;
    int32_t stride;
    int32_t width;
    int32_t height;
    uint16_t bit_count;
};

/// False for a record the blits must not touch: null, without pixels, or with a stride too
/// short for its width (a zero plane count, a stride that wrapped).
bool make_view(const BitmapData* bd, ImageView* view);

/// The lowest-addressed byte of the rectangle whose left column is x, top row y and height
/// h: rows are stored bottom-up, so that is the start of image row y + h - 1, and column x
/// lies (x × bit count + 7) / 8 bytes into it (3x for 24 bits, x for 8).
inline uint8_t* rect_start(const ImageView& v, int32_t x, int32_t y, int32_t h) {
    return v.bits + static_cast<ptrdiff_t>(v.height - y - h) * v.stride +
           (static_cast<ptrdiff_t>(x) * v.bit_count + 7) / 8;
}

/// The colour table of an 8-bit record, always 256 entries: those of the record's own
/// table, then black for indices the table does not have, so that any pixel byte can be
/// looked up without reading past the record's info block.
struct Palette256 {
    RGBQUAD entries[256];
};
void load_palette(const BitmapData* bd, Palette256* out);

}  // namespace mediakit
