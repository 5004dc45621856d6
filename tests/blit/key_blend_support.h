// What the tests of the key, blend and fill blits share: records and rows whose memory lies
// flush against an inaccessible page, random cases leaning towards the values where the
// blits branch, a comparison with a pixel model, and a fixture that runs a test at one
// vector level and restores the switch.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "blit/cpu.h"
#include "blit/mmx_switch.h"
#include "guarded.h"
#include "images.h"
#include "image/bitmap_record.h"
#include "rng.h"

namespace mktest {

/// Pixels of `size` bytes each, in runs of 1..48 pixels: black, colour without a zero byte,
/// white, or random bytes; what sprites and masks look like, and what the kernels' shortcuts
/// for whole groups need to be seen.
inline void fill_runs(uint8_t* p, size_t pixels, int size, Rng& rng) {
    for (size_t i = 0; i < pixels;) {
        size_t run = std::min<size_t>(rng.range(1, 48), pixels - i);
        int kind = rng.range(0, 3);
        for (size_t end = i + run; i < end; ++i)
            for (int b = 0; b < size; ++b)
                p[i * size + b] = kind == 0 ? 0 : kind == 1 ? uint8_t(rng.range(1, 255)) : kind == 2 ? 0xFF : rng.biased_byte();
    }
}

/// A record whose pixel block ends at a guard page (or starts right after one), so that any
/// access past the last row's last byte (or before the first row) faults at once.
class GuardedImage {
public:
    GuardedImage(int width, int height, int bit_count, Rng& rng,
                 GuardedBuffer::Guard guard = GuardedBuffer::Guard::kAfter,
                 int palette_entries = -1)
        : info_(mediakit::info_block_bytes(256)),
          pixels_(block_bytes(width, height, bit_count), guard) {
        BITMAPINFOHEADER header{};
        header.biSize = 40;
        header.biWidth = width;
        header.biHeight = height;
        header.biPlanes = 1;
        header.biBitCount = static_cast<WORD>(bit_count);
        if (palette_entries >= 0) header.biClrUsed = static_cast<DWORD>(palette_entries);
        std::memcpy(info_.data(), &header, sizeof header);
        bd_.bmfHeader.bfType = mediakit::kBmpMagic;
        bd_.lpbmi = reinterpret_cast<BITMAPINFO*>(info_.data());
        bd_.lpBits = pixels_.data();
        // A quarter of the table entries black, the key colour.
        for (int i = 0; i < 256; ++i) {
            RGBQUAD& c = bd_.lpbmi->bmiColors[i];
            bool black = rng.range(0, 3) == 0;
            c = {black ? BYTE(0) : rng.biased_byte(), black ? BYTE(0) : rng.biased_byte(),
                 black ? BYTE(0) : rng.biased_byte(), rng.byte()};
        }
        for (size_t i = 0; i < bytes(); ++i) pixels_.data()[i] = rng.biased_byte();
    }

    BitmapData* record() { return &bd_; }
    int width() const { return bd_.lpbmi->bmiHeader.biWidth; }
    int height() const { return bd_.lpbmi->bmiHeader.biHeight; }
    int bit_count() const { return bd_.lpbmi->bmiHeader.biBitCount; }
    int stride() const { return BytesPerLine(&bd_.lpbmi->bmiHeader); }
    size_t bytes() { return pixels_.size(); }
    /// First byte of pixel (x, y) of an 8-, 24- or 32-bit image, y = 0 being the top row.
    uint8_t* at(int x, int y) {
        return bd_.lpBits + static_cast<size_t>(height() - 1 - y) * stride() + x * (bit_count() / 8);
    }
    /// The colour of a pixel as the blits read it: its bytes, or its table entry (black
    /// beyond the record's own table).
    void colour(int x, int y, uint8_t out[3]) {
        if (bit_count() != 8) {
            std::memcpy(out, at(x, y), 3);
            return;
        }
        uint8_t index = *at(x, y);
        const RGBQUAD& c = bd_.lpbmi->bmiColors[index];
        bool listed = index < NumOfPalletColors(&bd_.lpbmi->bmiHeader);
        out[0] = listed ? c.rgbBlue : 0;
        out[1] = listed ? c.rgbGreen : 0;
        out[2] = listed ? c.rgbRed : 0;
    }
    /// Sets a quarter of the pixels of a 24-bit image to black and an eighth to black but for
    /// one byte of 1.
    void sprinkle_black(Rng& rng) {
        for (int y = 0; y < height(); ++y) {
            for (int x = 0; x < width(); ++x) {
                int pick = rng.range(0, 7);
                if (pick > 2) continue;
                uint8_t* p = at(x, y);
                p[0] = p[1] = p[2] = 0;
                if (pick == 2) p[rng.range(0, 2)] = 1;
            }
        }
    }
    /// The whole block in runs (see fill_runs), rows and padding alike.
    void fill_runs(Rng& rng) { mktest::fill_runs(pixels_.data(), bytes() / (bit_count() / 8), bit_count() / 8, rng); }
    std::vector<uint8_t> snapshot() { return {pixels_.data(), pixels_.data() + bytes()}; }
    void restore(const std::vector<uint8_t>& bytes) { std::memcpy(pixels_.data(), bytes.data(), bytes.size()); }

private:
    static size_t block_bytes(int width, int height, int bit_count) {
        size_t stride = ((static_cast<size_t>(width) * bit_count + 31) >> 3) & ~size_t(3);
        return stride * height;
    }
    std::vector<uint8_t> info_;
    GuardedBuffer pixels_;
    BitmapData bd_{};
};

/// Rows of row_bytes bytes, stride apart, random, with the block flush against a guard page
/// after its last byte or before its first: what a kernel sees of one rectangle.
struct GuardedRows {
    GuardedRows(int rows, int row_bytes, int pad, GuardedBuffer::Guard guard, Rng& rng)
        : stride(row_bytes + pad), buffer(size_t(stride) * (rows - 1) + row_bytes, guard) {
        for (size_t i = 0; i < buffer.size(); ++i) buffer.data()[i] = rng.biased_byte();
    }
    std::vector<uint8_t> bytes() { return {buffer.data(), buffer.data() + buffer.size()}; }
    ptrdiff_t stride;
    GuardedBuffer buffer;
};

/// Every width 1..40 and some large ones around the 16- and 32-pixel groups.
inline std::vector<int> kernel_widths() {
    std::vector<int> widths;
    for (int w = 1; w <= 40; ++w) widths.push_back(w);
    for (int w : {47, 48, 49, 63, 64, 65, 95, 96, 97, 640, 1921}) widths.push_back(w);
    return widths;
}

inline bool inside(GuardedImage& image, int x, int y) {
    return x >= 0 && y >= 0 && x < image.width() && y < image.height();
}

/// The mixing rule in 64 bits: a moved towards b by w/256, rounded down, low 8 bits kept.
inline uint8_t mixed(int a, int b, int w) { return uint8_t(a + ((int64_t(b) - a) * w >> 8)); }

/// An image width: mostly 1..40, now and then up to 300.
inline int random_width(Rng& rng) { return rng.range(0, 9) == 0 ? rng.range(41, 300) : rng.range(1, 40); }

/// Compares a blit with a model of it: the model draws the expected pixels into dst by image
/// coordinates, dst is put back, and the blit runs. Counts the cases the model changed.
class ModelCheck {
public:
    template <class Model, class Blit>
    testing::AssertionResult operator()(GuardedImage& dst, Model model, Blit blit) {
        std::vector<uint8_t> before = dst.snapshot();
        model();
        std::vector<uint8_t> expected = dst.snapshot();
        changed_ += expected != before;
        dst.restore(before);
        blit();
        std::string diff = first_difference(expected, dst.snapshot().data(), expected.size());
        if (diff.empty()) return testing::AssertionSuccess();
        return testing::AssertionFailure() << diff;
    }
    /// Whether enough cases drew something for the comparison to mean much.
    bool drew_enough(int cases) const { return changed_ > cases / 5; }

private:
    int changed_ = 0;
};

/// A strength, key or time leaning towards the edges of its range and beyond.
inline int edgy(Rng& rng, std::initializer_list<int> edges, int lo, int hi) {
    if (rng.range(0, 2) == 0) return rng.range(lo, hi);
    int pick = rng.range(0, static_cast<int>(edges.size()) - 1);
    return edges.begin()[pick];
}

/// An origin in an image of that extent: inside but one time in `odds`, when it lies before
/// the image (the rectangle overhangs) or at or past its far edge (nothing is drawn).
inline int random_origin(Rng& rng, int extent, int odds) {
    if (rng.range(1, odds) > 1) return rng.range(0, extent - 1);
    return rng.range(0, 1) ? rng.range(-extent - 2, -1) : rng.range(extent, extent + 1);
}

/// A rectangle extent: mostly 1..most, sometimes 0 or negative.
inline int random_extent(Rng& rng, int most) {
    return rng.range(0, 9) == 0 ? rng.range(-2, 0) : rng.range(1, most);
}

/// Runs each test at one vector level (skipped, visibly, when the processor lacks it), with
/// the MMX switch's processor flag set as the DLL sets it on a processor with MMX.
class AtSimdLevel : public testing::TestWithParam<mediakit::SimdLevel> {
protected:
    void SetUp() override {
        if (!mediakit::set_simd_level_for_test(GetParam()))
            GTEST_SKIP() << mediakit::simd_level_name(GetParam()) << " not available";
        mediakit::g_mmxAvailable = 1;
    }
    void TearDown() override {
        mediakit::set_simd_level_for_test(mediakit::best_simd_level());
        mediakit::g_mmxAvailable = 1;
        SetUsageMMX(1);
    }
    int level() const { return static_cast<int>(GetParam()); }
};

inline std::string level_name(const testing::TestParamInfo<mediakit::SimdLevel>& p) {
    return mediakit::simd_level_name(p.param);
}

#define MKTEST_ALL_LEVELS(suite)                                                            \
    INSTANTIATE_TEST_SUITE_P(AllLevels, suite,                                             \
                             testing::Values(mediakit::SimdLevel::kScalar,                \
                                             mediakit::SimdLevel::kSse2,                  \
                                             mediakit::SimdLevel::kAvx2),                 \
                             mktest::level_name)

}  // namespace mktest
