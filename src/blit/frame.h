// The frame every blit between records shares: views of its records, destination first,
// clipped together against every image, with each image's first byte and stride.
#pragma once

#include <cstdint>
#include <initializer_list>

#include "image/bitmap_record.h"

namespace mediakit {

constexpr int kMaxFrameImages = 4;

/// A record taking part, with the origin of the rectangle in it.
struct FrameImage {
    const BitmapData* record;
    int x, y;
};

/// One clipped call: each image's view (its stride and depth) and the lowest-addressed
/// byte of its rectangle, in the order given; the clipped size, both at least 1.
struct BlitFrame {
    ImageView view[kMaxFrameImages];
    uint8_t* start[kMaxFrameImages];
    int w, h;
};

/// False when nothing is to be drawn: a record the blits must not touch, a destination
/// (the first image) that is not 24-bit, or a rectangle clipped away. Depths of the other
/// images are the caller's to check.
bool open_frame(std::initializer_list<FrameImage> images, int w, int h, BlitFrame* frame);

}  // namespace mediakit
