#include <immintrin.h>

#include "blit/copy.h"

namespace mediakit {

void copy_rect24_avx2(uint8_t* dst, const uint8_t* src, int w, int h, ptrdiff_t dst_stride,
                      ptrdiff_t src_stride) {
    const size_t n = 3 * static_cast<size_t>(w);
    for (int row = 0; row < h; ++row, dst += dst_stride, src += src_stride) {
        if (n < 16) {
            copy_small(dst, src, n);
            continue;
        }
        if (n < 32) {
            // Two 16-byte moves that overlap in the middle cover 16..31 bytes.
            __m128i head = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src));
            __m128i tail = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + n - 16));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), head);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + n - 16), tail);
            continue;
        }
        size_t i = 0;
        for (; i + 128 <= n; i += 128) {
            __m256i a = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + i));
            __m256i b = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + i + 32));
            __m256i c = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + i + 64));
            __m256i d = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + i + 96));
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + i), a);
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + i + 32), b);
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + i + 64), c);
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + i + 96), d);
        }
        for (; i + 32 <= n; i += 32)
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + i),
                                _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + i)));
        // The row's last 32 bytes again, overlapping: nothing past the last pixel is touched.
        if (i < n)
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + n - 32),
                                _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src + n - 32)));
    }
    _mm256_zeroupper();
}

}  // namespace mediakit
