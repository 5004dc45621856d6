// The sample host: what a Windows program does with mediakit.dll. It loads the DLL by
// name, draws a picture with GDI into a DIB-section buffer and saves it as a BMP file,
// loads that file back, and rebuilds it tile by tile with FastBlt into a back buffer, once
// on the MMX path and once through GDI, saving both frames.
//
//   sample_host.exe [output folder]
#include <windows.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "mediakit.h"

namespace {

// The exports this host uses, looked up by name as a host that loads the DLL at run time does.
struct Mediakit {
    HMODULE dll;
    decltype(&LoadBitmapData) load_bitmap;
    decltype(&SaveBitmapData) save_bitmap;
    decltype(&DeleteBitmapData) delete_bitmap;
    decltype(&BufferDIBSection) buffer_dib_section;
    decltype(&BytesPerLine) bytes_per_line;
    decltype(&IsMMX) is_mmx;
    decltype(&SetUsageMMX) set_usage_mmx;
    decltype(&FastBlt) fast_blt;
};

template <class F>
bool bind(HMODULE dll, const char* name, F* out) {
    *out = reinterpret_cast<F>(reinterpret_cast<void*>(GetProcAddress(dll, name)));
    if (!*out) std::fprintf(stderr, "mediakit.dll has no %s\n", name);
    return *out != nullptr;
}

bool load_mediakit(Mediakit* mk) {
    mk->dll = LoadLibraryA("mediakit.dll");
    if (!mk->dll) {
        std::fprintf(stderr, "cannot load mediakit.dll (error %lu)\n", GetLastError());
        return false;
    }
    return bind(mk->dll, "LoadBitmapData", &mk->load_bitmap) &&
           bind(mk->dll, "SaveBitmapData", &mk->save_bitmap) &&
           bind(mk->dll, "DeleteBitmapData", &mk->delete_bitmap) &&
           bind(mk->dll, "BufferDIBSection", &mk->buffer_dib_section) &&
           bind(mk->dll, "BytesPerLine", &mk->bytes_per_line) && bind(mk->dll, "IsMMX", &mk->is_mmx) &&
           bind(mk->dll, "SetUsageMMX", &mk->set_usage_mmx) && bind(mk->dll, "FastBlt", &mk->fast_blt);
}

constexpr int kWidth = 320, kHeight = 240, kTile = 40;

// A picture drawn by GDI straight into the record's device context.
bool draw_picture(const Mediakit& mk, BitmapData* bd) {
    if (!mk.buffer_dib_section(nullptr, kWidth, kHeight, 24, nullptr, bd)) return false;
    for (int y = 0; y < kHeight; ++y) {
        BYTE* row = bd->lpBits + (kHeight - 1 - y) * mk.bytes_per_line(&bd->lpbmi->bmiHeader);
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

// Rebuilds the picture in the back buffer from its tiles, in a shuffled order, each tile
// landing where it belongs; the edge tiles reach past the buffer and are clipped.
void rebuild(const Mediakit& mk, BitmapData* back, const BitmapData* picture) {
    std::memset(back->lpBits, 0, size_t(mk.bytes_per_line(&back->lpbmi->bmiHeader)) * kHeight);
    for (int i = 0; i < 48; ++i) {
        int tile = (i * 29) % 48;
        int x = (tile % 8) * kTile - 10, y = (tile / 8) * kTile - 10;
        mk.fast_blt(back, x, y, kTile + 20, kTile + 20, picture, x, y);
    }
    GdiFlush();
}

}  // namespace

int main(int argc, char** argv) {
    std::string out = argc > 1 ? argv[1] : ".";
    CreateDirectoryA(out.c_str(), nullptr);
    Mediakit mk{};
    if (!load_mediakit(&mk)) return 1;
    std::printf("processor has MMX: %d\n", mk.is_mmx());

    BitmapData drawn{}, picture{}, back{};
    std::string picture_file = out + "/picture.bmp";
    if (!draw_picture(mk, &drawn) || !mk.save_bitmap(picture_file.c_str(), &drawn)) {
        std::fprintf(stderr, "cannot make %s\n", picture_file.c_str());
        return 1;
    }
    mk.delete_bitmap(&drawn);
    if (!mk.load_bitmap(picture_file.c_str(), &picture) ||
        !mk.buffer_dib_section(nullptr, kWidth, kHeight, 24, nullptr, &back)) {
        std::fprintf(stderr, "cannot load %s or make the back buffer\n", picture_file.c_str());
        return 1;
    }
    std::printf("loaded %s: %dx%d\n", picture_file.c_str(), int(picture.lpbmi->bmiHeader.biWidth),
                int(picture.lpbmi->bmiHeader.biHeight));

    // The loaded picture is a heap record with no device context: the MMX path copies it.
    // Through GDI the picture must have one, so a DIB-section copy of it is made first.
    BitmapData picture_dc{};
    mk.buffer_dib_section(nullptr, kWidth, kHeight, 24, nullptr, &picture_dc);
    std::memcpy(picture_dc.lpBits, picture.lpBits, size_t(mk.bytes_per_line(&picture.lpbmi->bmiHeader)) * kHeight);

    size_t bytes = size_t(mk.bytes_per_line(&back.lpbmi->bmiHeader)) * kHeight;
    std::string frames[2];
    const char* names[2] = {"copy_gdi.bmp", "copy_mmx.bmp"};
    for (int mmx = 0; mmx < 2; ++mmx) {
        mk.set_usage_mmx(mmx);
        rebuild(mk, &back, mmx ? &picture : &picture_dc);
        frames[mmx].assign(reinterpret_cast<const char*>(back.lpBits), bytes);
        std::string file = out + "/" + names[mmx];
        mk.save_bitmap(file.c_str(), &back);
        std::printf("%s path: wrote %s\n", mmx ? "MMX" : "GDI", file.c_str());
    }
    bool same = frames[0] == frames[1] && std::memcmp(frames[0].data(), picture.lpBits, bytes) == 0;
    std::printf("both paths rebuilt the picture exactly: %s\n", same ? "yes" : "NO");

    mk.delete_bitmap(&picture_dc);
    mk.delete_bitmap(&back);
    mk.delete_bitmap(&picture);
    FreeLibrary(mk.dll);
    return same ? 0 : 1;
}
