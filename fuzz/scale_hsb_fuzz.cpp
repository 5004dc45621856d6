// BilinearBlt and ReviseHSB on arbitrary arguments over small records sized exactly: no
// access outside them (the sanitizers watch), and every vector kernel equal to the plain
// one, byte for byte.
//
// Input: a flags byte (bit 0: 8-bit destination, bit 1: 8-bit source, bit 2: absolute,
// bit 3: coordinates as given rather than folded into -79..79), the two images' sizes,
// eight 32-bit coordinates (x, y, w, h, sx, sy, sw, sh), the hue and saturation doubles,
// then bytes that fill the pixels.
#include <cstdlib>
#include <cstring>
#include <vector>

#include "blit/area_scale.h"
#include "blit/cpu.h"
#include "blit/hsb.h"

namespace {

struct Record {
    Record(int width, int height, int bits, const uint8_t* fill, size_t fill_size) {
        info.biSize = 40;
        info.biWidth = width;
        info.biHeight = height;
        info.biPlanes = 1;
        info.biBitCount = static_cast<WORD>(bits);
        bytes = static_cast<size_t>(BytesPerLine(&info)) * height;
        block = static_cast<BITMAPINFO*>(std::calloc(1, sizeof(BITMAPINFOHEADER) + 256 * sizeof(RGBQUAD)));
        std::memcpy(block, &info, sizeof info);
        pixels = static_cast<uint8_t*>(std::malloc(bytes));
        for (size_t i = 0; i < bytes; ++i) pixels[i] = fill_size ? fill[i % fill_size] : static_cast<uint8_t>(i * 37);
        bd.lpbmi = block;
        bd.lpBits = pixels;
    }
    ~Record() {
        std::free(pixels);
        std::free(block);
    }
    BITMAPINFOHEADER info{};
    BITMAPINFO* block;
    uint8_t* pixels;
    size_t bytes;
    BitmapData bd{};
};

int32_t read_i32(const uint8_t* p) {
    uint32_t v;
    std::memcpy(&v, p, 4);
    return static_cast<int32_t>(v);
}

double read_f64(const uint8_t* p) {
    double v;
    std::memcpy(&v, p, 8);
    return v;
}

void same_or_trap(const std::vector<uint8_t>& expected, const uint8_t* actual) {
    if (std::memcmp(expected.data(), actual, expected.size()) != 0) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    constexpr size_t kHeader = 5 + 8 * 4 + 16;
    if (size < kHeader) return 0;
    const uint8_t flags = data[0];
    Record dst(1 + data[1] % 48, 1 + data[2] % 48, flags & 1 ? 8 : 24, data + kHeader, size - kHeader);
    Record src(1 + data[3] % 64, 1 + data[4] % 64, flags & 2 ? 8 : 24, data + kHeader, size - kHeader);
    int32_t c[8];
    for (int i = 0; i < 8; ++i) {
        c[i] = read_i32(data + 5 + 4 * i);
        if (!(flags & 8)) c[i] %= 80;
    }
    const double hue = read_f64(data + 37), saturation = read_f64(data + 45);

    // The scaling blit: through the export, then each level against the reference.
    std::vector<uint8_t> before(dst.pixels, dst.pixels + dst.bytes);
    BilinearBlt(&dst.bd, c[0], c[1], c[2], c[3], &src.bd, c[4], c[5], c[6], c[7]);
    mediakit::AreaScale a;
    if (mediakit::prepare_area_scale(&dst.bd, c[0], c[1], c[2], c[3], &src.bd, c[4], c[5], c[6], c[7], &a)) {
        std::vector<uint8_t> expected(dst.pixels, dst.pixels + dst.bytes);
        for (int level = 1; level <= static_cast<int>(mediakit::best_simd_level()); ++level) {
            std::memcpy(dst.pixels, before.data(), dst.bytes);
            mediakit::area_scale_kernel(level)(a);
            same_or_trap(expected, dst.pixels);
        }
    }

    // The hue and saturation revision: the export on the fuzzed rectangle, then the vector
    // kernels against the plain loops over the whole image.
    ReviseHSB(&dst.bd, c[0], c[1], c[2], c[3], hue, saturation, 0, flags & 4);
    if (dst.info.biBitCount == 24 && mediakit::best_simd_level() >= mediakit::SimdLevel::kAvx2) {
        const mediakit::HsbArgs args = {hue, saturation, (flags & 4) != 0};
        const int w = dst.info.biWidth, h = dst.info.biHeight, stride = BytesPerLine(&dst.info);
        std::vector<uint8_t> expected(dst.pixels, dst.pixels + dst.bytes);
        mediakit::revise_hsb(expected.data(), stride, w, h, args, mediakit::hsb_kernels(0));
        mediakit::revise_hsb(dst.pixels, stride, w, h, args,
                             mediakit::hsb_kernels(static_cast<int>(mediakit::SimdLevel::kAvx2)));
        same_or_trap(expected, dst.pixels);
    }
    return 0;
}
