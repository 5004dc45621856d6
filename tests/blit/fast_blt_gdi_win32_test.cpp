#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>
#include <vector>

#include "blit/mmx_switch.h"
#include "mediakit.h"
#include "platform/blit_calls.h"
#include "rng.h"

namespace {

struct BitBltCall {
    HDC dst;
    int x, y, w, h;
    HDC src;
    int sx, sy;
    DWORD rop;
};
std::vector<BitBltCall> g_calls;
BOOL WINAPI record_bitblt(HDC d, int x, int y, int w, int h, HDC s, int sx, int sy, DWORD rop) {
    g_calls.push_back({d, x, y, w, h, s, sx, sy, rop});
    return TRUE;
}

class FastBltGdi : public testing::Test {
protected:
    void SetUp() override { mediakit::g_mmxAvailable = 1; }
    void TearDown() override {
        SetUsageMMX(1);
        DeleteBitmapData(&dst_);
        DeleteBitmapData(&src_);
        DeleteDC(hdc_);
    }
    void make(WORD bits, int w, int h) {
        RGBQUAD palette[256] = {};
        ASSERT_EQ(BufferDIBSection(hdc_, w, h, bits, palette, &dst_), 1);
        ASSERT_EQ(BufferDIBSection(hdc_, w, h, bits, palette, &src_), 1);
        mktest::Rng rng(bits);
        size_t n = size_t(BytesPerLine(&dst_.lpbmi->bmiHeader)) * h;
        for (size_t i = 0; i < n; ++i) src_.lpBits[i] = rng.byte();
    }
    std::vector<uint8_t> dst_bytes() const {
        return {dst_.lpBits, dst_.lpBits + size_t(BytesPerLine(&dst_.lpbmi->bmiHeader)) * dst_.lpbmi->bmiHeader.biHeight};
    }
    HDC hdc_ = CreateCompatibleDC(nullptr);
    BitmapData dst_{}, src_{};
};

TEST_F(FastBltGdi, SwitchedOffPassesTheCallersValuesToBitBlt) {
    const mediakit::BlitCalls fake = {record_bitblt};
    mediakit::set_blit_calls_for_test(&fake);
    BitmapData a{}, b{};
    a.hdc = reinterpret_cast<HDC>(0x111);
    b.hdc = reinterpret_cast<HDC>(0x222);
    SetUsageMMX(0);
    FastBlt(&a, -5, 7, 1000, -3, &b, 99999, -42);
    SetUsageMMX(1);
    FastBlt(&a, 0, 0, 1, 1, &b, 0, 0);  // MMX path: a holds no image, nothing happens
    mediakit::set_blit_calls_for_test(nullptr);
    ASSERT_EQ(g_calls.size(), 1u);
    const BitBltCall& c = g_calls[0];
    EXPECT_EQ(c.dst, a.hdc);
    EXPECT_EQ(c.src, b.hdc);
    EXPECT_EQ(c.x, -5);
    EXPECT_EQ(c.y, 7);
    EXPECT_EQ(c.w, 1000);
    EXPECT_EQ(c.h, -3);
    EXPECT_EQ(c.sx, 99999);
    EXPECT_EQ(c.sy, -42);
    EXPECT_EQ(c.rop, DWORD(SRCCOPY));
}

// Both paths copy the same pixels between 24-bit sections; only GDI copies 8-bit ones.
TEST_F(FastBltGdi, PathsAgreeOn24BitAndOnlyGdiCopies8Bit) {
    ASSERT_NO_FATAL_FAILURE(make(24, 29, 13));
    std::vector<uint8_t> by_path[2];
    for (int mmx = 0; mmx < 2; ++mmx) {
        std::memset(dst_.lpBits, 0x5A, dst_bytes().size());
        SetUsageMMX(mmx);
        FastBlt(&dst_, 3, -2, 20, 9, &src_, 1, 4);
        GdiFlush();
        by_path[mmx] = dst_bytes();
    }
    EXPECT_EQ(by_path[0], by_path[1]);
    EXPECT_NE(by_path[0], std::vector<uint8_t>(by_path[0].size(), 0x5A));
    DeleteBitmapData(&dst_);
    DeleteBitmapData(&src_);

    ASSERT_NO_FATAL_FAILURE(make(8, 16, 4));
    std::memset(dst_.lpBits, 0, dst_bytes().size());
    SetUsageMMX(1);
    FastBlt(&dst_, 0, 0, 16, 4, &src_, 0, 0);
    EXPECT_EQ(dst_bytes(), std::vector<uint8_t>(dst_bytes().size(), 0));
    SetUsageMMX(0);
    FastBlt(&dst_, 0, 0, 16, 4, &src_, 0, 0);
    GdiFlush();
    EXPECT_EQ(0, std::memcmp(dst_.lpBits, src_.lpBits, dst_bytes().size()));
}

}  // namespace
