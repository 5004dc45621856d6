// A picture reduced to a third and to a half with BilinearBlt, the half enlarged twice
// again (larger enlargements leave the pixels whose footprints end before the middle of
// their source pixel as they were), then recoloured with
// ReviseHSB: its hue turned, its colours strengthened and weakened. Each frame is saved as
// a BMP file. The scene checks what a host may rely on: an equal-size scale copies, a
// reduction of a flat area keeps its colour, a whole hue turn gives the picture back.
#include <cstring>
#include <vector>

#include "host.h"

namespace demo {
namespace {

constexpr int kWidth = 360, kHeight = 240;

void paint(const Host& host, BitmapData* bd) {
    const LONG stride = MK_GET(host, BytesPerLine)(&bd->lpbmi->bmiHeader);
    for (int y = 0; y < kHeight; ++y) {
        BYTE* row = bd->lpBits + (kHeight - 1 - y) * stride;
        for (int x = 0; x < kWidth; ++x) {
            // Bands of hue across, brightness down, and a flat grey square in a corner.
            const bool square = x < 60 && y < 60;
            row[3 * x] = square ? 90 : BYTE((x * 255 / kWidth + y) & 0xFF);
            row[3 * x + 1] = square ? 90 : BYTE(255 - x * 255 / kWidth);
            row[3 * x + 2] = square ? 90 : BYTE(y * 255 / kHeight);
        }
    }
}

size_t bytes_of(const Host& host, const BitmapData& bd) {
    return size_t(MK_GET(host, BytesPerLine)(&bd.lpbmi->bmiHeader)) * bd.lpbmi->bmiHeader.biHeight;
}

}  // namespace

bool scale_hsb_scene(const Host& host) {
    auto make = MK_GET(host, BufferDIBSection);
    auto save = MK_GET(host, SaveBitmapData);
    auto scale = MK_GET(host, BilinearBlt);
    auto revise = MK_GET(host, ReviseHSB);
    auto remove = MK_GET(host, DeleteBitmapData);

    BitmapData picture{}, copy{}, third{}, half{}, back{};
    if (!make(nullptr, kWidth, kHeight, 24, nullptr, &picture) || !make(nullptr, kWidth, kHeight, 24, nullptr, &copy) ||
        !make(nullptr, kWidth / 3, kHeight / 3, 24, nullptr, &third) ||
        !make(nullptr, kWidth / 2, kHeight / 2, 24, nullptr, &half) ||
        !make(nullptr, kWidth, kHeight, 24, nullptr, &back))
        return false;
    paint(host, &picture);
    const size_t bytes = bytes_of(host, picture);

    scale(&copy, 0, 0, kWidth, kHeight, &picture, 0, 0, kWidth, kHeight);
    const bool copies = std::memcmp(copy.lpBits, picture.lpBits, bytes) == 0;
    std::printf("   equal sizes copy the picture: %s\n", copies ? "yes" : "NO");

    scale(&third, 0, 0, kWidth / 3, kHeight / 3, &picture, 0, 0, kWidth, kHeight);
    scale(&half, 0, 0, kWidth / 2, kHeight / 2, &picture, 0, 0, kWidth, kHeight);
    scale(&back, 0, 0, kWidth, kHeight, &half, 0, 0, kWidth / 2, kHeight / 2);
    save(host.path("scaled_third.bmp").c_str(), &third);
    save(host.path("scaled_back.bmp").c_str(), &back);
    // The grey square's cells (20 x 20 in the third, top left) average only grey pixels.
    const LONG third_stride = MK_GET(host, BytesPerLine)(&third.lpbmi->bmiHeader);
    bool flat = true;
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 20; ++x)
            for (int c = 0; c < 3; ++c)
                flat = flat && third.lpBits[(kHeight / 3 - 1 - y) * third_stride + 3 * x + c] == 90;
    std::printf("   wrote scaled_third.bmp and scaled_back.bmp (halved and doubled); the grey square stays grey: %s\n",
                flat ? "yes" : "NO");

    std::memcpy(copy.lpBits, picture.lpBits, bytes);
    revise(&copy, 0, 0, kWidth, kHeight, 1.0, 0, 0, 0);
    const bool whole_turn = std::memcmp(copy.lpBits, picture.lpBits, bytes) == 0;
    std::printf("   a whole hue turn gives the picture back: %s\n", whole_turn ? "yes" : "NO");

    struct Frame {
        const char* file;
        double hue, saturation;
        int absolute;
    };
    const Frame frames[] = {{"hue_third.bmp", 1.0 / 3, 0, 0},
                            {"strengthened.bmp", 0, 0.8, 0},
                            {"weakened.bmp", 0, -0.7, 0},
                            {"sepia.bmp", 0.08, 0.45, 1}};
    for (const Frame& f : frames) {
        std::memcpy(copy.lpBits, picture.lpBits, bytes);
        // Half the picture, the rectangle reaching past the right edge: it is clipped.
        revise(&copy, kWidth / 2, 0, kWidth, kHeight, f.hue, f.saturation, 0, f.absolute);
        save(host.path(f.file).c_str(), &copy);
        std::printf("   wrote %s (hue %.3f, saturation %.2f%s)\n", f.file, f.hue, f.saturation,
                    f.absolute ? ", absolute" : "");
    }
    for (BitmapData* bd : {&picture, &copy, &third, &half, &back}) remove(bd);
    return copies && flat && whole_turn;
}

}  // namespace demo
