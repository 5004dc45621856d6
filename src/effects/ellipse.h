// Filled ellipse stamps: the outline walk, the rows it draws, and the two stamps.
//
// The outline is walked in double precision from the widest row outwards; each row pair
// (one above and one below the centre) is drawn once, with the widest span the walk reaches
// on it. Every pixel access is guarded by its byte offset in the image it belongs to.
#pragma once

#include <cstdint>

#include "image/bitmap_record.h"

namespace mediakit {

/// One step of the walk, in place. d1 < 0 moves one row away from the centre; otherwise
/// d2 ≥ 0 narrows the half-width X by one; otherwise both.
void EllipseStep(double* d1, double* d2, double* X, double* Y, const double* k);

/// A row pair as drawn: the rows at distance y ≥ 1 from the centre (memory rows rc - y and
/// rc + y - 1 of the destination), over destination columns [c0, c1), already clipped to
/// 0 .. W.
struct EllipseRow {
    int64_t y;
    int64_t c0, c1;
};

/// The derived values of a box: half axes, centre, and the centre row counted from the
/// bottom of a pixel array of a given height.
struct EllipseBox {
    EllipseBox(int32_t x, int32_t y, uint32_t w, uint32_t h);
    /// trunc(height - (top + b)): the centre row, in memory rows, of the same-sized box
    /// whose top row is `top` in an image of that height. Kept in 64 bits, so that boxes
    /// far outside an image keep their true distance from it.
    int64_t centre_row(int32_t height, int32_t top) const;

    double a, b;    ///< w / 2, h / 2
    double cx, cy;  ///< the centre in destination pixels
    double k;       ///< (1 / (b / a))², which is a² / b²
};

/// The walk over a box in a W × H destination, yielding the row pairs that are drawn.
/// It stops as soon as no later row pair can reach the destination: once the span lies
/// entirely left or right of it (X only shrinks), or neither row can reach the memory rows
/// any more (Y only grows, and for a circle it never exceeds b + 1). Up to that point it is
/// the walk, step for step.
class EllipseWalker {
public:
    EllipseWalker(const EllipseBox& box, int32_t dst_width, int32_t dst_height);
    bool next(EllipseRow* row);

private:
    bool nothing_left() const;
    bool circle_reaches_image(const EllipseBox& box) const;

    double cx_, cy_, k_, w_, h_;
    int64_t width_;
    double d1_, d2_, x_, y_, prev_y_;
    double rc_;       // the centre row of the destination, a whole number
    double y_limit_;  // no row distance beyond this is ever reached
    bool done_;
};

void color_ellipse(const ImageView& dst, int32_t x, int32_t y, uint32_t w, uint32_t h,
                   COLORREF colour, const ImageView* mask, int32_t mx, int32_t my, int32_t alpha);
void image_ellipse(const ImageView& dst, int32_t x, int32_t y, uint32_t w, uint32_t h,
                   const ImageView& src, int32_t sx, int32_t sy, const ImageView* mask,
                   int32_t mx, int32_t my, int32_t alpha);

}  // namespace mediakit
