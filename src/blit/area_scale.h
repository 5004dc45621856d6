// The area-weighted scaling blit: each destination pixel is the average of the source
// cells its footprint covers, weighted by the covered area in 1/256-pixel fixed point.
// Rows of both rectangles are counted upwards from their bottom rows, so the vertical
// rounding is anchored at the bottom edge.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/win32_types.h"
#include "mediakit.h"

namespace mediakit {

/// One call, checked: both rectangles' sizes, the part of the destination rectangle that
/// lies inside the destination image, and the row starts.
struct AreaScale {
    int32_t w, h;            ///< destination rectangle
    int32_t sw, sh;          ///< source rectangle, wholly inside the source image
    int32_t i_begin, i_end;  ///< destination columns drawn, 0 ≤ i_begin < i_end ≤ w
    int32_t j_begin, j_end;  ///< destination rows drawn, counted up from the bottom row
    uint8_t* dst;            ///< destination pixel (i_begin, j_begin)
    ptrdiff_t dst_stride;
    const uint8_t* src;      ///< bottom-left pixel of the source rectangle
    ptrdiff_t src_stride;
};

/// Where destination pixel i of n falls among sn source cells, in 1/256 of a cell:
/// lo = 256·i·sn / n and hi = 256·(i + 1)·sn / n, truncating. The cells taken run from
/// lo >> 8 up to, not including, (hi + 128) >> 8: the first cell always (with the part
/// it covers), the last only when at least half of it lies inside. The products are
/// formed in 64 bits; callers keep 256·n·sn below 2^62.
struct Footprint {
    int64_t lo, hi;
    int32_t first, end;
};

static inline Footprint footprint(int64_t i, int64_t n, int64_t sn) {
    Footprint f;
    const int64_t lo = 256 * i * sn, hi = 256 * (i + 1) * sn;
    // The same quotients in 32 bits where they fit: a 64-bit division is a library call
    // in the 32-bit build.
    if (hi <= UINT32_MAX && n <= UINT32_MAX) {
        f.lo = static_cast<uint32_t>(lo) / static_cast<uint32_t>(n);
        f.hi = static_cast<uint32_t>(hi) / static_cast<uint32_t>(n);
    } else {
        f.lo = lo / n;
        f.hi = hi / n;
    }
    f.first = static_cast<int32_t>(f.lo >> 8);
    f.end = static_cast<int32_t>((f.hi + 128) >> 8);
    return f;
}

/// The part of cell c that the footprint covers, 0..256:
/// min(256·(c + 1), hi) − max(256·c, lo).
static inline int32_t cover(const Footprint& f, int32_t c) {
    int64_t top = 256 * (static_cast<int64_t>(c) + 1), bottom = 256 * static_cast<int64_t>(c);
    return static_cast<int32_t>((top < f.hi ? top : f.hi) - (bottom > f.lo ? bottom : f.lo));
}

/// The weight of a cell: (cover_x · cover_y) >> 8, 0..256. It does not factor into a
/// column weight times a row weight, so the fast kernels keep the per-cell truncation.
static inline int32_t cell_weight(int32_t cover_x, int32_t cover_y) {
    return (cover_x * cover_y) >> 8;
}

/// The rule cell by cell with 64-bit sums: the definition the kernels are held to.
void area_scale_ref(const AreaScale& a);

// ---- The fast kernels ---------------------------------------------------------------
//
// They work on strips of destination columns. For each destination row the source rows
// the footprint covers wholly (cover 256) are summed into one row of 16-bit channel
// totals; the one or two rows it covers partly are widened alone. Each strip column then
// takes its cells two at a time with a 16-bit multiply-add: for a whole row the cell
// weight is cover_x itself, for a partial row (cover_x · cover_y) >> 8 as the rule says.

constexpr int kStripColumns = 256;  ///< destination columns per strip
constexpr int kStripCells = 1024;   ///< source columns a strip may read
constexpr int kStripWeights = 512;  ///< weight vectors per strip
constexpr int kMaxWholeRows = 128;  ///< whole rows summed in 16 bits: 255 · 128 < 2^15

/// One strip: columns [i0, i0 + columns) of the destination rectangle.
struct ScaleStrip {
    int32_t i0, columns;
    int32_t cell0;      ///< first source column read, relative to the source rectangle
    int32_t cells;      ///< source columns taken: [cell0, cell0 + cells)
    int32_t pairs;      ///< weight pairs per column (the widest column's, others padded)
    /// Each column's first cell, relative to cell0. A pair load at cell c reads 16 bytes
    /// of 16-bit totals, through cell c + 2; the planner keeps first + 2·pairs below
    /// kStripCells, and the cells past `cells` are zero.
    int32_t first[kStripColumns];
    /// For pair p of column c, at weight_index(c, p): cells 2p and 2p + 1 of the column
    /// as 16-bit lanes {c0, c1, c0, c1, c0, c1, c0, c1}; cells past the column's end
    /// weigh 0. Columns 2m and 2m + 1 lie side by side, so that one 32-byte load takes
    /// a pair of both; an odd last column has a zero partner.
    alignas(32) int16_t weights[kStripWeights][8];
    int weight_index(int32_t c, int32_t p) const { return ((c >> 1) * pairs + p) * 2 + (c & 1); }
};

/// True when the kernels' 16- and 32-bit sums hold for this call and one column fits a
/// strip; otherwise the reference draws it.
bool area_scale_fits_kernels(const AreaScale& a);

/// True when every weight sum of the call is below 65536. Channel sums are then below 2^24
/// and single-precision quotients are exact (see the kernels).
bool area_scale_small_weights(const AreaScale& a);

/// Plans the strip that starts at column i0 (i_begin ≤ i0 < i_end).
void plan_strip(const AreaScale& a, int32_t i0, ScaleStrip* strip);

/// The rows a destination row takes, sorted for the kernels: the wholly covered ones
/// (at most kMaxWholeRows; the fit test ensures it) and up to two partly covered ones.
struct RowPlan {
    int32_t first, end;                ///< every row taken
    int32_t whole_first, whole_count;  ///< consecutive source rows of cover 256
    int32_t part_row[2], part_cover[2];
    int32_t parts;
};
RowPlan plan_row(const AreaScale& a, int32_t j);

/// One row of cells as 16-bit blue, green, red lanes; the cells past a strip's own are 0.
struct CellTotals {
    alignas(32) uint16_t lanes[3 * kStripCells + 16];
};

/// What a vector level supplies to the strip walk.
struct StripKernels {
    /// out[k] = the sum of byte k of `rows` rows from `row`, stride apart, for k < n;
    /// meanwhile brings `ahead_rows` rows from `ahead` towards the cache.
    void (*sum_rows)(const uint8_t* row, ptrdiff_t stride, int32_t rows, size_t n, uint16_t* out,
                     const uint8_t* ahead, int32_t ahead_rows);
    /// The strip's pixels of one destination row, out pointing at its first column: with
    /// double quotients, or with single-precision ones when the weights are small.
    void (*draw_row)(const ScaleStrip& s, const RowPlan& r, const CellTotals& whole,
                     const CellTotals* parts, uint8_t* out);
    void (*draw_row_small)(const ScaleStrip& s, const RowPlan& r, const CellTotals& whole,
                           const CellTotals* parts, uint8_t* out);
};

/// Draws a call strip by strip with a level's kernels; calls that do not fit them go to
/// the reference.
void area_scale_strips(const AreaScale& a, const StripKernels& k);

using AreaScaleFn = void (*)(const AreaScale& a);
void area_scale_sse2(const AreaScale& a);
void area_scale_avx2(const AreaScale& a);

/// The kernel of a level: the reference, or the strip kernel (which hands calls that do
/// not fit it to the reference).
AreaScaleFn area_scale_kernel(int level);

/// Checks a call: 24-bit images, positive sizes, the source rectangle inside its image,
/// products small enough; clips the destination to its image without changing the
/// mapping. False when nothing is to be drawn.
bool prepare_area_scale(BitmapData* dest, int x, int y, int w, int h, const BitmapData* src,
                        int sx, int sy, int sw, int sh, AreaScale* out);

}  // namespace mediakit
