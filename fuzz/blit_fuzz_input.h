// What the blit fuzz targets share: a reader over the input, records built from it with
// their blocks allocated at exactly the sizes their headers give (so that any access
// outside them is caught), and the choice of vector level and switch.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "base/cpu.h"
#include "blit/mmx_switch.h"
#include "image/bitmap_record.h"

namespace fuzzing {

struct Reader {
    const uint8_t* p;
    size_t n;
    uint8_t byte() { return n ? (--n, *p++) : 0; }
    uint32_t u32() { return uint32_t(byte()) << 24 | uint32_t(byte()) << 16 | uint32_t(byte()) << 8 | byte(); }
    double f64() {
        const uint64_t bits = uint64_t(u32()) << 32 | u32();
        double v;
        std::memcpy(&v, &bits, 8);
        return v;
    }
    /// Mostly small values, so that rectangles meet images; now and then any 32-bit value.
    int32_t coord() { return byte() < 224 ? int8_t(byte()) : int32_t(u32()); }
};

/// Any header: width, height (negative too), plane count, depth and table length.
struct Record {
    explicit Record(Reader& in) {
        static const WORD kDepths[] = {24, 24, 24, 8, 8, 1, 16, 32};
        BITMAPINFOHEADER h{};
        h.biSize = 40, h.biWidth = in.byte() % 70, h.biHeight = int8_t(in.byte()) / 4;
        h.biPlanes = in.byte() % 16 ? 1 : in.byte() % 3;
        const uint8_t depth = in.byte();
        h.biBitCount = depth < 248 ? kDepths[depth % 8] : depth;
        h.biClrUsed = in.byte() % 4 ? 0 : in.byte();
        const size_t info = mediakit::info_block_bytes(NumOfPalletColors(&h));
        const int64_t bytes = mediakit::pixel_block_bytes(h);
        n = bytes > 0 && bytes < (1 << 20) ? size_t(bytes) : 0;
        bd.lpbmi = static_cast<BITMAPINFO*>(std::malloc(info));
        bd.lpBits = static_cast<BYTE*>(std::malloc(n ? n : 1));
        if (!bd.lpbmi || !bd.lpBits) std::abort();
        std::memset(bd.lpbmi, in.byte(), info);
        std::memcpy(bd.lpbmi, &h, sizeof h);
        for (size_t i = 0; i < n; ++i) bd.lpBits[i] = uint8_t(i * 37 + in.byte());
    }
    ~Record() { std::free(bd.lpbmi), std::free(bd.lpBits); }
    BitmapData bd{};
    size_t n;
};

/// Bit 0: the switch; the rest: the vector level, among those the processor has.
inline void set_paths(uint8_t choice) {
    mediakit::g_mmxAvailable = 1;
    SetUsageMMX(choice & 1);
    mediakit::set_simd_level_for_test(mediakit::SimdLevel((choice >> 1) % (int(mediakit::best_simd_level()) + 1)));
}

}  // namespace fuzzing
