// Palette size and stride rules, header decoding and the blits' view of a record.
#include "image/bitmap_record.h"

#include <algorithm>
#include <cstring>

extern "C" WORD MEDIAKIT_CALL NumOfPalletColors(const BITMAPINFOHEADER* lpbi) {
    if (!lpbi) return 0;
    if (lpbi->biClrUsed != 0) return static_cast<WORD>(lpbi->biClrUsed);
    switch (lpbi->biBitCount) {
        case 1: return 2;
        case 4: return 16;
        case 8: return 256;
        default: return 0;
    }
}

extern "C" LONG MEDIAKIT_CALL BytesPerLine(const BITMAPINFOHEADER* lpbi) {
    if (!lpbi) return 0;
    // 32-bit arithmetic that wraps like the processor's: a huge width gives a wrapped (often
    // negative) stride, which pixel_block_bytes and make_view then refuse.
    uint32_t bits = static_cast<uint32_t>(lpbi->biWidth) * lpbi->biPlanes * lpbi->biBitCount + 31u;
    return static_cast<LONG>(static_cast<int32_t>(bits) >> 3) & ~3;
}

namespace mediakit {

bool is_bmp_header(const BITMAPFILEHEADER& header) {
    return header.bfType == kBmpMagic && header.bfReserved1 == 0 && header.bfReserved2 == 0;
}

int64_t pixel_block_bytes(const BITMAPINFOHEADER& info) {
    int64_t bytes = static_cast<int64_t>(BytesPerLine(&info)) * info.biHeight;
    return (bytes < 0 || bytes > kMaxPixelBlockBytes) ? -1 : bytes;
}

BITMAPFILEHEADER decode_file_header(const uint8_t* p) {
    BITMAPFILEHEADER h;
    h.bfType = read_u16le(p);
    h.bfSize = read_u32le(p + 2);
    h.bfReserved1 = read_u16le(p + 6);
    h.bfReserved2 = read_u16le(p + 8);
    h.bfOffBits = read_u32le(p + 10);
    return h;
}

BITMAPINFOHEADER decode_info_header(const uint8_t* p) {
    BITMAPINFOHEADER h;
    h.biSize = read_u32le(p);
    h.biWidth = static_cast<LONG>(read_u32le(p + 4));
    h.biHeight = static_cast<LONG>(read_u32le(p + 8));
    h.biPlanes = read_u16le(p + 12);
    h.biBitCount = read_u16le(p + 14);
    h.biCompression = read_u32le(p + 16);
    h.biSizeImage = read_u32le(p + 20);
    h.biXPelsPerMeter = static_cast<LONG>(read_u32le(p + 24));
    h.biYPelsPerMeter = static_cast<LONG>(read_u32le(p + 28));
    h.biClrUsed = read_u32le(p + 32);
    h.biClrImportant = read_u32le(p + 36);
    return h;
}

bool make_view(const BitmapData* bd, ImageView* view) {
    if (!bd || !bd->lpbmi || !bd->lpBits) return false;
    const BITMAPINFOHEADER& info = bd->lpbmi->bmiHeader;
    int32_t stride = BytesPerLine(&info);
    int64_t row_bytes = (static_cast<int64_t>(info.biWidth) * info.biBitCount + 7) / 8;
    if (info.biWidth < 0 || stride < row_bytes) return false;
    *view = ImageView{bd->lpBits, stride, info.biWidth, info.biHeight, info.biBitCount};
    return true;
}

void load_palette(const BitmapData* bd, Palette256* out) {
    std::memset(out, 0, sizeof *out);
    if (!bd || !bd->lpbmi) return;
    size_t n = std::min<size_t>(NumOfPalletColors(&bd->lpbmi->bmiHeader), 256);
    std::memcpy(out->entries, bd->lpbmi->bmiColors, n * sizeof(RGBQUAD));
}

}  // namespace mediakit
