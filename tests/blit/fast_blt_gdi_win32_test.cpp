// FastBlt with the switch off: GDI's BitBlt between the records' device contexts with the
// caller's values as they are.
#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>
#include <vector>

#include "blit/mmx_switch.h"
#include "call_fake.h"
#include "mediakit.h"
#include "platform/gdi32_calls.h"
#include "rng.h"

namespace {

TEST(FastBltGdi, SwitchedOffPassesTheCallersValuesToBitBlt) {
    mktest::CallLog log;
    mktest::Fake<&mediakit::Gdi32Calls::BitBlt> bitblt(log, [](auto...) { return TRUE; });
    mediakit::g_mmxAvailable = 1;
    BitmapData a{}, b{};
    a.hdc = reinterpret_cast<HDC>(0x111), b.hdc = reinterpret_cast<HDC>(0x222);
    SetUsageMMX(0);
    FastBlt(&a, -5, 7, 1000, -3, &b, 99999, -42);
    SetUsageMMX(1);
    FastBlt(&a, 0, 0, 1, 1, &b, 0, 0);  // the other path: a holds no image, nothing happens
    ASSERT_EQ(log.names(), "BitBlt");
    EXPECT_EQ(log.calls()[0].values(), (std::vector<int64_t>{0x111, -5, 7, 1000, -3, 0x222, 99999, -42, SRCCOPY}));
}

// Both paths copy the same pixels between 24-bit sections; only GDI copies 8-bit ones.
TEST(FastBltGdi, PathsAgreeOn24BitAndOnlyGdiCopies8Bit) {
    HDC hdc = CreateCompatibleDC(nullptr);
    mediakit::g_mmxAvailable = 1;
    for (WORD bits : {24, 8}) {
        RGBQUAD palette[256] = {};
        BitmapData dst{}, src{};
        ASSERT_EQ(BufferDIBSection(hdc, 28, 13, bits, palette, &dst), 1);
        ASSERT_EQ(BufferDIBSection(hdc, 28, 13, bits, palette, &src), 1);
        const size_t n = size_t(BytesPerLine(&dst.lpbmi->bmiHeader)) * 13;
        mktest::Rng rng(bits);
        for (size_t i = 0; i < n; ++i) src.lpBits[i] = rng.byte();
        std::vector<uint8_t> by_path[2], untouched(n, 0x5A);
        for (int on = 0; on < 2; ++on) {
            std::memset(dst.lpBits, 0x5A, n);
            SetUsageMMX(on);
            FastBlt(&dst, bits == 8 ? 0 : 3, bits == 8 ? 0 : -2, 28, 13, &src, bits == 8 ? 0 : 1, bits == 8 ? 0 : 4);
            GdiFlush();
            by_path[on].assign(dst.lpBits, dst.lpBits + n);
        }
        EXPECT_EQ(by_path[1], bits == 24 ? by_path[0] : untouched) << bits;
        EXPECT_NE(by_path[0], untouched) << bits;
        if (bits == 8) {
            EXPECT_EQ(by_path[0], std::vector<uint8_t>(src.lpBits, src.lpBits + n));  // all of it
        }
        DeleteBitmapData(&dst);
        DeleteBitmapData(&src);
    }
    DeleteDC(hdc);
    SetUsageMMX(1);
}

}  // namespace
