// The BMP memory reader on arbitrary bytes: headers, the info block for the system and the
// bounded pixel copy must never read or write outside what they were given.
#include <cstdlib>
#include <cstring>

#include "image/bmp_memory.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // A copy of exactly `size` bytes, so that a read past the end is caught.
    auto* image = static_cast<uint8_t*>(std::malloc(size ? size : 1));
    std::memcpy(image, data, size);
    mediakit::BmpMemoryImage bmp;
    if (mediakit::read_bmp_image(image, size, &bmp) == mediakit::BmpImageStatus::kOk) {
        if (size_t info_bytes = mediakit::system_info_bytes(bmp)) {
            auto* info = static_cast<uint8_t*>(std::malloc(info_bytes));
            mediakit::copy_system_info(image, size, info, info_bytes);
            std::free(info);
        }
        // Large declared blocks are legal; the fuzzer checks the copy on blocks it can afford.
        size_t n = static_cast<size_t>(bmp.pixel_bytes);
        if (n <= (64u << 20)) {
            auto* pixels = static_cast<uint8_t*>(std::malloc(n ? n : 1));
            mediakit::copy_pixel_block(image, size, bmp, pixels, n);
            std::free(pixels);
        }
    }
    std::free(image);
    return 0;
}
