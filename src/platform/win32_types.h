// The Win32-shaped types that portable files use: <windows.h> on Windows, and plain
// declarations of the same sizes and layouts elsewhere, so that the portable core (pixel
// kernels, BMP reading and writing, ...) builds and runs natively.
#pragma once

#if defined(_WIN32)
#include <windows.h>
#else
#include <cstdint>

typedef uint8_t BYTE;
typedef uint16_t WORD;
typedef uint32_t DWORD;
typedef int32_t LONG;
typedef int32_t BOOL;
typedef uint32_t UINT;
typedef DWORD COLORREF;
typedef const char* LPCSTR;
typedef void* HANDLE;
typedef struct HBITMAP__* HBITMAP;
typedef struct HDC__* HDC;

#pragma pack(push, 2)
typedef struct tagBITMAPFILEHEADER {
    WORD bfType;
    DWORD bfSize;
    WORD bfReserved1;
    WORD bfReserved2;
    DWORD bfOffBits;
} BITMAPFILEHEADER;
#pragma pack(pop)

typedef struct tagBITMAPINFOHEADER {
    DWORD biSize;
    LONG biWidth;
    LONG biHeight;
    WORD biPlanes;
    WORD biBitCount;
    DWORD biCompression;
    DWORD biSizeImage;
    LONG biXPelsPerMeter;
    LONG biYPelsPerMeter;
    DWORD biClrUsed;
    DWORD biClrImportant;
} BITMAPINFOHEADER;

typedef struct tagRGBQUAD {
    BYTE rgbBlue;
    BYTE rgbGreen;
    BYTE rgbRed;
    BYTE rgbReserved;
} RGBQUAD;

typedef struct tagBITMAPINFO {
    BITMAPINFOHEADER bmiHeader;
    RGBQUAD bmiColors[1];
} BITMAPINFO;

typedef struct tagRECT {
    LONG left;
    LONG top;
    LONG right;
    LONG bottom;
} RECT;

#define WINAPI
#define SRCCOPY 0x00CC0020

#define BI_RGB 0
#define DIB_RGB_COLORS 0
#define DIB_PAL_COLORS 1
#endif

#define MEDIAKIT_WIN32_TYPES_DECLARED 1

static_assert(sizeof(BITMAPFILEHEADER) == 14, "BITMAPFILEHEADER is 14 packed bytes");
static_assert(sizeof(BITMAPINFOHEADER) == 40, "BITMAPINFOHEADER is 40 bytes");
static_assert(sizeof(RGBQUAD) == 4, "RGBQUAD is 4 bytes");
