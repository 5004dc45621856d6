// What the blit tests share: records and rows flush against an inaccessible page, values
// leaning to the edges where the blits branch, and a fixture that pins one vector level.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <vector>

#include "blit/cpu.h"
#include "blit/mmx_switch.h"
#include "guarded.h"
#include "images.h"
#include "image/bitmap_record.h"
#include "rng.h"

namespace mktest {

using Guard = GuardedBuffer::Guard;

/// Pixels of `size` bytes in runs of 1..48: black, colour without a zero byte, white or
/// random bytes; what sprites and masks look like, and what whole-group shortcuts need.
inline void fill_runs(uint8_t* p, size_t pixels, int size, Rng& rng) {
    for (size_t i = 0; i < pixels;) {
        size_t end = i + std::min<size_t>(rng.range(1, 48), pixels - i);
        int kind = rng.range(0, 3);
        for (; i < end; ++i)
            for (int b = 0; b < size; ++b)
                p[i * size + b] = kind == 0 ? 0 : kind == 1 ? uint8_t(rng.range(1, 255)) : kind == 2 ? 0xFF : rng.biased_byte();
    }
}

/// A record whose pixel block ends at a guard page (or starts right after one), with a full
/// random colour table of which `palette_entries` count (-1: the depth's default).
class GuardedImage {
public:
    GuardedImage(int width, int height, int bits, Rng& rng, Guard guard = Guard::kAfter, int palette_entries = -1)
        : info_(mediakit::info_block_bytes(256)),
          pixels_(size_t(((int64_t(width) * bits + 31) >> 3) & ~3) * height, guard) {
        BITMAPINFOHEADER h{};
        h.biSize = 40, h.biWidth = width, h.biHeight = height, h.biPlanes = 1, h.biBitCount = WORD(bits);
        if (palette_entries >= 0) h.biClrUsed = DWORD(palette_entries);
        for (uint8_t& b : info_) b = rng.biased_byte();
        std::memcpy(info_.data(), &h, sizeof h);
        bd_.lpbmi = reinterpret_cast<BITMAPINFO*>(info_.data());
        bd_.lpBits = pixels_.data();
        for (int i = 0; i < 256; ++i)  // a quarter of the colours black, the key colour
            if (rng.range(0, 3) == 0) bd_.lpbmi->bmiColors[i] = {0, 0, 0, 0};
        for (size_t i = 0; i < bytes(); ++i) pixels_.data()[i] = rng.biased_byte();
    }
    BitmapData* record() { return &bd_; }
    int width() const { return bd_.lpbmi->bmiHeader.biWidth; }
    int height() const { return bd_.lpbmi->bmiHeader.biHeight; }
    int bits() const { return bd_.lpbmi->bmiHeader.biBitCount; }
    size_t bytes() const { return pixels_.size(); }
    bool inside(int x, int y) const { return x >= 0 && y >= 0 && x < width() && y < height(); }
    /// First byte of pixel (x, y), y = 0 being the top row.
    uint8_t* at(int x, int y) {
        return bd_.lpBits + size_t(height() - 1 - y) * BytesPerLine(&bd_.lpbmi->bmiHeader) + x * (bits() / 8);
    }
    /// Blue, green, red as the blits read them: the bytes, or the table entry (black beyond
    /// the record's own table).
    void colour(int x, int y, uint8_t out[3]) {
        if (bits() != 8) return void(std::memcpy(out, at(x, y), 3));
        int index = *at(x, y);
        const RGBQUAD& c = bd_.lpbmi->bmiColors[index];
        bool listed = index < NumOfPalletColors(&bd_.lpbmi->bmiHeader);
        out[0] = listed ? c.rgbBlue : 0, out[1] = listed ? c.rgbGreen : 0, out[2] = listed ? c.rgbRed : 0;
    }
    void fill_runs(Rng& rng) { mktest::fill_runs(pixels_.data(), bytes() / (bits() / 8), bits() / 8, rng); }
    std::vector<uint8_t> snapshot() { return {pixels_.data(), pixels_.data() + bytes()}; }
    void restore(const std::vector<uint8_t>& b) { std::memcpy(pixels_.data(), b.data(), b.size()); }

private:
    std::vector<uint8_t> info_;
    GuardedBuffer pixels_;
    BitmapData bd_{};
};

/// The mixing rule in 64 bits: a moved towards b by w/256, rounded down, low 8 bits kept.
inline uint8_t mixed(int a, int b, int w) { return uint8_t(a + ((int64_t(b) - a) * w >> 8)); }

/// Half the time uniform in lo..hi, otherwise one of the edges.
inline int edgy(Rng& rng, const std::vector<int>& edges, int lo, int hi) {
    return rng.range(0, 1) ? rng.range(lo, hi) : edges[rng.range(0, int(edges.size()) - 1)];
}

/// An origin inside an extent but one time in `odds`: then before it, or at or past its end.
inline int random_origin(Rng& rng, int extent, int odds) {
    if (rng.range(1, odds) > 1) return rng.range(0, extent - 1);
    return rng.range(0, 1) ? rng.range(-extent - 2, -1) : rng.range(extent, extent + 1);
}

/// An extent: mostly 1..most, sometimes 0 or negative.
inline int random_extent(Rng& rng, int most) { return rng.range(0, 9) ? rng.range(1, most) : rng.range(-2, 0); }

/// Runs each test at one vector level (skipped, visibly, when the processor lacks it), with
/// the switch's processor flag set as the DLL sets it on a processor with MMX.
class AtSimdLevel : public testing::TestWithParam<mediakit::SimdLevel> {
protected:
    void SetUp() override {
        if (!mediakit::set_simd_level_for_test(GetParam())) GTEST_SKIP() << mediakit::simd_level_name(GetParam());
        mediakit::g_mmxAvailable = 1;
    }
    void TearDown() override {
        mediakit::set_simd_level_for_test(mediakit::best_simd_level());
        SetUsageMMX(1);
    }
    int level() const { return int(GetParam()); }
};

#define MKTEST_LEVELS(suite, ...)                                                    \
    INSTANTIATE_TEST_SUITE_P(Levels, suite, testing::Values(__VA_ARGS__),            \
                             [](const auto& p) { return mediakit::simd_level_name(p.param); })
#define MKTEST_ALL_LEVELS(suite) \
    MKTEST_LEVELS(suite, mediakit::SimdLevel::kScalar, mediakit::SimdLevel::kSse2, mediakit::SimdLevel::kAvx2)

}  // namespace mktest
