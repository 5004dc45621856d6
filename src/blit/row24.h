// What the 24-bit row kernels of the blits share: the second form of the mixing rule (the
// one the switch path computes in 16-bit lanes), palette expansion for 8-bit sources, and
// the byte patterns that tell the vector kernels where pixels start in a row.
//
// A row of 24-bit pixels read 16 pixels at a time is 48 bytes, three 16-byte vectors (or 32
// pixels, three 32-byte vectors), and its first byte starts a pixel. Byte g of such a group
// belongs to pixel g / 3 and starts it when g % 3 == 0: the tables below are indexed by g.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "base/pixel_math.h"
#include "image/bitmap_record.h"

/// For the small vector steps of the row kernels: they must melt into their loops, or the
/// arrays of vectors they pass go through memory.
#define MK_ALWAYS_INLINE inline __attribute__((always_inline))

namespace mediakit {

/// The mixing rule as the switch path computes it: a and b unpacked to 16-bit lanes,
/// (b - a) × w with the difference and the product wrapping at 16 bits, the product shifted
/// right by 8 as an unsigned value and added to a bytewise. The result is bits 8..15 of
/// (b - a) × w added to a modulo 256; those bits depend only on the product's low 16 bits,
/// so this equals mix_floor for every weight, in the contract or not.
static inline uint8_t mix_lanes16(int32_t a, int32_t b, int32_t w) {
    uint32_t diff = static_cast<uint16_t>(b - a);
    uint32_t product = static_cast<uint16_t>(diff * static_cast<uint16_t>(w));
    return static_cast<uint8_t>(a + (product >> 8));
}

/// 256 - alpha, the weight of the fill colour's partner on the switch path, without
/// signed overflow for any alpha.
static inline int32_t complement_weight(int32_t alpha) {
    return static_cast<int32_t>(256u - static_cast<uint32_t>(alpha));
}

/// n indices of an 8-bit row looked up in the colour table, written as blue, green, red.
static inline void expand_palette_row(const uint8_t* indices, int n, const Palette256& palette,
                                      uint8_t* out) {
    for (int i = 0; i < n; ++i, out += 3) {
        const RGBQUAD& c = palette.entries[indices[i]];
        out[0] = c.rgbBlue;
        out[1] = c.rgbGreen;
        out[2] = c.rgbRed;
    }
}

/// Pixels expanded per step when an 8-bit source runs through a 24-bit kernel: the kernels
/// then see whole groups of 16 and 32 pixels, and the buffers stay small on the stack.
constexpr int kPaletteChunk = 256;

/// The rows of an 8-bit source and its colour table.
struct PaletteRows {
    const uint8_t* indices;
    ptrdiff_t stride;
    const Palette256* palette;
};

/// Runs a 24-bit kernel over a w × h rectangle whose N sources are 8-bit: each row in
/// chunks of kPaletteChunk pixels, each source's indices looked up into a strip on the stack
/// that stands in for its 24-bit row. run(row, column, n, colours) draws the n pixels from
/// that column of that row, colours[i] being source i's strip.
template <size_t N, class Run>
void through_palettes(int w, int h, const PaletteRows (&sources)[N], Run run) {
    uint8_t strips[N][3 * kPaletteChunk];
    const uint8_t* colours[N];
    for (int row = 0; row < h; ++row) {
        for (int x = 0; x < w; x += kPaletteChunk) {
            const int n = std::min(w - x, kPaletteChunk);
            for (size_t i = 0; i < N; ++i) {
                expand_palette_row(sources[i].indices + row * sources[i].stride + x, n, *sources[i].palette,
                                   strips[i]);
                colours[i] = strips[i];
            }
            run(row, x, n, colours);
        }
    }
}

struct Row24Tables {
    uint8_t pixel_start[96];  ///< 0xFF where byte g starts a pixel, else 0
    uint8_t pixel_of[96];     ///< (g / 3) % 16: the pixel of byte g within its 16-pixel half
};

constexpr Row24Tables make_row24_tables() {
    Row24Tables t{};
    for (int g = 0; g < 96; ++g) {
        t.pixel_start[g] = g % 3 == 0 ? 0xFF : 0;
        t.pixel_of[g] = static_cast<uint8_t>((g / 3) % 16);
    }
    return t;
}

alignas(32) inline constexpr Row24Tables kRow24 = make_row24_tables();

}  // namespace mediakit
