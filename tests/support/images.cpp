#include "images.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace mktest {

HeapImage::HeapImage(int width, int height, int bit_count, int palette_entries) {
    BITMAPINFOHEADER info{};
    info.biSize = 40;
    info.biWidth = width;
    info.biHeight = height;
    info.biPlanes = 1;
    info.biBitCount = static_cast<WORD>(bit_count);
    if (palette_entries >= 0) info.biClrUsed = static_cast<DWORD>(palette_entries);
    WORD entries = NumOfPalletColors(&info);
    bd_.bmfHeader.bfType = mediakit::kBmpMagic;
    bd_.bmfHeader.bfOffBits = static_cast<DWORD>(14 + mediakit::info_block_bytes(entries));
    bd_.lpbmi = static_cast<BITMAPINFO*>(std::calloc(1, mediakit::info_block_bytes(entries)));
    std::memcpy(bd_.lpbmi, &info, sizeof info);
    size_t n = static_cast<size_t>(BytesPerLine(&info)) * height;
    bd_.bmfHeader.bfSize = static_cast<DWORD>(bd_.bmfHeader.bfOffBits + n);
    bd_.lpBits = static_cast<BYTE*>(std::malloc(n ? n : 1));
    Rng rng(static_cast<uint64_t>(width) * 7919 + height);
    fill(rng);
}

HeapImage::~HeapImage() {
    std::free(bd_.lpBits);
    std::free(bd_.lpbmi);
}

void HeapImage::fill(Rng& rng) {
    for (size_t i = 0; i < bytes(); ++i) bd_.lpBits[i] = rng.biased_byte();
}

std::string first_difference(const std::vector<uint8_t>& expected, const uint8_t* actual,
                             size_t n) {
    for (size_t i = 0; i < n; ++i) {
        if (i >= expected.size() || expected[i] != actual[i]) {
            char text[96];
            std::snprintf(text, sizeof text, "first difference at byte %zu: expected %d, got %d", i,
                          i < expected.size() ? expected[i] : -1, actual[i]);
            return text;
        }
    }
    return "";
}

}  // namespace mktest
