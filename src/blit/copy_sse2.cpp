#include <emmintrin.h>

#include "blit/copy.h"

namespace mediakit {

void copy_rect24_sse2(uint8_t* dst, const uint8_t* src, int w, int h, ptrdiff_t dst_stride,
                      ptrdiff_t src_stride) {
    const size_t n = 3 * static_cast<size_t>(w);
    for (int row = 0; row < h; ++row, dst += dst_stride, src += src_stride) {
        if (n < 16) {
            copy_small(dst, src, n);
            continue;
        }
        size_t i = 0;
        for (; i + 64 <= n; i += 64) {
            __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + i));
            __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + i + 16));
            __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + i + 32));
            __m128i d = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + i + 48));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + i), a);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + i + 16), b);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + i + 32), c);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + i + 48), d);
        }
        for (; i + 16 <= n; i += 16)
            _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + i),
                             _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + i)));
        // The last 16 bytes of the row again, overlapping what was copied: the same bytes
        // land twice, and nothing past the row's last pixel is touched.
        if (i < n)
            _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + n - 16),
                             _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + n - 16)));
    }
}

}  // namespace mediakit
