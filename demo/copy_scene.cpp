// A picture drawn by GDI into a DIB-section buffer and saved as a BMP file, loaded back,
// and rebuilt tile by tile with FastBlt into a back buffer: once on the MMX path and once
// through GDI. Both frames must equal the picture.
#include <cstring>

#include "host.h"

namespace demo {
namespace {

constexpr int kWidth = 320, kHeight = 240, kTile = 40;

bool draw_picture(const Host& host, BitmapData* bd) {
    if (!MK_GET(host, BufferDIBSection)(nullptr, kWidth, kHeight, 24, nullptr, bd)) return false;
    auto bytes_per_line = MK_GET(host, BytesPerLine);
    for (int y = 0; y < kHeight; ++y) {
        BYTE* row = bd->lpBits + (kHeight - 1 - y) * bytes_per_line(&bd->lpbmi->bmiHeader);
        for (int x = 0; x < kWidth; ++x) {
            row[3 * x] = BYTE(255 * x / kWidth);
            row[3 * x + 1] = BYTE(255 * y / kHeight);
            row[3 * x + 2] = BYTE(128 + 127 * ((x / kTile + y / kTile) & 1));
        }
    }
    HBRUSH brush = CreateSolidBrush(RGB(250, 220, 40));
    HGDIOBJ old = SelectObject(bd->hdc, brush);
    Ellipse(bd->hdc, 90, 50, 230, 190);
    SelectObject(bd->hdc, old);
    DeleteObject(brush);
    SetBkMode(bd->hdc, TRANSPARENT);
    TextOutA(bd->hdc, 110, 110, "mediakit", 8);
    GdiFlush();
    return true;
}

// The tiles in a shuffled order, each landing where it belongs; the edge tiles reach past
// the buffer and are clipped.
void rebuild(const Host& host, BitmapData* back, const BitmapData* picture) {
    std::memset(back->lpBits, 0, size_t(MK_GET(host, BytesPerLine)(&back->lpbmi->bmiHeader)) * kHeight);
    for (int i = 0; i < 48; ++i) {
        int tile = (i * 29) % 48;
        int x = (tile % 8) * kTile - 10, y = (tile / 8) * kTile - 10;
        MK_GET(host, FastBlt)(back, x, y, kTile + 20, kTile + 20, picture, x, y);
    }
    GdiFlush();
}

}  // namespace

bool copy_scene(const Host& host) {
    auto buffer_dib_section = MK_GET(host, BufferDIBSection);
    auto delete_bitmap = MK_GET(host, DeleteBitmapData);
    auto save_bitmap = MK_GET(host, SaveBitmapData);
    std::printf("   processor has MMX: %d\n", MK_GET(host, IsMMX)());

    BitmapData drawn{}, picture{}, back{}, picture_dc{};
    std::string picture_file = host.path("picture.bmp");
    if (!draw_picture(host, &drawn) || !save_bitmap(picture_file.c_str(), &drawn)) return false;
    delete_bitmap(&drawn);
    if (!MK_GET(host, LoadBitmapData)(picture_file.c_str(), &picture) ||
        !buffer_dib_section(nullptr, kWidth, kHeight, 24, nullptr, &back))
        return false;
    std::printf("   loaded %s: %dx%d\n", picture_file.c_str(), int(picture.lpbmi->bmiHeader.biWidth),
                int(picture.lpbmi->bmiHeader.biHeight));

    // The loaded picture is a heap record with no device context: the MMX path copies it.
    // Through GDI the source needs one, so a DIB-section copy of it is made first.
    size_t bytes = size_t(MK_GET(host, BytesPerLine)(&back.lpbmi->bmiHeader)) * kHeight;
    buffer_dib_section(nullptr, kWidth, kHeight, 24, nullptr, &picture_dc);
    std::memcpy(picture_dc.lpBits, picture.lpBits, bytes);

    bool same = true;
    const char* names[2] = {"copy_gdi.bmp", "copy_mmx.bmp"};
    for (int mmx = 0; mmx < 2; ++mmx) {
        MK_GET(host, SetUsageMMX)(mmx);
        rebuild(host, &back, mmx ? &picture : &picture_dc);
        same = same && std::memcmp(back.lpBits, picture.lpBits, bytes) == 0;
        save_bitmap(host.path(names[mmx]).c_str(), &back);
        std::printf("   %s path: wrote %s\n", mmx ? "MMX" : "GDI", host.path(names[mmx]).c_str());
    }
    std::printf("   both paths rebuilt the picture exactly: %s\n", same ? "yes" : "NO");
    delete_bitmap(&picture_dc);
    delete_bitmap(&back);
    delete_bitmap(&picture);
    return same;
}

}  // namespace demo
