// The masked alpha blit and the timed transition on arbitrary records and arguments: any
// widths, heights (negative too), bit depths, palette sizes, origins, sizes, strengths and
// times, on either path and at any vector level. Every block is allocated at exactly its
// declared size, so a read or write outside a record is caught.
#include <cstdlib>
#include <cstring>

#include "blit/cpu.h"
#include "blit/mmx_switch.h"
#include "image/bitmap_record.h"

namespace {

struct Reader {
    const uint8_t* p;
    size_t n;
    uint32_t u32() {
        uint32_t v = 0;
        for (int i = 0; i < 4; ++i) v = v << 8 | byte();
        return v;
    }
    uint8_t byte() {
        if (!n) return 0;
        --n;
        return *p++;
    }
    // Mostly small values near the images, sometimes any 32-bit value.
    int32_t coordinate() {
        uint8_t kind = byte();
        return kind < 200 ? static_cast<int8_t>(byte()) : static_cast<int32_t>(u32());
    }
};

struct Record {
    BitmapData bd{};
    bool make(Reader& in) {
        static const WORD kDepths[] = {24, 24, 8, 8, 1, 4, 16, 32, 0, 2};
        BITMAPINFOHEADER info{};
        info.biSize = 40;
        info.biWidth = static_cast<int8_t>(in.byte()) * 3;
        info.biHeight = static_cast<int8_t>(in.byte()) / 4;
        info.biPlanes = 1;
        info.biBitCount = kDepths[in.byte() % 10];
        info.biClrUsed = in.byte() % 4 == 0 ? in.byte() : 0;
        int64_t pixels = static_cast<int64_t>(BytesPerLine(&info)) * info.biHeight;
        if (pixels < 0 || pixels > (1 << 20)) pixels = 0;
        size_t info_bytes = mediakit::info_block_bytes(NumOfPalletColors(&info));
        bd.lpbmi = static_cast<BITMAPINFO*>(std::malloc(info_bytes));
        bd.lpBits = static_cast<BYTE*>(std::malloc(pixels ? pixels : 1));
        if (!bd.lpbmi || !bd.lpBits) return false;
        std::memset(bd.lpbmi, in.byte(), info_bytes);
        std::memcpy(bd.lpbmi, &info, sizeof info);
        for (int64_t i = 0; i < pixels; ++i) bd.lpBits[i] = static_cast<BYTE>(i * 37 + in.byte());
        return true;
    }
    ~Record() {
        std::free(bd.lpbmi);
        std::free(bd.lpBits);
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Reader in{data, size};
    const uint8_t choice = in.byte();
    mediakit::g_mmxAvailable = 1;
    SetUsageMMX(choice & 1);
    mediakit::set_simd_level_for_test(static_cast<mediakit::SimdLevel>((choice >> 1) % mediakit::kSimdLevels));
    Record dst, src, src2, mask;
    if (!dst.make(in) || !src.make(in) || !src2.make(in) || !mask.make(in)) return 0;
    int32_t x = in.coordinate(), y = in.coordinate(), w = in.coordinate(), h = in.coordinate();
    int32_t sx = in.coordinate(), sy = in.coordinate(), sx2 = in.coordinate(), sy2 = in.coordinate();
    int32_t mx = in.coordinate(), my = in.coordinate();
    int32_t value = in.byte() < 128 ? static_cast<int16_t>(in.u32()) : static_cast<int32_t>(in.u32());
    if (choice & 8)
        MaskTimeAlphaBlt(&dst.bd, x, y, w, h, &src.bd, sx, sy, &src2.bd, sx2, sy2, &mask.bd, mx, my, value);
    else
        MaskAlphaBlt2(&dst.bd, x, y, w, h, &src.bd, sx, sy, &mask.bd, mx, my, value);
    return 0;
}
