// The area-weighted scaling blit: the rule cell by cell, the strip planning the fast
// kernels share, the choice of kernel and the export.
#include "blit/area_scale.h"

#include <algorithm>
#include <cassert>
#include <cstring>

#include "base/cpu.h"
#include "image/bitmap_record.h"

namespace mediakit {

void area_scale_ref(const AreaScale& a) {
    for (int32_t j = a.j_begin; j < a.j_end; ++j) {
        const Footprint fy = footprint(j, a.h, a.sh);
        uint8_t* out = a.dst + static_cast<ptrdiff_t>(j - a.j_begin) * a.dst_stride;
        for (int32_t i = a.i_begin; i < a.i_end; ++i) {
            const Footprint fx = footprint(i, a.w, a.sw);
            int64_t blue = 0, green = 0, red = 0, weights = 0;
            for (int32_t iy = fy.first; iy < fy.end; ++iy) {
                const int32_t cy = cover(fy, iy);
                const uint8_t* row = a.src + static_cast<ptrdiff_t>(iy) * a.src_stride;
                for (int32_t ix = fx.first; ix < fx.end; ++ix) {
                    const int64_t weight = cell_weight(cover(fx, ix), cy);
                    const uint8_t* p = row + 3 * static_cast<ptrdiff_t>(ix);
                    weights += weight;
                    blue += p[0] * weight;
                    green += p[1] * weight;
                    red += p[2] * weight;
                }
            }
            // No cell of any weight: the pixel keeps what it had.
            if (weights == 0) continue;
            uint8_t* q = out + 3 * static_cast<ptrdiff_t>(i - a.i_begin);
            q[0] = static_cast<uint8_t>(blue / weights);
            q[1] = static_cast<uint8_t>(green / weights);
            q[2] = static_cast<uint8_t>(red / weights);
        }
    }
}

namespace {

// A footprint is at most 256·s/n + 1 long, so it takes fewer than s/n + 3 cells; the
// covers of a column (or a row) add up to at most 256 times that.
int64_t cells_bound(int32_t s, int32_t n) { return s / n + 3; }

}  // namespace

bool area_scale_fits_kernels(const AreaScale& a) {
    const int64_t kx = cells_bound(a.sw, a.w), ky = cells_bound(a.sh, a.h);
    const int64_t pairs = (kx + 1) / 2;
    // Every channel sum is at most 255 times the weight sum, which is at most the covered
    // area, 256·kx·ky: it must stay a positive 32-bit number.
    return 2 * pairs <= kStripWeights && 2 * pairs + 1 <= kStripCells && ky <= kMaxWholeRows &&
           255 * 256 * kx * ky < (int64_t{1} << 31);
}

bool area_scale_small_weights(const AreaScale& a) {
    return 256 * cells_bound(a.sw, a.w) * cells_bound(a.sh, a.h) < 65536;
}

void plan_strip(const AreaScale& a, int32_t i0, ScaleStrip* s) {
    assert(i0 >= a.i_begin && i0 < a.i_end);
    const int32_t cell0 = footprint(i0, a.w, a.sw).first;
    int32_t pairs = 0, columns = 0, end = cell0;
    // Take columns while the widest one's pairs, counted for every column (rounded up to
    // an even count), fit the weight table and the last column's loads stay inside the
    // strip's cells.
    for (int32_t i = i0; i < a.i_end && columns < kStripColumns; ++i) {
        const Footprint f = footprint(i, a.w, a.sw);
        const int32_t wider = std::max(pairs, (std::max(f.end - f.first, 0) + 1) / 2);
        if ((columns + 2) / 2 * 2 * wider > kStripWeights || f.first - cell0 + 2 * wider >= kStripCells ||
            f.end - cell0 > kStripCells)
            break;
        pairs = wider;
        end = std::max(end, f.end);
        ++columns;
    }
    assert(columns > 0);
    s->i0 = i0;
    s->columns = columns;
    s->cell0 = cell0;
    s->cells = end - cell0;
    s->pairs = pairs;
    for (int32_t c = 0; c < (columns + 1) / 2 * 2; ++c) {
        const Footprint f = c < columns ? footprint(i0 + c, a.w, a.sw) : Footprint{0, 0, 0, 0};
        if (c < columns) s->first[c] = f.first - cell0;
        for (int32_t p = 0; p < pairs; ++p) {
            int16_t* lanes = s->weights[s->weight_index(c, p)];
            for (int k = 0; k < 2; ++k) {
                const int32_t cell = f.first + 2 * p + k;
                const int16_t weight = static_cast<int16_t>(cell < f.end ? cover(f, cell) : 0);
                lanes[k] = lanes[k + 2] = lanes[k + 4] = lanes[k + 6] = weight;
            }
        }
    }
}

RowPlan plan_row(const AreaScale& a, int32_t j) {
    const Footprint f = footprint(j, a.h, a.sh);
    RowPlan r{};
    r.first = f.first;
    r.end = std::max(f.first, f.end);
    r.whole_first = f.first;
    for (int32_t iy = f.first; iy < f.end; ++iy) {
        const int32_t cy = cover(f, iy);
        if (cy == 256) {
            if (r.whole_count == 0) r.whole_first = iy;
            ++r.whole_count;
        } else if (cy > 0) {
            // Only the first and the last row of a footprint can be covered partly. A
            // cover of 0 (an enlargement beyond 256 times) weighs nothing anywhere.
            assert(r.parts < 2);
            r.part_row[r.parts] = iy;
            r.part_cover[r.parts] = cy;
            ++r.parts;
        }
    }
    return r;
}

void area_scale_strips(const AreaScale& a, const StripKernels& k) {
    if (!area_scale_fits_kernels(a)) {
        area_scale_ref(a);
        return;
    }
    const auto draw_row = area_scale_small_weights(a) ? k.draw_row_small : k.draw_row;
    ScaleStrip strip;
    CellTotals whole, parts[2];
    for (int32_t i0 = a.i_begin; i0 < a.i_end; i0 += strip.columns) {
        plan_strip(a, i0, &strip);
        const size_t n = 3 * static_cast<size_t>(strip.cells);
        for (CellTotals* t : {&whole, &parts[0], &parts[1]})
            std::memset(t->lanes + n, 0, sizeof t->lanes - n * sizeof(uint16_t));
        const uint8_t* src = a.src + 3 * static_cast<ptrdiff_t>(strip.cell0);
        auto row = [&](int32_t iy) { return src + static_cast<ptrdiff_t>(iy) * a.src_stride; };
        uint8_t* dst = a.dst + 3 * static_cast<ptrdiff_t>(i0 - a.i_begin);
        RowPlan next = plan_row(a, a.j_begin);
        for (int32_t j = a.j_begin; j < a.j_end; ++j, dst += a.dst_stride) {
            const RowPlan r = next;
            // The next row's source rows are fetched while this one's are summed: the
            // strip reads a short stretch of each row, which the processor does not
            // foresee by itself.
            int32_t ahead_rows = 0;
            if (j + 1 < a.j_end) {
                next = plan_row(a, j + 1);
                ahead_rows = next.end - next.first;
            }
            const uint8_t* ahead = row(next.first);
            if (r.whole_count) {
                k.sum_rows(row(r.whole_first), a.src_stride, r.whole_count, n, whole.lanes, ahead, ahead_rows);
                ahead_rows = 0;
            }
            for (int p = 0; p < r.parts; ++p) {
                k.sum_rows(row(r.part_row[p]), a.src_stride, 1, n, parts[p].lanes, ahead, ahead_rows);
                ahead_rows = 0;
            }
            if (r.whole_count || r.parts) draw_row(strip, r, whole, parts, dst);
        }
    }
}

AreaScaleFn area_scale_kernel(int level) {
    static const AreaScaleFn kByLevel[kSimdLevels] = {area_scale_ref, area_scale_sse2,
                                                      area_scale_avx2};
    return kByLevel[level];
}

bool prepare_area_scale(BitmapData* dest, int x, int y, int w, int h, const BitmapData* src,
                        int sx, int sy, int sw, int sh, AreaScale* out) {
    ImageView d, s;
    if (!make_view(dest, &d) || !make_view(src, &s)) return false;
    if (d.bit_count != 24 || s.bit_count != 24) return false;
    if (w <= 0 || h <= 0 || sw <= 0 || sh <= 0) return false;
    // The source rectangle must lie wholly inside its image: every footprint may reach
    // any of its cells.
    if (sx < 0 || sy < 0 || int64_t{sx} + sw > s.width || int64_t{sy} + sh > s.height)
        return false;
    // Footprint products are 64-bit: beyond 2^62 nothing is drawn.
    constexpr int64_t kMaxProduct = int64_t{1} << 54;
    if (int64_t{w} * sw > kMaxProduct || int64_t{h} * sh > kMaxProduct) return false;
    // Destination pixels outside the image are skipped; the others are what the whole
    // rectangle would give them. Row j (counted from the bottom) is image row y + h - 1 - j.
    const int64_t i_begin = std::max<int64_t>(0, -int64_t{x});
    const int64_t i_end = std::min<int64_t>(w, int64_t{d.width} - x);
    const int64_t j_begin = std::max<int64_t>(0, int64_t{y} + h - d.height);
    const int64_t j_end = std::min<int64_t>(h, int64_t{y} + h);
    if (i_begin >= i_end || j_begin >= j_end) return false;

    out->w = w;
    out->h = h;
    out->sw = sw;
    out->sh = sh;
    out->i_begin = static_cast<int32_t>(i_begin);
    out->i_end = static_cast<int32_t>(i_end);
    out->j_begin = static_cast<int32_t>(j_begin);
    out->j_end = static_cast<int32_t>(j_end);
    const int64_t dst_row = int64_t{y} + h - 1 - j_begin;  // image row, from the top
    out->dst = d.bits + static_cast<ptrdiff_t>(d.height - 1 - dst_row) * d.stride +
               3 * static_cast<ptrdiff_t>(x + i_begin);
    out->dst_stride = d.stride;
    out->src = rect_start(s, sx, sy, sh);
    out->src_stride = s.stride;
    return true;
}

}  // namespace mediakit

extern "C" void MEDIAKIT_CALL BilinearBlt(BitmapData* dest, int x, int y, int w, int h,
                                          const BitmapData* src, int sx, int sy, int sw,
                                          int sh) {
    mediakit::AreaScale a;
    if (!mediakit::prepare_area_scale(dest, x, y, w, h, src, sx, sy, sw, sh, &a)) return;
    mediakit::area_scale_kernel(static_cast<int>(mediakit::simd_level()))(a);
}
