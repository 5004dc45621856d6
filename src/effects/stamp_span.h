// The runs of pixels the ellipse stamps draw: n 24-bit pixels in a row, blended towards a
// colour or towards source pixels, optionally weighted by a mask. The fast runs need a
// destination that shares no byte with the source or the mask; the reference runs read each
// byte just before the byte it decides is written, and so also serve for single pixels
// whose bytes are shared.
//
//   colour:  each byte d + ((c - d) × alpha >> 8)
//   masked:  d + ((t - d) × m0 × alpha >> 16) where the mask lets the pixel through, with
//            m0 the mask pixel's byte +0; the image stamp also needs bytes +2 and +3 (the
//            next pixel's blue, one byte past the run's mask) to be non-zero.
//
// Every kernel equals its reference byte for byte for any alpha.
#pragma once

#include <cstdint>

namespace mediakit {

/// The colour runs take the colour as a pattern: its blue, green and red bytes repeated 16
/// times (48 bytes), made once per stamp.
struct StampSpanKernels {
    void (*colour)(uint8_t* d, const uint8_t* pattern, int32_t alpha, int64_t n);
    void (*colour_mask)(uint8_t* d, const uint8_t* pattern, const uint8_t* m, int32_t alpha, int64_t n);
    void (*image)(uint8_t* d, const uint8_t* s, int32_t alpha, int64_t n);
    void (*image_mask)(uint8_t* d, const uint8_t* s, const uint8_t* m, int32_t alpha, int64_t n);
};

extern const StampSpanKernels kStampSpanRef;
extern const StampSpanKernels kStampSpanSse2;

/// The kernels of a level (the scalar level is the reference; AVX2 uses the SSE2 ones).
const StampSpanKernels& stamp_span_kernels(int level);

/// Whether an image pixel passes its mask: bytes +0, +2 and +3 all non-zero.
static inline bool image_mask_passes(const uint8_t* m) { return m[0] && m[2] && m[3]; }

}  // namespace mediakit
