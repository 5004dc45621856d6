// What the blit tests share: records flush against an inaccessible page, values leaning to
// the edges where the blits branch, a fixture that pins one vector level, and every blit
// export as one table: its images (destination first), where its parameters turn, which
// depths it draws on, and how to call it from one case.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "base/cpu.h"
#include "blit/fast_blt.h"
#include "blit/mmx_switch.h"
#include "guarded.h"
#include "image/bitmap_record.h"
#include "images.h"
#include "mediakit.h"
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
    void TearDown() override { mediakit::set_simd_level_for_test(mediakit::best_simd_level()), SetUsageMMX(1); }
    int level() const { return int(GetParam()); }
};

#define MKTEST_LEVELS(suite, ...) \
    INSTANTIATE_TEST_SUITE_P(Levels, suite, testing::Values(__VA_ARGS__), [](const auto& p) { return mediakit::simd_level_name(p.param); })
#define MKTEST_ALL_LEVELS(suite) MKTEST_LEVELS(suite, mediakit::SimdLevel::kScalar, mediakit::SimdLevel::kSse2, mediakit::SimdLevel::kAvx2)

struct Call {
    int n;
    std::unique_ptr<GuardedImage> own[4];
    GuardedImage* im[4];
    BitmapData* rec[4];  // what the call passes: im[k]'s record, or a broken one
    int x[4], y[4], w, h;
    int32_t v, u;  // the blit's parameters: strength, time, key, colour, hue...
    bool on;       // the switch
    BitmapData* r(int k) const { return rec[k]; }
    GuardedImage* add(int k, std::unique_ptr<GuardedImage> image) {
        own[k] = std::move(image);
        rec[k] = own[k]->record();
        return im[k] = own[k].get();
    }
    std::string describe(std::ostringstream s = {}) const {
        s << w << "x" << h << ", v " << v << ", u " << u << ", switch " << on;
        for (int k = 0; k < n; ++k) s << "; " << im[k]->bits() << "-bit " << im[k]->width() << "x" << im[k]->height() << " at " << x[k] << "," << y[k];
        return s.str();
    }
};

struct Blit {
    const char* name;
    const char* rule;  // whose per-pixel rule it follows ("": not walked)
    /// One letter per image: d the 24-bit destination, S a 24-bit source, s a 24- or 8-bit
    /// source (all alike), m an 8- or 24-bit mask, * any depth.
    const char* depths;
    std::vector<int> v_edges;
    int v_lo, v_hi;
    std::vector<int> u_edges;
    int u_lo, u_hi;
    int dv, du;  // parameters that draw on images of 200s
    void (*call)(const Call&);
    int n() const { return int(std::strlen(depths)); }
    bool accepts(const int* bits) const {
        bool ok = true;
        for (int k = 0; k < n(); ++k) {
            const char d = depths[k];
            const bool alike = d != 's' || bits[k] == bits[1], wide = d == 's' || d == 'm';
            ok = ok && (d == '*' || (alike && (bits[k] == 24 || (wide && bits[k] == 8))));
        }
        return ok;
    }
};

inline const std::vector<Blit>& blits() {
    static const std::vector<int> kStrengths = {256, 256, 0, 1, 128, 255, 257, -1, 65536 + 256, INT_MIN, INT_MAX};
    static const std::vector<int> kAlphas = {0, 1, 127, 128, 129, 254, 255, 256, 257, -1, 65536 + 128, INT_MIN, INT_MAX};
    static const std::vector<int> kKeys = {0, 1, 127, 254, 255, 256, 511};
    static const std::vector<int> kTimes = {INT_MIN, -40000, -50, -1, 0, 1, 128, 255, 256, 300, 510, 511, 512, 70000};
#define IMG(k) c.r(k), c.x[k], c.y[k]
#define RECT IMG(0), c.w, c.h
#define CALL(...) [](const Call& c) { __VA_ARGS__; }
    static const std::vector<Blit> table = {
        {"FastBlt", "FastBlt", "dS", {0}, 0, 0, {0}, 0, 0, 0, 0, CALL(mediakit::fast_blt_mmx(RECT, IMG(1)))},
        {"AlphaBlendBlt", "AlphaBlendBlt", "dss", kAlphas, 0, 256, {0}, 0, 0, 128, 0, CALL(AlphaBlendBlt(RECT, IMG(1), IMG(2), c.v))},
        {"FillAlpha", "FillAlpha", "d", kAlphas, 0, 256, {0, 0xFFFFFF}, 0, 0xFFFFFF, 128, 0xFFFFFF, CALL(FillAlpha(RECT, COLORREF(c.u), c.v))},
        {"MaskAlphaBlt2", "MaskAlphaBlt2", "dsm", {1, 128, 254, 255, 256}, 1, 256, {0}, 0, 0, 256, 0, CALL(MaskAlphaBlt2(RECT, IMG(1), IMG(2), c.v))},
        {"MaskAlphaBlt", "MaskAlphaBlt2", "dsm", {256}, 256, 256, {0}, 0, 0, 256, 0, CALL(MaskAlphaBlt(RECT, IMG(1), IMG(2)))},
        {"MaskTimeAlphaBlt", "MaskTimeAlphaBlt", "dssm", kTimes, -20, 530, {0}, 0, 0, 300, 0,
         CALL(MaskTimeAlphaBlt(RECT, IMG(1), IMG(2), IMG(3), c.v))},
        {"MaskKeyBlt2", "MaskKeyBlt2", "dsm", kKeys, 0, 255, kStrengths, 1, 256, 0, 256, CALL(MaskKeyBlt2(RECT, IMG(1), IMG(2), c.v, c.u))},
        {"MaskKeyBlt", "MaskKeyBlt2", "dsm", kKeys, 0, 255, {256}, 256, 256, 0, 256, CALL(MaskKeyBlt(RECT, IMG(1), IMG(2), c.v))},
        {"MaskTimeKeyBlt", "MaskTimeKeyBlt", "dsm", {0, 1, 2, 255, 256, 257, -1, INT_MIN, INT_MAX}, 0, 256, {0}, 0, 0, 256, 0,
         CALL(MaskTimeKeyBlt(RECT, IMG(1), IMG(2), c.v))},
        {"ColorKeyBlt2", "ColorKeyBlt2", "ds", {0}, 0, 0, kStrengths, 1, 256, 0, 256, CALL(ColorKeyBlt2(RECT, IMG(1), c.u))},
        {"ColorKeyBlt", "ColorKeyBlt2", "ds", {0}, 0, 0, {256}, 256, 256, 0, 256, CALL(ColorKeyBlt(RECT, IMG(1)))},
        {"ReviseHSB", "ReviseHSB", "d", {0, 64, -64}, -200, 200, {1, 64, -64}, -70, 70, 16, 32,
         CALL(ReviseHSB(RECT, c.v / 64.0, c.u / 64.0, 0, c.u & 1))},
        {"BilinearBlt", "", "dS", {0}, 0, 0, {0}, 0, 0, 0, 0, CALL(BilinearBlt(RECT, IMG(1), std::max(1, c.w - 1), c.h))},
        {"AddColorValue", "", "*", {0}, 0, 0, {0}, 0, 0, 10, 0, CALL(AddColorValue(RECT, c.v))},
    };
#undef CALL
#undef RECT
#undef IMG
    return table;
}

/// A w x h case at the origins on the images that image(k) makes.
template <class Make>
Call fixed_call(const Blit& b, int w, int h, int v, int u, bool on, Make image) {
    Call c{b.n(), {}, {}, {}, {}, {}, w, h, v, u, on};
    for (int k = 0; k < c.n; ++k) c.add(k, image(k));
    return c;
}

/// A random case of a blit: images of 24 bits (or 8, or a mask of either), of random sizes,
/// palettes and content; origins mostly inside; the destination at times its own source.
inline Call random_call(const Blit& b, Rng& rng, Guard guard) {
    Call c{};
    c.n = b.n();
    const int src_bits = rng.range(0, 2) ? 24 : 8;
    int widest = 0;
    c.v = edgy(rng, b.v_edges, b.v_lo, b.v_hi), c.u = edgy(rng, b.u_edges, b.u_lo, b.u_hi), c.on = rng.range(0, 1);
    for (int k = 0; k < c.n; ++k) {
        const bool mask = b.depths[k] == 'm';
        const int bits = b.depths[k] == 's' ? src_bits : mask ? (rng.range(0, 1) ? 24 : 8) : 24;
        const int w = rng.range(0, 9) ? rng.range(1, 40) : rng.range(41, 300), h = rng.range(1, 5);
        c.add(k, std::make_unique<GuardedImage>(w, h, bits, rng, guard, std::vector<int>{-1, 0, 1, 17, 255}[rng.range(0, 4)]));
        const int kind = rng.range(0, 2);
        if (kind == 0) fill_runs(c.im[k]->at(0, h - 1), c.im[k]->bytes() / (bits / 8), bits / 8, rng);
        if (kind == 1 && mask) {  // mask values near the time, where the transitions turn
            std::vector<uint8_t> values(c.im[k]->bytes());
            for (uint8_t& m : values) m = uint8_t(std::clamp(std::clamp(c.v, -3, 258) + rng.range(-3, 3), 0, 255));
            c.im[k]->restore(values);
        }
        c.x[k] = random_origin(rng, w, 12), c.y[k] = random_origin(rng, h, 12);
        widest = std::max(widest, w);
    }
    c.w = random_extent(rng, widest + 3), c.h = random_extent(rng, 7);
    if (b.depths == std::string("dssm") && src_bits == 24 && rng.range(0, 5) == 0) c.im[1] = c.im[0], c.rec[1] = c.rec[0], c.x[1] = c.x[0], c.y[1] = c.y[0];
    return c;
}

}  // namespace mktest
