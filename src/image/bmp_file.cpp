// BMP files read into and written from heap records with C stdio, and the BITMAPINFO
// reader. The readers are permissive: the compression, bit depth and file size are not
// looked at, and a file that ends early loads with the missing bytes zero.
#include <cstdlib>
#include <cstring>

#include "image/bitmap_record.h"
#include "image/stdio_file.h"

namespace mediakit {
namespace {

BOOL fail_load(BitmapData* bd) {
    std::free(bd->lpbmi);
    std::free(bd->lpBits);
    *bd = BitmapData{};
    return 0;
}

}  // namespace
}  // namespace mediakit

using namespace mediakit;

extern "C" BOOL MEDIAKIT_CALL LoadBitmapData(LPCSTR fileName, BitmapData* bd) {
    if (!fileName || !bd) return 0;
    StdioFile file(fileName, "rb");
    if (!file) return 0;
    *bd = BitmapData{};

    // The info header is taken to be a 40-byte BITMAPINFOHEADER whatever its biSize says.
    uint8_t head[kHeadersBytes];
    file.read_or_zero(head, sizeof head);
    bd->bmfHeader = decode_file_header(head);
    BITMAPINFOHEADER info = decode_info_header(head + kFileHeaderBytes);
    if (!is_bmp_header(bd->bmfHeader)) return fail_load(bd);

    WORD entries = NumOfPalletColors(&info);
    int64_t pixel_bytes = pixel_block_bytes(info);
    if (pixel_bytes < 0) return fail_load(bd);
    bd->lpbmi = static_cast<BITMAPINFO*>(std::malloc(info_block_bytes(entries)));
    bd->lpBits = static_cast<BYTE*>(std::malloc(pixel_bytes ? pixel_bytes : 1));
    if (!bd->lpbmi || !bd->lpBits) return fail_load(bd);

    std::memcpy(bd->lpbmi, &info, sizeof info);
    // The palette follows the 40-byte header (file offset 54); pixels start at bfOffBits,
    // or right after the palette when bfOffBits is 0.
    file.read_or_zero(bd->lpbmi->bmiColors, 4u * entries);
    if (bd->bmfHeader.bfOffBits != 0) file.seek(bd->bmfHeader.bfOffBits);
    file.read_or_zero(bd->lpBits, static_cast<size_t>(pixel_bytes));
    return 1;
}

extern "C" BOOL MEDIAKIT_CALL SaveBitmapData(LPCSTR fileName, BitmapData* bd) {
    if (!fileName || !bd || !is_bmp_header(bd->bmfHeader)) return 0;
    if (!bd->lpbmi || !bd->lpBits) return 0;
    int64_t pixel_bytes = pixel_block_bytes(bd->lpbmi->bmiHeader);
    if (pixel_bytes < 0) return 0;
    StdioFile file(fileName, "wb");
    if (!file) return 0;

    // The header goes out exactly as the record holds it; bfSize and bfOffBits are not
    // recomputed. Write errors are not reported.
    file.write(&bd->bmfHeader, kFileHeaderBytes);
    file.write(bd->lpbmi, kInfoHeaderBytes);
    file.write(bd->lpbmi->bmiColors, 4u * NumOfPalletColors(&bd->lpbmi->bmiHeader));
    file.write(bd->lpBits, static_cast<size_t>(pixel_bytes));
    return 1;
}

extern "C" BOOL MEDIAKIT_CALL LoadBitmapInfo(LPCSTR fileName, BITMAPINFO** ppbmi) {
    if (!fileName || !ppbmi) return 0;
    StdioFile file(fileName, "rb");
    if (!file) return 0;

    uint8_t head[kHeadersBytes];
    file.read_or_zero(head, sizeof head);
    if (!is_bmp_header(decode_file_header(head))) return 0;
    BITMAPINFOHEADER info = decode_info_header(head + kFileHeaderBytes);
    size_t block_bytes = info_block_bytes(NumOfPalletColors(&info));
    auto* block = static_cast<BITMAPINFO*>(std::malloc(block_bytes));
    if (!block) return 0;
    file.seek(kFileHeaderBytes);
    file.read_or_zero(block, block_bytes);
    *ppbmi = block;
    return 1;
}
