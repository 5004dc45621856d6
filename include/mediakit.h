/*
 * mediakit.h: the interface of mediakit.dll for host programs.
 *
 * Every function is exported under its plain name with the cdecl calling convention.
 * Hosts either link an import library (libmediakit.dll.a for MinGW, mediakit.lib for
 * MSVC) or load the DLL by name and look the functions up with GetProcAddress.
 *
 * Images are held in BitmapData records: 24-bit (or palettised) bottom-up DIB pixel
 * arrays. Image row y (0 = top) starts at lpBits + (biHeight - 1 - y) * BytesPerLine;
 * pixel x of a 24-bit row holds blue, green, red at bytes 3x, 3x + 1, 3x + 2.
 * Colours passed as arguments are COLORREF values 0x00BBGGRR.
 */
#ifndef MEDIAKIT_H
#define MEDIAKIT_H

#if defined(_WIN32)
#include <windows.h>
#elif !defined(MEDIAKIT_WIN32_TYPES_DECLARED)
#error "mediakit.h is a Windows header"
#endif
#include <stddef.h>

#if defined(_WIN32)
#if defined(MEDIAKIT_NO_DLLIMPORT)
#define MEDIAKIT_API
#else
#define MEDIAKIT_API __declspec(dllimport)
#endif
#define MEDIAKIT_CALL __cdecl
#else
#define MEDIAKIT_API
#define MEDIAKIT_CALL
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Records ------------------------------------------------------------------------ */

/* An image buffer. The host owns the record; the library owns the blocks and handles it
 * points at and releases them in DeleteBitmapData. A record whose fields are all zero is
 * empty; loaders expect an empty record. */
typedef struct BitmapData {
    BITMAPFILEHEADER bmfHeader; /* the BMP file header of the image */
    BITMAPINFO* lpbmi;          /* BITMAPINFOHEADER followed by NumOfPalletColors entries */
    BYTE* lpBits;               /* BytesPerLine * biHeight bytes of pixels, bottom-up */
    HBITMAP hBitmap;            /* the DIB section holding the pixels, or 0 */
    HDC hdc;                    /* memory device context with hBitmap selected, or 0 */
} BitmapData;

/* One image taking part in a blit: its extent and the rectangle's origin in it. */
typedef struct ClipBltEntry {
    LONG cxBitmap;
    LONG cyBitmap;
    LONG xOrigin;
    LONG yOrigin;
} ClipBltEntry;

#if defined(_WIN32) && !defined(_WIN64)
#define MEDIAKIT_ASSERT_LAYOUT(name, cond) typedef char mediakit_layout_##name[(cond) ? 1 : -1]
MEDIAKIT_ASSERT_LAYOUT(BitmapData_size, sizeof(BitmapData) == 32);
MEDIAKIT_ASSERT_LAYOUT(BitmapData_lpbmi, offsetof(BitmapData, lpbmi) == 16);
MEDIAKIT_ASSERT_LAYOUT(BitmapData_lpBits, offsetof(BitmapData, lpBits) == 20);
MEDIAKIT_ASSERT_LAYOUT(BitmapData_hBitmap, offsetof(BitmapData, hBitmap) == 24);
MEDIAKIT_ASSERT_LAYOUT(BitmapData_hdc, offsetof(BitmapData, hdc) == 28);
MEDIAKIT_ASSERT_LAYOUT(ClipBltEntry_size, sizeof(ClipBltEntry) == 16);
#endif

/* ---- Image buffers and BMP files --------------------------------------------------- */

/* Palette entries of an info header: biClrUsed when it is not 0, else 2, 16 or 256 for
 * 1, 4 and 8 bits per pixel, else 0. */
MEDIAKIT_API WORD MEDIAKIT_CALL NumOfPalletColors(const BITMAPINFOHEADER* lpbi);
/* Row stride in bytes: ((biWidth * biPlanes * biBitCount + 31) >> 3) & ~3. */
MEDIAKIT_API LONG MEDIAKIT_CALL BytesPerLine(const BITMAPINFOHEADER* lpbi);

/* Loads a bottom-up BMP file into an empty record. 0 when the file cannot be opened (the
 * record is untouched) or is not a BMP file (the record is cleared). A file that ends early
 * still loads; the pixels it lacks are zero. */
MEDIAKIT_API BOOL MEDIAKIT_CALL LoadBitmapData(LPCSTR fileName, BitmapData* bd);
/* Writes the record's header, info header, palette and pixels. 0 for a record that does
 * not hold an image (nothing is created) or when the file cannot be opened. */
MEDIAKIT_API BOOL MEDIAKIT_CALL SaveBitmapData(LPCSTR fileName, BitmapData* bd);
/* Releases what the record holds and clears it. Always 0. */
MEDIAKIT_API int MEDIAKIT_CALL DeleteBitmapData(BitmapData* bd);
/* A DIB-section bitmap from a bitmap resource of the host's executable, or else from a
 * BMP file of that name; 0 if neither exists. The caller deletes it with DeleteObject. */
MEDIAKIT_API HBITMAP MEDIAKIT_CALL LoadBitmapImage(LPCSTR name);

/* ---- DIB sections ------------------------------------------------------------------- */

/* Makes an empty record a DIB section of the given size and depth with a memory device
 * context compatible with hdc. For 1, 4 and 8 bits, palette (or 0) gives the colours. */
MEDIAKIT_API BOOL MEDIAKIT_CALL BufferDIBSection(HDC hdc, int width, int height, WORD bitCount,
                                                 const RGBQUAD* palette, BitmapData* bd);
/* Makes an empty record a DIB section from a whole BMP file held in memory. If the system
 * cannot make the section, its error text is shown in a message box. */
MEDIAKIT_API BOOL MEDIAKIT_CALL LoadDIBSectionIndirect(HDC hdc, const void* image, BitmapData* bd);
/* As LoadDIBSectionIndirect, for a BMP file on disk. */
MEDIAKIT_API BOOL MEDIAKIT_CALL LoadDIBSection(HDC hdc, LPCSTR fileName, BitmapData* bd);
/* Reads the BITMAPINFO (info header and palette) of a BMP file into a new block that the
 * caller owns; release it with free() of msvcrt.dll. */
MEDIAKIT_API BOOL MEDIAKIT_CALL LoadBitmapInfo(LPCSTR fileName, BITMAPINFO** ppbmi);

/* ---- The MMX switch and the plain copy --------------------------------------------- */

/* 1 if the processor has MMX. */
MEDIAKIT_API BOOL MEDIAKIT_CALL IsMMX(void);
/* Allows (non-zero) or forbids (0) the MMX paths of the blits; returns 1 if they were
 * allowed before the call. */
MEDIAKIT_API BOOL MEDIAKIT_CALL SetUsageMMX(BOOL allow);
/* Copies a w x h rectangle from (sx, sy) of src to (x, y) of dst. With the MMX paths in
 * use: 24-bit records only, clipped against both images. Otherwise through BitBlt between
 * the records' device contexts. */
MEDIAKIT_API void MEDIAKIT_CALL FastBlt(BitmapData* dst, int x, int y, int w, int h,
                                        const BitmapData* src, int sx, int sy);

/* ---- Key blits, constant blends and fills, colour offset ---------------------------- */
/* Destinations are 24-bit records; each rectangle is clipped against every image taking
 * part. Sources are 24-bit, or 8-bit with their colour table where noted. Strengths are in
 * 1/256 steps, 256 meaning all of the second colour. Nothing is drawn for other depths, a
 * strength of 0 where noted, or a rectangle that clips away. */

/* Copies the source where the mask value is above the key's low byte (mask 8- or 24-bit;
 * a 24-bit mask's value is its blue byte). Source 24- or 8-bit. */
MEDIAKIT_API void MEDIAKIT_CALL MaskKeyBlt(BitmapData* dst, int x, int y, int w, int h,
                                           const BitmapData* src, int sx, int sy,
                                           const BitmapData* mask, int mx, int my, int key);
/* As MaskKeyBlt, mixing the selected pixels towards the source by strength (1..256;
 * 0 draws nothing, 256 copies). */
MEDIAKIT_API void MEDIAKIT_CALL MaskKeyBlt2(BitmapData* dst, int x, int y, int w, int h,
                                            const BitmapData* src, int sx, int sy,
                                            const BitmapData* mask, int mx, int my, int key,
                                            int strength);
/* Copies the source where the mask value is below time: raising time from 0 to 256 wipes
 * the source in, in the order of the mask's values. */
MEDIAKIT_API void MEDIAKIT_CALL MaskTimeKeyBlt(BitmapData* dst, int x, int y, int w, int h,
                                               const BitmapData* src, int sx, int sy,
                                               const BitmapData* mask, int mx, int my, int time);
/* dst = src1 mixed towards src2 by alpha (0..256). Sources both 24-bit or both 8-bit. With
 * the MMX paths in use and 24-bit sources, alpha 0 copies src1 and 255 or 256 copy src2. */
MEDIAKIT_API void MEDIAKIT_CALL AlphaBlendBlt(BitmapData* dst, int x, int y, int w, int h,
                                              const BitmapData* src1, int sx1, int sy1,
                                              const BitmapData* src2, int sx2, int sy2,
                                              int alpha);
/* Pulls a rectangle towards color (0x00BBGGRR) by alpha (0..256). */
MEDIAKIT_API void MEDIAKIT_CALL FillAlpha(BitmapData* dst, int x, int y, int w, int h,
                                          COLORREF color, int alpha);
/* Copies every source pixel that is not pure black. Source 24- or 8-bit. */
MEDIAKIT_API void MEDIAKIT_CALL ColorKeyBlt(BitmapData* dst, int x, int y, int w, int h,
                                            const BitmapData* src, int sx, int sy);
/* As ColorKeyBlt, mixing towards the source by alpha (1..256; 0 draws nothing). */
MEDIAKIT_API void MEDIAKIT_CALL ColorKeyBlt2(BitmapData* dst, int x, int y, int w, int h,
                                             const BitmapData* src, int sx, int sy, int alpha);
/* Adds value's low byte to w bytes from pixel x in rows y..y+h-1, stopping at 255; any
 * depth. Each row's run is cut to that row's bytes and rows outside the image are skipped. */
MEDIAKIT_API void MEDIAKIT_CALL AddColorValue(BitmapData* dst, int x, int y, int w, int h,
                                              int value);

#ifdef __cplusplus
}
#endif

#endif /* MEDIAKIT_H */
