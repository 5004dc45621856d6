// Release of records, and bitmaps loaded as plain GDI handles.
#include <cstdlib>

#include "image/bitmap_record.h"
#include "platform/gdi32_calls.h"
#include "platform/kernel32_calls.h"
#include "platform/user32_calls.h"

using namespace mediakit;

extern "C" int MEDIAKIT_CALL DeleteBitmapData(BitmapData* bd) {
    if (!bd) return 0;
    const Gdi32Calls& sys = gdi32();
    if (bd->hdc) sys.DeleteDC(bd->hdc);
    // A DIB section owns its pixel memory; a heap record owns lpBits itself.
    if (bd->hBitmap)
        sys.DeleteObject(bd->hBitmap);
    else
        std::free(bd->lpBits);
    std::free(bd->lpbmi);
    *bd = BitmapData{};
    return 0;
}

extern "C" HBITMAP MEDIAKIT_CALL LoadBitmapImage(LPCSTR name) {
    const User32Calls& sys = user32();
    HANDLE image = sys.LoadImageA(kernel32().GetModuleHandleA(nullptr), name, IMAGE_BITMAP, 0, 0,
                                  LR_CREATEDIBSECTION);
    if (!image)
        image = sys.LoadImageA(nullptr, name, IMAGE_BITMAP, 0, 0,
                               LR_CREATEDIBSECTION | LR_LOADFROMFILE);
    return static_cast<HBITMAP>(image);
}
