// The key, blend and fill blits on records with arbitrary headers (any size, depth, plane
// count and table length) and arbitrary rectangles, strengths and keys: nothing may be read
// or written outside each record's pixel block and colour table, at any vector level and
// either setting of the switch. Blocks are allocated at their exact sizes.
#include <cstdint>
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
    int32_t i32() { return static_cast<int32_t>(u32()); }
    // Small values mostly, so that rectangles meet images; now and then any 32-bit value.
    int32_t coord() {
        uint8_t b = byte();
        return b == 0xFF ? i32() : static_cast<int8_t>(byte());
    }
};

struct Record {
    explicit Record(Reader& in) {
        BITMAPINFOHEADER h{};
        h.biSize = 40;
        h.biWidth = in.byte() % 70;
        h.biHeight = static_cast<int8_t>(in.byte()) % 20;
        h.biPlanes = in.byte() % 3;
        static const WORD kDepths[] = {8, 24, 24, 8, 1, 4, 16, 32};
        uint8_t d = in.byte();
        h.biBitCount = d < 248 ? kDepths[d % 8] : d;
        uint8_t used = in.byte();
        h.biClrUsed = used < 200 ? 0 : used;
        size_t info = mediakit::info_block_bytes(NumOfPalletColors(&h));
        bd.lpbmi = static_cast<BITMAPINFO*>(std::malloc(info));
        std::memset(bd.lpbmi, 0x5A, info);
        std::memcpy(bd.lpbmi, &h, sizeof h);
        int64_t bytes = mediakit::pixel_block_bytes(h);
        size_t n = bytes > 0 ? static_cast<size_t>(bytes) : 0;
        bd.lpBits = static_cast<BYTE*>(std::malloc(n ? n : 1));
        for (size_t i = 0; i < n; ++i) bd.lpBits[i] = in.byte();
    }
    ~Record() {
        std::free(bd.lpBits);
        std::free(bd.lpbmi);
    }
    BitmapData bd{};
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Reader in{data, size};
    int level = in.byte() % (static_cast<int>(mediakit::best_simd_level()) + 1);
    mediakit::set_simd_level_for_test(static_cast<mediakit::SimdLevel>(level));
    mediakit::g_mmxAvailable = 1;
    mediakit::g_mmxDisabled = in.byte() & 1;
    int32_t args[12];
    for (int32_t& a : args) a = in.coord();
    int32_t k = in.byte() < 128 ? in.byte() * 2 : in.i32();
    Record dst(in), src(in), mask(in);
    BitmapData* d = &dst.bd;
    const int32_t* a = args;
    switch (in.byte() % 8) {
        case 0: MaskKeyBlt(d, a[0], a[1], a[2], a[3], &src.bd, a[4], a[5], &mask.bd, a[6], a[7], k); break;
        case 1: MaskKeyBlt2(d, a[0], a[1], a[2], a[3], &src.bd, a[4], a[5], &mask.bd, a[6], a[7], a[8], k); break;
        case 2: MaskTimeKeyBlt(d, a[0], a[1], a[2], a[3], &src.bd, a[4], a[5], &mask.bd, a[6], a[7], k); break;
        case 3: AlphaBlendBlt(d, a[0], a[1], a[2], a[3], &src.bd, a[4], a[5], &mask.bd, a[6], a[7], k); break;
        case 4: FillAlpha(d, a[0], a[1], a[2], a[3], static_cast<COLORREF>(a[8]), k); break;
        case 5: ColorKeyBlt(d, a[0], a[1], a[2], a[3], &src.bd, a[4], a[5]); break;
        case 6: ColorKeyBlt2(d, a[0], a[1], a[2], a[3], &src.bd, a[4], a[5], k); break;
        case 7: AddColorValue(d, a[0], a[1], a[2], a[3], k); break;
    }
    return 0;
}
