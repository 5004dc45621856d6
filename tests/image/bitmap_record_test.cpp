#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "image/bitmap_record.h"

namespace {

BITMAPINFOHEADER header(int32_t width, uint16_t bits, uint32_t clr_used = 0, uint16_t planes = 1,
                        int32_t height = 1) {
    BITMAPINFOHEADER h{};
    h.biSize = 40;
    h.biWidth = width;
    h.biHeight = height;
    h.biPlanes = planes;
    h.biBitCount = bits;
    h.biClrUsed = clr_used;
    return h;
}

TEST(PaletteSize, CountsByClrUsedThenByDepth) {
    struct Row { uint16_t bits; uint32_t clr_used; WORD expected; };
    const Row rows[] = {
        {1, 0, 2},    {4, 0, 16},  {8, 0, 256},  {0, 0, 0},   {2, 0, 0},
        {16, 0, 0},   {24, 0, 0},  {32, 0, 0},   {8, 20, 20}, {24, 2, 2},
        {8, 0x10005, 5},  // only the low 16 bits of biClrUsed count
    };
    for (const Row& r : rows) {
        BITMAPINFOHEADER h = header(1, r.bits, r.clr_used);
        EXPECT_EQ(NumOfPalletColors(&h), r.expected) << r.bits << " bits, biClrUsed " << r.clr_used;
    }
}

TEST(Stride, IsTheDwordAlignedRowWithPlanesInTheProduct) {
    struct Row { int32_t width; uint16_t bits; uint16_t planes; LONG expected; };
    const Row rows[] = {
        {3, 24, 1, 12}, {1, 24, 1, 4},  {33, 1, 1, 8},  {5, 24, 1, 16}, {4, 24, 1, 12},
        {640, 24, 1, 1920}, {3, 8, 1, 4}, {3, 24, 2, 20}, {7, 24, 0, 0}, {0, 24, 1, 0},
        {-1, 24, 1, 0},  // (-24 + 31) >> 3 = 0
        {-100, 24, 1, -300},
        // 32-bit arithmetic that wraps: 0x7FFFFFFF × 24 + 31
        {0x7FFFFFFF, 24, 1, static_cast<LONG>(static_cast<int32_t>(0x7FFFFFFFu * 24u + 31u) >> 3) & ~3},
    };
    for (const Row& r : rows) {
        BITMAPINFOHEADER h = header(r.width, r.bits, 0, r.planes);
        EXPECT_EQ(BytesPerLine(&h), r.expected) << r.width << " × " << r.bits << " bits × " << r.planes;
    }
}

TEST(PixelBlock, RefusesTopDownWrappedAndHugeBlocks) {
    EXPECT_EQ(mediakit::pixel_block_bytes(header(640, 24, 0, 1, 480)), 921600);
    EXPECT_EQ(mediakit::pixel_block_bytes(header(640, 24, 0, 1, 0)), 0);
    EXPECT_EQ(mediakit::pixel_block_bytes(header(640, 24, 0, 1, -480)), -1);
    EXPECT_EQ(mediakit::pixel_block_bytes(header(-640, 24, 0, 1, 480)), -1);
    EXPECT_EQ(mediakit::pixel_block_bytes(header(30000, 24, 0, 1, 30000)), -1);
    EXPECT_EQ(mediakit::pixel_block_bytes(header(0x05555556, 24, 0, 1, 1)), -1);  // wraps negative
    EXPECT_EQ(mediakit::pixel_block_bytes(header(0x7FFFFFFF, 24, 0, 1, 1)), 0);   // wraps to 7 bits
}

TEST(View, RefusesRecordsWhoseStrideCannotHoldARow) {
    BYTE pixels[64] = {};
    struct Row { int32_t width; uint16_t bits; uint16_t planes; bool ok; };
    const Row rows[] = {{5, 24, 1, true}, {5, 24, 0, false}, {5, 8, 1, true}, {-5, 24, 1, false},
                        {0x7FFFFFFF, 24, 1, false}, {0, 24, 1, true}};
    for (const Row& r : rows) {
        BITMAPINFOHEADER h = header(r.width, r.bits, 0, r.planes);
        BitmapData bd{};
        bd.lpbmi = reinterpret_cast<BITMAPINFO*>(&h);
        bd.lpBits = pixels;
        mediakit::ImageView v;
        EXPECT_EQ(mediakit::make_view(&bd, &v), r.ok) << r.width << " × " << r.bits << " × " << r.planes;
    }
    mediakit::ImageView v;
    EXPECT_FALSE(mediakit::make_view(nullptr, &v));
    BitmapData empty{};
    EXPECT_FALSE(mediakit::make_view(&empty, &v));
}

}  // namespace

namespace {

TEST(Palette, HasTheRecordsEntriesThenBlack) {
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
