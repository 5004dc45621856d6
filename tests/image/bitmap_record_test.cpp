#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "image/bitmap_record.h"

namespace {

BITMAPINFOHEADER header(int32_t width, uint16_t bits, uint32_t clr_used = 0, uint16_t planes = 1, int32_t height = 1) {
    BITMAPINFOHEADER h{};
    h.biSize = 40;
    h.biWidth = width;
    h.biHeight = height;
    h.biPlanes = planes;
    h.biBitCount = bits;
    h.biClrUsed = clr_used;
    return h;
}

// Palette entries (biClrUsed's low 16 bits first, then the depth) and the DWORD-aligned row
// with the planes in the product, computed in 32 bits that may wrap.
TEST(Header, PaletteEntriesAndStride) {
    struct Row { int32_t width; uint16_t bits; uint32_t clr_used; uint16_t planes; WORD entries; LONG stride; };
    const Row rows[] = {
        {33, 1, 0, 1, 2, 8},       {3, 4, 0, 1, 16, 4},      {3, 8, 0, 1, 256, 4},   {3, 0, 0, 1, 0, 0},
        {3, 2, 0, 1, 0, 4},        {3, 16, 0, 1, 0, 8},      {3, 32, 0, 1, 0, 12},   {3, 8, 20, 1, 20, 4},
        {3, 24, 2, 1, 2, 12},      {3, 8, 0x10005, 1, 5, 4}, {1, 24, 0, 1, 0, 4},    {5, 24, 0, 1, 0, 16},
        {4, 24, 0, 1, 0, 12},      {640, 24, 0, 1, 0, 1920}, {3, 24, 0, 2, 0, 20},   {7, 24, 0, 0, 0, 0},
        {0, 24, 0, 1, 0, 0},       {-1, 24, 0, 1, 0, 0},     {-100, 24, 0, 1, 0, -300},
        {0x7FFFFFFF, 24, 0, 1, 0, static_cast<LONG>(static_cast<int32_t>(0x7FFFFFFFu * 24u + 31u) >> 3) & ~3},
    };
    for (const Row& r : rows) {
        BITMAPINFOHEADER h = header(r.width, r.bits, r.clr_used, r.planes);
        EXPECT_EQ(NumOfPalletColors(&h), r.entries) << r.bits << " bits, biClrUsed " << r.clr_used;
        EXPECT_EQ(BytesPerLine(&h), r.stride) << r.width << " × " << r.bits << " bits × " << r.planes;
    }
}

// Pixel blocks refuse top-down, wrapped and huge sizes; views refuse records whose stride
// cannot hold a row.
TEST(Header, PixelBlockAndView) {
    struct Row { int32_t width, height; uint16_t planes; int64_t block; bool view; };
    const Row rows[] = {{640, 480, 1, 921600, true}, {640, 0, 1, 0, true},          {640, -480, 1, -1, true},
                        {-640, 480, 1, -1, false},   {30000, 30000, 1, -1, true},   {0x05555556, 1, 1, -1, false},
                        {0x7FFFFFFF, 1, 1, 0, false}, {5, 1, 0, 0, false},           {0, 1, 1, 0, true}};
    BYTE pixels[64] = {};
    for (const Row& r : rows) {
        BITMAPINFOHEADER h = header(r.width, 24, 0, r.planes, r.height);
        EXPECT_EQ(mediakit::pixel_block_bytes(h), r.block) << r.width << " × " << r.height;
        BitmapData bd{};
        bd.lpbmi = reinterpret_cast<BITMAPINFO*>(&h);
        bd.lpBits = pixels;
        mediakit::ImageView v;
        EXPECT_EQ(mediakit::make_view(&bd, &v), r.view) << r.width << " × " << r.height << " × " << r.planes;
    }
    mediakit::ImageView v;
    BitmapData empty{};
    EXPECT_FALSE(mediakit::make_view(nullptr, &v));
    EXPECT_FALSE(mediakit::make_view(&empty, &v));
}

TEST(Header, PaletteHasTheRecordsEntriesThenBlack) {
    for (uint32_t clr_used : {0u, 1u, 16u, 255u, 256u, 300u}) {
        BITMAPINFOHEADER h = header(4, 8, clr_used);
        std::vector<uint8_t> block(mediakit::info_block_bytes(NumOfPalletColors(&h)), 0);
        std::memcpy(block.data(), &h, sizeof h);
        for (size_t i = 40; i < block.size(); ++i) block[i] = uint8_t(i | 1);
        BitmapData bd{};
        bd.lpbmi = reinterpret_cast<BITMAPINFO*>(block.data());
        mediakit::Palette256 p;
        mediakit::load_palette(&bd, &p);
        size_t entries = clr_used ? clr_used : 256;
        for (size_t i = 0; i < 256; ++i) {
            const uint8_t* e = reinterpret_cast<const uint8_t*>(&p.entries[i]);
            for (int b = 0; b < 4; ++b)
                ASSERT_EQ(e[b], i < entries ? block[40 + 4 * i + b] : 0) << "biClrUsed " << clr_used << ", entry " << i;
        }
    }
}

}  // namespace
