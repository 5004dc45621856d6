// Ellipse stamps. The destination, the source and the mask are all addressed as 24-bit
// images; each admits the byte offsets 0 .. (H - 1) × stride only, which is the start of
// its top row: on that row only column 0 can be reached. The source and the mask columns
// are not clipped to their widths, so a column past a row's end reads the padding and then
// the next row up, as long as the offset is admitted.
#include "effects/ellipse.h"

#include <algorithm>
#include <cmath>

#include "base/cpu.h"
#include "effects/effects_math.h"
#include "effects/stamp_span.h"

namespace mediakit {

void EllipseStep(double* d1, double* d2, double* X, double* Y, const double* k) {
    // Each line keeps its order of operations: the shapes depend on the rounding.
    const double kk = *k;
    if (*d1 < 0) {
        *Y = *Y + 1;
        *d1 = ((*Y * kk) * 4 + (kk + kk)) + *d1;
        *d2 = (*Y * kk) * 4 + *d2;
    } else if (*d2 >= 0) {
        *X = *X - 1;
        *d1 = *d1 - *X * 4;
        *d2 = *d2 - (*X * 4 - 2);
    } else {
        *X = *X - 1;
        *Y = *Y + 1;
        *d1 = (((*Y * kk) * 4 - *X * 4) + (kk + kk)) + *d1;
        *d2 = (((*Y * kk) * 4 - *X * 4) + *d2) + 2;
    }
}

EllipseBox::EllipseBox(int32_t x, int32_t y, uint32_t w, uint32_t h)
    : a(w * 0.5), b(h * 0.5), cx(x + a), cy(y + b) {
    double q = 1 / (b / a);  // h = 0 makes this infinite: the walk then only narrows
    k = q * q;
}

int64_t EllipseBox::centre_row(int32_t height, int32_t top) const {
    return trunc_i64(height - (top + b));
}

EllipseWalker::EllipseWalker(const EllipseBox& box, int32_t dst_width, int32_t dst_height)
    : cx_(box.cx),
      cy_(box.cy),
      k_(box.k),
      w_(dst_width),
      h_(dst_height),
      width_(dst_width),
      d1_((box.k + box.k) - (box.a + box.a) + 1),
      d2_((box.k - box.a * 4) + 2),
      x_(box.a),
      y_(0),
      prev_y_(0),  // so the starting row (Y = 0) is never drawn
      rc_(static_cast<double>(trunc_i64(dst_height - box.cy))),
      y_limit_(HUGE_VAL),
      done_(!(box.a > 0 && box.b > 0)) {
    // h = 0 makes k infinite: every step only narrows, and no row is ever visited.
    // For a circle (w = h, so k = 1) every value of the walk is a whole number of a few
    // times a at most, far below 2^53, so the arithmetic is exact. Then Y stays below
    // b + 2: just before the step to the last distance Yn, d1 < 0 or d2 < 0. The row steps
    // added 4 × (1 + 2 + ... + Yn-1) = 2 (Yn - 1) Yn to both, the narrowing steps subtracted
    // 4X for X = a-1, a-2, ... > 0, at most 2a² in all, and the rest only added; d1 and d2
    // start at 3 - 2a and 3 - 4a. So 2 (Yn - 1) Yn < 2a² + 4a, and Yn - 1 < a + 1.
    if (box.a == box.b) {
        y_limit_ = box.b + 2;
        if (!done_ && !circle_reaches_image(box)) done_ = true;
    }
}

// For a circle, whether any visit can draw at all. d1 and d2 are the sums
// F(X-1, Y+1) + F(X, Y+1) and F(X-1, Y) + F(X-1, Y+1) of F(X, Y) = X² + Y² - a² (each step
// keeps that so, exactly, for a circle). A step away from the centre is taken only when
// one of them is negative, which puts the new state at F < X or F < Y + 1/2; narrowing only
// lowers F; and the walk starts at F = 0. So every state has X² < a² + a + 3 - Y². Rows
// first reach the memory rows at some distance Y0: if the widest span possible from there
// on lies wholly left or right of the columns, nothing is ever drawn.
bool EllipseWalker::circle_reaches_image(const EllipseBox& box) const {
    double first = HUGE_VAL;                                                   // Y0
    if (rc_ >= 1) first = std::max(1.0, rc_ - (h_ - 1));                      // rc - Y
    if (h_ - rc_ >= 1) first = std::min(first, std::max(1.0, 1 - rc_));       // rc + Y - 1
    if (first > y_limit_) return false;
    // a² and Y0² may each be off by 2^9 in doubles; the margin covers both.
    const double x2 = box.a * box.a + box.a + 3 - first * first;
    const double widest = std::sqrt(std::max(0.0, x2) + 4096) + 2;
    return cx_ - widest < w_ && cx_ + widest > 0;
}

// True when no later visit can draw: the span lies wholly left or right of the columns
// and only narrows, or each of the two rows lies outside the memory rows and moves away
// from them (or cannot move far enough to reach them).
bool EllipseWalker::nothing_left() const {
    if (cx_ + x_ <= 0 || cx_ - x_ >= w_) return true;
    const bool below_gone = rc_ - y_ < 0 || rc_ - y_limit_ > h_ - 1;      // memory row rc - Y
    const bool above_gone = rc_ + y_ - 1 > h_ - 1 || rc_ + y_limit_ - 1 < 0;  // rc + Y - 1
    return below_gone && above_gone;
}

bool EllipseWalker::next(EllipseRow* row) {
    while (!done_) {
        if (nothing_left()) {
            done_ = true;
            break;
        }
        bool drawn = false;
        // A visit that fails the box tests leaves prev_y_ alone, so the same row distance
        // is visited again, narrower, after the next step.
        if (y_ != prev_y_ && cx_ - x_ <= w_ && cx_ + x_ >= 0 && cy_ - y_ <= h_ && cy_ + y_ >= 0) {
            prev_y_ = y_;
            row->y = trunc_i64(y_);
            row->c0 = cx_ - x_ < 0 ? 0 : trunc_i64(cx_ - x_);
            row->c1 = cx_ + x_ > w_ ? width_ : trunc_i64(cx_ + x_);
            drawn = true;
        }
        EllipseStep(&d1_, &d2_, &x_, &y_, &k_);
        if (!(x_ > 0)) done_ = true;
        if (drawn) return true;
    }
    return false;
}

namespace {

// An image taking part in a stamp, read as 24-bit.
struct Side {
    uint8_t* bits;
    int64_t stride;
    int64_t omax;  // the largest admitted byte offset
    int64_t rc;    // the box's centre row, in memory rows of this image
    int64_t dx;    // this image's column minus the destination column
    // |c + dx| < 2^33, so a pixel lies less than 2^35 bytes from its row's start: rows
    // below -reach or above last_row + reach admit nothing, and the products stay small.
    int64_t reach, last_row;
};

// False when the image admits no offset at all: no rows, or rows too short to hold the
// four bytes a mask test reads (a zero-width record has stride 0).
bool make_side(const ImageView& v, const EllipseBox& box, int32_t left, int32_t top, int32_t x,
               Side* out) {
    if (v.height <= 0 || v.stride < 4) return false;
    *out = Side{v.bits,
                v.stride,
                static_cast<int64_t>(v.height - 1) * v.stride,
                box.centre_row(v.height, top),
                static_cast<int64_t>(left) - x,
                (int64_t{1} << 36) / v.stride + 1,
                v.height - 1};
    return true;
}

// Narrows [lo, hi] to the destination columns c whose pixel in memory row m of this image,
// at offset m × stride + 3 (c + dx), is admitted. Sets *start to the offset of column 0.
void admit(const Side& s, int64_t m, int64_t* lo, int64_t* hi, int64_t* start) {
    if (m < -s.reach || m > s.last_row + s.reach) {
        *hi = *lo - 1;
        *start = 0;
        return;
    }
    const int64_t base = m * s.stride;
    *lo = std::max(*lo, ceil_div3(-base) - s.dx);
    *hi = std::min(*hi, floor_div3(s.omax - base) - s.dx);
    *start = base + 3 * s.dx;
}

// True when writing the destination can change bytes the source or the mask read: then
// the order of the pixels matters.
template <int N>
bool shares_bytes(const Side (&sides)[N]) {
    const uintptr_t d0 = reinterpret_cast<uintptr_t>(sides[0].bits);
    const uintptr_t d1 = d0 + static_cast<uintptr_t>(sides[0].omax) + 3;
    for (int j = 1; j < N; ++j) {
        const uintptr_t s0 = reinterpret_cast<uintptr_t>(sides[j].bits);
        if (s0 < d1 && d0 < s0 + static_cast<uintptr_t>(sides[j].omax) + 4) return true;
    }
    return false;
}

// Draws every row pair of the walk through draw(kernels, p, n), which blends n admitted
// pixels whose bytes start at p[0] in the destination and at p[1], p[2] in the images read.
// For each column the row below the centre (memory row rc - Y) is done before the row above
// it. When an image shares bytes with the destination that order shows: the pixels then go
// one at a time through the reference runs, which read every byte they need just before the
// byte it decides is written, the same in every build. Otherwise each row's run is drawn in
// one go through the runs of the processor's level.
template <int N, class Draw>
void stamp(EllipseWalker& walk, const Side (&sides)[N], const Draw& draw) {
    const bool ordered = shares_bytes(sides);
    const StampSpanKernels& fast = stamp_span_kernels(static_cast<int>(simd_level()));
    EllipseRow row;
    while (walk.next(&row)) {
        int64_t lo[2], hi[2], start[2][N];
        for (int half = 0; half < 2; ++half) {
            lo[half] = row.c0;
            hi[half] = row.c1 - 1;
            for (int j = 0; j < N; ++j) {
                int64_t m = half == 0 ? sides[j].rc - row.y : sides[j].rc + row.y - 1;
                admit(sides[j], m, &lo[half], &hi[half], &start[half][j]);
            }
        }
        if (!ordered) {
            for (int half = 0; half < 2; ++half) {
                if (lo[half] > hi[half]) continue;
                uint8_t* p[N];
                for (int j = 0; j < N; ++j) p[j] = sides[j].bits + (start[half][j] + 3 * lo[half]);
                draw(fast, p, hi[half] - lo[half] + 1);
            }
            continue;
        }
        const int64_t first = std::min(lo[0], lo[1]), last = std::max(hi[0], hi[1]);
        for (int64_t c = first; c <= last; ++c) {
            for (int half = 0; half < 2; ++half) {
                if (c < lo[half] || c > hi[half]) continue;
                uint8_t* p[N];
                for (int j = 0; j < N; ++j) p[j] = sides[j].bits + (start[half][j] + 3 * c);
                draw(kStampSpanRef, p, 1);
            }
        }
    }
}

using Pixels = uint8_t* const*;

}  // namespace

void color_ellipse(const ImageView& dst, int32_t x, int32_t y, uint32_t w, uint32_t h,
                   COLORREF colour, const ImageView* mask, int32_t mx, int32_t my, int32_t alpha) {
    const EllipseBox box(x, y, w, h);
    Side d, m;
    if (!(box.a > 0) || !make_side(dst, box, x, y, x, &d)) return;
    if (mask && !make_side(*mask, box, mx, my, x, &m)) return;
    // Blue, green, red (the order of a pixel's bytes), repeated as the runs take the colour.
    uint8_t bgr[48];
    for (int i = 0; i < 48; i += 3) {
        bgr[i] = static_cast<uint8_t>(colour >> 16);
        bgr[i + 1] = static_cast<uint8_t>(colour >> 8);
        bgr[i + 2] = static_cast<uint8_t>(colour);
    }
    EllipseWalker walk(box, dst.width, dst.height);
    if (mask) {
        const Side sides[2] = {d, m};
        stamp(walk, sides, [&](const StampSpanKernels& k, Pixels p, int64_t n) {
            k.colour_mask(p[0], bgr, p[1], alpha, n);
        });
    } else {
        const Side sides[1] = {d};
        stamp(walk, sides, [&](const StampSpanKernels& k, Pixels p, int64_t n) {
            k.colour(p[0], bgr, alpha, n);
        });
    }
}

void image_ellipse(const ImageView& dst, int32_t x, int32_t y, uint32_t w, uint32_t h,
                   const ImageView& src, int32_t sx, int32_t sy, const ImageView* mask,
                   int32_t mx, int32_t my, int32_t alpha) {
    const EllipseBox box(x, y, w, h);
    Side d, s, m;
    if (!(box.a > 0) || !make_side(dst, box, x, y, x, &d) || !make_side(src, box, sx, sy, x, &s))
        return;
    if (mask && !make_side(*mask, box, mx, my, x, &m)) return;
    EllipseWalker walk(box, dst.width, dst.height);
    if (mask) {
        const Side sides[3] = {d, s, m};
        stamp(walk, sides, [&](const StampSpanKernels& k, Pixels p, int64_t n) {
            k.image_mask(p[0], p[1], p[2], alpha, n);
        });
    } else {
        const Side sides[2] = {d, s};
        stamp(walk, sides, [&](const StampSpanKernels& k, Pixels p, int64_t n) {
            k.image(p[0], p[1], alpha, n);
        });
    }
}

}  // namespace mediakit

// Records are checked here once: a destination that is not a usable 24-bit record, or a
// source or mask that cannot be read, draws nothing.
extern "C" void MEDIAKIT_CALL ColorEllipse(BitmapData* dst, int x, int y, UINT w, UINT h,
                                           COLORREF colour, const BitmapData* mask, int mx,
                                           int my, int alpha) {
    mediakit::ImageView d, m;
    if (!mediakit::make_view(dst, &d) || d.bit_count != 24) return;
    if (mask && !mediakit::make_view(mask, &m)) return;
    mediakit::color_ellipse(d, x, y, w, h, colour, mask ? &m : nullptr, mx, my, alpha);
}

extern "C" void MEDIAKIT_CALL ImageEllipse(BitmapData* dst, int x, int y, UINT w, UINT h,
                                           const BitmapData* src, int sx, int sy,
                                           const BitmapData* mask, int mx, int my, int alpha) {
    if (alpha == 0) return;  // before any record is read
    mediakit::ImageView d, s, m;
    if (!mediakit::make_view(dst, &d) || d.bit_count != 24) return;
    if (!mediakit::make_view(src, &s)) return;  // a null source draws nothing
    if (mask && !mediakit::make_view(mask, &m)) return;
    mediakit::image_ellipse(d, x, y, w, h, s, sx, sy, mask ? &m : nullptr, mx, my, alpha);
}
