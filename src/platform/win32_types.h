// The Win32-shaped types that portable files use: <windows.h> on Windows, and plain
// declarations of the same sizes and layouts elsewhere, so that the portable core (pixel
// kernels, BMP reading and writing, ...) builds and runs natively.
#pragma once

#if defined(_WIN32)
#include <windows.h>
#include <mmsystem.h>
#include <mmreg.h>
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

typedef int64_t LONGLONG;
typedef struct HINSTANCE__* HINSTANCE;
typedef HINSTANCE HMODULE;
typedef struct HACMDRIVERID__* HACMDRIVERID;

#pragma pack(push, 1)
typedef struct tWAVEFORMATEX {
    WORD wFormatTag;
    WORD nChannels;
    DWORD nSamplesPerSec;
    DWORD nAvgBytesPerSec;
    WORD nBlockAlign;
    WORD wBitsPerSample;
    WORD cbSize;
} WAVEFORMATEX;
#pragma pack(pop)

#define WINAPI
#define SRCCOPY 0x00CC0020
#define WAVE_FORMAT_PCM 1

#define BI_RGB 0
#define DIB_RGB_COLORS 0
#define DIB_PAL_COLORS 1
#endif

#define MEDIAKIT_WIN32_TYPES_DECLARED 1

static_assert(sizeof(BITMAPFILEHEADER) == 14, "BITMAPFILEHEADER is 14 packed bytes");
static_assert(sizeof(BITMAPINFOHEADER) == 40, "BITMAPINFOHEADER is 40 bytes");
static_assert(sizeof(RGBQUAD) == 4, "RGBQUAD is 4 bytes");
static_assert(sizeof(WAVEFORMATEX) == 18, "WAVEFORMATEX is 18 packed bytes");
