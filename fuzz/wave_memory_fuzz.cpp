// The RIFF WAVE memory walk on arbitrary bytes: it must never read outside the image, and
// whatever it stores must point into the image.
#include <cstdlib>
#include <cstring>

#include "audio/wave_memory.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // A copy of exactly `size` bytes, so that a read past the end is caught.
    auto* image = static_cast<uint8_t*>(std::malloc(size ? size : 1));
    std::memcpy(image, data, size);
    const WAVEFORMATEX* format = nullptr;
    BYTE* body = nullptr;
    DWORD body_size = 0, fact = 0;
    int result = mediakit::parse_wave_image(image, size, {&format, &fact, &body, &body_size});
    const uint8_t* end = image + size;
    if (format && (reinterpret_cast<const uint8_t*>(format) < image + 20 || reinterpret_cast<const uint8_t*>(format) > end))
        std::abort();
    if (body && (body < image + 20 || body > end)) std::abort();
    if (!result && (body || body_size || fact)) {
        // Only a short "fmt " chunk fails after the signature, and outputs stored before it stay.
        if (size < 12 || std::memcmp(image, "RIFF", 4) || std::memcmp(image + 8, "WAVE", 4)) std::abort();
    }
    std::free(image);
    return 0;
}
