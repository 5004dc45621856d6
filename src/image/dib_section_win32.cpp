// Records whose pixels live in a DIB section selected into a memory device context: made
// empty, from a BMP file image in memory, or from a BMP file on disk.
#include <cstdlib>
#include <cstring>
#include <memory>

#include "image/bitmap_record.h"
#include "image/bmp_memory.h"
#include "platform/gdi32_calls.h"
#include "platform/kernel32_calls.h"
#include "platform/memory_extent.h"
#include "platform/user32_calls.h"

namespace mediakit {
namespace {

void attach_memory_dc(HDC hdc, BitmapData* bd) {
    bd->hdc = gdi32().CreateCompatibleDC(hdc);
    gdi32().SelectObject(bd->hdc, bd->hBitmap);
}

void show_last_error() {
    const Kernel32Calls& sys = kernel32();
    char* text = nullptr;
    sys.FormatMessageA(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM |
                           FORMAT_MESSAGE_IGNORE_INSERTS,
                       nullptr, sys.GetLastError(), MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT),
                       reinterpret_cast<LPSTR>(&text), 0, nullptr);
    user32().MessageBoxA(nullptr, text ? text : "", "Error", MB_OK | MB_ICONINFORMATION);
    if (text) sys.LocalFree(text);
}

// Bytes of pixel memory the system gave the section.
int64_t section_bytes(HBITMAP section) {
    DIBSECTION ds;
    if (gdi32().GetObjectA(section, sizeof ds, &ds) != sizeof ds) return 0;
    return static_cast<int64_t>(ds.dsBm.bmWidthBytes) * ds.dsBm.bmHeight;
}

struct FreeDeleter {
    void operator()(void* p) const { std::free(p); }
};

BOOL fail_dib(BitmapData* bd) {
    std::free(bd->lpbmi);
    *bd = BitmapData{};
    return 0;
}

// Loads a BMP file image of `length` readable bytes. Headers that run past the end, top-down
// images and sections smaller than the record's pixel block are refused without a message.
BOOL load_dib_image(HDC hdc, const uint8_t* image, size_t length, BitmapData* bd) {
    *bd = BitmapData{};
    BmpMemoryImage bmp;
    if (read_bmp_image(image, length, &bmp) != BmpImageStatus::kOk) return fail_dib(bd);
    // The system reads the info block as its own header size and colour table say; it gets a
    // copy that is zero where the image ends early.
    size_t system_bytes = system_info_bytes(bmp);
    std::unique_ptr<uint8_t, FreeDeleter> system_info(
        static_cast<uint8_t*>(system_bytes ? std::malloc(system_bytes) : nullptr));
    if (!system_info) return fail_dib(bd);
    copy_system_info(image, length, system_info.get(), system_bytes);

    bd->bmfHeader = bmp.file;
    size_t info_bytes = info_block_bytes(bmp.palette_entries);
    bd->lpbmi = static_cast<BITMAPINFO*>(std::malloc(info_bytes));
    if (!bd->lpbmi) return fail_dib(bd);
    std::memcpy(bd->lpbmi, bmp.info_block, info_bytes);

    const Gdi32Calls& sys = gdi32();
    UINT usage = bmp.palette_entries > 0 ? DIB_PAL_COLORS : DIB_RGB_COLORS;
    void* bits = nullptr;
    bd->hBitmap = sys.CreateDIBSection(hdc, reinterpret_cast<const BITMAPINFO*>(system_info.get()),
                                       usage, &bits, nullptr, 0);
    if (!bd->hBitmap) {
        show_last_error();
        return fail_dib(bd);
    }
    if (!bits || section_bytes(bd->hBitmap) < bmp.pixel_bytes) {
        sys.DeleteObject(bd->hBitmap);
        return fail_dib(bd);
    }
    bd->lpBits = static_cast<BYTE*>(bits);
    copy_pixel_block(image, length, bmp, bd->lpBits, static_cast<size_t>(bmp.pixel_bytes));
    attach_memory_dc(hdc, bd);
    return 1;
}

struct FileCloser {
    void operator()(HANDLE h) const { kernel32().CloseHandle(h); }
};
using FileHandle = std::unique_ptr<void, FileCloser>;

}  // namespace
}  // namespace mediakit

using namespace mediakit;

extern "C" BOOL MEDIAKIT_CALL BufferDIBSection(HDC hdc, int width, int height, WORD bitCount,
                                               const RGBQUAD* palette, BitmapData* bd) {
    if (!bd) return 0;
    BITMAPINFOHEADER info = {};
    info.biSize = kInfoHeaderBytes;
    info.biWidth = width;
    info.biHeight = height;
    info.biPlanes = 1;
    info.biBitCount = bitCount;
    info.biCompression = BI_RGB;
    // With biClrUsed 0 the table has 2, 16 or 256 entries by depth, and none above 8 bits.
    WORD entries = NumOfPalletColors(&info);
    size_t info_bytes = info_block_bytes(entries);
    bd->lpbmi = static_cast<BITMAPINFO*>(std::calloc(1, info_bytes));
    if (!bd->lpbmi) return 0;
    bd->lpbmi->bmiHeader = info;
    if (entries > 0 && palette) std::memcpy(bd->lpbmi->bmiColors, palette, 4u * entries);

    void* bits = nullptr;
    UINT usage = entries > 0 ? DIB_PAL_COLORS : DIB_RGB_COLORS;
    bd->hBitmap = gdi32().CreateDIBSection(hdc, bd->lpbmi, usage, &bits, nullptr, 0);
    if (!bd->hBitmap) return fail_dib(bd);
    bd->lpBits = static_cast<BYTE*>(bits);

    // The header fields are 32-bit and wrap like the processor's arithmetic.
    uint32_t header_bytes = static_cast<uint32_t>(kFileHeaderBytes + info_bytes);
    bd->bmfHeader.bfType = kBmpMagic;
    bd->bmfHeader.bfReserved1 = 0;
    bd->bmfHeader.bfReserved2 = 0;
    bd->bmfHeader.bfOffBits = header_bytes;
    bd->bmfHeader.bfSize =
        static_cast<uint32_t>(BytesPerLine(&info)) * static_cast<uint32_t>(height) + header_bytes;
    attach_memory_dc(hdc, bd);
    return 1;
}

extern "C" BOOL MEDIAKIT_CALL LoadDIBSectionIndirect(HDC hdc, const void* image, BitmapData* bd) {
    if (!bd) return 0;
    if (!image) {
        *bd = BitmapData{};
        return 0;
    }
    // No length comes with the image: read no further than the memory it lies in.
    return load_dib_image(hdc, static_cast<const uint8_t*>(image), readable_extent(image, kMaxPixelBlockBytes), bd);
}

extern "C" BOOL MEDIAKIT_CALL LoadDIBSection(HDC hdc, LPCSTR fileName, BitmapData* bd) {
    if (!fileName || !bd) return 0;
    const Kernel32Calls& sys = kernel32();
    FileHandle file(sys.CreateFileA(fileName, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                    FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
    if (file.get() == INVALID_HANDLE_VALUE) {
        file.release();
        return 0;
    }
    LARGE_INTEGER size;
    if (!sys.GetFileSizeEx(file.get(), &size) || size.QuadPart < 0 ||
        size.QuadPart > kMaxPixelBlockBytes)
        return 0;
    std::unique_ptr<uint8_t, FreeDeleter> buffer(
        static_cast<uint8_t*>(std::malloc(size.QuadPart ? size.QuadPart : 1)));
    if (!buffer) return 0;

    // The image is bounded by what the file really delivered.
    DWORD length = 0;
    while (length < size.QuadPart) {
        DWORD got = 0;
        if (!sys.ReadFile(file.get(), buffer.get() + length,
                          static_cast<DWORD>(size.QuadPart) - length, &got, nullptr) ||
            got == 0)
            break;
        length += got;
    }
    if (load_dib_image(hdc, buffer.get(), length, bd)) return 1;
    DeleteBitmapData(bd);
    return 0;
}
